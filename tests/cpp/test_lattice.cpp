#include <gtest/gtest.h>

#include <array>

#include "config/lattice.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

std::vector<double> type_lo_hi(const std::vector<LatticeConstraint>& slabs) {
    std::vector<double> flat;
    for (const auto& s : slabs)
        flat.insert(flat.end(), {double(s.type), s.lo, s.hi});
    return flat;
}

TEST(Lattice, ReadsCodesAndAdjustsSlabsToTheBox) {
    test_support::ScratchDir dir;
    LatticeConstraints lc;
    lc.zlat_constrain.resize(5);  // a previous box's lists are replaced
    get_lattice_constrains(lc, 20.0, 30.0, 40.0,
                           dir.write("lattice.IN",
                                     "2\nFX 0.0 5.0\nDP 5.0 0.0\n3\nTH 2.0 29.95 label\n"
                                     "IM 3.0 4.0\nfx 1.0 29.8\n0\n"));
    // From the lower face: lo - 4; given from the far face: turned round, then hi + 4.
    EXPECT_EQ(type_lo_hi(lc.xlat_constrain), (std::vector<double>{0, -4, 5, 1, 15, 24}));
    // Within 0.1 of the upper face: hi + 4; an unknown code keeps the default type 3.
    EXPECT_EQ(type_lo_hi(lc.ylat_constrain),
              (std::vector<double>{2, 2, 29.95 + 4, 4, 3, 4, 3, 1, 29.8}));
    EXPECT_EQ(lc.nzlat_constrains(), 0);
}

// Stages one atom per position (ids 1..n, previous type 7) and returns their lattice types.
std::vector<int32_t> latyps(const std::vector<std::array<double, 3>>& positions,
                            const LatticeConstraints& lc, AtomStore store = {}) {
    store.mylt = static_cast<int32_t>(positions.size());
    if (store.last_lattice_atom == 0) {
        store.first_lattice_atom = 1;
        store.last_lattice_atom = store.mylt;
    }
    for (const auto& [x, y, z] : positions)
        store.list.push_back({static_cast<int32_t>(store.list.size() + 1), 0, x, y, z, 7});
    get_latyp(store, lc, RunConfig{});
    std::vector<int32_t> types;
    for (const auto& atom : store.list)
        types.push_back(atom.latyp);
    return types;
}

TEST(Lattice, TypeAssignmentRules) {
    LatticeConstraints lc;
    lc.xlat_constrain = {{0, 0, 10}, {2, 5, 10}, {1, 20, 30}};
    lc.ylat_constrain = {{2, 0, 10}, {0, 5, 10}, {0, 20, 30}, {2, 20, 30}, {4, 40, 50}};
    lc.zlat_constrain = {{0, 0, 10}, {4, 20, 30}};
    // In x FX: 0; the later x slab wins over an earlier FX: 2; exactly at hi, in no slab: 3;
    // y TH claims a free atom: 2; y TH then y FX: 0; y FX then y TH: 0; claimed by x DP, y IM
    // does not override: 1; claimed by x TH, z FX fixes it: 0; claimed by y TH, z IM does not
    // override: 2; z IM claims a free atom: 4.
    const std::vector<std::array<double, 3>> atoms = {
        {2, 99, 99},  {6, 99, 99},  {10, 99, 99}, {99, 2, 99}, {99, 6, 99},
        {99, 25, 99}, {25, 45, 99}, {6, 99, 2},   {99, 2, 25}, {99, 99, 25}};
    EXPECT_EQ(latyps(atoms, lc), (std::vector<int32_t>{0, 2, 3, 2, 0, 0, 1, 0, 2, 4}));
    EXPECT_EQ(latyps(atoms, LatticeConstraints{}), std::vector<int32_t>(atoms.size(), 3));

    // Atoms 3 and 4 are not lattice atoms; atoms 2 and 3 are projectile atoms.
    AtomStore store;
    store.first_lattice_atom = 1;
    store.last_lattice_atom = 2;
    store.first_projectile_atom = 2;
    store.last_projectile_atom = 3;
    const std::vector<std::array<double, 3>> fixed(4, {1, 1, 1});
    EXPECT_EQ(latyps(fixed, lc, store), (std::vector<int32_t>{0, 3, 3, 7}));
    store.search_for_pka = true;
    EXPECT_EQ(latyps(fixed, lc, store), (std::vector<int32_t>{0, 0, 7, 7}));
}

}  // namespace
}  // namespace pelix
