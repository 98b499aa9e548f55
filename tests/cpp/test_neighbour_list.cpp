#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/occupied_cells.hpp"
#include "potentials/catalogue.hpp"
#include "scratch_dir.hpp"

namespace {

using pelix::test_support::stop_of;
using Entries = std::vector<std::pair<int32_t, int32_t>>;  // (neighbour, image code)

struct TestAtom {
    double x, y, z;
    int32_t specie;
};

// Pair cut-off (Za + Zb) / 200 A, so that the atomic numbers choose the radii.
double summed_cutoff(pelix::Engine&, int32_t za, int32_t zb) {
    return (za + zb) * (za + zb) / 4.0e4;
}
void no_setup(pelix::Engine&, int32_t) {}
void no_evaluation(pelix::Engine&) {}
constexpr pelix::FamilyOps kSummedOps{no_setup, summed_cutoff, no_evaluation};
constexpr pelix::KeywordRow kCatalogue[] = {{"SUMMED", "summed_interaction", &kSummedOps}};

// Runs the neighbour set-up for a box equal to the region, one species per atomic number,
// and stages the atoms; the list is then one build away.
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
    ff.rx.clear(), ff.ry.clear(), ff.rz.clear(), ff.specie.clear();
    for (const auto& a : atoms) {
        ff.rx.push_back(a.x), ff.ry.push_back(a.y), ff.rz.push_back(a.z);
        ff.specie.push_back(a.specie);
    }
    engine.cells.celatm.assign(atoms.size(), -1);
    engine.neighbours.nlstmx = pelix::kNeighboursPerAtomLimit * engine.atoms.mylt;
}

Entries listed(const pelix::Engine& engine, int32_t i) {
    const auto& ff = engine.ff;
    Entries out;
    for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k)
        out.emplace_back(ff.nebour[k], ff.pbctyp[k]);
    return out;
}

// Every atom's list as the build must give it, walked directly on the folded positions: the
// 27 cells around the atom's cell (x outermost, z innermost; on periodic axes wrapping with a
// shift of one box length), each cell's atoms in decreasing index, every atom but i strictly
// within its pair radius, the image code being the offset-table entry of the shift.
std::vector<Entries> walked_lists(const pelix::Engine& engine) {
    const auto& ff = engine.ff;
    const auto& g = engine.cells;
    const int32_t cells[3] = {g.mx, g.my, g.mz};
    const double lower[3] = {g.neb_westlim, g.neb_downlim, g.neb_southlim};
    const double width[3] = {g.wx, g.wy, g.wz}, length[3] = {g.neb_lx, g.neb_ly, g.neb_lz};
    const bool periodic[3] = {engine.config.pbcx == 1, engine.config.pbcy == 1,
                              engine.config.pbcz == 1};
    const auto cell_of = [&](int32_t i) {
        const double c[3] = {ff.rx[i], ff.ry[i], ff.rz[i]};
        std::array<int32_t, 3> cell{};
        for (int a = 0; a < 3; ++a)
            cell[a] = std::clamp(static_cast<int32_t>(std::trunc((c[a] - lower[a]) / width[a])), 0,
                                 cells[a] - 1);
        return cell;
    };
    const int32_t n = engine.atoms.mylt;
    std::vector<std::array<int32_t, 3>> cell_of_atom;
    for (int32_t i = 0; i < n; ++i)
        cell_of_atom.push_back(cell_of(i));
    std::vector<Entries> lists(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        const auto home = cell_of_atom[static_cast<std::size_t>(i)];
        for (int32_t d = 0; d < 27; ++d) {
            std::array<int32_t, 3> cell{}, shift{};
            bool inside = true;
            for (int a = 0; a < 3; ++a) {
                cell[a] = home[a] + (a == 0 ? d / 9 : a == 1 ? d / 3 % 3 : d % 3) - 1;
                if (cell[a] >= 0 && cell[a] < cells[a])
                    continue;
                inside = inside && periodic[a];
                shift[a] = cell[a] < 0 ? 1 : -1;
                cell[a] = cell[a] < 0 ? cells[a] - 1 : 0;
            }
            if (!inside)
                continue;
            const double o[3] = {shift[0] * length[0], shift[1] * length[1], shift[2] * length[2]};
            int32_t code = 0;  // nearest entry to the centre: unused entries are 0 as well
            for (int32_t k = 0; k <= 26; ++k) {
                code = k % 2 == 0 ? k / 2 : -(k + 1) / 2;
                if (ff.xoffset(code) == o[0] && ff.yoffset(code) == o[1] &&
                    ff.zoffset(code) == o[2])
                    break;
            }
            for (int32_t j = n - 1; j >= 0; --j) {
                const double dx = ff.rx[j] - o[0] - ff.rx[i], dy = ff.ry[j] - o[1] - ff.ry[i],
                             dz = ff.rz[j] - o[2] - ff.rz[i];
                if (j != i && cell_of_atom[static_cast<std::size_t>(j)] == cell &&
                    dx * dx + dy * dy + dz * dz <
                        engine.neighbours.radus2(ff.specie[i], ff.specie[j]))
                    lists[static_cast<std::size_t>(i)].emplace_back(j, code);
            }
        }
    }
    return lists;
}

