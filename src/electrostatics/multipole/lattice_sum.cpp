// Lattice sums of the periodic far field by Ewald splitting of every derivative order.
//
// For a homogeneous harmonic polynomial f of degree j and a radial function g,
// f(grad) g(r) = f(r) ((1/r) d/dr)^j g(r). Applied to erfc(a r)/r this gives the real-space
// terms R_j^m(r) (-1)^j B_j(r) with B_0 = erfc(a r)/r and
// B_j = ((2j - 1) B_{j-1} + (2a^2)^j / (a sqrt(pi)) exp(-a^2 r^2)) / r^2; applied to the
// reciprocal-space plane waves it gives (i)^j R_j^m(k). The origin term erf(a r)/r and the
// background only enter j = 0 (harmonic operators of degree >= 1 annihilate radial Taylor terms
// at the origin).
#include "electrostatics/multipole/lattice_sum.hpp"

#include <cmath>
#include <numbers>

namespace pelix::multipole {
namespace {

// Smallest x with x^(2 max_degree + 2) exp(-x^2) below 1e-18, the cut-off of both Ewald sums
// in units of their Gaussian width.
double gaussian_cutoff(int max_degree) {
    const double power = 2.0 * max_degree + 2.0;
    double x = 4.0;
    while (power * std::log(x) - x * x > std::log(1e-18)) {
        x += 0.25;
    }
    return x;
}

}  // namespace

std::vector<Complex> periodic_lattice_sums(int max_degree, const std::array<double, 3>& box,
                                           const std::vector<Offset>& near, double alpha_scale) {
    const double pi = std::numbers::pi;
    const double volume = box[0] * box[1] * box[2];
    const double alpha = alpha_scale * std::sqrt(pi) / std::cbrt(volume);
    const double cutoff = gaussian_cutoff(max_degree);
    const std::size_t size = half_size(max_degree);
    std::vector<Complex> sums(size, Complex(0.0, 0.0));
    std::vector<Complex> harmonics(size);
    std::vector<double> b(static_cast<std::size_t>(max_degree) + 1);

    // Real space: all images but the origin.
    const double r_max = cutoff / alpha;
    const int nx = static_cast<int>(std::ceil(r_max / box[0])) + 1;
    const int ny = static_cast<int>(std::ceil(r_max / box[1])) + 1;
    const int nz = static_cast<int>(std::ceil(r_max / box[2])) + 1;
    const double gaussian_factor = 1.0 / (alpha * std::sqrt(pi));
    for (int i = -nx; i <= nx; ++i) {
        for (int j = -ny; j <= ny; ++j) {
            for (int k = -nz; k <= nz; ++k) {
                if (i == 0 && j == 0 && k == 0) {
                    continue;
                }
                const double x = i * box[0], y = j * box[1], z = k * box[2];
                const double r2 = x * x + y * y + z * z;
                if (r2 > r_max * r_max) {
                    continue;
                }
                const double r = std::sqrt(r2);
                const double gauss = std::exp(-alpha * alpha * r2);
                b[0] = std::erfc(alpha * r) / r;
                double power = gaussian_factor;
                for (int n = 1; n <= max_degree; ++n) {
                    power *= 2.0 * alpha * alpha;
                    b[n] = ((2.0 * n - 1.0) * b[n - 1] + power * gauss) / r2;
                }
                regular_harmonics(max_degree, x, y, z, harmonics.data());
                for (int n = 0; n <= max_degree; ++n) {
                    const double sign = (n & 1) ? -1.0 : 1.0;
                    for (int m = 0; m <= n; ++m) {
                        sums[half_index(n, m)] += sign * b[n] * harmonics[half_index(n, m)];
                    }
                }
            }
        }
    }

    // Reciprocal space: (4 pi / V) exp(-k^2 / 4a^2) / k^2 (i)^j R_j^m(k) over k != 0. Odd
    // degrees cancel between k and -k.
    const double k_max = 2.0 * alpha * cutoff;
    const int mx = static_cast<int>(std::ceil(k_max * box[0] / (2.0 * pi)));
    const int my = static_cast<int>(std::ceil(k_max * box[1] / (2.0 * pi)));
    const int mz = static_cast<int>(std::ceil(k_max * box[2] / (2.0 * pi)));
    for (int i = -mx; i <= mx; ++i) {
        for (int j = -my; j <= my; ++j) {
            for (int k = -mz; k <= mz; ++k) {
                if (i == 0 && j == 0 && k == 0) {
                    continue;
                }
                const double kx = 2.0 * pi * i / box[0], ky = 2.0 * pi * j / box[1],
                             kz = 2.0 * pi * k / box[2];
                const double k2 = kx * kx + ky * ky + kz * kz;
                if (k2 > k_max * k_max) {
                    continue;
                }
                const double weight =
                    4.0 * pi / volume * std::exp(-k2 / (4.0 * alpha * alpha)) / k2;
                regular_harmonics(max_degree, kx, ky, kz, harmonics.data());
                for (int n = 0; n <= max_degree; n += 2) {
                    const double sign = ((n / 2) & 1) ? -1.0 : 1.0;  // i^n for even n
                    for (int m = 0; m <= n; ++m) {
                        sums[half_index(n, m)] += sign * weight * harmonics[half_index(n, m)];
                    }
                }
            }
        }
    }

    // Origin: minus erf(a r)/r at r = 0, and the background constant; both only for j = 0.
    sums[0] += -2.0 * alpha / std::sqrt(pi) - pi / (alpha * alpha * volume);

    // Scale R_j^m(grad) h(0) by c_j^m.
    std::vector<double> factorial(2 * static_cast<std::size_t>(max_degree) + 2, 1.0);
    for (std::size_t i = 1; i < factorial.size(); ++i) {
        factorial[i] = factorial[i - 1] * static_cast<double>(i);
    }
    double double_factorial = 1.0;  // (2j - 1)!!
    for (int n = 0; n <= max_degree; ++n) {
        if (n > 0) {
            double_factorial *= 2.0 * n - 1.0;
        }
        const double sign = (n & 1) ? -1.0 : 1.0;
        for (int m = 0; m <= n; ++m) {
            sums[half_index(n, m)] *= sign * factorial[n - m] * factorial[n + m] / double_factorial;
        }
    }

    // Remove the near images: they are handled by the tree.
    for (const Offset& d : near) {
        if (d[0] == 0 && d[1] == 0 && d[2] == 0) {
            continue;
        }
        irregular_harmonics(max_degree, d[0] * box[0], d[1] * box[1], d[2] * box[2],
                            harmonics.data());
        for (std::size_t c = 0; c < size; ++c) {
            sums[c] -= harmonics[c];
        }
    }
    return sums;
}

}  // namespace pelix::multipole
