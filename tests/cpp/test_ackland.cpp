// The iron, silver and gold embedded-atom family: pair types and refusals, the iron pair term
// in its three regions, the screening of silver and gold, the embedding on hand-built dimers
// and the bond list. The crystals and whole force calls are checked from Python.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/ackland.hpp"
#include "zbl_reference.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;
using test_support::set_neighbour_lists;
using test_support::two_atom_bond_engine;

constexpr int32_t kFe = 26, kAg = 47, kAu = 79;

// Iron pair knots 5..13 with their coefficients, the density and the bridge, written out again.
constexpr std::array<double, 9> kFeRs{2.6, 2.7, 2.8, 3.0, 3.3, 3.7, 4.2, 4.7, 5.3};
constexpr std::array<double, 9> kFeAs{5.9637758529194,  -1.7710262006061,   0.85913830768731,
                                      -2.1845362968261, 2.6424377007466,    -1.0358345370208,
                                      0.33548264951582, -0.046448582149334, -0.0070294963048689};
constexpr std::array<double, 3> kFeRr{2.4, 3.2, 4.2};
constexpr std::array<double, 3> kFeAr{11.68685940797, -0.01471074009883, 0.47193527075943};
constexpr std::array<double, 4> kFeBridge{6.4265260576348, 1.7900488524286, -4.5108316729807,
                                          1.0866199373306};

// Energy and F = -dE/dr.
struct Expected {
    double e, f;
};

// Screened repulsion of two atoms of atomic number z with screening length a.
Expected zbl(int32_t z, double a, double r) {
    const auto [v, dvdr] = test_support::zbl_reference(z, z, a, r);
    return {v, -dvdr};
}

// Sum of c (x - r)^3 over the knots x from `first` on (all beyond r) and F = -d/dr of it.
template <std::size_t N>
Expected cubes(const std::array<double, N>& x, const std::array<double, N>& c, double r,
               std::size_t first = 0) {
    Expected out{0.0, 0.0};
    for (std::size_t k = first; k < N; ++k) {
        out.e += c[k] * std::pow(x[k] - r, 3);
        out.f += 3.0 * c[k] * std::pow(x[k] - r, 2);
    }
    return out;
}

// Whether two doubles are the same bit pattern (a signed zero or a NaN included).
bool same_bits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

AcklandState set_up() {
    Engine engine;
    setup_prms_for_ackland(engine, 2);
    return engine.families.ackland;
}

// Two atoms r apart on x under the family as potential 1, evaluated once.
Engine dimer(int32_t z, double r) {
    Engine engine = two_atom_bond_engine(z, z, 1);
    engine.ff.rx[1] = r;
    setup_prms_for_ackland(engine, 1);
    ackland_call(engine);
    return engine;
}

TEST(Ackland, MapperKnowsTheLikePairsAndRefusesMixedPairsByName) {
    EXPECT_EQ(ackland_mapij(kFe, kFe), 1);
    EXPECT_EQ(ackland_mapij(kAg, kAg), 2);
    EXPECT_EQ(ackland_mapij(kAu, kAu), 3);
    for (const auto& [a, b, names] : std::vector<std::tuple<int32_t, int32_t, std::string>>{
             {kFe, kAg, "Fe and Ag"}, {kFe, kAu, "Fe and Au"}, {kAg, kAu, "Ag and Au"}}) {
        const std::string want = " nrerror: ACKLAND_MAPIJ: Ackland interaction between" + names +
                                 " has not been implemented yet.";
        EXPECT_EQ(nrerror_line([&] { ackland_mapij(a, b); }), want);
        EXPECT_EQ(nrerror_line([&] { ackland_mapij(b, a); }), want);
    }
    Engine engine;
    setup_prms_for_ackland(engine, 4);
    for (const auto& [a, b] : std::vector<std::array<int32_t, 2>>{{kFe, 29}, {29, 29}, {1, kAg}})
        EXPECT_EQ(nrerror_line([&] { ackland_cutoff_squared(engine, a, b); }),
                  " nrerror: ACKLAND_MAPIJ: Problems setting ACKLAND_MAPIJ");
    EXPECT_EQ(ackland_cutoff_squared(engine, kFe, kFe), 28.09);
    EXPECT_EQ(ackland_cutoff_squared(engine, kAu, kAu), 24.945127165369936);
    EXPECT_EQ(engine.families.ackland.ackland_idnum, 4);
    EXPECT_TRUE(ackland_selects(kAu));
    EXPECT_FALSE(ackland_selects(29));
}

