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
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::stop_of;
using Ion = std::array<double, 4>;  // x, y, z, charge
constexpr double kTreeCoulomb = 14.39964392951822;

// An engine with the ions staged, zeroed forces and energies, and the charges counted at the
// next dispatch.
Engine staged(const std::vector<Ion>& ions, int32_t pbc = 0, int32_t multipole_flag = 0) {
    Engine engine;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = pbc;
    engine.config.multipole_flag = multipole_flag;
    engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 20.0;
    engine.atoms.mylt = engine.sd.myltpnebs = static_cast<int32_t>(ions.size());
    ForceFieldState& ff = engine.ff;
    for (const Ion& ion : ions) {
        ff.rx.push_back(ion[0]), ff.ry.push_back(ion[1]), ff.rz.push_back(ion[2]);
        ff.charg.push_back(ion[3]);
    }
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(ions.size(), 0.0);
    engine.electrostatics.elecfirstcall = true;
    return engine;
}

// Two charges 3 A apart along x in a 20 A box, each listing the other once.
Engine charged_pair(int32_t pbc, int32_t multipole_flag, double q0 = 1.0, double q1 = -1.0) {
    Engine engine = staged({{8, 10, 10, q0}, {11, 10, 10, q1}}, pbc, multipole_flag);
    engine.ff.nebour = {1, 0};
    engine.ff.pbctyp = {0, 0};
    engine.ff.nebpnt = {0, 1, 2};
    engine.triangle_layer.tlayttriaatoms = {0, 1};
    engine.triangle_layer.tlayttriacnt = 2;
    return engine;
}

TEST(ElectrostaticsCall, EachSettingSelectsItsMethod) {
    // Fewer than two charged atoms: nothing, whatever the flags say; flag 1 (the second
    // multipole method) and flags of 3 or more in an open box: nothing.
    for (const auto& [flag, pbc, q0] : std::vector<std::array<int32_t, 3>>{
             {0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}, {1, 0, 1}, {3, 0, 1}, {7, 0, 1}}) {
        Engine engine = charged_pair(pbc, flag, q0, 2.0);
        electrostatics_call(engine);
        EXPECT_EQ(engine.atoms.pe, std::vector<double>(2, 0.0)) << flag << ' ' << pbc;
        EXPECT_EQ(engine.ff.fx, std::vector<double>(2, 0.0)) << flag << ' ' << pbc;
        EXPECT_EQ(engine.electrostatics.ncharged, q0 == 0 ? 1 : 2);
    }
    // Periodic, flag 0 or 3: Ewald, with the per-atom energies halved and the forces whole.
    for (int32_t flag : {0, 3}) {
        Engine engine = charged_pair(1, flag), plain = charged_pair(1, flag);
        electrostatics_call(engine);
        ForceFieldState& ff = plain.ff;
        periodic_ewald(plain, 2, ff.rx.data(), ff.ry.data(), ff.rz.data(), ff.charg.data(),
                       ff.fx.data(), ff.fy.data(), ff.fz.data(), plain.atoms.pe.data());
        EXPECT_LT(plain.atoms.pe[0], 0.0);
        EXPECT_EQ(engine.atoms.pe[0], 0.5 * plain.atoms.pe[0]) << flag;
        EXPECT_EQ(engine.ff.fx[1], ff.fx[1]) << flag;
    }
}

TEST(ElectrostaticsCall, ChargesAreCountedOnceAfterEachSetUpAndNaNCounts) {
    Engine engine = staged({{0, 0, 0, std::nan("")}, {3, 0, 0, 1.0}, {6, 0, 0, 0.0}}, 0, 1);
    electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 2);
    EXPECT_FALSE(engine.electrostatics.elecfirstcall);
    engine.ff.charg = {0.0, 0.0, 0.0};  // charges that change later leave the count alone
    electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 2);
    setup_prms_for_electrostatics(engine);  // a new set-up counts again at the next call
    EXPECT_TRUE(engine.electrostatics.elecfirstcall);
    electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 0);
}

