// Damped shifted-force electrostatics: the pair terms against their formulas and against the
// derivative of the energy, the estimate over the triangle layers, and the potential-shaped
// pass over oxygen and yttrium neighbours with periodic images.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "electrostatics/dsf.hpp"
#include "engine/engine.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::stop_of;

constexpr double kCoulomb = 14.39964485168457;

// The pair energy of both atoms together, written out with alpha = 0.15 and Rc = 15.
double pair_energy(double qq, double r) {
    const double sqrt_pi = std::sqrt(3.141592653589793);
    const double a = std::erfc(2.25) / 15.0;
    const double b = std::erfc(2.25) / 225.0 + 0.3 / sqrt_pi * std::exp(-5.0625) / 15.0;
    return kCoulomb * qq * (std::erfc(0.15 * r) / r - a + (r - 15.0) * b);
}

TEST(DsfPairTerms, FollowTheFormulaVanishAtTheCutOffAndAreMinusTheGradient) {
    const DsfShift shift = dsf_shift(DsfState{});
    for (double r : {0.8, 2.0, 3.0, 7.5, 12.0, 14.9}) {
        const DsfPairTerms t = dsf_pair_terms(shift, 1.2, -0.7, r);
        EXPECT_NEAR(t.energy_share, 0.5 * pair_energy(-0.84, r), 1e-12) << r;
        const double h = 1e-5;
        const double slope = (pair_energy(-0.84, r + h) - pair_energy(-0.84, r - h)) / (2 * h);
        EXPECT_NEAR(t.force, -slope, 1e-7 * std::max(1.0, std::fabs(t.force))) << r;
    }
    const DsfPairTerms edge = dsf_pair_terms(shift, 1.0, -1.0, 15.0);
    EXPECT_NEAR(edge.energy_share, 0.0, 1e-15);
    EXPECT_NEAR(edge.force, 0.0, 1e-15);
}

// An engine whose staged atoms have the given positions, charges and species (atomic numbers
// by species index), zeroed forces and energies, and no neighbour list.
Engine charged_atoms(const std::vector<std::array<double, 3>>& r, const std::vector<double>& q,
                     const std::vector<int32_t>& specie = {}, std::vector<int32_t> anum = {8}) {
    Engine engine;
    const auto n = static_cast<int32_t>(r.size());
    engine.atoms.mylt = n;
    engine.sd.myltpnebs = n;
    engine.atoms.anum = std::move(anum);
    ForceFieldState& ff = engine.ff;
    for (const auto& p : r) {
        ff.rx.push_back(p[0]);
        ff.ry.push_back(p[1]);
        ff.rz.push_back(p[2]);
    }
    ff.charg = q;
    ff.specie = specie.empty() ? std::vector<int32_t>(r.size(), 0) : specie;
    ff.fx.assign(r.size(), 0.0);
    ff.fy.assign(r.size(), 0.0);
    ff.fz.assign(r.size(), 0.0);
    engine.atoms.pe.assign(r.size(), 0.0);
    return engine;
}

void list_all(Engine& engine) {
    engine.triangle_layer.tlayttriaatoms.clear();
    for (int32_t i = 0; i < engine.atoms.mylt; ++i)
        engine.triangle_layer.tlayttriaatoms.push_back(i);
    engine.triangle_layer.tlayttriacnt = engine.atoms.mylt;
}

double total_energy(const Engine& engine) {
    double e = 0.0;
    for (double v : engine.atoms.pe)
        e += v;
    return e;
}

TEST(TriangleLayerEstimate, CutOffIsInclusiveAndTakesNoImages) {
    // Opposite charges at 15 A: nothing; just beyond: skipped.
    for (double r : {15.0, 15.000001}) {
        Engine engine = charged_atoms({{0, 0, 0}, {r, 0, 0}}, {1.0, -1.0});
        list_all(engine);
        tla_estimate_electrostatics(engine);
        EXPECT_NEAR(engine.atoms.pe[0], 0.0, 1e-15);
        EXPECT_NEAR(engine.ff.fx[1], 0.0, 1e-15);
    }
    // Like charges at 3 A: half of the pair energy each, the second pushed away from the first.
    // A third atom 1 A away but not listed receives nothing and adds nothing.
    Engine engine = charged_atoms({{1, 2, 3}, {1, 2, 6}, {1, 2, 7}}, {1.0, 1.0, -2.0});
    engine.triangle_layer.tlayttriaatoms = {0, 1};
    engine.triangle_layer.tlayttriacnt = 2;
    tla_estimate_electrostatics(engine);
    EXPECT_NEAR(engine.atoms.pe[0], 0.5 * pair_energy(1.0, 3.0), 1e-12);
    EXPECT_NEAR(engine.atoms.pe[1], 0.5 * pair_energy(1.0, 3.0), 1e-12);
    EXPECT_GT(engine.ff.fz[1], 0.0);
    EXPECT_DOUBLE_EQ(engine.ff.fz[0], -engine.ff.fz[1]);
    EXPECT_EQ(engine.atoms.pe[2], 0.0);
    EXPECT_EQ(engine.ff.fz[2], 0.0);
    // An empty list adds nothing.
    engine.triangle_layer.tlayttriacnt = 0;
    engine.atoms.pe.assign(3, 0.0);
    tla_estimate_electrostatics(engine);
    EXPECT_EQ(total_energy(engine), 0.0);
}

