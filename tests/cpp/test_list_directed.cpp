// List-directed reading (separators, quotes, repeats, value forms, errors) and the input files
// read that way: the run configuration ("pelix.IN"), its writer, and the lattice slabs
// ("lattice.IN") with the lattice types they give.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <tuple>

#include "common/list_directed.hpp"
#include "config/lattice.hpp"
#include "config/run_config.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::ScratchDir;

// One read of n integers that start at -1 (kept by null items and after a slash).
std::vector<int32_t> read_ints(ListDirectedFile& file, std::size_t n) {
    std::vector<int32_t> values(n, -1);
    std::vector<ListTarget> targets;
    for (auto& v : values)
        targets.push_back(int_item(v, "V"));
    file.read(targets);
    return values;
}

TEST(ListDirected, SeparatorsQuotesWidthsNullsRepeatsSlashAndContinuation) {
    ScratchDir dir;
    ListDirectedFile file(dir.write("in.txt",
                                    "1, 2.5  'it''s a, b/c'\tT  label\n"
                                    "\"say \"\"hi\"\"\" bare,next\n"
                                    "ABCDEFG  AB\r\n"
                                    "3*7 2*  9\n,5,,6\n4 / 99\n  1\n\n2 3 label 4.5\n2*'x' T\n"));
    int32_t i = 0;
    double r = 0.0;
    std::string quoted, dq, bare, cut, padded, s1, s2;
    bool flag = false;
    file.read(
        {int_item(i, "I"), real_item(r, "R"), char_item(quoted, 12, "Q"), logical_item(flag, "L")});
    EXPECT_TRUE(i == 1 && r == 2.5 && flag);
    file.read({char_item(dq, 8, "A"), char_item(bare, 6, "B")});  // "next" is left unread
    file.read({char_item(cut, 3, "C"), char_item(padded, 4, "P")});
    EXPECT_EQ(read_ints(file, 6), (std::vector<int32_t>{7, 7, 7, -1, -1, 9}));
    EXPECT_EQ(read_ints(file, 4), (std::vector<int32_t>{-1, 5, -1, 6}));
    EXPECT_EQ(read_ints(file, 3), (std::vector<int32_t>{4, -1, -1}));
    // Three values over three records (one of them empty); the rest of the last is ignored.
    EXPECT_EQ(read_ints(file, 3), (std::vector<int32_t>{1, 2, 3}));
    EXPECT_EQ(file.line_number(), 9);
    file.read({char_item(s1, 1, "S1"), char_item(s2, 1, "S2")});
    EXPECT_EQ(quoted + "|" + dq + "|" + bare + "|" + cut + "|" + padded + "|" + s1 + s2,
              "it's a, b/c |say \"hi\"|bare  |ABC|AB  |xx");
}

TEST(ListDirected, ValueForms) {
    for (const char* t : {"T", "t", ".TRUE.", ".true.", "Tomato", ".t"})
        EXPECT_TRUE(parse_list_logical(t)) << t;
    for (const char* f : {"F", "f", ".FALSE.", ".False", "fx"})
        EXPECT_FALSE(parse_list_logical(f)) << f;
    for (const char* bad : {"X", ".", "", "1", "yes"})
        EXPECT_THROW(parse_list_logical(bad), std::invalid_argument) << bad;
    const std::pair<const char*, int32_t> ints[] = {{"+42", 42}, {"-7", -7}, {"  12 ", 12}};
    for (const auto& [text, value] : ints)
        EXPECT_EQ(parse_list_integer(text), value) << text;
    for (const char* bad : {"3.5", "abc", "", "-", "+-1", "1e3", "3000000000"})
        EXPECT_THROW(parse_list_integer(bad), std::invalid_argument) << bad;
    const std::pair<const char*, double> reals[] = {
        {"1", 1.0},        {"1.5", 1.5},       {".5", 0.5},       {"5.", 5.0},
        {"1.5e3", 1500.0}, {"1.5E-3", 1.5e-3}, {"1.5d3", 1500.0}, {"1.5D-3", 1.5e-3},
        {"-2.25", -2.25},  {"+3", 3.0},        {"1.5+2", 150.0},  {"-.5E+1", -5.0}};
    for (const auto& [text, value] : reals)
        EXPECT_DOUBLE_EQ(parse_list_real(text), value) << text;
    for (const char* bad : {"abc", ".", "1.5e", "1.5x", "e3", "1..5", "1e999", "--1"})
        EXPECT_THROW(parse_list_real(bad), std::invalid_argument) << bad;
}

