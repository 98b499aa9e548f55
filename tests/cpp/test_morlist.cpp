// The tabulated phosphorus-iron pair family and its table reader: records and end forces,
// unreadable tables, the point limit, the pair function at and beyond both ends of a table,
// convergence to the tabulated function and the bond-list capacity.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/morlist.hpp"
#include "potentials/pair_table.hpp"
#include "table_files.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::nrerror_line;

constexpr int32_t kP = 15, kFe = 26;
const char* const kFiles[2] = {"POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN",
                               "POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN"};

// The Morse pairs the tables are sampled from, with the range of each table.
struct Morse {
    double depth, rate, r0, first, last;
    double v(double r) const {
        const double e = std::exp(-rate * (r - r0));
        return depth * (e * e - 2.0 * e);
    }
    double dv(double r) const {
        const double e = std::exp(-rate * (r - r0));
        return -2.0 * depth * rate * (e * e - e);
    }
};
const Morse kMorse[2] = {{0.2, 1.4, 3.3, 1.5, 5.0}, {0.8, 1.7, 2.3, 1.2, 4.0}};

class MorlistTables : public ::testing::Test {
  protected:
    MorlistTables() { std::filesystem::create_directory("POTFOR-SPLINES"); }
    void write(int t, int n) {
        const Morse& m = kMorse[t - 1];
        dir_.write(kFiles[t - 1], test_support::sampled_table(
                                      n, m.first, m.last, [&](double r) { return m.v(r); },
                                      [&](double r) { return m.dv(r); }));
    }
    MorlistState set_up(int n_pp, int n_pfe) {
        write(1, n_pp);
        write(2, n_pfe);
        setup_prms_for_morlist(engine_, 2);
        return engine_.families.morlist;
    }

    test_support::ScratchWorkingDir dir_;
    Engine engine_;
};

TEST_F(MorlistTables, ReaderKeepsRecordsAndEndForcesAndNamesBadFiles) {
    const PairTable table = read_pair_table(
        dir_.write("t.IN", "3 count\n1.0, 2.0, 0.5\n1.5 3.0 9.0\n2.0 4.0 -0.25 label\n"));
    EXPECT_EQ(table.x, (std::vector{1.0, 1.5, 2.0}));
    EXPECT_EQ(table.y, (std::vector{2.0, 3.0, 4.0}));
    EXPECT_EQ(table.first_force, 0.5);
    EXPECT_EQ(table.last_force, -0.25);

    for (const auto& [text, expected] :
         {std::pair{"2\n1.0 2.0 0.0\n1.5 abc 0.0\n", "bad.IN line 3: expected a real"},
          std::pair{"3\n1 2 0\n2 3 0\n", "found end of file"},
          std::pair{"0\n", "bad.IN line 1: expected a positive number"}}) {
        const std::string error =
            input_error_text([&] { read_pair_table(dir_.write("bad.IN", text)); });
        EXPECT_NE(error.find(expected), std::string::npos) << error;
    }
    EXPECT_NE(input_error_text([&] { read_pair_table("none.IN"); }).find("none.IN"),
              std::string::npos);
    // The limit is checked on the count, before any record.
    EXPECT_EQ(nrerror_line([&] {
                  read_pair_table(dir_.write("big.IN", "3\n"), {{2, "BIG"}});
              }),
              " nrerror: BIG");
}

