#pragma once
// The parameter state of every built potential family, one member per family.
#include "potentials/zero.hpp"

namespace pelix {

struct FamilyStates {
    ZeroState zero;
};

}  // namespace pelix
