// The carbon-metal screened repulsion: pair types and refusals, radii and taper constants, the
// pair function region by region, and one evaluation on a hand-built neighbour list.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/zblpotl.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;
using test_support::two_atom_bond_engine;

constexpr int32_t kHe = 2, kC = 6, kO = 8, kMg = 12, kAl = 13, kFe = 26, kNi = 28, kCu = 29,
                  kY = 39, kAg = 47, kAu = 79;
constexpr double kPi = std::numbers::pi;

// E(r) = V0(r) cutfcn(r) and F = -dE/dr, written out from the universal screening length, the
// four-term screening function and the cosine taper between conrl and conrh.
struct Expected {
    double e, f;
};
Expected expected_pair(int32_t z1, int32_t z2, double conrl, double conrh, double r) {
    constexpr std::array<double, 4> c{0.02817, 0.2802, 0.5099, 0.1818};
    constexpr std::array<double, 4> d{0.2016, 0.4029, 0.9423, 3.2};
    const double a = 0.88534 * 0.53 / (std::pow(z1, 0.23) + std::pow(z2, 0.23));
    double s = 0.0, ds = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const double term = c[k] * z1 * z2 * 14.399652003564425 * std::exp(-d[k] * r / a);
        s += term;
        ds -= d[k] / a * term;
    }
    const double v0 = s / r, dv0 = ds / r - s / (r * r);
    double fc = 1.0, dfc = 0.0;
    if (r >= conrl) {
        const double w = conrh - conrl, theta = kPi * (r - conrl) / w;
        fc = 0.5 * (std::cos(theta) + 1.0);
        dfc = -0.5 * kPi / w * std::sin(theta);
    }
    return {v0 * fc, -(dv0 * fc + v0 * dfc)};
}

ZblpotlState set_up(int32_t k = 1) {
    Engine engine;
    setup_prms_for_zblpotl(engine, k);
    return engine.families.zblpotl;
}

std::string mapij_refusal(int32_t za, int32_t zb) {
    return nrerror_line([&] { zblpotl_mapij(za, zb); });
}

TEST(Zblpotl, MapperNumbersItsTenPairsInEitherOrderAndRefusesTheRest) {
    const std::vector<std::pair<int32_t, int32_t>> pairs = {
        {kAg, kC}, {kFe, kC}, {kMg, kC}, {kO, kC},  {kAu, kC},
        {kNi, kC}, {kAl, kC}, {kFe, kY}, {kFe, kO}, {kHe, kY}};
    for (std::size_t t = 0; t < pairs.size(); ++t) {
        const auto [a, b] = pairs[t];
        EXPECT_EQ(zblpotl_mapij(a, b), static_cast<int32_t>(t) + 1) << a << "-" << b;
        EXPECT_EQ(zblpotl_mapij(b, a), static_cast<int32_t>(t) + 1) << b << "-" << a;
    }

    EXPECT_EQ(mapij_refusal(kFe, kAg),
              " nrerror: ZBLPOTL_MAPIJ: Fe-Ag interaction is not implemented");
    EXPECT_EQ(mapij_refusal(kAg, kFe),
              " nrerror: ZBLPOTL_MAPIJ: Ag-Fe interaction is not implemented");
    EXPECT_EQ(mapij_refusal(kAg, kAg),
              " nrerror: ZBLPOTL_MAPIJ: Ag-Ag interaction is not implemented");
    EXPECT_EQ(mapij_refusal(kC, kC), " nrerror: ZBLPOTL_MAPIJ: C-C interaction is not implemented");
    for (const auto& [a, b] : std::vector<std::pair<int32_t, int32_t>>{
             {kFe, kFe}, {kO, kO}, {kC, kY}, {kHe, kFe}, {kCu, kC}, {kAg, kAu}, {kY, kY}}) {
        EXPECT_EQ(mapij_refusal(a, b), " nrerror: ZBLPOTL_MAPIJ: Problems to set ZBLPOTL_MAPIJ")
            << a << "-" << b;
    }

    for (int32_t z : {kHe, kC, kO, kMg, kAl, kFe, kNi, kY, kAg, kAu})
        EXPECT_TRUE(zblpotl_selects(z)) << z;
    for (int32_t z : {1, kCu, 14, 22})
        EXPECT_FALSE(zblpotl_selects(z)) << z;
}

