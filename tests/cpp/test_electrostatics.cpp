// Coulomb sums: the multipole tree against sums written out here (direct for an open box,
// Ewald for a periodic one), its FFT transfer and stops; which method each run setting and
// charge count leads to, the halving of long-range energies, the multipole settings files, and
// the tree box that follows the charges; Ewald summation through whole force calls (Madelung
// constants of three ionic crystals, which also need the neighbour list to reach the real-space
// cut-off; forces against the energy gradient are checked through the Python tests); damped
// shifted-force electrostatics: the forces of the triangle-layer estimate against its energy
// gradient, and the potential-shaped pass over oxygen and yttrium neighbours with periodic
// images, its energies against the pair formula.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "electrostatics/dsf.hpp"
#include "electrostatics/electrostatics.hpp"
#include "electrostatics/ewald.hpp"
#include "electrostatics/multipole/multipole_tree.hpp"
#include "engine/engine.hpp"
#include "force_call_support.hpp"
#include "interface/driver.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using multipole::MultipoleSettings;
using multipole::MultipoleTree;
using test_support::input_error_text;
using test_support::stop_of;
using Vec = std::array<double, 3>;
constexpr double kCoulomb = 14.39964485168457;
// x, y, z and charge of each particle; or its potential and the force q E along x, y and z.
using Columns = std::array<std::vector<double>, 4>;

// n random charges in (-1, 1) uniform in the box of sides `side` about `centre`, shifted to a
// total of zero when `neutral`.
Columns random_charges(std::size_t n, const Vec& side, const Vec& centre, bool neutral) {
    std::mt19937_64 generator(n);
    std::uniform_real_distribution<double> uniform(-0.5, 0.5);
    Columns c;
    for (std::size_t k = 0; k < 4 * n; ++k)
        c[k % 4].push_back(k % 4 < 3 ? centre[k % 4] + side[k % 4] * uniform(generator)
                                     : 2.0 * uniform(generator));
    const double mean = std::accumulate(c[3].begin(), c[3].end(), 0.0) / double(n);
    std::ranges::for_each(c[3], [&](double& q) { q -= neutral ? mean : 0.0; });
    return c;
}

// The direct sum of an open box (no `box`), or the Ewald sum with conducting boundary and
// neutralising background to full double precision: real space over two images each way with
// alpha = 5 / (shortest side), reciprocal space over |k| up to 12 alpha on each axis.
Columns coulomb_sum(const Columns& c, const Vec* box = nullptr) {
    const double pi = std::numbers::pi, sqrt_pi = std::sqrt(pi);
    const std::size_t n = c[3].size();
    const Vec L = box ? *box : Vec{};
    const int images = box ? 5 : 1;  // per axis
    const double alpha = box ? 5.0 / std::ranges::min(L) : 0.0, volume = L[0] * L[1] * L[2];
    const double total = std::accumulate(c[3].begin(), c[3].end(), 0.0);
    Columns f;
    f.fill(std::vector<double>(n));
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j)
            for (int m = 0; m < images * images * images; ++m) {
                double d[3], r2 = 0.0;
                for (int a = 0, s = m; a < 3; ++a, s /= images)
                    d[a] = c[a][i] - c[a][j] + (s % images - images / 2) * L[a], r2 += d[a] * d[a];
                if (r2 == 0.0)
                    continue;
                const double r = std::sqrt(r2), e = std::erfc(alpha * r) / r;
                const double g = c[3][i] * c[3][j] / r2 *
                                 (e + 2 * alpha / sqrt_pi * std::exp(-alpha * alpha * r2));
                for (int a = 0; a < 4; ++a)
                    f[a][i] += a ? g * d[a - 1] : c[3][j] * e;
            }
        if (box)
            f[0][i] -= 2 * alpha / sqrt_pi * c[3][i] + pi * total / (alpha * alpha * volume);
    }
    const int waves = box ? 2 * static_cast<int>(6 * alpha * std::ranges::max(L) / pi) + 3 : 0;
    std::vector<std::complex<double>> phase(n);
    for (int m = 0; m < waves * waves * waves; ++m) {
        double k[3], k2 = 0.0;
        for (int a = 0, s = m; a < 3; ++a, s /= waves)
            k[a] = 2 * pi * (s % waves - waves / 2) / L[a], k2 += k[a] * k[a];
        const double weight = 4 * pi / volume * std::exp(-k2 / (4 * alpha * alpha)) / k2;
        std::complex<double> s = 0.0;
        for (std::size_t j = 0; j < n && k2 > 0.0; ++j)
            s += c[3][j] *
                 (phase[j] = std::polar(1.0, k[0] * c[0][j] + k[1] * c[1][j] + k[2] * c[2][j]));
        for (std::size_t i = 0; i < n && k2 > 0.0; ++i) {
            const std::complex<double> p = std::conj(phase[i]) * s;
            for (int a = 0; a < 4; ++a)
                f[a][i] += weight * (a ? -c[3][i] * p.imag() * k[a - 1] : p.real());
        }
    }
    return f;
}

