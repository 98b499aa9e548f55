#include "potentials/knot_eam/knot_eam.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "common/fatal_error.hpp"
#include "potentials/knot_sums.hpp"

namespace pelix {

namespace {

bool same_pair(int32_t za, int32_t zb, int32_t a, int32_t b) {
    return (za == a && zb == b) || (za == b && zb == a);
}

std::vector<double> copy(std::span<const double> values) {
    return {values.begin(), values.end()};
}

PairValue own_form(const KnotEamPairType& pair, double r);

KnotEamPairType pair_type_of(const EamPairRow& row) {
    KnotEamPairType out;
    out.za = row.za;
    out.zb = row.zb;
    out.knot = copy(row.knots.knot);
    out.coef = copy(row.knots.coef);
    out.rc = row.powers.rc;
    out.first_power = row.powers.first_power;
    out.power = copy(row.powers.coef);
    out.defined = !out.knot.empty() || !out.power.empty();
    out.bridge = row.bridge;
    out.join = row.join;
    out.sr_cutoff = row.sr_cutoff;
    out.cutin = row.cutin;
    out.conrh2 = row.cutoff2;
    out.zbl = zbl_terms(row.rule, row.za, row.zb);
    out.density_coef = row.density_coef;
    out.density_term = row.density_term;
    if (row.fit_bridge && out.defined)
        out.bridge = fit_exponential_bridge(out.sr_cutoff, zbl_evaluate(out.zbl, out.sr_cutoff),
                                            out.cutin, own_form(out, out.cutin));
    return out;
}

void add_element(KnotEamState& state, int32_t z) {
    if (state.element_index(z) < 0)
        state.element.push_back(z);
}

// The largest knot with a non-zero coefficient.
double reach(const std::vector<double>& knot, const std::vector<double>& coef) {
    double out = 0.0;
    for (std::size_t k = 0; k < knot.size(); ++k)
        if (coef[k] != 0.0)
            out = std::max(out, knot[k]);
    return out;
}

double reach(const KnotEamDensity& density) {
    if (!density.knot.empty())
        return reach(density.knot, density.coef);
    return density.cubic_exp.n != 0.0 ? density.cubic_exp.rc : density.screened.rc;
}

// The density of a form without knots: the cubic-exponential one when given, else the screened.
DensityValue density_form(const KnotEamDensity& density, double r) {
    return density.cubic_exp.n != 0.0 ? cubic_exp_density(density.cubic_exp, r)
                                      : screened_density(density.screened, r);
}

// sum_n c_n x^n for n = first, first + 1, ... and its derivative, x = rc - r > 0.
PairValue power_series(const KnotEamPairType& pair, double r) {
    PairValue out;
    const double x = pair.rc - r;
    if (!(x > 0.0))
        return out;
    double poly = 0.0, slope = 0.0;  // sum_m c_m x^m over m = n - first, and d/dx
    for (auto c = pair.power.rbegin(); c != pair.power.rend(); ++c) {
        slope = slope * x + poly;
        poly = poly * x + *c;
    }
    double lead = 1.0, lead_slope = 0.0;  // x^first and d/dx
    for (int32_t n = 0; n < pair.first_power; ++n) {
        lead_slope = lead_slope * x + lead;
        lead *= x;
    }
    out.v = lead * poly;
    out.f = lead_slope * poly + lead * slope;  // -dV/dr = dV/dx
    return out;
}

// Calls run(t, from, to) for each run of bonds from..to-1 of one pair type t. The bonds of an
// atom of a pure metal are one run, which a test without early exit finds quickly.
template <class Run>
void for_each_type_run(const int32_t* type, int32_t n, const Run& run) {
    if (n == 0)
        return;
    int32_t differ = 0;  // bits in which some type differs from the first (a vector reduction)
    for (int32_t k = 1; k < n; ++k)
        differ |= type[k] ^ type[0];
    if (differ == 0) {
        run(type[0], 0, n);
        return;
    }
    for (int32_t from = 0; from < n;) {
        int32_t to = from + 1;
        while (to < n && type[to] == type[from])
            ++to;
        run(type[from], from, to);
        from = to;
    }
}

// Adds the pair's density term to its own form at r.
void add_density_term(const KnotEamPairType& pair, double r, double& v, double& f) {
    const DensityValue term = screened_density(pair.density_term, r);
    v += pair.density_coef * term.rho;
    f -= pair.density_coef * term.drho;
}

// The pair's own form beyond the bridge: its knot sum, or its power series, and its density
// term.
PairValue own_form(const KnotEamPairType& pair, double r) {
    PairValue out;
    if (pair.knot.empty()) {
        out = power_series(pair, r);
    } else {
        double squares = 0.0;
        cubic_knot_sum(pair.knot.data(), pair.coef.data(), pair.knot.size(), r, out.v, squares);
        out.f = 3.0 * squares;
    }
    if (pair.density_coef != 0.0)
        add_density_term(pair, r, out.v, out.f);
    return out;
}

}  // namespace

DensityValue screened_density(const ScreenedDensity& form, double r) {
    DensityValue out;
    if (!(r < form.rc))
        return out;
    const double g = form.a * std::exp(-form.beta * r) / r;
    const double x = (r - form.rc) / form.h, x3 = x * x * x, x4 = x3 * x;
    const double w = x4 / (1.0 + x4);
    out.rho = g * w;
    out.drho = g * ((-form.beta - 1.0 / r) * w + 4.0 * x3 / ((1.0 + x4) * (1.0 + x4) * form.h));
    return out;
}

DensityValue cubic_exp_density(const CubicExpDensity& form, double r) {
    DensityValue out;
    if (!(r < form.rc))
        return out;
    const double g = form.n * r * r * std::exp(-2.0 * form.psi * r);
    out.rho = g * r;
    out.drho = g * (3.0 - 2.0 * form.psi * r);
    return out;
}

Quintic fit_exponential_bridge(double r1, PairValue inner, double r2, PairValue outer) {
    // p(r) = ln V and p'(r) = -F / V at both ends: four linear equations in b0..b3, solved by
    // elimination with partial pivoting.
    double m[4][5] = {{1.0, r1, r1 * r1, r1 * r1 * r1, std::log(inner.v)},
                      {0.0, 1.0, 2.0 * r1, 3.0 * r1 * r1, -inner.f / inner.v},
                      {1.0, r2, r2 * r2, r2 * r2 * r2, std::log(outer.v)},
                      {0.0, 1.0, 2.0 * r2, 3.0 * r2 * r2, -outer.f / outer.v}};
    for (int c = 0; c < 4; ++c) {
        int pivot = c;
        for (int row = c + 1; row < 4; ++row)
            if (std::abs(m[row][c]) > std::abs(m[pivot][c]))
                pivot = row;
        std::swap(m[c], m[pivot]);
        for (int row = c + 1; row < 4; ++row) {
            const double factor = m[row][c] / m[c][c];
            for (int k = c; k < 5; ++k)
                m[row][k] -= factor * m[c][k];
        }
    }
    Quintic out;
    for (int c = 3; c >= 0; --c) {
        double sum = m[c][4];
        for (int k = c + 1; k < 4; ++k)
            sum -= m[c][k] * out.b[static_cast<std::size_t>(k)];
        out.b[static_cast<std::size_t>(c)] = sum / m[c][c];
    }
    return out;
}

void knot_eam_setup(KnotEamState& state, const KnotEamKeyword& keyword, int32_t k) {
    state = KnotEamState{};
    state.idnum = k;
    for (const EamPairRow& row : keyword.pairs) {
        add_element(state, row.za);
        add_element(state, row.zb);
        state.pair.push_back(pair_type_of(row));
    }
    for (const int32_t z : state.element) {
        EamElementRow embedding{z};
        for (const EamElementRow& row : keyword.elements)
            if (row.z == z)
                embedding = row;
        state.embedding.push_back(embedding);
    }
    state.density.resize(state.element.size() * state.pair.size());
    for (std::size_t e = 0; e < state.element.size(); ++e) {
        const int32_t centre = state.element[e];
        for (std::size_t t = 0; t < state.pair.size(); ++t) {
            const KnotEamPairType& pair = state.pair[t];
            if (pair.za != centre && pair.zb != centre)
                continue;
            const int32_t neighbour = pair.za == centre ? pair.zb : pair.za;
            for (const EamDensityRow& row : keyword.densities) {
                if (row.centre == centre && row.neighbour == neighbour) {
                    KnotEamDensity& density = state.density[e * state.pair.size() + t];
                    density.knot = copy(row.psi.knot);
                    density.coef = copy(row.psi.coef);
                    density.scale = row.scale;
                    density.screened = row.screened;
                    density.cubic_exp = row.cubic_exp;
                }
            }
        }
    }
    // A pair type without a given cut-off reaches as far as its pair term or its densities.
    for (std::size_t t = 0; t < state.pair.size(); ++t) {
        KnotEamPairType& pair = state.pair[t];
        if (pair.conrh2 != 0.0 || !pair.defined)
            continue;
        double cutoff = std::max({reach(pair.knot, pair.coef), pair.power.empty() ? 0.0 : pair.rc,
                                  pair.density_coef != 0.0 ? pair.density_term.rc : 0.0});
        for (std::size_t e = 0; e < state.element.size(); ++e)
            if (state.element[e] == pair.za || state.element[e] == pair.zb)
                cutoff = std::max(cutoff, reach(state.density[e * state.pair.size() + t]));
        pair.conrh2 = cutoff * cutoff;
    }
}

int32_t knot_eam_mapij(const KnotEamKeyword& keyword, int32_t za, int32_t zb) {
    for (std::size_t t = 0; t < keyword.pairs.size(); ++t)
        if (same_pair(za, zb, keyword.pairs[t].za, keyword.pairs[t].zb))
            return static_cast<int32_t>(t + 1);
    for (const EamRefusal& refusal : keyword.refusals)
        if (same_pair(za, zb, refusal.za, refusal.zb))
            nrerror(std::string(refusal.message));
    nrerror(std::string(keyword.mapij_message));
}

double knot_eam_cutoff_squared(const KnotEamState& state, const KnotEamKeyword& keyword, int32_t za,
                               int32_t zb) {
    const KnotEamPairType& pair = state.of_type(knot_eam_mapij(keyword, za, zb));
    if (!pair.defined)
        nrerror(pair.missing);
    return pair.conrh2;
}

PairValue knot_eam_bond_pair(const KnotEamPairType& pair, double r) {
    PairValue out;
    switch (join_region(r, pair.sr_cutoff, pair.cutin)) {
        case JoinRegion::Zbl:
            out = zbl_evaluate(pair.zbl, r);
            break;
        case JoinRegion::Bridge:
            if (pair.join == BridgeJoin::Exponent) {
                out.v = std::exp(pair.bridge.value(r));
                out.f = -pair.bridge.derivative(r) * out.v;
            } else {
                out.v = pair.bridge.value(r);
                out.f = -pair.bridge.derivative(r);
            }
            break;
        case JoinRegion::Own:
            return own_form(pair, r);
    }
    return out;
}

PairValue knot_eam_pair(const KnotEamState& state, int32_t t, double r) {
    const KnotEamPairType& pair = state.of_type(t);
    if (!(r * r < pair.conrh2))
        return PairValue{};
    return knot_eam_bond_pair(pair, r);
}

DensityValue knot_eam_density(const KnotEamState& state, int32_t centre, int32_t t, double r) {
    const KnotEamDensity& density = state.density_of(state.element_index(centre), t);
    if (density.knot.empty())
        return density_form(density, r);
    DensityValue out;
    cubic_knot_density(density.knot.data(), density.coef.data(), density.knot.size(), r, out.rho,
                       out.drho);
    out.rho *= density.scale;
    out.drho *= density.scale;
    return out;
}

void knot_eam_bond_pairs(const KnotEamState& state, const int32_t* type, const double* r, int32_t n,
                         double* v, double* f) {
    for_each_type_run(type, n, [&](int32_t t, int32_t from, int32_t to) {
        const KnotEamPairType& pair = state.of_type(t);
        if (pair.knot.empty()) {
            for (int32_t k = from; k < to; ++k) {
                const PairValue value = knot_eam_bond_pair(pair, r[k]);
                v[k] = value.v;
                f[k] = value.f;
            }
            return;
        }
        // The knot sums of the whole run together, then the few bonds short enough for the
        // join one at a time.
        cubic_knot_sums_many(pair.knot.data(), pair.coef.data(), pair.knot.size(), r + from,
                             static_cast<std::size_t>(to - from), v + from, f + from);
        for (int32_t k = from; k < to; ++k) {
            f[k] = 3.0 * f[k];
            if (join_region(r[k], pair.sr_cutoff, pair.cutin) != JoinRegion::Own) {
                const PairValue value = knot_eam_bond_pair(pair, r[k]);
                v[k] = value.v;
                f[k] = value.f;
            } else if (pair.density_coef != 0.0) {
                add_density_term(pair, r[k], v[k], f[k]);
            }
        }
    });
}

void knot_eam_bond_densities(const KnotEamState& state, int32_t e, const int32_t* type,
                             const double* r, int32_t n, double* rho, double* drho) {
    for_each_type_run(type, n, [&](int32_t t, int32_t from, int32_t to) {
        const KnotEamDensity& density = state.density_of(e, t);
        if (density.knot.empty()) {
            for (int32_t k = from; k < to; ++k) {
                const DensityValue value = density_form(density, r[k]);
                rho[k] = value.rho;
                drho[k] = value.drho;
            }
            return;
        }
        cubic_knot_densities_many(density.knot.data(), density.coef.data(), density.knot.size(),
                                  r + from, static_cast<std::size_t>(to - from), rho + from,
                                  drho + from);
        if (density.scale == 1.0)
            return;
        for (int32_t k = from; k < to; ++k) {
            rho[k] *= density.scale;
            drho[k] *= density.scale;
        }
    });
}

}  // namespace pelix
