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

// Calls of the recording families, in order.
std::vector<std::string>& call_log() {
    static std::vector<std::string> log;
    return log;
}

constexpr std::string_view kRecordedKeywords[] = {"ACKLAND", "HeFePOT",      "HeHePOT",
                                                  "MEAM",    "LONGKEYWORD1", "Qeq"};

// Set-up records the keyword, the potential number and whether the electrostatics set-up ran
// before; the squared cut-off is 100 Za + Zb + the row number, so tests see which family
// answered and with which atomic numbers.
template <int Row>
void record_setup(Engine& engine, int32_t k) {
    call_log().push_back(std::string(kRecordedKeywords[Row]) + " " + std::to_string(k) +
                         (engine.electrostatics.elecfirstcall ? " after-electrostatics" : ""));
}
template <int Row>
double record_cutoff(Engine& /*engine*/, int32_t za, int32_t zb) {
    call_log().push_back(std::string(kRecordedKeywords[Row]) + " cutoff");
    return 100.0 * za + zb + Row;
}
void no_evaluation(Engine& /*engine*/) {}

template <int Row>
constexpr FamilyOps kRecordingOps{record_setup<Row>, record_cutoff<Row>, no_evaluation};

constexpr KeywordRow kTestCatalogue[] = {
    {"ACKLAND", "ackland", &kRecordingOps<0>},
    {"HeFePOT", "hefepotl", &kRecordingOps<1>},
    {"HeHePOT", "hehepotl", &kRecordingOps<2>},
    {"MEAM", "meam", &kRecordingOps<3>},
    {"LONGKEYWORD1", "long", &kRecordingOps<4>},
    {"Qeq", "tio_potlvc", &kRecordingOps<5>},
    {"UNBUILT", "unbuilt", nullptr},
};

class Registry : public ::testing::Test {
  protected:
    static Engine fresh_engine() {
        Engine engine;
        engine.config.multipole_flag = 1;
        engine.catalogue = kTestCatalogue;
        return engine;
    }
    void SetUp() override {
        call_log().clear();
        engine_ = fresh_engine();
    }
    std::string write_potfor(const std::string& body) { return dir_.write("potfor.IN", body); }
    void setup(const std::vector<std::string>& symbols, const std::string& path) {
        setup_interaction_parameters(engine_, static_cast<int32_t>(symbols.size()), symbols, 1,
                                     path);
    }
    // The message of the nrerror stop thrown by `action`, without its " nrerror: " prefix.
    template <class Action>
    static std::string stop_message(Action action) {
        const std::string line = test_support::stop_of(action).first();
        return line.rfind(" nrerror: ", 0) == 0 ? line.substr(10) : line;
    }

    test_support::ScratchDir dir_;
    Engine engine_;
};

const std::string kFeHe = "title\ncomment\n3\nFe Fe ACKLAND\n'Fe', He HeFePOT\nHe He HeHePOT\n";

TEST_F(Registry, NumbersPotentialsBySpeciesPairAndSetsThemUpInOrder) {
    setup({"Fe", "He"}, write_potfor(kFeHe));
    const auto& registry = engine_.registry;
    EXPECT_TRUE(registry.read_potforin);
    EXPECT_TRUE(registry.allocated);
    EXPECT_EQ(registry.num_pots, 3);
    EXPECT_EQ(registry.potlst,
              (std::vector<std::string>{"ACKLAND     ", "HeFePOT     ", "HeHePOT     "}));
    EXPECT_EQ(engine_.ff.potnum.data, (std::vector<int32_t>{1, 2, 2, 3}));
    EXPECT_EQ(call_log(), (std::vector<std::string>{"ACKLAND 1 after-electrostatics",
                                                    "HeFePOT 2 after-electrostatics",
                                                    "HeHePOT 3 after-electrostatics"}));

    // Cut-off queries reach the pair's family with the atomic numbers of species i and j.
    const std::vector<int32_t> anum{26, 2};
    EXPECT_EQ(cutoff_distance_squared(engine_, anum, 1, 0), 100.0 * 2 + 26 + 1);
    EXPECT_EQ(cutoff_distance_squared(engine_, anum, 0, 1), 100.0 * 26 + 2 + 1);
    EXPECT_DOUBLE_EQ(sd_cutoff_distance(engine_, anum, 1, 1, 0.3), std::sqrt(202.0 + 2) + 0.3);
}