// Every periodic combination; boxes of one cell (shorter than the largest radius), two and
// many along an axis; fine grids found through the bitmap, the hash and the hash again with
// more cells than 32 bits can count; atoms in clusters that straddle faces, edges and corners,
// periodic ones also a box length outside; numbered at random and (more than 128 cells, more
// than the build keeps neighbourhoods of) along a lattice, so that neighbours share cells.
TEST(NeighbourList, EntriesAndTheirOrderFollowTheCellWalk) {
    std::mt19937_64 rng(20240917);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    struct Case {
        std::array<double, 3> box;
        std::vector<int32_t> anum;  // radii 2.2, 2.7, 3.2 or 0.31, 0.51, 0.71 A
        double spread;              // cluster size
        pelix::CellLookup lookup;
        bool lattice;
    };
    const std::vector<Case> cases = {
        {{2.1, 2.1, 2.1}, {190, 290}, 1.5, pelix::CellLookup::table, false},
        {{2.1, 6.5, 23.0}, {190, 290}, 1.5, pelix::CellLookup::table, false},
        {{16.0, 7.9, 6.5}, {190, 290}, 1.5, pelix::CellLookup::table, false},
        {{23.0, 23.0, 16.0}, {190, 290}, 1.5, pelix::CellLookup::table, false},
        {{22.4, 22.4, 22.4}, {190, 290}, 0.4, pelix::CellLookup::table, true},
        {{40.0, 40.0, 40.0}, {1, 41}, 0.4, pelix::CellLookup::bitmap, false},
        {{250.0, 250.0, 250.0}, {1, 41}, 0.4, pelix::CellLookup::hash, false},
        {{1000.0, 1000.0, 1000.0}, {1, 41}, 0.4, pelix::CellLookup::hash, false}};
    for (int32_t flags = 0; flags < 8; ++flags) {
        const std::array<int32_t, 3> pbc = {flags >> 2 & 1, flags >> 1 & 1, flags & 1};
        for (const Case& c : cases) {
            std::vector<TestAtom> atoms;
            for (int k = 0; k < (c.lattice ? 8 * 16 * 16 : 200); ++k) {
                TestAtom a{0, 0, 0, unit(rng) < 0.7 ? 0 : 1};
                double* r[3] = {&a.x, &a.y, &a.z};
                const double last[3] = {atoms.empty() ? 0.0 : atoms.back().x,
                                        atoms.empty() ? 0.0 : atoms.back().y,
                                        atoms.empty() ? 0.0 : atoms.back().z};
                for (std::size_t ax = 0; ax < 3; ++ax) {
                    const double l = c.box[ax], u = unit(rng);
                    const int site[3] = {k / 128, k / 8 % 16, k % 8 * 2};
                    if (c.lattice)
                        *r[ax] = (site[ax] + 0.35 + 0.3 * u) * 1.4;
                    else if (k % 4 != 0)
                        *r[ax] = last[ax] + c.spread * (u - 0.5);
                    else if (k % 20 == 0)
                        *r[ax] = u < 0.5 ? 0.1 * unit(rng) : l - 0.1 * unit(rng);
                    else
                        *r[ax] = pbc[ax] == 1 ? (3.0 * u - 1.0) * l : (1.4 * u - 0.2) * l;
                }
                atoms.push_back(a);
            }
            pelix::Engine engine;
            prepare(engine, c.box, pbc, c.anum, atoms);
            ASSERT_EQ(pelix::cell_lookup_for(engine.cells.mxyz, engine.atoms.mylt), c.lookup);
            pelix::build_nebour_list(engine);
            const double* folded[3] = {engine.ff.rx.data(), engine.ff.ry.data(),
                                       engine.ff.rz.data()};
            for (std::size_t ax = 0; ax < 3; ++ax)
                for (std::size_t k = 0; k < atoms.size() && pbc[ax] == 1; ++k)
                    ASSERT_TRUE(folded[ax][k] >= 0.0 && folded[ax][k] < c.box[ax]);
            const auto walked = walked_lists(engine);
            std::size_t total = 0;
            for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
                ASSERT_EQ(listed(engine, i), walked[static_cast<std::size_t>(i)])
                    << "flags " << flags << " box " << c.box[0] << " atom " << i;
                total += walked[static_cast<std::size_t>(i)].size();
            }
            EXPECT_EQ(static_cast<std::size_t>(engine.ff.nebpnt[engine.atoms.mylt]), total);
            EXPECT_GT(total, atoms.size());  // not a comparison of near-empty lists
            if (c.lattice) {
                EXPECT_GT(engine.cells.mxyz, 128);
            }
        }
    }
}

