#include "potentials/ionic/operations.hpp"

#include "potentials/ionic/ionic_family.hpp"
#include "potentials/ionic/keywords.hpp"

namespace pelix {

namespace {

template <const IonicKeyword& Keyword, IonicState FamilyStates::*State>
constexpr FamilyOps operations() {
    using Ops = IonicOperations<Keyword, State>;
    return FamilyOps{&Ops::setup, &Ops::cutoff_squared, &Ops::call};
}

}  // namespace

const FamilyOps kBuckbwOps = operations<kBuckbwKeyword, &FamilyStates::buckbw>();
const FamilyOps kMgopotlOps = operations<kMgopotlKeyword, &FamilyStates::mgopotl>();
const FamilyOps kTiofcptOps = operations<kTiofcptKeyword, &FamilyStates::tiofcpt>();
const FamilyOps kSpinelpOps = operations<kSpinelpKeyword, &FamilyStates::spinelp>();
const FamilyOps kBpupotlOps = operations<kBpupotlKeyword, &FamilyStates::bpupotl>();
const FamilyOps kEropotlOps = operations<kEropotlKeyword, &FamilyStates::eropotl>();
const FamilyOps kBsipotlOps = operations<kBsipotlKeyword, &FamilyStates::bsipotl>();
const FamilyOps kDelayeOps = operations<kDelayeKeyword, &FamilyStates::delaye_potl>();
const FamilyOps kUntitleOps = operations<kUntitleKeyword, &FamilyStates::untitle>();
const FamilyOps kFeopotlOps = operations<kFeopotlKeyword, &FamilyStates::feopotl>();

}  // namespace pelix
