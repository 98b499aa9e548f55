#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/occupied_cells.hpp"
#include "scratch_dir.hpp"

namespace {

using Position = std::array<double, 3>;
using Cell = std::array<int64_t, 3>;

// One species whose squared cut-off is (Z/100)^2, so that the range is Z/100 + 0.3.
double scaled_cutoff(pelix::Engine&, int32_t za, int32_t) {
    return za * za / 1.0e4;
}
void no_setup(pelix::Engine&, int32_t) {}
void no_evaluation(pelix::Engine&) {}
constexpr pelix::FamilyOps kScaledOps{no_setup, scaled_cutoff, no_evaluation};
constexpr pelix::KeywordRow kCatalogue[] = {{"SCALED", "scaled_interaction", &kScaledOps}};

// A box holding `positions`, whose cells are at least Z/100 + 0.3 A wide (2.8 A unless told).
void set_box(pelix::Engine& engine, Position box, const std::vector<Position>& positions,
             int32_t anum = 250) {
    engine.catalogue = kCatalogue;
    engine.atoms.lx = box[0], engine.atoms.ly = box[1], engine.atoms.lz = box[2];
    engine.atoms.mylt = static_cast<int32_t>(positions.size());
    engine.atoms.numel = 1;
    engine.atoms.anum = {anum};
    engine.registry.potype.assign(1, "SCALED");
    engine.registry.pot_numprocs = 1;
    pelix::define_myprocess_boundaries(engine);
    double range = 0.0;
    pelix::setup_nebour_parameters(engine, range);
    auto& ff = engine.ff;
    ff.rx.clear(), ff.ry.clear(), ff.rz.clear();
    for (const auto& p : positions)
        ff.rx.push_back(p[0]), ff.ry.push_back(p[1]), ff.rz.push_back(p[2]);
    ff.specie.assign(positions.size(), 0);
    engine.cells.celatm.assign(positions.size(), -1);
    engine.neighbours.nlstmx = 100;
}

// Grid coordinates of the cell whose chain holds atom i.
Cell cell_of(const pelix::Engine& engine, int32_t i) {
    const auto& grid = engine.cells;
    for (int32_t head : grid.celhead) {
        for (int32_t j = head; j >= 0; j = grid.celatm[j]) {
            if (j != i)
                continue;
            const int64_t c = pelix::cell_of_atom(engine, head);
            return {c / (grid.my * grid.mz), (c / grid.mz) % grid.my, c % grid.mz};
        }
    }
    return {-1, -1, -1};
}

TEST(Cells, RegionAndGridSizing) {
    pelix::Engine engine;
    set_box(engine, {10.0, 2.0, 7.5}, {{1.0, 1.0, 1.0}});
    const auto& grid = engine.cells;
    EXPECT_EQ(grid.neb_uplim, 2.0);
    EXPECT_EQ(grid.neb_northlim, 7.5);
    // 10 / 2.8 truncated; the y region is shorter than the range: one cell, the whole region.
    EXPECT_EQ((std::array<int64_t, 4>{grid.mx, grid.my, grid.mz, grid.mxyz}),
              (std::array<int64_t, 4>{3, 1, 2, 6}));
    EXPECT_DOUBLE_EQ(grid.wx, 10.0 / 3.0);
    EXPECT_DOUBLE_EQ(grid.lxmwx, 10.0 - 10.0 / 3.0);
    EXPECT_EQ(grid.wy, 2.0);
    EXPECT_EQ(grid.wz, 3.75);

    engine.sd.sd_simutype = "INDEN";  // the region opens 100 A below the box along y
    set_box(engine, {10.0, 2.0, 7.5}, {{1.0, 1.0, 1.0}});
    EXPECT_EQ(engine.sd.downlim, -100.0);
    EXPECT_EQ(engine.cells.my, 36);
    EXPECT_DOUBLE_EQ(engine.cells.wy, 102.0 / 36.0);

    // Only occupied cells are stored, so a grid may have more cells than 32 bits can count,
    // but not more than a 64-bit cell number can.
    engine.sd.sd_simutype = "COLLI";
    set_box(engine, {2000.0, 2000.0, 2000.0}, {{1.0, 1.0, 1.0}}, 1);
    EXPECT_EQ(engine.cells.mxyz, int64_t{6451} * 6451 * 6451);  // 2000 A / 0.31 A
    const auto stop = pelix::test_support::stop_of([&] {
        set_box(engine, {1.0e7, 1.0e7, 1.0e7}, {{1.0, 1.0, 1.0}}, 1);
    });
    EXPECT_EQ(stop.first().find(" SIZE_CELL_GRID: 32258064 x 32258064 x 32258064 cells"), 0u);
}

TEST(Cells, FoldingOnPeriodicAxesAndBorderCellsOnOpenAxes) {
    pelix::Engine engine;
    engine.config.pbcx = 1;
    const double L = 8.0;
    // x: -0.25L, exactly L, -2.5L, exactly -L, 3.5L; y and z far outside the open axes.
    set_box(engine, {L, 12.0, 12.0},
            {{-0.25 * L, -50.0, 5.0},
             {L, 200.0, 5.0},
             {-2.5 * L, 6.0, -1e9},
             {-L, 6.0, 1e9},
             {3.5 * L, 11.99, 0.0}});
    pelix::build_nebour_list(engine);
    EXPECT_EQ(engine.ff.rx, std::vector<double>({0.75 * L, 0.0, 0.5 * L, 0.0, 0.5 * L}));
    EXPECT_EQ(engine.ff.ry, std::vector<double>({-50.0, 200.0, 6.0, 6.0, 11.99}));
    const std::vector<Cell> cells = {{1, 0, 1}, {0, 3, 1}, {1, 2, 0}, {0, 2, 3}, {1, 3, 0}};
    for (int32_t i = 0; i < 5; ++i)
        EXPECT_EQ(cell_of(engine, i), cells[static_cast<std::size_t>(i)]) << i;

    // Without folding the same atoms land in the border cells and keep their positions.
    engine.ff.pbcflag = 0;
    set_box(engine, {L, 12.0, 12.0}, {{-0.25 * L, 6.0, 6.0}, {3.5 * L, 6.0, 6.0}});
    pelix::build_nebour_list(engine);
    EXPECT_EQ(engine.ff.rx, std::vector<double>({-0.25 * L, 3.5 * L}));
    EXPECT_EQ(cell_of(engine, 0), Cell({0, 2, 2}));
    EXPECT_EQ(cell_of(engine, 1), Cell({1, 2, 2}));
}

TEST(Cells, ChainsListHigherIndexFirstAndAreClearedForEachBuild) {
    pelix::Engine engine;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = 1;
    // Atoms 0, 2 and 3 share a cell on every grid below, atom 1 is alone further on; grids
    // found through a table (3^3 cells), a bitmap (64^3) and a hash (322^3).
    const std::vector<Position> atoms = {
        {1.0, 1.0, 1.0}, {7.0, 7.0, 7.0}, {1.2, 1.2, 1.2}, {1.1, 1.0, 1.2}};
    const std::vector<std::tuple<double, int32_t, pelix::CellLookup>> grids = {
        {9.0, 250, pelix::CellLookup::table},
        {20.0, 1, pelix::CellLookup::bitmap},
        {100.0, 1, pelix::CellLookup::hash}};
    for (const auto& [length, anum, lookup] : grids) {
        set_box(engine, {length, length, length}, atoms, anum);
        ASSERT_EQ(pelix::cell_lookup_for(engine.cells.mxyz, 4), lookup) << length;
        for (int build = 0; build < 2; ++build) {
            pelix::build_nebour_list(engine);
            EXPECT_EQ(engine.cells.celhead, std::vector<int32_t>({3, 1})) << length;
            EXPECT_EQ(engine.cells.celatm, std::vector<int32_t>({-1, -1, 0, 2})) << length;
        }
    }
    engine.registry.pot_numprocs = 2;
    EXPECT_EQ(pelix::test_support::stop_of([&] { pelix::build_nebour_list(engine); }).status,
              pelix::kExitFatal);
}

TEST(Cells, ImageOffsetTables) {
    pelix::Engine engine;
    auto& grid = engine.cells;
    grid.neb_lx = 2.0, grid.neb_ly = 3.0, grid.neb_lz = 5.0;
    const auto offset = [&](int n) {
        return Position{engine.ff.xoffset(n), engine.ff.yoffset(n), engine.ff.zoffset(n)};
    };
    // All periodic: entry 9 sx + 3 sz + sy holds the shift (sx, sy, sz) in box lengths.
    grid.neb_pbcx = grid.neb_pbcy = grid.neb_pbcz = 1;
    pelix::setup_pbc_offsets(engine);
    for (int sx = -1; sx <= 1; ++sx)
        for (int sy = -1; sy <= 1; ++sy)
            for (int sz = -1; sz <= 1; ++sz)
                EXPECT_EQ(offset(9 * sx + 3 * sz + sy), Position({2.0 * sx, 3.0 * sy, 5.0 * sz}));
    // y and z periodic: entries -4..4 = 3 sy + sz, the rest cleared; z alone, also beside a
    // flag that is neither 0 nor 1 (an open axis, not counted).
    grid.neb_pbcx = 0;
    pelix::setup_pbc_offsets(engine);
    for (int n = -13; n <= 13; ++n) {
        const int sy = (n + 13) / 3 - 4, sz = (n + 13) % 3 - 1;
        EXPECT_EQ(offset(n), std::abs(n) > 4 ? Position{} : Position({0.0, 3.0 * sy, 5.0 * sz}))
            << n;
    }
    for (int32_t x_flag : {0, 2}) {
        grid.neb_pbcx = x_flag;
        grid.neb_pbcy = 0;
        pelix::setup_pbc_offsets(engine);
        EXPECT_EQ(offset(-1), Position({0.0, 0.0, -5.0}));
        EXPECT_EQ(offset(1), Position({0.0, 0.0, 5.0}));
        EXPECT_EQ(offset(2), Position({0.0, 0.0, 0.0}));
    }
}

TEST(Cells, LostAtomsEndTheProcessWithStatusTen) {
    EXPECT_EQ(pelix::test_support::stop_of([] {
                  pelix::checking_total_number_of_atoms("MD", 7, 7);
              }).status,
              0);
    testing::internal::CaptureStderr();
    const auto stop =
        pelix::test_support::stop_of([] { pelix::checking_total_number_of_atoms("MAIN", 6, 7); });
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(stop.status, pelix::kExitLostAtoms);
    ASSERT_EQ(stop.lines.size(), 1u);
    const std::string& line = stop.lines[0];
    EXPECT_EQ(line.find(" MAIN: IT SEEMS THAT SOME ATOMS HAS BEEN LOST: "), 0u);
    EXPECT_NE(line.find(" 6 "), std::string::npos);
    EXPECT_EQ(line.substr(line.size() - 2), " 7");
    EXPECT_EQ(err, line + "\n");
}

}  // namespace
