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

// Pushes every atom along +x with a force that the test chooses, and gives each 0.25 eV.
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

class DriverTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_.write("pelix.IN", pelix::test_support::run_configuration_text(1));
        dir_.write("lattice.IN", "1\nFX 0.0 2.0\n0\n0\n");
        dir_.write("potfor.IN", "title\ncomment\n1\nFe Fe PUSH\n");
        engine_.catalogue = kPushTable;
    }
    // Four Fe atoms along x at 1, 3, 5, 7 in a 10 A box; the first lies in the fixed slab.
    pelix::CalcForceResult run(const std::vector<int32_t>& calc = {},
                               const std::vector<int32_t>& main = {}) {
        w_.pos = {1.0, 5.0, 5.0, 3.0, 5.0, 5.0, 5.0, 5.0, 5.0, 7.0, 5.0, 5.0};
        w_.force.assign(12, -1.0);
        w_.calcindexes = calc;
        w_.mainindexes = main;
        pelix::CalcForceCall call = w_.call("Fe", 1, 10.0);
        pelix::CalcForceResult result;
        pelix::calcforce(engine_, call, result);
        return result;
    }

    pelix::test_support::ScratchDir dir_{true};
    pelix::Engine engine_;
    pelix::test_support::WholeCall w_{{0, 0, 0, 0}, {},           {0, 0, 0, 0}, {},
                                      {9, 9, 9, 9}, {9, 9, 9, 9}, {},           {}};
};

TEST_F(DriverTest, FixedAtomsReturnZeroForceAndTiesKeepTheEarlierAtom) {
    push_forces = {5.0, 2.0, 2.0, 1.0};
    const auto result = run();
    EXPECT_EQ(result.status, 0);
    // The first atom is fixed by the slab, whatever the potential says.
    EXPECT_EQ(w_.force, (std::vector<double>{0, 0, 0, 2, 0, 0, 2, 0, 0, 1, 0, 0}));
    EXPECT_EQ(result.maxforce, 2.0);
    EXPECT_EQ(result.maxforceatom, 1);
    EXPECT_EQ(result.totalenergy, 1.0);
    EXPECT_EQ(w_.pe, (std::vector<double>{0.25, 0.25, 0.25, 0.25}));
    EXPECT_EQ(w_.ke, (std::vector<double>{0.0, 0.0, 0.0, 0.0}));
    // Everything built for the call is gone again.
    EXPECT_FALSE(engine_.atoms.list_allocated);
    EXPECT_FALSE(engine_.registry.allocated);
    EXPECT_TRUE(engine_.ff.fx.empty() && engine_.ff.nebour.empty());
}

TEST_F(DriverTest, SubsetsMapStagingPositionsToCallerAtoms) {
    push_forces = {4.0, 3.0};
    // Staging position 0 is atom 3 (x = 7, free), position 1 is atom 0 (x = 1, fixed).
    auto result = run({3, 0});
    EXPECT_EQ(w_.force[9], 4.0);
    EXPECT_EQ(w_.force[0], 0.0);
    EXPECT_EQ(w_.force[3], -1.0);  // not staged: untouched
    EXPECT_EQ(result.maxforceatom, 3);
    EXPECT_EQ(result.totalenergy, 0.5);
    result = run({3, 0}, {0});  // only atom 0 is reported
    EXPECT_EQ(w_.force[9], -1.0);
    EXPECT_EQ(w_.force[0], 0.0);
    EXPECT_EQ(result.maxforceatom, -1);
    EXPECT_EQ(result.totalenergy, 0.25);
}

}  // namespace
