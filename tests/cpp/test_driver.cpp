// The force-call driver end to end, with a recording test family in place of the catalogue.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "engine/engine.hpp"
#include "force_call_support.hpp"
#include "interface/driver.hpp"
#include "scratch_dir.hpp"

namespace {

// Pushes every staged atom along +x with a force the test chooses, and gives each 0.25 eV.
std::vector<double> push_forces;
void push_setup(pelix::Engine&, int32_t) {}
double push_cutoff(pelix::Engine&, int32_t, int32_t) {
    return 1.0;
}
void push_evaluate(pelix::Engine& engine) {
    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        engine.ff.fx[i] += push_forces[static_cast<std::size_t>(i)];
        engine.atoms.pe[i] += 0.25;
    }
}
constexpr pelix::FamilyOps kPush{push_setup, push_cutoff, push_evaluate};
constexpr std::array<pelix::KeywordRow, 1> kPushTable{{{"PUSH", "push", &kPush}}};

// Four Fe atoms along x at 1, 3, 5, 7 in a 10 A box; the first lies in the fixed slab. Forces
// start at -1 so that atoms not reported keep it; of equal largest forces the earlier atom is
// named; everything built for the call is released again.
TEST(Driver, FixedAtomsStagingAndReportedAtoms) {
    pelix::test_support::ScratchDir dir{true};
    dir.write("pelix.IN", pelix::test_support::run_configuration_text(1));
    dir.write("lattice.IN", "1\nFX 0.0 2.0\n0\n0\n");
    dir.write("potfor.IN", "title\ncomment\n1\nFe Fe PUSH\n");
    pelix::Engine engine;
    engine.catalogue = kPushTable;
    const struct {
        std::vector<int32_t> calc, main;
        std::vector<double> push, fx;
        int32_t maxforceatom;
        double totalenergy;
    } cases[] = {
        {{}, {}, {5, 2, 2, 1}, {0, 2, 2, 1}, 1, 1.0},
        {{3, 0}, {}, {4, 3}, {0, -1, -1, 4}, 3, 0.5},  // staging position 0 is atom 3
        {{3, 0}, {0}, {4, 3}, {0, -1, -1, -1}, -1, 0.25},
    };
    for (const auto& c : cases) {
        pelix::test_support::WholeCall w{{0, 0, 0, 0}, {1, 5, 5, 3, 5, 5, 5, 5, 5, 7, 5, 5},
                                         {0, 0, 0, 0}, {},
                                         {9, 9, 9, 9}, {9, 9, 9, 9},
                                         c.calc,       c.main};
        push_forces = c.push;
        pelix::CalcForceCall call = w.call("Fe", 1, 10.0);
        w.force.assign(12, -1.0);
        pelix::CalcForceResult result;
        pelix::calcforce(engine, call, result);
        EXPECT_EQ(result.status, 0);
        for (std::size_t a = 0; a < 4; ++a) {
            EXPECT_EQ(w.force[3 * a], c.fx[a]) << a;
            EXPECT_EQ(w.force[3 * a + 1], c.fx[a] == -1 ? -1 : 0) << a;
        }
        EXPECT_EQ(result.maxforceatom, c.maxforceatom);
        if (c.maxforceatom >= 0) {
            EXPECT_EQ(result.maxforce, c.fx[static_cast<std::size_t>(c.maxforceatom)]);
        }
        EXPECT_EQ(result.totalenergy, c.totalenergy);
        EXPECT_FALSE(engine.atoms.list_allocated || engine.registry.allocated);
        EXPECT_TRUE(engine.ff.fx.empty() && engine.ff.nebour.empty());
    }
}

}  // namespace
