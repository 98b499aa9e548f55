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
using Vec = std::array<double, 3>;

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
void prepare(pelix::Engine& engine, Vec box, std::array<int32_t, 3> pbc,
             const std::vector<int32_t>& anum, const std::vector<Vec>& atoms,
             const std::vector<int32_t>& specie) {
    engine.catalogue = kCatalogue;
    engine.config.pbcx = pbc[0], engine.config.pbcy = pbc[1], engine.config.pbcz = pbc[2];
    engine.atoms.lx = box[0], engine.atoms.ly = box[1], engine.atoms.lz = box[2];
    engine.atoms.mylt = static_cast<int32_t>(atoms.size());
    engine.atoms.numel = static_cast<int32_t>(anum.size());
    engine.atoms.anum = anum;
    engine.registry.potype.assign(engine.atoms.numel, "SUMMED");
    engine.registry.pot_numprocs = 1;
    pelix::define_myprocess_boundaries(engine);
    double range = 0.0;
    pelix::setup_nebour_parameters(engine, range);
    auto& ff = engine.ff;
    ff.rx.clear(), ff.ry.clear(), ff.rz.clear();
    for (const auto& a : atoms)
        ff.rx.push_back(a[0]), ff.ry.push_back(a[1]), ff.rz.push_back(a[2]);
    ff.specie = specie;
    engine.cells.celatm.assign(atoms.size(), -1);
    engine.neighbours.nlstmx = pelix::kNeighboursPerAtomLimit * engine.atoms.mylt;
}

Entries listed(const pelix::Engine& engine, int32_t i) {
    Entries out;
    for (int32_t k = engine.ff.nebpnt[i]; k < engine.ff.nebpnt[i + 1]; ++k)
        out.emplace_back(engine.ff.nebour[k], engine.ff.pbctyp[k]);
    return out;
}

// Every atom's list as the build must give it, walked directly on the folded positions over a
// grid of `cells` equal slices of the box: the 27 cells around the atom's cell (x outermost, z
// innermost; atoms outside an open axis in its border cell; on periodic axes wrapping with a
// shift of one box length), each cell's atoms in decreasing index, every atom but i strictly
// within its pair radius, the image code being the offset-table entry of the shift.
std::vector<Entries> walked_lists(const pelix::Engine& engine, Vec box,
                                  std::array<int32_t, 3> cells, std::array<int32_t, 3> pbc) {
    const auto& ff = engine.ff;
    const int32_t n = engine.atoms.mylt;
    std::vector<std::array<int32_t, 3>> cell_of(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        const double c[3] = {ff.rx[i], ff.ry[i], ff.rz[i]};
        for (int a = 0; a < 3; ++a)
            cell_of[i][a] = std::clamp(static_cast<int32_t>(std::trunc(c[a] / (box[a] / cells[a]))),
                                       0, cells[a] - 1);
    }
    std::vector<Entries> lists(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t d = 0; d < 27; ++d) {
            std::array<int32_t, 3> cell{};
            Vec o{};
            bool inside = true;
            for (int a = 0; a < 3; ++a) {
                cell[a] = cell_of[i][a] + (a == 0 ? d / 9 : a == 1 ? d / 3 % 3 : d % 3) - 1;
                if (cell[a] >= 0 && cell[a] < cells[a])
                    continue;
                inside = inside && pbc[a] == 1;
                o[a] = cell[a] < 0 ? box[a] : -box[a];
                cell[a] = cell[a] < 0 ? cells[a] - 1 : 0;
            }
            if (!inside)
                continue;
            int32_t code = 0;  // nearest entry to the centre: unused entries are 0 as well
            for (int32_t k = 0; k <= 26; ++k) {
                code = k % 2 == 0 ? k / 2 : -(k + 1) / 2;
                if (Vec{ff.xoffset(code), ff.yoffset(code), ff.zoffset(code)} == o)
                    break;
            }
            for (int32_t j = n - 1; j >= 0; --j) {
                const double dx = ff.rx[j] - o[0] - ff.rx[i], dy = ff.ry[j] - o[1] - ff.ry[i],
                             dz = ff.rz[j] - o[2] - ff.rz[i];
                if (j != i && cell_of[j] == cell &&
                    dx * dx + dy * dy + dz * dz <
                        engine.neighbours.radus2(ff.specie[i], ff.specie[j]))
                    lists[i].emplace_back(j, code);
            }
        }
    }
    return lists;
}

