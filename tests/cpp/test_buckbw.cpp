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
