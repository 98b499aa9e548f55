// The potential families side by side: the pair types and refusals of each mapper, the set-up
// constants, the bond-list capacity, the table files and their stops; then what a whole force
// call cannot single out: batched knot sums, the iron dimer with its embedding, the tables of
// the tabulated pairs end to end; and the common evaluation under them, driven by a small
// spring family on a hand-built neighbour list with periodic images along each axis.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "potentials/acklist.hpp"
#include "potentials/buckbw.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/ionic/ionic_family.hpp"
#include "potentials/ionic/keywords.hpp"
#include "potentials/knot_eam/acknial.hpp"
#include "potentials/knot_eam/giovani.hpp"
#include "potentials/knot_eam/keywords.hpp"
#include "potentials/knot_eam/knot_eam_family.hpp"
#include "potentials/knot_eam/operations.hpp"
#include "potentials/knot_sums.hpp"
#include "potentials/morlist.hpp"
#include "potentials/morsept.hpp"
#include "potentials/ternary.hpp"
#include "potentials/zblpotl.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

constexpr int32_t kH = 1, kHe = 2, kLi = 3, kC = 6, kO = 8, kMg = 12, kAl = 13, kSi = 14, kP = 15,
                  kTi = 22, kCr = 24, kFe = 26, kCo = 27, kNi = 28, kCu = 29, kGa = 31, kY = 39,
                  kZr = 40, kAg = 47, kIn = 49, kEr = 68, kAu = 79, kU = 92;
const std::string kPP = "POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN",
                  kPFe = "POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN";
const std::string kAckTable(kAcklistTableFile);

// The first line of the stop that `action` raises ("no stop" when it returns); an nrerror stop
// is checked to close with its own line.
template <class Action>
std::string nrerror_line(Action&& action) {
    const test_support::Stop stop = test_support::stop_of(action);
    if (stop.status == kExitFatal) {
        EXPECT_EQ(stop.lines,
                  (std::vector<std::string>{stop.first(), "program terminated by nerror"}));
    }
    return stop.first();
}

// Neighbour lists given atom by atom as (neighbour, image code) pairs, every listed atom
// counted as local, and zeroed forces and per-atom energies for as many atoms.
using Lists = std::vector<std::vector<std::pair<int32_t, int32_t>>>;
void set_neighbour_lists(Engine& engine, const Lists& lists) {
    ForceFieldState& ff = engine.ff;
    for (const auto& list : lists) {
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
        for (const auto& [j, image] : list)
            ff.nebour.push_back(j), ff.pbctyp.push_back(image);
    }
    ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    engine.sd.myltpnebs = static_cast<int32_t>(lists.size());
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(lists.size(), 0.0);
}

// Two atoms of atomic numbers za and zb (species 0 and 1) r apart on the x axis, the pair
// given to potential 1; atom 0 lists atom 1 `listed` times (as if through as many images).
Engine dimer(int32_t za, int32_t zb, double r, int32_t listed = 1) {
    Engine engine;
    engine.atoms.anum = {za, zb};
    ForceFieldState& ff = engine.ff;
    ff.specie = {0, 1};
    ff.idnum = {1, 2};
    ff.rx = {0.0, r};
    ff.ry = ff.rz = {0.0, 0.0};
    ff.potnum.assign(2, 1);
    set_neighbour_lists(engine, {Lists::value_type(listed, {1, 0}), {{0, 0}}});
    return engine;
}

// The cubic the MORLIST and ACKLIST tables sample: a spline with its end slopes reproduces it.
double cubic(double x) {
    return ((0.1 * x - 0.5) * x + 0.2) * x + 1.0;
}
double cubic_slope(double x) {
    return (0.3 * x - 1.0) * x + 0.2;
}

// n records "x f(x) -f'(x)" of the cubic (of 0 when `zero`) at x = x0 .. x1 evenly spaced (the
// last exactly x1), count first.
std::string sampled_table(int n, double x0, double x1, bool zero = false) {
    std::ostringstream out;
    out << std::setprecision(17) << n << "\n";
    for (int k = 0; k < n; ++k) {
        const double x = k == n - 1 ? x1 : x0 + k * (x1 - x0) / (n - 1);
        out << x << " " << (zero ? 0.0 : cubic(x)) << " " << (zero ? 0.0 : -cubic_slope(x)) << "\n";
    }
    return out.str();
}

