// The multipole tree against direct and Ewald sums, its box changes, and its entry points.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "common/fatal_error.hpp"
#include "electrostatics/multipole/fpmta.hpp"
#include "electrostatics/multipole/multipole_tree.hpp"
#include "multipole_reference.hpp"

namespace pelix::multipole {
namespace {

using test_support::Charges;
using test_support::Fields;

MultipoleSettings box_settings(const std::array<double, 3>& side,
                               const std::array<double, 3>& centre, int levels, int terms,
                               bool periodic) {
    MultipoleSettings s;
    s.levels = levels;
    s.terms = terms;
    s.theta = 0.6;
    s.periodic = periodic ? 1 : 0;
    s.macroscopic_terms = terms;
    s.v1 = {side[0], 0.0, 0.0};
    s.v2 = {0.0, side[1], 0.0};
    s.v3 = {0.0, 0.0, side[2]};
    s.centre = centre;
    return s;
}

Fields run(MultipoleTree& tree, const Charges& c) {
    Fields f(c.size());
    tree.evaluate(c.size(), c.x.data(), c.y.data(), c.z.data(), c.q.data(), f.potential.data(),
                  f.fx.data(), f.fy.data(), f.fz.data());
    return f;
}

TEST(MultipoleTree, OpenBoxConvergesToDirectSum) {
    const std::array<double, 3> side{10.0, 8.0, 12.0}, centre{1.0, -2.0, 0.5};
    const Charges c = test_support::random_charges(
        2000, {centre[0] - 5.0, centre[1] - 4.0, centre[2] - 6.0}, side, false, 11);
    const Fields direct = test_support::direct_sum(c);

    // A single cell is the direct sum itself.
    MultipoleTree single(box_settings(side, centre, 1, 4, false));
    const auto exact = test_support::relative_rms(run(single, c), direct);
    EXPECT_LT(exact.potential, 1e-13);
    EXPECT_LT(exact.force, 1e-13);

    double previous_potential = 1.0, previous_force = 1.0;
    for (int terms : {4, 8, 12, 16}) {
        MultipoleTree tree(box_settings(side, centre, 3, terms, false));
        const auto e = test_support::relative_rms(run(tree, c), direct);
        EXPECT_LT(e.potential, 0.5 * previous_potential) << terms << " terms";
        EXPECT_LT(e.force, 0.5 * previous_force) << terms << " terms";
        previous_potential = e.potential;
        previous_force = e.force;
    }
    EXPECT_LT(previous_force, 1e-6);
}

TEST(MultipoleTree, PeriodicBoxAgreesWithEwald) {
    const std::array<double, 3> side{8.0, 9.0, 10.0}, centre{4.0, 0.0, -1.0};
    Charges c = test_support::random_charges(
        120, {centre[0] - 4.0, centre[1] - 4.5, centre[2] - 5.0}, side, true, 5);
    const Fields ewald = test_support::ewald_sum(c, side);
    MultipoleTree tree(box_settings(side, centre, 3, 16, true));
    const auto e = test_support::relative_rms(run(tree, c), ewald);
    EXPECT_LT(e.potential, 1e-5);
    EXPECT_LT(e.force, 1e-5);

    // Moving particles by whole box vectors changes nothing.
    for (std::size_t i = 0; i < c.size(); i += 3) {
        c.x[i] += 2.0 * side[0];
        c.z[i] -= side[2];
    }
    const auto moved = test_support::relative_rms(run(tree, c), ewald);
    EXPECT_NEAR(moved.potential, e.potential, 1e-9);
    EXPECT_NEAR(moved.force, e.force, 1e-9);
}

TEST(MultipoleTree, ResizedTreeEqualsFreshTree) {
    for (bool periodic : {false, true}) {
        const std::array<double, 3> first_side{10.0, 10.0, 10.0}, first_centre{5.0, 5.0, 5.0};
        const std::array<double, 3> side{14.0, 12.0, 13.0}, centre{6.0, 4.0, 6.5};
        const Charges c =
            test_support::random_charges(400, {1.0, 1.0, 1.0}, {8.0, 6.0, 9.0}, true, 3);
        MultipoleTree resized(box_settings(first_side, first_centre, 3, 8, periodic));
        const Fields before = run(resized, c);
        resized.resize(side, centre);
        const Fields after = run(resized, c);
        MultipoleTree fresh(box_settings(side, centre, 3, 8, periodic));
        const Fields want = run(fresh, c);
        EXPECT_NE(before.potential, after.potential);
        EXPECT_EQ(after.potential, want.potential);
        EXPECT_EQ(after.fx, want.fx);
        EXPECT_EQ(after.fy, want.fy);
        EXPECT_EQ(after.fz, want.fz);
    }
}

TEST(MultipoleEntryPoints, ScaleResultsAndIgnoreOffDiagonalBoxComponents) {
    const Charges c = test_support::random_charges(300, {0.5, 0.5, 0.5}, {9.0, 9.0, 9.0}, false, 9);
    const int32_t n = static_cast<int32_t>(c.size());
    const int32_t integers[8] = {1, 3, 10, 0, 0, 4, 0, 8};
    const double reals[13] = {0.6, 10.0, 0.3, 0.2, -0.4, 10.0, 0.1, 0.7, 0.5, 10.0, 5.0, 5.0, 5.0};
    double diagonal_only[13];
    std::copy(reals, reals + 13, diagonal_only);
    diagonal_only[2] = diagonal_only[3] = diagonal_only[4] = 0.0;
    diagonal_only[6] = diagonal_only[7] = diagonal_only[8] = 0.0;

    MultipoleTreeSlot slot, plain;
    int32_t id = -1;
    fpmtainit(slot, integers, reals, id);
    EXPECT_EQ(id, 1);
    fpmtainit(plain, integers, diagonal_only, id);
    std::vector<double> fx(c.size(), 7.0), fy(c.size(), 7.0), fz(c.size(), 7.0), pe(c.size(), 7.0);
    fpmtaforce(slot, n, c.x.data(), c.y.data(), c.z.data(), c.q.data(), fx.data(), fy.data(),
               fz.data(), pe.data());
    const Fields raw = run(*plain, c);
    for (std::size_t i = 0; i < c.size(); ++i) {
        EXPECT_DOUBLE_EQ(pe[i], kTreeCoulombConstant * c.q[i] * raw.potential[i]);
        EXPECT_DOUBLE_EQ(fx[i], kTreeCoulombConstant * raw.fx[i]);
        EXPECT_DOUBLE_EQ(fz[i], kTreeCoulombConstant * raw.fz[i]);
    }

    // A resize through the entry point keeps only the diagonal and the centre.
    fpmtaresize(slot, 12.0, 1.0, 1.0, 1.0, 11.0, 1.0, 1.0, 1.0, 13.0, 5.0, 5.5, 4.5);
    EXPECT_EQ(slot->box_sides(), (std::array<double, 3>{12.0, 11.0, 13.0}));
    EXPECT_EQ(slot->box_centre(), (std::array<double, 3>{5.0, 5.5, 4.5}));

    fpmtaexit(slot);
    EXPECT_FALSE(slot);
    EXPECT_THROW(fpmtaforce(slot, n, c.x.data(), c.y.data(), c.z.data(), c.q.data(), fx.data(),
                            fy.data(), fz.data(), pe.data()),
                 FatalError);
}

TEST(MultipoleEntryPoints, RejectBadSettingsAndParticlesOutsideTheBox) {
    const auto message_of = [](auto&& action) {
        try {
            action();
        } catch (const FatalError& e) {
            return e.lines().front();
        }
        return std::string("no error");
    };
    const std::array<double, 3> side{10.0, 10.0, 10.0}, centre{0.0, 0.0, 0.0};
    MultipoleSettings bad = box_settings(side, centre, 3, 8, false);
    bad.theta = 1.2;
    EXPECT_NE(message_of([&] { MultipoleTree t(bad); }).find("THETA"), std::string::npos);
    bad = box_settings(side, centre, 0, 8, false);
    EXPECT_NE(message_of([&] { MultipoleTree t(bad); }).find("LEVELS"), std::string::npos);
    bad = box_settings(side, centre, 3, 8, false);
    bad.fft_switch = 1;
    bad.fft_block = 0;
    EXPECT_NE(message_of([&] { MultipoleTree t(bad); }).find("FFT BLOCK SIZE 0"),
              std::string::npos);
    bad = box_settings(side, centre, 3, 8, true);
    bad.macroscopic_terms = 0;
    EXPECT_NE(message_of([&] { MultipoleTree t(bad); }).find("MACROSCOPIC"), std::string::npos);

    MultipoleTree tree(box_settings(side, centre, 3, 8, false));
    EXPECT_NE(message_of([&] {
                  tree.resize({10.0, -1.0, 10.0}, centre);
              }).find("FPMTARESIZE"),
              std::string::npos);
    Charges c = test_support::random_charges(10, {-4.0, -4.0, -4.0}, {8.0, 8.0, 8.0}, false, 2);
    c.y[4] = 5.5;
    EXPECT_NE(message_of([&] { run(tree, c); }).find("PARTICLE 5"), std::string::npos);
    c.y[4] = std::nan("");
    EXPECT_NE(message_of([&] { run(tree, c); }).find("OUTSIDE THE MULTIPOLE BOX"),
              std::string::npos);
}

}  // namespace
}  // namespace pelix::multipole
