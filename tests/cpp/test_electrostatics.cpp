// Coulomb method selection: which method each run setting and charge count leads to, the
// halving of long-range energies, the multipole settings files, the box that follows the
// charges, and the neighbour reach that Ewald summation needs.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "electrostatics/electrostatics.hpp"
#include "electrostatics/ewald.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "potentials/catalogue.hpp"
#include "table_files.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::ScratchWorkingDir;

// Two (or more) charges 3 A apart along x in a 20 A box, each listing the other once (no other
// image lies within 9 A), with zeroed results; the count is taken at the next dispatch.
Engine charged_pair(int32_t pbcx, int32_t multipole_flag, std::vector<double> q = {1.0, -1.0}) {
    Engine engine;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = pbcx;
    engine.config.multipole_flag = multipole_flag;
    engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 20.0;
    const auto n = static_cast<int32_t>(q.size());
    engine.atoms.mylt = n;
    engine.sd.myltpnebs = n;
    ForceFieldState& ff = engine.ff;
    for (int32_t i = 0; i < n; ++i) {
        ff.rx.push_back(8.0 + 3.0 * i);
        ff.ry.push_back(10.0);
        ff.rz.push_back(10.0);
    }
    ff.charg = q;
    ff.fx.assign(q.size(), 0.0);
    ff.fy.assign(q.size(), 0.0);
    ff.fz.assign(q.size(), 0.0);
    engine.atoms.pe.assign(q.size(), 0.0);
    ff.nebpnt = {0};
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j) {
            if (j != i && std::fabs(3.0 * (j - i)) < 9.0) {
                ff.nebour.push_back(j);
                ff.pbctyp.push_back(0);
            }
        }
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    }
    engine.triangle_layer.tlayttriaatoms = {0, 1};
    engine.triangle_layer.tlayttriacnt = 2;
    engine.electrostatics.elecfirstcall = true;
    return engine;
}

bool untouched(const Engine& engine) {
    for (std::size_t i = 0; i < engine.atoms.pe.size(); ++i) {
        if (engine.atoms.pe[i] != 0.0 || engine.ff.fx[i] != 0.0)
            return false;
    }
    return true;
}

TEST(ElectrostaticsCall, EachSettingSelectsItsMethod) {
    // Fewer than two charged atoms: nothing, whatever the flags say.
    for (int32_t flag : {0, 1, 2}) {
        for (int32_t pbc : {0, 1}) {
            Engine engine = charged_pair(pbc, flag, {0.0, 2.0});
            electrostatics_call(engine);
            EXPECT_TRUE(untouched(engine)) << flag << ' ' << pbc;
        }
    }
    // Flag 1 (the second multipole method) and flags of 3 or more in an open box: nothing.
    for (int32_t flag : {1, 3, 7}) {
        Engine engine = charged_pair(0, flag);
        electrostatics_call(engine);
        EXPECT_TRUE(untouched(engine)) << flag;
        EXPECT_EQ(engine.electrostatics.ncharged, 2);
    }
    // Flag 2: the triangle-layer estimate even in a periodic box, not halved.
    Engine layer = charged_pair(1, 2);
    electrostatics_call(layer);
    const DsfPairTerms terms = dsf_pair_terms(dsf_shift(DsfState{}), 1.0, -1.0, 3.0);
    EXPECT_DOUBLE_EQ(layer.atoms.pe[0], terms.energy_share);
    // Periodic in x, flag 0 or 3: Ewald, with the per-atom energies halved.
    for (int32_t flag : {0, 3}) {
        Engine engine = charged_pair(1, flag);
        electrostatics_call(engine);
        Engine plain = charged_pair(1, flag);
        ForceFieldState& ff = plain.ff;
        periodic_ewald(plain, 2, ff.rx.data(), ff.ry.data(), ff.rz.data(), ff.charg.data(),
                       ff.fx.data(), ff.fy.data(), ff.fz.data(), plain.atoms.pe.data());
        EXPECT_LT(plain.atoms.pe[0], 0.0);
        EXPECT_DOUBLE_EQ(engine.atoms.pe[0], 0.5 * plain.atoms.pe[0]) << flag;
        EXPECT_DOUBLE_EQ(engine.ff.fx[1], ff.fx[1]) << flag;
    }
}