// The table files of every tabulated family in a scratch working directory; TERNARY's all 0.
class Families : public ::testing::Test {
  protected:
    Families() { write_tables(); }
    void write_tables() const {
        std::filesystem::create_directory("POTFOR-SPLINES");
        dir_.write(kPP, sampled_table(20, 1.5, 5.0));
        dir_.write(kPFe, sampled_table(30, 1.2, 4.0));
        dir_.write(kAckTable, sampled_table(27, 1.0, 3.6));
        for (const std::string name : {"pFeFe", "pNiNi", "pCrCr", "pFeNi", "pFeCr", "pNiCr",
                                       "rhoFe", "rhoNi", "rhoCr", "F_Fe", "F_Ni", "F_Cr"})
            dir_.write(name + ".IN", name[0] == 'F' ? sampled_table(61, 0.0, 60.0, true)
                                                    : sampled_table(61, 1.0, 5.5, true));
        dir_.write("NiF.IN", "0.5 -1\n");
        dir_.write("Niphi.IN", "27.875 2 5.6 0.25\n");
        dir_.write("Niv.IN", "2.0 100\n2.5 1\n");
        const std::string buck = "buck Si Si 1e4 0.2 0 6 0.5 0.4 0.7\n";
        for (const char* name : {"buck.IN", "BSIPOTL.IN", "DELAYE_POTL.IN"})
            dir_.write(name, buck);
        dir_.write("EROPOTL.IN", "buck Er Er 1e4 0.2 0 6 0.5 0.4 0.7\n");
        dir_.write("FeOPOTL.IN", "buck Fe O 1e4 0.2 0 6 0.5 0.4 0.7\n");
        dir_.write("UNTITLE.IN", "zbl Fe Y 3.5 0.5 0.1 0.2 0.3 0.4 0.1 0.2 0.4 0.9 3.0\n");
    }
    test_support::ScratchDir dir_{true};
};

// Pair types (atomic numbers, type, cut-off radius) and refused pairs (with the stop's text).
using PairTypes = std::vector<std::tuple<int32_t, int32_t, int32_t, double>>;
using Refusals = std::vector<std::tuple<int32_t, int32_t, std::string>>;
struct Family {
    const char* name;
    int32_t (*mapij)(int32_t, int32_t);
    bool (*selects)(int32_t);
    void (*setup)(Engine&, int32_t);
    double (*cutoff2)(Engine&, int32_t, int32_t);
    void (*call)(Engine&);
    int32_t (*idnum)(const Engine&);
    PairTypes types;
    Refusals refused;
    int32_t capacity;  // bonds of two selected atoms
    std::string overflow;
};

// clang-format off
#define FAMILY(NAME, name) #NAME, name##_mapij, name##_selects, setup_prms_for_##name, \
    name##_cutoff_squared, name##_call, [](const Engine& e) { return e.families.name.name##_idnum; }
const std::string kAcklandMixed = "ACKLAND_MAPIJ: Ackland interaction between",
                  kNotYet = " has not been implemented yet.",
                  kMorlistNo = "FUNCTION MORLIST_MAPIJ: Problems to set MORLIST_MAPIJ",
                  kMorseptNo = "FUNCTION MORSEPT_MAPIJ: Problems to set MORSEPT_MAPIJ",
                  kZblpotlOther = "ZBLPOTL_MAPIJ: Problems to set ZBLPOTL_MAPIJ";
