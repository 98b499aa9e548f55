// The tabulated iron embedded-atom family: the table and its ends, the growing cut-off, the
// embedding with its own guard on hand-built dimers, and the refusals and stops.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/acklist.hpp"
#include "table_files.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;
using test_support::two_atom_bond_engine;

constexpr int32_t kFe = 26;

// The pair energy the table samples, a Morse well, and its force -dV/dr.
double morse(double r) {
    const double e = std::exp(-1.3 * (r - 2.6));
    return 0.5 * (e * e - 2.0 * e);
}
double morse_force(double r) {
    const double e = std::exp(-1.3 * (r - 2.6));
    return 1.3 * (e * e - e);
}

// The iron density beyond 3.2 A, where only its last knot acts, and its derivative.
double outer_density(double r) {
    return 0.47193527075943 * std::pow(4.2 - r, 3);
}
double outer_density_slope(double r) {
    return -3.0 * 0.47193527075943 * std::pow(4.2 - r, 2);
}

class Acklist : public ::testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories("POTFOR-SPLINES");
        write_table(1.5, 5.0, 351);
    }

    // n equally spaced samples of the Morse well from `first` to `last`.
    void write_table(double first, double last, int n) {
        dir_.write(std::string(kAcklistTableFile),
                   test_support::sampled_table(n, first, last, morse,
                                               [](double r) { return -morse_force(r); }));
    }

    // Two iron atoms r apart on x, evaluated once after `setups` set-ups.
    static Engine dimer(double r, int setups = 1) {
        Engine engine = two_atom_bond_engine(kFe, kFe, 1);
        engine.ff.rx[1] = r;
        for (int k = 0; k < setups; ++k)
            setup_prms_for_acklist(engine, 1);
        acklist_call(engine);
        return engine;
    }

    test_support::ScratchWorkingDir dir_;
};

TEST_F(Acklist, EverySetUpReadsTheTableAndMultipliesTheCutOffByTheLatticeConstant) {
    Engine engine;
    setup_prms_for_acklist(engine, 3);
    const AcklistState& state = engine.families.acklist;
    EXPECT_EQ(state.acklist_idnum, 3);
    EXPECT_DOUBLE_EQ(acklist_cutoff_squared(engine, kFe, kFe), 3.72645 * 3.72645);
    EXPECT_EQ(state.acklist_pw_cutin, 1.5);
    EXPECT_EQ(state.acklist_pw_cutoff, 5.0);

    // A second set-up reads a changed table and grows the radius again.
    write_table(1.0, 6.0, 11);
    setup_prms_for_acklist(engine, 3);
    EXPECT_DOUBLE_EQ(acklist_cutoff_squared(engine, kFe, kFe), std::pow(3.72645 * 2.8665, 2));
    EXPECT_EQ(state.acklist_xa.size(), 11u);
    EXPECT_EQ(state.acklist_pw_cutoff, 6.0);

    EXPECT_EQ(nrerror_line([&] { acklist_cutoff_squared(engine, kFe, 28); }),
              " nrerror: ACKLIST_MAPIJ: Problems setting ACKLIST_MAPIJ");
    std::filesystem::remove(kAcklistTableFile);
    const std::string missing =
        test_support::input_error_text([&] { setup_prms_for_acklist(engine, 1); });
    EXPECT_NE(missing.find("FeFe_pw_for_potfor_acklist.IN"), std::string::npos) << missing;
}

