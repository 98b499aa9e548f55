#include "potentials/ionic/ionic.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <sstream>

#include "atoms/elements.hpp"
#include "common/fatal_error.hpp"

namespace pelix {

namespace {

std::string pair_name(int32_t za, int32_t zb) {
    auto trimmed = [](int32_t z) {
        std::string s(element_symbol(z));
        if (s.size() == 2 && s[1] == '_')
            s.pop_back();
        return s;
    };
    return trimmed(za) + "-" + trimmed(zb);
}

std::string number(double x) {
    std::ostringstream out;
    out.precision(6);
    out << x;
    return out.str();
}

bool same_pair(const ElementPair& p, int32_t za, int32_t zb) {
    return (p.za == za && p.zb == zb) || (p.za == zb && p.zb == za);
}

int32_t find_type(const std::vector<ElementPair>& types, int32_t za, int32_t zb) {
    for (std::size_t k = 0; k < types.size(); ++k) {
        if (same_pair(types[k], za, zb))
            return static_cast<int32_t>(k) + 1;
    }
    return 0;
}

// Every pair of the elements, upper triangle row by row: (1,1), (1,2), ..., (2,2), ...
std::vector<ElementPair> every_pair(std::span<const int32_t> elements) {
    std::vector<ElementPair> out;
    for (std::size_t a = 0; a < elements.size(); ++a)
        for (std::size_t b = a; b < elements.size(); ++b)
            out.push_back({elements[a], elements[b]});
    return out;
}

// Value, slope and curvature of a function at one radius.
struct Jet {
    double v, dv, d2v;
};

Jet zbl_jet(const IonicPairType& p, double r) {
    double s = 0.0, ds = 0.0, d2s = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const double term = p.zbl.conc[k] * std::exp(p.zbl.cond[k] * r);
        s += term;
        ds += p.zbl.cond[k] * term;
        d2s += p.zbl.cond[k] * p.zbl.cond[k] * term;
    }
    // The slope and curvature of the region as evaluated: the shift enters as -shift/r.
    const double shift = p.row.zbl_shift;
    return {s / r + shift, ds / r - s / (r * r) - shift / r,
            d2s / r - 2.0 * ds / (r * r) + 2.0 * s / (r * r * r) + shift / (r * r)};
}

// The long-range form's value and slope, its curvature from the slope by central differences.
Jet long_range_jet(const IonicPairType& p, double r) {
    double v = 0.0, g = 0.0, g_in = 0.0, g_out = 0.0, unused = 0.0;
    const double h = 1e-5 * r;
    ionic_long_range_region(p, r, v, g);
    ionic_long_range_region(p, r - h, unused, g_in);
    ionic_long_range_region(p, r + h, unused, g_out);
    return {v, g, (g_out - g_in) / (2.0 * h)};
}

// The quintic in x = r - r0 on [0, h] that has the jets `left` at x = 0 and `right` at x = h.
Quintic hermite_quintic(const Jet& left, const Jet& right, double h) {
    Quintic q;
    q.b[0] = left.v;
    q.b[1] = left.dv;
    q.b[2] = 0.5 * left.d2v;
    const double r0 = right.v - (q.b[0] + q.b[1] * h + q.b[2] * h * h);
    const double r1 = (right.dv - (q.b[1] + 2.0 * q.b[2] * h)) * h;
    const double r2 = (right.d2v - 2.0 * q.b[2]) * h * h;
    q.b[3] = (20.0 * r0 - 8.0 * r1 + r2) / (2.0 * h * h * h);
    q.b[4] = (-30.0 * r0 + 14.0 * r1 - 2.0 * r2) / (2.0 * h * h * h * h);
    q.b[5] = (12.0 * r0 - 6.0 * r1 + r2) / (2.0 * h * h * h * h * h);
    return q;
}

// Where the parameters of a row came from, for messages: the file and its line, or the
// keyword's built-in set.
struct RowSource {
    std::string file;
    int line = 0;
    [[noreturn]] void fail(const std::string& what) const { input_error(file, line, what); }
};

void check_row(const IonicPairRow& row, const RowSource& source) {
    const std::string name = pair_name(row.za, row.zb);
    const double r_taper = row.taper_centre - row.taper_half_width;
    if (!(row.taper_centre > 0.0) || !(row.taper_half_width >= 0.0) || !(r_taper >= 0.0))
        source.fail(name + ": the taper needs R > 0 and 0 <= W <= R, found R = " +
                    number(row.taper_centre) + ", W = " + number(row.taper_half_width));
    if (!(row.form.rho > 0.0))
        source.fail(name + ": rho must be positive, found " + number(row.form.rho));
    const double cutoff = row.taper_centre + row.taper_half_width;
    const bool repulsion_only = row.r_zbl == cutoff && row.r_join == cutoff;
    if (!repulsion_only && !(row.r_zbl > 0.0 && row.r_zbl < row.r_join && row.r_join <= r_taper))
        source.fail(name +
                    ": the join radii need 0 < r_zbl < r_join <= R - W = " + number(r_taper) +
                    ", found " + number(row.r_zbl) + " and " + number(row.r_join));
    if (row.screening.given && !(row.screening.length > 0.0))
        source.fail(name + ": the screening length must be positive");
}

// The constants of a pair type from its row; a fitted bridge must stay repulsive.
IonicPairType derive(const IonicPairRow& row, const IonicKeyword& keyword,
                     const RowSource& source) {
    check_row(row, source);
    IonicPairType p;
    p.defined = true;
    p.row = row;
    p.zbl = row.screening.given
                ? zbl_terms_with_length(row.screening.length, row.za, row.zb, row.screening.c,
                                        row.screening.d)
                : zbl_terms(ScreeningRule::A, row.za, row.zb, keyword.zbl_c, keyword.zbl_d);
    p.inverse_rho = 1.0 / row.form.rho;
    p.a_over_rho = row.form.a / row.form.rho;
    p.six_c = 6.0 * row.form.c;
    p.eight_d = 8.0 * row.form.d;
    p.inverse_r_m = 1.0 / row.aziz.r_m;
    p.beck_k = 2.709 + 3.0 * row.beck.a0 * row.beck.a0;
    p.taper_start = row.taper_centre - row.taper_half_width;
    p.taper_rate = std::numbers::pi / (2.0 * row.taper_half_width);
    p.conrh = row.taper_centre + row.taper_half_width;
    p.conrh2 = p.conrh * p.conrh;
    if (row.bridge_given) {
        p.bridge.b = row.bridge;
        return p;
    }
    const double h = row.r_join - row.r_zbl;
    if (!(h > 0.0))
        return p;
    p.bridge_origin = row.r_zbl;
    p.bridge = hermite_quintic(zbl_jet(p, row.r_zbl), long_range_jet(p, row.r_join), h);
    constexpr int kSamples = 2000;
    for (int k = 0; k <= kSamples; ++k) {
        const double x = h * k / kSamples;
        const double slope = p.bridge.derivative(x);
        if (!(slope < 0.0))
            source.fail(pair_name(row.za, row.zb) + ": the bridge from " + number(row.r_zbl) +
                        " to " + number(row.r_join) +
                        " A is not repulsive (dV/dr = " + number(slope) + " eV/A at " +
                        number(row.r_zbl + x) + " A); choose other join radii");
    }
    return p;
}

std::string source_name(const IonicKeyword& keyword) {
    return keyword.file.empty() ? std::string(keyword.name) + " built-in set"
                                : std::string(keyword.file);
}

}  // namespace

