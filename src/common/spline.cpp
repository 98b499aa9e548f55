#include "common/spline.hpp"

#include <cmath>
#include <cstddef>
#include <string>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"

namespace pelix {

std::vector<double> spline(std::span<const double> x, std::span<const double> y, double yp1,
                           double ypn, double natural_above) {
    const std::size_t n = x.size();
    if (n < 2)
        return std::vector<double>(n, 0.0);

    // Continuity of the first derivative at every interior knot, eliminated downwards as a
    // recurrence: each row is scaled by 6 / (x[i+1] - x[i-1]) and keeps the off-diagonal
    // factor y2[i] and the right-hand side u[i] of the eliminated system. The first row is
    // either natural (y2 = 0) or clamps the first derivative to yp1; the last row likewise
    // with ypn. Coincident abscissae make no row singular: they give non-finite values that
    // the lookups meet in their zero-width interval.
    std::vector<double> y2(n, 0.0), u(n, 0.0);
    if (!(yp1 > natural_above)) {
        const double h0 = x[1] - x[0];
        y2[0] = -0.5;
        u[0] = (3.0 / h0) * ((y[1] - y[0]) / h0 - yp1);
    }
    for (std::size_t i = 1; i + 1 < n; ++i) {
        const double sig = (x[i] - x[i - 1]) / (x[i + 1] - x[i - 1]);
        const double p = sig * y2[i - 1] + 2.0;
        y2[i] = (sig - 1.0) / p;
        const double jump =
            (y[i + 1] - y[i]) / (x[i + 1] - x[i]) - (y[i] - y[i - 1]) / (x[i] - x[i - 1]);
        u[i] = (6.0 * jump / (x[i + 1] - x[i - 1]) - sig * u[i - 1]) / p;
    }
    double qn = 0.0;
    double un = 0.0;
    if (!(ypn > natural_above)) {
        const double hn = x[n - 1] - x[n - 2];
        qn = 0.5;
        un = (3.0 / hn) * (ypn - (y[n - 1] - y[n - 2]) / hn);
    }
    y2[n - 1] = (un - qn * u[n - 2]) / (qn * y2[n - 2] + 1.0);
    for (std::size_t k = n - 1; k > 0; --k)
        y2[k - 1] = y2[k - 1] * y2[k] + u[k - 1];
    return y2;
}

PairValue splint_equal_spacing(std::span<const double> xa, std::span<const double> ya,
                               std::span<const double> y2a, double r,
                               std::string_view bad_spacing_message) {
    const std::size_t n = xa.size();
    if (n < 2)
        nrerror(std::string(bad_spacing_message));
    const double h = xa[1] - xa[0];
    if (h == 0.0)
        nrerror(std::string(bad_spacing_message));

    // Interval k .. k+1 with k the integer part of (r - x0)/h, kept inside the table so that
    // r at the last knot lands in the last interval.
    const double position = (r - xa[0]) / h;
    const double last = static_cast<double>(n - 2);
    std::size_t k = 0;
    if (position >= last)
        k = n - 2;
    else if (position > 0.0)
        k = static_cast<std::size_t>(position);

    const double a = (xa[k + 1] - r) / h;
    const double b = (r - xa[k]) / h;
    PairValue out;
    out.v = a * ya[k] + b * ya[k + 1] +
            ((a * a * a - a) * y2a[k] + (b * b * b - b) * y2a[k + 1]) * (h * h) / 6.0;
    out.f = ((3.0 * a * a - 1.0) / 6.0 * y2a[k] - (3.0 * b * b - 1.0) / 6.0 * y2a[k + 1]) * h -
            (ya[k + 1] - ya[k]) / h;
    return out;
}

SplineLookup ternarysplinepot(double x, std::span<const double> xa, std::span<const double> ya,
                              std::span<const double> y2a) {
    const std::size_t n = xa.size();
    const auto count = static_cast<int32_t>(n);
    if (n == 0)
        fatal_stop(
            {(ListLine() << "Error x < cutin").str(), (ListLine() << x << "empty table").str()});
    if (x > xa[n - 1]) {
        write_stdout_line((ListLine() << "x>cutoff").str());
        write_stdout_line((ListLine() << x << xa[n - 1] << count).str());
        return SplineLookup{ya[n - 1], 0.0};
    }
    if (x < xa[0]) {
        fatal_stop(
            {(ListLine() << "Error x < cutin").str(), (ListLine() << x << xa[0] << count).str()});
    }

    // Largest klo with xa[klo] <= x, khi = klo + 1 (the last interval when x = xa[n-1]).
    std::size_t klo = 0;
    std::size_t khi = n - 1;
    while (khi - klo > 1) {
        const std::size_t k = (khi + klo) / 2;
        if (xa[k] > x)
            khi = k;
        else
            klo = k;
    }

    const double h = xa[khi] - xa[klo];
    if (h == 0.0)
        write_stdout_line((ListLine() << "BAD INPUT").str());
    const double a = (xa[khi] - x) / h;
    const double b = (x - xa[klo]) / h;
    SplineLookup out;
    out.value = a * ya[klo] + b * ya[khi] +
                ((a * a * a - a) * y2a[klo] + (b * b * b - b) * y2a[khi]) * (h * h) / 6.0;
    out.derivative = (ya[khi] - ya[klo]) / h - (3.0 * a * a - 1.0) / 6.0 * h * y2a[klo] +
                     (3.0 * b * b - 1.0) / 6.0 * h * y2a[khi];
    return out;
}

}  // namespace pelix
