#pragma once
// "ZBLPOTL": the screened nuclear repulsion alone between carbon and the metals and oxygen it
// meets, plus a few iron, yttrium and helium pairs, tapered to zero by a cosine between an
// inner and an outer radius.
//
// Pair types (the mapper's numbering): 1 Ag-C, 2 Fe-C, 3 Mg-C, 4 O-C, 5 Au-C, 6 Ni-C, 7 Al-C,
// 8 Fe-Y, 9 Fe-O, 10 He-Y. Every pair uses the universal screening length.
//
// Taper: below conrl the full repulsion acts; from conrl to conrh
//   cutfcn = (cos(theta) + 1) / 2,  theta = confca (r - conrl),  confca = pi / (conrh - conrl),
//   cutdrv = d cutfcn / dr = confc sin(theta),  confc = -pi / (2 (conrh - conrl)).
#include <array>
#include <cstdint>

#include "potentials/zbl.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t kZblpotlPairTypes = 10;

// A pair is evaluated only below this distance, whatever its own outer radius.
inline constexpr double kZblpotlInteractionLimit = 4.0;

struct ZblpotlState {
    using ByPairType = std::array<double, kZblpotlPairTypes>;

    int32_t zblpotl_idnum = 0;
    ByPairType zblpotl_conrl{};
    ByPairType zblpotl_conrh{};
    ByPairType zblpotl_conrh2{};
    ByPairType zblpotl_confca{};
    ByPairType zblpotl_confc{};
    // The amplitudes (zblpotl_conc) and rates (zblpotl_cond) of every pair type.
    std::array<ZblTerms, kZblpotlPairTypes> zblpotl_zbl{};

    // Slot of pair type t (1..kZblpotlPairTypes).
    static std::size_t slot(int32_t t) { return static_cast<std::size_t>(t - 1); }
};

void setup_prms_for_zblpotl(Engine& engine, int32_t k);
double zblpotl_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void zblpotl_call(Engine& engine);

// Pair type (1..10) of two atomic numbers, symmetric; an unsupported pair is fatal.
int32_t zblpotl_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family.
bool zblpotl_selects(int32_t z);

// The cosine taper of pair type t at distance r (r below conrh).
void zblpotl_smoothing(const ZblpotlState& state, int32_t t, double r, double& cutfcn,
                       double& cutdrv);

// The tapered repulsion V0 cutfcn and its force -(dV0/dr) cutfcn - cutdrv V0, given the
// taper at r.
PairValue zblpotl_tapered(const ZblpotlState& state, int32_t t, double r, double cutfcn,
                          double cutdrv);

// The pair function on its own: energy and F = -dV/dr of a pair of type t at distance r,
// zero where the pair is not a bond (r^2 >= conrh2) or lies at or beyond the interaction
// limit.
PairValue zblpotl_pair(const ZblpotlState& state, int32_t t, double r);

}  // namespace pelix