TEST(ElectrostaticsCall, ChargesAreCountedOnceAfterEachSetUpAndNaNCounts) {
    Engine engine = charged_pair(0, 1, {std::numeric_limits<double>::quiet_NaN(), 1.0, 0.0});
    electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 2);
    EXPECT_FALSE(engine.electrostatics.elecfirstcall);
    // Charges that change later (charge equilibration) leave the count alone.
    engine.ff.charg = {0.0, 0.0, 0.0};
    electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 2);
    // A new set-up counts again at the next evaluation.
    setup_prms_for_electrostatics(engine);
    EXPECT_TRUE(engine.electrostatics.elecfirstcall);
    electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 0);
}

// Runs the set-up in a scratch directory holding `files`.
class MultipoleSettingsFiles : public ::testing::Test {
  protected:
    // "dpmta.IN" with a box of sides (sx, sy, sz) centred on (cx, cy, cz), each value followed
    // by a comment as the file carries them; off-diagonal box components are given too.
    void write_dpmta(std::array<double, 3> side, std::array<double, 3> centre, bool resize) {
        std::string text =
            "4   procs\n3 levels\n8 terms\n0 mp_lj\n0 fft\n4 block\n0 pbc\n6 macro\n"
            "0.6 theta\n";
        const double v[9] = {side[0], 0.5, 0.0, 0.0, side[1], 0.0, 0.25, 0.0, side[2]};
        for (double x : v)
            text += std::to_string(x) + "   box vector\n";
        for (double x : centre)
            text += std::to_string(x) + "  centre\n";
        text += resize ? "T resize\n" : "F resize\n";
        scratch_.write("dpmta.IN", text);
    }

    ScratchWorkingDir scratch_;
    Engine engine_;
};

TEST_F(MultipoleSettingsFiles, FlagDecidesWhatIsReadAndNegativeFlagsStop) {
    // Flags 1 and 2 read no file (there is none here); 0 needs "dpmta.IN".
    for (int32_t flag : {1, 2, 5}) {
        engine_.config.multipole_flag = flag;
        EXPECT_NO_THROW(setup_prms_for_electrostatics(engine_)) << flag;
    }
    engine_.config.multipole_flag = 0;
    EXPECT_NE(input_error_text([&] { setup_prms_for_electrostatics(engine_); }).find("dpmta.IN"),
              std::string::npos);
    engine_.config.multipole_flag = -1;
    try {
        setup_prms_for_electrostatics(engine_);
        ADD_FAILURE() << "a negative flag must stop";
    } catch (const FatalError& error) {
        EXPECT_EQ(error.lines().at(0), " MULTIPOLE FLAG SHOULD BE SET TO 0 (DPMTA) or 1 (FMMP)");
    }
}

TEST_F(MultipoleSettingsFiles, DpmtaRecordsAndBoxState) {
    write_dpmta({40.0, 50.0, 60.0}, {1.0, 2.0, 3.0}, true);
    engine_.config.multipole_flag = 0;
    setup_prms_for_electrostatics(engine_);
    const DpmtaRecords& rec = engine_.electrostatics.multipole.records;
    EXPECT_EQ(rec.integers, (std::array<int32_t, 8>{1, 3, 8, 0, 0, 4, 0, 6}));
    EXPECT_EQ(rec.id, 1);
    EXPECT_DOUBLE_EQ(rec.reals[0], 0.6);
    const ForceFieldState& ff = engine_.ff;
    EXPECT_TRUE(ff.dpmtaresizeflag);
    EXPECT_DOUBLE_EQ(ff.v1y, 0.5);
    EXPECT_DOUBLE_EQ(ff.v3x, 0.25);
    EXPECT_EQ((std::array<double, 6>{ff.xmina, ff.ymina, ff.zmina, ff.xmaxa, ff.ymaxa, ff.zmaxa}),
              (std::array<double, 6>{0.0, 0.0, 0.0, 40.0, 50.0, 60.0}));
    // The tracked box starts from the diagonal of the box vectors about the centre.
    EXPECT_EQ(ff.dpmtamax, (std::array<double, 3>{21.0, 27.0, 33.0}));
    EXPECT_EQ(ff.dpmtamin, (std::array<double, 3>{-19.0, -23.0, -27.0}));
    EXPECT_EQ(ff.dpmtahalfbox, (std::array<double, 3>{20.0, 25.0, 30.0}));
    // The tree was started with the diagonal of the box vectors and the centre.
    const auto& tree = engine_.electrostatics.multipole.tree;
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->box_sides(), (std::array<double, 3>{40.0, 50.0, 60.0}));
    EXPECT_EQ(tree->box_centre(), (std::array<double, 3>{1.0, 2.0, 3.0}));
    finalise_multipole(engine_);
    EXPECT_FALSE(tree);
}

