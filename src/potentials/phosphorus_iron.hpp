#pragma once
// The pair types shared by the phosphorus-iron families: 1 P-P, 2 P-Fe in either order.
#include <cstdint>

namespace pelix {

inline constexpr int32_t kPhosphorusZ = 15, kIronZ = 26;
inline constexpr int32_t kPhosphorusPair = 1, kPhosphorusIronPair = 2;

// Pair type of atomic numbers za and zb, or 0 for a pair outside P-P and P-Fe.
inline int32_t phosphorus_iron_pair_type(int32_t za, int32_t zb) {
    if (za == kPhosphorusZ && zb == kPhosphorusZ)
        return kPhosphorusPair;
    if ((za == kPhosphorusZ && zb == kIronZ) || (za == kIronZ && zb == kPhosphorusZ))
        return kPhosphorusIronPair;
    return 0;
}

// Whether atoms of atomic number z take part in a phosphorus-iron family.
inline bool phosphorus_iron_selects(int32_t z) {
    return z == kPhosphorusZ || z == kIronZ;
}

}  // namespace pelix
