// Iterative radix-2 transform (bit-reversal permutation, then butterflies of growing span)
// applied along each axis of the grid in turn.
#include "electrostatics/multipole/batched_fft.hpp"

#include <cmath>
#include <numbers>
#include <utility>

namespace pelix::multipole {

int power_of_two_at_least(int n) {
    int p = 1;
    while (p < n) {
        p *= 2;
    }
    return p;
}

BatchedFft3d::BatchedFft3d(const std::array<int, 3>& lengths, std::size_t channels)
    : lengths_(lengths), channels_(channels) {
    for (int a = 0; a < 3; ++a) {
        const int n = lengths[a];
        int bits = 0;
        while ((1 << bits) < n) {
            ++bits;
        }
        roots_[a].resize(static_cast<std::size_t>(n / 2));
        for (int k = 0; k < n / 2; ++k) {
            const double angle = -2.0 * std::numbers::pi * k / n;
            roots_[a][k] = Complex(std::cos(angle), std::sin(angle));
        }
        reversed_[a].resize(static_cast<std::size_t>(n));
        for (int j = 0; j < n; ++j) {
            int r = 0;
            for (int b = 0; b < bits; ++b) {
                r |= ((j >> b) & 1) << (bits - 1 - b);
            }
            reversed_[a][j] = r;
        }
    }
}

void BatchedFft3d::transform(Complex* grid, double sign) const {
    const std::size_t n0 = lengths_[0], n1 = lengths_[1], n2 = lengths_[2];
    const std::size_t stride[3] = {n1 * n2, n2, 1};
    for (std::size_t i = 0; i < n0; ++i) {
        for (std::size_t j = 0; j < n1; ++j) {
            transform_line(grid, 2, i * stride[0] + j * stride[1], stride[2], sign);
        }
    }
    for (std::size_t i = 0; i < n0; ++i) {
        for (std::size_t k = 0; k < n2; ++k) {
            transform_line(grid, 1, i * stride[0] + k, stride[1], sign);
        }
    }
    for (std::size_t j = 0; j < n1; ++j) {
        for (std::size_t k = 0; k < n2; ++k) {
            transform_line(grid, 0, j * stride[1] + k, stride[0], sign);
        }
    }
}

void BatchedFft3d::transform_line(Complex* grid, int axis, std::size_t first_point,
                                  std::size_t stride, double sign) const {
    const int n = lengths_[axis];
    if (n == 1) {
        return;
    }
    const std::size_t c = channels_;
    auto point = [&](int j) {
        return reinterpret_cast<double*>(grid + (first_point + j * stride) * c);
    };
    for (int j = 0; j < n; ++j) {
        const int r = reversed_[axis][j];
        if (r > j) {
            double* a = point(j);
            double* b = point(r);
            for (std::size_t v = 0; v < 2 * c; ++v) {
                std::swap(a[v], b[v]);
            }
        }
    }
    const std::vector<Complex>& roots = roots_[axis];
    for (int span = 2; span <= n; span *= 2) {
        const int half = span / 2;
        const int step = n / span;
        for (int start = 0; start < n; start += span) {
            for (int k = 0; k < half; ++k) {
                const double wr = roots[k * step].real();
                const double wi = sign < 0.0 ? roots[k * step].imag() : -roots[k * step].imag();
                double* __restrict a = point(start + k);
                double* __restrict b = point(start + k + half);
                for (std::size_t v = 0; v < c; ++v) {
                    const double br = b[2 * v], bi = b[2 * v + 1];
                    const double tr = wr * br - wi * bi, ti = wr * bi + wi * br;
                    b[2 * v] = a[2 * v] - tr;
                    b[2 * v + 1] = a[2 * v + 1] - ti;
                    a[2 * v] += tr;
                    a[2 * v + 1] += ti;
                }
            }
        }
    }
}

}  // namespace pelix::multipole