// Input errors name the file, the line, the setting and what was found there.
TEST(ListDirected, ErrorsNameFileLineSettingAndFound) {
    ScratchDir dir;
    const std::string path = dir.path("in.txt");
    int32_t n = 0;
    double r = 0.0;
    bool flag = false;
    std::string s;
    const std::tuple<const char*, ListTarget, std::string> cases[] = {
        {"\n'5'\n", int_item(n, "N"), " line 2: expected an integer (N), found \"'5'\""},
        {"1..5\n", real_item(r, "R"), " line 1: expected a real number (R), found \"1..5\""},
        {"maybe\n", logical_item(flag, "F"),
         " line 1: expected a logical value T or F (F), found \"maybe\""},
        {"'a''b\n", char_item(s, 4, "S"),
         " line 1: expected a character value (S), found \"'a''b\": the closing quote is missing"},
        {"0*1\n", int_item(n, "N"),
         " line 1: expected an integer (N), found \"0*1\": a repeat count must be a positive "
         "integer"}};
    for (const auto& [text, target, message] : cases) {
        ListDirectedFile file(dir.write("in.txt", text));
        EXPECT_EQ(input_error_text([&] { file.read({target}); }), path + message);
    }
}

// Writes a complete run configuration (records separated by '|' and numbered from 0), some of
// them replaced, and returns the file's path.
std::string write(const ScratchDir& dir, std::map<int, std::string> edits) {
    std::istringstream sample(
        "BEGIN  /* BGORCT|EQUIL|COLLI|RUN001  /* IDENT| 1 0 1  /* PBCX,PBCY,PBCZ| 10.0| 0.5  /* DT"
        "| 1000.0| 1| 0.75| 0.3| 2.0 /* ROE|NO_THERMOSTAT  /* THERMTYPE| 300| 10| 50| 25| T"
        "| .FALSE.| t| 5.0| 2 /* Multipole| F NEB flag| T| F| .true.| T| 3.5| F| 100| 0.25| T| F| "
        "T");
    std::string text, line;
    for (int k = 0; std::getline(sample, line, '|'); ++k)
        text += (edits.count(k) ? edits[k] : line) + "\n";
    return dir.write("pelix.IN", text);
}

// The records land in the settings (the periodic flags and the simulation type in the
// decomposition), the writer lays them out for people and its file does not read back; only
// the first 5 or 6 columns of lines 1-4 count (a short line blank-padded); bad input stops.
TEST(RunConfig, ReadsRecordsWritesTheLayoutAndStopsOnBadInput) {
    ScratchDir dir;
    RunConfig c;
    SpatialDecomposition sd;
    sd.sd_pbcx = sd.sd_pbcy = sd.sd_pbcz = sd.sd_fe_flag = -1;
    read_pelixin(c, sd, write(dir, {}));
    EXPECT_EQ(c.ident + c.thermtype + sd.sd_simutype, "RUN001NO_THERMOSTATCOLLI");
    EXPECT_DOUBLE_EQ(c.roe, 208.726048);
    EXPECT_EQ(std::vector<double>({c.dt, c.latticeskin, c.chargerecoverytimestep}),
              std::vector<double>({0.5, 3.5, 0.25}));
    EXPECT_EQ(std::vector<bool>({c.ke_vtk, c.pe_vtk, c.animation_flag, c.neb_flag, c.chargesinxyz,
                                 c.velocityinxyz, c.zip_flag, c.minfileoutput}),
              std::vector<bool>({true, false, true, false, true, false, true, true}));
    EXPECT_EQ(std::vector<int32_t>({sd.sd_pbcx, sd.sd_pbcy, sd.sd_pbcz, sd.sd_fe_flag}),
              std::vector<int32_t>({1, 0, 1, 1}));

    const std::string out = dir.path("out.IN");
    update_pelixin(c, out);
    std::ifstream in(out);
    std::vector<std::string> written;
    for (std::string line; std::getline(in, line);)
        written.push_back(line);
    ASSERT_EQ(written.size(), 24u);
    EXPECT_EQ(written[0], "BEGIN    /* BGORCT => BEGIN or CNTIN (RESUME)");
    EXPECT_EQ(written[3], "RUN001     /* IDENT  => SIX CHARACTER IDENTIFIER OF THIS RUN");
    EXPECT_EQ(written[4], " 1 0 1   /* PBCX,PBCY,PBCZ");
    EXPECT_EQ(written[12].substr(0, 16), " NO_THERMOSTAT  ");
    EXPECT_NE(written[6].find(" 0.5"), std::string::npos);
    EXPECT_NE(written[23].find("T   /* Zip flag (xyz files)"), std::string::npos);
    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, out); }),
              out + " line 25: expected VELOCITYINXYZ, found end of file");

    std::map<int, std::string> edits{{0, "CNTINUE_FROM_HERE"}, {2, "IND"}, {3, "ABCDEFGH"}};
    for (int32_t flag : {0, 1, 2, 3}) {
        edits[21] = " " + std::to_string(flag) + " /* Multipole";
        read_pelixin(c, sd, write(dir, edits));
        EXPECT_EQ(c.tlayttriamode, flag == 2) << flag;
    }
    EXPECT_EQ(c.bgorct + c.ident + sd.sd_simutype, "CNTINABCDEFIND  ");
}

