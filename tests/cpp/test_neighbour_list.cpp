// The neighbour list: its set-up, stops and every entry of its build against a walk over the
// cell grid; the range filter of the build, whose vector forms must keep the same entries as a
// plain loop on every processor; and the count of lost atoms.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "atoms/force_field_state.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/occupied_cells.hpp"
#include "interaction/range_filter.hpp"
#include "potentials/catalogue.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::stop_of;
using Entries = std::vector<std::pair<int32_t, int32_t>>;  // (neighbour or atom, image)
using Vec = std::array<double, 3>;
using Cells = std::array<int32_t, 3>;

// Pair cut-off (Za + Zb) / 200 A, so that the atomic numbers choose the radii.
double summed_cutoff(Engine&, int32_t za, int32_t zb) {
    return (za + zb) * (za + zb) / 4.0e4;
}
void no_setup(Engine&, int32_t) {}
void no_evaluation(Engine&) {}
constexpr FamilyOps kSummedOps{no_setup, summed_cutoff, no_evaluation};
constexpr KeywordRow kCatalogue[] = {{"SUMMED", "summed_interaction", &kSummedOps}};

// Runs the neighbour set-up for a box equal to the region, one species per atomic number,
// and stages the atoms; the list is then one build away.
void prepare(Engine& engine, Vec box, Cells pbc, const std::vector<int32_t>& anum,
             const std::vector<Vec>& atoms, const std::vector<int32_t>& specie) {
    engine.catalogue = kCatalogue;
    engine.config.pbcx = pbc[0], engine.config.pbcy = pbc[1], engine.config.pbcz = pbc[2];
    engine.atoms.lx = box[0], engine.atoms.ly = box[1], engine.atoms.lz = box[2];
    engine.atoms.mylt = int32_t(atoms.size()), engine.atoms.numel = int32_t(anum.size());
    engine.atoms.anum = anum, engine.registry.pot_numprocs = 1;
    engine.registry.potype.assign(engine.atoms.numel, "SUMMED");
    define_myprocess_boundaries(engine);
    double range = 0.0;
    setup_nebour_parameters(engine, range);
    auto& ff = engine.ff;
    ff.rx.clear(), ff.ry.clear(), ff.rz.clear();
    for (const auto& a : atoms)
        ff.rx.push_back(a[0]), ff.ry.push_back(a[1]), ff.rz.push_back(a[2]);
    ff.specie = specie, engine.cells.celatm.assign(atoms.size(), -1);
    engine.neighbours.nlstmx = kNeighboursPerAtomLimit * engine.atoms.mylt;
}

// Pair radii are the cut-off + 0.3 A; an indentation region opens 100 A below the box; the
// grid is cut from the largest radius; bad settings, grids too fine to number, full lists and
// split potentials stop.
TEST(NeighbourList, SetupAndStops) {
    Engine engine;
    engine.sd.sd_simutype = "INDEN";
    prepare(engine, {20.0, 9.0, 4.0}, {1, 0, 0}, {100, 400}, {{1.0, 1.0, 1.0}}, {0});
    const auto& settings = engine.neighbours;
    const auto& grid = engine.cells;
    EXPECT_EQ((std::vector<double>{settings.radius(0, 0), settings.radius(1, 0),
                                   settings.radius(0, 1), std::sqrt(settings.radus2(1, 1)),
                                   engine.sd.sd_ohmega, grid.neb_downlim}),
              (std::vector<double>{1.0 + 0.3, 2.5 + 0.3, 2.5 + 0.3, 4.0 + 0.3, 4.0 + 0.3, -100.0}));
    EXPECT_EQ((std::array<int64_t, 5>{grid.mx, grid.my, grid.mz, grid.mxyz, engine.sd.myltpnebs}),
              (std::array<int64_t, 5>{4, 25, 1, 100, 1}));  // 20 / 4.3, 109 / 4.3, one cell
    EXPECT_DOUBLE_EQ(grid.wy, 109.0 / 25);
    const auto stop = [&](int32_t mylt, int32_t pbc, int32_t pbcyz) {
        engine.atoms.mylt = mylt;
        engine.config.pbcx = pbc, engine.config.pbcy = engine.config.pbcz = pbcyz;
        double range = 0.0;
        return stop_of([&] { setup_nebour_parameters(engine, range); });
    };
    EXPECT_EQ(stop(0, 1, 1).first(), " nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?");
    EXPECT_EQ(stop(1, 2, 2).first(), " nrerror: SETUP_NEBOUR_PARAMETERS: WRONG VALUE FOR PBC");
    EXPECT_EQ(stop(1, 2, 0).status, 0);  // one valid flag is enough
    engine.sd.sd_simutype = "COLLI";
    const auto fine = stop_of([&] { prepare(engine, {1e7, 1e7, 1e7}, {}, {1}, {{1, 1, 1}}, {0}); });
    EXPECT_EQ(fine.status, kExitFatal);
    EXPECT_EQ(fine.first().find(" SIZE_CELL_GRID: 32258064 x 32258064 x 32258064 cells"), 0u);

    Engine pair;
    prepare(pair, {10.0, 10.0, 10.0}, {1, 1, 1}, {170}, {{1, 1, 1}, {1.5, 1, 1}}, {0, 0});
    build_nebour_list(pair);
    const auto stop_lines = [&](int32_t nlstmx, int32_t mxyz) {
        pair.neighbours.nlstmx = nlstmx, pair.cells.mxyz = mxyz;
        const auto s = stop_of([&] { nebour_list(pair); });
        EXPECT_EQ(s.status, s.lines.empty() ? 0 : kExitFatal);
        return s.lines;
    };
    const std::string terminated = "program terminated by nerror";
    const int32_t mxyz = pair.cells.mxyz;
    EXPECT_EQ(stop_lines(2, mxyz), std::vector<std::string>{});  // exactly enough
    EXPECT_EQ(stop_lines(1, mxyz),
              (std::vector<std::string>{" nrerror: NEBOUR_LIST: LSTPNT > NLSTMX", terminated}));
    EXPECT_EQ(stop_lines(2, 1),  // a grid whose cells outnumber its table
              (std::vector<std::string>{" nrerror: NEBOUR_LIST: MNEB > MXYZ", terminated}));
    pair.registry.pot_numprocs = 2;
    EXPECT_EQ(stop_of([&] { build_nebour_list(pair); }).status, kExitFatal);
}

