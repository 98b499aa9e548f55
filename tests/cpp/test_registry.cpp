// The atom store (reallocation, staging, species, energies); the potential registry (reading
// "potfor.IN", numbering the potentials, dispatching set-up and cut-off queries), the
// evaluation of the listed potentials and the force-call driver, each through a catalogue of
// recording families.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "atoms/atom_store.hpp"
#include "atoms/force_field_state.hpp"
#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "force_call_support.hpp"
#include "interaction/cells.hpp"
#include "interaction/evaluation.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/registry.hpp"
#include "interface/driver.hpp"
#include "potentials/catalogue.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

template <class T>
std::vector<T> operator+(std::vector<T> a, const std::vector<T>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A record whose fields all differ from one another and from the defaults.
AtomRecord record(int32_t id, int32_t specie, int32_t latyp, double v = 0.0) {
    return {id, specie, 1.0 * id, 2.0 * id, 3.0 * id, latyp, -0.5 * id, v, 2.0 * v, -v};
}

// Resizing keeps the leading records and gives new ones the defaults; a first list (also the
// first after freeing) replaces nothing; a freed list leaves its memory to the next, and a list
// far smaller than its memory gives it back.
TEST(AtomStore, ReallocationAndStagingKeepLeadingRecordsAndReuseMemory) {
    AtomStore store;
    reallocate_atom_array(store, 40);  // a first list: counted as no reallocation
    for (int32_t k = 0; k < 40; ++k)
        store.list[k] = record(k + 1, k, 1, 0.1 * k);
    reallocate_atom_array(store, 3);
    reallocate_atom_array(store, 5);
    ASSERT_EQ(store.list.size(), 5u);
    EXPECT_TRUE(store.list[2].vy == 0.2 * 2 && store.list[2].charge == -1.5);
    EXPECT_TRUE(store.list[4].id == 0 && store.list[4].x == 0 && store.list[4].vz == 0 &&
                store.list[4].latyp == 0 && store.reallocations == 2);
    reallocate_atom_array(store, 40);
    const AtomRecord* memory = store.list.data();
    store.symbol = {"Fe"};
    free_atom_list_and_species(store);
    EXPECT_TRUE(store.list.empty() && store.symbol.capacity() == 0u);
    reallocate_atom_array(store, 30);
    EXPECT_TRUE(store.list.data() == memory && store.reallocations == 3);
    reallocate_atom_array(store, 5);
    EXPECT_LE(store.list.capacity(), 5u);
    reallocate_atom_array(store, -4);
    EXPECT_TRUE(store.list.empty());

    // Staged copies of the first n records, made again at every staging.
    ForceFieldState ff;
    std::vector<AtomRecord> records = {record(1, 0, 1), record(2, 1, 0), record(3, 2, -3)};
    duplication_of_atom_vars(ff, 3, records);
    records[0].x = 42.0;
    duplication_of_atom_vars(ff, 2, records);
    EXPECT_EQ(std::vector<int32_t>(ff.idnum) + ff.specie + ff.latyp,
              (std::vector<int32_t>{1, 2, 0, 1, 1, 0}));
    EXPECT_EQ(ff.rx + ff.ry + ff.rz + ff.charg,
              (std::vector<double>{42.0, 2.0, 2.0, 4.0, 3.0, 6.0, -0.5, -1.0}));
}

TEST(AtomStore, SpeciesAndEnergies) {
    const std::vector<std::string> symbols = {"Fe", "O_", "Fe", "Ti"};
    EXPECT_EQ(specie_for_atom("Fe", symbols), 2);  // the later entry wins
    EXPECT_EQ(specie_for_atom("O", symbols), -1);
    int32_t numel = 0;
    std::vector<std::string> registered = {"stale", "entries"};
    for (const char* sym : {"Fe", "O_", "Fe", "O_", "Ti"})
        checking_for_numel(sym, numel, registered);
    EXPECT_EQ(registered + std::vector<std::string>{std::to_string(numel)},
              std::vector<std::string>({"Fe", "O_", "Ti", "3"}));

    // Only free atoms (type not 0) among the first mylt count: ke = m (1 + 4 + 1) v^2 / 2.
    AtomStore store;
    store.mass = {2.0, 10.0};
    store.list = {record(1, 0, 1, 1.0), record(2, 1, 0, 1.0), record(3, 1, -1, 1.0),
                  record(4, 1, 2, 0.5), record(5, 0, 1, 3.0)};
    store.pe = {-1.0, -2.0, -4.0, -8.0, -16.0};
    EXPECT_EQ(tte(store), 0.0);  // mylt = 0
    store.mylt = 4;
    EXPECT_EQ(std::vector<double>({ke(store, store.list[1]), tke(store), tpe(store), tte(store)}),
              std::vector<double>({30.0, 6.0 + 7.5, -15.0, -1.5}));
}

std::vector<std::string> call_log;  // calls of the recording families, in order
constexpr std::string_view kRecorded[] = {"ACKLAND", "HeFePOT", "HeHePOT", "MEAM", "LONG", "Qeq"};

// Set-up records the keyword, the potential number and whether the electrostatics set-up ran
// before; the squared cut-off is 4 + the row number between like atoms, else 100 Za + Zb + the
// row number; evaluation records the keyword, whether the electrostatics ran, the pe of atom 0
// on entry and the list entries, and adds 1 to every pe and push[i] to the fx of atom i.
std::vector<double> push;
template <int Row>
void record_setup(Engine& engine, int32_t k) {
    call_log.push_back(std::string(kRecorded[Row]) + " " + std::to_string(k) +
                       (engine.electrostatics.elecfirstcall ? " after-electrostatics" : ""));
}
template <int Row>
double record_cutoff(Engine&, int32_t za, int32_t zb) {
    call_log.push_back(std::string(kRecorded[Row]) + " cutoff");
    return (za == zb ? 4.0 : 100.0 * za + zb) + Row;
}
template <int Row>
void record_evaluation(Engine& engine) {
    call_log.push_back(std::string(kRecorded[Row]) +
                       (engine.electrostatics.elecfirstcall ? "" : " elec") + " pe " +
                       std::to_string(engine.atoms.pe.at(0)) + " list " +
                       std::to_string(engine.ff.nebpnt.at(engine.atoms.mylt)));
    for (int32_t i = 0; i < engine.atoms.mylt; ++i)
        engine.atoms.pe[i] += 1.0, engine.ff.fx[i] += push.at(static_cast<std::size_t>(i));
}
template <int Row>
constexpr FamilyOps kOps{record_setup<Row>, record_cutoff<Row>, record_evaluation<Row>};
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
    return engine;
}
// Sets the potentials up for the species, the call log starting afresh.
void setup(Engine& engine, const std::vector<std::string>& symbols, const std::string& path) {
    call_log.clear();
    setup_interaction_parameters(engine, static_cast<int32_t>(symbols.size()), symbols, 1, path);
}
std::vector<std::string> padded(std::vector<std::string> keywords) {
    for (auto& k : keywords)
        k.resize(12, ' ');
    return keywords;
}

