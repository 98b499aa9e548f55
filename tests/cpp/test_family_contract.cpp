// The common family evaluation, driven by a small harmonic-spring family between iron and
// helium on a hand-built neighbour list.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {
namespace {

constexpr int32_t kFe = 26, kHe = 2, kCu = 29;

// Springs Fe-Fe (type 1, cut-off 2.5, rest length 1.2) and Fe-He (type 2, cut-off 2.0, rest
// length 0.8), stiffness 2. He-He and anything with Cu is refused by the mapper.
template <double B, double F, bool AllAtoms, bool HigherOnly = false>
struct SpringFamily {
    static constexpr std::string_view overflow_message = "SPRING_NEB: NEBTOT > INTERSIZE";
    static constexpr double bond_capacity = B;
    static constexpr double safety_factor = F;
    static constexpr bool counts_all_atoms = AllAtoms;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = true;
    static constexpr bool reads_higher_neighbours_only = HigherOnly;

    int32_t potential = 1;
    std::vector<std::pair<int32_t, int32_t>> interact_calls;
    BondList seen;  // every interaction's bonds, joined in the order of the interactions

    int32_t idnum() const { return potential; }
    bool selects(int32_t z) const { return z == kFe || z == kHe; }
    int32_t mapij(int32_t za, int32_t zb) const {
        if (za == kFe && zb == kFe)
            return 1;
        if ((za == kFe && zb == kHe) || (za == kHe && zb == kFe))
            return 2;
        nrerror("SPRING_MAPIJ: unsupported pair");
    }
    // Appends the bonds of the m-th atom to `seen`, with datum counting the bonds seen so far.
    void record(const BondList& bonds, int32_t m) {
        if (seen.datum.empty()) {
            seen.datum.push_back(0);
            seen.lstindx = bonds.lstindx;
        }
        seen.intersize = bonds.intersize;
        seen.nebtot = bonds.nebtot;
        for (int32_t b = bonds.datum[m]; b < bonds.datum[m + 1]; ++b) {
            seen.neb.push_back(bonds.neb[b]);
            seen.bndlen.push_back(bonds.bndlen[b]);
            seen.bndxnm.push_back(bonds.bndxnm[b]);
            seen.bndynm.push_back(bonds.bndynm[b]);
            seen.bndtyp.push_back(bonds.bndtyp[b]);
            seen.cutfcn.push_back(bonds.cutfcn[b]);
            seen.cutdrv.push_back(bonds.cutdrv[b]);
        }
        seen.datum.push_back(static_cast<int32_t>(seen.neb.size()));
    }
    static double cutoff(int32_t t) { return t == 1 ? 2.5 : 2.0; }
    static double rest_length(int32_t t) { return t == 1 ? 1.2 : 0.8; }
    double conrh2(int32_t t) const { return cutoff(t) * cutoff(t); }
    void smoothing(int32_t t, double r, double& f, double& df) const {
        f = 1.0 - r / cutoff(t);
        df = -1.0 / cutoff(t);
    }
    void interact(Engine& engine, int32_t m, int32_t i) {
        interact_calls.emplace_back(m, i);
        const BondList& bonds = engine.ff.bonds;
        record(bonds, m);
        for (int32_t b = bonds.datum[m]; b < bonds.datum[m + 1]; ++b) {
            const int32_t j = bonds.neb[b];
            if (j < i)
                continue;  // each pair once, from the lower atom index
            const double stretch = bonds.bndlen[b] - rest_length(bonds.bndtyp[b]);
            add_pair_terms(engine, i, j, stretch * stretch, 2.0 * stretch, bonds.bndxnm[b],
                           bonds.bndynm[b], bonds.bndznm[b]);
        }
    }
};

// Six local atoms in a periodic box of 10 A along x:
//   0 Fe (0, 0, 0)     1 Fe (2.5, 0, 0): exactly at the Fe-Fe cut-off from 0
//   2 He (0, 1.5, 0)   3 He (0, -1, 0): He-He belongs to another potential
//   4 Cu (1, 1, 0): another potential, refused by the mapper
//   5 Fe (9, 0, 0): 1 A from atom 0 through the x image (image code 9 = +Lx)
Engine spring_engine() {
    Engine engine;
    engine.atoms.numel = 3;
    engine.atoms.symbol = {"Fe", "He", "Cu"};
    engine.atoms.anum = {kFe, kHe, kCu};
    auto& ff = engine.ff;
    ff.rx = {0.0, 2.5, 0.0, 0.0, 1.0, 9.0};
    ff.ry = {0.0, 0.0, 1.5, -1.0, 1.0, 0.0};
    ff.rz = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    ff.specie = {0, 0, 1, 1, 2, 0};
    ff.potnum.assign(3, 2);
    ff.potnum(0, 0) = 1;
    ff.potnum(0, 1) = ff.potnum(1, 0) = 1;
    ff.xofset[kImageOffsetCentre + 9] = 10.0;
    ff.xofset[kImageOffsetCentre - 9] = -10.0;
    // Full list: every pair from both sides, including pairs out of range or not ours.
    const std::vector<std::vector<std::pair<int32_t, int32_t>>> lists = {
        {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 9}},
        {{0, 0}, {2, 0}},
        {{0, 0}, {1, 0}, {3, 0}},
        {{0, 0}, {2, 0}},
        {{0, 0}},
        {{0, -9}},
    };
    test_support::set_neighbour_lists(engine, lists);
    engine.atoms.mylt = 6;
    engine.atoms.pe.assign(6, 7.0);
    return engine;
}

