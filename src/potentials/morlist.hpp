#pragma once
// "MORLIST": a pair potential for phosphorus-phosphorus (pair type 1) and phosphorus-iron
// (pair type 2) pairs whose energy is a table of equally spaced distances, read at every
// set-up from
//
//   POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN    (P-P)
//   POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN   (P-Fe)
//
// and interpolated by a cubic spline whose end slopes are the tabulated forces of the first
// and the last record. A pair closer than the first distance of its table is fatal; a pair
// beyond the last distance is no bond.
#include <array>
#include <cstdint>
#include <vector>

#include "common/file_snapshot.hpp"
#include "common/pair_value.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t kMorlistPairTypes = 2;
// Largest number of points of one table (MORLIST_MAXNDATA).
inline constexpr int32_t kMorlistMaxNdata = 10000;

struct MorlistState {
    using ByPairType = std::array<double, kMorlistPairTypes>;
    // One spline table per pair type: distances, energies, second derivatives.
    using Column = std::array<std::vector<double>, kMorlistPairTypes>;

    int32_t morlist_idnum = 0;
    Column morlist_xa{};
    Column morlist_ya{};
    Column morlist_y2a{};
    ByPairType morlist_cutin{};
    ByPairType morlist_cutoff{};
    ByPairType morlist_conrh2{};
    // The bytes each table was parsed from.
    std::array<FileSnapshot, kMorlistPairTypes> table_files{};

    // Slot of pair type t (1 or 2).
    static std::size_t slot(int32_t t) { return static_cast<std::size_t>(t - 1); }
};

void setup_prms_for_morlist(Engine& engine, int32_t k);
// Each reads its table, builds its spline and sets its cut-in, cut-off and squared cut-off.
void setup_pp_morlist_prms(MorlistState& state);
void setup_pfe_morlist_prms(MorlistState& state);

double morlist_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void morlist_call(Engine& engine);

// Pair type of two atomic numbers: 1 for P-P, 2 for P-Fe in either order; anything else is
// fatal.
int32_t morlist_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family (P and Fe).
bool morlist_selects(int32_t z);

// The spline of pair type t at distance r: V and F = -dV/dr.
PairValue interaction_spline(const MorlistState& state, int32_t t, double r);

// The pair function on its own: below the first table distance fatal, up to and including
// the last the spline, beyond it nothing.
PairValue morlist_pair(const MorlistState& state, int32_t t, double r);

}  // namespace pelix