TEST_F(Registry, LaterRecordsWinAndFirstSpeciesPairIsAlwaysPotentialOne) {
    // He-He comes first in the file, a He-Fe record overrides Fe-He in both orders, a record
    // for absent species and a record in the wrong case change nothing, and the repeated Fe
    // symbol receives every Fe record.
    setup({"Fe", "He", "Fe"}, write_potfor("t\nc\n6\nHe He HeHePOT\nFe He MEAM\nHe Fe HeFePOT\n"
                                           "Xe Xe MEAM\nFE FE MEAM\nFe Fe ACKLAND\n"));
    const auto& registry = engine_.registry;
    EXPECT_EQ(registry.potlst,
              (std::vector<std::string>{"ACKLAND     ", "HeFePOT     ", "HeHePOT     "}));
    EXPECT_EQ(registry.potype(0, 1), "HeFePOT     ");
    EXPECT_EQ(registry.potype(1, 0), "HeFePOT     ");
    EXPECT_EQ(engine_.ff.potnum.data, (std::vector<int32_t>{1, 2, 1, 2, 3, 2, 1, 2, 1}));
    EXPECT_EQ(registry.pot_symbol, (std::vector<std::string>{"Fe", "He", "Fe"}));
}

TEST_F(Registry, UnknownKeywordsStopWithTheFullTwelveCharacterEntry) {
    const std::string prefix = "SETUP_INTERACTION_PARAMETERS: POTLST= ";
    {  // lower case does not match; the potentials before it were already set up
        const auto path = write_potfor("t\nc\n3\nFe Fe MEAM\nHe He meam\nFe He 'MEAM    '\n");
        const auto message = stop_message([&] { setup({"Fe", "He"}, path); });
        EXPECT_EQ(message, prefix + "meam         is unknown");
        EXPECT_EQ(message.size(), 61u);
        EXPECT_EQ(call_log(), std::vector<std::string>{"MEAM 1 after-electrostatics"});
    }
    const std::vector<std::pair<std::string, std::string>> cases = {
        // a keyword longer than twelve characters is cut before matching
        {"t\nc\n2\nFe Fe LONGKEYWORD1EXTRA\nFe He LONGKEYWORD2EXTRA\n", "LONGKEYWORD2"},
        // a pair no record covers has a blank keyword
        {"t\nc\n2\nFe Fe ACKLAND\nHe He ACKLAND\n", "            "},
        // a catalogue row whose family is not built is unknown
        {"t\nc\n1\nFe Fe UNBUILT\n", "UNBUILT     "},
        // no records at all; lines past the count are never read
        {"t\nc\n0\n", "            "},
        {"t\nc\n-2\n, , ,\n", "            "},
    };
    for (const auto& [body, entry] : cases) {
        engine_ = fresh_engine();
        const auto path = write_potfor(body);
        EXPECT_EQ(stop_message([&] {
                      setup({"Fe", "He"}, path);
                  }),
                  prefix + entry + " is unknown")
            << body;
    }
    EXPECT_EQ(engine_.registry.nlines_potforin, -2);
}

