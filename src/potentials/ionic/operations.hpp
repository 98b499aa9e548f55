#pragma once
// The operations of the ionic keywords, as the catalogue lists them.
#include "potentials/catalogue.hpp"

namespace pelix {

extern const FamilyOps kBuckbwOps;
extern const FamilyOps kMgopotlOps;
extern const FamilyOps kTiofcptOps;
extern const FamilyOps kSpinelpOps;
extern const FamilyOps kBpupotlOps;
extern const FamilyOps kEropotlOps;
extern const FamilyOps kBsipotlOps;
extern const FamilyOps kDelayeOps;
extern const FamilyOps kUntitleOps;
extern const FamilyOps kFeopotlOps;
extern const FamilyOps kAzizhe2Ops;
extern const FamilyOps kHehepotOps;

}  // namespace pelix