TEST(TriangleLayerEstimate, ForcesAreMinusTheGradientOfTheEnergy) {
    const std::vector<std::array<double, 3>> r = {
        {0.0, 0.0, 0.0}, {2.1, 0.3, -0.4}, {-1.2, 3.3, 0.8}, {4.0, 5.1, 2.2}, {9.0, -6.0, 7.5}};
    const std::vector<double> q = {1.3, -2.0, 0.7, -0.4, 0.4};
    auto energy = [&](const std::vector<std::array<double, 3>>& at) {
        Engine e = charged_atoms(at, q);
        list_all(e);
        tla_estimate_electrostatics(e);
        return total_energy(e);
    };
    Engine engine = charged_atoms(r, q);
    list_all(engine);
    tla_estimate_electrostatics(engine);
    const double h = 1e-5;
    for (std::size_t i = 0; i < r.size(); ++i) {
        const double analytic[3] = {engine.ff.fx[i], engine.ff.fy[i], engine.ff.fz[i]};
        for (std::size_t c = 0; c < 3; ++c) {
            auto plus = r, minus = r;
            plus[i][c] += h;
            minus[i][c] -= h;
            EXPECT_NEAR(analytic[c], -(energy(plus) - energy(minus)) / (2 * h), 1e-6)
                << "atom " << i << " axis " << c;
        }
    }
}

// Oxygen (species 0), yttrium (1) and iron (2) atoms with a hand-made neighbour list.
TEST(DsfPotentialPass, PairsOnceThroughImagesWithAStrictCutOff) {
    Engine engine = charged_atoms({{1, 5, 5}, {19, 5, 5}, {5, 5, 5}, {16, 5, 5}},
                                  {-2.0, 3.0, 1.0, -2.0}, {0, 1, 2, 0}, {8, 39, 26});
    ForceFieldState& ff = engine.ff;
    ff.xofset[kImageOffsetCentre + 1] = 20.0;  // image 1: the neighbour one box length back
    // Atom 0 sees atom 1 through image 1 (2 A), atom 2 (iron, 4 A) and atom 3 (15 A, dropped);
    // atom 1 sees atom 0 through image -1; atoms 2 and 3 list atom 0.
    ff.xofset[kImageOffsetCentre - 1] = -20.0;
    ff.nebour = {1, 2, 3, 0, 0, 0};
    ff.pbctyp = {1, 0, 0, -1, 0, 0};
    ff.nebpnt = {0, 3, 4, 5, 6};
    setup_prms_for_dsf_electrostatics(engine, 7);
    EXPECT_EQ(engine.electrostatics.dsf.dsf_electrostatics_idnum, 7);
    dsf_electrostatics_call(engine);

    const double share = 0.5 * pair_energy(-6.0, 2.0);
    EXPECT_NEAR(engine.atoms.pe[0], share, 1e-12);
    EXPECT_NEAR(engine.atoms.pe[1], share, 1e-12);
    EXPECT_EQ(engine.atoms.pe[2], 0.0);  // iron takes no part
    EXPECT_EQ(engine.atoms.pe[3], 0.0);  // exactly at the cut-off: not a neighbour
    // Atom 1's image sits at -1, left of atom 0: the attraction pulls atom 0 towards -x.
    EXPECT_LT(ff.fx[0], 0.0);
    EXPECT_DOUBLE_EQ(ff.fx[1], -ff.fx[0]);
    EXPECT_EQ(ff.bonds.nebtot, 0);  // released after the pass
}

TEST(DsfPotentialPass, OverflowOfTheNeighbourStoreStops) {
    Engine engine = charged_atoms({{0, 0, 0}, {2, 0, 0}}, {1.0, -1.0});
    engine.ff.nebour = {1, 0};
    engine.ff.pbctyp = {0, 0};
    engine.ff.nebpnt = {0, 1, 2};
    engine.ff.bonds.intersize = 0;
    bool exceed = false;
    EXPECT_EQ(stop_of([&] { dsf_electrostatics_neb(engine, 0, exceed); }).lines.at(0),
              " nrerror: DSF_ELECTROSTATICS_NEB: WHATs WRONG WITH INTERSIZE");
    EXPECT_TRUE(exceed);
    EXPECT_EQ(dsf_electrostatics_cutoff_squared(engine, 8, 26), 0.0);
    EXPECT_EQ(dsf_electrostatics_cutoff_squared(engine, 39, 39), 225.0);
}

}  // namespace
}  // namespace pelix
