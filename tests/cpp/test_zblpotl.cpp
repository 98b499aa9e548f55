// The carbon-metal screened repulsion: pair types and refusals, cut-offs, the pair function
// region by region and the bond-list capacity. Whole force calls are checked from Python.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/zblpotl.hpp"
#include "zbl_reference.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;
using test_support::two_atom_bond_engine;

constexpr int32_t kHe = 2, kC = 6, kO = 8, kMg = 12, kAl = 13, kFe = 26, kNi = 28, kCu = 29,
                  kY = 39, kAg = 47, kAu = 79;
constexpr double kPi = std::numbers::pi;

// E(r) = V0(r) cutfcn(r) and F = -dE/dr, written out from the universal screening length, the
// four-term screening function and the cosine taper between conrl and conrh.
struct Expected {
    double e, f;
};
Expected expected_pair(int32_t z1, int32_t z2, double conrl, double conrh, double r) {
    const auto [v0, dv0] = test_support::zbl_reference(z1, z2, r);
    double fc = 1.0, dfc = 0.0;
    if (r >= conrl) {
        const double w = conrh - conrl, theta = kPi * (r - conrl) / w;
        fc = 0.5 * (std::cos(theta) + 1.0);
        dfc = -0.5 * kPi / w * std::sin(theta);
    }
    return {v0 * fc, -(dv0 * fc + v0 * dfc)};
}

ZblpotlState set_up(int32_t k = 1) {
    Engine engine;
    setup_prms_for_zblpotl(engine, k);
    return engine.families.zblpotl;
}

std::string mapij_refusal(int32_t za, int32_t zb) {
    return nrerror_line([&] { zblpotl_mapij(za, zb); });
}

TEST(Zblpotl, MapperNumbersItsTenPairsInEitherOrderAndRefusesTheRest) {
    const std::vector<std::pair<int32_t, int32_t>> pairs = {
        {kAg, kC}, {kFe, kC}, {kMg, kC}, {kO, kC},  {kAu, kC},
        {kNi, kC}, {kAl, kC}, {kFe, kY}, {kFe, kO}, {kHe, kY}};
    for (std::size_t t = 0; t < pairs.size(); ++t) {
        const auto [a, b] = pairs[t];
        EXPECT_EQ(zblpotl_mapij(a, b), static_cast<int32_t>(t) + 1) << a << "-" << b;
        EXPECT_EQ(zblpotl_mapij(b, a), static_cast<int32_t>(t) + 1) << b << "-" << a;
    }

    EXPECT_EQ(mapij_refusal(kFe, kAg),
              " nrerror: ZBLPOTL_MAPIJ: Fe-Ag interaction is not implemented");
    EXPECT_EQ(mapij_refusal(kAg, kFe),
              " nrerror: ZBLPOTL_MAPIJ: Ag-Fe interaction is not implemented");
    EXPECT_EQ(mapij_refusal(kAg, kAg),
              " nrerror: ZBLPOTL_MAPIJ: Ag-Ag interaction is not implemented");
    EXPECT_EQ(mapij_refusal(kC, kC), " nrerror: ZBLPOTL_MAPIJ: C-C interaction is not implemented");
    for (const auto& [a, b] : std::vector<std::pair<int32_t, int32_t>>{
             {kFe, kFe}, {kO, kO}, {kC, kY}, {kHe, kFe}, {kCu, kC}, {kAg, kAu}, {kY, kY}}) {
        EXPECT_EQ(mapij_refusal(a, b), " nrerror: ZBLPOTL_MAPIJ: Problems to set ZBLPOTL_MAPIJ")
            << a << "-" << b;
    }

    for (int32_t z : {kHe, kC, kO, kMg, kAl, kFe, kNi, kY, kAg, kAu})
        EXPECT_TRUE(zblpotl_selects(z)) << z;
    for (int32_t z : {1, kCu, 14, 22})
        EXPECT_FALSE(zblpotl_selects(z)) << z;
}

TEST(Zblpotl, SetUpKeepsItsNumberAndGivesTheCutOffOfEachPair) {
    Engine engine;
    setup_prms_for_zblpotl(engine, 4);
    const ZblpotlState& state = engine.families.zblpotl;
    EXPECT_EQ(state.zblpotl_idnum, 4);

    EXPECT_EQ(zblpotl_cutoff_squared(engine, kFe, kC), 12.8881);
    EXPECT_EQ(zblpotl_cutoff_squared(engine, kC, kFe), 12.8881);
    EXPECT_EQ(zblpotl_cutoff_squared(engine, kY, kHe), 16.0);
    EXPECT_THROW(zblpotl_cutoff_squared(engine, kAg, kAg), FatalError);
}

TEST(Zblpotl, PairFunctionRegionByRegion) {
    const ZblpotlState state = set_up();
    struct Case {
        int32_t t, z1, z2;
        double conrl, conrh, r;
    };
    // Fe-C (narrow taper) and O-C: full repulsion, the start of the taper, inside it.
    for (const Case& c :
         {Case{2, kFe, kC, 3.3795, 3.59, 0.6}, Case{2, kFe, kC, 3.3795, 3.59, 3.3},
          Case{2, kFe, kC, 3.3795, 3.59, 3.3795}, Case{2, kFe, kC, 3.3795, 3.59, 3.5},
          Case{4, kO, kC, 3.0, 4.0, 1.2}, Case{4, kO, kC, 3.0, 4.0, 3.0},
          Case{4, kO, kC, 3.0, 4.0, 3.7}, Case{10, kHe, kY, 3.0, 4.0, 3.25}}) {
        const Expected e = expected_pair(c.z1, c.z2, c.conrl, c.conrh, c.r);
        const PairValue p = zblpotl_pair(state, c.t, c.r);
        EXPECT_NEAR(p.v, e.e, 1e-12 * std::abs(e.e)) << "type " << c.t << " r " << c.r;
        EXPECT_NEAR(p.f, e.f, 1e-12 * std::abs(e.f) + 1e-15) << "type " << c.t << " r " << c.r;
    }
    // No pair at the outer radius; just inside it the tapered repulsion has all but vanished.
    for (auto [t, z, conrl, conrh] :
         {std::tuple{2, kFe, 3.3795, 3.59}, std::tuple{4, kO, 3.0, 4.0}}) {
        const PairValue at = zblpotl_pair(state, t, conrh);
        EXPECT_EQ(at.v, 0.0);
        EXPECT_EQ(at.f, 0.0);
        const double r = conrh - 1e-4;
        const PairValue inside = zblpotl_pair(state, t, r);
        const Expected e = expected_pair(z, kC, conrl, conrh, r);
        EXPECT_GT(inside.v, 0.0);
        EXPECT_NEAR(inside.v, e.e, 1e-6 * e.e);
    }
}

TEST(Zblpotl, BondListOverflowStopsWithTheFamilyMessage) {
    // Fe 0 and C 1: two selected atoms give room for trunc(2 x 20 x 1.5) = 60 bonds.
    Engine fits = two_atom_bond_engine(kFe, kC, 59);
    setup_prms_for_zblpotl(fits, 1);
    EXPECT_NO_THROW(zblpotl_call(fits));
    Engine overflows = two_atom_bond_engine(kFe, kC, 60);
    setup_prms_for_zblpotl(overflows, 1);
    EXPECT_EQ(nrerror_line([&] { zblpotl_call(overflows); }),
              " nrerror: ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE");
}

}  // namespace
}  // namespace pelix
