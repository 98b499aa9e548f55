#pragma once
// "ACKLIST": an embedded-atom potential for iron (pair type 1, Fe-Fe only) whose pair term is
// a table of equally spaced distances, read at every set-up from
//
//   POTFOR-SPLINES/FeFe_pw_for_potfor_acklist.IN
//
// and interpolated by a cubic spline whose end slopes are the tabulated forces of the first
// and the last record. A pair closer than the first distance of the table is fatal; beyond
// the last distance the pair term is zero. The density is the three-knot iron density of
// "ACKLAND" and the embedding -sqrt(rho), its force dropped when sqrt(rho) does not exceed
// 1e-17.
//
// The cut-off radius is process-wide: it starts at 1.3 and every set-up multiplies it by the
// lattice constant 2.8665, so the first force call of a process uses 3.72645 A and every
// further call a radius 2.8665 times larger than the one before.
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "common/pair_value.hpp"
#include "potentials/knot_eam/keywords.hpp"
#include "potentials/knot_eam/knot_eam.hpp"

namespace pelix {

struct Engine;

inline constexpr std::string_view kAcklistTableFile =
    "POTFOR-SPLINES/FeFe_pw_for_potfor_acklist.IN";

// The embedding force is dropped when sqrt(rho) does not exceed this value.
inline constexpr double kAcklistEmbeddingGuard = 1e-17;

struct AcklistState {
    int32_t acklist_idnum = 0;
    // The Fe-Fe table: distances, energies and spline second derivatives.
    std::vector<double> acklist_xa;
    std::vector<double> acklist_ya;
    std::vector<double> acklist_y2a;
    // First and last distance of the table.
    double acklist_pw_cutin = 0.0;
    double acklist_pw_cutoff = 0.0;
    double acklist_a00 = 0.0;
    // The cut-off radius R, kept for the life of the engine and multiplied by acklist_a00 at
    // every set-up; acklist_conrh2 = R^2.
    double acklist_conrh = 1.3;
    double acklist_conrh2 = 0.0;
    // Knots and coefficients of the density.
    std::array<double, 3> acklist_rr{};
    std::array<double, 3> acklist_ar{};
};

void setup_prms_for_acklist(Engine& engine, int32_t k);
// Grows the cut-off, sets the density and reads the table.
void setup_fefe_prms(AcklistState& state);
// Reads the Fe-Fe table and builds its spline.
void setup_fefe_acklist_pw_prms(AcklistState& state);

double acklist_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void acklist_call(Engine& engine);

// Pair type of two atomic numbers: 1 for Fe-Fe; anything else is fatal.
int32_t acklist_mapij(int32_t za, int32_t zb);

// Whether atoms of atomic number z take part in the family (Fe).
bool acklist_selects(int32_t z);

// The spline of the Fe-Fe table at r: V and F = -dV/dr.
void fefe_acklist_pw_interaction(const AcklistState& state, double r, double& v, double& f);

// The tabulated pair term of pair type t: the Fe-Fe spline for type 1; any other type writes
// "ACKLAND_ACKLIST_PW_INTERACTION: IJPOT is unknown" and leaves V and F at 0.
void acklist_pw_interaction(const AcklistState& state, int32_t t, double r, double& v, double& f);

// The pair term of a bond: below the first table distance fatal, up to and including the last
// the spline, beyond it nothing.
PairValue acklist_bond_pair(const AcklistState& state, int32_t t, double r);

// One bond's density term of pair type t at r and its derivative.
DensityValue acklist_density(const AcklistState& state, int32_t t, double r);

}  // namespace pelix