// Every periodic combination; boxes of one cell (shorter than the largest radius, so that an
// atom sees another through three images and itself through two), two and many along an axis;
// fine grids found through the bitmap, the hash and the hash again with more cells than 32
// bits can count; atoms in clusters that straddle faces, edges and corners, on cell borders and
// box faces, periodic ones also boxes outside; pairs exactly at their radius; numbered at
// random and (more than 128 cells, more than the build keeps neighbourhoods of) along a
// lattice, so that neighbours share cells. Grids are cut from the largest radius + 0.3 A.
TEST(NeighbourList, FoldingGridAndEntriesFollowTheCellWalk) {
    std::mt19937_64 rng(20240917);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    struct Case {
        Vec box;
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
            pelix::Engine scratch;
            double range = 0.0;
            for (int32_t za : c.anum)
                for (int32_t zb : c.anum)
                    range = std::max(range, std::sqrt(summed_cutoff(scratch, za, zb)) + 0.3);
            std::array<int32_t, 3> cells{};
            for (int a = 0; a < 3; ++a)
                cells[a] = std::max(1, static_cast<int32_t>(c.box[a] / range));
            // Radii rounded down to 1/64 A, so that pairs can be placed exactly at them.
            const auto radius = [&](int32_t a, int32_t b) {
                return std::floor(64.0 *
                                  (std::sqrt(summed_cutoff(scratch, c.anum[a], c.anum[b])) + 0.3)) /
                       64.0;
            };
            std::vector<Vec> atoms;
            std::vector<int32_t> specie;
            for (int k = 0; k < (c.lattice ? 8 * 16 * 16 : 200); ++k) {
                specie.push_back(unit(rng) < 0.7 ? 0 : 1);
                const Vec last = atoms.empty() ? Vec{} : atoms.back();
                Vec r{};
                for (std::size_t a = 0; a < 3; ++a) {
                    const double l = c.box[a], u = unit(rng);
                    const int site[3] = {k / 128, k / 8 % 16, k % 8 * 2};
                    const double faces[] = {0.0, l, -l, 0.1 * u, l - 0.1 * u};
                    if (c.lattice)
                        r[a] = (site[a] + 0.35 + 0.3 * u) * 1.4;
                    else if (k % 10 == 9)  // exactly at the pair radius along x
                        r[a] = last[a] + (a == 0 ? radius(specie[k - 1], specie[k]) : 0.0);
                    else if (k % 4 != 0)
                        r[a] = last[a] + c.spread * (u - 0.5);
                    else if (k % 20 == 0)
                        r[a] = faces[rng() % 5];
                    else if (k % 20 == 4)
                        r[a] = static_cast<double>(rng() % cells[a]) * (l / cells[a]);
                    else
                        r[a] = pbc[a] == 1 ? (3.0 * u - 1.0) * l : (1.4 * u - 0.2) * l;
                    if (k % 10 == 8)
                        r[a] = std::round(64.0 * r[a]) / 64.0;
                }
                atoms.push_back(r);
            }
            pelix::Engine engine;
            prepare(engine, c.box, pbc, c.anum, atoms, specie);
            for (int32_t a = 0; a < 2; ++a)
                for (int32_t b = 0; b < 2; ++b)
                    engine.neighbours.radus2(a, b) = radius(a, b) * radius(a, b);
            ASSERT_EQ((std::array<int32_t, 3>{engine.cells.mx, engine.cells.my, engine.cells.mz}),
                      cells);
            ASSERT_EQ(pelix::cell_lookup_for(engine.cells.mxyz, engine.atoms.mylt), c.lookup);
            pelix::build_nebour_list(engine);
            pelix::build_nebour_list(engine);  // a second build starts afresh
            const std::vector<double>* folded[3] = {&engine.ff.rx, &engine.ff.ry, &engine.ff.rz};
            for (std::size_t a = 0; a < 3; ++a) {
                for (std::size_t k = 0; k < atoms.size(); ++k) {
                    const double f = (*folded[a])[k], shift = (f - atoms[k][a]) / c.box[a];
                    ASSERT_TRUE(pbc[a] == 1 ? f >= 0.0 && f < c.box[a] : f == atoms[k][a]);
                    ASSERT_NEAR(shift, std::round(shift), 1e-9) << a << " " << atoms[k][a];
                }
            }
            const auto walked = walked_lists(engine, c.box, cells, pbc);
            std::size_t total = 0;
            for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
                ASSERT_EQ(listed(engine, i), walked[static_cast<std::size_t>(i)])
                    << "flags " << flags << " box " << c.box[0] << " atom " << i;
                total += walked[static_cast<std::size_t>(i)].size();
            }
            EXPECT_EQ(static_cast<std::size_t>(engine.ff.nebpnt[engine.atoms.mylt]), total);
            EXPECT_GT(total, atoms.size());  // not a comparison of near-empty lists
            EXPECT_TRUE(!c.lattice || engine.cells.mxyz > 128);
        }
    }
}

TEST(NeighbourList, OverflowsStop) {
    pelix::Engine engine;
    prepare(engine, {10.0, 10.0, 10.0}, {1, 1, 1}, {170}, {{1, 1, 1}, {1.5, 1, 1}}, {0, 0});
    pelix::build_nebour_list(engine);
    engine.neighbours.nlstmx = 2;  // exactly enough
    EXPECT_EQ(stop_of([&] { pelix::nebour_list(engine); }).status, 0);
    const std::string terminated = "program terminated by nerror";
    engine.neighbours.nlstmx = 1;
    auto stop = stop_of([&] { pelix::nebour_list(engine); });
    EXPECT_EQ(stop.status, pelix::kExitFatal);
    EXPECT_EQ(stop.lines,
              (std::vector<std::string>{" nrerror: NEBOUR_LIST: LSTPNT > NLSTMX", terminated}));
    engine.neighbours.nlstmx = 2;
    engine.cells.mxyz = 1;  // a grid whose cells outnumber its table
    EXPECT_EQ(stop_of([&] { pelix::nebour_list(engine); }).lines,
              (std::vector<std::string>{" nrerror: NEBOUR_LIST: MNEB > MXYZ", terminated}));
    engine.registry.pot_numprocs = 2;
    EXPECT_EQ(stop_of([&] { pelix::build_nebour_list(engine); }).status, pelix::kExitFatal);
}

}  // namespace
