#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "atoms/elements.hpp"
#include "common/fatal_error.hpp"

namespace {

struct ExpectedElement {
    const char* symbol;
    int32_t z;
    double mass;
    double radius;
};

// Representative rows of the reference data, typed in separately from the library's table:
// both ends, a two-letter and an underscored symbol, and masses with many digits.
const ExpectedElement kExpected[] = {
    {"H_", 1, 1.00797, 0.37},      {"Fe", 26, 55.845, 1.25},     {"Y_", 39, 88.91, 1.62},
    {"Cs", 55, 132.9054519, 2.25}, {"Au", 79, 196.966569, 1.44}, {"Pu", 94, 244.064199, 1.59},
};

TEST(Elements, RowsMatchTheReferenceValuesExactly) {
    for (const ExpectedElement& row : kExpected) {
        SCOPED_TRACE(row.symbol);
        EXPECT_EQ(pelix::atomic_number(row.symbol), row.z);
        EXPECT_EQ(pelix::atomic_mass(row.symbol), row.mass);
        EXPECT_EQ(pelix::atomic_radius(row.symbol), row.radius);
    }
}

TEST(Elements, TrailingBlanksMatchButAMissingUnderscoreDoesNot) {
    EXPECT_EQ(pelix::atomic_number("H_   "), 1);
    EXPECT_EQ(pelix::atomic_mass("Fe "), 55.845);
    EXPECT_THROW(pelix::atomic_number("H "), pelix::FatalError);
    EXPECT_THROW(pelix::atomic_radius("H"), pelix::FatalError);
}

TEST(Elements, UnknownSymbolStopsThroughNrerrorNamingTheFunction) {
    using Lookup = void (*)(std::string_view);
    const struct {
        const char* prefix;
        Lookup lookup;
    } functions[] = {
        {"ATOMIC_NUMBER", [](std::string_view s) { pelix::atomic_number(s); }},
        {"ATOMIC_MASS", [](std::string_view s) { pelix::atomic_mass(s); }},
        {"ATOMIC_RADIUS", [](std::string_view s) { pelix::atomic_radius(s); }},
    };
    for (const auto& function : functions) {
        for (const std::string symbol : {"Xx", "fe", "N_", "O "}) {
            SCOPED_TRACE(std::string(function.prefix) + " '" + symbol + "'");
            try {
                function.lookup(symbol);
                ADD_FAILURE() << "no fatal error";
            } catch (const pelix::FatalError& error) {
                const std::vector<std::string> expected = {std::string(" nrerror: ") +
                                                               function.prefix + ": ATMSYMI " +
                                                               symbol + " is unknown",
                                                           "program terminated by nerror"};
                EXPECT_EQ(error.lines(), expected);
                EXPECT_EQ(error.exit_status(), 1);
            }
        }
    }
}

}  // namespace
