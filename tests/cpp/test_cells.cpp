#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"

namespace {

using Position = std::array<double, 3>;

// One species whose squared cut-off is (Z/100)^2, so that the range is Z/100 + 0.3.
double scaled_cutoff(pelix::Engine&, int32_t za, int32_t) {
    return za * za / 1.0e4;
}
void no_setup(pelix::Engine&, int32_t) {}
void no_evaluation(pelix::Engine&) {}
constexpr pelix::FamilyOps kScaledOps{no_setup, scaled_cutoff, no_evaluation};
constexpr pelix::KeywordRow kCatalogue[] = {{"SCALED", "scaled_interaction", &kScaledOps}};

// A box of lx x ly x lz whose cells are at least 2.5 + 0.3 A wide, holding `positions`.
void set_box(pelix::Engine& engine, Position box, const std::vector<Position>& positions) {
    engine.catalogue = kCatalogue;
    engine.atoms.lx = box[0];
    engine.atoms.ly = box[1];
    engine.atoms.lz = box[2];
    engine.atoms.mylt = static_cast<int32_t>(positions.size());
    engine.atoms.numel = 1;
    engine.atoms.anum = {250};
    engine.registry.potype.assign(1, "SCALED");
    engine.registry.pot_numprocs = 1;
    pelix::define_myprocess_boundaries(engine);
    double range = 0.0;
    pelix::setup_nebour_parameters(engine, range);
    auto& ff = engine.ff;
    ff.rx.clear();
    ff.ry.clear();
    ff.rz.clear();
    for (const auto& p : positions) {
        ff.rx.push_back(p[0]);
        ff.ry.push_back(p[1]);
        ff.rz.push_back(p[2]);
    }
    ff.specie.assign(positions.size(), 0);
    engine.cells.celatm.assign(positions.size(), -1);
    engine.neighbours.nlstmx = 100;
}

// Grid coordinates of the cell whose chain holds atom i.
std::array<int64_t, 3> cell_of(const pelix::CellGrid& grid, int32_t i) {
    for (int64_t c = 0; c < grid.mxyz; ++c) {
        for (int32_t j = grid.celhead[c]; j >= 0; j = grid.celatm[j]) {
            if (j == i)
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
    EXPECT_EQ(grid.mx, 3);  // 10 / 2.8 truncated
    EXPECT_DOUBLE_EQ(grid.wx, 10.0 / 3.0);
    EXPECT_DOUBLE_EQ(grid.lxmwx, 10.0 - 10.0 / 3.0);
    EXPECT_EQ(grid.my, 1);  // region shorter than the range: one cell, the whole region
    EXPECT_EQ(grid.wy, 2.0);
    EXPECT_EQ(grid.mz, 2);
    EXPECT_EQ(grid.wz, 3.75);
    EXPECT_EQ(grid.mxyz, 6);
    EXPECT_EQ(grid.celhead.size(), 6u);

    engine.sd.sd_simutype = "INDEN";  // the region opens 100 A below the box along y
    set_box(engine, {10.0, 2.0, 7.5}, {{1.0, 1.0, 1.0}});
    EXPECT_EQ(engine.sd.downlim, -100.0);
    EXPECT_EQ(engine.cells.my, 36);
    EXPECT_DOUBLE_EQ(engine.cells.wy, 102.0 / 36.0);
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
    const auto& ff = engine.ff;
    EXPECT_EQ(ff.rx, std::vector<double>({0.75 * L, 0.0, 0.5 * L, 0.0, 0.5 * L}));
    EXPECT_EQ(ff.ry, std::vector<double>({-50.0, 200.0, 6.0, 6.0, 11.99}));
    EXPECT_EQ(ff.rz, std::vector<double>({5.0, 5.0, -1e9, 1e9, 0.0}));
    using Cell = std::array<int64_t, 3>;
    EXPECT_EQ(cell_of(engine.cells, 0), Cell({1, 0, 1}));
    EXPECT_EQ(cell_of(engine.cells, 1), Cell({0, 3, 1}));
    EXPECT_EQ(cell_of(engine.cells, 2), Cell({1, 2, 0}));
    EXPECT_EQ(cell_of(engine.cells, 3), Cell({0, 2, 3}));
    EXPECT_EQ(cell_of(engine.cells, 4), Cell({1, 3, 0}));

    // Without folding the same atoms land in the border cells and keep their positions.
    engine.ff.pbcflag = 0;
    set_box(engine, {L, 12.0, 12.0}, {{-0.25 * L, 6.0, 6.0}, {3.5 * L, 6.0, 6.0}});
    pelix::build_nebour_list(engine);
    EXPECT_EQ(engine.ff.rx, std::vector<double>({-0.25 * L, 3.5 * L}));
    EXPECT_EQ(cell_of(engine.cells, 0), Cell({0, 2, 2}));
    EXPECT_EQ(cell_of(engine.cells, 1), Cell({1, 2, 2}));
}

TEST(Cells, ChainsListHigherIndexFirstAndAreClearedForEachBuild) {
    pelix::Engine engine;
    engine.config.pbcx = engine.config.pbcy = engine.config.pbcz = 1;
    set_box(engine, {9.0, 9.0, 9.0},
            {{1.0, 1.0, 1.0}, {7.0, 7.0, 7.0}, {2.0, 2.0, 2.0}, {1.5, 0.5, 2.5}});
    for (int build = 0; build < 2; ++build) {
        pelix::build_nebour_list(engine);
        const auto& grid = engine.cells;
        EXPECT_EQ(grid.celhead[0], 3);
        EXPECT_EQ(grid.celatm, std::vector<int32_t>({-1, -1, 0, 2}));
        EXPECT_EQ(grid.celhead[26], 1);
        EXPECT_EQ(std::count(grid.celhead.begin(), grid.celhead.end(), -1), 25);
    }
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
    const auto offset = [&](int n) {
        return Position{ff.xoffset(n), ff.yoffset(n), ff.zoffset(n)};
    };

    grid.neb_pbcx = grid.neb_pbcy = grid.neb_pbcz = 1;
    pelix::setup_pbc_offsets(engine);
    EXPECT_EQ(offset(0), Position({0.0, 0.0, 0.0}));
    EXPECT_EQ(offset(13), Position({2.0, 3.0, 5.0}));
    EXPECT_EQ(offset(-13), Position({-2.0, -3.0, -5.0}));
    EXPECT_EQ(offset(9 * 1 + 3 * -1 + 0), Position({2.0, 0.0, -5.0}));  // 9 sx + 3 sz + sy
    std::set<Position> distinct;
    for (int n = -13; n <= 13; ++n) {
        distinct.insert(offset(n));
        EXPECT_EQ(offset(-n), Position({-ff.xoffset(n), -ff.yoffset(n), -ff.zoffset(n)}));
    }
    EXPECT_EQ(distinct.size(), 27u);

    // y and z periodic: entries -4..4 = 3 sy + sz, x components 0, the rest cleared.
    grid.neb_pbcx = 0;
    pelix::setup_pbc_offsets(engine);
    EXPECT_EQ(offset(4), Position({0.0, 3.0, 5.0}));
    EXPECT_EQ(offset(-2), Position({0.0, -3.0, 5.0}));
    for (int n = -13; n <= 13; ++n) {
        EXPECT_EQ(ff.xoffset(n), 0.0);
        if (n < -4 || n > 4) {
            EXPECT_EQ(offset(n), Position({0.0, 0.0, 0.0}));
        }
    }

    grid.neb_pbcy = 0;  // z alone
    pelix::setup_pbc_offsets(engine);
    EXPECT_EQ(offset(-1), Position({0.0, 0.0, -5.0}));
    EXPECT_EQ(offset(2), Position({0.0, 0.0, 0.0}));
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
    EXPECT_EQ(lines[0].find(" MAIN: IT SEEMS THAT SOME ATOMS HAS BEEN LOST: "), 0u);
    EXPECT_NE(lines[0].find(" 6 "), std::string::npos);
    EXPECT_EQ(lines[0].substr(lines[0].size() - 2), " 7");
    EXPECT_EQ(err, lines[0] + "\n");
}

}  // namespace