TEST(Ackland, IronPairIsScreenedRepulsionThenExponentialBridgeThenKnotSum) {
    const AcklandState state = set_up();
    auto check = [&](double r, Expected want) {
        const PairValue got = ackland_pair(state, 1, r);
        EXPECT_NEAR(got.v, want.e, 1e-13 * std::abs(want.e)) << r;
        EXPECT_NEAR(got.f, want.f, 1e-13 * std::abs(want.f)) << r;
    };
    // At 2.5 the knots 2.2, 2.3 and 2.4 lie below and 2.5 itself adds nothing (H(0) = 0).
    check(2.5, cubes(kFeRs, kFeAs, 2.5));
    check(5.2, cubes(kFeRs, kFeAs, 5.2, 8));
    EXPECT_EQ(ackland_pair(state, 1, 5.3).v, 0.0);
    // Below 2.0 the bridge, in the exponent of a cubic.
    for (double r : {1.0 + 1e-9, 1.5, 2.0 - 1e-9}) {
        const double p = kFeBridge[0] + r * (kFeBridge[1] + r * (kFeBridge[2] + r * kFeBridge[3]));
        const double dp = kFeBridge[1] + r * (2.0 * kFeBridge[2] + 3.0 * r * kFeBridge[3]);
        check(r, {std::exp(p), -dp * std::exp(p)});
    }
    // At and below 1.0 the repulsion with the long screening length.
    for (double r : {0.3, 1.0})
        check(r, zbl(kFe, 0.22811246786282882, r));
    // Silver and gold screen with the universal length up to 0.9.
    for (const auto& [t, z] : std::vector<std::array<int32_t, 2>>{{2, kAg}, {3, kAu}}) {
        const Expected want = zbl(z, 0.88534 * 0.53 / (2.0 * std::pow(z, 0.23)), 0.9);
        EXPECT_NEAR(ackland_pair(state, t, 0.9).v, want.e, 1e-13 * want.e) << z;
        EXPECT_NE(ackland_pair(state, t, 0.9 + 1e-9).v, ackland_pair(state, t, 0.9).v) << z;
    }
}

// Many distances at once give the bits of one at a time, for the sorted iron knots and the
// unsorted silver ones: every group size and tail (0..9 distances), distances on a knot, in the
// bridge and screened regions, beyond the cut-off, huge and not a number.
TEST(Ackland, KnotSumsOfManyDistancesAreThoseOfOneAtATime) {
    const AcklandState state = set_up();
    std::vector<double> r;
    for (int k = 0; k < 200; ++k)
        r.push_back(0.05 + 0.03 * k);
    for (double knot : state.rs[0])
        r.push_back(knot);
    r.insert(r.end(), {1e100, -1e101, std::nan(""), 2.5, 1e-300});
    for (std::size_t t = 0; t < 2; ++t) {
        for (std::size_t n : {std::size_t{0}, std::size_t{1}, std::size_t{3}, std::size_t{4},
                              std::size_t{5}, std::size_t{9}, r.size()}) {
            for (std::size_t from : {std::size_t{0}, r.size() - 9}) {
                const std::size_t count = std::min(n, r.size() - from);
                std::vector<double> cubes(count, -1.0), squares(count, -1.0);
                cubic_knot_sums_many(state.rs[t].data(), state.as[t].data(), kAcklandPairKnots,
                                     r.data() + from, count, cubes.data(), squares.data());
                for (std::size_t b = 0; b < count; ++b) {
                    double c = 0.0, q = 0.0;
                    cubic_knot_sums(state.rs[t], state.as[t], r[from + b], c, q);
                    EXPECT_TRUE(same_bits(cubes[b], c) && same_bits(squares[b], q))
                        << "type " << t + 1 << " r " << r[from + b] << ": " << cubes[b] << " " << c;
                }
            }
        }
    }
    // The densities of many bonds, as one at a time.
    std::vector<double> rho(r.size()), drho(r.size());
    knot_densities(state.ackland_rr[0], state.ackland_ar[0], r.data(),
                   static_cast<int32_t>(r.size()), rho.data(), drho.data());
    for (std::size_t b = 0; b < r.size(); ++b) {
        const DensityValue one = ackland_density(state, 1, r[b]);
        EXPECT_TRUE(same_bits(rho[b], one.rho) && same_bits(drho[b], one.drho)) << r[b];
    }
}

