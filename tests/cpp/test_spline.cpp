// Cubic splines: a cubic reproduced from its end slopes (bisection lookup), natural and clamped
// ends with the equal-spacing lookup held to bisection, and the lookups' stops.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "common/spline.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::stop_of;
using Values = std::vector<double>;

TEST(Spline, ReproducesACubicFromItsEndSlopesAndEndsAreNaturalFromTheirThresholdUp) {
    // Uneven knots, through bisection; knots return their values exactly. The equal-spacing
    // lookup is held to bisection below.
    const auto cubic = [](double x) { return ((2.0 * x - 1.0) * x + 3.0) * x - 1.0; };
    const auto cubic_slope = [](double x) { return (6.0 * x - 2.0) * x + 3.0; };
    const Values uneven{-1.0, -0.7, 0.1, 0.25, 0.9, 1.6, 2.0};
    Values values;
    std::ranges::transform(uneven, std::back_inserter(values), cubic);
    const Values curvature = spline(uneven, values, cubic_slope(-1.0), cubic_slope(2.0), 1e30);
    for (std::size_t k = 0; k < uneven.size(); ++k)
        EXPECT_EQ(ternarysplinepot(uneven[k], uneven, values, curvature).value, values[k]);
    for (double at : {-0.95, -0.3, 0.2, 0.61, 0.74, 1.99}) {
        const SplineLookup lookup = ternarysplinepot(at, uneven, values, curvature);
        EXPECT_NEAR(lookup.value, cubic(at), 1e-12) << at;
        EXPECT_NEAR(lookup.derivative, cubic_slope(at), 1e-11) << at;
    }
    // x^3 on [0, 2]: a natural end has no curvature, a clamped one the slope asked for.
    Values x, y;
    for (int k = 0; k <= 10; ++k)
        x.push_back(0.2 * k), y.push_back(std::pow(0.2 * k, 3));
    const double nat = kNaturalSlopeAbove;
    // start and end slopes, threshold, whether each end is natural
    const std::tuple<double, double, double, bool, bool> cases[] = {
        {1e31, 7.5, nat, true, false},
        {-1.0, 1e31, nat, false, true},
        {0.99e30, 1e31, nat, false, true},
        {0.99e30, 1e31, 1e20, true, true}};
    for (const auto& [start, end, threshold, natural_start, natural_end] : cases) {
        const Values y2 = spline(x, y, start, end, threshold);
        const double first = ternarysplinepot(x.front(), x, y, y2).derivative / start;
        const double last = -splint_equal_spacing(x, y, y2, x.back(), "unused").f;
        EXPECT_TRUE(natural_start ? y2.front() == 0.0 : std::fabs(first - 1.0) < 1e-12);
        EXPECT_TRUE(natural_end ? y2.back() == 0.0 : std::fabs(last - end) < 1e-12) << end;
        for (double at : {0.13, 0.75, 1.97}) {  // both lookups take the interval holding `at`
            const SplineLookup want = ternarysplinepot(at, x, y, y2);
            const PairValue got = splint_equal_spacing(x, y, y2, at, "");
            EXPECT_NEAR(got.v, want.value, 1e-12 * (1 + std::fabs(want.value))) << at;
            EXPECT_NEAR(-got.f, want.derivative, 1e-11 * (1 + std::fabs(want.derivative))) << at;
        }
    }
}

TEST(Spline, LookupsStopOrWarnOutsideTheTableAndOnCoincidentAbscissae) {
    // Tables whose first (clamped start) or last (natural start) two abscissae coincide are built
    // without a stop; the equal-spacing lookup then stops on the zero spacing, the bisection lookup
    // writes "BAD INPUT" in the zero-width interval and goes on.
    const Values first{2.0, 2.0, 3.0}, last{1.0, 2.0, 2.0}, y{1.0, 2.0, 3.0};
    const Values y2_first = spline(first, y, 0.0, 0.0, 1e30);
    EXPECT_EQ(stop_of([&] { splint_equal_spacing(first, y, y2_first, 2.5, "bad xa"); }).first(),
              " nrerror: bad xa");
    const Values y2_last = spline(last, y, 1e31, 1e31, 1e30);
    testing::internal::CaptureStdout();
    ternarysplinepot(2.0, last, y, y2_last), ternarysplinepot(1.5, last, y, y2_last);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " BAD INPUT\n");
    EXPECT_EQ(stop_of([&] { splint_equal_spacing(Values{2}, y, y, 2.0, "bad xa"); }).first(),
              " nrerror: bad xa");
    // Beyond the last knot: the last value, no slope, and a line naming the abscissa; below the
    // first: a stop naming it.
    const Values x{1.0, 2.0, 3.0}, y2 = spline(x, y, 0.0, 0.0, kNaturalSlopeAbove);
    testing::internal::CaptureStdout();
    const SplineLookup beyond = ternarysplinepot(3.5, x, y, y2);
    const std::string written = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::make_pair(beyond.value, beyond.derivative), std::make_pair(3.0, 0.0));
    EXPECT_EQ(written.substr(0, written.find('\n')), " x>cutoff");
    EXPECT_NE(written.find("3.5"), std::string::npos) << written;
    const auto below = stop_of([&] { ternarysplinepot(0.5, x, y, y2); });
    EXPECT_EQ(below.first(), " Error x < cutin");
    EXPECT_NE(below.lines.at(1).find("0.5"), std::string::npos);
}

}  // namespace
}  // namespace pelix
