// The force-call driver end to end, with a recording test family in place of the catalogue.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interface/driver.hpp"
#include "table_files.hpp"

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

std::string pelix_in(int pbc) {
    std::ostringstream text;
    text << "BEGIN\nEQUIL\nCOLLI\nTEST01\n " << pbc << ' ' << pbc << ' ' << pbc << '\n';
    const char* rest[] = {"1.0", "1.0", "1.0", "0",   "0.0", "0.0", "0.0", "NO_THERMOSTAT",
                          "0.0", "0.0", "1.0", "1.0", "F",   "F",   "F",   "1.0",
                          "1",   "F",   "F",   "F",   "F",   "F",   "2.0", "F",
                          "0.0", "0.0", "F",   "F",   "F"};
    for (const char* value : rest)
        text << ' ' << value << '\n';
    return text.str();
}

class DriverTest : public ::testing::Test {
  protected:
    void SetUp() override {
        write("pelix.IN", pelix_in(1));
        write("lattice.IN", "1\nFX 0.0 2.0\n0\n0\n");
        write("potfor.IN", "title\ncomment\n1\nFe Fe PUSH\n");
        engine_.catalogue = kPushTable;
    }
    void write(const std::string& name, const std::string& text) { dir_.write(name, text); }

    // Four Fe atoms along x at 1, 3, 5, 7 in a 10 A box; the first lies in the fixed slab.
    pelix::CalcForceResult run(const std::vector<int32_t>& calc = {},
                               const std::vector<int32_t>& main = {}) {
        pos_ = {1.0, 5.0, 5.0, 3.0, 5.0, 5.0, 5.0, 5.0, 5.0, 7.0, 5.0, 5.0};
        pelix::CalcForceCall call;
        call.image = -1;
        call.speciestring = "Fe";
        call.specie = specie_.data();
        call.pos = pos_.data();
        call.charge = charge_.data();
        call.force = force_.data();
        call.kearray = ke_.data();
        call.pearray = pe_.data();
        call.xdim = call.ydim = call.zdim = 10.0;
        call.calcindexes = calc.data();
        call.mainindexes = main.data();
        call.posdim = 12;
        call.natoms = 4;
        call.nspecies = 1;
        call.edim = 4;
        call.ncalc = static_cast<int32_t>(calc.size());
        call.nmain = static_cast<int32_t>(main.size());
        call.len_specie = call.len_charge = call.len_kearray = call.len_pearray = 4;
        call.len_pos = call.len_force = 12;
        call.len_calcindexes = call.ncalc;
        call.len_mainindexes = call.nmain;
        pelix::CalcForceResult result;
        pelix::calcforce(engine_, call, result);
        return result;
    }

    pelix::Engine engine_;
    pelix::test_support::ScratchWorkingDir dir_;
    std::vector<int32_t> specie_ = {0, 0, 0, 0};
    std::vector<double> charge_ = {0, 0, 0, 0};
    std::vector<double> pos_, force_ = std::vector<double>(12, -1.0), ke_ = {9, 9, 9, 9},
                              pe_ = {9, 9, 9, 9};
};

TEST_F(DriverTest, FixedAtomsReturnZeroForceAndTiesKeepTheEarlierAtom) {
    push_forces = {5.0, 2.0, 2.0, 1.0};
    const auto result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(force_[0], 0.0);  // fixed by the slab, whatever the potential says
    EXPECT_EQ(force_[3], 2.0);
    EXPECT_EQ(force_[6], 2.0);
    EXPECT_EQ(force_[9], 1.0);
    EXPECT_DOUBLE_EQ(result.maxforce, 2.0);
    EXPECT_EQ(result.maxforceatom, 1);
    EXPECT_DOUBLE_EQ(result.totalenergy, 1.0);
    EXPECT_EQ(pe_, (std::vector<double>{0.25, 0.25, 0.25, 0.25}));
    EXPECT_EQ(ke_, (std::vector<double>{0.0, 0.0, 0.0, 0.0}));
    // Everything built for the call is gone again.
    EXPECT_FALSE(engine_.atoms.list_allocated);
    EXPECT_FALSE(engine_.registry.allocated);
    EXPECT_TRUE(engine_.ff.fx.empty());
    EXPECT_TRUE(engine_.ff.nebour.empty());
}

TEST_F(DriverTest, SubsetsMapStagingPositionsToCallerAtoms) {
    push_forces = {4.0, 3.0};
    // Staging position 0 is atom 3 (x = 7, free), position 1 is atom 0 (x = 1, fixed).
    auto result = run({3, 0});
    EXPECT_EQ(force_[9], 4.0);
    EXPECT_EQ(force_[0], 0.0);
    EXPECT_EQ(force_[3], -1.0);  // not staged: untouched
    EXPECT_EQ(result.maxforceatom, 3);
    EXPECT_DOUBLE_EQ(result.totalenergy, 0.5);

    force_.assign(12, -1.0);
    result = run({3, 0}, {0});  // only atom 0 is reported
    EXPECT_EQ(force_[9], -1.0);
    EXPECT_EQ(force_[0], 0.0);
    EXPECT_EQ(result.maxforceatom, -1);
    EXPECT_DOUBLE_EQ(result.totalenergy, 0.25);
}

TEST_F(DriverTest, EmptyConfigurationStopsInTheNeighbourSetUp) {
    pelix::CalcForceCall call;
    call.speciestring = "Fe";
    call.xdim = call.ydim = call.zdim = 10.0;
    call.nspecies = 1;
    pelix::CalcForceResult result;
    try {
        pelix::calcforce(engine_, call, result);
        FAIL() << "no stop";
    } catch (const pelix::FatalError& e) {
        EXPECT_EQ(e.lines().at(0), " nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?");
        EXPECT_EQ(e.exit_status(), 1);
    }
}

}  // namespace