void ionic_setup(IonicState& state, const IonicKeyword& keyword, int32_t k) {
    state.idnum = k;
    state.source.clear();
    if (!keyword.pairs.empty())
        state.types.assign(keyword.pairs.begin(), keyword.pairs.end());
    else
        state.types = every_pair(keyword.elements);

    std::vector<std::pair<IonicPairRow, RowSource>> rows;
    for (const IonicPairRow& row : keyword.builtin)
        rows.push_back({row, {std::string(keyword.name) + " built-in set", 0}});
    if (!keyword.file.empty()) {
        const std::string path(keyword.file);
        if (std::filesystem::exists(path)) {
            state.source = path;
            const auto from_file = read_ionic_file(path, keyword.variants);
            if (from_file.empty())
                input_error(path, 0, "no pair records");
            const bool types_from_file = keyword.pairs.empty() && keyword.elements.empty();
            if (types_from_file)
                state.types.clear();
            for (const auto& [line, row] : from_file) {
                const RowSource where{path, line};
                if (types_from_file) {
                    if (find_type(state.types, row.za, row.zb) == 0)
                        state.types.push_back({row.za, row.zb});
                } else if (find_type(state.types, row.za, row.zb) == 0) {
                    where.fail("the pair " + pair_name(row.za, row.zb) + " is not a pair of " +
                               std::string(keyword.name));
                }
                rows.push_back({row, where});
            }
        } else if (keyword.builtin.empty()) {
            input_error(path, 0,
                        "file not found; " + std::string(keyword.name) +
                            " has no built-in parameters and reads them from this file");
        }
    }

    state.pair.assign(state.types.size(), IonicPairType{});
    std::vector<int> from_line(state.types.size(), 0);
    for (const auto& [row, where] : rows) {
        const auto t = static_cast<std::size_t>(find_type(state.types, row.za, row.zb) - 1);
        if (where.line > 0 && from_line[t] > 0)
            where.fail("the pair " + pair_name(row.za, row.zb) + " is given twice (first on line " +
                       std::to_string(from_line[t]) + ")");
        from_line[t] = where.line;
        state.pair[t] = derive(row, keyword, where);
    }
    state.elements.clear();
    for (const ElementPair& p : state.types)
        for (const int32_t z : {p.za, p.zb})
            if (std::find(state.elements.begin(), state.elements.end(), z) == state.elements.end())
                state.elements.push_back(z);
}

