#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/evaluation.hpp"
#include "interaction/neighbour_list.hpp"
#include "potentials/catalogue.hpp"
#include "scratch_dir.hpp"

namespace {

// What the recording families saw when they were called.
struct CallRecord {
    std::string family;
    bool after_electrostatics;
    double pe0_on_entry;
    int32_t list_entries;
};
std::vector<CallRecord> call_log;

void record_call(pelix::Engine& engine, const char* family) {
    call_log.push_back({family, !engine.electrostatics.elecfirstcall, engine.atoms.pe.at(0),
                        engine.ff.nebpnt.at(static_cast<std::size_t>(engine.atoms.mylt))});
    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        engine.atoms.pe[i] += 1.0;
        engine.ff.fx[i] += 2.0;
    }
}
void evaluate_a(pelix::Engine& engine) {
    record_call(engine, "A");
}
void evaluate_b(pelix::Engine& engine) {
    record_call(engine, "B");
}
void no_setup(pelix::Engine&, int32_t) {}
double cutoff_two(pelix::Engine&, int32_t, int32_t) {
    return 4.0;
}
constexpr pelix::FamilyOps kFamilyA{no_setup, cutoff_two, evaluate_a};
constexpr pelix::FamilyOps kFamilyB{no_setup, cutoff_two, evaluate_b};
constexpr pelix::KeywordRow kRecordingCatalogue[] = {
    {"FAMA", "fama_interaction", &kFamilyA},
    {"FAMB", "famb_interaction", &kFamilyB},
    {"UNBUILT", "unbuilt_interaction", nullptr},
};

// A 10 A box holding the records, with the recording families in the given order, the
// neighbour set-up done and the electrostatics set up without settings files.
pelix::Engine make_engine(const std::vector<pelix::AtomRecord>& records,
                          const std::vector<std::string>& potlst, int32_t pbc) {
    pelix::Engine engine;
    engine.catalogue = kRecordingCatalogue;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = pbc;
    engine.config.multipole_flag = 1;
    engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 10.0;
    engine.atoms.mylt = static_cast<int32_t>(records.size());
    engine.atoms.numel = 1;
    engine.atoms.anum = {26};
    engine.registry.pot_numprocs = 1;
    engine.registry.potype.assign(1, potlst.front());
    engine.registry.potlst = potlst;
    engine.registry.num_pots = static_cast<int32_t>(potlst.size());
    pelix::define_myprocess_boundaries(engine);
    double range = 0.0;
    pelix::setup_nebour_parameters(engine, range);
    pelix::setup_prms_for_electrostatics(engine);
    call_log.clear();
    return engine;
}

// A record of species 0 at (x, y, z) with lattice type `latyp` (free unless 0).
pelix::AtomRecord atom(int32_t id, double x, double y, double z, int32_t latyp = 1) {
    return {id, 0, x, y, z, latyp};
}

TEST(Evaluation, SinglePointRunsElectrostaticsThenEachPotentialOnceAndFoldsPositions) {
    std::vector<pelix::AtomRecord> records = {atom(1, -1.0, 5.0, 12.5), atom(2, 0.5, 5.0, 2.0),
                                              atom(3, 5.0, 5.0, 5.0, 0)};
    pelix::Engine engine = make_engine(records, {"FAMB", "FAMA"}, 1);
    engine.atoms.pe = {7.0, 7.0, 7.0};  // stale values from an earlier call
    pelix::single_point_evaluation(engine, records);

    // Potential-number order, one call each, after the electrostatics, on cleared arrays
    // and with the list built (atoms 1 and 2 are 1.5 A apart across the x boundary).
    ASSERT_EQ(call_log.size(), 2u);
    EXPECT_EQ(call_log[0].family, "B");
    EXPECT_EQ(call_log[1].family, "A");
    EXPECT_TRUE(call_log[0].after_electrostatics);
    EXPECT_EQ(call_log[0].pe0_on_entry, 0.0);
    EXPECT_EQ(call_log[1].pe0_on_entry, 1.0);
    EXPECT_EQ(call_log[0].list_entries, 2);
    EXPECT_EQ(engine.atoms.pe, std::vector<double>({2.0, 2.0, 2.0}));
    EXPECT_EQ(engine.ff.fx, std::vector<double>({4.0, 4.0, 4.0}));
    EXPECT_EQ(engine.ff.fy, std::vector<double>({0.0, 0.0, 0.0}));

    // Folded positions go back into the records; the list is released.
    EXPECT_EQ(records[0].x, 9.0);
    EXPECT_EQ(records[0].z, 2.5);
    EXPECT_EQ(records[1].x, 0.5);
    EXPECT_TRUE(engine.cells.celatm.empty());
    EXPECT_TRUE(engine.ff.nebpnt.empty() && engine.ff.nebour.empty() && engine.ff.pbctyp.empty());
    EXPECT_EQ(engine.neighbours.nlstmx, 6000);
}

