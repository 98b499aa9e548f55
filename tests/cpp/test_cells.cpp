#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"

namespace {

// An engine whose box is lx x ly x lz with the region equal to the box, cut into cells for
// the range `rc`, holding the given positions (all species 0).
void set_box(pelix::Engine& engine, double lx, double ly, double lz, double rc,
             const std::vector<std::array<double, 3>>& positions) {
    engine.atoms.lx = lx;
    engine.atoms.ly = ly;
    engine.atoms.lz = lz;
    engine.atoms.mylt = static_cast<int32_t>(positions.size());
    pelix::define_myprocess_boundaries(engine);
    auto& grid = engine.cells;
    grid.neb_lx = lx;
    grid.neb_ly = ly;
    grid.neb_lz = lz;
    grid.neb_westlim = engine.sd.westlim;
    grid.neb_eastlim = engine.sd.eastlim;
    grid.neb_downlim = engine.sd.downlim;
    grid.neb_uplim = engine.sd.uplim;
    grid.neb_southlim = engine.sd.southlim;
    grid.neb_northlim = engine.sd.northlim;
    pelix::size_cell_grid(grid, rc);
    grid.celatm.assign(positions.size(), -1);
    engine.ff.rx.clear();
    engine.ff.ry.clear();
    engine.ff.rz.clear();
    engine.ff.specie.assign(positions.size(), 0);
    for (const auto& p : positions) {
        engine.ff.rx.push_back(p[0]);
        engine.ff.ry.push_back(p[1]);
        engine.ff.rz.push_back(p[2]);
    }
}

// The cell (0-based number) whose chain holds atom i, -1 when none does.
int64_t cell_of(const pelix::CellGrid& grid, int32_t i) {
    for (int64_t c = 0; c < grid.mxyz; ++c) {
        for (int32_t j = grid.celhead[c]; j >= 0; j = grid.celatm[j]) {
            if (j == i)
                return c;
        }
    }
    return -1;
}

int64_t cell_number(const pelix::CellGrid& grid, int64_t ix, int64_t iy, int64_t iz) {
    return (ix * grid.my + iy) * grid.mz + iz;
}

TEST(Cells, RegionAndGridSizing) {
    pelix::Engine engine;
    set_box(engine, 10.0, 2.0, 7.5, 3.0, {});
    EXPECT_EQ(engine.sd.downlim, 0.0);
    EXPECT_EQ(engine.sd.uplim, 2.0);
    EXPECT_EQ(engine.sd.northlim, 7.5);
    const auto& grid = engine.cells;
    EXPECT_EQ(grid.mx, 3);  // 10 / 3 truncated
    EXPECT_DOUBLE_EQ(grid.wx, 10.0 / 3.0);
    EXPECT_DOUBLE_EQ(grid.lxmwx, 10.0 - 10.0 / 3.0);
    EXPECT_EQ(grid.my, 1);  // region shorter than the range: one cell, the whole region
    EXPECT_EQ(grid.wy, 2.0);
    EXPECT_EQ(grid.lymwy, 0.0);
    EXPECT_EQ(grid.mz, 2);
    EXPECT_EQ(grid.wz, 3.75);
    EXPECT_EQ(grid.mxyz, 6);
    EXPECT_EQ(grid.celhead.size(), 6u);

    // An indentation run opens the region 100 A below the box along y.
    engine.sd.sd_simutype = "INDEN";
    set_box(engine, 10.0, 2.0, 7.5, 3.0, {});
    EXPECT_EQ(engine.sd.downlim, -100.0);
    EXPECT_EQ(engine.sd.uplim, 2.0);
    EXPECT_EQ(engine.cells.my, 34);
    EXPECT_DOUBLE_EQ(engine.cells.wy, 102.0 / 34.0);
}

TEST(Cells, FoldingOnPeriodicAxesAndBorderCellsOnOpenAxes) {
    pelix::Engine engine;
    engine.config.pbcx = 1;
    const double L = 8.0;
    // x: -0.25L, exactly L, -2.5L, exactly -L, 3.5L; y and z far outside the open axes.
    set_box(engine, L, 12.0, 12.0, 3.0,
            {{-0.25 * L, -50.0, 5.0},
             {L, 200.0, 5.0},
             {-2.5 * L, 6.0, -1e9},
             {-L, 6.0, 1e9},
             {3.5 * L, 11.99, 0.0}});
    pelix::cell_list(engine);
    const auto& ff = engine.ff;
    EXPECT_EQ(ff.rx, std::vector<double>({0.75 * L, 0.0, 0.5 * L, 0.0, 0.5 * L}));
    // Open axes keep their coordinates.
    EXPECT_EQ(ff.ry, std::vector<double>({-50.0, 200.0, 6.0, 6.0, 11.99}));
    EXPECT_EQ(ff.rz, std::vector<double>({5.0, 5.0, -1e9, 1e9, 0.0}));

    const auto& grid = engine.cells;
    ASSERT_EQ(grid.mx, 2);
    ASSERT_EQ(grid.my, 4);
    ASSERT_EQ(grid.mz, 4);
    EXPECT_EQ(cell_of(grid, 0), cell_number(grid, 1, 0, 1));
    EXPECT_EQ(cell_of(grid, 1), cell_number(grid, 0, 3, 1));
    EXPECT_EQ(cell_of(grid, 2), cell_number(grid, 1, 2, 0));
    EXPECT_EQ(cell_of(grid, 3), cell_number(grid, 0, 2, 3));
    EXPECT_EQ(cell_of(grid, 4), cell_number(grid, 1, 3, 0));

    // Without folding the same atoms land in the border cells and keep their positions.
    set_box(engine, L, 12.0, 12.0, 3.0, {{-0.25 * L, 6.0, 6.0}, {3.5 * L, 6.0, 6.0}});
    pelix::nopbc_cell_list(engine);
    EXPECT_EQ(engine.ff.rx, std::vector<double>({-0.25 * L, 3.5 * L}));
    EXPECT_EQ(cell_of(engine.cells, 0), cell_number(engine.cells, 0, 2, 2));
    EXPECT_EQ(cell_of(engine.cells, 1), cell_number(engine.cells, 1, 2, 2));
}

TEST(Cells, ChainsListHigherIndexFirst) {
    pelix::Engine engine;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = 1;
    set_box(engine, 9.0, 9.0, 9.0, 3.0,
            {{1.0, 1.0, 1.0}, {7.0, 7.0, 7.0}, {2.0, 2.0, 2.0}, {1.5, 0.5, 2.5}});
    engine.registry.pot_numprocs = 1;
    engine.neighbours.radus2.assign(1, 0.0);
    engine.neighbours.nlstmx = 100;
    pelix::build_nebour_list(engine);
    const auto& grid = engine.cells;
    EXPECT_EQ(grid.celhead[0], 3);
    EXPECT_EQ(grid.celatm[3], 2);
    EXPECT_EQ(grid.celatm[2], 0);
    EXPECT_EQ(grid.celatm[0], -1);
    EXPECT_EQ(grid.celhead[grid.mxyz - 1], 1);
    EXPECT_EQ(grid.celatm[1], -1);
    int32_t empty = 0;
    for (int32_t head : grid.celhead)
        empty += head == -1 ? 1 : 0;
    EXPECT_EQ(empty, 25);

    // A second build starts from empty cells.
    pelix::build_nebour_list(engine);
    EXPECT_EQ(grid.celhead[0], 3);
    EXPECT_EQ(grid.celatm[0], -1);

    engine.registry.pot_numprocs = 2;
    EXPECT_THROW(pelix::build_nebour_list(engine), pelix::FatalError);
}

TEST(Cells, ImageOffsetTables) {
    pelix::Engine engine;
    auto& grid = engine.cells;
    grid.neb_lx = 2.0;
    grid.neb_ly = 3.0;
    grid.neb_lz = 5.0;
    const auto& ff = engine.ff;

    grid.neb_pbcx = grid.neb_pbcy = grid.neb_pbcz = 1;
    pelix::setup_pbc_offsets(engine);
    EXPECT_EQ(ff.xoffset(0), 0.0);
    EXPECT_EQ(ff.yoffset(0), 0.0);
    EXPECT_EQ(ff.zoffset(0), 0.0);
    EXPECT_EQ(ff.xoffset(13), 2.0);
    EXPECT_EQ(ff.yoffset(13), 3.0);
    EXPECT_EQ(ff.zoffset(13), 5.0);
    EXPECT_EQ(ff.xoffset(-13), -2.0);
    EXPECT_EQ(ff.zoffset(-13), -5.0);
    // Image code 9 sx + 3 sz + sy.
    EXPECT_EQ(ff.xoffset(9), 2.0);
    EXPECT_EQ(ff.zoffset(3), 5.0);
    EXPECT_EQ(ff.yoffset(1), 3.0);
    EXPECT_EQ(ff.xoffset(1) + ff.zoffset(1), 0.0);
    std::set<std::array<double, 3>> distinct;
    for (int n = -13; n <= 13; ++n) {
        distinct.insert({ff.xoffset(n), ff.yoffset(n), ff.zoffset(n)});
        EXPECT_EQ(ff.xoffset(-n), -ff.xoffset(n));
        EXPECT_EQ(ff.yoffset(-n), -ff.yoffset(n));
        EXPECT_EQ(ff.zoffset(-n), -ff.zoffset(n));
    }
    EXPECT_EQ(distinct.size(), 27u);

    // Only y and z periodic: entries -4..4, first periodic axis (y) weighted by 3.
    grid.neb_pbcx = 0;
    pelix::setup_pbc_offsets(engine);
    for (int n = -13; n <= 13; ++n)
        EXPECT_EQ(ff.xoffset(n), 0.0);
    EXPECT_EQ(ff.yoffset(3), 3.0);
    EXPECT_EQ(ff.zoffset(3), 0.0);
    EXPECT_EQ(ff.yoffset(4), 3.0);
    EXPECT_EQ(ff.zoffset(4), 5.0);
    EXPECT_EQ(ff.zoffset(-1), -5.0);
    EXPECT_EQ(ff.yoffset(5), 0.0);  // outside -4..4: cleared
    EXPECT_EQ(ff.zoffset(-5), 0.0);

    // Only z periodic: entries -1..1 along z.
    grid.neb_pbcy = 0;
    pelix::setup_pbc_offsets(engine);
    EXPECT_EQ(ff.zoffset(1), 5.0);
    EXPECT_EQ(ff.zoffset(-1), -5.0);
    EXPECT_EQ(ff.yoffset(1), 0.0);
    EXPECT_EQ(ff.yoffset(4), 0.0);

    grid.neb_pbcz = 0;
    pelix::setup_pbc_offsets(engine);
    for (int n = -13; n <= 13; ++n)
        EXPECT_EQ(ff.xoffset(n) + ff.yoffset(n) + ff.zoffset(n), 0.0);
}

TEST(Cells, LostAtomsEndTheProcessWithStatusTen) {
    EXPECT_NO_THROW(pelix::checking_total_number_of_atoms("MD", 7, 7));
    std::vector<std::string> lines;
    int status = 0;
    testing::internal::CaptureStderr();
    try {
        pelix::checking_total_number_of_atoms("MAIN", 6, 7);
    } catch (const pelix::FatalError& e) {
        lines = e.lines();
        status = e.exit_status();
    }
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(status, pelix::kExitLostAtoms);
    ASSERT_EQ(lines.size(), 1u);
    const std::string& line = lines[0];
    EXPECT_EQ(line.find(" MAIN: IT SEEMS THAT SOME ATOMS HAS BEEN LOST: "), 0u);
    EXPECT_NE(line.find(" 6 "), std::string::npos);
    EXPECT_EQ(line.substr(line.size() - 2), " 7");
    EXPECT_EQ(err, line + "\n");
}

}  // namespace
