// Damped shifted-force electrostatics: the forces of the triangle-layer estimate against its
// energy gradient, and the potential-shaped pass over oxygen and yttrium neighbours with periodic
// images, its energies against the pair formula.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>
#include <vector>

#include "electrostatics/dsf.hpp"
#include "engine/engine.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

// The pair energy of both atoms together, written out with alpha = 0.15 and Rc = 15.
double pair_energy(double qq, double r) {
    const double a = std::erfc(2.25) / 15.0,
                 b = a / 15.0 + 0.3 / std::sqrt(std::numbers::pi) * std::exp(-5.0625) / 15.0;
    return 14.39964485168457 * qq * (std::erfc(0.15 * r) / r - a + (r - 15.0) * b);
}

// Staged atoms with the given positions, charges and species, zeroed forces and energies.
Engine charged_atoms(const std::vector<std::array<double, 3>>& r, const std::vector<double>& q,
                     const std::vector<int32_t>& specie, std::vector<int32_t> anum = {8}) {
    Engine engine;
    engine.atoms.mylt = engine.sd.myltpnebs = static_cast<int32_t>(r.size());
    engine.atoms.anum = std::move(anum), engine.ff.charg = q, engine.ff.specie = specie;
    ForceFieldState& ff = engine.ff;
    for (const auto& p : r)
        ff.rx.push_back(p[0]), ff.ry.push_back(p[1]), ff.rz.push_back(p[2]);
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(r.size(), 0.0);
    return engine;
}

// The last atom sits at the cut-off from the first: the derivative across it is smooth only if
// the pair energy and force vanish there.
TEST(Dsf, TriangleLayerForcesAreMinusTheGradientOfTheEnergy) {
    const std::vector<std::array<double, 3>> r = {
        {0.0, 0.0, 0.0}, {2.1, 0.3, -0.4}, {-1.2, 3.3, 0.8}, {4.0, 5.1, 2.2}, {9.0, 12.0, 0.0}};
    auto estimate = [](const std::vector<std::array<double, 3>>& at) {
        Engine e = charged_atoms(at, {1.3, -2.0, 0.7, -0.4, 0.4}, std::vector<int32_t>(5, 0));
        e.triangle_layer.tlayttriaatoms = {0, 1, 2, 3, 4}, e.triangle_layer.tlayttriacnt = 5;
        tla_estimate_electrostatics(e);
        const double energy = std::accumulate(e.atoms.pe.begin(), e.atoms.pe.end(), 0.0);
        return std::make_pair(std::move(e), energy);
    };
    const Engine engine = estimate(r).first;
    const std::vector<double>* force[3] = {&engine.ff.fx, &engine.ff.fy, &engine.ff.fz};
    for (std::size_t k = 0; k < 3 * r.size(); ++k) {
        auto plus = r, minus = r;
        plus[k / 3][k % 3] += 1e-5, minus[k / 3][k % 3] -= 1e-5;
        const double slope = (estimate(plus).second - estimate(minus).second) / 2e-5;
        EXPECT_NEAR((*force[k % 3])[k / 3], -slope, 1e-6) << "atom " << k / 3 << " axis " << k % 3;
    }
}

// Oxygen (species 0), yttrium (1) and iron (2) with a hand-made neighbour list: atom 0 sees
// atom 1 through image 1 (2 A), atom 2 (iron, 4 A) and atom 3 (15 A, at the cut-off); atom 1
// sees atom 0 through image -1; atoms 2 and 3 list atom 0.
TEST(Dsf, PotentialPassPairsOxygenAndYttriumOnceThroughImagesWithAStrictCutOff) {
    Engine engine = charged_atoms({{1, 5, 5}, {19, 5, 5}, {5, 5, 5}, {16, 5, 5}},
                                  {-2.0, 3.0, 1.0, -2.0}, {0, 1, 2, 0}, {8, 39, 26});
    ForceFieldState& ff = engine.ff;
    ff.xofset[kImageOffsetCentre + 1] = 20.0, ff.xofset[kImageOffsetCentre - 1] = -20.0;
    ff.nebour = {1, 2, 3, 0, 0, 0}, ff.pbctyp = {1, 0, 0, -1, 0, 0}, ff.nebpnt = {0, 3, 4, 5, 6};
    setup_prms_for_dsf_electrostatics(engine, 7);
    dsf_electrostatics_call(engine);
    const double share = 0.5 * pair_energy(-6.0, 2.0);
    for (std::size_t i = 0; i < 4; ++i)  // iron takes no part
        EXPECT_NEAR(engine.atoms.pe[i], i < 2 ? share : 0.0, 1e-12) << i;
    // Atom 1's image sits at -1, left of atom 0: the attraction pulls atom 0 towards -x.
    EXPECT_LT(ff.fx[0], 0.0);
    EXPECT_DOUBLE_EQ(ff.fx[1], -ff.fx[0]);
    // A neighbour store without room stops.
    ff.bonds.intersize = 0;
    bool exceed = false;
    EXPECT_EQ(test_support::stop_of([&] { dsf_electrostatics_neb(engine, 0, exceed); }).lines.at(0),
              " nrerror: DSF_ELECTROSTATICS_NEB: WHATs WRONG WITH INTERSIZE");
    EXPECT_TRUE(exceed);
}

}  // namespace
}  // namespace pelix
