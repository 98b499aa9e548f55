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

// An independent copy of the reference data, typed in separately from the library's table.
const ExpectedElement kExpected[] = {
    {"H_", 1, 1.00797, 0.37},    {"He", 2, 4.002602, 0.31},     {"Li", 3, 6.941, 1.34},
    {"Be", 4, 9.012182, 0.9},    {"B_", 5, 10.811, 0.82},       {"C_", 6, 12.0112, 0.77},
    {"O_", 8, 15.9994, 0.73},    {"Na", 11, 22.98976928, 1.54}, {"Mg", 12, 24.305, 1.3},
    {"Al", 13, 26.981539, 1.18}, {"Si", 14, 28.086, 1.11},      {"P_", 15, 30.9738, 1.06},
    {"Ar", 18, 39.948, 0.97},    {"Ca", 20, 40.078, 1.74},      {"Ti", 22, 47.867, 1.0},
    {"Cr", 24, 51.9961, 1.27},   {"Fe", 26, 55.845, 1.25},      {"Ni", 28, 58.69, 1.21},
    {"Ga", 31, 69.723, 0.76},    {"Kr", 36, 83.8, 1.07},        {"Y_", 39, 88.91, 1.62},
    {"Zr", 40, 91.224, 1.48},    {"Ag", 47, 107.87, 1.53},      {"In", 49, 114.818, 0.81},
    {"Xe", 54, 131.293, 1.3},    {"Cs", 55, 132.9054519, 2.25}, {"Ce", 58, 140.116, 1.65},
    {"Er", 68, 167.26, 1.76},    {"Hf", 72, 178.49, 1.5},       {"Au", 79, 196.966569, 1.44},
    {"U_", 92, 238.02891, 1.96}, {"Pu", 94, 244.064199, 1.59},
};

TEST(Elements, EveryRowMatchesTheReferenceValuesExactly) {
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
