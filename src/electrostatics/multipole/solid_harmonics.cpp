// Solid harmonics by their three-term recurrences, and the expansion translations written out
// from the addition theorems in solid_harmonics.hpp. Complex products are spelled out in real
// arithmetic: the library operator handles infinities at a cost these inner loops cannot pay.
#include "electrostatics/multipole/solid_harmonics.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pelix::multipole {
namespace {

inline Complex mul(Complex a, Complex b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

// Coefficient X_n^m of a half-layout array for any -n <= m <= n.
inline Complex coefficient(const Complex* half, int n, int m) {
    if (m >= 0) {
        return half[half_index(n, m)];
    }
    const Complex c = std::conj(half[half_index(n, -m)]);
    return (m & 1) ? -c : c;
}

}  // namespace

void regular_harmonics(int order, double x, double y, double z, Complex* out) {
    const double r2 = x * x + y * y + z * z;
    const Complex xy(x, y);
    Complex diagonal(1.0, 0.0);
    for (int m = 0; m <= order; ++m) {
        if (m > 0) {
            diagonal = mul(diagonal, xy) * (-1.0 / (2.0 * m));
        }
        out[half_index(m, m)] = diagonal;
        if (m + 1 <= order) {
            out[half_index(m + 1, m)] = z * diagonal;
        }
        for (int n = m + 2; n <= order; ++n) {
            const double scale = 1.0 / static_cast<double>((n + m) * (n - m));
            out[half_index(n, m)] =
                ((2.0 * n - 1.0) * z * out[half_index(n - 1, m)] - r2 * out[half_index(n - 2, m)]) *
                scale;
        }
    }
}

void irregular_harmonics(int order, double x, double y, double z, Complex* out) {
    const double inv_r2 = 1.0 / (x * x + y * y + z * z);
    const Complex xy(x * inv_r2, y * inv_r2);
    const double zr = z * inv_r2;
    Complex diagonal(std::sqrt(inv_r2), 0.0);
    for (int m = 0; m <= order; ++m) {
        if (m > 0) {
            diagonal = mul(diagonal, xy) * (-(2.0 * m - 1.0));
        }
        out[half_index(m, m)] = diagonal;
        if (m + 1 <= order) {
            out[half_index(m + 1, m)] = (2.0 * m + 1.0) * zr * diagonal;
        }
        for (int n = m + 2; n <= order; ++n) {
            out[half_index(n, m)] =
                (2.0 * n - 1.0) * zr * out[half_index(n - 1, m)] -
                static_cast<double>((n + m - 1) * (n - m - 1)) * inv_r2 * out[half_index(n - 2, m)];
        }
    }
}

void expand_to_full(int order, const Complex* half, Complex* full) {
    for (int n = 0; n <= order; ++n) {
        for (int m = -n; m <= n; ++m) {
            full[full_index(n, m)] = coefficient(half, n, m);
        }
    }
}

void particles_to_multipole(int order, std::size_t count, const double* x, const double* y,
                            const double* z, const double* q, const double centre[3],
                            Complex* multipole, Complex* scratch) {
    const std::size_t size = half_size(order);
    for (std::size_t i = 0; i < count; ++i) {
        regular_harmonics(order, x[i] - centre[0], y[i] - centre[1], z[i] - centre[2], scratch);
        for (std::size_t c = 0; c < size; ++c) {
            multipole[c] += q[i] * std::conj(scratch[c]);
        }
    }
}

void multipole_to_multipole(int order, const Complex* regular_of_shift, const Complex* child,
                            Complex* parent) {
    for (int n = 0; n <= order; ++n) {
        for (int m = 0; m <= n; ++m) {
            Complex sum(0.0, 0.0);
            for (int k = 0; k <= n; ++k) {
                const int rest = n - k;
                const int l_low = std::max(-k, m - rest);
                const int l_high = std::min(k, m + rest);
                for (int l = l_low; l <= l_high; ++l) {
                    sum += mul(std::conj(coefficient(regular_of_shift, k, l)),
                               coefficient(child, rest, m - l));
                }
            }
            parent[half_index(n, m)] += sum;
        }
    }
}

void local_to_local(int order, const Complex* regular_of_shift, const Complex* parent,
                    Complex* child) {
    for (int k = 0; k <= order; ++k) {
        for (int l = 0; l <= k; ++l) {
            Complex sum(0.0, 0.0);
            for (int n = k; n <= order; ++n) {
                const int rest = n - k;
                for (int m = std::max(-n, l - rest); m <= std::min(n, l + rest); ++m) {
                    sum +=
                        mul(coefficient(parent, n, m), coefficient(regular_of_shift, rest, m - l));
                }
            }
            child[half_index(k, l)] += sum;
        }
    }
}

void multipole_to_local(int order, int max_degree, const Complex* irregular_full,
                        const Complex* multipole_full, Complex* local) {
    // Each complex product a b is accumulated as two lane-wise products of (re, im) pairs,
    // a * b = (ar br, ai bi) and a * swap(b) = (ar bi, ai br), so that the inner loop runs on
    // two-double vectors with no shuffles of the accumulators.
    using Pair = double __attribute__((vector_size(16)));
    for (int k = 0; k <= order; ++k) {
        const int n_high = std::min(order, max_degree - k);
        for (int l = 0; l <= k; ++l) {
            Pair straight = {0.0, 0.0}, crossed = {0.0, 0.0};
            for (int n = 0; n <= n_high; ++n) {
                const Complex* a = multipole_full + full_index(n, -n);
                const Complex* b = irregular_full + full_index(n + k, -n - l);
                for (int i = 0; i < 2 * n + 1; ++i) {
                    Pair av, bv;
                    std::memcpy(&av, a + i, sizeof av);
                    std::memcpy(&bv, b + i, sizeof bv);
                    straight += av * bv;
                    crossed += av * Pair{bv[1], bv[0]};
                }
            }
            const double sign = ((k + l) & 1) ? -1.0 : 1.0;
            local[half_index(k, l)] +=
                Complex(sign * (straight[0] - straight[1]), sign * (crossed[0] + crossed[1]));
        }
    }
}

void evaluate_local(int order, const Complex* local, double x, double y, double z, Complex* scratch,
                    double& potential, double field[3]) {
    regular_harmonics(order, x, y, z, scratch);
    double phi = 0.0, gx = 0.0, gy = 0.0, gz = 0.0;
    for (int n = 0; n <= order; ++n) {
        for (int m = 0; m <= n; ++m) {
            const double weight = (m == 0) ? 1.0 : 2.0;
            const Complex r = scratch[half_index(n, m)];
            phi += weight * mul(local[half_index(n, m)], r).real();
            if (n == order) {
                continue;
            }
            // Gradient of sum L_n^m R_n^m regrouped by R_n^m, from dR_n^m/dz = R_{n-1}^m,
            // (d/dx + i d/dy) R_n^m = -R_{n-1}^{m-1}, (d/dx - i d/dy) R_n^m = R_{n-1}^{m+1}.
            const Complex below = coefficient(local, n + 1, m - 1);
            const Complex above = coefficient(local, n + 1, m + 1);
            const Complex dx = 0.5 * (below - above);
            const Complex dy = mul(Complex(0.0, -0.5), above + below);
            gx += weight * mul(dx, r).real();
            gy += weight * mul(dy, r).real();
            gz += weight * mul(local[half_index(n + 1, m)], r).real();
        }
    }
    potential = phi;
    field[0] = -gx;
    field[1] = -gy;
    field[2] = -gz;
}

}  // namespace pelix::multipole