// Every atom's list as the build must give it, walked directly on the folded positions over
// the grid: the 27 cells around the atom's cell (x outermost, z innermost; atoms outside an
// open axis in its border cell; on periodic axes wrapping with a shift of one box length),
// each cell's atoms in decreasing index, every atom but i strictly within its pair radius,
// the image code being the offset-table entry of the shift.
std::vector<Entries> walked_lists(const Engine& engine, Vec box, Cells cells, Cells pbc) {
    const auto& ff = engine.ff;
    const int32_t n = engine.atoms.mylt;
    std::vector<Cells> cell_of(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < 3 * n; ++i) {
        const double c = Vec{ff.rx[i / 3], ff.ry[i / 3], ff.rz[i / 3]}[i % 3];
        const int32_t a = i % 3, cell = static_cast<int32_t>(c / (box[a] / cells[a]));
        cell_of[i / 3][a] = std::clamp(cell, 0, cells[a] - 1);
    }
    std::vector<Entries> lists(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t d = 0; d < 27; ++d) {
            Cells cell{};
            Vec o{};
            for (int a = 0; a < 3; ++a) {
                cell[a] = cell_of[i][a] + (a == 0 ? d / 9 : a == 1 ? d / 3 % 3 : d % 3) - 1;
                if (cell[a] < 0 || cell[a] >= cells[a]) {
                    o[a] = cell[a] < 0 ? box[a] : -box[a];
                    cell[a] = pbc[a] != 1 ? -1 : cell[a] < 0 ? cells[a] - 1 : 0;  // -1: none
                }
            }
            int32_t code = 0;  // nearest entry to the centre: unused entries are 0 as well
            for (int32_t k = 0;
                 k < 26 && Vec{ff.xoffset(code), ff.yoffset(code), ff.zoffset(code)} != o; ++k)
                code = k % 2 == 0 ? -(k + 2) / 2 : (k + 1) / 2;
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
    using L = CellLookup;
    // Box, atomic numbers (radii 2.2, 2.7, 3.2 or 0.31, 0.51, 0.71 A), cluster size (0 for the
    // lattice), lookup.
    const std::vector<std::tuple<Vec, std::vector<int32_t>, double, L>> cases = {
        // clang-format off
        {{2.1, 2.1, 2.1}, {190, 290}, 1.5, L::table}, {{2.1, 6.5, 23.0}, {190, 290}, 1.5, L::table},
        {{16.0, 7.9, 6.5}, {190, 290}, 1.5, L::table}, {{23, 23, 16}, {190, 290}, 1.5, L::table},
        {{22.4, 22.4, 22.4}, {190, 290}, 0.0, L::table}, {{40, 40, 40}, {1, 41}, 0.4, L::bitmap},
        {{250, 250, 250}, {1, 41}, 0.4, L::hash}, {{1e3, 1e3, 1e3}, {1, 41}, 0.4, L::hash}};
    // clang-format on
    for (int32_t flags = 0; flags < 8; ++flags) {
        const Cells pbc = {flags >> 2 & 1, flags >> 1 & 1, flags & 1};
        for (const auto& [box, anum, spread, lookup] : cases) {
            const bool lattice = spread == 0.0;
            Engine engine;  // built in below; no part of the cut-off
            // Radii rounded down to 1/64 A, so that pairs can be placed exactly at them.
            const auto radius = [&](int32_t a, int32_t b) {
                return std::floor(64.0 *
                                  (std::sqrt(summed_cutoff(engine, anum[a], anum[b])) + 0.3)) /
                       64.0;
            };
            const double range = std::sqrt(summed_cutoff(engine, anum[1], anum[1])) + 0.3;
            Cells cells{};
            for (int a = 0; a < 3; ++a)
                cells[a] = std::max(1, static_cast<int32_t>(box[a] / range));
            std::vector<Vec> atoms;
            std::vector<int32_t> specie;
            for (int k = 0; k < (lattice ? 8 * 16 * 16 : 200); ++k) {
                specie.push_back(unit(rng) < 0.7 ? 0 : 1);
                const Vec last = atoms.empty() ? Vec{} : atoms.back();
                Vec& r = atoms.emplace_back();
                for (std::size_t a = 0; a < 3; ++a) {
                    const double l = box[a], u = unit(rng);
                    const int site[3] = {k / 128, k / 8 % 16, k % 8 * 2};
                    const double faces[] = {0.0, l, -l, 0.1 * u, l - 0.1 * u};
                    // k % 10 == 9: exactly at the pair radius along x
                    const double at =
                        k % 10 == 9 && a == 0 ? radius(specie[k - 1], specie[k]) : 0.0;
                    r[a] = lattice       ? (site[a] + 0.35 + 0.3 * u) * 1.4
                           : k % 10 == 9 ? last[a] + at
                           : k % 4 != 0  ? last[a] + spread * (u - 0.5)
                           : k % 20 == 0 ? faces[rng() % 5]
                           : k % 20 == 4 ? static_cast<double>(rng() % cells[a]) * (l / cells[a])
                           : pbc[a] == 1 ? (3.0 * u - 1.0) * l
                                         : (1.4 * u - 0.2) * l;
                    if (k % 10 == 8)
                        r[a] = std::round(64.0 * r[a]) / 64.0;
                }
            }
            prepare(engine, box, pbc, anum, atoms, specie);
            for (int32_t a = 0; a < 4; ++a)
                engine.neighbours.radus2(a / 2, a % 2) = std::pow(radius(a / 2, a % 2), 2);
            ASSERT_EQ((Cells{engine.cells.mx, engine.cells.my, engine.cells.mz}), cells);
            ASSERT_EQ(cell_lookup_for(engine.cells.mxyz, engine.atoms.mylt), lookup);
            build_nebour_list(engine);
            build_nebour_list(engine);  // a second build starts afresh
            const auto walked = walked_lists(engine, box, cells, pbc);
            for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
                Entries listed;
                for (int32_t k = engine.ff.nebpnt[i]; k < engine.ff.nebpnt[i + 1]; ++k)
                    listed.emplace_back(engine.ff.nebour[k], engine.ff.pbctyp[k]);
                ASSERT_EQ(listed, walked[i]) << "flags " << flags << " box " << box[0] << " " << i;
                const Vec f{engine.ff.rx[i], engine.ff.ry[i], engine.ff.rz[i]};
                for (std::size_t a = 0; a < 3; ++a) {  // folded by whole boxes into periodic ones
                    const double shift = (f[a] - atoms[i][a]) / box[a];
                    ASSERT_TRUE(pbc[a] == 1 ? f[a] >= 0.0 && f[a] < box[a] : f[a] == atoms[i][a]);
                    ASSERT_NEAR(shift, std::round(shift), 1e-9) << a << " " << atoms[i][a];
                }
            }
            // Not a comparison of near-empty lists.
            EXPECT_GT(engine.ff.nebpnt[engine.atoms.mylt] - engine.ff.nebpnt[0], engine.atoms.mylt);
            EXPECT_TRUE(!lattice || engine.cells.mxyz > 128);
        }
    }
}

