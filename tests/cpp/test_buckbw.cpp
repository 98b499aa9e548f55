// The Buckingham family for Fe, Ti, Y and O: pair types and refusal, parameter rows, the pair
// function in every region of every pair type, and the bond-list capacity.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/buckbw.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;
using test_support::two_atom_bond_engine;

constexpr int32_t kO = 8, kTi = 22, kFe = 26, kY = 39;
constexpr std::array<double, 4> kC{0.02817, 0.2802, 0.5099, 0.1818};
constexpr std::array<double, 4> kD{0.2016, 0.4029, 0.9423, 3.2};

// Atomic numbers of pair types 1..10.
// clang-format off
constexpr std::array<std::array<int32_t, 2>, 10> kPairs{{
    {kFe, kFe}, {kTi, kTi}, {kY, kY}, {kFe, kY}, {kFe, kTi},
    {kTi, kY}, {kFe, kO}, {kTi, kO}, {kY, kO}, {kO, kO}}};
// clang-format on

struct Row {
    int32_t t;
    double a, rho, c, r, d, r1, r2, de;
    std::array<double, 6> s;
};
// A separate copy of four rows: a shifted repulsion with a sixth coefficient, a negative shift,
// the largest shift, and the pair without dispersion.
// clang-format off
const std::array<Row, 4> kRows{{
    {3, 7957.7, 0.42301, 4893.73, 4.85, 0.8, 1.8, 3.0, 0.75,
     {834.6322, -1419.8765, 981.5659, -342.11238, 59.79284, -4.17854}},
    {4, 9401.8, 0.34022, 1423.061, 4.85, 0.6, 1.5, 2.25, -0.5,
     {936.8254, -1582.699, 1021.0264, -296.5362, 32.5686, 0.0}},
    {8, 44227.0, 0.20378, 269.31, 3.5, 0.5, 0.6, 1.3, 25.0,
     {4606.763, -18497.43, 31076.23, -26502.91, 11303.79, -1917.132}},
    {10, 24.0, 0.94415, 0.0, 3.5, 0.75, 1.2, 1.75, 0.0,
     {286.7024, -553.7201, 403.8193, -128.9657, 14.98538, 0.0}},
}};
// clang-format on

Row row_of(const BuckbwState& s, int32_t t) {
    const std::size_t k = BuckbwState::slot(t);
    return {t,
            s.buckbw_a[k],
            s.buckbw_rho[k],
            s.buckbw_c[k],
            s.buckbw_r[k],
            s.buckbw_d[k],
            s.buckbw_r1[k],
            s.buckbw_r2[k],
            s.buckbw_de[k],
            s.buckbw_s[k].b};
}

// Energy, G = dV/dr and a magnitude to measure rounding against, written out from the
// three-region form.
struct Expected {
    double v, g, scale;
};
Expected expected_pair(const Row& p, double r) {
    const auto [z1, z2] = kPairs[static_cast<std::size_t>(p.t - 1)];
    if (r <= p.r1) {
        const double a = 0.88534 * 0.53 / (std::pow(z1, 0.23) + std::pow(z2, 0.23));
        double s = 0.0, ds = 0.0;
        for (std::size_t k = 0; k < 4; ++k) {
            const double term = kC[k] * z1 * z2 * 14.399652003564425 * std::exp(-kD[k] * r / a);
            s += term;
            ds -= kD[k] / a * term;
        }
        const double v = s / r + p.de;
        return {v, ds / r - v / r, s / r + std::abs(p.de)};
    }
    if (r < p.r2) {
        double v = 0.0, g = 0.0, scale = 0.0;
        for (int n = 0; n < 6; ++n) {
            v += p.s[n] * std::pow(r, n);
            scale += std::abs(p.s[n] * std::pow(r, n));
            if (n > 0)
                g += n * p.s[n] * std::pow(r, n - 1);
        }
        return {v, g, scale};
    }
    const double b = p.a * std::exp(-r / p.rho) - p.c / std::pow(r, 6);
    const double db = -(p.a / p.rho) * std::exp(-r / p.rho) + 6.0 * p.c / std::pow(r, 7);
    const double scale = p.a * std::exp(-r / p.rho) + p.c / std::pow(r, 6);
    if (r <= p.r - p.d)
        return {b, db, scale};
    if (std::abs(r - p.r) < p.d) {
        const double theta = std::numbers::pi / 2.0 * (r - p.r) / p.d;
        const double f = 0.5 - 0.5 * std::sin(theta);
        return {f * b, f * db - b * 0.5 * std::cos(theta) * std::numbers::pi / (2.0 * p.d), scale};
    }
    return {0.0, 0.0, scale};
}

