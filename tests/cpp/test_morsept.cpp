// The phosphorus-iron Morse family: pair types and refusals, set-up constants, the smoothing
// polynomial, the pair function region by region and at each region boundary, the short-range
// message for an unknown pair type, and evaluations on hand-built neighbour lists.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/morsept.hpp"
#include "zbl_reference.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;

constexpr int32_t kP = 15, kFe = 26;

// The constants of both pairs, written out again: well depth, r0, bridge coefficients,
// cutin, sr_cutoff and Z1 Z2.
struct PairConstants {
    double e0, r0;
    std::array<double, 6> b;
    double cutin, sr_cutoff;
    int32_t z1, z2;
};
const PairConstants kPairPP{
    0.194, 3.35, {18.463375, -46.290417, 67.58019, -52.524806, 19.907106, -2.9289798}, 1.85, 0.9,
    kP,    kP};
const PairConstants kPairPFe{
    0.848, 2.22, {3017.2963, -8433.2466, 9663.4483, -5587.2792, 1614.07, -185.37477}, 2.1, 1.0,
    kP,    kFe};

double zbl_energy(int32_t z1, int32_t z2, double r) {
    return test_support::zbl_reference(z1, z2, r).v;
}

double smoothing_value(double rl, double rh, double r) {
    if (r < rl)
        return 1.0;
    const double x = (r - rh) / (rl - rh);
    return 3 * std::pow(x, 4) - 8 * std::pow(x, 3) + 6 * x * x;
}

MorseptState set_up(int32_t k = 1) {
    Engine engine;
    setup_prms_for_morsept(engine, k);
    return engine.families.morsept;
}

std::string mapij_refusal(int32_t za, int32_t zb) {
    return nrerror_line([&] { morsept_mapij(za, zb); });
}

TEST(Morsept, MapperKnowsPhosphorusPairsOnlyAndCutoffsFollowIt) {
    EXPECT_EQ(morsept_mapij(kP, kP), 1);
    EXPECT_EQ(morsept_mapij(kP, kFe), 2);
    EXPECT_EQ(morsept_mapij(kFe, kP), 2);
    for (const auto& [a, b] :
         std::vector<std::pair<int32_t, int32_t>>{{kFe, kFe}, {kP, 8}, {14, kFe}, {1, 1}}) {
        EXPECT_EQ(mapij_refusal(a, b),
                  " nrerror: FUNCTION MORSEPT_MAPIJ: Problems to set MORSEPT_MAPIJ")
            << a << "-" << b;
    }
    EXPECT_TRUE(morsept_selects(kP));
    EXPECT_TRUE(morsept_selects(kFe));
    EXPECT_FALSE(morsept_selects(8));
    EXPECT_FALSE(morsept_selects(28));

    Engine engine;
    setup_prms_for_morsept(engine, 3);
    const MorseptState& state = engine.families.morsept;
    EXPECT_EQ(state.morsept_idnum, 3);
    EXPECT_EQ(morsept_cutoff_squared(engine, kP, kP), 21.996099999999995);
    EXPECT_EQ(morsept_cutoff_squared(engine, kFe, kP), 9.659664000000001);
    EXPECT_THROW(morsept_cutoff_squared(engine, kFe, kFe), FatalError);
}

TEST(Morsept, SmoothingFallsFromOneToZeroWithFlatEnds) {
    const MorseptState state = set_up();
    for (const auto& [t, rl, rh] :
         {std::tuple{1, 3.35, 4.6899999999999995}, std::tuple{2, 2.22, 3.108}}) {
        double f = 0.0, df = 0.0;
        morsept_smoothing(state, t, rl - 0.5, f, df);
        EXPECT_EQ(f, 1.0);
        EXPECT_EQ(df, 0.0);
        morsept_smoothing(state, t, rl, f, df);
        EXPECT_DOUBLE_EQ(f, 1.0);
        EXPECT_NEAR(df, 0.0, 1e-14);
        morsept_smoothing(state, t, rh, f, df);
        EXPECT_NEAR(f, 0.0, 1e-14);
        EXPECT_NEAR(df, 0.0, 1e-14);
        morsept_smoothing(state, t, 0.5 * (rl + rh), f, df);
        EXPECT_NEAR(f, smoothing_value(rl, rh, 0.5 * (rl + rh)), 1e-14) << t;
        EXPECT_LT(df, 0.0);
    }
}

TEST(Morsept, ShortRangeWithAnUnknownPairTypeOnlyWritesItsMessage) {
    const MorseptState state = set_up();
    double v = 7.0, f = 7.0;
    testing::internal::CaptureStdout();
    morsept_sr_interaction(state, 3, 0.5, v, f);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, " MORSEPT_SR_INTERACTION: IJPOT is unknown\n");
    EXPECT_EQ(v, 0.0);
    EXPECT_EQ(f, 0.0);

    testing::internal::CaptureStdout();
    morsept_sr_interaction(state, 2, 0.5, v, f);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_NEAR(v, zbl_energy(kP, kFe, 0.5), 1e-12 * v);
}