TEST(Evaluation, UnknownOrUnbuiltPotentialStopsTheEvaluation) {
    for (const char* keyword : {"NOPE", "UNBUILT"}) {
        std::vector<pelix::AtomRecord> records = {atom(1, 1.0, 1.0, 1.0)};
        pelix::Engine engine = make_engine(records, {"FAMA", keyword}, 0);
        const std::string message =
            " nrerror: CALCULATE_INTERACTION: POTLST= " + std::string(keyword) +
            std::string(12 - std::string(keyword).size(), ' ') + " is unknown";
        EXPECT_EQ(message.size(), 64u);
        EXPECT_EQ(pelix::test_support::stop_of([&] {
                      pelix::single_point_evaluation(engine, records);
                  }).lines.at(0),
                  message);
        ASSERT_EQ(call_log.size(), 1u);  // the potential before it did run
    }
}

TEST(Evaluation, UpdateForceRebuildsOnlyWhenTwoLargestMovesExceedTheSkin) {
    std::vector<pelix::AtomRecord> records = {atom(1, 2.0, 2.0, 2.0), atom(2, 4.0, 2.0, 2.0),
                                              atom(3, 6.0, 6.0, 6.0, 0)};
    pelix::Engine engine = make_engine(records, {"FAMA"}, 1);
    const auto& state = engine.update;
    pelix::update_force(engine, records);  // the first call always builds
    EXPECT_EQ(state.SIZE_RXOLD, 3);
    EXPECT_EQ(state.RXOLD, std::vector<double>({2.0, 4.0, 6.0}));
    EXPECT_EQ(call_log.size(), 1u);

    // 0.2 + 0.05 = 0.25: the list is kept, even though the fixed atom moved 1 A.
    records[0].x += 0.2;
    records[1].y += 0.05;
    records[2].x += 1.0;
    pelix::update_force(engine, records);
    EXPECT_EQ(state.RXOLD[0], 2.0);
    EXPECT_EQ(state.RYOLD[1], 2.0);

    // 0.2 + 0.11 = 0.31: rebuilt, the new positions saved.
    records[1].y += 0.06;
    pelix::update_force(engine, records);
    EXPECT_EQ(state.RXOLD[0], records[0].x);
    EXPECT_EQ(state.RYOLD[1], records[1].y);
    EXPECT_EQ(state.RXOLD[2], 7.0);
    EXPECT_EQ(state.num_force_evals, 3);
    EXPECT_EQ(call_log.size(), 3u);  // every call evaluates
    EXPECT_FALSE(engine.ff.nebour.empty());
}

TEST(Evaluation, UpdateForceSetsFixingLimitsOnceAndRebuildsForAtomsOutside) {
    std::vector<pelix::AtomRecord> records = {atom(1, -0.4, 2.0, 2.0), atom(2, 1.0, 2.0, 2.0)};
    pelix::Engine engine = make_engine(records, {"FAMA"}, 0);
    engine.config.fixatomsoutside = true;
    engine.config.latticeskin = 0.5;
    testing::internal::CaptureStdout();
    pelix::update_force(engine, records);
    records[0].x = -0.6;  // leaves the limits by a move the skin test alone would accept
    pelix::update_force(engine, records);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("fixing atoms if:"), out.rfind("fixing atoms if:"));
    EXPECT_NE(out.find(" fixing atoms if: rx<"), std::string::npos);
    EXPECT_NE(out.find("or rz>"), std::string::npos);
    EXPECT_EQ(engine.update.INBOXXMIN, -0.5);
    EXPECT_EQ(engine.update.INBOXYMAX, 10.5);
    EXPECT_EQ(engine.update.NEWYPOS, 100.0);
    EXPECT_EQ(engine.update.RXOLD[0], -0.6);  // rebuilt because the atom left the limits
}

}  // namespace