TEST_F(MultipoleSettingsFiles, OpenBoxTreeGivesHalfTheCoulombPotentialPerAtom) {
    write_dpmta({40.0, 40.0, 40.0}, {0.0, 0.0, 0.0}, false);
    Engine& engine = engine_;
    engine.config.multipole_flag = 0;
    const std::vector<std::array<double, 4>> ions = {
        {1.0, 2.0, -3.0, 1.5},    {-4.0, 0.5, 2.0, -1.0}, {6.0, -7.0, 1.0, 0.75},
        {-2.0, -3.0, -8.0, -2.0}, {9.0, 8.0, 7.0, 0.5},   {0.3, -0.2, 0.1, 0.25}};
    const auto n = static_cast<int32_t>(ions.size());
    engine.atoms.mylt = n;
    ForceFieldState& ff = engine.ff;
    for (const auto& ion : ions) {
        ff.rx.push_back(ion[0]);
        ff.ry.push_back(ion[1]);
        ff.rz.push_back(ion[2]);
        ff.charg.push_back(ion[3]);
    }
    ff.fx.assign(ions.size(), 0.0);
    ff.fy.assign(ions.size(), 0.0);
    ff.fz.assign(ions.size(), 0.0);
    engine.atoms.pe.assign(ions.size(), 0.0);
    setup_prms_for_electrostatics(engine);
    electrostatics_call(engine);

    const double k = 14.39964392951822;
    for (std::size_t i = 0; i < ions.size(); ++i) {
        double phi = 0.0, f[3] = {0.0, 0.0, 0.0};
        for (std::size_t j = 0; j < ions.size(); ++j) {
            if (j == i)
                continue;
            const double d[3] = {ions[i][0] - ions[j][0], ions[i][1] - ions[j][1],
                                 ions[i][2] - ions[j][2]};
            const double r = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
            phi += ions[j][3] / r;
            for (int c = 0; c < 3; ++c)
                f[c] += k * ions[i][3] * ions[j][3] * d[c] / (r * r * r);
        }
        const double expected = 0.5 * k * ions[i][3] * phi;
        EXPECT_NEAR(engine.atoms.pe[i], expected, 1e-4 * std::fabs(expected)) << i;
        EXPECT_NEAR(ff.fx[i], f[0], 1e-4 * std::fabs(f[0]) + 1e-6) << i;
        EXPECT_NEAR(ff.fy[i], f[1], 1e-4 * std::fabs(f[1]) + 1e-6) << i;
        EXPECT_NEAR(ff.fz[i], f[2], 1e-4 * std::fabs(f[2]) + 1e-6) << i;
    }
}

