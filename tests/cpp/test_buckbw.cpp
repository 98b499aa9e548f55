// The Buckingham family for Fe, Ti, Y and O: pair types and refusal, cut-offs, the pair
// function at the edges of every region of every pair type (energy and force, the force of the
// shifted repulsion included), and the bond-list capacity.
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
#include "zbl_reference.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;
using test_support::two_atom_bond_engine;

constexpr int32_t kO = 8, kTi = 22, kFe = 26, kY = 39;

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
        const auto [zbl, dzbl] = test_support::zbl_reference(z1, z2, r);
        const double v = zbl + p.de;
        return {v, dzbl - p.de / r, zbl + std::abs(p.de)};
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

TEST(Buckbw, MapperNumbersTheTenPairsRefusesOtherElementsAndSetsTheCutOffs) {
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

    EXPECT_EQ(engine.families.buckbw.buckbw_idnum, 3);
    EXPECT_EQ(buckbw_cutoff_squared(engine, kFe, kFe), 15.210000000000003);
    EXPECT_EQ(buckbw_cutoff_squared(engine, kO, kO), 18.0625);
    EXPECT_EQ(buckbw_cutoff_squared(engine, kY, kTi), 5.95 * 5.95);
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