// Lost atoms end the process with status ten; a full count goes on.
TEST(Cells, LostAtomsEndTheProcessWithStatusTen) {
    EXPECT_EQ(stop_of([] { checking_total_number_of_atoms("MD", 7, 7); }).status, 0);
    testing::internal::CaptureStderr();
    const auto stop = stop_of([] { checking_total_number_of_atoms("MAIN", 6, 7); });
    const std::string line = stop.first();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + "\n");
    EXPECT_EQ(std::make_pair(stop.status, stop.lines.size()),
              std::make_pair(int(kExitLostAtoms), std::size_t{1}));
    EXPECT_EQ(line.find(" MAIN: IT SEEMS THAT SOME ATOMS HAS BEEN LOST: "), 0u);
    EXPECT_TRUE(line.find(" 6 ") != std::string::npos && line.ends_with(" 7")) << line;
}

struct Candidates {
    std::vector<int32_t> atom, specie;
    std::vector<double> x, y, z;
    void add(int32_t a, int32_t s, double px, double py, double pz) {
        atom.push_back(a), specie.push_back(s), x.push_back(px), y.push_back(py), z.push_back(pz);
    }
    PackedView view() const { return {atom.data(), x.data(), y.data(), z.data(), specie.data()}; }
};

// The (atom, image) entries every form keeps over the chosen runs; all forms must agree.
Entries kept_by_every_form(const Candidates& c, const std::vector<CandidateRun>& runs,
                           const std::vector<uint8_t>& chosen, const FilterCentre& centre) {
    std::vector<Entries> forms;
    for (const FilterPath path : available_filter_paths()) {
        std::vector<int32_t> nebour(c.atom.size() + 1, -7), pbctyp(c.atom.size() + 1, -7);
        const int64_t written = append_within_range_on(path, c.view(), runs.data(), chosen.data(),
                                                       static_cast<int>(chosen.size()), centre,
                                                       nebour.data(), pbctyp.data(), 0);
        forms.emplace_back();
        for (int64_t e = 0; e < written; ++e)
            forms.back().emplace_back(nebour[e], pbctyp[e]);
        EXPECT_EQ(forms.back(), forms.front()) << "form " << static_cast<int>(path);
    }
    return forms.front();
}