// "dpmta.IN" with a box of sides `side` centred on `centre`, each value followed by a comment
// as the file carries them; off-diagonal box components are given too.
void write_dpmta(const test_support::ScratchDir& dir, std::array<double, 3> side,
                 std::array<double, 3> centre, bool resize) {
    std::string text =
        "4   procs\n3 levels\n8 terms\n0 mp_lj\n0 fft\n4 block\n0 pbc\n6 macro\n0.6 t\n";
    for (double x : {side[0], 0.5, 0.0, 0.0, side[1], 0.0, 0.25, 0.0, side[2]})
        text += std::to_string(x) + "   box vector\n";
    for (double x : centre)
        text += std::to_string(x) + "  centre\n";
    dir.write("dpmta.IN", text + (resize ? "T resize\n" : "F resize\n"));
}

TEST(MultipoleSettings, FlagDecidesWhatIsReadAndTheDpmtaRecordsSetTheBox) {
    test_support::ScratchDir dir(true);
    Engine engine;
    for (int32_t flag : {1, 2, 5}) {  // no file read (there is none here)
        engine.config.multipole_flag = flag;
        EXPECT_EQ(stop_of([&] { setup_prms_for_electrostatics(engine); }).status, 0) << flag;
    }
    engine.config.multipole_flag = 0;
    EXPECT_NE(input_error_text([&] { setup_prms_for_electrostatics(engine); }).find("dpmta.IN"),
              std::string::npos);

    write_dpmta(dir, {40.0, 50.0, 60.0}, {1.0, 2.0, 3.0}, true);
    setup_prms_for_electrostatics(engine);
    const DpmtaRecords& rec = engine.electrostatics.multipole.records;
    EXPECT_EQ(rec.integers, (std::array<int32_t, 8>{1, 3, 8, 0, 0, 4, 0, 6}));
    EXPECT_EQ(rec.id, 1);
    EXPECT_DOUBLE_EQ(rec.reals[0], 0.6);
    const ForceFieldState& ff = engine.ff;
    EXPECT_TRUE(ff.dpmtaresizeflag);
    EXPECT_DOUBLE_EQ(ff.v1y, 0.5);
    EXPECT_DOUBLE_EQ(ff.v3x, 0.25);
    EXPECT_EQ((std::array<double, 6>{ff.xmina, ff.ymina, ff.zmina, ff.xmaxa, ff.ymaxa, ff.zmaxa}),
              (std::array<double, 6>{0.0, 0.0, 0.0, 40.0, 50.0, 60.0}));
    // The tracked box and the tree start from the diagonal of the box vectors about the centre.
    EXPECT_EQ(ff.dpmtamax, (std::array<double, 3>{21.0, 27.0, 33.0}));
    EXPECT_EQ(ff.dpmtamin, (std::array<double, 3>{-19.0, -23.0, -27.0}));
    EXPECT_EQ(ff.dpmtahalfbox, (std::array<double, 3>{20.0, 25.0, 30.0}));
    const auto& tree = engine.electrostatics.multipole.tree;
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->box_sides(), (std::array<double, 3>{40.0, 50.0, 60.0}));
    EXPECT_EQ(tree->box_centre(), (std::array<double, 3>{1.0, 2.0, 3.0}));
    finalise_multipole(engine);
    EXPECT_FALSE(tree);

    dir.write("fmmp.IN", "2\n1\n0\n3\n4\n5\n1.5\n0\n0\n0\n2.5\n0\n0\n0\n3.5 last\n");
    read_fmmp_in(engine);
    const FmmpSettings& s = engine.electrostatics.multipole.fmmp;
    EXPECT_EQ((std::array<int32_t, 6>{s.iws, s.itr, s.ipbc, s.lbotx, s.lboty, s.lbotz}),
              (std::array<int32_t, 6>{2, 1, 0, 3, 4, 5}));
    EXPECT_EQ(s.hx, (std::array<double, 3>{1.5, 0.0, 0.0}));
    EXPECT_EQ(s.hz, (std::array<double, 3>{0.0, 0.0, 3.5}));
    dir.write("fmmp.IN", "2\n1\n0\n3\n");
    EXPECT_NE(input_error_text([&] { read_fmmp_in(engine); }).find("fmmp.IN"), std::string::npos);
}