TEST(Zblpotl, SetUpGivesRadiiTaperConstantsAndSeparateTablesPerPair) {
    Engine engine;
    setup_prms_for_zblpotl(engine, 4);
    const ZblpotlState& state = engine.families.zblpotl;
    EXPECT_EQ(state.zblpotl_idnum, 4);

    EXPECT_EQ(zblpotl_cutoff_squared(engine, kFe, kC), 12.8881);
    EXPECT_EQ(zblpotl_cutoff_squared(engine, kC, kFe), 12.8881);
    EXPECT_DOUBLE_EQ(state.zblpotl_confca[1], 14.924430658383837);
    EXPECT_DOUBLE_EQ(state.zblpotl_confc[1], -7.462215329191919);
    EXPECT_EQ(state.zblpotl_conrl[1], 3.3795);
    for (int32_t t : {1, 3, 4, 5, 6, 7, 8, 9, 10}) {
        const std::size_t s = ZblpotlState::slot(t);
        EXPECT_EQ(state.zblpotl_conrl[s], 3.0) << t;
        EXPECT_EQ(state.zblpotl_conrh[s], 4.0) << t;
        EXPECT_EQ(state.zblpotl_conrh2[s], 16.0) << t;
        EXPECT_DOUBLE_EQ(state.zblpotl_confca[s], kPi) << t;
        EXPECT_DOUBLE_EQ(state.zblpotl_confc[s], -kPi / 2.0) << t;
    }
    EXPECT_EQ(zblpotl_cutoff_squared(engine, kY, kHe), 16.0);
    EXPECT_THROW(zblpotl_cutoff_squared(engine, kAg, kAg), FatalError);

    // Each pair type holds the amplitudes of its own atomic numbers: helium-yttrium, set up
    // last, leaves the silver-carbon terms alone.
    const double a_hey = 0.88534 * 0.53 / (std::pow(2.0, 0.23) + std::pow(39.0, 0.23));
    const std::array<double, 4> c{0.02817, 0.2802, 0.5099, 0.1818};
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_DOUBLE_EQ(state.zblpotl_zbl[0].conc[k], c[k] * 47 * 6 * 14.399652003564425);
        EXPECT_DOUBLE_EQ(state.zblpotl_zbl[9].conc[k], c[k] * 2 * 39 * 14.399652003564425);
        EXPECT_DOUBLE_EQ(state.zblpotl_zbl[8].conc[k], c[k] * 26 * 8 * 14.399652003564425);
    }
    EXPECT_DOUBLE_EQ(state.zblpotl_zbl[9].cond[3], -3.2 / a_hey);
}

