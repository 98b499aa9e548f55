// The common family evaluation, driven by a small harmonic-spring family between iron and
// helium on a hand-built neighbour list with periodic images along each axis.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/engine.hpp"
#include "family_test_support.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {
namespace {

using test_support::nrerror_line;

constexpr int32_t kFe = 26, kHe = 2, kCu = 29;

// Springs V = (r - r0)^2: Fe-Fe (type 1, cut-off 2.5, r0 1.2) and Fe-He (type 2, cut-off 2.0,
// r0 0.8). Anything else is refused by the mapper.
template <double B, double F, bool AllAtoms>
struct SpringFamily {
    static constexpr std::string_view overflow_message = "SPRING_NEB: NEBTOT > INTERSIZE";
    static constexpr double bond_capacity = B;
    static constexpr double safety_factor = F;
    static constexpr bool counts_all_atoms = AllAtoms;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    std::vector<std::pair<int32_t, int32_t>> interact_calls;

    int32_t idnum() const { return 1; }
    bool selects(int32_t z) const { return z == kFe || z == kHe; }
    int32_t mapij(int32_t za, int32_t zb) const {
        if (za == kFe && zb == kFe)
            return 1;
        if ((za == kFe && zb == kHe) || (za == kHe && zb == kFe))
            return 2;
        nrerror("SPRING_MAPIJ: unsupported pair");
    }
    double conrh2(int32_t t) const { return t == 1 ? 6.25 : 4.0; }
    void smoothing(int32_t, double, double& f, double& df) const { f = df = 0.0; }
    void interact(Engine& engine, int32_t m, int32_t i) {
        interact_calls.emplace_back(m, i);
        const BondList& bonds = engine.ff.bonds;
        for (int32_t b = bonds.datum[m]; b < bonds.datum[m + 1]; ++b) {
            const int32_t j = bonds.neb[b];
            if (j < i)
                continue;  // each pair once, from the lower atom index
            const double stretch = bonds.bndlen[b] - (bonds.bndtyp[b] == 1 ? 1.2 : 0.8);
            add_pair_terms(engine, i, j, stretch * stretch, 2.0 * stretch, bonds.bndxnm[b],
                           bonds.bndynm[b], bonds.bndznm[b]);
        }
    }
};

// Eight local atoms in a periodic box of 10 A (image codes 9, 3 and 1 shift by +10 along x, y
// and z; their negatives back):
//   0 Fe (0, 0, 0)       1 Fe (2.5, 0, 0): exactly at the Fe-Fe cut-off from 0
//   2 He (0, 1.5, 0)     3 He (0, -1, 0): He-He belongs to another potential
//   4 Cu (1, 1, 0): another potential, which the mapper would refuse
//   5 Fe (9, 0, 0), 6 Fe (0, 9, 0), 7 Fe (0, 0, 8.7): 1, 1 and 1.3 A from 0 through an image
Engine spring_engine() {
    Engine engine;
    engine.atoms.anum = {kFe, kHe, kCu};
    auto& ff = engine.ff;
    ff.rx = {0.0, 2.5, 0.0, 0.0, 1.0, 9.0, 0.0, 0.0};
    ff.ry = {0.0, 0.0, 1.5, -1.0, 1.0, 0.0, 9.0, 0.0};
    ff.rz = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 8.7};
    ff.specie = {0, 0, 1, 1, 2, 0, 0, 0};
    ff.potnum.assign(3, 2);
    ff.potnum(0, 0) = 1;
    ff.potnum(0, 1) = ff.potnum(1, 0) = 1;
    ff.xofset[kImageOffsetCentre + 9] = ff.yofset[kImageOffsetCentre + 3] = 10.0;
    ff.zofset[kImageOffsetCentre + 1] = 10.0;
    ff.xofset[kImageOffsetCentre - 9] = ff.yofset[kImageOffsetCentre - 3] = -10.0;
    ff.zofset[kImageOffsetCentre - 1] = -10.0;
    // Full lists: every pair from both sides, pairs out of range or not ours included.
    // clang-format off
    test_support::set_neighbour_lists(engine, {
        {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 9}, {6, 3}, {7, 1}}, {{0, 0}, {2, 0}},
        {{0, 0}, {1, 0}, {3, 0}}, {{0, 0}, {2, 0}}, {{0, 0}}, {{0, -9}}, {{0, -3}}, {{0, -1}}});
    // clang-format on
    engine.atoms.mylt = 8;
    engine.atoms.pe.assign(8, 7.0);
    return engine;
}

void expect_near(const std::vector<double>& got, const std::vector<double>& want) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t a = 0; a < want.size(); ++a)
        EXPECT_NEAR(got[a], want[a], 1e-14) << "atom " << a;
}

// Seven selected atoms, ten bonds counted from both sides: B x F = 1.5 gives room for 10.
using RoomySpring = SpringFamily<1.5, 1.0, false>;

TEST(FamilyContract,
     BondsWithinTheStrictCutOffThroughEveryImageAxisGiveHalfEnergiesAndBalancedForces) {
    Engine engine = spring_engine();
    RoomySpring family;
    evaluate_family(engine, family);
    EXPECT_EQ(family.interact_calls, (std::vector<std::pair<int32_t, int32_t>>{
                                         {0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 5}, {5, 6}, {6, 7}}));
    EXPECT_TRUE(engine.ff.bonds.neb.empty());  // the bond list does not outlive the evaluation

    // Stretches: 0-2 0.7, 0-3 0.2, 0-5 -0.2, 0-6 -0.2, 0-7 0.1; each energy split between two.
    expect_near(engine.atoms.pe, {7.0 + 0.5 * (0.49 + 0.04 + 0.04 + 0.04 + 0.01), 7.0, 7.0 + 0.245,
                                  7.02, 7.0, 7.02, 7.02, 7.005});
    // Stretched springs pull their ends together, compressed ones push the images apart.
    expect_near(engine.ff.fx, {0.4, 0, 0, 0, 0, -0.4, 0, 0});
    expect_near(engine.ff.fy, {1.4, 0, -1.4, 0.4, 0, 0, -0.4, 0});
    expect_near(engine.ff.fz, {-0.2, 0, 0, 0, 0, 0, 0, 0.2});
}

template <class Family>
std::string spring_stop() {
    Engine engine = spring_engine();
    Family family;
    const std::string line = nrerror_line([&] { evaluate_family(engine, family); });
    EXPECT_EQ(family.interact_calls.empty(), line != "no stop");  // stops before any atom
    return line;
}

TEST(FamilyContract, OverflowStopsOnlyWhenABondWouldPassTheCapacity) {
    const std::string overflow = " nrerror: SPRING_NEB: NEBTOT > INTERSIZE";
    EXPECT_EQ(spring_stop<RoomySpring>(), "no stop");
    EXPECT_EQ((spring_stop<SpringFamily<1.4, 1.0, false>>()), overflow);  // trunc(9.8)
    EXPECT_EQ((spring_stop<SpringFamily<1.0, 1.4, false>>()), overflow);
    EXPECT_EQ((spring_stop<SpringFamily<1.25, 1.0, true>>()), "no stop");  // over all 8 atoms
}

}  // namespace
}  // namespace pelix
