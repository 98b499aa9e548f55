// Entry points of the multipole tree.
#include "electrostatics/multipole/fpmta.hpp"

#include <vector>

#include "common/fatal_error.hpp"

namespace pelix::multipole {
namespace {

MultipoleTree& started_tree(MultipoleTreeSlot& slot, const char* routine) {
    if (!slot) {
        nrerror(std::string(routine) + ": MULTIPOLE TREE NOT INITIALISED");
    }
    return *slot;
}

}  // namespace

void fpmtainit(MultipoleTreeSlot& slot, const int32_t integers[8], const double reals[13],
               int32_t& id) {
    slot = std::make_unique<MultipoleTree>(MultipoleSettings::from_records(integers, reals));
    id = integers[0];
}

void fpmtaresize(MultipoleTreeSlot& slot, double v1x, double /*v1y*/, double /*v1z*/,
                 double /*v2x*/, double v2y, double /*v2z*/, double /*v3x*/, double /*v3y*/,
                 double v3z, double cx, double cy, double cz) {
    started_tree(slot, "FPMTARESIZE").resize({v1x, v2y, v3z}, {cx, cy, cz});
}

void fpmtaforce(MultipoleTreeSlot& slot, int32_t n, const double* x, const double* y,
                const double* z, const double* q, double* fx, double* fy, double* fz, double* pe) {
    MultipoleTree& tree = started_tree(slot, "FPMTAFORCE");
    if (n <= 0) {
        return;
    }
    const std::size_t count = static_cast<std::size_t>(n);
    std::vector<double> potential(count);
    tree.evaluate(count, x, y, z, q, potential.data(), fx, fy, fz);
    for (std::size_t i = 0; i < count; ++i) {
        fx[i] *= kTreeCoulombConstant;
        fy[i] *= kTreeCoulombConstant;
        fz[i] *= kTreeCoulombConstant;
        pe[i] = kTreeCoulombConstant * q[i] * potential[i];
    }
}

void fpmtaexit(MultipoleTreeSlot& slot) {
    slot.reset();
}

}  // namespace pelix::multipole