// The message of the nrerror stop thrown by `action`, without its " nrerror: " prefix.
template <class Action>
std::string stop_message(Action action) {
    const std::string line = test_support::stop_of(action).first();
    return line.rfind(" nrerror: ", 0) == 0 ? line.substr(10) : line;
}

// Potentials are numbered in the order their species pairs are first met (row by row), a
// record sets both orders of its pair, a later record wins, records of absent species or in
// the wrong case change nothing, a repeated symbol receives its records; each potential is set
// up once, in number order, after the electrostatics; cut-off queries reach the pair's family
// with the atomic numbers of species i and j.
TEST(Registry, NumbersPotentialsBySpeciesPairSetsThemUpInOrderAndKeepsTheRecords) {
    test_support::ScratchDir dir;
    // Species, records, the potentials listed and the number of each species pair's potential.
    using Strings = std::vector<std::string>;
    const std::tuple<Strings, std::string, Strings, std::vector<int32_t>> cases[] = {
        // clang-format off
        {{"Fe", "He"}, "Fe Fe ACKLAND\n'Fe', He HeFePOT\nHe He HeHePOT\n",
         {"ACKLAND", "HeFePOT", "HeHePOT"}, {1, 2, 2, 3}},
        {{"He", "Fe"}, "He Fe HeFePOT\nFe Fe ACKLAND\nHe He HeHePOT\n",
         {"HeHePOT", "HeFePOT", "ACKLAND"}, {1, 2, 2, 3}},
        {{"Fe", "He", "Fe"},
         "He He HeHePOT\nFe He MEAM\nHe Fe HeFePOT\nXe Xe MEAM\nFE FE MEAM\nFe Fe ACKLAND\n",
         {"ACKLAND", "HeFePOT", "HeHePOT"}, {1, 2, 1, 2, 3, 2, 1, 2, 1}},
        // clang-format on
    };
    for (const auto& [symbols, records, potlst, potnum] : cases) {
        Engine engine = fresh_engine();
        const auto n = std::to_string(std::count(records.begin(), records.end(), '\n'));
        setup(engine, symbols, dir.write("potfor.IN", "title\ncomment\n" + n + "\n" + records));
        EXPECT_EQ(engine.registry.potlst, padded(potlst));
        EXPECT_EQ(engine.ff.potnum.data, potnum);
        Strings setups;
        for (std::size_t k = 0; k < potlst.size(); ++k)
            setups.push_back(potlst[k] + " " + std::to_string(k + 1) + " after-electrostatics");
        EXPECT_EQ(call_log, setups);
    }
    // Charge equilibration pairs answer 8 A without asking a family; an unknown keyword stops.
    Engine engine = fresh_engine();
    setup(engine, {"Fe", "He"},
          dir.write("potfor.IN", "t\nc\n3\nFe Fe Qeq\nFe He HeFePOT\nHe He HeHePOT\n"));
    const std::vector<int32_t> anum{26, 2};
    call_log.clear();
    EXPECT_EQ(cutoff_distance_squared(engine, anum, 1, 0), 100.0 * 2 + 26 + 1);
    EXPECT_EQ(cutoff_distance_squared(engine, anum, 0, 1), 100.0 * 26 + 2 + 1);
    EXPECT_DOUBLE_EQ(sd_cutoff_distance(engine, anum, 1, 1, 0.3), std::sqrt(4.0 + 2) + 0.3);
    EXPECT_EQ(cutoff_distance_squared(engine, anum, 0, 0), 64.0);
    EXPECT_EQ(sd_cutoff_distance(engine, anum, 0, 0, 0.3), 8.0 + 0.3);
    EXPECT_EQ(call_log,
              (std::vector<std::string>{"HeFePOT cutoff", "HeFePOT cutoff", "HeHePOT cutoff"}));
    engine.registry.potype(1, 1) = "UNBUILT     ";
    EXPECT_EQ(stop_message([&] { cutoff_distance_squared(engine, anum, 1, 1); }),
              "CUT_OFF_DISTANCE_SQUARED: POTYPE is unknown");
    EXPECT_EQ(stop_message([&] { sd_cutoff_distance(engine, anum, 1, 1, 0.3); }),
              "SD_CUTOFF_DISTANCE: POTYPE is unknown");
    // The file is read once per engine: finalise keeps the counters and the next set-up
    // rebuilds from the stored records, file or not.
    potfor_finalise(engine);
    const auto& registry = engine.registry;
    EXPECT_FALSE(registry.allocated || registry.potype.allocated() || engine.ff.potnum.allocated());
    EXPECT_EQ(registry.num_pots, 3);
    std::filesystem::remove(dir.path("potfor.IN"));
    setup(engine, {"He"}, dir.path("potfor.IN"));
    EXPECT_EQ(registry.potlst, padded({"HeHePOT"}));
    EXPECT_EQ(call_log, std::vector<std::string>{"HeHePOT 1 after-electrostatics"});
    setup(engine, {"He", "Fe"}, dir.path("potfor.IN"));  // without finalise in between
    EXPECT_EQ(registry.potlst, padded({"HeHePOT", "HeFePOT", "Qeq"}));
}

