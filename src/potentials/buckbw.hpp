#pragma once
// "BUCKBW": a Buckingham pair potential for iron, titanium, yttrium and oxygen, ten pair
// types, as rows of the ionic pair path (potentials/ionic/keywords.hpp). Three regions by
// distance r, with r1 < r2 < R - D of the pair type:
//
//   r <= r1        screened nuclear repulsion shifted by a constant: V = S(r)/r + de,
//                  dV/dr = S'(r)/r - V/r (the shift enters the derivative as well)
//   r1 < r < r2    polynomial V = s1 + s2 r + s3 r^2 + s4 r^3 + s5 r^4 + s6 r^5
//   r >= r2        Buckingham B(r) = A exp(-r/rho) - C/r^6, untapered up to R - D, times
//                  f = 0.5 - 0.5 sin(theta), theta = (pi/2)(r - R)/D, for |r - R| < D, and
//                  zero beyond; the cut-off radius is R + D.
//
// The region routines return the energy V and its derivative G = dV/dr (not its negative).
#include <cstdint>

#include "common/pair_value.hpp"
#include "potentials/ionic/ionic.hpp"

namespace pelix {

struct Engine;

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
void buckbw_zbl_interaction(const IonicState& state, int32_t t, double r, double& v, double& g);
void buckbw_spline_interaction(const IonicState& state, int32_t t, double r, double& v, double& g);
void buckbw_buckingham_interaction(const IonicState& state, int32_t t, double r, double& v,
                                   double& g);

}  // namespace pelix