std::string problems(const std::string& name) {
    return name + "_MAPIJ: Problems setting " + name + "_MAPIJ";
}
std::string wrong(const std::string& name) { return name + "_NEB: WHATs WRONG WITH INTERSIZE"; }
template <const KnotEamKeyword& K, KnotEamState FamilyStates::*S>
Family knot_eam(const char* name, PairTypes types, Refusals refused) {
    using Ops = KnotEamOperations<K, S>;
    return {name, [](int32_t a, int32_t b) { return knot_eam_mapij(K, a, b); },
            [](int32_t z) { for (const auto& row : K.pairs) if (z == row.za || z == row.zb) return true;
                            return false; },
            Ops::setup, Ops::cutoff_squared, Ops::call,
            [](const Engine& e) { return (e.families.*S).idnum; }, std::move(types),
            std::move(refused), static_cast<int32_t>(3 * K.bond_capacity),
            std::string(K.overflow_message)};
}
// The state of an ionic keyword set up in the working directory (with its file).
template <const IonicKeyword& K, IonicState FamilyStates::*S>
IonicState ionic_state() { Engine e; IonicOperations<K, S>::setup(e, 1); return e.families.*S; }
template <const IonicKeyword& K, IonicState FamilyStates::*S>
Family ionic(const char* name, PairTypes types, Refusals refused) {
    using Ops = IonicOperations<K, S>;
    return {name, [](int32_t a, int32_t b) { return ionic_mapij(ionic_state<K, S>(), K, a, b); },
            [](int32_t z) { const auto e = ionic_state<K, S>().elements;
                            return std::find(e.begin(), e.end(), z) != e.end(); },
            Ops::setup, Ops::cutoff_squared, Ops::call,
            [](const Engine& e) { return (e.families.*S).idnum; }, std::move(types),
            std::move(refused), static_cast<int32_t>(2 * K.bond_capacity * K.safety_factor),
            std::string(K.overflow_message)};
}
std::string to_set(const std::string& name) {
    return name + "_MAPIJ: Problems to set " + name + "_MAPIJ";
}
const std::vector<Family> kFamilies = {
    ionic<kMgopotlKeyword, &FamilyStates::mgopotl>("MGOPOTL",
     {{kMg, kMg, 1, 2.5}, {kMg, kO, 2, 6.5}, {kO, kO, 3, 6.5}}, {{kMg, kAl, to_set("MgO_POTL")}}),
    ionic<kTiofcptKeyword, &FamilyStates::tiofcpt>("TiOFCPT",
     {{kTi, kTi, 1, 6.5}, {kTi, kO, 2, 6.5}, {kO, kO, 3, 6.5}}, {{kTi, kFe, to_set("TiO_POTL")}}),
    ionic<kSpinelpKeyword, &FamilyStates::spinelp>("SPINELP",
     {{kMg, kMg, 1, 2.5}, {kAl, kMg, 2, 2.5}, {kO, kMg, 3, 6.5}, {kAl, kAl, 4, 2.5},
      {kO, kO, 6, 6.5}, {kGa, kMg, 7, 2.5}, {kIn, kIn, 11, 2.5}},
     {{kAl, kGa, "SPINELPOTL_MAPIJ: Problems setting SPINELPOTL_MAPIJ"}}),
    ionic<kBpupotlKeyword, &FamilyStates::bpupotl>("BPUPOTL", {{kSi, kSi, 1, 6.5}}, {}),
    ionic<kEropotlKeyword, &FamilyStates::eropotl>("EROPOTL", {{kEr, kEr, 1, 6.5}},
     {{kEr, kY, to_set("ErO_POTL")}}),
    ionic<kUntitleKeyword, &FamilyStates::untitle>("UNTITLE", {{kFe, kY, 1, 4.0}},
     {{kFe, kFe, to_set("UNTITLEDPOTL")}}),
    ionic<kFeopotlKeyword, &FamilyStates::feopotl>("FeOPOTL", {{kFe, kO, 1, 6.5}},
     {{kO, kO, to_set("FeO_POTL")}}),
    ionic<kBsipotlKeyword, &FamilyStates::bsipotl>("BSIPOTL", {{kSi, kSi, 1, 6.5}},
     {{kFe, kSi, "BSIPOTL_MAPIJ: Failed at setting i"},
      {kO, kFe, "BSIPOTL_MAPIJ: Failed at i=O_ block"}}),
    ionic<kDelayeKeyword, &FamilyStates::delaye_potl>("DELAYE_POTL", {{kSi, kSi, 1, 6.5}},
     {{kLi, kSi, "DELAYE_POTL_MAPIJ: Failed at setting i"},
      {kU, kLi, "DELAYE_POTL_MAPIJ: Failed at i=U_ block"}}),
    knot_eam<kAcklandKeyword, &FamilyStates::ackland>("ACKLAND",
     {{kFe, kFe, 1, 5.3}, {kAg, kAg, 2, 5.0043076614}, {kAu, kAu, 3, 4.9945097022}},
     {{kFe, kAg, kAcklandMixed + "Fe and Ag" + kNotYet},
      {kAu, kFe, kAcklandMixed + "Fe and Au" + kNotYet},
      {kAg, kAu, kAcklandMixed + "Ag and Au" + kNotYet}, {kFe, kCu, problems("ACKLAND")}}),
    knot_eam<kMendelKeyword, &FamilyStates::mendel>("MENDEL", {{kFe, kFe, 1, 5.3}},
     {{kFe, kP, "MENDELEV_MAPIJ: Problems to set MENDELEV_MAPIJ"}}),
    knot_eam<kAmtestKeyword, &FamilyStates::amtest>("AMtest", {{kFe, kFe, 1, 5.3}},
     {{kFe, kNi, "AMtest_MAPIJ: Problems to set AMtest_MAPIJ"}}),
    {"ACKNIAL", [](int32_t a, int32_t b) { return knot_eam_mapij(kAcknialKeyword, a, b); },
     [](int32_t z) { return z == kNi || z == kAl; }, setup_prms_for_acknial,
     acknial_cutoff_squared, acknial_call,
     [](const Engine& e) { return e.families.acknial.idnum; }, {{kNi, kNi, 1, 1.225 * 3.52422}},
     {{kNi, kFe, "FUNCTION ACKLNiAl_MAPIJ: Problems to set ACKLNiAl_MAPIJ"}}, 300,
     "ACKLEAM_NEB: NEBTOT > INTERSIZE"},
    {"GIOVANI", giovani_mapij, [](int32_t z) { return z == kFe || z == kNi || z == kCr; },
     setup_prms_for_giovani, giovani_cutoff_squared, giovani_call,
     [](const Engine& e) { return e.families.giovani.idnum; },
     {{kFe, kFe, 1, 4.0}, {kNi, kNi, 2, 5.6}, {kCr, kCr, 3, 5.6}, {kFe, kNi, 4, 5.6},
      {kFe, kCr, 5, 5.6}, {kNi, kCr, 6, 5.6}},
     {{kFe, kP, problems("GIOVANI")}}, 300, wrong("GIOVANI")},
    knot_eam<kFeigaoKeyword, &FamilyStates::feigao>("FEIGAO", {{kFe, kHe, 1, 4.10}},
     {{kHe, kHe, to_set("FEIGAO")}, {kFe, kFe, to_set("FEIGAO")}}),
    knot_eam<kAckleamKeyword, &FamilyStates::ackleam>("ACKLEAM",
     {{kP, kP, 1, 5.3}, {kP, kFe, 2, 5.3}, {kFe, kFe, 3, 5.3}},
     {{kFe, kNi, "FUNCTION ACKLEAM_MAPIJ: Problems to set ACKLEAM_MAPIJ"}}),
    {FAMILY(ACKLIST, acklist), {{kFe, kFe, 1, 3.72645}}, {{kFe, kNi, problems("ACKLIST")}}, 36,
     wrong("ACKLIST")},
    {"BUCKBW", buckbw_mapij, buckbw_selects, setup_prms_for_buckbw, buckbw_cutoff_squared,
     buckbw_call, [](const Engine& e) { return e.families.buckbw.idnum; }, {{kFe, kFe, 1, 3.9}, {kTi, kTi, 2, 5.15}, {kY, kY, 3, 5.65},
      {kFe, kY, 4, 5.45}, {kFe, kTi, 5, 4.55}, {kTi, kY, 6, 5.95}, {kFe, kO, 7, 3.9},
      {kTi, kO, 8, 4.0}, {kY, kO, 9, 4.0}, {kO, kO, 10, 4.25}},
     {{kFe, kAg, problems("BUCKBW")}, {kH, kO, problems("BUCKBW")}, {kY, kZr, problems("BUCKBW")}},
     555, wrong("BUCKBW")},
    {FAMILY(MORLIST, morlist), {{kP, kP, 1, 5.0}, {kP, kFe, 2, 4.0}},  // the tables' last distances
     {{kFe, kFe, kMorlistNo}, {kP, kO, kMorlistNo}}, 60, "MORSNEB: NEBTOT > INTERSIZE"},
    {FAMILY(MORSEPT, morsept), {{kP, kP, 1, 4.69}, {kP, kFe, 2, 3.108}},
     {{kFe, kFe, kMorseptNo}, {kSi, kFe, kMorseptNo}}, 60, "MORSEPT_NEB: NEBTOT > INTERSIZE"},
    {FAMILY(TERNARY, ternary), {{kFe, kFe, 1, 5.18}, {kNi, kNi, 2, 5.18}, {kCr, kCr, 3, 5.18},
      {kFe, kNi, 4, 5.18}, {kFe, kCr, 5, 5.18}, {kNi, kCr, 6, 5.18}},
     {{kFe, kP, problems("TERNARY")}, {kCo, kNi, problems("TERNARY")}}, 300, wrong("TERNARY")},
    {FAMILY(ZBLPOTL, zblpotl), {{kAg, kC, 1, 4.0}, {kFe, kC, 2, 3.59}, {kMg, kC, 3, 4.0},
      {kO, kC, 4, 4.0}, {kAu, kC, 5, 4.0}, {kNi, kC, 6, 4.0}, {kAl, kC, 7, 4.0}, {kFe, kY, 8, 4.0},
      {kFe, kO, 9, 4.0}, {kHe, kY, 10, 4.0}},
     {{kFe, kAg, "ZBLPOTL_MAPIJ: Fe-Ag interaction is not implemented"},
      {kAg, kFe, "ZBLPOTL_MAPIJ: Ag-Fe interaction is not implemented"},
      {kC, kC, "ZBLPOTL_MAPIJ: C-C interaction is not implemented"}, {kFe, kFe, kZblpotlOther},
      {kCu, kC, kZblpotlOther}, {kAg, kAu, kZblpotlOther}}, 60, wrong("ZBLPOTL")},
};
#undef FAMILY
// clang-format on