// The largest relative RMS difference of the four columns.
double relative_rms(const Columns& got, const Columns& want) {
    double worst = 0.0;
    for (int a = 0; a < 4; ++a) {
        double d = 0.0, norm = 0.0;
        for (std::size_t i = 0; i < want[a].size(); ++i)
            d += std::pow(got[a][i] - want[a][i], 2), norm += std::pow(want[a][i], 2);
        worst = std::max(worst, std::sqrt(d / norm));
    }
    return worst;
}

MultipoleSettings settings(const Vec& side, const Vec& centre, int levels, int terms, bool periodic,
                           double theta = 0.6) {
    MultipoleSettings s;
    s.levels = levels, s.terms = s.macroscopic_terms = terms, s.theta = theta;
    s.periodic = periodic ? 1 : 0, s.centre = centre;
    s.v1 = {side[0], 0.0, 0.0}, s.v2 = {0.0, side[1], 0.0}, s.v3 = {0.0, 0.0, side[2]};
    return s;
}

Columns run(MultipoleTree& tree, const Columns& c) {
    Columns f;
    f.fill(std::vector<double>(c[3].size()));
    tree.evaluate(c[3].size(), c[0].data(), c[1].data(), c[2].data(), c[3].data(), f[0].data(),
                  f[1].data(), f[2].data(), f[3].data());
    return f;
}

const Vec kSide{10.0, 8.0, 12.0}, kCentre{1.0, -2.0, 0.5};

TEST(MultipoleTree, ConvergesToTheDirectSumInAnOpenBoxAndMatchesEwaldInAPeriodicOne) {
    const Columns c = random_charges(2000, kSide, kCentre, false), direct = coulomb_sum(c);
    MultipoleTree single(settings(kSide, kCentre, 1, 4, false));  // one cell: the direct sum
    EXPECT_LT(relative_rms(run(single, c), direct), 1e-13);
    double previous = 1.0;
    for (int terms : {4, 8, 12, 16}) {
        MultipoleTree tree(settings(kSide, kCentre, 3, terms, false));
        const double e = relative_rms(run(tree, c), direct);
        EXPECT_LT(e, 0.5 * std::exchange(previous, e)) << terms << " terms";
    }
    EXPECT_LT(previous, 1e-6);
    const Vec side{8.0, 9.0, 10.0}, centre{4.0, 0.0, -1.0};
    const Columns p = random_charges(120, side, centre, true);
    MultipoleTree periodic(settings(side, centre, 3, 16, true));
    EXPECT_LT(relative_rms(run(periodic, p), coulomb_sum(p, &side)), 1e-5);
}

// Open and periodic boxes; grids shorter than a block (one block, or for a periodic box one
// circular convolution in which near images fold onto each other) and grids cut into several
// overlapping blocks. Coarse levels may keep the direct transfer where it is cheaper; the
// finest may not.
TEST(MultipoleTree, FftTransferEqualsDirectTransferToRounding) {
    // periodic, levels, terms, block, theta
    const std::tuple<bool, int, int, int, double> cases[] = {
        {false, 4, 8, 4, 0.6}, {false, 5, 6, 1, 0.9}, {true, 4, 8, 2, 0.6}, {true, 5, 6, 1, 0.9}};
    for (const auto& [periodic, levels, terms, block, theta] : cases) {
        const Columns c = random_charges(600, kSide, kCentre, periodic);
        MultipoleSettings s = settings(kSide, kCentre, levels, terms, periodic, theta);
        MultipoleTree direct(s);
        s.fft_switch = 1, s.fft_block = block;
        MultipoleTree fft(s);
        EXPECT_TRUE(fft.transfers_by_fft(levels - 1) && !direct.transfers_by_fft(levels - 1));
        EXPECT_LT(relative_rms(run(fft, c), run(direct, c)), 1e-12) << periodic << levels;
    }
}