// Against a plain loop: (atom, image) of every candidate strictly within the centre's radius
// to its species, the centre itself excepted, in run order. Three species, whose radii both
// vector forms hold in a register; five, which the four-wide form gathers from memory; nine,
// which both gather; runs of every length up to 18, so that groups of four and of eight end at
// every remainder; candidates exactly at the radius and at a NaN; the centre atom at one packed
// entry, whose run is seen again through an image 0.1 away, where it is within its own range.
TEST(RangeFilter, KeepsExactlyTheEntriesOfAPlainLoopInOrder) {
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> coordinate(-4.0, 4.0);
    const std::vector<double> mixed{9.0, 4.0, 12.25, 1.0, 16.0, 2.25, 6.25, 10.24, 0.25};
    const std::vector<double> common(9, 6.25);
    for (int trial = 0; trial < 300; ++trial) {
        const int32_t species = trial % 6 < 2 ? 3 : (trial % 6 < 4 ? 5 : 9);
        Candidates c;
        std::vector<CandidateRun> runs;
        for (int32_t length = trial % 19, r = 0; r < 4; ++r, length = (length + 5) % 19) {
            const auto first = static_cast<int32_t>(c.atom.size());
            for (int32_t k = 0; k < length; ++k)
                c.add(static_cast<int32_t>(rng() % 40), static_cast<int32_t>(rng() % species),
                      coordinate(rng), coordinate(rng), coordinate(rng));
            runs.push_back({first, first + length, r - 1, 0.5 * r, -0.25 * r, 0.0});
        }
        for (const double x : {0.5 + 2.5, std::nan("")})
            c.add(39, 0, x, 0.0, 0.0);
        runs.push_back({runs.back().end, runs.back().end + 2, 4, 0.0, 0.0, 0.0});
        const auto own = static_cast<int32_t>(rng() % c.atom.size());
        c.atom[own] = 40;
        for (const CandidateRun& run : std::vector<CandidateRun>(runs))
            if (run.first <= own && own < run.end)
                runs.push_back({run.first, run.end, 7, c.x[own] - 0.6, c.y[own], c.z[own]});

        const bool uniform = trial % 2 == 0;
        const std::vector<double>& radii = uniform ? common : mixed;
        const double shared = uniform ? radii[0] : std::numeric_limits<double>::quiet_NaN();
        const FilterCentre centre{40, own, 0.5, 0.0, 0.0, radii.data(), shared, species};
        // Every run, or (odd trials) the runs after the first, last one first.
        std::vector<uint8_t> chosen;
        for (std::size_t r = trial % 2; r < runs.size(); ++r)
            chosen.push_back(static_cast<uint8_t>(r));
        if (trial % 2 == 1)
            std::rotate(chosen.begin(), chosen.end() - 1, chosen.end());
        Entries expected;
        for (const uint8_t index : chosen) {
            const CandidateRun& run = runs[index];
            for (int32_t m = run.first; m < run.end; ++m) {
                const double dx = c.x[m] - run.ox - centre.x, dy = c.y[m] - run.oy - centre.y,
                             dz = c.z[m] - run.oz - centre.z;
                if (dx * dx + dy * dy + dz * dz < radii[c.specie[m]] && c.atom[m] != 40)
                    expected.emplace_back(c.atom[m], run.image);
            }
        }
        ASSERT_EQ(kept_by_every_form(c, runs, chosen, centre), expected) << "trial " << trial;
    }
}

}  // namespace
}  // namespace pelix
