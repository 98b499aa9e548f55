// Solid harmonics and the periodic lattice sums of the multipole tree, each against an
// independent closed form or direct sum; the translations are checked through the whole tree
// against direct sums.
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