TEST(MultipoleTree, StopsNameTheBadValue) {
    // A tree of the settings, then two particles (the second at height y) or, with no y, a
    // negative box side.
    const auto stops = [](const MultipoleSettings& s, std::optional<double> y, const char* want) {
        const std::string got =
            stop_of([&] {
                MultipoleTree tree(s);
                y ? void(run(tree, {{{0.1, 0.2}, {0.2, *y}, {0.3, 0.4}, {1.0, -1.0}}}))
                  : tree.resize({10.0, -1.0, 10.0}, s.centre);
            }).first();
        EXPECT_NE(got.find(want), std::string::npos) << got;
    };
    const MultipoleSettings good = settings({10, 10, 10}, {0, 0, 0}, 3, 8, false);
    MultipoleSettings theta = good, levels = good, block = good, macro = good, fft = good;
    theta.theta = 1.2, levels.levels = 0, block.fft_switch = 1, block.fft_block = 0;
    macro.periodic = 1, macro.macroscopic_terms = 0;
    // A near set reaching 6 cells: a block of 5 needs an FFT of 32.
    fft.theta = 0.25, fft.terms = 4, fft.fft_switch = 1, fft.fft_block = 5;
    stops(theta, 0.0, "THETA"), stops(levels, 0.0, "LEVELS");
    stops(block, 0.0, "FFT BLOCK SIZE 0"), stops(macro, 0.0, "MACROSCOPIC");
    stops(good, 5.5, "PARTICLE 2"), stops(good, std::nan(""), "OUTSIDE THE MULTIPOLE BOX");
    stops(fft, 0.0, "FFT BLOCK LENGTH 32 EXCEEDS 16"), stops(good, {}, "FPMTARESIZE");
}

// An engine with the ions (as columns) staged in a 20 A box, zeroed forces and energies, and the
// charges counted at the next dispatch; each of two ions lists the other once.
Engine staged(const Columns& ions, int32_t pbc = 0, int32_t multipole_flag = 0) {
    Engine engine;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = pbc;
    engine.config.multipole_flag = multipole_flag, engine.electrostatics.elecfirstcall = true;
    engine.atoms.lx = engine.atoms.ly = engine.atoms.lz = 20.0;
    engine.atoms.mylt = engine.sd.myltpnebs = static_cast<int32_t>(ions[3].size());
    ForceFieldState& ff = engine.ff;
    ff.rx = ions[0], ff.ry = ions[1], ff.rz = ions[2], ff.charg = ions[3];
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(ions[3].size(), 0.0);
    for (double q : ions[3])
        engine.atoms.list.emplace_back().charge = q;
    ff.nebour = {1, 0}, ff.pbctyp = {0, 0}, ff.nebpnt = {0, 1, 2};
    return engine;
}

TEST(ElectrostaticsCall, EachSettingSelectsItsMethod) {
    // Fewer than two charged atoms: nothing, whatever the flags say; flag 1 (the second
    // multipole method) and flags of 3 or more in an open box: nothing. Periodic, flag 0, 1
    // or 3: Ewald, with the per-atom energies halved and the forces whole; the neighbour list
    // is told in advance to reach its cut-off.
    const std::array<int32_t, 4> cases[] = {{0, 0, 0, 0}, {0, 1, 0, 0}, {1, 1, 0, 0}, {2, 1, 0, 0},
                                            {1, 0, 1, 0}, {3, 0, 1, 0}, {7, 0, 1, 0}, {0, 1, 1, 1},
                                            {1, 1, 1, 1}, {3, 1, 1, 1}};
    for (const auto& [flag, pbc, q0, ewald] : cases) {
        SCOPED_TRACE(testing::Message() << flag << ' ' << pbc << ' ' << q0);
        const Columns pair{{{8, 11}, {10, 10}, {10, 10}, {double(q0), -2.0}}};
        Engine engine = staged(pair, pbc, flag), plain = staged(pair, pbc, flag);
        EXPECT_EQ(ewald_will_run(engine), ewald == 1);
        electrostatics_call(engine);
        ForceFieldState& ff = plain.ff;
        if (ewald)
            periodic_ewald(plain, 2, ff.rx.data(), ff.ry.data(), ff.rz.data(), ff.charg.data(),
                           ff.fx.data(), ff.fy.data(), ff.fz.data(), plain.atoms.pe.data());
        EXPECT_EQ(plain.atoms.pe[0] < 0.0, ewald == 1);
        std::ranges::for_each(plain.atoms.pe, [](double& e) { e *= 0.5; });
        EXPECT_EQ(std::tie(engine.atoms.pe, engine.ff.fx, engine.electrostatics.ncharged),
                  std::make_tuple(plain.atoms.pe, ff.fx, q0 == 0 ? 1 : 2));
    }
    // Charges are counted (NaN as charged) at the first call after each set-up only.
    Engine engine = staged({{{0, 3, 6}, {0, 0, 0}, {0, 0, 0}, {std::nan(""), 1.0, 0.0}}}, 0, 1);
    electrostatics_call(engine), engine.ff.charg.assign(3, 0.0), electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 2);
    setup_prms_for_electrostatics(engine), electrostatics_call(engine);
    EXPECT_EQ(engine.electrostatics.ncharged, 0);
}