TEST(Zblpotl, PairFunctionRegionByRegion) {
    const ZblpotlState state = set_up();
    struct Case {
        int32_t t, z1, z2;
        double conrl, conrh, r;
    };
    // Fe-C (narrow taper) and O-C: full repulsion, the start of the taper, inside it.
    for (const Case& c :
         {Case{2, kFe, kC, 3.3795, 3.59, 0.6}, Case{2, kFe, kC, 3.3795, 3.59, 3.3},
          Case{2, kFe, kC, 3.3795, 3.59, 3.3795}, Case{2, kFe, kC, 3.3795, 3.59, 3.5},
          Case{4, kO, kC, 3.0, 4.0, 1.2}, Case{4, kO, kC, 3.0, 4.0, 3.0},
          Case{4, kO, kC, 3.0, 4.0, 3.7}, Case{10, kHe, kY, 3.0, 4.0, 3.25}}) {
        const Expected e = expected_pair(c.z1, c.z2, c.conrl, c.conrh, c.r);
        const PairValue p = zblpotl_pair(state, c.t, c.r);
        EXPECT_NEAR(p.v, e.e, 1e-12 * std::abs(e.e)) << "type " << c.t << " r " << c.r;
        EXPECT_NEAR(p.f, e.f, 1e-12 * std::abs(e.f) + 1e-15) << "type " << c.t << " r " << c.r;
    }
    // No pair at the outer radius; just inside it the tapered repulsion has all but vanished.
    for (auto [t, z, conrl, conrh] :
         {std::tuple{2, kFe, 3.3795, 3.59}, std::tuple{4, kO, 3.0, 4.0}}) {
        const PairValue at = zblpotl_pair(state, t, conrh);
        EXPECT_EQ(at.v, 0.0);
        EXPECT_EQ(at.f, 0.0);
        const double r = conrh - 1e-4;
        const PairValue inside = zblpotl_pair(state, t, r);
        const Expected e = expected_pair(z, kC, conrl, conrh, r);
        EXPECT_GT(inside.v, 0.0);
        EXPECT_NEAR(inside.v, e.e, 1e-6 * e.e);
    }
    // The force is minus the slope of the energy, through the taper included.
    const double h = 1e-6;
    for (auto [t, r] :
         {std::pair{2, 1.0}, std::pair{2, 3.45}, std::pair{4, 3.5}, std::pair{1, 3.9}}) {
        const double numeric =
            -(zblpotl_pair(state, t, r + h).v - zblpotl_pair(state, t, r - h).v) / (2.0 * h);
        EXPECT_NEAR(zblpotl_pair(state, t, r).f, numeric, 1e-6 * std::abs(numeric))
            << "type " << t << " r " << r;
    }
}

// Six atoms, Fe 0 at the origin, in a box periodic along x (10 A):
//   1 C  (2, 0, 0)       Fe-C at 2 A, full repulsion
//   2 O  (0, 3.5, 0)     Fe-O at 3.5 A, in the taper; O-C at 4.03 A, out of range
//   3 C  (8.5, 0, 0)     Fe-C at 1.5 A through the -x image
//   4 He (0, -2, 0)      He pairs belong to another potential
//   5 C  (0, 0, 3.59)    Fe-C exactly at the outer radius: not a bond
Engine carbon_engine(const std::array<double, 3>& shift_of_atom2 = {0, 0, 0}) {
    Engine engine;
    engine.atoms.anum = {kFe, kC, kO, kHe};
    auto& ff = engine.ff;
    ff.rx = {0.0, 2.0, 0.0 + shift_of_atom2[0], 8.5, 0.0, 0.0};
    ff.ry = {0.0, 0.0, 3.5 + shift_of_atom2[1], 0.0, -2.0, 0.0};
    ff.rz = {0.0, 0.0, 0.0 + shift_of_atom2[2], 0.0, 0.0, 3.59};
    ff.specie = {0, 1, 2, 1, 3, 1};
    ff.potnum.assign(4, 1);
    for (int32_t s = 0; s < 4; ++s) {
        ff.potnum(s, s) = 2;
        ff.potnum(s, 3) = ff.potnum(3, s) = 2;
    }
    ff.xofset[kImageOffsetCentre + 9] = 10.0;
    ff.xofset[kImageOffsetCentre - 9] = -10.0;
    const std::vector<std::vector<std::pair<int32_t, int32_t>>> lists = {
        {{1, 0}, {2, 0}, {3, 9}, {4, 0}, {5, 0}},
        {{0, 0}, {2, 0}, {3, 0}},
        {{0, 0}, {1, 0}},
        {{0, -9}, {1, 0}},
        {{0, 0}},
        {{0, 0}},
    };
    for (const auto& list : lists) {
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
        for (const auto& [j, image] : list) {
            ff.nebour.push_back(j);
            ff.pbctyp.push_back(image);
        }
    }
    ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    engine.sd.myltpnebs = 6;
    engine.atoms.mylt = 6;
    ff.fx.assign(6, 0.0);
    ff.fy.assign(6, 0.0);
    ff.fz.assign(6, 0.0);
    engine.atoms.pe.assign(6, 0.0);
    setup_prms_for_zblpotl(engine, 1);
    return engine;
}