// The mappers, cut-offs and set-up numbers; then two selected atoms 2 A apart, atom 0 listing
// atom 1 as often as asked: `capacity` bonds fit, one more stops before any force. A refused
// pair stops the mapper, and a whole call when both its elements are selected.
TEST_F(Families, MappersCutOffsBondListCapacityAndRefusals) {
    const auto call = [](const Family& f, int32_t za, int32_t zb, int32_t listed) {
        Engine engine = dimer(za, zb, 2.0, listed);
        f.setup(engine, 1);
        return nrerror_line([&] { f.call(engine); });
    };
    for (const Family& f : kFamilies) {
        Engine engine;
        f.setup(engine, 3);
        EXPECT_EQ(f.idnum(engine), 3) << f.name;
        for (const auto& [za, zb, type, cutoff] : f.types) {
            EXPECT_TRUE(f.mapij(za, zb) == type && f.mapij(zb, za) == type) << f.name << type;
            EXPECT_NEAR(f.cutoff2(engine, zb, za), cutoff * cutoff, 1e-12) << f.name << " " << type;
            EXPECT_TRUE(f.selects(za) && f.selects(zb)) << f.name << " " << type;
        }
        EXPECT_FALSE(f.selects(kCu)) << f.name;
        const auto [za, zb, type, cutoff] = f.types.front();
        EXPECT_EQ(call(f, za, zb, f.capacity - 1), "no stop") << f.name;
        EXPECT_EQ(call(f, za, zb, f.capacity), " nrerror: " + f.overflow) << f.name;
        for (const auto& [a, b, text] : f.refused) {
            EXPECT_EQ(nrerror_line([&] { f.mapij(a, b); }), " nrerror: " + text) << f.name;
            if (f.selects(a) && f.selects(b)) {
                EXPECT_EQ(call(f, a, b, 1), " nrerror: " + text) << f.name;
            }
        }
    }
}