// "dpmta.IN" with a box of sides `side` centred on `centre`, each value followed by a comment
// as the file carries them; off-diagonal box components are given too.
void write_dpmta(const test_support::ScratchDir& dir, Vec side, Vec centre, bool resize) {
    std::string text =
        "4   procs\n3 levels\n8 terms\n0 mp_lj\n0 fft\n4 block\n0 pbc\n6 macro\n0.6 t\n";
    for (double x : {side[0], 0.5, 0.0, 0.0, side[1], 0.0, 0.25, 0.0, side[2], centre[0], centre[1],
                     centre[2]})
        text += std::to_string(x) + "   box vector or centre\n";
    dir.write("dpmta.IN", text + (resize ? "T resize\n" : "F resize\n"));
}

// Six ions in a 40 x 50 x 60 A box about (1, 2, 3), one close enough to the upper x face to move
// it when tracked, and an uncharged atom outside the box at x = 25. The records are those of the
// file (one process whatever it says); the tree gives the direct sum over the ions with half the
// energy, nothing on the uncharged atom, tracked box or not. A charged atom outside a box that
// does not follow the charges stops, named by number. Without the file, the set-up stops.
TEST(MultipoleSettings, DpmtaRecordsSetUpATreeOfHalfTheCoulombEnergyInABoxFollowingTheCharges) {
    test_support::ScratchDir dir(true);
    Engine none;
    EXPECT_NE(input_error_text([&] { setup_prms_for_electrostatics(none); }).find("dpmta.IN"),
              std::string::npos);
    Columns c{{{1.0, -4.0, 6.0, -2.0, 12.0, 0.3, 25.0},
               {2.0, 0.5, -7.0, -3.0, 8.0, -0.2, 0.0},
               {-3.0, 2.0, 1.0, -8.0, 7.0, 0.1, 0.0},
               {1.5, -1.0, 0.75, -2.0, 0.5, 0.25, 0.0}}};
    const auto evaluate = [&](bool resize) {
        write_dpmta(dir, {40.0, 50.0, 60.0}, {1.0, 2.0, 3.0}, resize);
        Engine engine = staged(c);
        setup_prms_for_electrostatics(engine);
        electrostatics_call(engine);
        return engine;
    };
    Columns want = coulomb_sum(c);
    for (std::size_t k = 0; k < 4 * c[3].size(); ++k)
        want[k % 4][k / 4] *= 14.39964392951822 * (k % 4 ? 1.0 : 0.5 * c[3][k / 4]);
    for (bool resize : {false, true}) {
        Engine engine = evaluate(resize);
        const ForceFieldState& ff = engine.ff;
        EXPECT_EQ(std::tie(engine.electrostatics.multipole.records.integers, ff.dpmtaresizeflag),
                  std::make_tuple(std::array<int32_t, 8>{1, 3, 8, 0, 0, 4, 0, 6}, resize));
        EXPECT_EQ((std::array<double, 8>{ff.v1y, ff.v3x, ff.xmina, ff.ymina, ff.zmina, ff.xmaxa,
                                         ff.ymaxa, ff.zmaxa}),
                  (std::array<double, 8>{0.5, 0.25, 0.0, 0.0, 0.0, 40.0, 50.0, 60.0}));
        EXPECT_LT(relative_rms({engine.atoms.pe, ff.fx, ff.fy, ff.fz}, want), 1e-4) << resize;
        finalise_multipole(engine);
        EXPECT_FALSE(engine.electrostatics.multipole.tree);
    }
    c[3].back() = 0.5;
    EXPECT_NE(stop_of([&] { evaluate(false); }).first().find("FPMTAFORCE: PARTICLE 7 AT 25"),
              std::string::npos);
    // The tracked box: its faces move only for charges within the margin.
    const std::tuple<Vec, double, double, Vec, Vec, Vec> cases[] = {
        // at, q, side, centre, max, min
        // Exactly 10 A inside the upper x face: the test is strict, nothing moves.
        {{40.0, 0.0, 0.0}, 1.0, 100.0, {}, {50, 50, 50}, {-50, -50, -50}},
        // 9.5 A inside: the upper x face goes 20 A beyond the atom; likewise the lower z face.
        {{40.5, 0.0, -45.0}, 1.0, 100.0, {}, {60.5, 50, 50}, {-50, -50, -65}},
        // Uncharged atoms never move the box, wherever they are; the box starts about its centre.
        {{51.0, -49.0, 0.0}, 0.0, 100.0, {1, 2, 3}, {51, 52, 53}, {-49, -48, -47}},
        // In a box narrower than both margins, a coordinate that raised the upper value is not
        // tested against the lower one: only the upper face moves.
        {{0.0, 0.0, 0.0}, 1.0, 10.0, {}, {20, 20, 20}, {-5, -5, -5}},
    };
    for (const auto& [at, q, side, centre, max, min] : cases) {
        Engine engine = staged({{{at[0]}, {at[1]}, {at[2]}, {q}}});
        write_dpmta(dir, {side, side, side}, centre, true);
        setup_prms_for_electrostatics(engine);
        main_dpmtaresize(engine);
        const ForceFieldState& ff = engine.ff;
        const auto& tree = engine.electrostatics.multipole.tree;
        EXPECT_EQ(std::tie(ff.dpmtamax, ff.dpmtamin), std::tie(max, min)) << at[0];
        for (int k = 0; k < 3; ++k)  // the tree takes the moved box; the half box is not updated
            EXPECT_EQ(
                std::make_tuple(tree->box_sides()[k], tree->box_centre()[k], ff.dpmtahalfbox[k]),
                std::make_tuple(max[k] - min[k], 0.5 * (max[k] + min[k]), 0.5 * side));
    }
}

