#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "atoms/elements.hpp"
#include "scratch_dir.hpp"

namespace {

using pelix::test_support::stop_of;

// Reference rows typed in apart from the library's table: both ends, a two-letter and an
// underscored symbol, many-digit masses; trailing blanks match, a missing underscore does not.
TEST(Elements, LookupsMatchTheReferenceRowsAndUnknownSymbolsStop) {
    const std::tuple<const char*, int32_t, double, double> rows[] = {
        {"H_   ", 1, 1.00797, 0.37},   {"Fe ", 26, 55.845, 1.25},    {"Y_", 39, 88.91, 1.62},
        {"Cs", 55, 132.9054519, 2.25}, {"Au", 79, 196.966569, 1.44}, {"Pu", 94, 244.064199, 1.59}};
    for (const auto& [symbol, z, mass, radius] : rows) {
        EXPECT_EQ(pelix::atomic_number(symbol), z) << symbol;
        EXPECT_EQ(pelix::atomic_mass(symbol), mass) << symbol;
        EXPECT_EQ(pelix::atomic_radius(symbol), radius) << symbol;
    }
    for (const std::string symbol : {"Xx", "fe", "N_", "O ", "H", "H "}) {
        const pelix::test_support::Stop stops[] = {stop_of([&] { pelix::atomic_number(symbol); }),
                                                   stop_of([&] { pelix::atomic_mass(symbol); }),
                                                   stop_of([&] { pelix::atomic_radius(symbol); })};
        const char* names[] = {"ATOMIC_NUMBER", "ATOMIC_MASS", "ATOMIC_RADIUS"};
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(stops[k].lines,
                      (std::vector<std::string>{" nrerror: " + std::string(names[k]) +
                                                    ": ATMSYMI " + symbol + " is unknown",
                                                "program terminated by nerror"}));
        EXPECT_EQ(stops[0].status, 1);
    }
}

}  // namespace