template <void (*Setup)(Engine&, int32_t)>
void set_up(const std::string&) {
    Engine engine;
    Setup(engine, 1);
}
void acknial_mixed_cutoff(const std::string&) {
    Engine engine;
    setup_prms_for_acknial(engine, 1);
    acknial_cutoff_squared(engine, kAl, kNi);
}
template <const IonicKeyword& K, IonicState FamilyStates::*S, int32_t Za, int32_t Zb>
void ionic_cutoff(const std::string&) {
    Engine engine;
    IonicOperations<K, S>::setup(engine, 1);
    IonicOperations<K, S>::cutoff_squared(engine, Za, Zb);
}
void read_ternary_table(const std::string& file) {
    TernaryState state;
    TernaryTable table;
    setup_ternary_table(state, table, file);
}

TEST_F(Families, TableFilesAreReadUpToTheirPointLimitsAndBadFilesNamed) {
    const auto morlist = set_up<setup_prms_for_morlist>, acklist = set_up<setup_prms_for_acklist>,
               ternary = set_up<setup_prms_for_ternary>, ternary_table = read_ternary_table;
    const std::string short_file = "3\n1.0 2.0 0.0\n2.0 3.0 0.0\n", too_many = "10001\n";
    const std::string morlist_limit = " nrerror: SETUP_PFE_MORLIST_PRMS: NDATA > MORLIST_MAXNDATA";
    // set-up, file, its text ("" removes it), the expected start or piece of the stop
    const std::vector<
        std::tuple<void (*)(const std::string&), std::string, std::string, std::string>>
        cases = {
            {morlist, kPP, sampled_table(10000, 1.5, 5.0), "no stop"},
            {morlist, kPP, too_many, morlist_limit},
            {morlist, kPFe, too_many, morlist_limit},
            {morlist, kPFe, "", "PFe_pw_for_potfor_morlist.IN"},
            {morlist, kPP, short_file, "PP_pw_for_potfor_morlist.IN line 4: expected"},
            {acklist, kAckTable, "", "FeFe_pw_for_potfor_acklist.IN"},
            {acklist, kAckTable, short_file, "FeFe_pw_for_potfor_acklist.IN line 4: expected"},
            {acknial_mixed_cutoff, "acknial.IN", "",
             "ACKNIAL: no parameters for the Ni-Al pair; give them in acknial.IN"},
            {acknial_mixed_cutoff, "acknial.IN", "pair Ni Al\n4.0 1.0\n",
             "acknial.IN: no density at Ni from Al for the Ni-Al pair"},
            {set_up<setup_prms_for_giovani>, "Niphi.IN", "", "Niphi.IN: file not found"},
            {ternary, "pFeCr.IN", "", "pFeCr.IN"},
            {ternary, "pNiCr.IN", short_file, "pNiCr.IN line 4: expected"},
            {ternary, "rhoCr.IN", sampled_table(60, 1.0, 5.5),
             "rhoCr.IN line 1: holds 60 points, "
             "fewer than the 61"},
            {set_up<IonicOperations<kEropotlKeyword, &FamilyStates::eropotl>::setup>, "EROPOTL.IN",
             "", "EROPOTL.IN: file not found; EROPOTL has no built-in parameters"},
            {set_up<IonicOperations<kMgopotlKeyword, &FamilyStates::mgopotl>::setup>, "MGOPOTL.IN",
             "buck Mg O 1279.69 0.29969 0 6 0.5 0.4 0.7\nzbl O Mg 2 0.5\n",
             "MGOPOTL.IN line 2: the pair O-Mg is given twice (first on line 1)"},
            {set_up<IonicOperations<kBpupotlKeyword, &FamilyStates::bpupotl>::setup>, "buck.IN",
             "buck O O 9547.96 0.21916 32.0 6.0 0.5 0.5 0.8\n",
             "buck.IN line 1: O-O: the bridge from 0.5 to 0.8 A is not repulsive"},
            {ionic_cutoff<kSpinelpKeyword, &FamilyStates::spinelp, kGa, kO>, "SPINELP.IN", "",
             "SPINELP.IN: no parameters for the pair Ga-O of SPINELP (pair type 9): nothing is "
             "built in"},
            {ionic_cutoff<kBpupotlKeyword, &FamilyStates::bpupotl, kSi, kTi>, "buck.IN",
             "buck Si Si 1e4 0.2 0 6 0.5 0.4 0.7\n", "buck.IN: no record for the pair Si-Ti"},
            {ternary_table, "big.IN", sampled_table(120000, 0.0, 1.0), "no stop"},
            {ternary_table, "big.IN", "120001\n0.0 0.0\n",
             "big.IN line 1: holds 120001 points, more than the 120000"},
        };
    for (const auto& [setup, file, text, expected] : cases) {
        write_tables();
        if (text.empty())
            std::filesystem::remove(file);
        else
            dir_.write(file, text);
        const std::string line = nrerror_line([&] { setup(file); });
        EXPECT_NE(line.find(expected), std::string::npos) << file << ": " << line;
    }
}