BuckbwState set_up(int32_t k = 1) {
    Engine engine;
    setup_prms_for_buckbw(engine, k);
    return engine.families.buckbw;
}

TEST(Buckbw, MapperNumbersTheTenPairsInEitherOrderAndRefusesOtherElements) {
    for (int32_t t = 1; t <= 10; ++t) {
        const auto [a, b] = kPairs[static_cast<std::size_t>(t - 1)];
        EXPECT_EQ(buckbw_mapij(a, b), t);
        EXPECT_EQ(buckbw_mapij(b, a), t);
    }
    Engine engine;
    setup_prms_for_buckbw(engine, 3);
    for (const auto [a, b] : std::vector<std::array<int32_t, 2>>{{kFe, 47}, {1, kO}, {kY, 40}}) {
        try {
            buckbw_cutoff_squared(engine, a, b);
            ADD_FAILURE() << a << "-" << b << " accepted";
        } catch (const FatalError& error) {
            EXPECT_EQ(error.lines(), (std::vector<std::string>{
                                         " nrerror: BUCKBW_MAPIJ: Problems setting BUCKBW_MAPIJ",
                                         "program terminated by nerror"}));
            EXPECT_EQ(error.exit_status(), kExitFatal);
        }
    }
    for (int32_t z : {kO, kTi, kFe, kY})
        EXPECT_TRUE(buckbw_selects(z));
    for (int32_t z : {1, 6, 28, 40})
        EXPECT_FALSE(buckbw_selects(z));
}

TEST(Buckbw, SetUpFillsTheRowsTheCutOffsAndTheScreenedRepulsion) {
    Engine engine;
    setup_prms_for_buckbw(engine, 3);
    const BuckbwState& state = engine.families.buckbw;
    EXPECT_EQ(state.buckbw_idnum, 3);
    for (const Row& want : kRows) {
        const Row got = row_of(state, want.t);
        EXPECT_EQ(got.a, want.a) << want.t;
        EXPECT_EQ(got.rho, want.rho) << want.t;
        EXPECT_EQ(got.c, want.c) << want.t;
        EXPECT_EQ(got.r, want.r) << want.t;
        EXPECT_EQ(got.d, want.d) << want.t;
        EXPECT_EQ(got.r1, want.r1) << want.t;
        EXPECT_EQ(got.r2, want.r2) << want.t;
        EXPECT_EQ(got.de, want.de) << want.t;
        EXPECT_EQ(got.s, want.s) << want.t;
    }
    EXPECT_EQ(buckbw_cutoff_squared(engine, kFe, kFe), 15.210000000000003);
    EXPECT_EQ(state.buckbw_conrh[0], 3.9000000000000004);
    EXPECT_EQ(buckbw_cutoff_squared(engine, kO, kO), 18.0625);
    EXPECT_EQ(buckbw_cutoff_squared(engine, kY, kTi), 5.95 * 5.95);
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_DOUBLE_EQ(state.buckbw_zbl[0].conc[k], kC[k] * 9734.16475440955);
        EXPECT_DOUBLE_EQ(state.buckbw_zbl[0].cond[k], -kD[k] / 0.1108950318936635);
        EXPECT_DOUBLE_EQ(state.buckbw_zbl[9].conc[k], kC[k] * 921.5777282281232);
        EXPECT_DOUBLE_EQ(state.buckbw_zbl[9].cond[k], -kD[k] / 0.14542707299597768);
    }
}

