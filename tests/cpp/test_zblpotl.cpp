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
