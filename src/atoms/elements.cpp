#include "atoms/elements.hpp"

#include <array>
#include <string>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"

namespace pelix {

namespace {

struct Element {
    std::string_view symbol;
    int32_t atomic_number;
    double mass;    // atomic mass units
    double radius;  // A
};

// Searched in this order; the first match wins. The values are the engine's own reference
// data, uneven precision and rounded entries included.
constexpr std::array<Element, 32> kElements{{
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
}};

// The first table row whose symbol equals `symbol` after blank padding; an unknown symbol
// is fatal, the message naming the asking function.
const Element& find_element(std::string_view symbol, const char* function_name) {
    for (const Element& element : kElements) {
        if (blank_padded_equal(symbol, element.symbol))
            return element;
    }
    nrerror(std::string(function_name) + ": ATMSYMI " + std::string(symbol) + " is unknown");
}

}  // namespace

int32_t atomic_number(std::string_view symbol) {
    return find_element(symbol, "ATOMIC_NUMBER").atomic_number;
}

double atomic_mass(std::string_view symbol) {
    return find_element(symbol, "ATOMIC_MASS").mass;
}

double atomic_radius(std::string_view symbol) {
    return find_element(symbol, "ATOMIC_RADIUS").radius;
}

int32_t find_atomic_number(std::string_view symbol) {
    for (const Element& element : kElements) {
        if (blank_padded_equal(symbol, element.symbol))
            return element.atomic_number;
    }
    return 0;
}

std::string_view element_symbol(int32_t z) {
    for (const Element& element : kElements) {
        if (element.atomic_number == z)
            return element.symbol;
    }
    return "??";
}

}  // namespace pelix