TEST(Buckbw, PairFunctionInEveryRegionOfEveryPairType) {
    const BuckbwState state = set_up();
    const double eps = 1e-7;
    for (int32_t t = 1; t <= 10; ++t) {
        const Row p = row_of(state, t);
        const double rl = p.r - p.d, rh = p.r + p.d;
        for (double r : {p.r1 - 0.05, p.r1, p.r1 + eps, 0.5 * (p.r1 + p.r2), p.r2 - eps, p.r2,
                         0.5 * (p.r2 + rl), rl, rl + eps, p.r, p.r + 0.5 * p.d, rh - eps}) {
            const Expected e = expected_pair(p, r);
            const PairValue got = buckbw_pair(state, t, r);
            EXPECT_NEAR(got.v, e.v, 1e-12 * e.scale) << "type " << t << " r " << r;
            EXPECT_NEAR(got.f, -e.g, 1e-11 * e.scale) << "type " << t << " r " << r;
        }
        for (double r : {rh, rh + eps, rh + 1.0}) {
            EXPECT_EQ(buckbw_pair(state, t, r).v, 0.0) << "type " << t << " r " << r;
            EXPECT_EQ(buckbw_pair(state, t, r).f, 0.0) << "type " << t << " r " << r;
        }
    }

    // Ti-O: the screened repulsion plus 25 eV at 0.6, the polynomial just past it.
    const double bare = buckbw_pair(state, 8, 0.6).v - 25.0;
    EXPECT_GT(bare, 100.0);
    const double poly = 4606.763 - 18497.43 * 0.6000001 + 31076.23 * std::pow(0.6000001, 2) -
                        26502.91 * std::pow(0.6000001, 3) + 11303.79 * std::pow(0.6000001, 4) -
                        1917.132 * std::pow(0.6000001, 5);
    EXPECT_NEAR(buckbw_pair(state, 8, 0.6000001).v, poly, 1e-9 * 4606.763);
    // Fe-Fe: untapered at 2.7, half the Buckingham value at R = 3.35.
    auto fefe = [](double r) { return 14335.0 * std::exp(-r / 0.26511) - 447.55 / std::pow(r, 6); };
    EXPECT_NEAR(buckbw_pair(state, 1, 2.7).v, fefe(2.7), 1e-12 * 10.0);
    EXPECT_NEAR(buckbw_pair(state, 1, 3.35).v, 0.5 * fefe(3.35), 1e-13);
    // O-O has no dispersion: a pure exponential.
    EXPECT_NEAR(buckbw_pair(state, 10, 2.0).v, 24.0 * std::exp(-2.0 / 0.94415), 1e-14);
}

TEST(Buckbw, ForceIsMinusTheSlopeExceptForTheShiftInTheRepulsion) {
    const BuckbwState state = set_up();
    const double h = 1e-6;
    for (int32_t t = 1; t <= 10; ++t) {
        const Row p = row_of(state, t);
        const double rl = p.r - p.d;
        for (double r : {p.r1 - 0.1, 0.5 * (p.r1 + p.r2), 0.5 * (p.r2 + rl), p.r - 0.5 * p.d,
                         p.r + 0.5 * p.d}) {
            const double slope =
                (buckbw_pair(state, t, r + h).v - buckbw_pair(state, t, r - h).v) / (2.0 * h);
            // Below r1 the derivative also takes de / r off the slope of the energy.
            const double shift = r <= p.r1 ? p.de / r : 0.0;
            const double f = buckbw_pair(state, t, r).f;
            EXPECT_NEAR(f, -slope + shift, 1e-7 * (std::abs(f) + 1e-3)) << t << " r " << r;
        }
    }
}

TEST(Buckbw, BondListOverflowStopsWithTheFamilyMessage) {
    // Fe 0 and O 1: two selected atoms give room for trunc(2 x 185 x 1.5) = 555 bonds.
    Engine fits = two_atom_bond_engine(kFe, kO, 554);
    setup_prms_for_buckbw(fits, 1);
    EXPECT_NO_THROW(buckbw_call(fits));
    Engine overflows = two_atom_bond_engine(kFe, kO, 555);
    setup_prms_for_buckbw(overflows, 1);
    EXPECT_EQ(nrerror_line([&] { buckbw_call(overflows); }),
              " nrerror: BUCKBW_NEB: WHATs WRONG WITH INTERSIZE");
}

}  // namespace
}  // namespace pelix