TEST_F(MorlistTables, MapperSetUpAndPointLimitOfBothTables) {
    EXPECT_EQ(morlist_mapij(kP, kP), 1);
    EXPECT_EQ(morlist_mapij(kP, kFe), 2);
    EXPECT_EQ(morlist_mapij(kFe, kP), 2);
    for (const auto& [a, b] : {std::pair{kFe, kFe}, std::pair{kP, 8}, std::pair{28, kP}})
        EXPECT_EQ(nrerror_line([&] { morlist_mapij(a, b); }),
                  " nrerror: FUNCTION MORLIST_MAPIJ: Problems to set MORLIST_MAPIJ");

    const MorlistState state = set_up(10000, 10000);
    EXPECT_EQ(state.morlist_idnum, 2);
    EXPECT_EQ(state.morlist_cutin[0], 1.5);
    EXPECT_EQ(state.morlist_cutoff[1], 4.0);
    EXPECT_EQ(morlist_cutoff_squared(engine_, kP, kP), 25.0);
    EXPECT_EQ(morlist_cutoff_squared(engine_, kFe, kP), 16.0);
    // One point too many stops either set-up with the same text.
    for (int t : {1, 2}) {
        write(3 - t, 50);
        write(t, 10001);
        EXPECT_EQ(nrerror_line([&] { setup_prms_for_morlist(engine_, 2); }),
                  " nrerror: SETUP_PFE_MORLIST_PRMS: NDATA > MORLIST_MAXNDATA");
    }
    std::filesystem::remove(kFiles[1]);
    write(1, 50);
    EXPECT_NE(input_error_text([&] { setup_prms_for_morlist(engine_, 2); }).find(kFiles[1]),
              std::string::npos);
}

TEST_F(MorlistTables, PairFunctionAtTheEndsOfTheTableAndConvergence) {
    const MorlistState state = set_up(200, 300);
    for (int t : {1, 2}) {
        const Morse& m = kMorse[t - 1];
        // The first distance is a knot: its energy exactly, its force the clamped slope.
        EXPECT_EQ(morlist_pair(state, t, m.first).v, m.v(m.first));
        EXPECT_NEAR(morlist_pair(state, t, m.first).f, -m.dv(m.first), 1e-10);
        EXPECT_EQ(nrerror_line([&] { morlist_pair(state, t, std::nextafter(m.first, 0.0)); }),
                  " nrerror: ACKL_INTERACT: RLIJ < 0.2");
        // The last distance is still evaluated, in the last interval; beyond, nothing.
        EXPECT_NEAR(morlist_pair(state, t, m.last).v, m.v(m.last), 1e-15);
        EXPECT_NEAR(morlist_pair(state, t, m.last).f, -m.dv(m.last), 1e-12);
        const PairValue beyond = morlist_pair(state, t, std::nextafter(m.last, 10.0));
        EXPECT_EQ(beyond.v, 0.0);
        EXPECT_EQ(beyond.f, 0.0);
    }

    // Halving the spacing cuts the energy error about sixteen-fold, the force error eight-fold.
    double previous_v = 0.0, previous_f = 0.0;
    for (int n : {40, 79, 157}) {
        const MorlistState fine = set_up(n, n);
        double error_v = 0.0, error_f = 0.0;
        for (double r = 1.2; r <= 4.0; r += 0.0056) {
            const PairValue p = interaction_spline(fine, 2, r);
            error_v = std::max(error_v, std::abs(p.v - kMorse[1].v(r)));
            error_f = std::max(error_f, std::abs(p.f + kMorse[1].dv(r)));
        }
        if (previous_v > 0.0) {
            EXPECT_GT(previous_v / error_v, 12.0) << n;
            EXPECT_GT(previous_f / error_f, 6.0) << n;
        }
        previous_v = error_v;
        previous_f = error_f;
    }
    EXPECT_LT(previous_v, 3e-6);
}

TEST_F(MorlistTables, BondListOverflowStops) {
    // Two selected atoms give room for trunc(2 x 20 x 1.5) = 60 bonds.
    for (const auto& [listed, message] :
         {std::pair{59, "no stop"}, std::pair{60, " nrerror: MORSNEB: NEBTOT > INTERSIZE"}}) {
        Engine engine = test_support::two_atom_bond_engine(kP, kFe, listed);
        engine.ff.idnum = {1, 2};
        write(1, 20);
        write(2, 20);
        setup_prms_for_morlist(engine, 1);
        EXPECT_EQ(nrerror_line([&] { morlist_call(engine); }), message);
    }
}

}  // namespace
}  // namespace pelix