TEST(MultipoleSettings, OpenBoxTreeGivesHalfTheCoulombPotentialPerAtom) {
    test_support::ScratchDir dir(true);
    write_dpmta(dir, {40.0, 40.0, 40.0}, {0.0, 0.0, 0.0}, false);
    const std::vector<Ion> ions = {{1.0, 2.0, -3.0, 1.5},  {-4.0, 0.5, 2.0, -1.0},
                                   {6.0, -7.0, 1.0, 0.75}, {-2.0, -3.0, -8.0, -2.0},
                                   {9.0, 8.0, 7.0, 0.5},   {0.3, -0.2, 0.1, 0.25}};
    Engine engine = staged(ions);
    setup_prms_for_electrostatics(engine);
    electrostatics_call(engine);
    for (std::size_t i = 0; i < ions.size(); ++i) {
        double phi = 0.0, f[3] = {0.0, 0.0, 0.0};
        for (std::size_t j = 0; j < ions.size(); ++j) {
            const double d[3] = {ions[i][0] - ions[j][0], ions[i][1] - ions[j][1],
                                 ions[i][2] - ions[j][2]};
            const double r = std::hypot(d[0], d[1], d[2]);
            phi += j == i ? 0.0 : ions[j][3] / r;
            for (int c = 0; c < 3 && j != i; ++c)
                f[c] += kTreeCoulomb * ions[i][3] * ions[j][3] * d[c] / (r * r * r);
        }
        const double expected = 0.5 * kTreeCoulomb * ions[i][3] * phi;
        EXPECT_NEAR(engine.atoms.pe[i], expected, 1e-4 * std::fabs(expected)) << i;
        const double got[3] = {engine.ff.fx[i], engine.ff.fy[i], engine.ff.fz[i]};
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(got[c], f[c], 1e-4 * std::fabs(f[c]) + 1e-6) << i;
    }
}

TEST(MultipoleSettings, UnchargedAtomsMayLieOutsideTheTreeBox) {
    // +1 and -1 3 A apart inside the box (0..20 on each axis), atom 2 uncharged at x = 25:
    // the pair's Coulomb energy, no Coulomb force on the uncharged atom, tracked box or not.
    // A charged atom outside a box that does not follow the charges stops, named by number.
    test_support::ScratchDir dir(true);
    const auto evaluate = [&](bool resize, double q_outside) {
        write_dpmta(dir, {20.0, 20.0, 20.0}, {10.0, 10.0, 10.0}, resize);
        Engine engine = staged({{10, 10, 10, 1.0}, {13, 10, 10, -1.0}, {25, 10, 10, q_outside}});
        setup_prms_for_electrostatics(engine);
        electrostatics_call(engine);
        return engine;
    };
    for (bool resize : {false, true}) {
        const Engine engine = evaluate(resize, 0.0);
        const std::vector<double>& pe = engine.atoms.pe;
        EXPECT_NEAR(pe[0] + pe[1], -kTreeCoulomb / 3.0, 1e-9) << resize;
        EXPECT_NEAR(engine.ff.fx[0], kTreeCoulomb / 9.0, 1e-9) << resize;
        EXPECT_EQ(engine.ff.fx[2], 0.0);
        EXPECT_EQ(pe[2], 0.0);
    }
    const std::string stop = stop_of([&] { evaluate(false, 0.5); }).first();
    EXPECT_NE(stop.find("FPMTAFORCE: PARTICLE 3 AT 25"), std::string::npos) << stop;
}

// Tracked box of side `side` about the origin; one atom of the given charge at `at`.
Engine tracked_box(std::array<double, 3> at, double q = 1.0, double side = 100.0) {
    Engine engine = staged({{at[0], at[1], at[2], q}});
    ForceFieldState& ff = engine.ff;
    ff.dpmtaresizeflag = true;
    ff.v1x = ff.v2y = ff.v3z = side;
    const std::array<int32_t, 8> integers{1, 3, 6, 0, 0, 4, 0, 6};
    const std::array<double, 13> reals{0.6, side, 0, 0, 0, side, 0, 0, 0, side, 0, 0, 0};
    multipole::fpmtainit(engine.electrostatics.multipole.tree, integers.data(), reals.data(),
                         engine.electrostatics.multipole.records.id);
    setup_dpmtaresize(engine);
    main_dpmtaresize(engine);
    return engine;
}

