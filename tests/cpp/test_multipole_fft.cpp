// The FFT multipole-to-local transfer: the batched transform against a plain DFT, and the tree
// with the FFT transfer against the same tree with the direct transfer.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "electrostatics/multipole/batched_fft.hpp"
#include "electrostatics/multipole/multipole_tree.hpp"
#include "multipole_reference.hpp"

namespace pelix::multipole {
namespace {

using test_support::Charges;
using test_support::Fields;

TEST(MultipoleBatchedFft, MatchesPlainTransformOnEveryChannel) {
    const std::array<int, 3> n{4, 2, 8};
    const std::size_t channels = 3, points = 64;
    std::vector<Complex> grid(points * channels);
    for (std::size_t i = 0; i < grid.size(); ++i) {
        grid[i] = Complex(std::sin(1.3 * i + 0.2), std::cos(0.7 * i * i));
    }
    const std::vector<Complex> original = grid;
    const BatchedFft3d fft(n, channels);
    fft.forward(grid.data());
    double worst = 0.0;
    for (int k0 = 0; k0 < n[0]; ++k0) {
        for (int k1 = 0; k1 < n[1]; ++k1) {
            for (int k2 = 0; k2 < n[2]; ++k2) {
                for (std::size_t c = 0; c < channels; ++c) {
                    Complex sum(0.0, 0.0);
                    for (int j0 = 0; j0 < n[0]; ++j0) {
                        for (int j1 = 0; j1 < n[1]; ++j1) {
                            for (int j2 = 0; j2 < n[2]; ++j2) {
                                const double phase =
                                    -2.0 * std::numbers::pi *
                                    (double(j0 * k0) / n[0] + double(j1 * k1) / n[1] +
                                     double(j2 * k2) / n[2]);
                                sum += original[((j0 * n[1] + j1) * n[2] + j2) * channels + c] *
                                       std::polar(1.0, phase);
                            }
                        }
                    }
                    const Complex got = grid[((k0 * n[1] + k1) * n[2] + k2) * channels + c];
                    worst = std::max(worst, std::abs(got - sum));
                }
            }
        }
    }
    EXPECT_LT(worst, 1e-12);
    fft.inverse(grid.data());
    for (std::size_t i = 0; i < grid.size(); ++i) {
        EXPECT_NEAR(std::abs(grid[i] / double(points) - original[i]), 0.0, 1e-14) << i;
    }
}

struct Case {
    const char* name;
    bool periodic;
    int levels, terms, block;
    double theta;
};

// Open and periodic boxes; grids shorter than a block (one block, or for a periodic box one
// circular convolution in which near images fold onto each other) and grids cut into several
// overlapping blocks.
TEST(MultipoleFftTransfer, EqualsDirectTransferToRounding) {
    const std::array<double, 3> side{10.0, 8.0, 12.0}, centre{1.0, -2.0, 0.5};
    const std::array<double, 3> lower{centre[0] - 5.0, centre[1] - 4.0, centre[2] - 6.0};
    const Case cases[] = {
        {"open, one block", false, 4, 8, 4, 0.6},
        {"open, blocks", false, 5, 6, 1, 0.9},
        {"periodic, whole grids", true, 4, 8, 2, 0.6},
        {"periodic, blocks", true, 5, 6, 1, 0.9},
    };
    for (const Case& k : cases) {
        const Charges c = test_support::random_charges(600, lower, side, k.periodic, 17);
        MultipoleSettings s;
        s.levels = k.levels;
        s.terms = k.terms;
        s.theta = k.theta;
        s.periodic = k.periodic ? 1 : 0;
        s.macroscopic_terms = k.terms;
        s.v1 = {side[0], 0.0, 0.0};
        s.v2 = {0.0, side[1], 0.0};
        s.v3 = {0.0, 0.0, side[2]};
        s.centre = centre;
        MultipoleTree direct(s);
        s.fft_switch = 1;
        s.fft_block = k.block;
        MultipoleTree fft(s);
        // Coarse levels may keep the direct transfer where it is cheaper; the finest may not.
        EXPECT_TRUE(fft.transfers_by_fft(k.levels - 1)) << k.name;
        EXPECT_FALSE(direct.transfers_by_fft(k.levels - 1)) << k.name;
        Fields want(c.size()), got(c.size());
        direct.evaluate(c.size(), c.x.data(), c.y.data(), c.z.data(), c.q.data(),
                        want.potential.data(), want.fx.data(), want.fy.data(), want.fz.data());
        fft.evaluate(c.size(), c.x.data(), c.y.data(), c.z.data(), c.q.data(), got.potential.data(),
                     got.fx.data(), got.fy.data(), got.fz.data());
        const auto e = test_support::relative_rms(got, want);
        EXPECT_LT(e.potential, 1e-12) << k.name;
        EXPECT_LT(e.force, 1e-12) << k.name;
    }
}

TEST(MultipoleFftTransfer, RefusesBlocksTooLongForTheAcceptance) {
    MultipoleSettings s;
    s.levels = 3;
    s.terms = 4;
    s.theta = 0.25;  // near set reaching 6 cells: a block of 5 needs an FFT of 32
    s.fft_switch = 1;
    s.fft_block = 5;
    s.v1 = {1.0, 0.0, 0.0};
    s.v2 = {0.0, 1.0, 0.0};
    s.v3 = {0.0, 0.0, 1.0};
    s.centre = {0.0, 0.0, 0.0};
    MultipoleTree tree(s);
    const double x = 0.1, y = 0.2, z = 0.3, q = 1.0;
    double phi, fx, fy, fz;
    try {
        tree.evaluate(1, &x, &y, &z, &q, &phi, &fx, &fy, &fz);
        ADD_FAILURE() << "no error";
    } catch (const FatalError& e) {
        EXPECT_NE(e.lines().front().find("FFT BLOCK LENGTH 32 EXCEEDS 16"), std::string::npos)
            << e.lines().front();
    }
}

}  // namespace
}  // namespace pelix::multipole