// Whole periodic force calls with "ZERO" for every pair, so that the Coulomb sum is all there is.
TEST(Ewald, MadelungConstantsOfRockSaltCaesiumChlorideAndZincBlende) {
    test_support::ScratchDir dir(true);
    dir.write("pelix.IN", test_support::run_configuration_text(1, 1));
    dir.write("lattice.IN", "0\n0\n0\n");
    dir.write("potfor.IN", "title\ncomment\n3\nNa Na ZERO\nNa O_ ZERO\nO_ O_ ZERO\n");
    // Cation sites in the cell (fractions), the shift of each one's anion, the cell side, the
    // nearest-neighbour distance, the published constant, and the cells along each axis.
    using Sites = std::vector<Vec>;
    const Sites fcc{{0, 0, 0}, {0, .5, .5}, {.5, 0, .5}, {.5, .5, 0}};
    const std::tuple<Sites, Vec, double, double, double, int> cases[] = {
        {fcc, {0.5, 0, 0}, 5.64, 2.82, 1.747565, 2},
        {{{0, 0, 0}}, {0.5, 0.5, 0.5}, 4.12, 4.12 * std::sqrt(3.0) / 2.0, 1.762675, 3},
        {fcc, {0.25, 0.25, 0.25}, 5.41, 5.41 * std::sqrt(3.0) / 4.0, 1.638055, 2},
    };
    for (const auto& [cations, anion, a, d, madelung, cells] : cases) {
        // cells x cells x cells cells of cation (species 0) and anion (1), off the box faces.
        test_support::WholeCall calls;
        for (int i = 0; i < cells * cells * cells; ++i)
            for (const auto& s : cations)
                for (int k = 0; k < 2; ++k) {
                    calls.specie.push_back(k), calls.charge.push_back(k ? -1.0 : 1.0);
                    for (int x = 0, step = 1; x < 3; ++x, step *= cells)  // cell i / step % cells
                        calls.pos.push_back(0.3 - 0.1 * x +
                                            (i / step % cells + s[x] + k * anion[x]) * a);
                }
        Engine engine;
        CalcForceResult result;
        calcforce(engine, calls.call("NaO_", 2, a * cells), result);
        const double expected = -madelung * kCoulomb / d;
        const double per_pair = result.totalenergy / (0.5 * double(calls.pe.size()));
        EXPECT_EQ(result.status, 0);
        EXPECT_NEAR(per_pair, expected, 0.002 * std::fabs(expected)) << madelung;
        // Every ion of the ideal lattice sits at a centre of symmetry: equivalent ions carry
        // equal shares and no ion feels a force (no other test catches a wrong sign of the
        // structure factor's sine sum).
        for (double e : calls.pe)
            EXPECT_NEAR(e, expected / 2.0, 0.002 * std::fabs(expected)) << madelung;
        for (double f : calls.force)
            EXPECT_LT(std::fabs(f), 1e-6) << madelung;
    }
}

