#pragma once
// "TERNARY": an embedded-atom potential for iron, nickel and chromium in which every function
// is a table read at every set-up from the working directory and interpolated by a cubic
// spline with zero end slopes:
//
//   pair functions V(r)        pFeFe.IN pNiNi.IN pCrCr.IN pFeNi.IN pFeCr.IN pNiCr.IN
//   densities rho(r)           rhoFe.IN rhoNi.IN rhoCr.IN      (by the neighbour's element)
//   embeddings F(rho)          F_Fe.IN  F_Ni.IN  F_Cr.IN       (by the atom's element)
//
// Each file holds the number of points n, then n records "x value" with increasing x. All
// lookups use one shared point count, `nspline`, which every file read overwrites: the tables
// are meant to hold equally many points. A table shorter than the shared count is refused.
//
// The energy of atom i is F_i(sum_j rho_j(r_ij)) + 1/2 sum_j V_ij(r_ij) over its bonds within
// 5.18 A; there is no short-range join.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "common/file_snapshot.hpp"
#include "common/spline.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t kTernaryPairTypes = 6;
inline constexpr int32_t kTernaryElements = 3;
// Largest number of points of one table.
inline constexpr int32_t kTernaryMaxPoints = 120000;

// One tabulated function: abscissae, values and spline second derivatives, sized to the
// file's count, and the bytes of the file they were parsed from.
struct TernaryTable {
    std::string file;
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> d2y;
    FileSnapshot snapshot;
};

struct TernaryState {
    int32_t ternary_idnum = 0;
    // The point count of the last table read; every lookup uses it.
    int32_t nspline = 0;
    // Pair functions by pair type (1 Fe-Fe, 2 Ni-Ni, 3 Cr-Cr, 4 Fe-Ni, 5 Fe-Cr, 6 Ni-Cr).
    std::array<TernaryTable, kTernaryPairTypes> pair{};
    // Densities and embedding functions by element (0 Fe, 1 Ni, 2 Cr).
    std::array<TernaryTable, kTernaryElements> rho{};
    std::array<TernaryTable, kTernaryElements> embedding{};
    std::array<double, kTernaryPairTypes> ternary_conrh2{};

    static std::size_t slot(int32_t t) { return static_cast<std::size_t>(t - 1); }
};

void setup_prms_for_ternary(Engine& engine, int32_t k);
double ternary_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void ternary_call(Engine& engine);

// Pair type of two atomic numbers (Fe 26, Ni 28, Cr 24), symmetric; anything else is fatal.
int32_t ternary_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family (Fe, Ni, Cr).
bool ternary_selects(int32_t z);

// Element slot (0 Fe, 1 Ni, 2 Cr) of atomic number z; -1 for any other element.
int ternary_element(int32_t z);

// Reads one table file into `table`, sets state.nspline to its count and builds its spline;
// a file unchanged since its last read keeps its table.
void setup_ternary_table(TernaryState& state, TernaryTable& table, const std::string& file);

// Lookups on the first `nspline` points of a table: value and d(value)/dx.
SplineLookup ternary_lookup(const TernaryState& state, const TernaryTable& table, double x);

}  // namespace pelix
