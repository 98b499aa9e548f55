#pragma once
// Neighbour lists: the pair radii (cut-off plus a 0.3 A skin), the cell grid sized from them,
// and the full list built from the cells.
#include <cstdint>

#include "atoms/force_field_state.hpp"

namespace pelix {

struct Engine;

inline constexpr double kNeighbourSkin = 0.3;
inline constexpr int64_t kNeighboursPerAtomLimit = 2000;

struct NeighbourSettings {
    double neblst_skin = kNeighbourSkin;
    SpeciesMatrix<double> radius;  // cut-off plus skin, per species pair
    SpeciesMatrix<double> radus2;  // its square
    int64_t nlstmx = 0;            // list capacity: 2000 entries per atom, a limit
    // The interaction range of the last set-up (largest pair radius, skin included): a periodic
    // axis shorter than it misses images beyond the nearest.
    double range = 0.0;
};

// Sets the pair radii, the spatial-decomposition margin and the cell grid; returns the
// interaction range (largest cut-off radius + 0.3) through `range`.
void setup_nebour_parameters(Engine& engine, double& range);
// Builds nebpnt, nebour and pbctyp for the local atoms from the binned cells.
void nebour_list(Engine& engine);

}  // namespace pelix
