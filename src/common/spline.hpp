#pragma once
// Cubic splines through tabulated points: the second derivatives at the knots from a
// tridiagonal system, and two ways of evaluating them (equal spacing found by arithmetic,
// or any increasing abscissae found by bisection).
#include <span>
#include <string_view>
#include <vector>

#include "common/pair_value.hpp"

namespace pelix {

// End slopes above this value make a spline end natural (the pair tables' convention).
inline constexpr double kNaturalSlopeAbove = 0.99e30;

// Solves the tridiagonal system a(j) u(j-1) + b(j) u(j) + c(j) u(j+1) = r(j), j = 0..n-1
// (a(0) and c(n-1) are not used) by forward elimination without pivoting. A zero first
// diagonal stops with "tridag: Error at code stage 1", a zero pivot later with "... stage 2".
std::vector<double> tridag(std::span<const double> a, std::span<const double> b,
                           std::span<const double> c, std::span<const double> r);

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
