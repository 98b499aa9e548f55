// The count of lost atoms; the image offsets, radii and grid are checked with the neighbour list
// they serve.
#include <gtest/gtest.h>

#include <string>

#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "scratch_dir.hpp"

namespace {

using pelix::test_support::stop_of;

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
