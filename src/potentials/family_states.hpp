#pragma once
// The parameter state of every built potential family, one member per family.
#include "potentials/buckbw.hpp"
#include "potentials/morsept.hpp"
#include "potentials/zblpotl.hpp"
#include "potentials/zero.hpp"

namespace pelix {

struct FamilyStates {
    ZeroState zero;
    ZblpotlState zblpotl;
    MorseptState morsept;
    BuckbwState buckbw;
};

}  // namespace pelix
