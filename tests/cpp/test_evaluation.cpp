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

// What the recording families saw when called: family, electrostatics done, pe of atom 0 on
// entry, list entries. Each adds 1 to every pe and 2 to every fx.
std::vector<std::string> call_log;
template <char Name>
void record_call(pelix::Engine& engine) {
    call_log.push_back(std::string(1, Name) + (engine.electrostatics.elecfirstcall ? "" : " elec") +
                       " pe " + std::to_string(engine.atoms.pe.at(0)) + " list " +
                       std::to_string(engine.ff.nebpnt.at(engine.atoms.mylt)));
    for (int32_t i = 0; i < engine.atoms.mylt; ++i)
        engine.atoms.pe[i] += 1.0, engine.ff.fx[i] += 2.0;
}
void no_setup(pelix::Engine&, int32_t) {}
double cutoff_two(pelix::Engine&, int32_t, int32_t) {
    return 4.0;
}
constexpr pelix::FamilyOps kFamilyA{no_setup, cutoff_two, record_call<'A'>};
constexpr pelix::FamilyOps kFamilyB{no_setup, cutoff_two, record_call<'B'>};
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

// Electrostatics, then each listed potential once in list order on cleared arrays with the list
// built (atoms 1 and 2 are 1.5 A apart across the x face); folded positions go back into the
// records and the list is released. A keyword not known or not built stops the evaluation
// after the potentials before it ran.
TEST(Evaluation, SinglePointRunsEveryListedPotentialOnceAndFoldsPositions) {
    std::vector<pelix::AtomRecord> records = {atom(1, -1.0, 5.0, 12.5), atom(2, 0.5, 5.0, 2.0),
                                              atom(3, 5.0, 5.0, 5.0, 0)};
    pelix::Engine engine = make_engine(records, {"FAMB", "FAMA"}, 1);
    engine.atoms.pe = {7.0, 7.0, 7.0};  // stale values from an earlier call
    pelix::single_point_evaluation(engine, records);
    EXPECT_EQ(call_log,
              (std::vector<std::string>{"B elec pe 0.000000 list 2", "A elec pe 1.000000 list 2"}));
    EXPECT_EQ(engine.atoms.pe, std::vector<double>({2.0, 2.0, 2.0}));
    EXPECT_EQ(engine.ff.fx, std::vector<double>({4.0, 4.0, 4.0}));
    EXPECT_EQ(engine.ff.fy, std::vector<double>({0.0, 0.0, 0.0}));
    EXPECT_EQ(std::vector<double>({records[0].x, records[0].z, records[1].x}),
              std::vector<double>({9.0, 2.5, 0.5}));
    EXPECT_TRUE(engine.cells.celatm.empty() && engine.ff.nebpnt.empty() &&
                engine.ff.nebour.empty() && engine.ff.pbctyp.empty());
    EXPECT_EQ(engine.neighbours.nlstmx, 6000);

    for (const std::string keyword : {"NOPE", "UNBUILT"}) {
        engine = make_engine(records, {"FAMA", keyword}, 0);
        EXPECT_EQ(pelix::test_support::stop_of([&] {
                      pelix::single_point_evaluation(engine, records);
                  }).lines.at(0),
                  " nrerror: CALCULATE_INTERACTION: POTLST= " + keyword +
                      std::string(12 - keyword.size(), ' ') + " is unknown");
        EXPECT_EQ(call_log.size(), 1u);
    }
}

// The list is rebuilt when the two largest moves of free atoms together exceed the skin
// (0.3 A), or an atom leaves the fixing limits; every call evaluates.
TEST(Evaluation, UpdateForceRebuildsOnlyWhenNeeded) {
    std::vector<pelix::AtomRecord> records = {atom(1, 2.0, 2.0, 2.0), atom(2, 4.0, 2.0, 2.0),
                                              atom(3, 6.0, 6.0, 6.0, 0)};
    pelix::Engine engine = make_engine(records, {"FAMA"}, 1);
    const auto& state = engine.update;
    const auto saved = [&] { return std::vector<double>{state.RXOLD[0], state.RYOLD[1]}; };
    pelix::update_force(engine, records);  // the first call always builds
    EXPECT_EQ(state.RXOLD, std::vector<double>({2.0, 4.0, 6.0}));
    records[0].x += 0.2, records[1].y += 0.05, records[2].x += 1.0;  // 0.25: kept
    pelix::update_force(engine, records);
    EXPECT_EQ(saved(), std::vector<double>({2.0, 2.0}));
    records[1].y += 0.06;  // 0.31: rebuilt
    pelix::update_force(engine, records);
    EXPECT_EQ(saved(), std::vector<double>({records[0].x, records[1].y}));
    EXPECT_EQ(state.RXOLD[2], 7.0);
    EXPECT_EQ(state.num_force_evals, 3);
    EXPECT_EQ(call_log.size(), 3u);

    records = {atom(1, -0.4, 2.0, 2.0), atom(2, 1.0, 2.0, 2.0)};
    engine = make_engine(records, {"FAMA"}, 0);
    engine.config.fixatomsoutside = true;
    engine.config.latticeskin = 0.5;
    testing::internal::CaptureStdout();
    pelix::update_force(engine, records);
    records[0].x = -0.6;  // leaves the limits by a move the skin test alone would accept
    pelix::update_force(engine, records);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("fixing atoms if:"), out.rfind("fixing atoms if:"));  // once
    EXPECT_NE(out.find(" fixing atoms if: rx<"), std::string::npos);
    EXPECT_NE(out.find("or rz>"), std::string::npos);
    EXPECT_EQ(std::vector<double>({engine.update.INBOXXMIN, engine.update.INBOXYMAX,
                                   engine.update.NEWYPOS, engine.update.RXOLD[0]}),
              std::vector<double>({-0.5, 10.5, 100.0, -0.6}));
}

}  // namespace
