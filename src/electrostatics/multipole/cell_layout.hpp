#pragma once
// The uniform octree of the multipole tree: cell keys in Morton order and the offset sets that
// the acceptance criterion gives.
//
// All cells of one level have the same shape (the box scaled by 2^-level), so whether two cells
// are well separated depends only on their integer offset d, not on the level: cells are near
// when they touch (|d|_inf <= 1) or when the sum of their bounding radii exceeds theta times
// the distance of their centres. A cell takes multipole-to-local transfers from the cells that
// are not near it but whose parents are near its parent (its interaction list); near leaf cells
// interact particle by particle.
#include <array>
#include <cstdint>
#include <vector>

namespace pelix::multipole {

using Offset = std::array<int, 3>;

// Interleaves the bits of x, y, z (x in the lowest bit of each triple).
uint64_t morton_key(uint32_t x, uint32_t y, uint32_t z);
// Inverse of morton_key.
std::array<uint32_t, 3> morton_coordinates(uint64_t key);

struct OffsetSets {
    // Offsets of near cells, the cell itself included.
    std::vector<Offset> near;
    // Near offsets with d > 0 in lexicographic order: each unordered pair of distinct near
    // cells once.
    std::vector<Offset> near_half;
    // For a source cell whose position in its parent is `parity` (bit 0: x, 1: y, 2: z), the
    // offsets d (target = source - d) of the cells that have the source in their interaction
    // list.
    std::array<std::vector<Offset>, 8> interaction_by_source_parity;
    // Largest |d_i| over all interaction offsets.
    int reach = 0;
};

// Offset sets for cells of the given side lengths (any level) and acceptance parameter theta.
OffsetSets build_offset_sets(const std::array<double, 3>& cell_side, double theta);

// Whether offset d is near for the given cell shape and theta.
bool is_near(const Offset& d, const std::array<double, 3>& cell_side, double theta);

}  // namespace pelix::multipole
