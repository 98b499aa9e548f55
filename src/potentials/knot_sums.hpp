#pragma once
// Sums of cubic terms over knots, the building block of the "ACKLAND" pair terms and of the
// iron densities: for knots x_k and coefficients c_k (k = 0..N-1, in this order),
//
//   cubes   = sum_k c_k (x_k - r)^3 H(x_k - r),
//   squares = sum_k c_k (x_k - r)^2 H(x_k - r),      d(cubes)/dr = -3 squares.
#include <cmath>
#include <cstddef>

#include "common/numerical.hpp"

namespace pelix {

// The sums at one distance r.
//
// A knot at or below r adds c_k d^3 * 0, a signed zero, which leaves the sum as it is (the sum
// starts at +0, and +0 + -0 is +0), so such knots are skipped: the same bits for less work, as
// most bonds lie beyond most knots. A distance so large (or not a number) that d^3 could
// overflow, making that product NaN, keeps every term.
inline void cubic_knot_sum(const double* knots, const double* coefficients, std::size_t n, double r,
                           double& cubes, double& squares) {
    cubes = 0.0;
    squares = 0.0;
    if (!(std::abs(r) < 1e100)) {
        for (std::size_t k = 0; k < n; ++k) {
            const double d = knots[k] - r;
            const double step = hh(d);
            cubes += coefficients[k] * d * d * d * step;
            squares += coefficients[k] * d * d * step;
        }
        return;
    }
    for (std::size_t k = 0; k < n; ++k) {
        const double d = knots[k] - r;
        if (d > 0.0) {
            cubes += coefficients[k] * d * d * d;
            squares += coefficients[k] * d * d;
        }
    }
}

// The sums at `count` distances r[0..count-1], into cubes[] and squares[], bit for bit as
// cubic_knot_sum gives them one at a time. Four distances are taken together where the
// processor allows: every knot's term is formed in every lane and added only where it counts.
void cubic_knot_sums_many(const double* knots, const double* coefficients, std::size_t n,
                          const double* r, std::size_t count, double* cubes, double* squares);

// A density that is a knot sum: its value rho = cubes and slope drho = d(cubes)/dr = -3 squares,
// at one distance and at `count` distances (bit for bit the same).
inline void cubic_knot_density(const double* knots, const double* coefficients, std::size_t n,
                               double r, double& rho, double& drho) {
    double squares = 0.0;
    cubic_knot_sum(knots, coefficients, n, r, rho, squares);
    drho = -3.0 * squares;
}
inline void cubic_knot_densities_many(const double* knots, const double* coefficients,
                                      std::size_t n, const double* r, std::size_t count,
                                      double* rho, double* drho) {
    cubic_knot_sums_many(knots, coefficients, n, r, count, rho, drho);
    for (std::size_t k = 0; k < count; ++k)
        drho[k] = -3.0 * drho[k];
}

}  // namespace pelix
