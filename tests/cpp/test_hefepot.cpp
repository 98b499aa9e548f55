// HeFePOT: the forces of the whole family (pair and three-body terms) against the energy on
// random He-Fe clusters, one helium atom with two iron neighbours worked out by hand, and the
// stops of its set-up.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "engine/engine.hpp"
#include "potentials/hefepot/hefepot.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

// The illustrative constants of docs/families/HeFePOT.md.
const std::string kFile =
    "pair 0.6 1.6\n3.6 0.08\n3.0 0.6\n2.4 1.8\nradial 1.0 3.2\nangular 0.2 -0.15 0.35 0.1\n";

// One evaluation of atoms at xyz (x, y, z each), helium where he[a] is 1, each atom listing
// all others.
Engine evaluate(const std::vector<double>& xyz, const std::vector<int32_t>& he) {
    Engine engine;
    ForceFieldState& ff = engine.ff;
    engine.atoms.anum = {26, 2};
    ff.potnum.assign(2, 0);
    ff.potnum(0, 1) = ff.potnum(1, 0) = 1;
    ff.specie = he;
    const auto n = static_cast<int32_t>(he.size());
    for (int32_t a = 0; a < n; ++a) {
        ff.rx.push_back(xyz[3 * a]), ff.ry.push_back(xyz[3 * a + 1]),
            ff.rz.push_back(xyz[3 * a + 2]);
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
        for (int32_t b = 0; b < n; ++b)
            if (b != a)
                ff.nebour.push_back(b), ff.pbctyp.push_back(0);
    }
    ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    engine.sd.myltpnebs = n;
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(he.size(), 0.0);
    setup_prms_for_hefepot(engine, 1);
    hefepot_call(engine);
    return engine;
}

double energy(const Engine& engine) {
    return std::accumulate(engine.atoms.pe.begin(), engine.atoms.pe.end(), 0.0);
}

// Two helium atoms among ten iron atoms in a 2 A cube (every He-Fe pair within the 3.6 A
// cut-off, some in each region); the first helium atom has iron at 0.55 A (screened repulsion),
// 1.2 A (bridge) and 1.9 A (knot sum) on one line, at angles within 1e-4 of 0 and 180 degrees. The
// forces are minus the central differences of the energy and sum to zero.
TEST(Hefepot, ForcesAreMinusTheGradientOfTheEnergyOnRandomClusters) {
    test_support::ScratchDir dir(true);
    dir.write("HeFePOT.IN", kFile);
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> in_box(-1.0, 1.0);
    for (int cluster = 0; cluster < 3; ++cluster) {
        const double x = 0.2 * in_box(rng), y = 0.2 * in_box(rng);
        std::vector<double> xyz = {x, y, 0, x + 1.9, y, 0, x + 1.2, y + 1e-4, 0, x - 0.55, y, 1e-4};
        while (xyz.size() < 36)
            xyz.push_back(in_box(rng));
        std::vector<int32_t> he(12, 0);
        he[0] = he[4] = 1;
        const Engine engine = evaluate(xyz, he);
        const std::vector<double>* force[3] = {&engine.ff.fx, &engine.ff.fy, &engine.ff.fz};
        double sum[3] = {0.0, 0.0, 0.0};
        for (std::size_t c = 0; c < xyz.size(); ++c) {
            std::vector<double> up = xyz, down = xyz;
            up[c] += 1e-5, down[c] -= 1e-5;
            const double f = (*force[c % 3])[c / 3];
            sum[c % 3] += f;
            const double slope = (energy(evaluate(up, he)) - energy(evaluate(down, he))) / 2e-5;
            EXPECT_NEAR(f, -slope, 1e-6 * (1.0 + std::abs(f))) << c;
        }
        EXPECT_NEAR(std::abs(sum[0]) + std::abs(sum[1]) + std::abs(sum[2]), 0.0, 1e-9) << cluster;
    }
}

// He at the origin, Fe 1 at r1 on x, Fe 2 at r2 at angle theta: the total is
// phi(r1) + phi(r2) + f(r1) f(r2) g(cos theta), each iron atom holds half its pair term. Worked
// out in NumPy from the file's constants: r1 = 2, r2 = 2.5, cos = 1/2 on the knot sums; r1 =
// 0.5 on ZBL (a = 0.88534 x 0.53 / (2^0.23 + 26^0.23)), r2 = 1.1 on the exponential bridge
// fitted by a 4 x 4 solve to ZBL at 0.6 and the knot sum at 1.6, cos = -1/2.
TEST(Hefepot, HeliumWithTwoIronNeighboursCarriesTheTripletAndHalfOfEachPair) {
    test_support::ScratchDir dir(true);
    dir.write("HeFePOT.IN", kFile);
    for (const auto& [r1, r2, c, total, pe1, pe2] :
         {std::tuple{2.0, 2.5, 0.5, 1.2477941799985037, 0.52144, 0.09074000000000002},
          std::tuple{0.5, 1.1, -0.5, 164.21436474337426, 75.59468832128884, 6.437438753986706}}) {
        const Engine e = evaluate({0, 0, 0, r1, 0, 0, r2 * c, r2 * std::sqrt(0.75), 0}, {1, 0, 0});
        EXPECT_NEAR(energy(e), total, 1e-12 * total);
        EXPECT_NEAR(e.atoms.pe[1], pe1, 1e-12 * pe1);
        EXPECT_NEAR(e.atoms.pe[2], pe2, 1e-12 * pe2);
    }
}

// Without its file, with a pair term not positive at r_join, and with a bridge not repulsive,
// the set-up stops naming the file (and the pair record's line).
TEST(Hefepot, SetUpStopsWithoutItsFileAndAtPairTermsThatCannotBeJoined) {
    test_support::ScratchDir dir(true);
    for (const auto& [knots, expected] : std::vector<std::pair<std::string, std::string>>{
             {"", ": file not found; HeFePOT has no built-in parameters"},
             {"3 -1\n", " line 1: the pair term must be positive at r_join = 1.6, found -2.744"},
             {"3.5 0.5\n2 -20\n", " line 1: the bridge from 0.6 to 1.6 A is not repulsive"}}) {
        if (!knots.empty())
            dir.write("HeFePOT.IN", "pair 0.6 1.6\n" + knots + "radial 1 3\nangular 1\n");
        const std::string stop = test_support::input_error_text([] { evaluate({0, 0, 0}, {1}); });
        EXPECT_EQ(stop.rfind("HeFePOT.IN" + expected, 0), 0u) << stop;
    }
}

}  // namespace
}  // namespace pelix
