#include "common/spline.hpp"

#include <cmath>
#include <cstddef>
#include <string>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"

namespace pelix {

std::vector<double> tridag(std::span<const double> a, std::span<const double> b,
                           std::span<const double> c, std::span<const double> r) {
    const std::size_t n = b.size();
    std::vector<double> u(n, 0.0);
    if (n == 0)
        return u;
    std::vector<double> gam(n, 0.0);
    if (b[0] == 0.0)
        nrerror("tridag: Error at code stage 1");
    double bet = b[0];
    u[0] = r[0] / bet;
    for (std::size_t j = 1; j < n; ++j) {
        gam[j] = c[j - 1] / bet;
        bet = b[j] - a[j] * gam[j];
        if (bet == 0.0)
            nrerror("tridag: Error at code stage 2");
        u[j] = (r[j] - a[j] * u[j - 1]) / bet;
    }
    for (std::size_t j = n - 1; j > 0; --j)
        u[j - 1] -= gam[j] * u[j];
    return u;
}

std::vector<double> spline(std::span<const double> x, std::span<const double> y, double yp1,
                           double ypn, double natural_above) {
    const std::size_t n = x.size();
    if (n < 2)
        return std::vector<double>(n, 0.0);

    // Continuity of the first derivative at every interior knot:
    //   h[i-1]/6 y2[i-1] + (h[i-1] + h[i])/3 y2[i] + h[i]/6 y2[i+1]
    //     = (y[i+1] - y[i])/h[i] - (y[i] - y[i-1])/h[i-1],   h[i] = x[i+1] - x[i];
    // each end either natural (y2 = 0) or with its first derivative clamped.
    std::vector<double> a(n, 0.0), b(n, 0.0), c(n, 0.0), r(n, 0.0);
    for (std::size_t i = 1; i + 1 < n; ++i) {
        const double hl = x[i] - x[i - 1];
        const double hr = x[i + 1] - x[i];
        a[i] = hl / 6.0;
        b[i] = (hl + hr) / 3.0;
        c[i] = hr / 6.0;
        r[i] = (y[i + 1] - y[i]) / hr - (y[i] - y[i - 1]) / hl;
    }
    const double h0 = x[1] - x[0];
    if (yp1 > natural_above) {
        b[0] = 1.0;
    } else {
        b[0] = h0 / 3.0;
        c[0] = h0 / 6.0;
        r[0] = (y[1] - y[0]) / h0 - yp1;
    }
    const double hn = x[n - 1] - x[n - 2];
    if (ypn > natural_above) {
        b[n - 1] = 1.0;
    } else {
        a[n - 1] = hn / 6.0;
        b[n - 1] = hn / 3.0;
        r[n - 1] = ypn - (y[n - 1] - y[n - 2]) / hn;
    }
    return tridag(a, b, c, r);
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
