#pragma once
// The knot-sum embedded-atom path: the state a keyword's rows (rows.hpp) become at set-up,
// and the pair type, cut-off, pair term and density of that state. The evaluation is
// knot_eam_family.hpp.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "common/pair_value.hpp"
#include "potentials/knot_eam/rows.hpp"
#include "potentials/zbl.hpp"

namespace pelix {

// One bond's contribution to an atom's density and its derivative d(psi)/dr.
struct DensityValue {
    double rho = 0.0;
    double drho = 0.0;
};

// A pair type as the evaluation reads it. `defined` is false for a pair type whose
// parameters no row gave; asking its cut-off stops with `missing`.
struct KnotEamPairType {
    int32_t za = 0, zb = 0;
    bool defined = false;
    std::string missing;
    std::vector<double> knot, coef;  // the knot sum, when the pair term has knots
    double rc = 0.0;                 // else the power series in (rc - r)
    int32_t first_power = 0;
    std::vector<double> power;
    Quintic bridge{};
    BridgeJoin join = BridgeJoin::Exponent;
    double sr_cutoff = 0.0, cutin = 0.0, conrh2 = 0.0;
    ZblTerms zbl{};
    double density_coef = 0.0;
    ScreenedDensity density_term{};

    // False when a bridge fitted at set-up could not be (a pair term not positive at its end).
    bool bridge_joined() const {
        for (const double b : bridge.b)
            if (!std::isfinite(b))
                return false;
        return true;
    }
};

struct KnotEamDensity {
    std::vector<double> knot, coef;
    double scale = 1.0;
    ScreenedDensity screened{};
    CubicExpDensity cubic_exp{};
};

// The screened density and its derivative at r.
DensityValue screened_density(const ScreenedDensity& form, double r);
// The cubic-exponential density and its derivative at r.
DensityValue cubic_exp_density(const CubicExpDensity& form, double r);

struct KnotEamState {
    int32_t idnum = 0;
    std::vector<int32_t> element;          // atomic numbers of the element set
    std::vector<EamElementRow> embedding;  // by element index
    std::vector<KnotEamPairType> pair;     // by pair type - 1
    // The density at an atom of element index e from a bond of pair type t:
    // density[e * pair.size() + t - 1] (empty for a pair type without element e).
    std::vector<KnotEamDensity> density;

    // Index of atomic number z in `element`, or -1.
    int32_t element_index(int32_t z) const {
        for (std::size_t e = 0; e < element.size(); ++e)
            if (element[e] == z)
                return static_cast<int32_t>(e);
        return -1;
    }
    const KnotEamPairType& of_type(int32_t t) const {
        return pair[static_cast<std::size_t>(t - 1)];
    }
    const KnotEamDensity& density_of(int32_t e, int32_t t) const {
        return density[static_cast<std::size_t>(e) * pair.size() + static_cast<std::size_t>(t - 1)];
    }
};

// Builds the state from the keyword's rows (every earlier value replaced) and stores the
// potential number k.
void knot_eam_setup(KnotEamState& state, const KnotEamKeyword& keyword, int32_t k);

// The exponential bridge exp(b0 + b1 r + b2 r^2 + b3 r^3) with the value and slope `inner` at
// r1 and `outer` at r2 (both energies positive).
Quintic fit_exponential_bridge(double r1, PairValue inner, double r2, PairValue outer);

// Pair type of two atomic numbers: the position of their row; the keyword's refusals and then
// its general message stop every other pair.
int32_t knot_eam_mapij(const KnotEamKeyword& keyword, int32_t za, int32_t zb);

// The squared cut-off of the pair type of za and zb.
double knot_eam_cutoff_squared(const KnotEamState& state, const KnotEamKeyword& keyword, int32_t za,
                               int32_t zb);

// The pair term of a bond of type t and length r (ZBL, bridge or own form by region), and the
// same as a function of r: zero where the pair is not a bond (r^2 >= conrh2).
PairValue knot_eam_bond_pair(const KnotEamPairType& pair, double r);
PairValue knot_eam_pair(const KnotEamState& state, int32_t t, double r);

// The density term at an atom of atomic number `centre` from a bond of type t and length r.
DensityValue knot_eam_density(const KnotEamState& state, int32_t centre, int32_t t, double r);

// The pair terms of n bonds of types type[k] and lengths r[k] (V into v, F = -dV/dr into f),
// and the density terms of n bonds at an atom of element index e; each bit for bit what the
// one-bond functions above give.
void knot_eam_bond_pairs(const KnotEamState& state, const int32_t* type, const double* r, int32_t n,
                         double* v, double* f);
void knot_eam_bond_densities(const KnotEamState& state, int32_t e, const int32_t* type,
                             const double* r, int32_t n, double* rho, double* drho);

}  // namespace pelix