TEST(NeighbourList, OneCellPeriodicAxisGivesThreeImagesButNeverTheAtomItself) {
    pelix::Engine engine;
    // Radius 3 across a 2 A periodic x axis: atom 1 is within range of atom 0 through the
    // images -1, 0 and +1, and each atom is within range of its own images.
    prepare(engine, {2.0, 10.0, 10.0}, {1, 0, 0}, {270}, {{0.5, 5.0, 5.0, 0}, {1.0, 5.0, 5.0, 0}});
    pelix::build_nebour_list(engine);
    ASSERT_EQ(engine.cells.mx, 1);
    EXPECT_EQ(engine.ff.xoffset(1), 2.0);
    // Visiting order: the cell below (shift +1), the cell itself, the cell above (shift -1).
    EXPECT_EQ(listed(engine, 0), (Entries{{1, 1}, {1, 0}, {1, -1}}));
    EXPECT_EQ(listed(engine, 1), (Entries{{0, 1}, {0, 0}, {0, -1}}));
}

TEST(NeighbourList, StrictRadiusVisitingOrderAndIsolatedAtoms) {
    pelix::Engine engine;
    // Open box of 2 A cells. Atom 1 is exactly 2 A from atom 0 (not a neighbour); atoms 3 and
    // 4 share atom 0's cell; atom 2 is in the cell below along x; atom 5 is alone in a corner;
    // atom 6 is of the species with the shorter radius.
    prepare(engine, {10.0, 10.0, 10.0}, {0, 0, 0}, {170, 170},
            {{5.0, 5.0, 5.0, 0},
             {7.0, 5.0, 5.0, 0},
             {3.5, 5.0, 5.0, 0},
             {5.5, 5.0, 5.0, 0},
             {5.0, 5.5, 5.0, 0},
             {9.5, 9.5, 9.5, 0},
             {5.0, 5.0, 3.6, 1}});
    engine.neighbours.radus2.data = {4.0, 1.44, 1.44, 1.0};
    pelix::build_nebour_list(engine);
    EXPECT_EQ(listed(engine, 0), (Entries{{2, 0}, {4, 0}, {3, 0}}));
    EXPECT_EQ(listed(engine, 1), (Entries{{3, 0}}));
    EXPECT_EQ(listed(engine, 5), Entries{});
    EXPECT_EQ(listed(engine, 6), Entries{});
}

