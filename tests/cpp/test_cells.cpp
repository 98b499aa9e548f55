#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/occupied_cells.hpp"

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

// A box of lx x ly x lz whose cells are at least Z/100 + 0.3 A wide (2.8 A unless told),
// holding `positions`.
void set_box(pelix::Engine& engine, Position box, const std::vector<Position>& positions,
             int32_t anum = 250) {
    engine.catalogue = kCatalogue;
    engine.atoms.lx = box[0];
    engine.atoms.ly = box[1];
    engine.atoms.lz = box[2];
    engine.atoms.mylt = static_cast<int32_t>(positions.size());
    engine.atoms.numel = 1;
    engine.atoms.anum = {anum};
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

// The chains of the occupied cells, in the order of their heads.
std::vector<std::vector<int32_t>> chains(const pelix::CellGrid& grid) {
    std::vector<std::vector<int32_t>> out;
    for (int32_t head : grid.celhead) {
        out.emplace_back();
        for (int32_t j = head; j >= 0 && out.back().size() <= grid.celatm.size();
             j = grid.celatm[j])
            out.back().push_back(j);
    }
    return out;
}

// Checks that the chains hold every atom once, higher index first, each chain one cell, the
// chains in increasing cell number.
void expect_consistent_chains(const pelix::Engine& engine) {
    std::vector<int32_t> seen(static_cast<std::size_t>(engine.atoms.mylt), 0);
    int64_t previous_cell = -1;
    for (const auto& chain : chains(engine.cells)) {
        ASSERT_FALSE(chain.empty());
        const int64_t cell = pelix::cell_of_atom(engine, chain[0]);
        EXPECT_GT(cell, previous_cell);
        previous_cell = cell;
        for (std::size_t k = 0; k < chain.size(); ++k) {
            ASSERT_TRUE(chain[k] >= 0 && chain[k] < engine.atoms.mylt);
            ++seen[static_cast<std::size_t>(chain[k])];
            EXPECT_EQ(pelix::cell_of_atom(engine, chain[k]), cell);
            if (k > 0) {
                EXPECT_LT(chain[k], chain[k - 1]);
            }
        }
    }
    EXPECT_EQ(seen, std::vector<int32_t>(seen.size(), 1));
}

// Grid coordinates of the cell whose chain holds atom i.
std::array<int64_t, 3> cell_of(const pelix::Engine& engine, int32_t i) {
    const auto& grid = engine.cells;
    for (const auto& chain : chains(grid)) {
        if (std::find(chain.begin(), chain.end(), i) == chain.end())
            continue;
        const int64_t c = pelix::cell_of_atom(engine, chain[0]);
        return {c / (grid.my * grid.mz), (c / grid.mz) % grid.my, c % grid.mz};
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

    engine.sd.sd_simutype = "INDEN";  // the region opens 100 A below the box along y
    set_box(engine, {10.0, 2.0, 7.5}, {{1.0, 1.0, 1.0}});
    EXPECT_EQ(engine.sd.downlim, -100.0);
    EXPECT_EQ(engine.cells.my, 36);
    EXPECT_DOUBLE_EQ(engine.cells.wy, 102.0 / 36.0);

    // Only occupied cells are stored, so a grid may have more cells than 32 bits can count,
    // but not more than a 64-bit cell number can.
    engine.sd.sd_simutype = "COLLI";
    set_box(engine, {2000.0, 2000.0, 2000.0}, {{1.0, 1.0, 1.0}}, 1);
    EXPECT_EQ(engine.cells.mx, 6451);  // 2000 A / 0.31 A
    EXPECT_EQ(engine.cells.mxyz, int64_t{6451} * 6451 * 6451);
    try {
        set_box(engine, {1.0e7, 1.0e7, 1.0e7}, {{1.0, 1.0, 1.0}}, 1);
        ADD_FAILURE() << "a grid of 3e22 cells was accepted";
    } catch (const pelix::FatalError& e) {
        EXPECT_EQ(e.lines().at(0).find(" SIZE_CELL_GRID: 32258064 x 32258064 x 32258064 cells"),
                  0u);
    }
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
    EXPECT_EQ(cell_of(engine, 0), Cell({1, 0, 1}));
    EXPECT_EQ(cell_of(engine, 1), Cell({0, 3, 1}));
    EXPECT_EQ(cell_of(engine, 2), Cell({1, 2, 0}));
    EXPECT_EQ(cell_of(engine, 3), Cell({0, 2, 3}));
    EXPECT_EQ(cell_of(engine, 4), Cell({1, 3, 0}));

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
    // Atoms 0, 2 and 3 share a cell on every grid below, atom 1 is alone further on.
    const std::vector<Position> atoms = {
        {1.0, 1.0, 1.0}, {7.0, 7.0, 7.0}, {1.2, 1.2, 1.2}, {1.1, 1.0, 1.2}};
    // Grids found through a table (3 x 3 x 3 cells), a bitmap (64^3) and a hash (322^3).
    const std::vector<std::tuple<double, int32_t, pelix::CellLookup>> grids = {
        {9.0, 250, pelix::CellLookup::table},
        {20.0, 1, pelix::CellLookup::bitmap},
        {100.0, 1, pelix::CellLookup::hash}};
    for (const auto& [length, anum, lookup] : grids) {
        set_box(engine, {length, length, length}, atoms, anum);
        ASSERT_EQ(pelix::cell_lookup_for(engine.cells.mxyz, 4), lookup) << length;
        for (int build = 0; build < 2; ++build) {
            pelix::build_nebour_list(engine);
            const auto& grid = engine.cells;
            EXPECT_EQ(grid.celhead, std::vector<int32_t>({3, 1})) << length;
            EXPECT_EQ(grid.celatm, std::vector<int32_t>({-1, -1, 0, 2})) << length;
        }
    }
    engine.registry.pot_numprocs = 2;
    EXPECT_THROW(pelix::build_nebour_list(engine), pelix::FatalError);
}

TEST(Cells, ChainsHoldEveryAtomOnceOnCoarseAndFineGrids) {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int32_t flags : {0, 5, 7}) {
        pelix::Engine engine;
        engine.config.pbcx = (flags >> 2) & 1;
        engine.config.pbcy = (flags >> 1) & 1;
        engine.config.pbcz = flags & 1;
        // Many atoms to a cell, about one, and far fewer (the three lookups); coordinates also
        // outside the box, folded on periodic axes and put in the border cells on open ones.
        const std::vector<std::tuple<double, int32_t, pelix::CellLookup>> grids = {
            {12.0, 250, pelix::CellLookup::table},
            {20.0, 1, pelix::CellLookup::bitmap},
            {120.0, 1, pelix::CellLookup::hash}};
        for (const auto& [length, anum, lookup] : grids) {
            std::vector<Position> positions(300);
            for (auto& p : positions) {
                for (double& c : p)
                    c = (1.6 * unit(rng) - 0.3) * length;
            }
            // Pairs of atoms very close together, so that fine grids have shared cells too.
            for (std::size_t k = 1; k < positions.size(); k += 3)
                positions[k] = {positions[k - 1][0] + 0.01, positions[k - 1][1],
                                positions[k - 1][2] - 0.01};
            set_box(engine, {length, length, length}, positions, anum);
            ASSERT_EQ(pelix::cell_lookup_for(engine.cells.mxyz, 300), lookup) << length;
            pelix::cell_list(engine);
            expect_consistent_chains(engine);
            EXPECT_LT(engine.cells.celhead.size(), positions.size());
        }
    }
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

    // z alone, also beside a flag that is neither 0 nor 1 (an open axis, not counted).
    for (int32_t x_flag : {0, 2}) {
        grid.neb_pbcx = x_flag;
        grid.neb_pbcy = 0;
        pelix::setup_pbc_offsets(engine);
        EXPECT_EQ(offset(-1), Position({0.0, 0.0, -5.0}));
        EXPECT_EQ(offset(2), Position({0.0, 0.0, 0.0}));
    }
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
