#pragma once
// Entry points of the multipole tree as the electrostatics component calls them: start the
// tree from the "dpmta.IN" records, give it a new box, evaluate forces and energies in eV and
// eV/Angstrom, release it. The tree lives in a slot owned by the caller's state.
#include <cstdint>
#include <memory>

#include "electrostatics/multipole/multipole_tree.hpp"

namespace pelix::multipole {

// eV * Angstrom per elementary charge squared: the scale of the tree's results.
inline constexpr double kTreeCoulombConstant = 14.39964392951822;

using MultipoleTreeSlot = std::unique_ptr<MultipoleTree>;

// Builds the tree from the integer record (process count, levels, terms, mp_lj, FFT switch,
// FFT block size, periodic switch, macroscopic terms) and the real record (theta, box vectors
// 1..3, centre), replacing any tree in the slot. The returned id is the process count.
void fpmtainit(MultipoleTreeSlot& slot, const int32_t integers[8], const double reals[13],
               int32_t& id);

// New box vectors and centre; only v1x, v2y, v3z and the centre are kept.
void fpmtaresize(MultipoleTreeSlot& slot, double v1x, double v1y, double v1z, double v2x,
                 double v2y, double v2z, double v3x, double v3y, double v3z, double cx, double cy,
                 double cz);

// For atoms 0..n-1: fx, fy, fz = K q_i E_i and pe = K q_i phi_i with K = kTreeCoulombConstant,
// replacing what the arrays held.
void fpmtaforce(MultipoleTreeSlot& slot, int32_t n, const double* x, const double* y,
                const double* z, const double* q, double* fx, double* fy, double* fz, double* pe);

// Releases the tree; the slot is empty afterwards.
void fpmtaexit(MultipoleTreeSlot& slot);

}  // namespace pelix::multipole
