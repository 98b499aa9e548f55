#pragma once
// Cubic splines through tabulated points: the second derivatives at the knots from the
// tridiagonal continuity conditions, and two ways of evaluating them (equal spacing found by
// arithmetic, or any increasing abscissae found by bisection).
#include <span>
#include <string_view>
#include <vector>

#include "common/pair_value.hpp"

namespace pelix {

// End slopes above this value make a spline end natural (the pair tables' convention).
inline constexpr double kNaturalSlopeAbove = 0.99e30;

// Second derivatives of the cubic spline through (x, y). An end slope above `natural_above`
// makes that end natural (second derivative 0); otherwise the first derivative there is
// clamped to the slope (yp1 at x[0], ypn at x[n-1]). Fewer than two points carry no
// curvature: the result is all zeros.
std::vector<double> spline(std::span<const double> x, std::span<const double> y, double yp1,
                           double ypn, double natural_above);

// Spline on equally spaced knots, the interval found by arithmetic from xa[0] and the
// spacing h = xa[1] - xa[0]; r beyond either end uses the end interval's cubic. Returns V
// and F = -dV/dr. A zero spacing (or a table of fewer than two points) stops through nrerror
// with `bad_spacing_message`.
PairValue splint_equal_spacing(std::span<const double> xa, std::span<const double> ya,
                               std::span<const double> y2a, double r,
                               std::string_view bad_spacing_message);

// Value and first derivative d(value)/dx of a spline lookup.
struct SplineLookup {
    double value = 0.0;
    double derivative = 0.0;
};

// Spline lookup on increasing abscissae xa (n = xa.size() points) with the interval found by
// bisection. Above xa[n-1] it writes "x>cutoff" and the values involved to standard output
// and returns the end value with zero slope; below xa[0] it writes "Error x < cutin" with the
// values involved and stops. A zero-width interval writes "BAD INPUT" and goes on.
SplineLookup ternarysplinepot(double x, std::span<const double> xa, std::span<const double> ya,
                              std::span<const double> y2a);

}  // namespace pelix