TEST(NeighbourList, OverflowsStop) {
    pelix::Engine engine;
    prepare(engine, {10.0, 10.0, 10.0}, {1, 1, 1}, {170}, {{1, 1, 1, 0}, {1.5, 1, 1, 0}});
    pelix::build_nebour_list(engine);
    engine.neighbours.nlstmx = 2;  // exactly enough
    EXPECT_EQ(stop_of([&] { pelix::nebour_list(engine); }).status, 0);
    EXPECT_EQ(engine.ff.nebpnt[2], 2);
    const std::vector<std::string> terminated = {"program terminated by nerror"};
    engine.neighbours.nlstmx = 1;
    auto stop = stop_of([&] { pelix::nebour_list(engine); });
    EXPECT_EQ(stop.status, pelix::kExitFatal);
    EXPECT_EQ(stop.lines,
              (std::vector<std::string>{" nrerror: NEBOUR_LIST: LSTPNT > NLSTMX", terminated[0]}));
    engine.neighbours.nlstmx = 2;
    engine.cells.mxyz = 1;  // a grid whose cells outnumber its table
    EXPECT_EQ(stop_of([&] { pelix::nebour_list(engine); }).lines,
              (std::vector<std::string>{" nrerror: NEBOUR_LIST: MNEB > MXYZ", terminated[0]}));
}

TEST(NeighbourList, SetupFixesRadiiMarginGridAndStops) {
    pelix::Engine engine;
    engine.sd.sd_simutype = "INDEN";
    prepare(engine, {20.0, 9.0, 4.0}, {1, 0, 0}, {100, 400}, {{1.0, 1.0, 1.0, 0}});
    const auto& settings = engine.neighbours;
    EXPECT_EQ(engine.sd.myltpnebs, 1);
    EXPECT_DOUBLE_EQ(settings.radius(0, 0), 1.0 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radius(1, 0), 2.5 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radius(0, 1), 2.5 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radus2(1, 1), 4.3 * 4.3);
    EXPECT_DOUBLE_EQ(engine.sd.sd_ohmega, 4.3);
    const auto& grid = engine.cells;
    EXPECT_EQ(grid.neb_downlim, -100.0);  // the indentation region reaches below the box
    EXPECT_EQ((std::array<int64_t, 4>{grid.mx, grid.my, grid.mz, grid.mxyz}),
              (std::array<int64_t, 4>{4, 25, 1, 100}));  // 20 / 4.3, 109 / 4.3, one cell
    EXPECT_EQ(engine.ff.xoffset(-1), -20.0);

    const auto message = [&](int32_t mylt, int32_t pbc) {
        engine.atoms.mylt = mylt;
        engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = pbc;
        double range = 0.0;
        return stop_of([&] { pelix::setup_nebour_parameters(engine, range); }).first();
    };
    EXPECT_EQ(message(0, 1), " nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?");
    EXPECT_EQ(message(1, 2), " nrerror: SETUP_NEBOUR_PARAMETERS: WRONG VALUE FOR PBC");
    engine.config.pbcy = engine.config.pbcz = 0;  // one valid flag is enough
    double range = 0.0;
    EXPECT_EQ(stop_of([&] { pelix::setup_nebour_parameters(engine, range); }).status, 0);
}

}  // namespace