double total_energy(const Engine& engine) {
    double sum = 0.0;
    for (double e : engine.atoms.pe)
        sum += e;
    return sum;
}

TEST(Zblpotl, EvaluationCountsEachPairOncePushingTheAtomsApart) {
    Engine engine = carbon_engine();
    zblpotl_call(engine);

    const Expected fe_c = expected_pair(kFe, kC, 3.3795, 3.59, 2.0);
    const Expected fe_o = expected_pair(kFe, kO, 3.0, 4.0, 3.5);
    const Expected fe_c_image = expected_pair(kFe, kC, 3.3795, 3.59, 1.5);
    const auto& pe = engine.atoms.pe;
    EXPECT_NEAR(pe[0], 0.5 * (fe_c.e + fe_o.e + fe_c_image.e), 1e-12 * pe[0]);
    EXPECT_NEAR(pe[1], 0.5 * fe_c.e, 1e-12 * pe[1]);
    EXPECT_NEAR(pe[2], 0.5 * fe_o.e, 1e-12 * pe[2]);
    EXPECT_NEAR(pe[3], 0.5 * fe_c_image.e, 1e-12 * pe[3]);
    EXPECT_EQ(pe[4], 0.0);
    EXPECT_EQ(pe[5], 0.0);

    const auto& ff = engine.ff;
    // Repulsion pushes each partner away from the iron atom, the image partner along -x.
    EXPECT_NEAR(ff.fx[1], fe_c.f, 1e-12 * fe_c.f);
    EXPECT_GT(ff.fx[1], 0.0);
    EXPECT_NEAR(ff.fy[2], fe_o.f, 1e-12 * fe_o.f);
    EXPECT_GT(ff.fy[2], 0.0);
    EXPECT_NEAR(ff.fx[3], -fe_c_image.f, 1e-12 * fe_c_image.f);
    EXPECT_NEAR(ff.fx[0], fe_c_image.f - fe_c.f, 1e-12 * fe_c.f);
    EXPECT_NEAR(ff.fy[0], -fe_o.f, 1e-12 * fe_o.f);
    EXPECT_EQ(ff.fx[4], 0.0);
    EXPECT_EQ(ff.fz[5], 0.0);
    EXPECT_EQ(ff.fz[0], 0.0);
    EXPECT_TRUE(engine.ff.bonds.neb.empty());  // released after the evaluation
}

TEST(Zblpotl, ForcesAreMinusTheEnergyGradientInAndBeforeTheTaper) {
    const Engine engine = [] {
        Engine e = carbon_engine();
        zblpotl_call(e);
        return e;
    }();
    const double h = 1e-5;
    // The oxygen atom sits in the taper of its Fe-O pair: moving it along y and x probes the
    // taper's derivative as well as the bare repulsion.
    for (std::size_t axis = 0; axis < 3; ++axis) {
        std::array<double, 3> plus{}, minus{};
        plus[axis] = h;
        minus[axis] = -h;
        Engine up = carbon_engine(plus), down = carbon_engine(minus);
        zblpotl_call(up);
        zblpotl_call(down);
        const double numeric = -(total_energy(up) - total_energy(down)) / (2.0 * h);
        const std::vector<double>* f[3] = {&engine.ff.fx, &engine.ff.fy, &engine.ff.fz};
        EXPECT_NEAR((*f[axis])[2], numeric, 1e-6 * std::abs(engine.ff.fy[2])) << "axis " << axis;
    }
}

TEST(Zblpotl, BondListOverflowStopsWithTheFamilyMessage) {
    // Fe 0 and C 1: two selected atoms give room for trunc(2 x 20 x 1.5) = 60 bonds.
    Engine fits = two_atom_bond_engine(kFe, kC, 59);
    setup_prms_for_zblpotl(fits, 1);
    EXPECT_NO_THROW(zblpotl_call(fits));
    Engine overflows = two_atom_bond_engine(kFe, kC, 60);
    setup_prms_for_zblpotl(overflows, 1);
    EXPECT_EQ(nrerror_line([&] { zblpotl_call(overflows); }),
              " nrerror: ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE");
}

}  // namespace
}  // namespace pelix