TEST_F(MultipoleSettingsFiles, UnchargedAtomsMayLieOutsideTheTreeBox) {
    // +1 and -1 3 A apart inside the box (0..20 on each axis), atom 2 uncharged at x = 25:
    // the pair's Coulomb energy, no Coulomb force on the uncharged atom, tracked box or not.
    // A charged atom outside a box that does not follow the charges stops, named by number.
    const auto evaluate = [&](bool resize, double q_outside) {
        write_dpmta({20.0, 20.0, 20.0}, {10.0, 10.0, 10.0}, resize);
        Engine engine;
        engine.config.multipole_flag = 0;
        engine.atoms.mylt = 3;
        ForceFieldState& ff = engine.ff;
        ff.rx = {10.0, 13.0, 25.0};
        ff.ry = ff.rz = {10.0, 10.0, 10.0};
        ff.charg = {1.0, -1.0, q_outside};
        ff.fx.assign(3, 0.0);
        ff.fy.assign(3, 0.0);
        ff.fz.assign(3, 0.0);
        engine.atoms.pe.assign(3, 0.0);
        setup_prms_for_electrostatics(engine);
        electrostatics_call(engine);
        return engine;
    };
    for (bool resize : {false, true}) {
        const Engine engine = evaluate(resize, 0.0);
        const std::vector<double>& pe = engine.atoms.pe;
        EXPECT_NEAR(pe[0] + pe[1] + pe[2], -14.39964392951822 / 3.0, 1e-9) << resize;
        EXPECT_NEAR(engine.ff.fx[0], 14.39964392951822 / 9.0, 1e-9) << resize;
        EXPECT_EQ(engine.ff.fx[2], 0.0);
        EXPECT_EQ(pe[2], 0.0);
    }
    try {
        evaluate(false, 0.5);
        ADD_FAILURE() << "a charged atom outside a fixed box must stop";
    } catch (const FatalError& error) {
        EXPECT_NE(error.lines().at(0).find("FPMTAFORCE: PARTICLE 3 AT 25"), std::string::npos)
            << error.lines().at(0);
    }
}

TEST_F(MultipoleSettingsFiles, FmmpSettingsAreFifteenLines) {
    scratch_.write("fmmp.IN", "2\n1\n0\n3\n4\n5\n1.5\n0\n0\n0\n2.5\n0\n0\n0\n3.5 last\n");
    read_fmmp_in(engine_);
    const FmmpSettings& s = engine_.electrostatics.multipole.fmmp;
    EXPECT_EQ((std::array<int32_t, 6>{s.iws, s.itr, s.ipbc, s.lbotx, s.lboty, s.lbotz}),
              (std::array<int32_t, 6>{2, 1, 0, 3, 4, 5}));
    EXPECT_EQ(s.hx, (std::array<double, 3>{1.5, 0.0, 0.0}));
    EXPECT_EQ(s.hz, (std::array<double, 3>{0.0, 0.0, 3.5}));
    scratch_.write("fmmp.IN", "2\n1\n0\n3\n");
    EXPECT_NE(input_error_text([&] { read_fmmp_in(engine_); }).find("fmmp.IN"), std::string::npos);
}

// Tracked box of side 100 about the origin; one atom of the given charge at `at`.
Engine tracked_box(std::array<double, 3> at, double q = 1.0, double side = 100.0) {
    Engine engine;
    engine.config.multipole_flag = 0;
    ForceFieldState& ff = engine.ff;
    ff.dpmtaresizeflag = true;
    ff.v1x = ff.v2y = ff.v3z = side;
    const std::array<int32_t, 8> integers{1, 3, 6, 0, 0, 4, 0, 6};
    const std::array<double, 13> reals{0.6, side, 0, 0, 0, side, 0, 0, 0, side, 0, 0, 0};
    multipole::fpmtainit(engine.electrostatics.multipole.tree, integers.data(), reals.data(),
                         engine.electrostatics.multipole.records.id);
    setup_dpmtaresize(engine);
    engine.atoms.mylt = 1;
    ff.rx = {at[0]};
    ff.ry = {at[1]};
    ff.rz = {at[2]};
    ff.charg = {q};
    return engine;
}