int32_t ionic_mapij(const IonicState& state, const IonicKeyword& keyword, int32_t za, int32_t zb) {
    const auto index = [&](int32_t z) {
        const auto at = std::find(keyword.elements.begin(), keyword.elements.end(), z);
        return at == keyword.elements.end() ? -1
                                            : static_cast<int32_t>(at - keyword.elements.begin());
    };
    if (!keyword.elements.empty()) {
        // Every pair of the elements, numbered as every_pair numbers them.
        const int32_t a = index(za), b = index(zb);
        if (a < 0)
            nrerror(std::string(keyword.block_prefix) + "setting i");
        if (b < 0)
            nrerror(std::string(keyword.block_prefix) + "i=" + std::string(element_symbol(za)) +
                    " block");
        const int32_t lo = std::min(a, b), hi = std::max(a, b);
        const auto n = static_cast<int32_t>(keyword.elements.size());
        return lo * n - lo * (lo - 1) / 2 + (hi - lo) + 1;
    }
    if (!keyword.pairs.empty()) {
        for (std::size_t k = 0; k < keyword.pairs.size(); ++k)
            if (same_pair(keyword.pairs[k], za, zb))
                return static_cast<int32_t>(k) + 1;
        nrerror(std::string(keyword.mapij_message));
    }
    const int32_t t = find_type(state.types, za, zb);
    if (t == 0)
        input_error(
            source_name(keyword), 0,
            "no record for the pair " + pair_name(za, zb) + " of " + std::string(keyword.name));
    return t;
}

double ionic_cutoff_squared(const IonicState& state, const IonicKeyword& keyword, int32_t za,
                            int32_t zb) {
    const int32_t t = ionic_mapij(state, keyword, za, zb);
    const IonicPairType& p = state.of_type(t);
    if (!p.defined) {
        const std::string what = "no parameters for the pair " + pair_name(za, zb) + " of " +
                                 std::string(keyword.name) + " (pair type " + std::to_string(t) +
                                 ")";
        input_error(source_name(keyword), 0,
                    what + (state.source.empty()
                                ? ": nothing is built in for it and the file is not in the "
                                  "working directory"
                                : ": add a record for it"));
    }
    return p.conrh2;
}

PairValue ionic_pair(const IonicState& state, int32_t t, double r) {
    const IonicPairType& p = state.of_type(t);
    if (!p.defined || !(r * r < p.conrh2))
        return PairValue{};
    double v = 0.0, g = 0.0;
    ionic_bond(p, r, v, g);
    return PairValue{v, -g};
}

}  // namespace pelix
