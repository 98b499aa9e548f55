// The image offsets of the periodic axes and the count of lost atoms; the set-up of radii and
// grid is checked with the neighbour list it serves.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "scratch_dir.hpp"

namespace {

using pelix::test_support::stop_of;
using Position = std::array<double, 3>;

// All periodic: entry 9 sx + 3 sz + sy holds the shift (sx, sy, sz) in box lengths; y and z
// periodic: entries 3 sy + sz; z alone, also beside a flag that is neither 0 nor 1 (an open
// axis, not counted): entries sz; every other entry cleared.
TEST(Cells, ImageOffsetTables) {
    pelix::Engine engine;
    auto& grid = engine.cells;
    grid.neb_lx = 2.0, grid.neb_ly = 3.0, grid.neb_lz = 5.0;
    for (const std::array<int32_t, 4> flags :
         {std::array<int32_t, 4>{1, 1, 1, 9}, {0, 1, 1, 3}, {0, 0, 1, 1}, {2, 0, 1, 1}}) {
        grid.neb_pbcx = flags[0], grid.neb_pbcy = flags[1], grid.neb_pbcz = flags[2];
        pelix::setup_pbc_offsets(engine);
        for (int n = -13; n <= 13; ++n) {
            const int stride = flags[3], m = n + 13, sy = m % 3 - 1;  // m: entry from 0
            Position shift{2.0 * (m / 9 - 1), 3.0 * sy, 5.0 * (m % 9 / 3 - 1)};
            if (stride == 3)
                shift = {0.0, 3.0 * (m / 3 - 4), 5.0 * sy};
            if (stride == 1)
                shift = {0.0, 0.0, 5.0 * n};
            const bool used = std::abs(n) <= (stride == 9 ? 13 : stride == 3 ? 4 : 1);
            EXPECT_EQ((Position{engine.ff.xoffset(n), engine.ff.yoffset(n), engine.ff.zoffset(n)}),
                      used ? shift : Position{})
                << n << " " << flags[0] << flags[1];
        }
    }
}

TEST(Cells, LostAtomsEndTheProcessWithStatusTen) {
    EXPECT_EQ(stop_of([] { pelix::checking_total_number_of_atoms("MD", 7, 7); }).status, 0);
    testing::internal::CaptureStderr();
    const auto stop = stop_of([] { pelix::checking_total_number_of_atoms("MAIN", 6, 7); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), stop.first() + "\n");
    EXPECT_EQ(std::make_pair(stop.status, stop.lines.size()),
              std::make_pair(int(pelix::kExitLostAtoms), std::size_t{1}));
    const std::string line = stop.first();
    EXPECT_EQ(line.find(" MAIN: IT SEEMS THAT SOME ATOMS HAS BEEN LOST: "), 0u);
    EXPECT_TRUE(line.find(" 6 ") != std::string::npos && line.ends_with(" 7")) << line;
}

}  // namespace
