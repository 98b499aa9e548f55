#pragma once
// The screened nuclear repulsion written out independently of the engine, for the tests of the
// families that join it: V(r) = e^2 z1 z2 sum_k c_k exp(-d_k r / a) / r and dV/dr.
#include <array>
#include <cmath>
#include <cstddef>

namespace pelix::test_support {

struct ScreenedRepulsion {
    double v;     // energy
    double dvdr;  // its derivative
};

// Universal screening length of two nuclei (in A).
inline double universal_screening(double z1, double z2) {
    return 0.88534 * 0.53 / (std::pow(z1, 0.23) + std::pow(z2, 0.23));
}

inline ScreenedRepulsion zbl_reference(double z1, double z2, double a, double r) {
    constexpr std::array<double, 4> c{0.02817, 0.2802, 0.5099, 0.1818};
    constexpr std::array<double, 4> d{0.2016, 0.4029, 0.9423, 3.2};
    double s = 0.0, ds = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const double term = c[k] * z1 * z2 * 14.399652003564425 * std::exp(-d[k] * r / a);
        s += term;
        ds -= d[k] / a * term;
    }
    return {s / r, ds / r - s / (r * r)};
}

inline ScreenedRepulsion zbl_reference(double z1, double z2, double r) {
    return zbl_reference(z1, z2, universal_screening(z1, z2), r);
}

}  // namespace pelix::test_support