// The DSF pair energy of both atoms together, written out with alpha = 0.15 and Rc = 15.
double dsf_pair_energy(double qq, double r) {
    const double a = std::erfc(2.25) / 15.0,
                 b = a / 15.0 + 0.3 / std::sqrt(std::numbers::pi) * std::exp(-5.0625) / 15.0;
    return kCoulomb * qq * (std::erfc(0.15 * r) / r - a + (r - 15.0) * b);
}

// The last atom sits at the cut-off from the first: the derivative across it is smooth only if
// the pair energy and force vanish there.
TEST(Dsf, TriangleLayerForcesAreMinusTheGradientOfTheEnergy) {
    const Columns ions{{{0.0, 2.1, -1.2, 4.0, 9.0},
                        {0.0, 0.3, 3.3, 5.1, 12.0},
                        {0.0, -0.4, 0.8, 2.2, 0.0},
                        {1.3, -2.0, 0.7, -0.4, 0.4}}};
    const auto estimate = [](const Columns& at) {  // energy, then forces along x, y and z
        Engine e = staged(at);
        e.triangle_layer.tlayttriaatoms = {0, 1, 2, 3, 4}, e.triangle_layer.tlayttriacnt = 5;
        tla_estimate_electrostatics(e);
        return Columns{{{std::accumulate(e.atoms.pe.begin(), e.atoms.pe.end(), 0.0)},
                        e.ff.fx,
                        e.ff.fy,
                        e.ff.fz}};
    };
    const Columns forces = estimate(ions);
    for (std::size_t k = 0; k < 15; ++k) {
        auto plus = ions, minus = ions;
        plus[k % 3][k / 3] += 1e-5, minus[k % 3][k / 3] -= 1e-5;
        const double slope = (estimate(plus)[0][0] - estimate(minus)[0][0]) / 2e-5;
        EXPECT_NEAR(forces[1 + k % 3][k / 3], -slope, 1e-6)
            << "atom " << k / 3 << " axis " << k % 3;
    }
}

// Oxygen (species 0), yttrium (1) and iron (2) with a hand-made neighbour list: atom 0 sees
// atom 1 through image 1 (2 A), atom 2 (iron, 4 A) and atom 3 (15 A, at the cut-off); atom 1
// sees atom 0 through image -1; atoms 2 and 3 list atom 0.
TEST(Dsf, PotentialPassPairsOxygenAndYttriumOnceThroughImagesWithAStrictCutOff) {
    Engine engine = staged({{{1, 19, 5, 16}, {5, 5, 5, 5}, {5, 5, 5, 5}, {-2.0, 3.0, 1.0, -2.0}}});
    ForceFieldState& ff = engine.ff;
    engine.atoms.anum = {8, 39, 26}, ff.specie = {0, 1, 2, 0};
    ff.xofset[kImageOffsetCentre + 1] = 20.0, ff.xofset[kImageOffsetCentre - 1] = -20.0;
    ff.nebour = {1, 2, 3, 0, 0, 0}, ff.pbctyp = {1, 0, 0, -1, 0, 0}, ff.nebpnt = {0, 3, 4, 5, 6};
    setup_prms_for_dsf_electrostatics(engine, 7);
    dsf_electrostatics_call(engine);
    const double share = 0.5 * dsf_pair_energy(-6.0, 2.0);
    for (std::size_t i = 0; i < 4; ++i)  // iron takes no part
        EXPECT_NEAR(engine.atoms.pe[i], i < 2 ? share : 0.0, 1e-12) << i;
    // Atom 1's image sits at -1, left of atom 0: the attraction pulls atom 0 towards -x.
    EXPECT_LT(ff.fx[0], 0.0);
    EXPECT_DOUBLE_EQ(ff.fx[1], -ff.fx[0]);
    // A neighbour store without room stops.
    ff.bonds.intersize = 0;
    bool exceed = false;
    EXPECT_EQ(stop_of([&] { dsf_electrostatics_neb(engine, 0, exceed); }).lines.at(0),
              " nrerror: DSF_ELECTROSTATICS_NEB: WHATs WRONG WITH INTERSIZE");
    EXPECT_TRUE(exceed);
}

}  // namespace
}  // namespace pelix
