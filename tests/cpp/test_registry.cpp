// The potential registry: reading "potfor.IN", numbering the potentials, dispatching set-up
// and cut-off queries through a catalogue of recording families.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/registry.hpp"
#include "potentials/catalogue.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

std::vector<std::string> call_log;  // calls of the recording families, in order
constexpr std::string_view kRecorded[] = {"ACKLAND", "HeFePOT", "HeHePOT", "MEAM", "LONG", "Qeq"};

// Set-up records the keyword, the potential number and whether the electrostatics set-up ran
// before; the squared cut-off is 100 Za + Zb + the row number.
template <int Row>
void record_setup(Engine& engine, int32_t k) {
    call_log.push_back(std::string(kRecorded[Row]) + " " + std::to_string(k) +
                       (engine.electrostatics.elecfirstcall ? " after-electrostatics" : ""));
}
template <int Row>
double record_cutoff(Engine&, int32_t za, int32_t zb) {
    call_log.push_back(std::string(kRecorded[Row]) + " cutoff");
    return 100.0 * za + zb + Row;
}
void no_evaluation(Engine&) {}
template <int Row>
constexpr FamilyOps kOps{record_setup<Row>, record_cutoff<Row>, no_evaluation};
constexpr KeywordRow kTestCatalogue[] = {
    {"ACKLAND", "ackland", &kOps<0>},   {"HeFePOT", "hefepotl", &kOps<1>},
    {"HeHePOT", "hehepotl", &kOps<2>},  {"MEAM", "meam", &kOps<3>},
    {"LONGKEYWORD1", "long", &kOps<4>}, {"Qeq", "tio_potlvc", &kOps<5>},
    {"UNBUILT", "unbuilt", nullptr},
};

Engine fresh_engine() {
    Engine engine;
    engine.config.multipole_flag = 1;
    engine.catalogue = kTestCatalogue;
    call_log.clear();
    return engine;
}
void setup(Engine& engine, const std::vector<std::string>& symbols, const std::string& path) {
    setup_interaction_parameters(engine, static_cast<int32_t>(symbols.size()), symbols, 1, path);
}
std::vector<std::string> padded(std::vector<std::string> keywords) {
    for (auto& k : keywords)
        k.resize(12, ' ');
    return keywords;
}

// Potentials are numbered in the order their species pairs are first met (row by row), a
// record sets both orders of its pair, a later record wins, records of absent species or in
// the wrong case change nothing, a repeated symbol receives its records; each potential is set
// up once, in number order, after the electrostatics; cut-off queries reach the pair's family
// with the atomic numbers of species i and j.
TEST(Registry, NumbersPotentialsBySpeciesPairAndSetsThemUpInOrder) {
    test_support::ScratchDir dir;
    const struct {
        std::vector<std::string> symbols;
        std::string records;
        std::vector<std::string> potlst;
        std::vector<int32_t> potnum;
    } cases[] = {
        {{"Fe", "He"},
         "Fe Fe ACKLAND\n'Fe', He HeFePOT\nHe He HeHePOT\n",
         {"ACKLAND", "HeFePOT", "HeHePOT"},
         {1, 2, 2, 3}},
        {{"He", "Fe"},
         "He Fe HeFePOT\nFe Fe ACKLAND\nHe He HeHePOT\n",
         {"HeHePOT", "HeFePOT", "ACKLAND"},
         {1, 2, 2, 3}},
        {{"Fe", "He", "Fe"},
         "He He HeHePOT\nFe He MEAM\nHe Fe HeFePOT\nXe Xe MEAM\nFE FE MEAM\nFe Fe ACKLAND\n",
         {"ACKLAND", "HeFePOT", "HeHePOT"},
         {1, 2, 1, 2, 3, 2, 1, 2, 1}},
    };
    for (const auto& c : cases) {
        Engine engine = fresh_engine();
        const auto n = std::to_string(std::count(c.records.begin(), c.records.end(), '\n'));
        setup(engine, c.symbols, dir.write("potfor.IN", "title\ncomment\n" + n + "\n" + c.records));
        EXPECT_EQ(engine.registry.potlst, padded(c.potlst));
        EXPECT_EQ(engine.ff.potnum.data, c.potnum);
        std::vector<std::string> setups;
        for (std::size_t k = 0; k < c.potlst.size(); ++k)
            setups.push_back(c.potlst[k] + " " + std::to_string(k + 1) + " after-electrostatics");
        EXPECT_EQ(call_log, setups);
        EXPECT_EQ(engine.registry.pot_symbol, c.symbols);
        for (int32_t i = 0; i < 2; ++i)
            for (int32_t j = 0; j < 2; ++j)
                EXPECT_EQ(engine.registry.potype(i, j),
                          padded(c.potlst)[static_cast<std::size_t>(engine.ff.potnum(i, j) - 1)]);
    }
    Engine engine = fresh_engine();
    setup(engine, {"Fe", "He"}, dir.path("potfor.IN"));
    const std::vector<int32_t> anum{26, 2};
    call_log.clear();
    EXPECT_EQ(cutoff_distance_squared(engine, anum, 1, 0), 100.0 * 2 + 26 + 1);
    EXPECT_EQ(cutoff_distance_squared(engine, anum, 0, 1), 100.0 * 26 + 2 + 1);
    EXPECT_DOUBLE_EQ(sd_cutoff_distance(engine, anum, 1, 1, 0.3), std::sqrt(202.0 + 2) + 0.3);
    EXPECT_EQ(call_log,
              (std::vector<std::string>{"HeFePOT cutoff", "HeFePOT cutoff", "HeHePOT cutoff"}));
}