// Five selected atoms; B x F = 1.25 gives a capacity of trunc(6.25) = 6, the bond count.
using RoomySpring = SpringFamily<1.25, 1.0, false>;

TEST(FamilyContract, BondsFromBothSidesWithinStrictCutoffGiveSplitEnergiesAndBalancedForces) {
    Engine engine = spring_engine();
    RoomySpring family;
    evaluate_family(engine, family);

    const BondList& bonds = family.seen;
    EXPECT_EQ(bonds.intersize, 6);
    EXPECT_EQ(bonds.nebtot, 6);
    EXPECT_EQ(bonds.lstindx, (std::vector<int32_t>{0, 1, 2, 3, -1, 4}));
    EXPECT_EQ(bonds.datum, (std::vector<int32_t>{0, 3, 3, 4, 5, 6}));
    EXPECT_EQ(bonds.neb, (std::vector<int32_t>{2, 3, 5, 0, 0, 0}));
    EXPECT_EQ(bonds.bndtyp, (std::vector<int32_t>{2, 2, 1, 2, 2, 1}));
    const std::vector<double> lengths{1.5, 1.0, 1.0, 1.5, 1.0, 1.0};
    ASSERT_EQ(bonds.bndlen.size(), lengths.size());
    for (std::size_t b = 0; b < lengths.size(); ++b)
        EXPECT_DOUBLE_EQ(bonds.bndlen[b], lengths[b]) << "bond " << b;
    // Unit vectors from i to the image of j: the x image flips sign between the two sides.
    EXPECT_EQ(bonds.bndxnm, (std::vector<double>{0, 0, -1, 0, 0, 1}));
    EXPECT_EQ(bonds.bndynm, (std::vector<double>{1, -1, 0, -1, 1, 0}));
    EXPECT_DOUBLE_EQ(bonds.cutfcn[0], 1.0 - 1.5 / 2.0);
    EXPECT_DOUBLE_EQ(bonds.cutdrv[2], -1.0 / 2.5);
    EXPECT_EQ(bonds.cutfcn.size(), 6u);

    EXPECT_EQ(family.interact_calls,
              (std::vector<std::pair<int32_t, int32_t>>{{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 5}}));
    // The bond list does not outlive the evaluation.
    EXPECT_TRUE(engine.ff.bonds.neb.empty());
    EXPECT_TRUE(engine.ff.bonds.datum.empty());

    // Bonds 0-2 (stretch 0.7), 0-3 (stretch 0.2), 0-5 (stretch -0.2), each counted once.
    const auto& pe = engine.atoms.pe;
    EXPECT_DOUBLE_EQ(pe[0], 7.0 + 0.5 * (0.49 + 0.04 + 0.04));
    EXPECT_DOUBLE_EQ(pe[1], 7.0);
    EXPECT_DOUBLE_EQ(pe[2], 7.0 + 0.5 * 0.49);
    EXPECT_DOUBLE_EQ(pe[3], 7.0 + 0.5 * 0.04);
    EXPECT_DOUBLE_EQ(pe[4], 7.0);
    EXPECT_DOUBLE_EQ(pe[5], 7.0 + 0.5 * 0.04);

    const auto& ff = engine.ff;
    // The stretched Fe-He spring pulls He 2 back towards Fe 0; the compressed Fe-Fe spring
    // pushes the image of Fe 5 further along -x.
    EXPECT_DOUBLE_EQ(ff.fy[2], -1.4);
    EXPECT_DOUBLE_EQ(ff.fy[3], 0.4);
    EXPECT_DOUBLE_EQ(ff.fx[5], -0.4);
    EXPECT_DOUBLE_EQ(ff.fx[0], 0.4);
    EXPECT_DOUBLE_EQ(ff.fy[0], 1.0);
    double sx = 0, sy = 0, sz = 0;
    for (int a = 0; a < 6; ++a) {
        sx += ff.fx[a];
        sy += ff.fy[a];
        sz += ff.fz[a];
    }
    EXPECT_NEAR(sx, 0.0, 1e-14);
    EXPECT_NEAR(sy, 0.0, 1e-14);
    EXPECT_NEAR(sz, 0.0, 1e-14);
    EXPECT_EQ(ff.fx[4], 0.0);
    EXPECT_EQ(ff.fx[1], 0.0);
}