TEST(BoxTracking, FacesMoveOnlyForChargesWithinTheMargin) {
    // Exactly 10 A inside the upper x face: the test is strict, nothing moves.
    Engine still = tracked_box({40.0, 0.0, 0.0});
    main_dpmtaresize(still);
    EXPECT_EQ(still.ff.dpmtamax, (std::array<double, 3>{50.0, 50.0, 50.0}));

    // 9.5 A inside: the upper x face goes 20 A beyond the atom; side and centre follow on x.
    Engine moved = tracked_box({40.5, 0.0, -45.0});
    main_dpmtaresize(moved);
    const ForceFieldState& ff = moved.ff;
    EXPECT_EQ(ff.dpmtamax, (std::array<double, 3>{60.5, 50.0, 50.0}));
    EXPECT_EQ(ff.dpmtamin, (std::array<double, 3>{-50.0, -50.0, -65.0}));
    EXPECT_EQ(ff.dpmtaboxside, (std::array<double, 3>{110.5, 100.0, 115.0}));
    EXPECT_EQ(ff.dpmtaboxcntr, (std::array<double, 3>{5.25, 0.0, -7.5}));
    EXPECT_EQ(ff.dpmtahalfbox, (std::array<double, 3>{50.0, 50.0, 50.0}));  // not updated
    EXPECT_EQ(moved.electrostatics.multipole.tree->box_sides(), ff.dpmtaboxside);
    EXPECT_EQ(moved.electrostatics.multipole.tree->box_centre(), ff.dpmtaboxcntr);

    // Uncharged atoms never move the box, wherever they are.
    Engine neutral = tracked_box({49.0, -49.0, 0.0}, 0.0);
    main_dpmtaresize(neutral);
    EXPECT_EQ(neutral.ff.dpmtaboxside, (std::array<double, 3>{100.0, 100.0, 100.0}));

    // In a box narrower than both margins, a coordinate that raised the upper value is not
    // tested against the lower one: only the upper face moves.
    Engine narrow = tracked_box({0.0, 0.0, 0.0}, 1.0, 10.0);
    main_dpmtaresize(narrow);
    EXPECT_EQ(narrow.ff.dpmtamax, (std::array<double, 3>{20.0, 20.0, 20.0}));
    EXPECT_EQ(narrow.ff.dpmtamin, (std::array<double, 3>{-5.0, -5.0, -5.0}));
}

// Cut-off 4 A for every pair of the test family.
double four_angstroms(Engine&, int32_t, int32_t) {
    return 16.0;
}
void no_setup(Engine&, int32_t) {}
void no_evaluation(Engine&) {}
constexpr FamilyOps kShortOps{no_setup, four_angstroms, no_evaluation};
constexpr KeywordRow kShortCatalogue[] = {{"SHORT", "short_interaction", &kShortOps}};

// Pair radius after the neighbour set-up in a 30 A box with two staged atoms.
double list_radius(int32_t pbcx, int32_t multipole_flag, std::array<double, 2> charges) {
    Engine engine;
    engine.catalogue = kShortCatalogue;
    engine.config.pbcx = pbcx;
    engine.config.pbcy = engine.config.pbcz = 1;
    engine.config.multipole_flag = multipole_flag;
    engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 30.0;
    engine.atoms.mylt = 2;
    engine.atoms.list.resize(2);
    engine.atoms.list[0].charge = charges[0];
    engine.atoms.list[1].charge = charges[1];
    engine.atoms.numel = 1;
    engine.atoms.anum = {26};
    engine.registry.potype.assign(1, "SHORT");
    engine.registry.pot_numprocs = 1;
    define_myprocess_boundaries(engine);
    double range = 0.0;
    setup_nebour_parameters(engine, range);
    EXPECT_EQ(range, engine.neighbours.radius(0, 0));
    EXPECT_EQ(engine.cells.mx, static_cast<int32_t>(30.0 / range));
    return engine.neighbours.radius(0, 0);
}

TEST(EwaldNeighbourReach, ListReachesTheRealSpaceCutOffOnlyWhenEwaldRuns) {
    EXPECT_EQ(list_radius(1, 1, {1.0, -1.0}), 9.0);
    EXPECT_EQ(list_radius(1, 0, {1.0, -1.0}), 9.0);
    EXPECT_EQ(list_radius(1, 2, {1.0, -1.0}), 4.3);  // triangle-layer mode
    EXPECT_EQ(list_radius(0, 1, {1.0, -1.0}), 4.3);  // open along x
    EXPECT_EQ(list_radius(1, 1, {0.0, -1.0}), 4.3);  // one charge
}

}  // namespace
}  // namespace pelix
