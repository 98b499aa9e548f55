#pragma once
// "BUCKBW": a Buckingham pair potential for iron, titanium, yttrium and oxygen, ten pair types.
// Three regions by distance r, with r1 < r2 < R - D of the pair type:
//
//   r <= r1        screened nuclear repulsion shifted by a constant: V = S(r)/r + de,
//                  dV/dr = S'(r)/r - V/r (the shift enters the derivative as well)
//   r1 < r < r2    polynomial V = s1 + s2 r + s3 r^2 + s4 r^3 + s5 r^4 + s6 r^5
//   r >= r2        Buckingham B(r) = A exp(-r/rho) - C/r^6, untapered up to R - D, times
//                  f = 0.5 - 0.5 sin(theta), theta = (pi/2)(r - R)/D, for |r - R| < D, and
//                  zero beyond; the cut-off radius is R + D.
//
// The region routines return the energy V and its derivative G = dV/dr (not its negative).
#include <array>
#include <cstdint>

#include "potentials/zbl.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t kBuckbwPairTypes = 10;

struct BuckbwState {
    using ByPairType = std::array<double, kBuckbwPairTypes>;

    int32_t buckbw_idnum = 0;
    // Buckingham A (eV), rho (A) and C (eV A^6).
    ByPairType buckbw_a{};
    ByPairType buckbw_rho{};
    ByPairType buckbw_c{};
    // Centre R and half-width D of the sine taper.
    ByPairType buckbw_r{};
    ByPairType buckbw_d{};
    // Upper ends of the repulsive and of the polynomial regions.
    ByPairType buckbw_r1{};
    ByPairType buckbw_r2{};
    // Polynomial coefficients s1..s6 (constant term first).
    std::array<Quintic, kBuckbwPairTypes> buckbw_s{};
    // Constant added to the screened repulsion.
    ByPairType buckbw_de{};
    ByPairType buckbw_conrh{};
    ByPairType buckbw_conrh2{};
    // Screened-repulsion amplitudes (zbl_conc) and rates (zblp_cond).
    std::array<ZblTerms, kBuckbwPairTypes> buckbw_zbl{};

    // Constants of the Buckingham form fixed at set-up: 1/rho, A/rho, 6 C, R - D (the end of
    // the untapered range) and pi/(2D) (the rate of the taper angle).
    ByPairType inverse_rho{};
    ByPairType a_over_rho{};
    ByPairType six_c{};
    ByPairType taper_start{};
    ByPairType taper_rate{};

    // Slot of pair type t (1..10).
    static std::size_t slot(int32_t t) { return static_cast<std::size_t>(t - 1); }
};

void setup_prms_for_buckbw(Engine& engine, int32_t k);
double buckbw_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void buckbw_call(Engine& engine);

// Pair type of two atomic numbers among Fe (26), Ti (22), Y (39) and O (8), in either order:
// 1 Fe-Fe, 2 Ti-Ti, 3 Y-Y, 4 Fe-Y, 5 Fe-Ti, 6 Ti-Y, 7 Fe-O, 8 Ti-O, 9 Y-O, 10 O-O; anything
// else is fatal.
int32_t buckbw_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family.
bool buckbw_selects(int32_t z);

// The three region routines of pair type t at distance r: energy V and G = dV/dr.
void buckbw_zbl_interaction(const BuckbwState& state, int32_t t, double r, double& v, double& g);
void buckbw_spline_interaction(const BuckbwState& state, int32_t t, double r, double& v, double& g);
void buckbw_buckingham_interaction(const BuckbwState& state, int32_t t, double r, double& v,
                                   double& g);

// The pair function on its own: energy and F = -dV/dr of a pair of type t at distance r, the
// region chosen as the evaluation chooses it (zero from R + D on).
PairValue buckbw_pair(const BuckbwState& state, int32_t t, double r);

}  // namespace pelix
