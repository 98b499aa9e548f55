#pragma once
// The parameter state of every built potential family, one member per family.
#include "potentials/acklist.hpp"
#include "potentials/hefepot/hefepot.hpp"
#include "potentials/ionic/ionic.hpp"
#include "potentials/knot_eam/knot_eam.hpp"
#include "potentials/morlist.hpp"
#include "potentials/morsept.hpp"
#include "potentials/ternary.hpp"
#include "potentials/zblpotl.hpp"
#include "potentials/zero.hpp"

namespace pelix {

struct FamilyStates {
    ZeroState zero;
    ZblpotlState zblpotl;
    MorseptState morsept;
    MorlistState morlist;
    TernaryState ternary;
    KnotEamState ackland;
    KnotEamState mendel;
    KnotEamState amtest;
    KnotEamState ackleam;
    KnotEamState feigao;
    KnotEamState acknial;
    KnotEamState giovani;
    IonicState buckbw;
    IonicState mgopotl;
    IonicState tiofcpt;
    IonicState spinelp;
    IonicState bpupotl;
    IonicState eropotl;
    IonicState bsipotl;
    IonicState delaye_potl;
    IonicState untitle;
    IonicState feopotl;
    IonicState azizhe2;
    IonicState hehepot;
    HefepotState hefepot;
    // Keeps the growing "ACKLIST" cut-off radius for the life of the engine.
    AcklistState acklist;
};

}  // namespace pelix
