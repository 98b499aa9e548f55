// The potential families side by side: the pair types and refusals of each mapper, the set-up
// constants, the bond-list capacity, the table files and their stops; then what a whole force
// call cannot single out: batched knot sums, the iron dimer with its embedding, the element a
// TERNARY density is taken from, and the tables of the tabulated pairs end to end.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/ackland.hpp"
#include "potentials/acklist.hpp"
#include "potentials/buckbw.hpp"
#include "potentials/morlist.hpp"
#include "potentials/morsept.hpp"
#include "potentials/ternary.hpp"
#include "potentials/zblpotl.hpp"

namespace pelix {
namespace {

using test_support::line_engine;
using test_support::nrerror_line;
using test_support::sampled_table;

constexpr int32_t kH = 1, kHe = 2, kC = 6, kO = 8, kMg = 12, kAl = 13, kSi = 14, kP = 15, kTi = 22,
                  kCr = 24, kFe = 26, kCo = 27, kNi = 28, kCu = 29, kY = 39, kZr = 40, kAg = 47,
                  kAu = 79;
const std::string kPP = "POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN";
const std::string kPFe = "POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN";
const std::string kAckTable(kAcklistTableFile);

// The cubic the MORLIST and ACKLIST tables sample: a spline with its end slopes reproduces it.
double cubic(double x) {
    return ((0.1 * x - 0.5) * x + 0.2) * x + 1.0;
}
double cubic_slope(double x) {
    return (0.3 * x - 1.0) * x + 0.2;
}

// The table files of every tabulated family in a scratch working directory. TERNARY: no pair
// energy, the constant densities 1 (Fe), 3 (Ni) and 5 (Cr) and the embeddings
// F(p) = (e + 1)(p^2 + 1) of elements e = 0, 1, 2, with knots at every integer density.
class Families : public ::testing::Test {
  protected:
    Families() { write_tables(); }
    void write_tables() const {
        std::filesystem::create_directory("POTFOR-SPLINES");
        dir_.write(kPP, sampled_table(20, 1.5, 5.0, cubic, cubic_slope));
        dir_.write(kPFe, sampled_table(30, 1.2, 4.0, cubic, cubic_slope));
        dir_.write(kAckTable, sampled_table(27, 1.0, 3.6, cubic, cubic_slope));
        for (const char* pair : {"FeFe", "NiNi", "CrCr", "FeNi", "FeCr", "NiCr"})
            dir_.write(std::string("p") + pair + ".IN",
                       sampled_table(61, 1.0, 5.5, [](double) { return 0.0; }));
        for (int e = 0; e < 3; ++e) {
            const std::string symbol[3] = {"Fe", "Ni", "Cr"};
            dir_.write("rho" + symbol[e] + ".IN",
                       sampled_table(61, 1.0, 5.5, [&](double) { return 1.0 + 2.0 * e; }));
            dir_.write("F_" + symbol[e] + ".IN", sampled_table(61, 0.0, 60.0, [&](double p) {
                           return (e + 1) * (p * p + 1.0);
                       }));
        }
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

const std::string kAcklandMixed = "ACKLAND_MAPIJ: Ackland interaction between";
const std::string kZblpotlOther = "ZBLPOTL_MAPIJ: Problems to set ZBLPOTL_MAPIJ";

// clang-format off
const std::vector<Family> kFamilies = {
    {"ACKLAND", ackland_mapij, ackland_selects, setup_prms_for_ackland, ackland_cutoff_squared,
     ackland_call, [](const Engine& e) { return e.families.ackland.ackland_idnum; },
     {{kFe, kFe, 1, 5.3}, {kAg, kAg, 2, 5.0043076614}, {kAu, kAu, 3, 4.9945097022}},
     {{kFe, kAg, kAcklandMixed + "Fe and Ag has not been implemented yet."},
      {kAu, kFe, kAcklandMixed + "Fe and Au has not been implemented yet."},
      {kAg, kAu, kAcklandMixed + "Ag and Au has not been implemented yet."},
      {kFe, kCu, "ACKLAND_MAPIJ: Problems setting ACKLAND_MAPIJ"}},
     600, "ACKLAND_NEB: WHATs WRONG WITH INTERSIZE"},
    {"ACKLIST", acklist_mapij, acklist_selects, setup_prms_for_acklist, acklist_cutoff_squared,
     acklist_call, [](const Engine& e) { return e.families.acklist.acklist_idnum; },
     {{kFe, kFe, 1, 3.72645}},
     {{kFe, kNi, "ACKLIST_MAPIJ: Problems setting ACKLIST_MAPIJ"}},
     36, "ACKLIST_NEB: WHATs WRONG WITH INTERSIZE"},
    {"BUCKBW", buckbw_mapij, buckbw_selects, setup_prms_for_buckbw, buckbw_cutoff_squared,
     buckbw_call, [](const Engine& e) { return e.families.buckbw.buckbw_idnum; },
     {{kFe, kFe, 1, 3.9}, {kTi, kTi, 2, 5.15}, {kY, kY, 3, 5.65}, {kFe, kY, 4, 5.45},
      {kFe, kTi, 5, 4.55}, {kTi, kY, 6, 5.95}, {kFe, kO, 7, 3.9}, {kTi, kO, 8, 4.0},
      {kY, kO, 9, 4.0}, {kO, kO, 10, 4.25}},
     {{kFe, kAg, "BUCKBW_MAPIJ: Problems setting BUCKBW_MAPIJ"},
      {kH, kO, "BUCKBW_MAPIJ: Problems setting BUCKBW_MAPIJ"},
      {kY, kZr, "BUCKBW_MAPIJ: Problems setting BUCKBW_MAPIJ"}},
     555, "BUCKBW_NEB: WHATs WRONG WITH INTERSIZE"},
    {"MORLIST", morlist_mapij, morlist_selects, setup_prms_for_morlist, morlist_cutoff_squared,
     morlist_call, [](const Engine& e) { return e.families.morlist.morlist_idnum; },
     {{kP, kP, 1, 5.0}, {kP, kFe, 2, 4.0}},  // the last distances of the tables
     {{kFe, kFe, "FUNCTION MORLIST_MAPIJ: Problems to set MORLIST_MAPIJ"},
      {kP, kO, "FUNCTION MORLIST_MAPIJ: Problems to set MORLIST_MAPIJ"}},
     60, "MORSNEB: NEBTOT > INTERSIZE"},
    {"MORSEPT", morsept_mapij, morsept_selects, setup_prms_for_morsept, morsept_cutoff_squared,
     morsept_call, [](const Engine& e) { return e.families.morsept.morsept_idnum; },
     {{kP, kP, 1, 4.69}, {kP, kFe, 2, 3.108}},
     {{kFe, kFe, "FUNCTION MORSEPT_MAPIJ: Problems to set MORSEPT_MAPIJ"},
      {kSi, kFe, "FUNCTION MORSEPT_MAPIJ: Problems to set MORSEPT_MAPIJ"}},
     60, "MORSEPT_NEB: NEBTOT > INTERSIZE"},
    {"TERNARY", ternary_mapij, ternary_selects, setup_prms_for_ternary, ternary_cutoff_squared,
     ternary_call, [](const Engine& e) { return e.families.ternary.ternary_idnum; },
     {{kFe, kFe, 1, 5.18}, {kNi, kNi, 2, 5.18}, {kCr, kCr, 3, 5.18}, {kFe, kNi, 4, 5.18},
      {kFe, kCr, 5, 5.18}, {kNi, kCr, 6, 5.18}},
     {{kFe, kP, "TERNARY_MAPIJ: Problems setting TERNARY_MAPIJ"},
      {kCo, kNi, "TERNARY_MAPIJ: Problems setting TERNARY_MAPIJ"}},
     300, "TERNARY_NEB: WHATs WRONG WITH INTERSIZE"},
    {"ZBLPOTL", zblpotl_mapij, zblpotl_selects, setup_prms_for_zblpotl, zblpotl_cutoff_squared,
     zblpotl_call, [](const Engine& e) { return e.families.zblpotl.zblpotl_idnum; },
     {{kAg, kC, 1, 4.0}, {kFe, kC, 2, 3.59}, {kMg, kC, 3, 4.0}, {kO, kC, 4, 4.0},
      {kAu, kC, 5, 4.0}, {kNi, kC, 6, 4.0}, {kAl, kC, 7, 4.0}, {kFe, kY, 8, 4.0},
      {kFe, kO, 9, 4.0}, {kHe, kY, 10, 4.0}},
     {{kFe, kAg, "ZBLPOTL_MAPIJ: Fe-Ag interaction is not implemented"},
      {kAg, kFe, "ZBLPOTL_MAPIJ: Ag-Fe interaction is not implemented"},
      {kC, kC, "ZBLPOTL_MAPIJ: C-C interaction is not implemented"},
      {kFe, kFe, kZblpotlOther}, {kCu, kC, kZblpotlOther}, {kAg, kAu, kZblpotlOther}},
     60, "ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE"},
};
// clang-format on

// The mappers, cut-offs and set-up numbers; then two selected atoms 2 A apart, atom 0 listing
// atom 1 as often as asked: `capacity` bonds fit, one more stops before any force. A refused
// pair stops the mapper, and a whole call when both its elements are selected.
TEST_F(Families, MappersCutOffsBondListCapacityAndRefusals) {
    const auto call = [](const Family& f, int32_t za, int32_t zb, int32_t listed) {
        Engine engine = line_engine({za, zb}, {0.0, 2.0}, listed);
        f.setup(engine, 1);
        testing::internal::CaptureStdout();  // TERNARY densities beyond the embedding tables
        std::string line = nrerror_line([&] { f.call(engine); });
        testing::internal::GetCapturedStdout();
        return line;
    };
    for (const Family& f : kFamilies) {
        Engine engine;
        f.setup(engine, 3);
        EXPECT_EQ(f.idnum(engine), 3) << f.name;
        for (const auto& [za, zb, type, cutoff] : f.types) {
            EXPECT_EQ(f.mapij(za, zb), type) << f.name << " " << za << "-" << zb;
            EXPECT_EQ(f.mapij(zb, za), type) << f.name << " " << zb << "-" << za;
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
void read_ternary_table(const std::string& file) {
    TernaryState state;
    TernaryTable table;
    setup_ternary_table(state, table, file);
}

TEST_F(Families, TableFilesAreReadUpToTheirPointLimitsAndBadFilesNamed) {
    const auto morlist = set_up<setup_prms_for_morlist>, acklist = set_up<setup_prms_for_acklist>,
               ternary = set_up<setup_prms_for_ternary>, ternary_table = read_ternary_table;
    const std::string short_file = "3\n1.0 2.0 0.0\n2.0 3.0 0.0\n";
    const std::string too_many_morlist = "10001\n", too_many_ternary = "120001\n0.0 0.0\n";
    const std::string morlist_limit = " nrerror: SETUP_PFE_MORLIST_PRMS: NDATA > MORLIST_MAXNDATA";
    const std::vector<
        std::tuple<void (*)(const std::string&), std::string, std::string, std::string>>
        cases = {
            // set-up, file, its text ("" removes it), the expected start or piece of the stop
            {morlist, kPP, sampled_table(10000, 1.5, 5.0, cubic, cubic_slope), "no stop"},
            {morlist, kPP, too_many_morlist, morlist_limit},
            {morlist, kPFe, too_many_morlist, morlist_limit},
            {morlist, kPFe, "", "PFe_pw_for_potfor_morlist.IN"},
            {morlist, kPP, short_file, "PP_pw_for_potfor_morlist.IN line 4: expected"},
            {acklist, kAckTable, "", "FeFe_pw_for_potfor_acklist.IN"},
            {acklist, kAckTable, short_file, "FeFe_pw_for_potfor_acklist.IN line 4: expected"},
            {ternary, "pFeCr.IN", "", "pFeCr.IN"},
            {ternary, "pNiCr.IN", short_file, "pNiCr.IN line 4: expected"},
            {ternary, "rhoCr.IN", sampled_table(60, 1.0, 5.5, cubic),
             "rhoCr.IN line 1: holds 60 points, fewer than the 61"},
            {ternary_table, "big.IN", sampled_table(120000, 0.0, 1.0, cubic), "no stop"},
            {ternary_table, "big.IN", too_many_ternary,
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
    const std::vector<std::tuple<std::function<PairValue(double)>, double, double, std::string>>
        tables = {
            {[&](double r) { return morlist_pair(morlist, 1, r); }, 1.5, 5.0,
             " nrerror: ACKL_INTERACT: RLIJ < 0.2"},
            {[&](double r) { return morlist_pair(morlist, 2, r); }, 1.2, 4.0,
             " nrerror: ACKL_INTERACT: RLIJ < 0.2"},
            {[&](double r) { return acklist_bond_pair(engine.families.acklist, 1, r); }, 1.0, 3.6,
             " nrerror:  ACKL_INTERACT: RLIJ < 0.2"},
        };
    for (const auto& [pair, first, last, below] : tables) {
        for (int k = 0; k <= 37; ++k) {
            const double r = k == 37 ? last : first + k * (last - first) / 37;
            EXPECT_NEAR(pair(r).v, cubic(r), 1e-12) << r;
            EXPECT_NEAR(pair(r).f, -cubic_slope(r), 1e-11) << r;
        }
        const PairValue beyond = pair(std::nextafter(last, 10.0));
        EXPECT_TRUE(beyond.v == 0.0 && beyond.f == 0.0) << last;
        EXPECT_EQ(nrerror_line([&] { pair(std::nextafter(first, 0.0)); }), below);
    }
    for (int k = 1; k < 3; ++k) {
        setup_prms_for_acklist(engine, 1);
        const double radius = 3.72645 * std::pow(2.8665, k);
        EXPECT_NEAR(acklist_cutoff_squared(engine, kFe, kFe), radius * radius, 1e-9);
    }
}

// Fe 0 and Ni 1 2.5 A apart, Cr 2 exactly at the cut-off 5.18 A beyond Ni: iron embeds the
// nickel density 3, nickel the iron density 1, chromium none.
TEST_F(Families, TernaryDensityOfAnAtomComesFromItsNeighboursElements) {
    Engine engine = line_engine({kFe, kNi, kCr}, {0.0, 2.5, 2.5 + 5.18});
    setup_prms_for_ternary(engine, 1);
    ternary_call(engine);
    EXPECT_EQ(engine.atoms.pe, (std::vector<double>{1 * (9 + 1), 2 * (1 + 1), 3 * (0 + 1)}));
    for (double f : engine.ff.fx)
        EXPECT_NEAR(f, 0.0, 1e-12);
}

// Energies per atom and the force on atom 1 (on the +x side) of two iron atoms, computed by hand
// from the published knots and densities (E_i = V / 2 - sqrt(rho)) and, below 1 A, from the
// screened repulsion with the square-root screening length 0.88534 a0 / sqrt(2 x 26^0.23).
TEST(Ackland, IronDimerCarriesHalfItsPairTermAndItsOwnEmbedding) {
    for (const auto& [r, pe, force] : {std::tuple{2.5, -1.3689123605029185, -1.448332928100605},
                                       std::tuple{0.8, 605.219143344154, 4076.829413766425}}) {
        Engine engine = line_engine({kFe, kFe}, {0.0, r});
        setup_prms_for_ackland(engine, 1);
        ackland_call(engine);
        for (int a = 0; a < 2; ++a)
            EXPECT_NEAR(engine.atoms.pe[a], pe, 1e-13 * std::abs(pe)) << r;
        EXPECT_NEAR(engine.ff.fx[1], force, 1e-12 * std::abs(force)) << r;
        EXPECT_NEAR(engine.ff.fx[0], -force, 1e-12 * std::abs(force)) << r;
    }
}

bool same_bits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Many distances at once give the bits of one at a time, for every pair type, every start and
// every count (blocks of eight and four lanes and each tail): distances between, on and beyond
// the knots, tiny, huge and not a number.
TEST(Ackland, KnotSumsOfManyDistancesAreThoseOfOneAtATime) {
    Engine engine;
    setup_prms_for_ackland(engine, 1);
    const AcklandState& state = engine.families.ackland;
    std::vector<double> r{2.5, 5.3, 1e100, -1e101, std::nan(""), 1e-300};
    for (int k = 0; k < 34; ++k)
        r.push_back(0.9 + 0.137 * k);
    for (std::size_t t = 0; t < 3; ++t) {
        for (std::size_t from = 0; from < 9; ++from) {
            for (std::size_t count = 0; from + count <= r.size(); ++count) {
                std::vector<double> cubes(count, -1.0), squares(count, -1.0);
                cubic_knot_sums_many(state.rs[t].data(), state.as[t].data(), kAcklandPairKnots,
                                     r.data() + from, count, cubes.data(), squares.data());
                for (std::size_t b = 0; b < count; ++b) {
                    double c = 0.0, q = 0.0;
                    cubic_knot_sums(state.rs[t], state.as[t], r[from + b], c, q);
                    EXPECT_TRUE(same_bits(cubes[b], c) && same_bits(squares[b], q))
                        << "type " << t + 1 << " from " << from << " count " << count << " r "
                        << r[from + b];
                }
            }
        }
    }
}

}  // namespace
}  // namespace pelix