// Both MORLIST tables and the ACKLIST table give the cubic they sample from their first
// distance (a knot, with the tabulated force) to their last, nothing beyond and a stop below.
// Every further ACKLIST set-up multiplies its cut-off radius by the lattice constant.
TEST_F(Families, PairTablesFollowTheCubicTheySampleFromFirstToLastDistanceAndIronCutOffGrows) {
    Engine engine;
    setup_prms_for_morlist(engine, 1);
    setup_prms_for_acklist(engine, 1);
    const MorlistState& morlist = engine.families.morlist;
    const std::string below = " nrerror: ACKL_INTERACT: RLIJ < 0.2";
    const std::vector<std::tuple<std::function<PairValue(double)>, double, double, std::string>>
        tables = {
            {[&](double r) { return morlist_pair(morlist, 1, r); }, 1.5, 5.0, below},
            {[&](double r) { return morlist_pair(morlist, 2, r); }, 1.2, 4.0, below},
            {[&](double r) { return acklist_bond_pair(engine.families.acklist, 1, r); }, 1.0, 3.6,
             " nrerror:  ACKL_INTERACT: RLIJ < 0.2"},
        };
    for (const auto& [pair, first, last, stop] : tables) {
        for (int k = 0; k <= 37; ++k) {
            const double r = k == 37 ? last : first + k * (last - first) / 37;
            EXPECT_NEAR(pair(r).v, cubic(r), 1e-12) << r;
            EXPECT_NEAR(pair(r).f, -cubic_slope(r), 1e-11) << r;
        }
        const PairValue beyond = pair(std::nextafter(last, 10.0));
        EXPECT_TRUE(beyond.v == 0.0 && beyond.f == 0.0) << last;
        EXPECT_EQ(nrerror_line([&] { pair(std::nextafter(first, 0.0)); }), stop);
    }
    for (int k = 1; k < 3; ++k) {
        setup_prms_for_acklist(engine, 1);
        const double radius = 3.72645 * std::pow(2.8665, k);
        EXPECT_NEAR(acklist_cutoff_squared(engine, kFe, kFe), radius * radius, 1e-9);
    }
}

// Energies per atom and the force on atom 1 (on the +x side) of two iron atoms, computed by hand
// from the published knots and densities (E_i = V / 2 - sqrt(rho)) and, below 1 A, from the
// screened repulsion with the square-root screening length 0.88534 a0 / sqrt(2 x 26^0.23).
TEST(Ackland, IronDimerCarriesHalfItsPairTermAndItsOwnEmbedding) {
    for (const auto& [r, pe, force] : {std::tuple{2.5, -1.3689123605029185, -1.448332928100605},
                                       std::tuple{0.8, 605.219143344154, 4076.829413766425}}) {
        Engine engine = dimer(kFe, kFe, r);
        setup_prms_for_ackland(engine, 1);
        ackland_call(engine);
        EXPECT_NEAR(engine.atoms.pe[0], pe, 1e-13 * std::abs(pe)) << r;
        EXPECT_NEAR(engine.atoms.pe[1], pe, 1e-13 * std::abs(pe)) << r;
        EXPECT_NEAR(engine.ff.fx[1], force, 1e-12 * std::abs(force)) << r;
        EXPECT_NEAR(engine.ff.fx[0], -force, 1e-12 * std::abs(force)) << r;
    }
}

// Energy per atom V/2 + F_s(phi_s) and the force on the helium atom (on the +x side) of an
// iron-helium pair, computed with NumPy from the published knots, s-density and embedding (at
// 4.0 A only the density reaches).
TEST(Feigao, IronHeliumDimerCarriesHalfItsPairTermAndBothEmbedTheSDensity) {
    for (const auto& [r, pe, force] :
         {std::tuple{2.0, 0.2692149603291615, 0.9887185642377455},
          std::tuple{3.0, 0.019733436966023844, 0.15443989943372072},
          std::tuple{4.0, 7.428164933775706e-5, 3.7417587390208397e-4}}) {
        Engine engine = dimer(kFe, kHe, r);
        kFeigaoOps.setup(engine, 1);
        kFeigaoOps.evaluate(engine);
        for (const double e : engine.atoms.pe)
            EXPECT_NEAR(e, pe, 1e-13 * pe) << r;
        EXPECT_NEAR(engine.ff.fx[1], force, 1e-12 * force) << r;
        EXPECT_NEAR(engine.ff.fx[0], -force, 1e-12 * force) << r;
    }
}

