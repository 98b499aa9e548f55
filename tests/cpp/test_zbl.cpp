// The shared screened nuclear repulsion: screening lengths, amplitudes, energy and force, the
// regions of the join and the quintic bridge.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "potentials/zbl.hpp"

namespace pelix {
namespace {

constexpr std::array<double, 4> kC{0.02817, 0.2802, 0.5099, 0.1818};
constexpr std::array<double, 4> kD{0.2016, 0.4029, 0.9423, 3.2};
constexpr double kPPScreening = 0.1258505073262334;     // P-P, universal length
constexpr double kFeFeScreening = 0.22811246786282882;  // Fe-Fe, square-root length
constexpr double kPPAmplitude = 3239.9217008019955;     // 15 x 15 x e^2
constexpr double kFeFeAmplitude = 9734.16475440955;     // 26 x 26 x e^2

// S(r) = sum_k c_k A exp(-d_k r / a) and its derivative, written out for the test.
struct Screened {
    double s = 0.0, ds = 0.0;
};
Screened screened_sum(double amplitude, double a, double r) {
    Screened out;
    for (std::size_t k = 0; k < 4; ++k) {
        const double term = kC[k] * amplitude * std::exp(-kD[k] * r / a);
        out.s += term;
        out.ds += -kD[k] / a * term;
    }
    return out;
}

TEST(Zbl, ScreeningLengthsAndAmplitudesOfBothRules) {
    EXPECT_DOUBLE_EQ(screening_length(ScreeningRule::A, 15, 15), kPPScreening);
    EXPECT_DOUBLE_EQ(screening_length(ScreeningRule::B, 26, 26), kFeFeScreening);
    // Rule B is the square root of the same sum, so it is the longer length.
    EXPECT_GT(screening_length(ScreeningRule::B, 15, 15), 1.5 * kPPScreening);
    EXPECT_DOUBLE_EQ(screening_length(ScreeningRule::A, 26, 6),
                     screening_length(ScreeningRule::A, 6, 26));

    // A family's own coefficient copies replace the shared ones.
    const ZblTerms local = zbl_terms(ScreeningRule::A, 15, 15, kLocalZblC, kLocalZblD);
    EXPECT_DOUBLE_EQ(local.conc[3], 0.18175 * kPPAmplitude);
    EXPECT_DOUBLE_EQ(local.cond[0], -0.20162 / kPPScreening);
}

TEST(Zbl, PhosphorusPairAtOneAngstrom) {
    const ZblTerms pp = zbl_terms(ScreeningRule::A, 15, 15);
    const PairValue at_one = zbl_evaluate(pp, 1.0);
    const Screened ref = screened_sum(kPPAmplitude, kPPScreening, 1.0);
    // V = S / r and -dV/dr = -(S'/r - S/r^2) at r = 1.
    EXPECT_NEAR(at_one.v, ref.s, 1e-13 * ref.s);
    EXPECT_NEAR(at_one.f, -(ref.ds - ref.s), 1e-13 * std::abs(ref.ds - ref.s));
    EXPECT_GT(at_one.f, 0.0);  // repulsive

    const double r = 0.37;
    const Screened near = screened_sum(kPPAmplitude, kPPScreening, r);
    const PairValue close = zbl_evaluate(pp, r);
    EXPECT_NEAR(close.v, near.s / r, 1e-13 * close.v);
    EXPECT_NEAR(close.f, -(near.ds / r - near.s / (r * r)), 1e-13 * close.f);
}

TEST(Zbl, JoinRegionsAtTheirBoundaries) {
    const double sr_cutoff = 0.9, cutin = 1.6;
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(join_region(0.1, sr_cutoff, cutin), JoinRegion::Zbl);
    EXPECT_EQ(join_region(sr_cutoff, sr_cutoff, cutin), JoinRegion::Zbl);
    EXPECT_EQ(join_region(std::nextafter(sr_cutoff, inf), sr_cutoff, cutin), JoinRegion::Bridge);
    EXPECT_EQ(join_region(std::nextafter(cutin, 0.0), sr_cutoff, cutin), JoinRegion::Bridge);
    EXPECT_EQ(join_region(cutin, sr_cutoff, cutin), JoinRegion::Own);
    EXPECT_EQ(join_region(5.0, sr_cutoff, cutin), JoinRegion::Own);
}

TEST(Zbl, QuinticValueAndDerivative) {
    Quintic p;
    p.b = {1.5, -2.0, 0.5, 3.0, -0.25, 0.125};
    for (double r : {0.0, 0.8, 1.3, -2.1}) {
        double value = 0.0, slope = 0.0;
        for (int n = 0; n < 6; ++n) {
            value += p.b[n] * std::pow(r, n);
            if (n > 0)
                slope += n * p.b[n] * std::pow(r, n - 1);
        }
        EXPECT_NEAR(p.value(r), value, 1e-12 * (1.0 + std::abs(value))) << "r " << r;
        EXPECT_NEAR(p.derivative(r), slope, 1e-12 * (1.0 + std::abs(slope))) << "r " << r;
    }
}

}  // namespace
}  // namespace pelix