std::vector<double> type_lo_hi(const std::vector<LatticeConstraint>& slabs) {
    std::vector<double> flat;
    for (const auto& s : slabs)
        flat.insert(flat.end(), {double(s.type), s.lo, s.hi});
    return flat;
}

// Stages one atom per position (ids 1..n, previous type 7) and returns their lattice types.
std::vector<int32_t> latyps(const std::vector<std::array<double, 3>>& positions,
                            const LatticeConstraints& lc, AtomStore store = {}) {
    store.mylt = static_cast<int32_t>(positions.size());
    if (store.last_lattice_atom == 0)
        store.first_lattice_atom = 1, store.last_lattice_atom = store.mylt;
    for (const auto& [x, y, z] : positions)
        store.list.push_back({static_cast<int32_t>(store.list.size() + 1), 0, x, y, z, 7});
    get_latyp(store, lc, RunConfig{});
    std::vector<int32_t> types(store.list.size());
    std::ranges::transform(store.list, types.begin(), &AtomRecord::latyp);
    return types;
}

TEST(Lattice, ReadsCodesAdjustsSlabsToTheBoxAndAssignsTypes) {
    ScratchDir dir;
    LatticeConstraints lc;
    lc.zlat_constrain.resize(5);  // a previous box's lists are replaced
    get_lattice_constrains(lc, 20.0, 30.0, 40.0,
                           dir.write("lattice.IN",
                                     "2\nFX 0.0 5.0\nDP 5.0 0.0\n3\nTH 2.0 29.95 label\n"
                                     "IM 3.0 4.0\nfx 1.0 29.8\n0\n"));
    // From the lower face: lo - 4; given from the far face: turned round, then hi + 4.
    EXPECT_EQ(type_lo_hi(lc.xlat_constrain), (std::vector<double>{0, -4, 5, 1, 15, 24}));
    // Within 0.1 of the upper face: hi + 4; an unknown code keeps the default type 3.
    EXPECT_EQ(type_lo_hi(lc.ylat_constrain),
              (std::vector<double>{2, 2, 29.95 + 4, 4, 3, 4, 3, 1, 29.8}));
    EXPECT_EQ(lc.nzlat_constrains(), 0);

    // The type rules, on slabs set by hand.
    lc.xlat_constrain = {{0, 0, 10}, {2, 5, 10}, {1, 20, 30}};
    lc.ylat_constrain = {{2, 0, 10}, {0, 5, 10}, {0, 20, 30}, {2, 20, 30}, {4, 40, 50}};
    lc.zlat_constrain = {{0, 0, 10}, {4, 20, 30}};
    // In x FX: 0; the later x slab wins over an earlier FX: 2; exactly at hi, in no slab: 3;
    // y TH claims a free atom: 2; y TH then y FX: 0; y FX then y TH: 0; claimed by x DP, y IM
    // does not override: 1; claimed by x TH, z FX fixes it: 0; claimed by y TH, z IM does not
    // override: 2; z IM claims a free atom: 4.
    const std::vector<std::array<double, 3>> atoms = {
        {2, 99, 99},  {6, 99, 99},  {10, 99, 99}, {99, 2, 99}, {99, 6, 99},
        {99, 25, 99}, {25, 45, 99}, {6, 99, 2},   {99, 2, 25}, {99, 99, 25}};
    EXPECT_EQ(latyps(atoms, lc), (std::vector<int32_t>{0, 2, 3, 2, 0, 0, 1, 0, 2, 4}));
    EXPECT_EQ(latyps(atoms, LatticeConstraints{}), std::vector<int32_t>(atoms.size(), 3));

    // Atoms 3 and 4 are not lattice atoms; atoms 2 and 3 are projectile atoms.
    AtomStore store;
    store.first_lattice_atom = 1, store.last_lattice_atom = 2;
    store.first_projectile_atom = 2, store.last_projectile_atom = 3;
    const std::vector<std::array<double, 3>> fixed(4, {1, 1, 1});
    EXPECT_EQ(latyps(fixed, lc, store), (std::vector<int32_t>{0, 3, 3, 7}));
    store.search_for_pka = true;
    EXPECT_EQ(latyps(fixed, lc, store), (std::vector<int32_t>{0, 0, 7, 7}));
}

}  // namespace
}  // namespace pelix
