// Solid harmonics, the expansion translations and the periodic lattice sums of the multipole
// tree, each against an independent closed form or direct sum.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "electrostatics/multipole/lattice_sum.hpp"
#include "electrostatics/multipole/solid_harmonics.hpp"

namespace pelix::multipole {
namespace {

TEST(MultipoleHarmonics, LowDegreesMatchClosedForms) {
    const double x = 0.3, y = -0.7, z = 1.1;
    const double r2 = x * x + y * y + z * z, r = std::sqrt(r2);
    std::vector<Complex> reg(half_size(2)), irr(half_size(2));
    regular_harmonics(2, x, y, z, reg.data());
    irregular_harmonics(2, x, y, z, irr.data());
    const Complex xy(x, y);
    EXPECT_NEAR(reg[half_index(1, 0)].real(), z, 1e-15);
    EXPECT_NEAR(std::abs(reg[half_index(1, 1)] + 0.5 * xy), 0.0, 1e-15);
    EXPECT_NEAR(reg[half_index(2, 0)].real(), (3 * z * z - r2) / 4, 1e-15);
    EXPECT_NEAR(std::abs(reg[half_index(2, 2)] - xy * xy / 8.0), 0.0, 1e-15);
    EXPECT_NEAR(irr[half_index(0, 0)].real(), 1 / r, 1e-15);
    EXPECT_NEAR(std::abs(irr[half_index(1, 1)] + xy / (r2 * r)), 0.0, 1e-15);
    EXPECT_NEAR(irr[half_index(2, 0)].real(), (3 * z * z - r2) / (r2 * r2 * r), 1e-15);
    EXPECT_NEAR(std::abs(irr[half_index(2, 1)] + 3.0 * z * xy / (r2 * r2 * r)), 0.0, 1e-15);
}

// Charges around one centre, their multipole moved to a parent centre, transferred to a local
// expansion at a distant target cell, moved down to a child centre and evaluated there: every
// operator of the tree in one chain, against the direct potential and field.
TEST(MultipoleHarmonics, TranslationChainReproducesDirectSum) {
    const double source[3] = {0.1, 0.2, -0.1}, parent[3] = {0.5, 0.5, 0.5};
    const double target[3] = {2.3, -1.7, 1.9}, child[3] = {2.1, -1.5, 2.0};
    const double point[3] = {2.25, -1.6, 1.8};
    std::vector<double> x{0.3, -0.2, 0.15, 0.0}, y{0.1, 0.25, -0.3, 0.2}, z{-0.2, 0.1, 0.3, -0.05};
    const std::vector<double> q{1.0, -0.5, 0.7, 0.3};
    for (std::size_t i = 0; i < q.size(); ++i) {
        x[i] += source[0];
        y[i] += source[1];
        z[i] += source[2];
    }
    double direct = 0.0, direct_field[3] = {0.0, 0.0, 0.0};
    for (std::size_t i = 0; i < q.size(); ++i) {
        const double d[3] = {point[0] - x[i], point[1] - y[i], point[2] - z[i]};
        const double r = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        direct += q[i] / r;
        for (int a = 0; a < 3; ++a) {
            direct_field[a] += q[i] * d[a] / (r * r * r);
        }
    }
    double previous_error = 1.0;
    for (int order : {4, 8, 16}) {
        std::vector<Complex> scratch(half_size(order)), shift(half_size(order));
        std::vector<Complex> m_source(half_size(order)), m_parent(half_size(order));
        std::vector<Complex> l_target(half_size(order)), l_child(half_size(order));
        std::vector<Complex> full(full_size(order)), irr_full(full_size(order));
        particles_to_multipole(order, q.size(), x.data(), y.data(), z.data(), q.data(), source,
                               m_source.data(), scratch.data());
        regular_harmonics(order, source[0] - parent[0], source[1] - parent[1],
                          source[2] - parent[2], shift.data());
        multipole_to_multipole(order, shift.data(), m_source.data(), m_parent.data());
        irregular_harmonics(order, target[0] - parent[0], target[1] - parent[1],
                            target[2] - parent[2], scratch.data());
        expand_to_full(order, scratch.data(), irr_full.data());
        expand_to_full(order, m_parent.data(), full.data());
        multipole_to_local(order, order, irr_full.data(), full.data(), l_target.data());
        regular_harmonics(order, child[0] - target[0], child[1] - target[1], child[2] - target[2],
                          shift.data());
        local_to_local(order, shift.data(), l_target.data(), l_child.data());
        double potential, field[3];
        evaluate_local(order, l_child.data(), point[0] - child[0], point[1] - child[1],
                       point[2] - child[2], scratch.data(), potential, field);
        double error = std::abs(potential - direct) / std::abs(direct);
        for (int a = 0; a < 3; ++a) {
            error =
                std::max(error, std::abs(field[a] - direct_field[a]) / std::abs(direct_field[a]));
        }
        EXPECT_LT(error, previous_error) << "order " << order;
        previous_error = error;
    }
    EXPECT_LT(previous_error, 1e-8);
}

// The lattice sums agree with plain sums over the images where those converge quickly (degree >= 6
// here; the plain sum is cut at 40 boxes), do not depend on the Ewald splitting, and vanish
// for odd degrees by the lattice's inversion symmetry.
TEST(MultipoleLatticeSums, MatchImageSumsAndIgnoreSplitting) {
    const std::array<double, 3> box{1.0, 1.3, 0.9};
    const std::vector<Offset> near{{0, 0, 0},  {1, 0, 0}, {-1, 0, 0}, {0, 1, 0},
                                   {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    const int degree = 8;
    const std::vector<Complex> sums = periodic_lattice_sums(degree, box, near, 1.0);
    const std::vector<Complex> other = periodic_lattice_sums(degree, box, near, 1.6);
    std::vector<Complex> images(half_size(degree)), term(half_size(degree));
    const int reach = 40;
    for (int i = -reach; i <= reach; ++i) {
        for (int j = -reach; j <= reach; ++j) {
            for (int k = -reach; k <= reach; ++k) {
                if (std::abs(i) + std::abs(j) + std::abs(k) <= 1) {
                    continue;
                }
                irregular_harmonics(degree, i * box[0], j * box[1], k * box[2], term.data());
                for (std::size_t c = 0; c < term.size(); ++c) {
                    images[c] += term[c];
                }
            }
        }
    }
    for (int n = 0; n <= degree; ++n) {
        for (int m = 0; m <= n; ++m) {
            const Complex t = sums[half_index(n, m)];
            const double scale = 1.0 + std::abs(t);
            EXPECT_LT(std::abs(t - other[half_index(n, m)]), 1e-11 * scale) << n << " " << m;
            if (n % 2 == 1) {
                EXPECT_LT(std::abs(t), 1e-11) << n << " " << m;
            } else if (n >= 6) {
                EXPECT_LT(std::abs(t - images[half_index(n, m)]), 2e-5 * scale) << n << " " << m;
            }
        }
    }
    // The quadrupole sums of a non-cubic box are not zero: they carry its shape.
    EXPECT_GT(std::abs(sums[half_index(2, 2)]), 0.1);
}

}  // namespace
}  // namespace pelix::multipole
