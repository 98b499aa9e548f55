#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/occupied_cells.hpp"
#include "potentials/catalogue.hpp"

namespace {

struct TestAtom {
    double x, y, z;
    int32_t specie;
};

// Pair cut-off (Za + Zb) / 200 A, so that the atomic numbers choose the radii.
double summed_cutoff(pelix::Engine&, int32_t za, int32_t zb) {
    const double r = (za + zb) / 200.0;
    return r * r;
}
void no_setup(pelix::Engine&, int32_t) {}
void no_evaluation(pelix::Engine&) {}
constexpr pelix::FamilyOps kSummedOps{no_setup, summed_cutoff, no_evaluation};
constexpr pelix::KeywordRow kCatalogue[] = {{"SUMMED", "summed_interaction", &kSummedOps}};

// Runs the neighbour set-up for a box equal to the region, with the given periodic flags and
// one species per atomic number, and stages the atoms; the list is then one build away.
void prepare(pelix::Engine& engine, std::array<double, 3> box, std::array<int32_t, 3> pbc,
             const std::vector<int32_t>& anum, const std::vector<TestAtom>& atoms) {
    engine.catalogue = kCatalogue;
    engine.config.pbcx = pbc[0];
    engine.config.pbcy = pbc[1];
    engine.config.pbcz = pbc[2];
    engine.atoms.lx = box[0];
    engine.atoms.ly = box[1];
    engine.atoms.lz = box[2];
    engine.atoms.mylt = static_cast<int32_t>(atoms.size());
    engine.atoms.numel = static_cast<int32_t>(anum.size());
    engine.atoms.anum = anum;
    engine.registry.potype.assign(engine.atoms.numel, "SUMMED");
    engine.registry.pot_numprocs = 1;
    pelix::define_myprocess_boundaries(engine);
    double range = 0.0;
    pelix::setup_nebour_parameters(engine, range);
    auto& ff = engine.ff;
    ff.rx.clear();
    ff.ry.clear();
    ff.rz.clear();
    ff.specie.clear();
    for (const auto& a : atoms) {
        ff.rx.push_back(a.x);
        ff.ry.push_back(a.y);
        ff.rz.push_back(a.z);
        ff.specie.push_back(a.specie);
    }
    engine.cells.celatm.assign(atoms.size(), -1);
    engine.neighbours.nlstmx = pelix::kNeighboursPerAtomLimit * engine.atoms.mylt;
}

using Entry = std::tuple<int32_t, int32_t, int32_t>;  // atom, neighbour, image code

std::vector<Entry> listed_entries(const pelix::Engine& engine) {
    const auto& ff = engine.ff;
    std::vector<Entry> entries;
    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        EXPECT_LE(ff.nebpnt[i], ff.nebpnt[i + 1]);
        for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k)
            entries.emplace_back(i, ff.nebour[k], ff.pbctyp[k]);
    }
    EXPECT_EQ(static_cast<std::size_t>(ff.nebpnt[engine.atoms.mylt]), ff.nebour.size());
    std::sort(entries.begin(), entries.end());
    return entries;
}

