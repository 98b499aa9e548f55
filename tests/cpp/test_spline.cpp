// Cubic splines: a cubic is reproduced exactly from its end slopes, knots return their values
// exactly, natural and clamped ends, coincident abscissae, and the two lookups
// (equal spacing by arithmetic, any spacing by bisection) with their stops and diagnostics.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "common/spline.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::stop_of;
std::string nrerror_line(const std::function<void()>& action) {
    return stop_of(action).first();
}
using Values = std::vector<double>;

double cubic(double x) {
    return ((2.0 * x - 1.0) * x + 3.0) * x - 1.0;
}
double cubic_slope(double x) {
    return (6.0 * x - 2.0) * x + 3.0;
}

TEST(Spline, ReproducesACubicAndReturnsKnotValuesExactly) {
    // Even knots 1/4 apart (exact in binary) for both lookups, uneven ones for bisection.
    Values even, uneven{-1.0, -0.7, 0.1, 0.25, 0.9, 1.6, 2.0};
    for (int k = 0; k <= 12; ++k)
        even.push_back(-1.0 + 0.25 * k);
    for (const Values& x : {even, uneven}) {
        Values y;
        for (double v : x)
            y.push_back(cubic(v));
        const Values y2 = spline(x, y, cubic_slope(x.front()), cubic_slope(x.back()), 1e30);
        for (std::size_t k = 0; k < x.size(); ++k) {
            EXPECT_NEAR(y2[k], 12.0 * x[k] - 2.0, 1e-11) << x[k];
            EXPECT_EQ(ternarysplinepot(x[k], x, y, y2).value, y[k]);
            if (x.size() == even.size()) {
                EXPECT_EQ(splint_equal_spacing(x, y, y2, x[k], "unused").v, y[k]);
            }
        }
        for (double at : {-0.95, -0.3, 0.2, 0.61, 1.99}) {
            const SplineLookup lookup = ternarysplinepot(at, x, y, y2);
            EXPECT_NEAR(lookup.value, cubic(at), 1e-12) << at;
            EXPECT_NEAR(lookup.derivative, cubic_slope(at), 1e-11) << at;
            if (x.size() == even.size()) {
                const PairValue pair = splint_equal_spacing(x, y, y2, at, "unused");
                EXPECT_NEAR(pair.v, cubic(at), 1e-12) << at;
                EXPECT_NEAR(pair.f, -cubic_slope(at), 1e-11) << at;
            }
        }
    }
}

TEST(Spline, NaturalAndClampedEnds) {
    Values x, y;
    for (int k = 0; k <= 10; ++k) {
        x.push_back(0.2 * k);
        y.push_back(x.back() * x.back() * x.back());
    }
    const Values natural = spline(x, y, 1e31, 1e31, kNaturalSlopeAbove);
    EXPECT_EQ(natural.front(), 0.0);
    EXPECT_EQ(natural.back(), 0.0);
    const Values mixed = spline(x, y, 1e31, 7.5, kNaturalSlopeAbove);
    EXPECT_EQ(mixed.front(), 0.0);
    EXPECT_NEAR(ternarysplinepot(x.back(), x, y, mixed).derivative, 7.5, 1e-12);
    const Values clamped = spline(x, y, -1.0, 2.0, kNaturalSlopeAbove);
    EXPECT_NEAR(ternarysplinepot(x.front(), x, y, clamped).derivative, -1.0, 1e-12);
    EXPECT_NEAR(splint_equal_spacing(x, y, clamped, x.back(), "unused").f, -2.0, 1e-12);
    // The threshold itself still clamps; each family brings its own threshold.
    EXPECT_NE(spline(x, y, 0.99e30, 0.0, kNaturalSlopeAbove).front(), 0.0);
    EXPECT_EQ(spline(x, y, 0.99e30, 0.0, 1e20).front(), 0.0);
    // One point has no curvature; two clamped points give the cubic Hermite piece.
    EXPECT_EQ(spline(Values{1.0}, Values{2.0}, 0.0, 0.0, 1e30), Values{0.0});
    const Values two = spline(Values{0.0, 1.0}, Values{0.0, 1.0}, 0.0, 0.0, 1e30);
    EXPECT_NEAR(two[0], 6.0, 1e-14);
    EXPECT_NEAR(two[1], -6.0, 1e-14);
}

TEST(Spline, CoincidentAbscissaeReachTheLookupsOwnStops) {
    // Tables whose first or last two abscissae coincide are built without a stop, clamped or
    // natural; the equal-spacing lookup then stops on the zero spacing, the bisection lookup
    // writes "BAD INPUT" in the zero-width interval and goes on.
    const Values first{2.0, 2.0, 3.0}, last{1.0, 2.0, 2.0}, y{1.0, 2.0, 3.0};
    for (double start_slope : {0.0, 1e31}) {
        const Values y2_first = spline(first, y, start_slope, 0.0, 1e30);
        EXPECT_EQ(nrerror_line([&] { splint_equal_spacing(first, y, y2_first, 2.5, "bad xa"); }),
                  " nrerror: bad xa");
        const Values y2_last = spline(last, y, start_slope, 1e31, 1e30);
        testing::internal::CaptureStdout();
        ternarysplinepot(2.0, last, y, y2_last);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), " BAD INPUT\n");
    }
    EXPECT_EQ(nrerror_line([&] { splint_equal_spacing(Values{2}, y, y, 2.0, "bad xa"); }),
              " nrerror: bad xa");
}

TEST(Spline, BisectionLookupOutsideTheTableAndOnAZeroWidthInterval) {
    const Values x{1.0, 2.0, 3.0}, y{4.0, 5.0, 7.0};
    const Values y2 = spline(x, y, 0.0, 0.0, kNaturalSlopeAbove);
    testing::internal::CaptureStdout();
    const SplineLookup beyond = ternarysplinepot(3.5, x, y, y2);
    const std::string written = testing::internal::GetCapturedStdout();
    EXPECT_EQ(beyond.value, 7.0);
    EXPECT_EQ(beyond.derivative, 0.0);
    EXPECT_EQ(written.substr(0, written.find('\n')), " x>cutoff");
    EXPECT_NE(written.find("3.5"), std::string::npos) << written;
    try {
        ternarysplinepot(0.5, x, y, y2);
        ADD_FAILURE() << "no stop below the table";
    } catch (const FatalError& error) {
        EXPECT_EQ(error.lines().at(0), " Error x < cutin");
        EXPECT_NE(error.lines().at(1).find("0.5"), std::string::npos);
    }
    // The last two abscissae coincide: a lookup there writes "BAD INPUT" and goes on.
    const Values xd{1.0, 2.0, 2.0};
    testing::internal::CaptureStdout();
    ternarysplinepot(2.0, xd, y, Values(3, 0.0));
    ternarysplinepot(1.5, xd, y, Values(3, 0.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " BAD INPUT\n");
}

}  // namespace
}  // namespace pelix
