#pragma once
// Reference sums for the multipole tree tests: the direct Coulomb sum of an open system and an
// Ewald sum (conducting boundary, neutralising background) of a periodic orthorhombic box.
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace pelix::multipole::test_support {

struct Charges {
    std::vector<double> x, y, z, q;
    std::size_t size() const { return q.size(); }
};

struct Fields {
    std::vector<double> potential, fx, fy, fz;  // phi_i and q_i E_i
    explicit Fields(std::size_t n) : potential(n), fx(n), fy(n), fz(n) {}
};

// Uniform random charges in [lower, lower + side) with charges in (-1, 1), shifted to total
// zero when `neutral`.
inline Charges random_charges(std::size_t n, const std::array<double, 3>& lower,
                              const std::array<double, 3>& side, bool neutral, unsigned seed) {
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    Charges c;
    double total = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        c.x.push_back(lower[0] + side[0] * uniform(generator));
        c.y.push_back(lower[1] + side[1] * uniform(generator));
        c.z.push_back(lower[2] + side[2] * uniform(generator));
        c.q.push_back(2.0 * uniform(generator) - 1.0);
        total += c.q.back();
    }
    if (neutral) {
        for (double& q : c.q) {
            q -= total / static_cast<double>(n);
        }
    }
    return c;
}

inline Fields direct_sum(const Charges& c) {
    const std::size_t n = c.size();
    Fields f(n);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            if (i == j) {
                continue;
            }
            const double dx = c.x[i] - c.x[j], dy = c.y[i] - c.y[j], dz = c.z[i] - c.z[j];
            const double r = std::sqrt(dx * dx + dy * dy + dz * dz);
            const double s = c.q[i] * c.q[j] / (r * r * r);
            f.potential[i] += c.q[j] / r;
            f.fx[i] += s * dx;
            f.fy[i] += s * dy;
            f.fz[i] += s * dz;
        }
    }
    return f;
}

// Ewald sum to full double precision: real space over images within 6/alpha, reciprocal
// space over |k| < 12 alpha.
inline Fields ewald_sum(const Charges& c, const std::array<double, 3>& box) {
    const double pi = std::numbers::pi;
    const std::size_t n = c.size();
    const double volume = box[0] * box[1] * box[2];
    const double alpha = 5.0 / std::min({box[0], box[1], box[2]});
    const double r_cut = 6.0 / alpha, k_cut = 12.0 * alpha;
    Fields f(n);
    double total = 0.0;
    for (double q : c.q) {
        total += q;
    }
    std::array<int, 3> images{}, waves{};
    for (int a = 0; a < 3; ++a) {
        images[a] = static_cast<int>(std::ceil(r_cut / box[a])) + 1;
        waves[a] = static_cast<int>(std::ceil(k_cut * box[a] / (2.0 * pi)));
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            for (int u = -images[0]; u <= images[0]; ++u) {
                for (int v = -images[1]; v <= images[1]; ++v) {
                    for (int w = -images[2]; w <= images[2]; ++w) {
                        if (i == j && u == 0 && v == 0 && w == 0) {
                            continue;
                        }
                        const double dx = c.x[i] - c.x[j] + u * box[0];
                        const double dy = c.y[i] - c.y[j] + v * box[1];
                        const double dz = c.z[i] - c.z[j] + w * box[2];
                        const double r = std::sqrt(dx * dx + dy * dy + dz * dz);
                        if (r > r_cut) {
                            continue;
                        }
                        const double e = std::erfc(alpha * r) / r;
                        const double g =
                            (e + 2.0 * alpha / std::sqrt(pi) * std::exp(-alpha * alpha * r * r)) /
                            (r * r);
                        f.potential[i] += c.q[j] * e;
                        f.fx[i] += c.q[i] * c.q[j] * g * dx;
                        f.fy[i] += c.q[i] * c.q[j] * g * dy;
                        f.fz[i] += c.q[i] * c.q[j] * g * dz;
                    }
                }
            }
        }
        f.potential[i] +=
            -2.0 * alpha / std::sqrt(pi) * c.q[i] - pi * total / (alpha * alpha * volume);
    }
    for (int u = -waves[0]; u <= waves[0]; ++u) {
        for (int v = -waves[1]; v <= waves[1]; ++v) {
            for (int w = -waves[2]; w <= waves[2]; ++w) {
                const double kx = 2.0 * pi * u / box[0], ky = 2.0 * pi * v / box[1],
                             kz = 2.0 * pi * w / box[2];
                const double k2 = kx * kx + ky * ky + kz * kz;
                if ((u == 0 && v == 0 && w == 0) || k2 > k_cut * k_cut) {
                    continue;
                }
                const double weight =
                    4.0 * pi / volume * std::exp(-k2 / (4.0 * alpha * alpha)) / k2;
                double s_cos = 0.0, s_sin = 0.0;
                for (std::size_t j = 0; j < n; ++j) {
                    const double phase = kx * c.x[j] + ky * c.y[j] + kz * c.z[j];
                    s_cos += c.q[j] * std::cos(phase);
                    s_sin += c.q[j] * std::sin(phase);
                }
                for (std::size_t i = 0; i < n; ++i) {
                    const double phase = kx * c.x[i] + ky * c.y[i] + kz * c.z[i];
                    const double cs = std::cos(phase), sn = std::sin(phase);
                    f.potential[i] += weight * (cs * s_cos + sn * s_sin);
                    const double g = c.q[i] * weight * (sn * s_cos - cs * s_sin);
                    f.fx[i] += g * kx;
                    f.fy[i] += g * ky;
                    f.fz[i] += g * kz;
                }
            }
        }
    }
    return f;
}

// Relative RMS differences of the potentials and of the force vectors.
struct Errors {
    double potential, force;
};
inline Errors relative_rms(const Fields& got, const Fields& want) {
    double dp = 0.0, np = 0.0, df = 0.0, nf = 0.0;
    for (std::size_t i = 0; i < want.potential.size(); ++i) {
        dp += std::pow(got.potential[i] - want.potential[i], 2);
        np += std::pow(want.potential[i], 2);
        df += std::pow(got.fx[i] - want.fx[i], 2) + std::pow(got.fy[i] - want.fy[i], 2) +
              std::pow(got.fz[i] - want.fz[i], 2);
        nf += std::pow(want.fx[i], 2) + std::pow(want.fy[i], 2) + std::pow(want.fz[i], 2);
    }
    return {std::sqrt(dp / np), std::sqrt(df / nf)};
}

}  // namespace pelix::multipole::test_support
