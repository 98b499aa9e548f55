// The image offsets of the periodic axes and the count of lost atoms; the set-up of radii and
// grid is checked with the neighbour list it serves.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "scratch_dir.hpp"

namespace {

using pelix::test_support::stop_of;
using Position = std::array<double, 3>;

// Entries -h..h, h = (3^k - 1) / 2 for k periodic axes, hold the shifts in box lengths of
// those axes counted in base 3 (digit + 1), the first axis of the layout most significant:
// all periodic, x then z then y; y and z periodic, y then z; z alone, also beside a flag that
// is neither 0 nor 1 (an open axis, not counted). Every other entry is cleared.
TEST(Cells, ImageOffsetTables) {
    pelix::Engine engine;
    auto& grid = engine.cells;
    grid.neb_lx = 2.0, grid.neb_ly = 3.0, grid.neb_lz = 5.0;
    const std::tuple<int32_t, int32_t, int32_t, std::string> layouts[] = {
        {1, 1, 1, "xzy"}, {0, 1, 1, "yz"}, {0, 0, 1, "z"}, {2, 0, 1, "z"}};
    for (const auto& [x, y, z, order] : layouts) {
        grid.neb_pbcx = x, grid.neb_pbcy = y, grid.neb_pbcz = z;
        pelix::setup_pbc_offsets(engine);
        const int h = order.size() == 3 ? 13 : order.size() == 2 ? 4 : 1;
        for (int n = -13; n <= 13; ++n) {
            Position shift{};
            for (int m = n + h, k = static_cast<int>(order.size()) - 1; k >= 0 && std::abs(n) <= h;
                 --k, m /= 3)
                shift[order[k] - 'x'] = (m % 3 - 1) * Position{2.0, 3.0, 5.0}[order[k] - 'x'];
            EXPECT_EQ((Position{engine.ff.xoffset(n), engine.ff.yoffset(n), engine.ff.zoffset(n)}),
                      shift)
                << n << " " << order << x;
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