// The message of the nrerror stop thrown by `action`, without its " nrerror: " prefix.
template <class Action>
std::string stop_message(Action action) {
    const std::string line = test_support::stop_of(action).first();
    return line.rfind(" nrerror: ", 0) == 0 ? line.substr(10) : line;
}

// A keyword is matched on its first twelve characters, case and all, and named in full in the
// stop; the potentials before it were set up; a pair no record covers has a blank keyword;
// lines past the record count are never read; a catalogue row whose family is not built is
// unknown; more than fifty distinct keywords stop.
TEST(Registry, UnknownKeywordsAndTooManyPotentialsStop) {
    test_support::ScratchDir dir;
    const std::pair<std::string, std::string> cases[] = {
        {"3\nFe Fe MEAM\nHe He meam\nFe He 'MEAM    '\n", "meam        "},
        {"2\nFe Fe LONGKEYWORD1EXTRA\nFe He LONGKEYWORD2EXTRA\n", "LONGKEYWORD2"},
        {"2\nFe Fe ACKLAND\nHe He ACKLAND\n", ""},
        {"1\nFe Fe UNBUILT\n", "UNBUILT"},
        {"0\n", ""},
        {"-2\n, , ,\n", ""},
    };
    Engine engine;
    for (const auto& [body, entry] : cases) {
        engine = fresh_engine();
        const auto path = dir.write("potfor.IN", "t\nc\n" + body);
        EXPECT_EQ(stop_message([&] {
                      setup(engine, {"Fe", "He"}, path);
                  }),
                  "SETUP_INTERACTION_PARAMETERS: POTLST= " + padded({entry})[0] + " is unknown")
            << body;
    }
    EXPECT_EQ(engine.registry.nlines_potforin, -2);
    engine = fresh_engine();
    const auto first = dir.write("potfor.IN", "t\nc\n" + cases[0].first);
    test_support::stop_of([&] { setup(engine, {"Fe", "He"}, first); });
    EXPECT_EQ(call_log, std::vector<std::string>{"MEAM 1 after-electrostatics"});

    // Ten species give 55 unordered pairs; pair p (row by row) gets keyword K<min(p, last)>,
    // so `last` + 1 distinct keywords are in use.
    std::vector<std::string> symbols;
    for (int s = 0; s < 10; ++s)
        symbols.push_back("S" + std::to_string(s));
    for (const int last : {49, 50}) {
        engine = fresh_engine();
        std::string body = "t\nc\n55\n";
        for (int a = 0, pair = 0; a < 10; ++a)
            for (int b = a; b < 10; ++b, ++pair)
                body += symbols[a] + " " + symbols[b] + " K" +
                        std::to_string(std::min(pair, last)) + "\n";
        const auto path = dir.write("potfor.IN", body);
        EXPECT_EQ(stop_message([&] { setup(engine, symbols, path); }),
                  last == 49 ? "SETUP_INTERACTION_PARAMETERS: POTLST= K0           is unknown"
                             : "SETUP_INTERACTION_PARAMETERS:NUM_POTS > MAX_NUM_POTS");
    }
    engine = fresh_engine();  // a missing file is an input error, and nothing is kept
    test_support::input_error_text([&] { setup(engine, {"Fe"}, dir.path("none.IN")); });
    EXPECT_FALSE(engine.registry.read_potforin);
}

