#pragma once
// Bond lengths and unit vectors from the separations written by the bond-list build.
#include <cstdint>

#include "atoms/force_field_state.hpp"

namespace pelix {

// Turns the first `count` bonds, which hold the separation (dx, dy, dz) in bndxnm, bndynm,
// bndznm and its square in bndlen, into the bond length and the unit vector from the atom to
// its neighbour. Taken four or two at a time where the processor allows, with the same bits.
void normalise_bonds(BondList& bonds, int32_t count);

}  // namespace pelix