TEST(BoxTracking, FacesMoveOnlyForChargesWithinTheMargin) {
    // Exactly 10 A inside the upper x face: the test is strict, nothing moves.
    EXPECT_EQ(tracked_box({40.0, 0.0, 0.0}).ff.dpmtamax, (std::array<double, 3>{50, 50, 50}));
    // 9.5 A inside: the upper x face goes 20 A beyond the atom; side and centre follow.
    const Engine moved = tracked_box({40.5, 0.0, -45.0});
    const ForceFieldState& ff = moved.ff;
    EXPECT_EQ(ff.dpmtamax, (std::array<double, 3>{60.5, 50.0, 50.0}));
    EXPECT_EQ(ff.dpmtamin, (std::array<double, 3>{-50.0, -50.0, -65.0}));
    EXPECT_EQ(ff.dpmtaboxside, (std::array<double, 3>{110.5, 100.0, 115.0}));
    EXPECT_EQ(ff.dpmtaboxcntr, (std::array<double, 3>{5.25, 0.0, -7.5}));
    EXPECT_EQ(ff.dpmtahalfbox, (std::array<double, 3>{50.0, 50.0, 50.0}));  // not updated
    EXPECT_EQ(moved.electrostatics.multipole.tree->box_sides(), ff.dpmtaboxside);
    EXPECT_EQ(moved.electrostatics.multipole.tree->box_centre(), ff.dpmtaboxcntr);
    // Uncharged atoms never move the box, wherever they are.
    EXPECT_EQ(tracked_box({49.0, -49.0, 0.0}, 0.0).ff.dpmtaboxside,
              (std::array<double, 3>{100.0, 100.0, 100.0}));
    // In a box narrower than both margins, a coordinate that raised the upper value is not
    // tested against the lower one: only the upper face moves.
    const Engine narrow = tracked_box({0.0, 0.0, 0.0}, 1.0, 10.0);
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

TEST(EwaldNeighbourReach, ListReachesTheRealSpaceCutOffOnlyWhenEwaldRuns) {
    struct Case {
        int32_t pbcx, multipole_flag;
        double q0, radius;
    };
    // Ewald (flags 0 and 1, periodic, two charges) needs 9 A; the triangle-layer mode, an
    // open x axis and a single charge keep the family's 4 A + 0.3.
    for (const Case& c : {Case{1, 1, 1.0, 9.0}, Case{1, 0, 1.0, 9.0}, Case{1, 2, 1.0, 4.3},
                          Case{0, 1, 1.0, 4.3}, Case{1, 1, 0.0, 4.3}}) {
        Engine engine;
        engine.catalogue = kShortCatalogue;
        engine.config.pbcx = c.pbcx;
        engine.config.pbcy = engine.config.pbcz = 1;
        engine.config.multipole_flag = c.multipole_flag;
        engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 30.0;
        engine.atoms.mylt = 2;
        engine.atoms.list.resize(2);
        engine.atoms.list[0].charge = c.q0;
        engine.atoms.list[1].charge = -1.0;
        engine.atoms.numel = 1;
        engine.atoms.anum = {26};
        engine.registry.potype.assign(1, "SHORT");
        engine.registry.pot_numprocs = 1;
        define_myprocess_boundaries(engine);
        double range = 0.0;
        setup_nebour_parameters(engine, range);
        EXPECT_EQ(engine.neighbours.radius(0, 0), c.radius) << c.pbcx << c.multipole_flag;
        EXPECT_EQ(range, c.radius);
        EXPECT_EQ(engine.cells.mx, static_cast<int32_t>(30.0 / c.radius));
    }
}

}  // namespace
}  // namespace pelix
