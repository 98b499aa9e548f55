#pragma once
// The ionic pair path: the set-up that turns a keyword's rows (built in or read from its file)
// into per-pair-type constants, the mapper, the cut-offs and the pair function. The family
// the common evaluation sees is in ionic_family.hpp.
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/pair_value.hpp"
#include "potentials/ionic/rows.hpp"

namespace pelix {

// The constants of one pair type, fixed at set-up.
struct IonicPairType {
    bool defined = false;
    IonicPairRow row{};
    ZblTerms zbl{};
    double bridge_origin = 0.0;  // the bridge is a quintic in r - bridge_origin
    Quintic bridge{};
    double inverse_rho = 0.0, a_over_rho = 0.0, six_c = 0.0, eight_d = 0.0;
    double inverse_r_m = 0.0, beck_k = 0.0;      // 1/r_m of an Aziz form, 2.709 + 3a^2 of Beck's
    double taper_start = 0.0, taper_rate = 0.0;  // R - W and pi/(2W)
    double conrh = 0.0, conrh2 = 0.0;
};

struct IonicState {
    int32_t idnum = 0;
    std::vector<ElementPair> types;   // pair type t is types[t - 1]
    std::vector<IonicPairType> pair;  // by pair type, as types
    std::vector<int32_t> elements;    // the elements the family selects
    std::string source;               // the file read at the last set-up, empty when none

    const IonicPairType& of_type(int32_t t) const { return pair[static_cast<std::size_t>(t - 1)]; }
};

// Set-up of a keyword under potential number k: pair types, built-in rows, then the rows of
// its file where the file is present (an absent file is a stop when nothing is built in),
// each pair's constants and fitted bridge.
void ionic_setup(IonicState& state, const IonicKeyword& keyword, int32_t k);

// Pair type of two atomic numbers, either order; an unsupported pair stops with the keyword's
// message.
int32_t ionic_mapij(const IonicState& state, const IonicKeyword& keyword, int32_t za, int32_t zb);

// Squared cut-off of the pair type of za and zb; a pair type without parameters stops with a
// message naming the keyword's file and the pair.
double ionic_cutoff_squared(const IonicState& state, const IonicKeyword& keyword, int32_t za,
                            int32_t zb);

// Energy V and G = dV/dr of each region (no cut-off test, no taper), and of a bond of type t
// and length r below the cut-off, taper included. Inline: the evaluation loop runs them.
inline void ionic_zbl_region(const IonicPairType& p, double r, double& v, double& g) {
    const PairValue bare = zbl_evaluate(p.zbl, r);
    // V = S/r + shift and G = S'/r - V/r: the slope of the bare repulsion less shift/r.
    const double shift = p.row.zbl_shift;
    v = bare.v + shift;
    g = -bare.f - shift / r;
}

inline void ionic_bridge_region(const IonicPairType& p, double r, double& v, double& g) {
    const double x = r - p.bridge_origin;
    v = p.bridge.value(x);
    g = p.bridge.derivative(x);
}

inline void aziz_region(const AzizForm& f, double inverse_r_m, double r, double& v, double& g) {
    const double x = r * inverse_r_m;
    const double repulsion = f.a * std::exp(x * (f.beta * x - f.alpha));
    const double ix2 = 1.0 / (x * x);
    const double ix6 = ix2 * ix2 * ix2;
    const double dispersion = ix6 * (f.c6 + ix2 * (f.c8 + ix2 * f.c10));
    const double dispersion_slope =
        -ix6 / x * (6.0 * f.c6 + ix2 * (8.0 * f.c8 + ix2 * 10.0 * f.c10));
    double damping = 1.0, damping_slope = 0.0;
    if (x < f.d) {
        const double u = f.d / x - 1.0;
        damping = std::exp(-u * u);
        damping_slope = damping * 2.0 * u * f.d * ix2;
    }
    v = f.epsilon * (repulsion - damping * dispersion);
    g = f.epsilon * inverse_r_m *
        (repulsion * (2.0 * f.beta * x - f.alpha) - damping_slope * dispersion -
         damping * dispersion_slope);
}

inline void beck_region(const BeckForm& f, double k, double r, double& v, double& g) {
    const double r2 = r * r;
    const double r5 = r2 * r2 * r;
    const double repulsion = f.a * std::exp(-f.alpha * r - f.beta * r5 * r);
    const double is = 1.0 / (r2 + f.a0 * f.a0);
    const double is3 = is * is * is;
    v = repulsion - f.b * is3 * (1.0 + k * is);
    g = repulsion * (-f.alpha - 6.0 * f.beta * r5) + f.b * r * is3 * is * (6.0 + 8.0 * k * is);
}

inline void ionic_long_range_region(const IonicPairType& p, double r, double& v, double& g) {
    if (p.row.kind == PairForm::Aziz) {
        aziz_region(p.row.aziz, p.inverse_r_m, r, v, g);
        return;
    }
    if (p.row.kind == PairForm::Beck) {
        beck_region(p.row.beck, p.beck_k, r, v, g);
        return;
    }
    const LongRangeForm& form = p.row.form;
    const double repulsion = std::exp((form.sigma - r) * p.inverse_rho);
    const double inverse_r2 = 1.0 / (r * r);
    const double inverse_r6 = inverse_r2 * inverse_r2 * inverse_r2;
    const double inverse_r8 = inverse_r6 * inverse_r2;
    v = form.a * repulsion - form.c * inverse_r6 + form.d * inverse_r8;
    g = -p.a_over_rho * repulsion + p.six_c * inverse_r6 / r - p.eight_d * inverse_r8 / r;
}

inline void ionic_bond(const IonicPairType& p, double r, double& v, double& g) {
    const bool untapered = r <= p.taper_start;
    const double centre = p.row.taper_centre;
    if (!untapered && !(std::abs(r - centre) < p.row.taper_half_width)) {
        v = 0.0;
        g = 0.0;
        return;
    }
    double v0 = 0.0, g0 = 0.0;
    if (r <= p.row.r_zbl)
        ionic_zbl_region(p, r, v0, g0);
    else if (r < p.row.r_join)
        ionic_bridge_region(p, r, v0, g0);
    else
        ionic_long_range_region(p, r, v0, g0);
    if (untapered) {
        v = v0;
        g = g0;
        return;
    }
    const double rate = p.taper_rate;
    const double theta = rate * (r - centre);
    const double taper = 0.5 - 0.5 * std::sin(theta);
    v = taper * v0;
    g = taper * g0 - v0 * 0.5 * std::cos(theta) * rate;
}

// The pair function: energy and F = -dV/dr of a pair of type t at distance r (zero from the
// cut-off on).
PairValue ionic_pair(const IonicState& state, int32_t t, double r);

// The rows of an ionic parameter file with their line numbers (format in
// docs/families/BPUPOTL.md); input errors name the file and line.
// A "variant A B NAME" record stands for the row of `variants` with that name and pair.
std::vector<std::pair<int, IonicPairRow>> read_ionic_file(
    const std::string& path, std::span<const IonicPairRow> variants = {});

}  // namespace pelix