// Every ordered pair i != j and every shift of -1, 0, +1 box lengths along the periodic
// axes, on the folded positions; the image code is looked up in the offset table.
std::vector<Entry> brute_force_entries(const pelix::Engine& engine) {
    const auto& ff = engine.ff;
    const auto& grid = engine.cells;
    const int32_t sx_max = engine.config.pbcx == 1 ? 1 : 0;
    const int32_t sy_max = engine.config.pbcy == 1 ? 1 : 0;
    const int32_t sz_max = engine.config.pbcz == 1 ? 1 : 0;
    std::vector<Entry> entries;
    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        for (int32_t j = 0; j < engine.atoms.mylt; ++j) {
            if (j == i)
                continue;
            for (int32_t sx = -sx_max; sx <= sx_max; ++sx) {
                for (int32_t sy = -sy_max; sy <= sy_max; ++sy) {
                    for (int32_t sz = -sz_max; sz <= sz_max; ++sz) {
                        const double ox = sx * grid.neb_lx, oy = sy * grid.neb_ly,
                                     oz = sz * grid.neb_lz;
                        const double dx = ff.rx[j] - ox - ff.rx[i];
                        const double dy = ff.ry[j] - oy - ff.ry[i];
                        const double dz = ff.rz[j] - oz - ff.rz[i];
                        if (dx * dx + dy * dy + dz * dz >=
                            engine.neighbours.radus2(ff.specie[i], ff.specie[j]))
                            continue;
                        // Nearest entry to the centre: entries beyond the used ones are 0.
                        int32_t code = 99;
                        for (int32_t k = 0; k <= 26 && code == 99; ++k) {
                            const int32_t n = k % 2 == 0 ? k / 2 : -(k + 1) / 2;
                            if (ff.xoffset(n) == ox && ff.yoffset(n) == oy && ff.zoffset(n) == oz)
                                code = n;
                        }
                        entries.emplace_back(i, j, code);
                    }
                }
            }
        }
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

TEST(NeighbourList, MatchesBruteForceForEveryPeriodicCombinationAndCellCount) {
    std::mt19937_64 rng(20240917);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    // Radii 2.2, 2.7 and 3.2 A; box lengths giving one cell (shorter than 3.2 A), two, and
    // many along an axis.
    const std::vector<double> lengths = {2.1, 6.5, 7.9, 16.0, 23.0};
    int32_t cases = 0, one_cell_cases = 0;
    std::size_t entries = 0;
    for (int32_t flags = 0; flags < 8; ++flags) {
        const std::array<int32_t, 3> pbc = {(flags >> 2) & 1, (flags >> 1) & 1, flags & 1};
        for (int trial = 0; trial < 12; ++trial) {
            std::array<double, 3> box{};
            for (auto& l : box)
                l = trial == 0 ? 2.1 : lengths[static_cast<std::size_t>(unit(rng) * 5.0)];
            // Periodic coordinates from anywhere in [-L, 2L); open ones a little outside too.
            std::vector<TestAtom> atoms(40);
            for (auto& a : atoms) {
                double* c[3] = {&a.x, &a.y, &a.z};
                for (int ax = 0; ax < 3; ++ax) {
                    const double l = box[static_cast<std::size_t>(ax)];
                    *c[ax] = pbc[static_cast<std::size_t>(ax)] == 1 ? (3.0 * unit(rng) - 1.0) * l
                                                                    : (1.4 * unit(rng) - 0.2) * l;
                }
                a.specie = unit(rng) < 0.5 ? 0 : 1;
            }
            pelix::Engine engine;
            prepare(engine, box, pbc, {190, 290}, atoms);
            pelix::build_nebour_list(engine);
            const auto listed = listed_entries(engine);
            const auto expected = brute_force_entries(engine);
            EXPECT_EQ(listed, expected)
                << "flags " << flags << " box " << box[0] << " x " << box[1] << " x " << box[2];
            // Periodic coordinates are folded into the box.
            const std::vector<double>* folded[3] = {&engine.ff.rx, &engine.ff.ry, &engine.ff.rz};
            for (std::size_t ax = 0; ax < 3; ++ax) {
                if (pbc[ax] != 1)
                    continue;
                for (double c : *folded[ax])
                    EXPECT_TRUE(c >= 0.0 && c < box[ax]) << c;
            }
            ++cases;
            one_cell_cases += engine.cells.mxyz == 1 ? 1 : 0;
            entries += listed.size();
        }
    }
    EXPECT_EQ(cases, 96);
    EXPECT_GE(one_cell_cases, 8);
    EXPECT_GT(entries, 96u * 40u);  // the comparison is not between near-empty lists
}

TEST(NeighbourList, FineGridsMatchBruteForceThroughBitmapAndHash) {
    std::mt19937_64 rng(20241105);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    // Radii 0.31, 0.51 and 0.71 A. Boxes whose grids are found through the bitmap (56^3 cells),
    // the hash (352^3) and the hash again with more cells than 32 bits can count (1408^3).
    const std::vector<std::tuple<double, pelix::CellLookup, bool>> grids = {
        {40.0, pelix::CellLookup::bitmap, false},
        {250.0, pelix::CellLookup::hash, false},
        {1000.0, pelix::CellLookup::hash, true}};
    std::size_t entries = 0;
    for (int32_t flags = 0; flags < 8; ++flags) {
        const std::array<int32_t, 3> pbc = {(flags >> 2) & 1, (flags >> 1) & 1, flags & 1};
        for (const auto& [length, lookup, beyond_int32] : grids) {
            // Clusters of four atoms within 0.4 A, their centres anywhere in the box and a fifth
            // of them at a face, an edge or a corner, so that clusters straddle the boundaries;
            // periodic coordinates are then shifted by a whole box now and then.
            std::vector<TestAtom> atoms;
            for (int cluster = 0; cluster < 60; ++cluster) {
                std::array<double, 3> centre{};
                for (auto& c : centre) {
                    c = unit(rng) * length;
                    if (cluster % 5 == 0)
                        c = unit(rng) < 0.5 ? 0.1 * unit(rng) : length - 0.1 * unit(rng);
                }
                for (int k = 0; k < 4; ++k) {
                    TestAtom a{centre[0], centre[1], centre[2], unit(rng) < 0.5 ? 0 : 1};
                    double* c[3] = {&a.x, &a.y, &a.z};
                    for (int ax = 0; ax < 3; ++ax) {
                        *c[ax] += 0.4 * unit(rng) - 0.2;
                        if (pbc[static_cast<std::size_t>(ax)] == 1 && unit(rng) < 0.1)
                            *c[ax] += unit(rng) < 0.5 ? length : -length;
                    }
                    atoms.push_back(a);
                }
            }
            pelix::Engine engine;
            prepare(engine, {length, length, length}, pbc, {1, 41}, atoms);
            ASSERT_EQ(pelix::cell_lookup_for(engine.cells.mxyz, engine.atoms.mylt), lookup);
            ASSERT_EQ(engine.cells.mxyz > std::numeric_limits<int32_t>::max(), beyond_int32);
            pelix::build_nebour_list(engine);
            const auto listed = listed_entries(engine);
            EXPECT_EQ(listed, brute_force_entries(engine))
                << "flags " << flags << " box " << length;
            entries += listed.size();
        }
    }
    EXPECT_GT(entries, 8u * 3u * 240u);  // most atoms have neighbours
}

TEST(NeighbourList, OneCellPeriodicAxisGivesThreeImagesButNeverTheAtomItself) {
    pelix::Engine engine;
    // Radius 3 across a 2 A periodic x axis: atom 1 is within range of atom 0 through the
    // images -1, 0 and +1, and each atom is within range of its own images.
    prepare(engine, {2.0, 10.0, 10.0}, {1, 0, 0}, {270}, {{0.5, 5.0, 5.0, 0}, {1.0, 5.0, 5.0, 0}});
    pelix::build_nebour_list(engine);
    const auto& ff = engine.ff;
    ASSERT_EQ(engine.cells.mx, 1);
    EXPECT_EQ(ff.nebpnt, std::vector<int32_t>({0, 3, 6}));
    // Visiting order: the cell below (shift +1), the cell itself, the cell above (shift -1).
    EXPECT_EQ(std::vector<int32_t>(ff.nebour.begin(), ff.nebour.end()),
              std::vector<int32_t>({1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(std::vector<int32_t>(ff.pbctyp.begin(), ff.pbctyp.end()),
              std::vector<int32_t>({1, 0, -1, 1, 0, -1}));
}

TEST(NeighbourList, StrictRadiusVisitingOrderAndIsolatedAtoms) {
    pelix::Engine engine;
    // Open box of cells about 2 A wide. Atom 1 is exactly 2 A from atom 0 (not a neighbour);
    // atoms 3 and 4 share atom 0's cell; atom 2 is in the cell below along x; atom 5 is alone
    // in a corner; atom 6 is of the species with the shorter radius.
    const std::vector<TestAtom> atoms = {{5.0, 5.0, 5.0, 0}, {7.0, 5.0, 5.0, 0}, {3.5, 5.0, 5.0, 0},
                                         {5.5, 5.0, 5.0, 0}, {5.0, 5.5, 5.0, 0}, {9.5, 9.5, 9.5, 0},
                                         {5.0, 5.0, 3.6, 1}};
    prepare(engine, {10.0, 10.0, 10.0}, {0, 0, 0}, {170, 170}, atoms);
    engine.neighbours.radus2.data = {4.0, 1.44, 1.44, 1.0};
    pelix::build_nebour_list(engine);
    const auto& ff = engine.ff;
    const auto neighbours_of = [&](int32_t i) {
        return std::vector<int32_t>(ff.nebour.begin() + ff.nebpnt[i],
                                    ff.nebour.begin() + ff.nebpnt[i + 1]);
    };
    EXPECT_EQ(neighbours_of(0), std::vector<int32_t>({2, 4, 3}));
    EXPECT_EQ(neighbours_of(1), std::vector<int32_t>({3}));
    EXPECT_EQ(neighbours_of(5), std::vector<int32_t>());
    EXPECT_EQ(neighbours_of(6), std::vector<int32_t>());
    for (int32_t code : ff.pbctyp)
        EXPECT_EQ(code, 0);
}

// The list of every atom in the order the build must give it, walked directly: the 27 cells
// around the atom's cell (x outermost, z innermost, wrapping with a shift on periodic axes),
// each cell's atoms in decreasing index, every atom but i strictly within its pair radius.
// Positions must lie in the region (folded already on periodic axes).
std::vector<std::vector<std::pair<int32_t, int32_t>>> walked_lists(const pelix::Engine& engine) {
    const auto& ff = engine.ff;
    const auto& grid = engine.cells;
    const int32_t cells[3] = {grid.mx, grid.my, grid.mz};
    const double lower[3] = {grid.neb_westlim, grid.neb_downlim, grid.neb_southlim};
    const double width[3] = {grid.wx, grid.wy, grid.wz};
    const double length[3] = {grid.neb_lx, grid.neb_ly, grid.neb_lz};
    const bool periodic[3] = {engine.config.pbcx == 1, engine.config.pbcy == 1,
                              engine.config.pbcz == 1};
    const auto cell_of = [&](int32_t i, int axis) {
        const double c[3] = {ff.rx[i], ff.ry[i], ff.rz[i]};
        const auto slice = static_cast<int32_t>(std::trunc((c[axis] - lower[axis]) / width[axis]));
        return std::clamp(slice, 0, cells[axis] - 1);
    };
    const int32_t n = engine.atoms.mylt;
    std::vector<std::vector<std::pair<int32_t, int32_t>>> lists(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        int32_t shifted[3][3], shift[3][3], steps[3] = {0, 0, 0};
        for (int axis = 0; axis < 3; ++axis) {
            for (int32_t d = -1; d <= 1; ++d) {
                int32_t c = cell_of(i, axis) + d, s = 0;
                if (c < 0 || c >= cells[axis]) {
                    if (!periodic[axis])
                        continue;
                    s = c < 0 ? 1 : -1;
                    c = c < 0 ? cells[axis] - 1 : 0;
                }
                shifted[axis][steps[axis]] = c;
                shift[axis][steps[axis]++] = s;
            }
        }
        for (int a = 0; a < steps[0]; ++a) {
            for (int b = 0; b < steps[1]; ++b) {
                for (int c = 0; c < steps[2]; ++c) {
                    const double ox = shift[0][a] * length[0], oy = shift[1][b] * length[1],
                                 oz = shift[2][c] * length[2];
                    // Nearest entry to the centre: entries beyond the used ones are 0.
                    int32_t code = 99;
                    for (int32_t k = 0; k <= 26 && code == 99; ++k) {
                        const int32_t m = k % 2 == 0 ? k / 2 : -(k + 1) / 2;
                        if (ff.xoffset(m) == ox && ff.yoffset(m) == oy && ff.zoffset(m) == oz)
                            code = m;
                    }
                    for (int32_t j = n - 1; j >= 0; --j) {
                        if (j == i || cell_of(j, 0) != shifted[0][a] ||
                            cell_of(j, 1) != shifted[1][b] || cell_of(j, 2) != shifted[2][c])
                            continue;
                        const double dx = ff.rx[j] - ox - ff.rx[i];
                        const double dy = ff.ry[j] - oy - ff.ry[i];
                        const double dz = ff.rz[j] - oz - ff.rz[i];
                        if (dx * dx + dy * dy + dz * dz <
                            engine.neighbours.radus2(ff.specie[i], ff.specie[j]))
                            lists[static_cast<std::size_t>(i)].emplace_back(j, code);
                    }
                }
            }
        }
    }
    return lists;
}

// Several hundred cells, more than the build keeps neighbourhoods of, with the atoms numbered
// along a lattice (neighbouring atoms share cells) and at random (they seldom do), two species
// with different radii, and periodic and open axes: each atom's entries come in exactly the
// order of the walk.
TEST(NeighbourList, EntriesFollowCellVisitingOrderThenDecreasingIndex) {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (const bool shuffled : {false, true}) {
        for (const std::array<int32_t, 3> pbc : {std::array<int32_t, 3>{1, 1, 1}, {1, 0, 1}}) {
            const double edge = 1.4;
            const int sites = 16;
            std::vector<TestAtom> atoms;
            for (int a = 0; a < sites; ++a) {
                for (int b = 0; b < sites; ++b) {
                    for (int c = 0; c < sites; c += 2) {
                        atoms.push_back({(a + 0.5 + 0.3 * (unit(rng) - 0.5)) * edge,
                                         (b + 0.5 + 0.3 * (unit(rng) - 0.5)) * edge,
                                         (c + 0.5 + 0.3 * (unit(rng) - 0.5)) * edge,
                                         unit(rng) < 0.8 ? 0 : 1});
                    }
                }
            }
            if (shuffled)
                std::shuffle(atoms.begin(), atoms.end(), rng);
            const double box = sites * edge;
            pelix::Engine engine;
            prepare(engine, {box, box, box}, pbc, {190, 290}, atoms);
            pelix::build_nebour_list(engine);
            ASSERT_GT(engine.cells.mxyz, 128);
            const auto walked = walked_lists(engine);
            const auto& ff = engine.ff;
            std::size_t total = 0;
            for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
                std::vector<std::pair<int32_t, int32_t>> listed;
                for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k)
                    listed.emplace_back(ff.nebour[k], ff.pbctyp[k]);
                ASSERT_EQ(listed, walked[static_cast<std::size_t>(i)])
                    << "atom " << i << (shuffled ? " shuffled" : " in lattice order");
                total += listed.size();
            }
            EXPECT_GT(total, 5u * atoms.size());
        }
    }
}

TEST(NeighbourList, OverflowsAreFatal) {
    pelix::Engine engine;
    const std::vector<TestAtom> pair = {{1.0, 1.0, 1.0, 0}, {1.5, 1.0, 1.0, 0}};
    prepare(engine, {10.0, 10.0, 10.0}, {1, 1, 1}, {170}, pair);
    pelix::build_nebour_list(engine);
    engine.neighbours.nlstmx = 2;  // exactly enough
    EXPECT_NO_THROW(pelix::nebour_list(engine));
    EXPECT_EQ(engine.ff.nebpnt[2], 2);

    const auto fatal_lines = [&] {
        try {
            pelix::nebour_list(engine);
        } catch (const pelix::FatalError& e) {
            EXPECT_EQ(e.exit_status(), pelix::kExitFatal);
            return e.lines();
        }
        return std::vector<std::string>{};
    };
    engine.neighbours.nlstmx = 1;
    EXPECT_EQ(fatal_lines(), std::vector<std::string>({" nrerror: NEBOUR_LIST: LSTPNT > NLSTMX",
                                                       "program terminated by nerror"}));
    engine.neighbours.nlstmx = 2;
    engine.cells.mxyz = 1;  // a grid whose cells outnumber its table
    EXPECT_EQ(fatal_lines(), std::vector<std::string>({" nrerror: NEBOUR_LIST: MNEB > MXYZ",
                                                       "program terminated by nerror"}));
}

TEST(NeighbourList, SetupFixesRadiiRangeMarginAndGrid) {
    pelix::Engine engine;
    engine.sd.sd_simutype = "INDEN";
    prepare(engine, {20.0, 9.0, 4.0}, {1, 0, 0}, {100, 400}, {{1.0, 1.0, 1.0, 0}});
    const auto& settings = engine.neighbours;
    EXPECT_EQ(engine.sd.myltpnebs, 1);
    EXPECT_DOUBLE_EQ(settings.radius(0, 0), 1.0 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radius(0, 1), 2.5 + 0.3);
    EXPECT_EQ(settings.radius(1, 0), settings.radius(0, 1));
    EXPECT_DOUBLE_EQ(settings.radus2(1, 1), 4.3 * 4.3);
    EXPECT_EQ(settings.radus2(1, 0), settings.radus2(0, 1));
    EXPECT_DOUBLE_EQ(engine.sd.sd_ohmega, 4.3);

    const auto& grid = engine.cells;
    EXPECT_EQ(grid.neb_downlim, -100.0);  // the indentation region reaches below the box
    EXPECT_EQ(grid.mx, 4);                // 20 A / 4.3 A
    EXPECT_EQ(grid.my, 25);               // 109 A / 4.3 A
    EXPECT_EQ(grid.mz, 1);
    EXPECT_EQ(grid.mxyz, 100);
    EXPECT_EQ(grid.neb_pbcx, 1);
    EXPECT_EQ(engine.ff.xoffset(-1), -20.0);
}

TEST(NeighbourList, SetupStopsWithoutAtomsAndOnlyWhenNoFlagIsValid) {
    pelix::Engine engine;
    prepare(engine, {20.0, 9.0, 4.0}, {1, 0, 0}, {100}, {{1.0, 1.0, 1.0, 0}});
    const auto message = [&](int32_t mylt, std::array<int32_t, 3> pbc) -> std::string {
        engine.atoms.mylt = mylt;
        engine.config.pbcx = pbc[0];
        engine.config.pbcy = pbc[1];
        engine.config.pbcz = pbc[2];
        double range = 0.0;
        try {
            pelix::setup_nebour_parameters(engine, range);
        } catch (const pelix::FatalError& e) {
            return e.lines().at(0);
        }
        return "";
    };
    EXPECT_EQ(message(0, {1, 0, 0}), " nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?");
    EXPECT_EQ(message(1, {2, 0, 0}), "");
    EXPECT_EQ(message(1, {2, 2, 2}), " nrerror: SETUP_NEBOUR_PARAMETERS: WRONG VALUE FOR PBC");
}

}  // namespace