TEST(Ackland, DimersCarryHalfThePairTermAndTheirOwnEmbedding) {
    // Iron at 2.5: density from the second and third knots only.
    const Expected pair = cubes(kFeRs, kFeAs, 2.5);
    const Expected rho = cubes(kFeRr, kFeAr, 2.5, 1);
    Engine fe = dimer(kFe, 2.5);
    for (int a = 0; a < 2; ++a)
        EXPECT_NEAR(fe.atoms.pe[a], 0.5 * pair.e - std::sqrt(rho.e), 1e-13) << a;
    // Force on atom 1 (on the +x side): -dE/dr of E = V - 2 sqrt(rho), and its opposite on 0.
    const double force = pair.f - rho.f / std::sqrt(rho.e);
    EXPECT_NEAR(fe.ff.fx[1], force, 1e-12);
    EXPECT_NEAR(fe.ff.fx[0], -force, 1e-12);

    // A lone silver pair beyond the lattice constant: density from the first knot alone.
    Engine ag = dimer(kAg, 4.3);
    const std::array<double, 3> ag_rs{5.0043076614, 4.7181262644, 4.568174559};
    const std::array<double, 3> ag_as{0.2985808249251565, -1.5005081976456136, 1.3825327044562032};
    const double ag_rho = 0.021384005479695226 * std::pow(5.0043076614 - 4.3, 3);
    EXPECT_NEAR(ag.atoms.pe[0], 0.5 * cubes(ag_rs, ag_as, 4.3).e - std::sqrt(ag_rho), 1e-14);
    EXPECT_NEAR(ag.atoms.pe[1], ag.atoms.pe[0], 1e-16);

    // Isolated atoms have nothing at all.
    Engine apart = dimer(kFe, 6.0);
    EXPECT_EQ(apart.atoms.pe[0], 0.0);
    EXPECT_EQ(apart.ff.fx[1], 0.0);

    // Just inside the last density knot sqrt(rho) falls below the guard: the embedding energy
    // stays, its force is dropped and only the pair force is left. A little further in it acts.
    const AcklandState state = set_up();
    const double faint = 4.2 - 1e-8, felt = 4.2 - 1e-6;
    ASSERT_LT(std::sqrt(kFeAr[2] * std::pow(4.2 - faint, 3)), 1e-12);
    EXPECT_EQ(dimer(kFe, faint).ff.fx[1], ackland_pair(state, 1, faint).f);
    EXPECT_GT(std::abs(dimer(kFe, felt).ff.fx[1] - ackland_pair(state, 1, felt).f), 1e-4);
}

TEST(Ackland, BondListHoldsThreeHundredBondsPerAtomAndOnlyBondsWithinTheCutOff) {
    // Two iron atoms: room for trunc(2 x 200 x 1.5) = 600 bonds, one of them from atom 1.
    auto run = [](int32_t listed, double r) {
        Engine engine = two_atom_bond_engine(kFe, kFe, listed);
        engine.ff.rx[1] = r;
        setup_prms_for_ackland(engine, 1);
        return nrerror_line([&] { ackland_call(engine); });
    };
    EXPECT_EQ(run(599, 2.5), "no stop");
    EXPECT_EQ(run(600, 2.5), " nrerror: ACKLAND_NEB: WHATs WRONG WITH INTERSIZE");
    // At exactly 5.3 the pair is no bond.
    EXPECT_EQ(run(600, 5.3), "no stop");
    EXPECT_EQ(run(600, 5.2999999), " nrerror: ACKLAND_NEB: WHATs WRONG WITH INTERSIZE");
}

}  // namespace
}  // namespace pelix
