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
    // Uncharged atoms neither make nor feel a Coulomb field, and the box follows only the
    // charged ones: an uncharged atom may lie anywhere, so the tree sees the charged atoms
    // alone (a NaN charge counts as charged).
    std::vector<std::size_t> charged;
    charged.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (q[i] != 0.0) {
            charged.push_back(i);
        }
    }
    const std::size_t m = charged.size();
    std::vector<double> packed(8 * m);
    double* const px = packed.data();
    double* const py = px + m;
    double* const pz = py + m;
    double* const pq = pz + m;
    double* const potential = pq + m;
    double* const tfx = potential + m;
    double* const tfy = tfx + m;
    double* const tfz = tfy + m;
    for (std::size_t s = 0; s < m; ++s) {
        const std::size_t i = charged[s];
        px[s] = x[i];
        py[s] = y[i];
        pz[s] = z[i];
        pq[s] = q[i];
    }
    if (m > 0) {
        tree.evaluate(m, px, py, pz, pq, potential, tfx, tfy, tfz, charged.data());
    }
    for (std::size_t i = 0; i < count; ++i) {
        fx[i] = 0.0;
        fy[i] = 0.0;
        fz[i] = 0.0;
        pe[i] = 0.0;
    }
    for (std::size_t s = 0; s < m; ++s) {
        const std::size_t i = charged[s];
        fx[i] = kTreeCoulombConstant * tfx[s];
        fy[i] = kTreeCoulombConstant * tfy[s];
        fz[i] = kTreeCoulombConstant * tfz[s];
        pe[i] = kTreeCoulombConstant * pq[s] * potential[s];
    }
}

void fpmtaexit(MultipoleTreeSlot& slot) {
    slot.reset();
}

}  // namespace pelix::multipole