TEST_F(Acklist, PairTermIsTheSplineOfTheTableFromItsFirstToItsLastDistance) {
    Engine engine;
    setup_prms_for_acklist(engine, 1);
    const AcklistState& state = engine.families.acklist;
    // Both ends are evaluated, with the tabulated forces as slopes; in between the spline
    // follows the well.
    for (double r : {1.5, 5.0}) {
        EXPECT_NEAR(acklist_bond_pair(state, 1, r).v, morse(r), 1e-13) << r;
        EXPECT_NEAR(acklist_bond_pair(state, 1, r).f, morse_force(r), 1e-12) << r;
    }
    EXPECT_NEAR(acklist_bond_pair(state, 1, 2.8893).v, morse(2.8893), 1e-8);
    // Beyond the table nothing; below it a stop.
    EXPECT_EQ(acklist_bond_pair(state, 1, 5.0 + 1e-12).v, 0.0);
    EXPECT_EQ(acklist_bond_pair(state, 1, 5.0 + 1e-12).f, 0.0);
    EXPECT_EQ(nrerror_line([&] { acklist_bond_pair(state, 1, 1.5 - 1e-12); }),
              " nrerror:  ACKL_INTERACT: RLIJ < 0.2");

    // Another pair type is reported and computes nothing.
    double v = 1.0, f = 1.0;
    testing::internal::CaptureStdout();
    acklist_pw_interaction(state, 2, 2.5, v, f);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " ACKLAND_ACKLIST_PW_INTERACTION: IJPOT is unknown\n");
    EXPECT_EQ(v, 0.0);
    EXPECT_EQ(f, 0.0);

    // Table columns of different lengths are refused.
    AcklistState broken = state;
    broken.acklist_y2a.pop_back();
    EXPECT_EQ(nrerror_line([&] { fefe_acklist_pw_interaction(broken, 2.5, v, f); }),
              " nrerror: an assert_eq failed with this tag: ACKLIST_PW_INTERACTION");
}

TEST_F(Acklist, DimersCarryHalfTheTabulatedPairAndTheIronEmbeddingWithinTheGrowingRadius) {
    // At 3.5 the pair is a bond from the first set-up on.
    Engine at = dimer(3.5);
    const PairValue pair = acklist_bond_pair(at.families.acklist, 1, 3.5);
    EXPECT_NEAR(pair.v, morse(3.5), 1e-8);
    for (int a = 0; a < 2; ++a)
        EXPECT_NEAR(at.atoms.pe[a], 0.5 * pair.v - std::sqrt(outer_density(3.5)), 1e-13) << a;
    const double force = pair.f + outer_density_slope(3.5) / std::sqrt(outer_density(3.5));
    EXPECT_NEAR(at.ff.fx[1], force, 1e-12);
    EXPECT_NEAR(at.ff.fx[0], -force, 1e-12);

    // At 3.8, beyond the first radius (3.72645 A), it is no bond; after a second set-up
    // (10.68 A) it is.
    EXPECT_EQ(dimer(3.8).atoms.pe[0], 0.0);
    EXPECT_EQ(dimer(3.8).ff.fx[1], 0.0);
    EXPECT_NEAR(dimer(3.8, 2).atoms.pe[0], 0.5 * morse(3.8) - std::sqrt(outer_density(3.8)), 1e-8);

    // The embedding force survives down to sqrt(rho) = 1e-17, far below the guard of the
    // analytic family, and is dropped under it.
    auto embedding_force = [&](double r) {
        return dimer(r, 2).ff.fx[1] - acklist_bond_pair(at.families.acklist, 1, r).f;
    };
    const double kept = 4.2 - 1.3e-10, dropped = 4.2 - 2e-12;
    ASSERT_LT(std::sqrt(outer_density(kept)), 1e-14);
    ASSERT_GT(std::sqrt(outer_density(kept)), 1e-17);
    ASSERT_LT(std::sqrt(outer_density(dropped)), 1e-17);
    EXPECT_NEAR(embedding_force(kept), outer_density_slope(kept) / std::sqrt(outer_density(kept)),
                1e-12);
    EXPECT_GT(std::abs(embedding_force(kept)), 1e-6);
    EXPECT_EQ(embedding_force(dropped), 0.0);
}

TEST_F(Acklist, BondListHoldsEighteenBondsPerAtom) {
    // Two iron atoms: room for trunc(2 x 12 x 1.5) = 36 bonds, one of them from atom 1.
    auto run = [](int32_t listed) {
        Engine engine = two_atom_bond_engine(kFe, kFe, listed);
        setup_prms_for_acklist(engine, 1);
        return nrerror_line([&] { acklist_call(engine); });
    };
    EXPECT_EQ(run(35), "no stop");
    EXPECT_EQ(run(36), " nrerror: ACKLIST_NEB: WHATs WRONG WITH INTERSIZE");
}

}  // namespace
}  // namespace pelix