TEST_F(Registry, MoreThanFiftyDistinctKeywordsStop) {
    // Ten species give 55 unordered pairs; pair p (in row-scan order) gets keyword K<min(p,
    // last)>, so `last` + 1 distinct keywords are in use.
    std::vector<std::string> symbols;
    for (int s = 0; s < 10; ++s)
        symbols.push_back("S" + std::to_string(s));
    for (const int last : {49, 50}) {
        engine_ = fresh_engine();
        std::string body = "t\nc\n55\n";
        int pair = 0;
        for (int a = 0; a < 10; ++a) {
            for (int b = a; b < 10; ++b, ++pair)
                body += symbols[a] + " " + symbols[b] + " K" +
                        std::to_string(std::min(pair, last)) + "\n";
        }
        const auto path = write_potfor(body);
        const auto message = stop_message([&] { setup(symbols, path); });
        if (last == 49)
            EXPECT_EQ(message, "SETUP_INTERACTION_PARAMETERS: POTLST= K0           is unknown");
        else
            EXPECT_EQ(message, "SETUP_INTERACTION_PARAMETERS:NUM_POTS > MAX_NUM_POTS");
    }
}

TEST_F(Registry, FileIsReadOncePerEngineAndFinaliseReleasesThePerCallArrays) {
    const auto path = write_potfor(kFeHe);
    setup({"Fe", "He"}, path);

    engine_.neighbours.radius.assign(2, 1.0);
    engine_.atoms.pe.assign(2, 1.0);
    engine_.ff.fx.assign(2, 1.0);
    potfor_finalise(engine_);
    const auto& registry = engine_.registry;
    EXPECT_FALSE(registry.allocated || registry.potype.allocated() ||
                 engine_.ff.potnum.allocated());
    EXPECT_TRUE(registry.potlst.empty() && engine_.atoms.pe.empty());
    EXPECT_FALSE(engine_.neighbours.radius.allocated());
    EXPECT_EQ(engine_.ff.fx.size(), 2u);  // not the registry's
    EXPECT_EQ(registry.num_pots, 3);      // counters are not reset

    // The next set-up rebuilds from the stored records, even with the file gone.
    std::filesystem::remove(path);
    call_log().clear();
    setup({"He"}, path);
    EXPECT_EQ(registry.potlst, std::vector<std::string>{"HeHePOT     "});
    EXPECT_EQ(engine_.ff.potnum.data, std::vector<int32_t>{1});
    EXPECT_EQ(call_log(), std::vector<std::string>{"HeHePOT 1 after-electrostatics"});

    // A set-up without finalise in between rebuilds as well.
    setup({"He", "Fe"}, path);
    EXPECT_EQ(registry.potlst,
              (std::vector<std::string>{"HeHePOT     ", "HeFePOT     ", "ACKLAND     "}));
    EXPECT_EQ(engine_.ff.potnum.data, (std::vector<int32_t>{1, 2, 2, 3}));
}

TEST_F(Registry, MissingFileIsAnInputError) {
    test_support::input_error_text([&] { setup({"Fe"}, dir_.path("potfor.IN")); });
    EXPECT_FALSE(engine_.registry.read_potforin);
}

TEST_F(Registry, CutoffQueriesOfChargeEquilibrationAndUnknownKeywords) {
    setup({"Fe", "O_"}, write_potfor("t\nc\n3\nFe Fe Qeq\nFe O_ Qeq\nO_ O_ ACKLAND\n"));
    const std::vector<int32_t> anum{26, 8};
    call_log().clear();
    EXPECT_EQ(cutoff_distance_squared(engine_, anum, 0, 1), 64.0);
    EXPECT_EQ(sd_cutoff_distance(engine_, anum, 1, 0, 0.3), 8.0 + 0.3);
    EXPECT_TRUE(call_log().empty());  // no family cut-off asked

    engine_.registry.potype(1, 1) = "UNBUILT     ";
    EXPECT_EQ(stop_message([&] { cutoff_distance_squared(engine_, anum, 1, 1); }),
              "CUT_OFF_DISTANCE_SQUARED: POTYPE is unknown");
    EXPECT_EQ(stop_message([&] { sd_cutoff_distance(engine_, anum, 1, 1, 0.3); }),
              "SD_CUTOFF_DISTANCE: POTYPE is unknown");
}

}  // namespace
}  // namespace pelix
