#include "potentials/ionic/operations.hpp"

#include "potentials/ionic/ionic_family.hpp"
#include "potentials/ionic/keywords.hpp"

namespace pelix {

const FamilyOps kBuckbwOps = IonicOperations<kBuckbwKeyword, &FamilyStates::buckbw>::ops;
const FamilyOps kMgopotlOps = IonicOperations<kMgopotlKeyword, &FamilyStates::mgopotl>::ops;
const FamilyOps kTiofcptOps = IonicOperations<kTiofcptKeyword, &FamilyStates::tiofcpt>::ops;
const FamilyOps kSpinelpOps = IonicOperations<kSpinelpKeyword, &FamilyStates::spinelp>::ops;
const FamilyOps kBpupotlOps = IonicOperations<kBpupotlKeyword, &FamilyStates::bpupotl>::ops;
const FamilyOps kEropotlOps = IonicOperations<kEropotlKeyword, &FamilyStates::eropotl>::ops;
const FamilyOps kBsipotlOps = IonicOperations<kBsipotlKeyword, &FamilyStates::bsipotl>::ops;
const FamilyOps kDelayeOps = IonicOperations<kDelayeKeyword, &FamilyStates::delaye_potl>::ops;
const FamilyOps kUntitleOps = IonicOperations<kUntitleKeyword, &FamilyStates::untitle>::ops;
const FamilyOps kFeopotlOps = IonicOperations<kFeopotlKeyword, &FamilyStates::feopotl>::ops;
const FamilyOps kAzizhe2Ops = IonicOperations<kAzizhe2Keyword, &FamilyStates::azizhe2>::ops;
const FamilyOps kHehepotOps = IonicOperations<kHehepotKeyword, &FamilyStates::hehepot>::ops;

}  // namespace pelix