// A keyword is matched on its first twelve characters, case and all, and named in full in the
// stop; the potentials before it were set up; a pair no record covers has a blank keyword;
// lines past the record count are never read; a catalogue row whose family is not built is
// unknown; more than fifty distinct keywords stop.
TEST(Registry, UnknownKeywordsAndTooManyPotentialsStop) {
    test_support::ScratchDir dir;
    // The records, the keyword the stop names and the number of potentials set up before it.
    const std::tuple<std::string, std::string, std::size_t> cases[] = {
        {"3\nFe Fe MEAM\nHe He meam\nFe He 'MEAM    '\n", "meam        ", 1},
        {"2\nFe Fe LONGKEYWORD1EXTRA\nFe He LONGKEYWORD2EXTRA\n", "LONGKEYWORD2", 1},
        {"2\nFe Fe ACKLAND\nHe He ACKLAND\n", "", 1},
        {"1\nFe Fe UNBUILT\n", "UNBUILT", 0},
        {"-2\n, , ,\n", "", 0},
    };
    Engine engine;
    const std::vector<std::string> fe_he{"Fe", "He"};
    for (const auto& [body, entry, set_up] : cases) {
        engine = fresh_engine();
        const auto path = dir.write("potfor.IN", "t\nc\n" + body);
        EXPECT_EQ(stop_message([&] { setup(engine, fe_he, path); }),
                  "SETUP_INTERACTION_PARAMETERS: POTLST= " + padded({entry})[0] + " is unknown")
            << body;
        EXPECT_EQ(call_log.size(), set_up) << body;
    }
    EXPECT_EQ(engine.registry.nlines_potforin, -2);

    // Ten species give 55 unordered pairs; pair p (row by row) gets keyword K<min(p, last)>,
    // so `last` + 1 distinct keywords are in use.
    const std::vector<std::string> symbols{"S0", "S1", "S2", "S3", "S4",
                                           "S5", "S6", "S7", "S8", "S9"};
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
}