TEST(FamilyContract, OverflowStopsOnlyWhenABondWouldPassTheCapacity) {
    {  // capacity trunc(5 x 1 x 1) = 5: the sixth bond stops
        Engine engine = spring_engine();
        SpringFamily<1.0, 1.0, false> family;
        EXPECT_EQ(test_support::nrerror_line([&] { evaluate_family(engine, family); }),
                  " nrerror: SPRING_NEB: NEBTOT > INTERSIZE");
        EXPECT_TRUE(family.interact_calls.empty());
    }
    {  // the same factors counted over all six local atoms give room for the sixth bond
        Engine engine = spring_engine();
        SpringFamily<1.0, 1.0, true> family;
        EXPECT_NO_THROW(evaluate_family(engine, family));
        EXPECT_EQ(family.seen.intersize, 6);
    }
}

TEST(FamilyContract, FamilyReadingHigherNeighboursOnlyGetsThoseBondsAndTheSameResults) {
    Engine full_engine = spring_engine();
    RoomySpring full;
    evaluate_family(full_engine, full);

    Engine engine = spring_engine();
    SpringFamily<1.25, 1.0, false, true> higher;
    evaluate_family(engine, higher);
    EXPECT_EQ(higher.seen.neb, (std::vector<int32_t>{2, 3, 5}));
    EXPECT_EQ(higher.seen.datum, (std::vector<int32_t>{0, 3, 3, 3, 3, 3}));
    EXPECT_EQ(higher.seen.nebtot, 3);
    EXPECT_EQ(higher.interact_calls, full.interact_calls);
    EXPECT_EQ(engine.ff.fx, full_engine.ff.fx);
    EXPECT_EQ(engine.ff.fy, full_engine.ff.fy);
    EXPECT_EQ(engine.atoms.pe, full_engine.atoms.pe);

    // The capacity still counts the bonds from both sides: five slots for six bonds stop.
    Engine small = spring_engine();
    SpringFamily<1.0, 1.0, false, true> cramped;
    EXPECT_EQ(test_support::nrerror_line([&] { evaluate_family(small, cramped); }),
              " nrerror: SPRING_NEB: NEBTOT > INTERSIZE");
    EXPECT_TRUE(cramped.interact_calls.empty());
}

TEST(FamilyContract, FamilyWithoutItsElementsTouchesNothing) {
    Engine engine = spring_engine();
    for (auto& s : engine.ff.specie)
        s = 2;  // every atom copper
    engine.ff.fx.assign(6, 3.0);
    RoomySpring family;
    evaluate_family(engine, family);
    EXPECT_TRUE(family.interact_calls.empty());
    EXPECT_EQ(engine.ff.fx, std::vector<double>(6, 3.0));
    EXPECT_EQ(engine.atoms.pe, std::vector<double>(6, 7.0));
}

}  // namespace
}  // namespace pelix
