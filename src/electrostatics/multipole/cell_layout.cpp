// Morton keys and the near and interaction offset sets of the uniform octree.
#include "electrostatics/multipole/cell_layout.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace pelix::multipole {
namespace {

// Spreads the low 21 bits of v so that bit b moves to bit 3b.
uint64_t spread_bits(uint32_t v) {
    uint64_t x = v & 0x1fffffu;
    x = (x | (x << 32)) & 0x1f00000000ffffull;
    x = (x | (x << 16)) & 0x1f0000ff0000ffull;
    x = (x | (x << 8)) & 0x100f00f00f00f00full;
    x = (x | (x << 4)) & 0x10c30c30c30c30c3ull;
    x = (x | (x << 2)) & 0x1249249249249249ull;
    return x;
}

uint32_t compact_bits(uint64_t x) {
    x &= 0x1249249249249249ull;
    x = (x | (x >> 2)) & 0x10c30c30c30c30c3ull;
    x = (x | (x >> 4)) & 0x100f00f00f00f00full;
    x = (x | (x >> 8)) & 0x1f0000ff0000ffull;
    x = (x | (x >> 16)) & 0x1f00000000ffffull;
    x = (x | (x >> 32)) & 0x1fffffull;
    return static_cast<uint32_t>(x);
}

int floor_half(int v) {
    return (v >= 0) ? v / 2 : -((1 - v) / 2);
}

bool lexicographically_positive(const Offset& d) {
    if (d[0] != 0) {
        return d[0] > 0;
    }
    if (d[1] != 0) {
        return d[1] > 0;
    }
    return d[2] > 0;
}

}  // namespace

uint64_t morton_key(uint32_t x, uint32_t y, uint32_t z) {
    return spread_bits(x) | (spread_bits(y) << 1) | (spread_bits(z) << 2);
}

std::array<uint32_t, 3> morton_coordinates(uint64_t key) {
    return {compact_bits(key), compact_bits(key >> 1), compact_bits(key >> 2)};
}

bool is_near(const Offset& d, const std::array<double, 3>& cell_side, double theta) {
    if (std::abs(d[0]) <= 1 && std::abs(d[1]) <= 1 && std::abs(d[2]) <= 1) {
        return true;
    }
    double diagonal2 = 0.0, distance2 = 0.0;
    for (int a = 0; a < 3; ++a) {
        diagonal2 += cell_side[a] * cell_side[a];
        distance2 += (d[a] * cell_side[a]) * (d[a] * cell_side[a]);
    }
    // Two bounding radii of half the diagonal each: their sum is the diagonal.
    return diagonal2 > theta * theta * distance2;
}

OffsetSets build_offset_sets(const std::array<double, 3>& cell_side, double theta) {
    const double diagonal = std::sqrt(cell_side[0] * cell_side[0] + cell_side[1] * cell_side[1] +
                                      cell_side[2] * cell_side[2]);
    Offset bound{};
    for (int a = 0; a < 3; ++a) {
        bound[a] = std::max(1, static_cast<int>(std::ceil(diagonal / (theta * cell_side[a]))));
    }
    OffsetSets sets;
    for (int i = -bound[0]; i <= bound[0]; ++i) {
        for (int j = -bound[1]; j <= bound[1]; ++j) {
            for (int k = -bound[2]; k <= bound[2]; ++k) {
                const Offset d{i, j, k};
                if (is_near(d, cell_side, theta)) {
                    sets.near.push_back(d);
                    if (lexicographically_positive(d)) {
                        sets.near_half.push_back(d);
                    }
                }
            }
        }
    }
    // A target t with parity p takes from sources t + d with d not near and the parents'
    // offset floor((p + d) / 2) near. Seen from the source, the target is source - d and has
    // parity (source parity - d) mod 2.
    for (int parity = 0; parity < 8; ++parity) {
        const Offset target_bits{parity & 1, (parity >> 1) & 1, (parity >> 2) & 1};
        for (int i = -2 * bound[0] - 1; i <= 2 * bound[0] + 1; ++i) {
            for (int j = -2 * bound[1] - 1; j <= 2 * bound[1] + 1; ++j) {
                for (int k = -2 * bound[2] - 1; k <= 2 * bound[2] + 1; ++k) {
                    const Offset d{i, j, k};
                    const Offset parent{floor_half(target_bits[0] + i),
                                        floor_half(target_bits[1] + j),
                                        floor_half(target_bits[2] + k)};
                    if (is_near(d, cell_side, theta) || !is_near(parent, cell_side, theta)) {
                        continue;
                    }
                    const int source_parity = ((target_bits[0] + i) & 1) |
                                              (((target_bits[1] + j) & 1) << 1) |
                                              (((target_bits[2] + k) & 1) << 2);
                    sets.interaction_by_source_parity[source_parity].push_back(d);
                    sets.reach = std::max({sets.reach, std::abs(i), std::abs(j), std::abs(k)});
                }
            }
        }
    }
    return sets;
}

}  // namespace pelix::multipole