// A 10 A box holding the records, with the recording families in the given order, the
// neighbour set-up done and the electrostatics set up without settings files.
Engine make_engine(const std::vector<AtomRecord>& records, const std::vector<std::string>& potlst,
                   int32_t pbc) {
    Engine engine = fresh_engine();
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = pbc;
    engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 10.0;
    engine.atoms.mylt = static_cast<int32_t>(records.size());
    engine.atoms.numel = 1, engine.atoms.anum = {26}, engine.registry.pot_numprocs = 1;
    engine.registry.potype.assign(1, potlst.front());
    engine.registry.potlst = potlst, engine.registry.num_pots = int32_t(potlst.size());
    define_myprocess_boundaries(engine);
    double range = 0.0;
    setup_nebour_parameters(engine, range);
    setup_prms_for_electrostatics(engine);
    call_log.clear();  // the cut-off queries of the neighbour set-up
    push = {2.0, 2.0, 2.0};
    return engine;
}

// A record of species 0 at (x, y, z) with lattice type `latyp` (free unless 0).
AtomRecord atom(int32_t id, double x, double y, double z, int32_t latyp = 1) {
    return {id, 0, x, y, z, latyp};
}

// Electrostatics, then each listed potential once in list order on cleared arrays with the list
// built (atoms 1 and 2 are 1.5 A apart across the x face); folded positions go back into the
// records and the list is released. A keyword not known or not built stops the evaluation
// after the potentials before it ran.
TEST(Evaluation, SinglePointRunsEveryListedPotentialOnceAndFoldsPositions) {
    std::vector<AtomRecord> records = {atom(1, -1.0, 5.0, 12.5), atom(2, 0.5, 5.0, 2.0),
                                       atom(3, 5.0, 5.0, 5.0, 0)};
    Engine engine = make_engine(records, {"HeFePOT", "ACKLAND"}, 1);
    engine.atoms.pe = {7.0, 7.0, 7.0};  // stale values from an earlier call
    single_point_evaluation(engine, records);
    EXPECT_EQ(call_log, (std::vector<std::string>{"HeFePOT elec pe 0.000000 list 2",
                                                  "ACKLAND elec pe 1.000000 list 2"}));
    EXPECT_EQ(engine.atoms.pe + engine.ff.fx, std::vector<double>({2.0, 2.0, 2.0, 4.0, 4.0, 4.0}));
    EXPECT_EQ(std::vector<double>({records[0].x, records[0].z, records[1].x}),
              std::vector<double>({9.0, 2.5, 0.5}));
    EXPECT_TRUE(engine.cells.celatm.empty() && engine.ff.nebpnt.empty() &&
                engine.ff.nebour.empty() && engine.ff.pbctyp.empty());

    for (const std::string keyword : {"NOPE", "UNBUILT"}) {
        engine = make_engine(records, {"ACKLAND", keyword}, 0);
        EXPECT_EQ(stop_message([&] { single_point_evaluation(engine, records); }),
                  "CALCULATE_INTERACTION: POTLST= " + padded({keyword})[0] + " is unknown");
        EXPECT_EQ(call_log.size(), 1u);
    }
}

