#pragma once
// "MORSEPT": a Morse pair potential for phosphorus-phosphorus (pair type 1) and
// phosphorus-iron (pair type 2) pairs. Three regions by distance r:
//
//   r <= sr_cutoff          screened nuclear repulsion (universal screening length)
//   sr_cutoff < r < cutin   bridge polynomial p(r) = b0 + b1 r + ... + b5 r^5;
//                           P-P takes V = exp(p), P-Fe takes V = p itself
//   r >= cutin              Morse V0 = e0 (exp(-2 alpha d) - 2 exp(-alpha d)), d = r - r0,
//                           times a polynomial smoothing that falls from 1 at conrl to 0 at
//                           conrh:  x = (r - conrh) / (conrl - conrh),
//                           cutfcn = 3x^4 - 8x^3 + 6x^2,  cutdrv = 12 x (x - 1)^2 / (conrl - conrh)
//
// Iron-iron is not a pair of this family.
#include <array>
#include <cstdint>

#include "potentials/zbl.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t kMorseptPairTypes = 2;

struct MorseptState {
    using ByPairType = std::array<double, kMorseptPairTypes>;

    int32_t morsept_idnum = 0;
    ByPairType e0{};
    ByPairType r0{};
    ByPairType alpha{};
    ByPairType morsept_conrl{};
    ByPairType morsept_conrh{};
    ByPairType morsept_conrh2{};
    // conrl - conrh, the (negative) width the smoothing variable x is measured in.
    ByPairType smoothing_span{};
    // The bridge coefficients morsept_b0 .. morsept_b5.
    std::array<Quintic, kMorseptPairTypes> morsept_bridge{};
    ByPairType morsept_cutin{};
    ByPairType morsept_sr_cutoff{};
    // The amplitudes (zbl_for_morsept_conc) and rates (zbl_for_morsept_cond).
    std::array<ZblTerms, kMorseptPairTypes> zbl_for_morsept{};

    // Slot of pair type t (1 or 2).
    static std::size_t slot(int32_t t) { return static_cast<std::size_t>(t - 1); }
};

void setup_prms_for_morsept(Engine& engine, int32_t k);
double morsept_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void morsept_call(Engine& engine);

// Pair type of two atomic numbers: 1 for P-P, 2 for P-Fe in either order; anything else is
// fatal.
int32_t morsept_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family (P and Fe).
bool morsept_selects(int32_t z);

// The cut-off smoothing of pair type t at distance r (r below conrh).
void morsept_smoothing(const MorseptState& state, int32_t t, double r, double& cutfcn,
                       double& cutdrv);

// The screened repulsion of pair type t: V and F = -dV/dr, both 0 on entry.
void zbl_for_morsept(const MorseptState& state, int32_t t, double r, double& v, double& f);

// The short-range form: the screened repulsion for the known pair types; any other type
// writes "MORSEPT_SR_INTERACTION: IJPOT is unknown" and leaves V and F at 0.
void morsept_sr_interaction(const MorseptState& state, int32_t t, double r, double& v, double& f);

// Energy and F = -dV/dr of a bond of type t and length r, given the bond's smoothing.
PairValue morsept_bond(const MorseptState& state, int32_t t, double r, double cutfcn,
                       double cutdrv);

// The pair function on its own: energy and F = -dV/dr of a pair of type t at distance r,
// zero where the pair is not a bond (r^2 >= conrh2).
PairValue morsept_pair(const MorseptState& state, int32_t t, double r);

}  // namespace pelix
