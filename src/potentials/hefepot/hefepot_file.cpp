// "HeFePOT.IN": the reader, and the state its records become at set-up.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>

#include "common/fatal_error.hpp"
#include "common/record_file.hpp"
#include "potentials/hefepot/hefepot.hpp"
#include "potentials/knot_eam/knot_eam.hpp"
#include "potentials/knot_sums.hpp"

namespace pelix {

namespace {

constexpr int32_t kHe = 2, kFe = 26;

std::string number(double x) {
    std::ostringstream out;
    out << x;
    return out.str();
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The knot sum and its force at r.
PairValue knot_pair(const HefepotState& state, double r) {
    PairValue out;
    double squares = 0.0;
    cubic_knot_sum(state.knot.data(), state.coef.data(), state.knot.size(), r, out.v, squares);
    out.f = 3.0 * squares;
    return out;
}

}  // namespace

HefepotFile read_hefepot_in(const std::string& path) {
    RecordFile file(path);
    HefepotFile out;
    bool radial = false, angular = false, in_pair = false;
    for (std::vector<std::string> items; file.next(items);) {
        const std::string keyword = lower(items[0]);
        const bool knot_record = keyword != "pair" && keyword != "radial" && keyword != "angular";
        if (knot_record && !in_pair)
            file.fail("expected pair, radial or angular, found '" + items[0] + "'");
        in_pair = in_pair && knot_record;
        if (keyword == "pair") {
            if (out.pair_line > 0)
                file.fail("the pair record is given twice");
            file.expect(items, 3, "pair r_zbl r_join");
            out.r_zbl = file.real(items[1]), out.r_join = file.real(items[2]);
            if (!(out.r_zbl > 0.0 && out.r_join > out.r_zbl))
                file.fail("expected 0 < r_zbl < r_join");
            out.pair_line = file.line();
            in_pair = true;
        } else if (keyword == "radial") {
            if (radial)
                file.fail("the radial record is given twice");
            file.expect(items, 3, "radial gamma r_c");
            out.gamma = file.real(items[1]), out.r_c = file.real(items[2]);
            if (!(out.gamma > 0.0 && out.r_c > 0.0))
                file.fail("gamma and r_c must be positive");
            if (!std::isfinite(out.r_c * out.r_c))
                file.fail("r_c = " + items[2] + " is too large for a cut-off radius");
            radial = true;
        } else if (keyword == "angular") {
            if (angular)
                file.fail("the angular record is given twice");
            if (items.size() < 2)
                file.fail("expected 'angular b0 b1 ...' (at least 2 items), found 1");
            for (std::size_t n = 1; n < items.size(); ++n)
                out.angular.push_back(file.real(items[n]));
            angular = true;
        } else {
            file.expect(items, 2, "knot coefficient");
            const double knot = file.real(items[0]);
            if (!(knot > out.r_join))
                file.fail("the knot " + items[0] +
                          " must lie beyond r_join = " + number(out.r_join));
            if (!std::isfinite(knot * knot))
                file.fail("the knot " + items[0] + " is too large for a cut-off radius");
            out.knot.push_back(knot);
            out.coef.push_back(file.real(items[1]));
        }
    }
    if (out.pair_line == 0)
        file.fail("no 'pair r_zbl r_join' record");
    if (out.knot.empty())
        input_error(path, out.pair_line, "the pair record has no 'knot coefficient' records");
    if (!radial)
        file.fail("no 'radial gamma r_c' record");
    if (!angular)
        file.fail("no 'angular b0 b1 ...' record");
    return out;
}

void hefepot_setup(HefepotState& state, const HefepotFile& file, const std::string& path,
                   int32_t k) {
    state = HefepotState{};
    state.idnum = k;
    state.r_zbl = file.r_zbl;
    state.r_join = file.r_join;
    state.knot = file.knot;
    state.coef = file.coef;
    state.zbl = zbl_terms(ScreeningRule::A, kHe, kFe);
    state.gamma = file.gamma;
    state.r_c = file.r_c;
    state.angular = file.angular;

    const auto fail = [&](const std::string& what) { input_error(path, file.pair_line, what); };
    const PairValue outer = knot_pair(state, file.r_join);
    if (!(outer.v > 0.0))
        fail("the pair term must be positive at r_join = " + number(file.r_join) + ", found " +
             number(outer.v));
    const double r1 = file.r_zbl, r2 = file.r_join;
    state.bridge = fit_exponential_bridge(r1, zbl_evaluate(state.zbl, r1), r2, outer);
    // The exponent's slope is a quadratic: its largest value on [r1, r2] is at an end or at
    // its vertex.
    const std::array<double, 6>& b = state.bridge.b;
    double worst = std::max(state.bridge.derivative(r1), state.bridge.derivative(r2));
    const double vertex = b[3] != 0.0 ? -b[2] / (3.0 * b[3]) : r1;
    if (vertex > r1 && vertex < r2)
        worst = std::max(worst, state.bridge.derivative(vertex));
    if (!(worst < 0.0) ||
        !std::all_of(b.begin(), b.end(), [](double x) { return std::isfinite(x); }))
        fail("the bridge from " + number(r1) + " to " + number(r2) +
             " A is not repulsive; choose other join radii or knots");

    double reach = 0.0;
    for (std::size_t n = 0; n < state.knot.size(); ++n)
        if (state.coef[n] != 0.0)
            reach = std::max(reach, state.knot[n]);
    const double cutoff = std::max(reach, state.r_c);
    state.conrh2 = cutoff * cutoff;
}

}  // namespace pelix