// The list is rebuilt when the two largest moves of free atoms together exceed the skin
// (0.3 A), or an atom leaves the fixing limits; every call evaluates.
TEST(Evaluation, UpdateForceRebuildsOnlyWhenNeeded) {
    std::vector<AtomRecord> records = {atom(1, 2.0, 2.0, 2.0), atom(2, 4.0, 2.0, 2.0),
                                       atom(3, 6.0, 6.0, 6.0, 0)};
    Engine engine = make_engine(records, {"ACKLAND"}, 1);
    const auto& state = engine.update;
    const auto saved = [&] { return std::vector<double>{state.RXOLD[0], state.RYOLD[1]}; };
    update_force(engine, records);  // the first call always builds
    EXPECT_EQ(state.RXOLD, std::vector<double>({2.0, 4.0, 6.0}));
    records[0].x += 0.2, records[1].y += 0.05, records[2].x += 1.0;  // 0.25: kept
    update_force(engine, records);
    EXPECT_EQ(saved(), std::vector<double>({2.0, 2.0}));
    records[1].y += 0.06;  // 0.31: rebuilt
    update_force(engine, records);
    EXPECT_EQ(saved(), std::vector<double>({records[0].x, records[1].y}));
    EXPECT_EQ(std::make_tuple(state.RXOLD[2], state.num_force_evals, call_log.size()),
              std::make_tuple(7.0, 3, std::size_t{3}));

    records = {atom(1, -0.4, 2.0, 2.0), atom(2, 1.0, 2.0, 2.0)};
    engine = make_engine(records, {"ACKLAND"}, 0);
    engine.config.fixatomsoutside = true, engine.config.latticeskin = 0.5;
    testing::internal::CaptureStdout();
    update_force(engine, records);
    records[0].x = -0.6;  // leaves the limits by a move the skin test alone would accept
    update_force(engine, records);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("fixing atoms if:"), out.rfind("fixing atoms if:"));  // once
    EXPECT_TRUE(out.find(" fixing atoms if: rx<") != out.npos && out.find("or rz>") != out.npos);
    EXPECT_EQ(std::vector<double>({engine.update.INBOXXMIN, engine.update.INBOXYMAX,
                                   engine.update.NEWYPOS, engine.update.RXOLD[0]}),
              std::vector<double>({-0.5, 10.5, 100.0, -0.6}));
}

// The driver end to end: four Fe atoms along x at 1, 3, 5, 7 in a 10 A box, the first in the
// fixed slab. Forces start at -1 so that atoms not reported keep it; of equal largest forces
// the earlier atom is named; everything built for the call is released again.
TEST(Driver, FixedAtomsStagingAndReportedAtoms) {
    test_support::ScratchDir dir{true};
    dir.write("pelix.IN", test_support::run_configuration_text(1));
    dir.write("lattice.IN", "1\nFX 0.0 2.0\n0\n0\n");
    dir.write("potfor.IN", "title\ncomment\n1\nFe Fe ACKLAND\n");
    Engine engine;
    engine.catalogue = kTestCatalogue;
    // Calc and main indexes, each staged atom's push, the x forces reported, the atom with the
    // largest force and that force, the total energy.
    using Ints = std::vector<int32_t>;
    using Doubles = std::vector<double>;
    const std::tuple<Ints, Ints, Doubles, Doubles, int32_t, double, double> cases[] = {
        {{}, {}, {5, 2, 2, 1}, {0, 2, 2, 1}, 1, 2.0, 4.0},
        {{3, 0}, {}, {4, 3}, {0, -1, -1, 4}, 3, 4.0, 2.0},  // staging position 0 is atom 3
        {{3, 0}, {0}, {4, 3}, {0, -1, -1, -1}, -1, 0.0, 1.0},
    };
    for (const auto& [calc, main, pushes, fx, maxforceatom, maxforce, energy] : cases) {
        // clang-format off
        test_support::WholeCall w{{0, 0, 0, 0}, {1, 5, 5, 3, 5, 5, 5, 5, 5, 7, 5, 5}, {0, 0, 0, 0},
                                  {}, {9, 9, 9, 9}, {9, 9, 9, 9}, calc, main};
        // clang-format on
        push = pushes;
        CalcForceCall call = w.call("Fe", 1, 10.0);
        w.force.assign(12, -1.0);
        CalcForceResult result;
        calcforce(engine, call, result);
        std::vector<double> force;  // y and z untouched (-1) or zero
        for (double x : fx)
            force.insert(force.end(), {x, x == -1 ? -1.0 : 0.0, x == -1 ? -1.0 : 0.0});
        EXPECT_EQ(w.force, force);
        EXPECT_EQ(std::tie(result.status, result.maxforceatom, result.maxforce, result.totalenergy),
                  std::make_tuple(0, maxforceatom, maxforce, energy));
        EXPECT_FALSE(engine.atoms.list_allocated || engine.registry.allocated);
        EXPECT_TRUE(engine.ff.fx.empty() && engine.ff.nebour.empty());
    }
}

}  // namespace
}  // namespace pelix
