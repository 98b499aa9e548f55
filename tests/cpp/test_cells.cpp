#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "scratch_dir.hpp"

namespace {

using pelix::test_support::stop_of;
using Position = std::array<double, 3>;

// Pair cut-off (Za + Zb) / 200 A, so that the atomic numbers choose the radii.
double summed_cutoff(pelix::Engine&, int32_t za, int32_t zb) {
    return (za + zb) * (za + zb) / 4.0e4;
}
void no_setup(pelix::Engine&, int32_t) {}
void no_evaluation(pelix::Engine&) {}
constexpr pelix::FamilyOps kSummedOps{no_setup, summed_cutoff, no_evaluation};
constexpr pelix::KeywordRow kCatalogue[] = {{"SUMMED", "summed_interaction", &kSummedOps}};

// The neighbour set-up of a box holding `positions`, one species per atomic number.
void set_box(pelix::Engine& engine, Position box, const std::vector<Position>& positions,
             const std::vector<int32_t>& anum) {
    engine.catalogue = kCatalogue;
    engine.atoms.lx = box[0], engine.atoms.ly = box[1], engine.atoms.lz = box[2];
    engine.atoms.mylt = static_cast<int32_t>(positions.size());
    engine.atoms.numel = static_cast<int32_t>(anum.size());
    engine.atoms.anum = anum;
    engine.registry.potype.assign(anum.size(), "SUMMED");
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

// Pair radii are the cut-off + 0.3 A; an indentation region opens 100 A below the box; the
// grid is cut from the largest radius; bad settings and grids too fine to number stop.
TEST(Cells, SetupFixesRadiiRegionGridAndStops) {
    pelix::Engine engine;
    engine.sd.sd_simutype = "INDEN";
    engine.config.pbcx = 1;
    set_box(engine, {20.0, 9.0, 4.0}, {{1.0, 1.0, 1.0}}, {100, 400});
    const auto& settings = engine.neighbours;
    EXPECT_EQ(engine.sd.myltpnebs, 1);
    EXPECT_DOUBLE_EQ(settings.radius(0, 0), 1.0 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radius(1, 0), 2.5 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radius(0, 1), 2.5 + 0.3);
    EXPECT_DOUBLE_EQ(settings.radus2(1, 1), 4.3 * 4.3);
    EXPECT_DOUBLE_EQ(engine.sd.sd_ohmega, 4.3);
    const auto& grid = engine.cells;
    EXPECT_EQ(grid.neb_downlim, -100.0);
    EXPECT_EQ((std::array<int64_t, 4>{grid.mx, grid.my, grid.mz, grid.mxyz}),
              (std::array<int64_t, 4>{4, 25, 1, 100}));  // 20 / 4.3, 109 / 4.3, one cell
    EXPECT_DOUBLE_EQ(grid.wy, 109.0 / 25);

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

    engine.sd.sd_simutype = "COLLI";
    const auto stop = stop_of([&] { set_box(engine, {1.0e7, 1.0e7, 1.0e7}, {{1, 1, 1}}, {1}); });
    EXPECT_EQ(stop.status, pelix::kExitFatal);
    EXPECT_EQ(stop.first().find(" SIZE_CELL_GRID: 32258064 x 32258064 x 32258064 cells"), 0u);
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
        for (int n = -2; n <= 2; ++n)
            EXPECT_EQ(offset(n), Position({0.0, 0.0, std::abs(n) > 1 ? 0.0 : 5.0 * n})) << n;
    }
}

TEST(Cells, LostAtomsEndTheProcessWithStatusTen) {
    EXPECT_EQ(stop_of([] { pelix::checking_total_number_of_atoms("MD", 7, 7); }).status, 0);
    testing::internal::CaptureStderr();
    const auto stop = stop_of([] { pelix::checking_total_number_of_atoms("MAIN", 6, 7); });
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