// A bridge fitted at set-up meets ZBL at the short-range radius and the pair term at its end
// with the same energy and slope: no force jumps there.
TEST_F(Families, FittedBridgesJoinWithoutAStepInEnergyOrForce) {
    Engine engine;
    setup_prms_for_acknial(engine, 1);
    setup_prms_for_giovani(engine, 1);
    kFeigaoOps.setup(engine, 1);
    for (const KnotEamState* state :
         {&engine.families.acknial, &engine.families.giovani, &engine.families.feigao})
        for (const KnotEamPairType& pair : state->pair) {
            if (!pair.defined)
                continue;
            for (const double edge : {pair.sr_cutoff, pair.cutin}) {
                const PairValue in = knot_eam_bond_pair(pair, std::nextafter(edge, 0.0)),
                                out = knot_eam_bond_pair(pair, std::nextafter(edge, 10.0));
                EXPECT_NEAR(in.v, out.v, 1e-9 * std::abs(in.v)) << pair.za << "-" << pair.zb;
                EXPECT_NEAR(in.f, out.f, 1e-9 * std::abs(in.f)) << pair.za << "-" << pair.zb;
            }
        }
    const KnotEamPairType& fehe = engine.families.feigao.pair[0];  // its bridge repels throughout
    for (double r = fehe.sr_cutoff; r < fehe.cutin; r += 0.002)
        EXPECT_GT(knot_eam_bond_pair(fehe, r).f, 0.0) << r;
    // The ionic bridges also meet with the same curvature, and repel throughout.
    setup_prms_for_buckbw(engine, 1);
    IonicOperations<kMgopotlKeyword, &FamilyStates::mgopotl>::setup(engine, 1);
    IonicOperations<kTiofcptKeyword, &FamilyStates::tiofcpt>::setup(engine, 1);
    for (const IonicState* state : {&engine.families.mgopotl, &engine.families.tiofcpt})
        for (int32_t t = 1; t <= 3; ++t) {
            const IonicPairRow& row = state->of_type(t).row;
            const auto at = [&](double r) { return ionic_pair(*state, t, r); };
            for (const double edge : {row.r_zbl, row.r_join}) {
                if (row.r_zbl == row.r_join)
                    break;  // no bridge: the repulsion alone, tapered
                const PairValue in = at(std::nextafter(edge, 0.0)),
                                out = at(std::nextafter(edge, 9.0));
                EXPECT_NEAR(in.v, out.v, 1e-11 * std::abs(in.v)) << t;
                EXPECT_NEAR(in.f, out.f, 1e-10 * std::abs(in.f)) << t;
                const double h = 1e-4, left = (in.f - at(edge - h).f) / h,
                             right = (at(edge + h).f - out.f) / h;
                EXPECT_NEAR(left, right, 1e-2 * std::abs(left)) << t << " " << edge;
            }
            for (double r = 0.3; r < row.r_join; r += 0.01)
                EXPECT_GT(at(r).f, 0.0) << t << " " << r;
        }
}

// Many distances at once give the bits of one at a time, for every pair type, every start and
// every count (blocks of eight and four lanes and each tail): distances between, on and beyond
// the knots, tiny, huge and not a number.
TEST(Ackland, KnotSumsOfManyDistancesAreThoseOfOneAtATime) {
    std::vector<double> r{2.5, 5.3, 1e100, -1e101, std::nan(""), 1e-300};
    for (int k = 0; k < 34; ++k)
        r.push_back(0.9 + 0.137 * k);
    for (const EamPairRow& row : knot_eam_rows::kAcklandPairs)
        for (std::size_t from = 0; from < 9; ++from)
            for (std::size_t count = 0; from + count <= r.size(); ++count) {
                const KnotSum& sum = row.knots;
                std::vector<double> cubes(count, -1.0), squares(count, -1.0);
                cubic_knot_sums_many(sum.knot.data(), sum.coef.data(), sum.knot.size(),
                                     r.data() + from, count, cubes.data(), squares.data());
                for (std::size_t b = 0; b < count; ++b) {
                    double c = 0.0, q = 0.0;
                    cubic_knot_sum(sum.knot.data(), sum.coef.data(), sum.knot.size(), r[from + b],
                                   c, q);
                    EXPECT_TRUE(std::memcmp(&cubes[b], &c, sizeof c) == 0 &&
                                std::memcmp(&squares[b], &q, sizeof q) == 0)
                        << "Z " << row.za << " from " << from << " count " << count;
                }
            }
}

// Springs V = (r - r0)^2: Fe-Fe (type 1, cut-off 2.5, r0 1.2) and Fe-He (type 2, cut-off 2.0,
// r0 0.8). Anything else is refused by the mapper.
template <double B, double F, bool AllAtoms>
struct SpringFamily {
    static constexpr std::string_view overflow_message = "SPRING_NEB: NEBTOT > INTERSIZE";
    static constexpr double bond_capacity = B;
    static constexpr double safety_factor = F;
    static constexpr bool counts_all_atoms = AllAtoms;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    std::vector<std::pair<int32_t, int32_t>> interact_calls;

    int32_t idnum() const { return 1; }
    bool selects(int32_t z) const { return z == kFe || z == kHe; }
    int32_t mapij(int32_t za, int32_t zb) const {
        if (!selects(za) || !selects(zb) || za + zb == 2 * kHe)
            nrerror("SPRING_MAPIJ: unsupported pair");
        return za + zb == 2 * kFe ? 1 : 2;
    }
    double conrh2(int32_t t) const { return t == 1 ? 6.25 : 4.0; }
    void smoothing(int32_t, double, double& f, double& df) const { f = df = 0.0; }
    void interact(Engine& engine, int32_t m, int32_t i) {
        interact_calls.emplace_back(m, i);
        const BondList& bonds = engine.ff.bonds;
        for (int32_t b = bonds.datum[m]; b < bonds.datum[m + 1]; ++b) {
            const int32_t j = bonds.neb[b];
            if (j < i)
                continue;  // each pair once, from the lower atom index
            const double stretch = bonds.bndlen[b] - (bonds.bndtyp[b] == 1 ? 1.2 : 0.8);
            add_pair_terms(engine, i, j, stretch * stretch, 2.0 * stretch, bonds.bndxnm[b],
                           bonds.bndynm[b], bonds.bndznm[b]);
        }
    }
};

