// The tabulated iron-nickel-chromium embedded-atom family: pair types, the twelve tables and
// their shared point count, the capacity of a table, and small configurations checked against
// the analytic functions the tables are sampled from.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/ternary.hpp"
#include "table_files.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::nrerror_line;
using test_support::sampled_table;

constexpr int32_t kFe = 26, kNi = 28, kCr = 24;

// Morse pairs by pair type, densities a exp(-b r) and embeddings -s sqrt(1 + rho^2) (flat at
// rho = 0, as the zero end slopes of the splines assume) by element Fe, Ni, Cr.
double pair(int t, double r, bool slope = false) {
    const double depth = 0.3 + 0.05 * t, rate = 1.4 + 0.05 * t, e = std::exp(-rate * (r - 2.5));
    return slope ? -2.0 * depth * rate * (e * e - e) : depth * (e * e - 2.0 * e);
}
double rho(int e, double r, bool slope = false) {
    const double a = 1.0 + 0.3 * e, b = 1.1 - 0.1 * e;
    return (slope ? -b : 1.0) * a * std::exp(-b * r);
}
double embed(int e, double p, bool slope = false) {
    const double s = 1.0 + 0.2 * e;
    return slope ? -s * p / std::sqrt(1.0 + p * p) : -s * std::sqrt(1.0 + p * p);
}
const std::array<const char*, 6> kPairFiles{"pFeFe.IN", "pNiNi.IN", "pCrCr.IN",
                                            "pFeNi.IN", "pFeCr.IN", "pNiCr.IN"};
const std::array<const char*, 3> kElements{"Fe", "Ni", "Cr"};

class TernaryTables : public ::testing::Test {
  protected:
    void write_all(int n) {
        for (int t = 0; t < 6; ++t)
            dir_.write(kPairFiles[t],
                       sampled_table(n, 1.0, 5.5, [&](double r) { return pair(t, r); }));
        for (int e = 0; e < 3; ++e) {
            dir_.write(std::string("rho") + kElements[e] + ".IN",
                       sampled_table(n, 1.0, 5.5, [&](double r) { return rho(e, r); }));
            dir_.write(std::string("F_") + kElements[e] + ".IN",
                       sampled_table(n, 0.0, 60.0, [&](double p) { return embed(e, p); }));
        }
    }
    test_support::ScratchWorkingDir dir_;
};

// Atoms of the given atomic numbers on the x axis, each listing every other atom.
Engine line_engine(const std::vector<int32_t>& z, const std::vector<double>& x) {
    Engine engine;
    engine.atoms.anum = z;
    ForceFieldState& ff = engine.ff;
    const auto n = static_cast<int32_t>(z.size());
    for (int32_t i = 0; i < n; ++i) {
        ff.specie.push_back(i);
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
        for (int32_t j = 0; j < n; ++j) {
            if (j != i)
                ff.nebour.push_back(j);
        }
    }
    ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    ff.pbctyp.assign(ff.nebour.size(), 0);
    ff.rx = x;
    ff.ry = ff.rz = ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(z.size(), 0.0);
    ff.potnum.assign(z.size(), 1);
    engine.sd.myltpnebs = n;
    setup_prms_for_ternary(engine, 1);
    return engine;
}

TEST_F(TernaryTables, MapperAndTheTwelveTables) {
    const std::array<std::array<int32_t, 2>, 6> types{
        {{kFe, kFe}, {kNi, kNi}, {kCr, kCr}, {kFe, kNi}, {kFe, kCr}, {kNi, kCr}}};
    for (int32_t t = 1; t <= 6; ++t) {
        EXPECT_EQ(ternary_mapij(types[t - 1][0], types[t - 1][1]), t);
        EXPECT_EQ(ternary_mapij(types[t - 1][1], types[t - 1][0]), t);
    }
    for (const auto& [a, b] : {std::pair{kFe, 15}, std::pair{13, 13}, std::pair{27, kNi}})
        EXPECT_EQ(nrerror_line([&] { ternary_mapij(a, b); }),
                  " nrerror: TERNARY_MAPIJ: Problems setting TERNARY_MAPIJ");

    write_all(300);
    Engine engine;
    setup_prms_for_ternary(engine, 5);
    const TernaryState& state = engine.families.ternary;
    EXPECT_EQ(state.ternary_idnum, 5);
    EXPECT_EQ(state.nspline, 300);
    for (int32_t t = 1; t <= 6; ++t) {
        EXPECT_EQ(ternary_cutoff_squared(engine, types[t - 1][0], types[t - 1][1]),
                  26.832399999999996);
        // Each pair type holds its own file: its knots return that function exactly.
        const TernaryTable& table = state.pair[TernaryState::slot(t)];
        EXPECT_EQ(ternary_lookup(state, table, table.x[37]).value, pair(t - 1, table.x[37]));
    }
    for (int e = 0; e < 3; ++e) {
        EXPECT_NEAR(ternary_lookup(state, state.rho[e], 2.3).value, rho(e, 2.3), 1e-9);
        EXPECT_NEAR(ternary_lookup(state, state.embedding[e], 3.7).derivative, embed(e, 3.7, true),
                    1e-5);
    }
    // A table rewritten between two set-ups is read again.
    const double knot = state.pair[3].x[37];
    dir_.write("pFeNi.IN", sampled_table(300, 1.0, 5.5, [](double r) { return 2.0 * r; }));
    setup_prms_for_ternary(engine, 5);
    EXPECT_EQ(ternary_lookup(state, state.pair[3], knot).value, 2.0 * knot);
}

