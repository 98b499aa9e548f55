#pragma once
// Lattice constraints ("lattice.IN"): slabs along x, y and z that give atoms a lattice type
// (0 fixed, 1 damped, 2 thermal, 3 free, 4 other), and the extended region inside which a
// staged atom must lie.
#include <cstdint>
#include <string>
#include <vector>

#include "atoms/atom_store.hpp"
#include "config/run_config.hpp"

namespace pelix {

struct LatticeConstraint {
    int32_t type = 3;  // an unknown code in the file leaves the default free type
    double lo = 0.0;   // inclusive
    double hi = 0.0;   // exclusive
};

struct LatticeConstraints {
    std::vector<LatticeConstraint> xlat_constrain, ylat_constrain, zlat_constrain;
    int32_t nxlat_constrains() const { return static_cast<int32_t>(xlat_constrain.size()); }
    int32_t nylat_constrains() const { return static_cast<int32_t>(ylat_constrain.size()); }
    int32_t nzlat_constrains() const { return static_cast<int32_t>(zlat_constrain.size()); }
};

// Reads the slabs from `path` (normally "lattice.IN") for a box of lx x ly x lz, applying the
// record adjustments. A missing file or unreadable line is an input error (exit status 2).
void get_lattice_constrains(LatticeConstraints& constraints, double lx, double ly, double lz,
                            const std::string& path = "lattice.IN");

// Sets the lattice type of the first store.mylt records of the staged list.
void get_latyp(AtomStore& store, const LatticeConstraints& constraints, const RunConfig& config);

struct ExtendedLimits {
    double xlow, xhigh, ylow, yhigh, zlow, zhigh;
};
inline constexpr double kExtendedMargin = 510.0;
// The process region widened by 510 A on every side.
ExtendedLimits my_extended_limits(const SpatialDecomposition& sd);

}  // namespace pelix