// The file is read once per engine: finalise releases the per-call arrays (not the force-field
// state, not the counters) and the next set-up rebuilds from the stored records, file or not.
TEST(Registry, FileIsReadOncePerEngineAndFinaliseReleasesThePerCallArrays) {
    test_support::ScratchDir dir;
    Engine engine = fresh_engine();
    const auto path =
        dir.write("potfor.IN", "t\nc\n3\nFe Fe ACKLAND\nFe He HeFePOT\nHe He HeHePOT\n");
    setup(engine, {"Fe", "He"}, path);
    engine.neighbours.radius.assign(2, 1.0);
    engine.atoms.pe.assign(2, 1.0);
    engine.ff.fx.assign(2, 1.0);
    potfor_finalise(engine);
    const auto& registry = engine.registry;
    EXPECT_FALSE(registry.allocated || registry.potype.allocated() ||
                 engine.ff.potnum.allocated() || engine.neighbours.radius.allocated());
    EXPECT_TRUE(registry.potlst.empty() && engine.atoms.pe.empty());
    EXPECT_EQ(engine.ff.fx.size(), 2u);
    EXPECT_EQ(registry.num_pots, 3);
    std::filesystem::remove(path);
    call_log.clear();
    setup(engine, {"He"}, path);
    EXPECT_EQ(registry.potlst, padded({"HeHePOT"}));
    EXPECT_EQ(call_log, std::vector<std::string>{"HeHePOT 1 after-electrostatics"});
    setup(engine, {"He", "Fe"}, path);  // without finalise in between
    EXPECT_EQ(registry.potlst, padded({"HeHePOT", "HeFePOT", "ACKLAND"}));
}

// Charge equilibration pairs answer 8 A without asking a family; an unknown keyword stops.
TEST(Registry, CutoffQueriesOfChargeEquilibrationAndUnknownKeywords) {
    test_support::ScratchDir dir;
    Engine engine = fresh_engine();
    setup(engine, {"Fe", "O_"},
          dir.write("potfor.IN", "t\nc\n3\nFe Fe Qeq\nFe O_ Qeq\nO_ O_ ACKLAND\n"));
    const std::vector<int32_t> anum{26, 8};
    call_log.clear();
    EXPECT_EQ(cutoff_distance_squared(engine, anum, 0, 1), 64.0);
    EXPECT_EQ(sd_cutoff_distance(engine, anum, 1, 0, 0.3), 8.0 + 0.3);
    EXPECT_TRUE(call_log.empty());
    engine.registry.potype(1, 1) = "UNBUILT     ";
    EXPECT_EQ(stop_message([&] { cutoff_distance_squared(engine, anum, 1, 1); }),
              "CUT_OFF_DISTANCE_SQUARED: POTYPE is unknown");
    EXPECT_EQ(stop_message([&] { sd_cutoff_distance(engine, anum, 1, 1, 0.3); }),
              "SD_CUTOFF_DISTANCE: POTYPE is unknown");
}

}  // namespace
}  // namespace pelix