// Atoms with given species (0 = P, 1 = Fe), x positions on a line, identity numbers and
// neighbour lists (j, image); every pair of species goes to the family, except Fe-Fe, which
// goes to potential 2. Images along x are 10 A apart.
Engine line_engine(const std::vector<int32_t>& specie, const std::vector<double>& x,
                   const std::vector<int32_t>& idnum,
                   const std::vector<std::vector<std::pair<int32_t, int32_t>>>& lists) {
    Engine engine;
    engine.atoms.anum = {kP, kFe};
    auto& ff = engine.ff;
    ff.specie = specie;
    ff.idnum = idnum;
    ff.rx = x;
    ff.ry.assign(specie.size(), 0.0);
    ff.rz.assign(specie.size(), 0.0);
    ff.potnum.assign(2, 1);
    ff.potnum(1, 1) = 2;
    ff.xofset[kImageOffsetCentre + 9] = 10.0;
    ff.xofset[kImageOffsetCentre - 9] = -10.0;
    test_support::set_neighbour_lists(engine, lists);
    setup_prms_for_morsept(engine, 1);
    return engine;
}

TEST(Morsept, EachPairIsEvaluatedFromItsSmallerIdentityNumber) {
    // P 0 at x = 0, Fe 1 at 2.0 (bridge), P 2 at 3.0 (P-P in Morse), Fe 3 at 3.5 (Fe-Fe,
    // another potential), and P 0 with its own image 10 A away (beyond the P-P cut-off). The
    // P-Fe pair 0-1 is listed from atom 0 only, whose identity number is the larger: it is
    // left out. Every other pair is listed from both sides and counted once.
    const MorseptState state = set_up();
    Engine engine = line_engine(
        {0, 1, 0, 1}, {0.0, 2.0, 3.0, 3.5}, {4, 3, 2, 1},
        {{{1, 0}, {2, 0}}, {{2, 0}, {3, 0}}, {{0, 0}, {1, 0}, {3, 0}}, {{1, 0}, {2, 0}}});
    morsept_call(engine);
    const PairValue p12 = morsept_pair(state, 2, 1.0), p02 = morsept_pair(state, 1, 3.0),
                    p23 = morsept_pair(state, 2, 0.5);
    const auto& pe = engine.atoms.pe;
    EXPECT_NEAR(pe[0], 0.5 * p02.v, 1e-14);
    EXPECT_NEAR(pe[1], 0.5 * p12.v, 1e-12 * std::abs(p12.v));
    EXPECT_NEAR(pe[2], 0.5 * (p02.v + p12.v + p23.v), 1e-12 * std::abs(pe[2]));
    EXPECT_NEAR(pe[3], 0.5 * p23.v, 1e-12 * std::abs(p23.v));
    // Every pair here is repulsive (P-P at 3.0 lies inside r0): each pushes its atoms apart.
    const auto& fx = engine.ff.fx;
    EXPECT_NEAR(fx[0], -p02.f, 1e-14);
    EXPECT_NEAR(fx[1], -p12.f, 1e-12 * std::abs(p12.f));
    EXPECT_NEAR(fx[2], p02.f + p12.f - p23.f, 1e-12 * std::abs(fx[2]));
    EXPECT_NEAR(fx[3], p23.f, 1e-12 * std::abs(p23.f));
    EXPECT_TRUE(engine.ff.bonds.neb.empty());

    // Two atoms sharing one identity number never evaluate their pair, nor an atom its own
    // periodic image 4 A away.
    Engine twins = line_engine({0, 0}, {0.0, 3.0}, {5, 5}, {{{1, 0}, {0, 1}}, {{0, 0}}});
    twins.ff.xofset[kImageOffsetCentre + 1] = 4.0;
    morsept_call(twins);
    EXPECT_EQ(twins.atoms.pe[0], 0.0);
    EXPECT_EQ(twins.atoms.pe[1], 0.0);
    EXPECT_EQ(twins.ff.fx[0], 0.0);
}

TEST(Morsept, BondListOverflowAndMapperStopsDuringTheEvaluation) {
    // Two selected atoms give room for trunc(2 x 20 x 1.5) = 60 bonds.
    auto pair_engine = [](int32_t listed_from_first) {
        std::vector<std::pair<int32_t, int32_t>> many(static_cast<std::size_t>(listed_from_first),
                                                      {1, 0});
        return line_engine({0, 1}, {0.0, 2.5}, {1, 2}, {many, {{0, 0}}});
    };
    Engine fits = pair_engine(59);
    EXPECT_NO_THROW(morsept_call(fits));
    Engine overflows = pair_engine(60);
    EXPECT_EQ(nrerror_line([&] { morsept_call(overflows); }),
              " nrerror: MORSEPT_NEB: NEBTOT > INTERSIZE");

    // An iron pair handed to the family stops in the mapper.
    Engine irons = line_engine({1, 1}, {0.0, 2.5}, {1, 2}, {{{1, 0}}, {{0, 0}}});
    irons.ff.potnum(1, 1) = 1;
    EXPECT_EQ(nrerror_line([&] { morsept_call(irons); }),
              " nrerror: FUNCTION MORSEPT_MAPIJ: Problems to set MORSEPT_MAPIJ");
}

}  // namespace
}  // namespace pelix