TEST_F(TernaryTables, SharedPointCountAndTableCapacity) {
    // The last table read sets the count of every lookup: a longer table is looked up on its
    // first points only, a shorter one is refused.
    write_all(400);
    dir_.write("pNiCr.IN", sampled_table(200, 1.0, 5.5, [](double r) { return pair(5, r); }));
    Engine engine;
    setup_prms_for_ternary(engine, 1);
    const TernaryState& state = engine.families.ternary;
    EXPECT_EQ(state.nspline, 200);
    testing::internal::CaptureStdout();
    const SplineLookup beyond = ternary_lookup(state, state.pair[0], state.pair[0].x[199] + 0.1);
    EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, 10), " x>cutoff\n");
    EXPECT_EQ(beyond.value, state.pair[0].y[199]);

    dir_.write("rhoCr.IN", sampled_table(150, 1.0, 5.5, [](double r) { return rho(2, r); }));
    EXPECT_NE(input_error_text([&] {
                  setup_prms_for_ternary(engine, 1);
              }).find("rhoCr.IN line 1: holds 150 points, fewer than the 200"),
              std::string::npos);
    std::filesystem::remove("pFeCr.IN");
    EXPECT_NE(input_error_text([&] { setup_prms_for_ternary(engine, 1); }).find("pFeCr.IN"),
              std::string::npos);

    TernaryState direct;
    TernaryTable table;
    dir_.write("big.IN", sampled_table(120000, 0.0, 1.0, [](double r) { return r * r; }));
    setup_ternary_table(direct, table, "big.IN");
    EXPECT_EQ(direct.nspline, 120000);
    EXPECT_EQ(table.d2y.size(), 120000u);
    dir_.write("big.IN", "120001\n0.0 0.0\n");
    EXPECT_NE(input_error_text([&] {
                  setup_ternary_table(direct, table, "big.IN");
              }).find("big.IN line 1: holds 120001 points, more than the 120000"),
              std::string::npos);
}

TEST_F(TernaryTables, IronWithANickelNeighbourAndAtomsWithoutBonds) {
    write_all(2000);
    // Fe 0 and Ni 1 2.5 A apart; Cr 2 exactly 5.18 A from Ni 1 (no bond) and further from Fe.
    Engine engine = line_engine({kFe, kNi, kCr}, {0.0, 2.5, 2.5 + 5.18});
    ternary_call(engine);
    const double r = 2.5, rho_fe = rho(1, r), rho_ni = rho(0, r);
    EXPECT_NEAR(engine.atoms.pe[0], 0.5 * pair(3, r) + embed(0, rho_fe), 1e-8);
    EXPECT_NEAR(engine.atoms.pe[1], 0.5 * pair(3, r) + embed(1, rho_ni), 1e-8);
    const double dedr = pair(3, r, true) + embed(0, rho_fe, true) * rho(1, r, true) +
                        embed(1, rho_ni, true) * rho(0, r, true);
    EXPECT_NEAR(engine.ff.fx[0], dedr, 1e-7);
    EXPECT_NEAR(engine.ff.fx[1], -dedr, 1e-7);
    // Without bonds an atom still takes F(0), the first knot of its table, and no force.
    EXPECT_EQ(engine.atoms.pe[2], embed(2, 0.0));
    EXPECT_EQ(engine.ff.fx[2], 0.0);

    // An embedding table that begins above zero cannot give F(0) to an atom without bonds.
    write_all(50);
    dir_.write("F_Cr.IN", sampled_table(50, 0.5, 60.0, [](double p) { return embed(2, p); }));
    Engine lonely = line_engine({kCr}, {0.0});
    try {
        ternary_call(lonely);
        ADD_FAILURE() << "no stop";
    } catch (const FatalError& error) {
        EXPECT_EQ(error.lines().at(0), " Error x < cutin");
    }
}

TEST_F(TernaryTables, BondListOverflowStops) {
    // Two selected atoms give room for trunc(2 x 100 x 1.5) = 300 bonds.
    write_all(50);
    for (const auto& [listed, message] :
         {std::pair{299, "no stop"},
          std::pair{300, " nrerror: TERNARY_NEB: WHATs WRONG WITH INTERSIZE"}}) {
        Engine engine = test_support::two_atom_bond_engine(kFe, kCr, listed);
        setup_prms_for_ternary(engine, 1);
        testing::internal::CaptureStdout();  // densities beyond the embedding tables
        EXPECT_EQ(nrerror_line([&] { ternary_call(engine); }), message);
        testing::internal::GetCapturedStdout();
    }
}

}  // namespace
}  // namespace pelix
