#include <gtest/gtest.h>

#include "config/lattice.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::ScratchDir;

void expect_slab(const LatticeConstraint& slab, int32_t type, double lo, double hi) {
    EXPECT_EQ(slab.type, type);
    EXPECT_DOUBLE_EQ(slab.lo, lo);
    EXPECT_DOUBLE_EQ(slab.hi, hi);
}

TEST(Lattice, ReadsCodesAndAdjustsSlabsToTheBox) {
    ScratchDir dir;
    LatticeConstraints lc;
    lc.zlat_constrain.resize(5);  // a previous box's lists are replaced
    get_lattice_constrains(lc, 20.0, 30.0, 40.0,
                           dir.write("lattice.IN",
                                     "2\n"
                                     "FX 0.0 5.0\n"
                                     "DP 5.0 0.0\n"
                                     "3\n"
                                     "TH 2.0 29.95 label\n"
                                     "IM 3.0 4.0\n"
                                     "fx 1.0 29.8\n"
                                     "0\n"));
    ASSERT_EQ(lc.nxlat_constrains(), 2);
    expect_slab(lc.xlat_constrain[0], 0, -4.0, 5.0);   // starts at the lower face
    expect_slab(lc.xlat_constrain[1], 1, 15.0, 24.0);  // given from the far face
    ASSERT_EQ(lc.nylat_constrains(), 3);
    expect_slab(lc.ylat_constrain[0], 2, 2.0, 33.95);  // ends within 0.1 of the upper face
    expect_slab(lc.ylat_constrain[1], 4, 3.0, 4.0);
    expect_slab(lc.ylat_constrain[2], 3, 1.0, 29.8);  // unknown code, default type
    EXPECT_EQ(lc.nzlat_constrains(), 0);
}

TEST(Lattice, InputErrors) {
    ScratchDir dir;
    LatticeConstraints lc;
    const std::string missing = dir.path("lattice.IN");
    EXPECT_EQ(input_error_text([&] { get_lattice_constrains(lc, 1, 1, 1, missing); }),
              missing + ": file not found");
    std::string path = dir.write("lattice.IN", "2\nFX 0 5\n");
    EXPECT_EQ(input_error_text([&] { get_lattice_constrains(lc, 1, 1, 1, path); }),
              path + " line 3: expected code of x slab 2, found end of file");
    path = dir.write("lattice.IN", "0\n1\nFX abc 5\n0\n");
    EXPECT_EQ(input_error_text([&] { get_lattice_constrains(lc, 1, 1, 1, path); }),
              path + " line 3: expected a real number (lo of y slab 1), found \"abc\"");
    path = dir.write("lattice.IN", "0\n0\n");
    EXPECT_NE(input_error_text([&] {
                  get_lattice_constrains(lc, 1, 1, 1, path);
              }).find("expected nzlat_constrains, found end of file"),
              std::string::npos);
}

struct LatypCase {
    double x, y, z;
    int32_t expected;
};

// Stages one atom per case (ids 1..n) and returns the types get_latyp gives them.
std::vector<int32_t> latyps(const std::vector<LatypCase>& cases, const LatticeConstraints& lc,
                            AtomStore store = {}) {
    store.mylt = static_cast<int32_t>(cases.size());
    if (store.last_lattice_atom == 0) {
        store.first_lattice_atom = 1;
        store.last_lattice_atom = store.mylt;
    }
    for (std::size_t k = 0; k < cases.size(); ++k) {
        AtomRecord atom;
        atom.id = static_cast<int32_t>(k + 1);
        atom.x = cases[k].x;
        atom.y = cases[k].y;
        atom.z = cases[k].z;
        atom.latyp = 7;
        store.list.push_back(atom);
    }
    get_latyp(store, lc, RunConfig{});
    std::vector<int32_t> types;
    for (const auto& atom : store.list)
        types.push_back(atom.latyp);
    return types;
}

std::vector<int32_t> expected_types(const std::vector<LatypCase>& cases) {
    std::vector<int32_t> types;
    for (const auto& c : cases)
        types.push_back(c.expected);
    return types;
}

TEST(Lattice, TypeAssignmentRules) {
    LatticeConstraints lc;
    lc.xlat_constrain = {{0, 0.0, 10.0}, {2, 5.0, 10.0}, {1, 20.0, 30.0}};
    lc.ylat_constrain = {
        {2, 0.0, 10.0}, {0, 5.0, 10.0}, {0, 20.0, 30.0}, {2, 20.0, 30.0}, {4, 40.0, 50.0}};
    lc.zlat_constrain = {{0, 0.0, 10.0}, {4, 20.0, 30.0}};
    const std::vector<LatypCase> cases = {
        {2.0, 99.0, 99.0, 0},   // x FX
        {6.0, 99.0, 99.0, 2},   // later x slab wins over an earlier FX
        {10.0, 99.0, 99.0, 3},  // exactly at hi: in no slab
        {99.0, 2.0, 99.0, 2},   // y TH claims a free atom
        {99.0, 6.0, 99.0, 0},   // y TH then y FX
        {99.0, 25.0, 99.0, 0},  // y FX then y TH
        {25.0, 45.0, 99.0, 1},  // claimed by x DP: y IM does not override
        {6.0, 45.0, 99.0, 2},   // claimed by x TH: y IM does not override
        {6.0, 99.0, 2.0, 0},    // claimed by x TH: z FX fixes it
        {99.0, 2.0, 25.0, 2},   // claimed by y TH: z IM does not override
        {99.0, 99.0, 25.0, 4},  // z claims a free atom
    };
    EXPECT_EQ(latyps(cases, lc), expected_types(cases));
    EXPECT_EQ(latyps(cases, LatticeConstraints{}), std::vector<int32_t>(cases.size(), 3));
}

TEST(Lattice, LatticeRangeAndProjectileRule) {
    LatticeConstraints lc;
    lc.xlat_constrain = {{0, 0.0, 10.0}};
    AtomStore store;
    store.first_lattice_atom = 1;
    store.last_lattice_atom = 2;  // atoms 3 and 4 are not lattice atoms
    store.first_projectile_atom = 2;
    store.last_projectile_atom = 3;
    const std::vector<LatypCase> all_fixed(4, {1.0, 1.0, 1.0, 0});
    // 1: lattice atom; 2: lattice and projectile; 3: projectile only; 4: keeps its type.
    EXPECT_EQ(latyps(all_fixed, lc, store), (std::vector<int32_t>{0, 3, 3, 7}));
    store.search_for_pka = true;
    EXPECT_EQ(latyps(all_fixed, lc, store), (std::vector<int32_t>{0, 0, 7, 7}));
}

TEST(Lattice, ExtendedLimitsWidenTheRegionBy510) {
    SpatialDecomposition sd;
    sd.westlim = 0.0;
    sd.eastlim = 10.0;
    sd.downlim = -100.0;
    sd.uplim = 20.0;
    sd.southlim = 1.0;
    sd.northlim = 30.0;
    const ExtendedLimits e = my_extended_limits(sd);
    EXPECT_EQ(std::vector<double>({e.xlow, e.xhigh, e.ylow, e.yhigh, e.zlow, e.zhigh}),
              std::vector<double>({-510.0, 520.0, -610.0, 530.0, -509.0, 540.0}));
}

}  // namespace
}  // namespace pelix