// Eight local atoms in a periodic box of 10 A (image codes 9, 3 and 1 shift by +10 along x, y
// and z; their negatives back):
//   0 Fe (0, 0, 0)       1 Fe (2.5, 0, 0): exactly at the Fe-Fe cut-off from 0
//   2 He (0, 1.5, 0)     3 He (0, -1, 0): He-He belongs to another potential
//   4 Cu (1, 1, 0): another potential, which the mapper would refuse
//   5 Fe (9, 0, 0), 6 Fe (0, 9, 0), 7 Fe (0, 0, 8.7): 1, 1 and 1.3 A from 0 through an image
// The lists are full: every pair from both sides, pairs out of range or not ours included.
template <class Family>
std::string evaluate_springs(Engine& engine, Family& family) {
    engine.atoms.anum = {kFe, kHe, kCu};
    auto& ff = engine.ff;
    ff.rx = {0.0, 2.5, 0.0, 0.0, 1.0, 9.0, 0.0, 0.0};
    ff.ry = {0.0, 0.0, 1.5, -1.0, 1.0, 0.0, 9.0, 0.0};
    ff.rz = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 8.7};
    ff.specie = {0, 0, 1, 1, 2, 0, 0, 0};
    ff.potnum.assign(3, 2);
    ff.potnum(0, 0) = ff.potnum(0, 1) = ff.potnum(1, 0) = 1;
    for (const int s : {-1, 1})  // image codes 9, 3 and 1 along x, y and z
        ff.xofset[kImageOffsetCentre + 9 * s] = ff.yofset[kImageOffsetCentre + 3 * s] =
            ff.zofset[kImageOffsetCentre + s] = 10.0 * s;
    // clang-format off
    set_neighbour_lists(engine, {{{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 9}, {6, 3}, {7, 1}},
        {{0, 0}, {2, 0}}, {{0, 0}, {1, 0}, {3, 0}}, {{0, 0}, {2, 0}}, {{0, 0}}, {{0, -9}},
        {{0, -3}}, {{0, -1}}});
    // clang-format on
    engine.atoms.mylt = 8;
    engine.atoms.pe.assign(8, 7.0);
    const std::string line = nrerror_line([&] { evaluate_family(engine, family); });
    EXPECT_EQ(family.interact_calls.empty(), line != "no stop");  // stops before any atom
    return line;
}
template <class Family>
std::string spring_stop() {
    Engine engine;
    Family family;
    return evaluate_springs(engine, family);
}

// Seven selected atoms, ten bonds counted from both sides: B x F = 1.5 gives room for 10; a
// bond past the capacity stops, counted over the selected atoms or over all.
TEST(FamilyContract, BondsWithinTheStrictCutOffThroughEveryImageAxisHalfEnergiesBalancedForces) {
    Engine engine;
    SpringFamily<1.5, 1.0, false> family;
    EXPECT_EQ(evaluate_springs(engine, family), "no stop");
    EXPECT_EQ(family.interact_calls, (std::vector<std::pair<int32_t, int32_t>>{
                                         {0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 5}, {5, 6}, {6, 7}}));
    EXPECT_TRUE(engine.ff.bonds.neb.empty());  // the bond list does not outlive the evaluation
    // Stretches: 0-2 0.7, 0-3 0.2, 0-5 -0.2, 0-6 -0.2, 0-7 0.1; each energy split between two.
    // Stretched springs pull their ends together, compressed ones push the images apart.
    const std::vector<std::vector<double>> want = {{7.0 + 0.5 * (0.49 + 0.04 + 0.04 + 0.04 + 0.01),
                                                    7.0, 7.0 + 0.245, 7.02, 7.0, 7.02, 7.02, 7.005},
                                                   {0.4, 0, 0, 0, 0, -0.4, 0, 0},
                                                   {1.4, 0, -1.4, 0.4, 0, 0, -0.4, 0},
                                                   {-0.2, 0, 0, 0, 0, 0, 0, 0.2}};
    const std::vector<double>* got[] = {&engine.atoms.pe, &engine.ff.fx, &engine.ff.fy,
                                        &engine.ff.fz};
    for (std::size_t k = 0; k < 4; ++k)
        for (std::size_t a = 0; a < 8; ++a)
            EXPECT_NEAR(got[k]->at(a), want[k][a], 1e-14) << k << " atom " << a;
    const std::string overflow = " nrerror: SPRING_NEB: NEBTOT > INTERSIZE";
    EXPECT_EQ((spring_stop<SpringFamily<1.4, 1.0, false>>()), overflow);  // trunc(9.8)
    EXPECT_EQ((spring_stop<SpringFamily<1.0, 1.4, false>>()), overflow);
    EXPECT_EQ((spring_stop<SpringFamily<1.25, 1.0, true>>()), "no stop");  // over all 8 atoms
}

}  // namespace
}  // namespace pelix
