#pragma once
// "ACKLAND": an embedded-atom potential of the Finnis-Sinclair kind for iron (pair type 1),
// silver (2) and gold (3); like-element pairs only. The energy of atom i is
//
//   E_i = 1/2 sum_j V(r_ij) - sqrt(rho_i),   rho_i = sum_j phi(r_ij),
//
// with the pair term V and the density phi sums of cubic terms over knots,
//
//   V(r)   = sum_{k=1..13} as_k (rs_k - r)^3 H(rs_k - r),
//   phi(r) = sum_{k=1..3}  ar_k (rr_k - r)^3 H(rr_k - r),      H the unit step (hh).
//
// At short range the pair term joins the screened nuclear repulsion: ZBL alone at and below
// sr_cutoff_for_ackland, V = exp(p(r)) with the quintic p below pw_ackland_cutin, the knot sum
// beyond. The iron pair screens with the long (square-root) screening length, silver and gold
// with the universal one. The cut-off of each pair type is its outermost pair knot with a
// non-zero coefficient.
#include <array>
#include <cmath>
#include <cstdint>

#include "common/numerical.hpp"
#include "potentials/knot_sums.hpp"
#include "potentials/zbl.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t kAcklandPairTypes = 3;
inline constexpr std::size_t kAcklandPairKnots = 13;
inline constexpr std::size_t kAcklandDensityKnots = 3;

// The embedding force is dropped (c = 0) when sqrt(rho) does not exceed this value, the
// single-precision value of 1e-12.
inline constexpr double kAcklandEmbeddingGuard = static_cast<double>(1e-12f);

// Density knots and coefficients of the iron pair, shared with the tabulated iron family.
inline constexpr std::array<double, kAcklandDensityKnots> kAcklandFeFeRr{2.4, 3.2, 4.2};
inline constexpr std::array<double, kAcklandDensityKnots> kAcklandFeFeAr{
    11.68685940797, -0.01471074009883, 0.47193527075943};

// One bond's contribution to an atom's density and its derivative d(phi)/dr.
struct DensityValue {
    double rho = 0.0;
    double drho = 0.0;
};

// The sums over knots x_k with coefficients c_k of c_k (x_k - r)^3 H(x_k - r) (`cubes`) and
// of c_k (x_k - r)^2 H(x_k - r) (`squares`); d(cubes)/dr = -3 squares.
template <std::size_t N>
void cubic_knot_sums(const std::array<double, N>& knots, const std::array<double, N>& coefficients,
                     double r, double& cubes, double& squares) {
    cubic_knot_sum(knots.data(), coefficients.data(), N, r, cubes, squares);
}

// The density of a three-knot sum at r and its derivative.
inline DensityValue knot_density(const std::array<double, kAcklandDensityKnots>& rr,
                                 const std::array<double, kAcklandDensityKnots>& ar, double r) {
    DensityValue out;
    double squares = 0.0;
    cubic_knot_sums(rr, ar, r, out.rho, squares);
    out.drho = -3.0 * squares;
    return out;
}

// The densities of n distances r[k] from a three-knot sum, into rho[k] and drho[k], bit for bit
// as knot_density gives them one at a time.
inline void knot_densities(const std::array<double, kAcklandDensityKnots>& rr,
                           const std::array<double, kAcklandDensityKnots>& ar, const double* r,
                           int32_t n, double* rho, double* drho) {
    cubic_knot_sums_many(rr.data(), ar.data(), kAcklandDensityKnots, r, static_cast<std::size_t>(n),
                         rho, drho);
    for (int32_t k = 0; k < n; ++k)
        drho[k] = -3.0 * drho[k];
}

struct AcklandState {
    using ByPairType = std::array<double, kAcklandPairTypes>;
    using PairKnots = std::array<double, kAcklandPairKnots>;
    using DensityKnots = std::array<double, kAcklandDensityKnots>;

    int32_t ackland_idnum = 0;
    ByPairType ackland_a00{};
    // Knots rs1..rs13 (A) and coefficients as1..as13 (eV/A^3) of the pair term.
    std::array<PairKnots, kAcklandPairTypes> rs{};
    std::array<PairKnots, kAcklandPairTypes> as{};
    // Knots and coefficients of the density.
    std::array<DensityKnots, kAcklandPairTypes> ackland_rr{};
    std::array<DensityKnots, kAcklandPairTypes> ackland_ar{};
    // The bridge polynomial ackland_b0 .. ackland_b5.
    std::array<Quintic, kAcklandPairTypes> ackland_bridge{};
    ByPairType pw_ackland_cutin{};
    ByPairType sr_cutoff_for_ackland{};
    ByPairType ackland_conrh2{};
    // Assigned for silver and gold (-1 and 0) and read nowhere.
    ByPairType ackland_rho_cutin{};
    ByPairType ackland_sr_rho{};
    // The amplitudes (zbl_for_ackland_conc) and rates (zbl_for_ackland_cond).
    std::array<ZblTerms, kAcklandPairTypes> zbl_for_ackland{};

    // Slot of pair type t (1..3).
    static std::size_t slot(int32_t t) { return static_cast<std::size_t>(t - 1); }
};

void setup_prms_for_ackland(Engine& engine, int32_t k);
double ackland_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void ackland_call(Engine& engine);

// Pair type of two atomic numbers: 1 Fe-Fe, 2 Ag-Ag, 3 Au-Au. Mixed pairs of the three
// elements stop with their own message, any other pair with the general one.
int32_t ackland_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family (Fe, Ag, Au).
bool ackland_selects(int32_t z);

// The screened repulsion of pair type t: V and F = -dV/dr, both 0 on entry.
void zbl_for_ackland(const AcklandState& state, int32_t t, double r, double& v, double& f);

// The pair term of a bond of type t and length r: energy and F = -dV/dr.
PairValue ackland_bond_pair(const AcklandState& state, int32_t t, double r);

// The pair function on its own: zero where the pair is not a bond (r^2 >= ackland_conrh2).
PairValue ackland_pair(const AcklandState& state, int32_t t, double r);

// One bond's density term of pair type t at r and its derivative.
DensityValue ackland_density(const AcklandState& state, int32_t t, double r);

}  // namespace pelix
