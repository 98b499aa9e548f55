#pragma once
// The element table: 32 two-character symbols with atomic number, mass (atomic mass units)
// and radius (A). An unknown symbol is fatal through nrerror.
#include <cstdint>
#include <string_view>

namespace pelix {

int32_t atomic_number(std::string_view symbol);
double atomic_mass(std::string_view symbol);
double atomic_radius(std::string_view symbol);
// The atomic number of a symbol, 0 when the table has none (no stop).
int32_t find_atomic_number(std::string_view symbol);
// The two-character symbol of atomic number z ("O_", "Fe"), or "??" when the table has none.
std::string_view element_symbol(int32_t z);

}  // namespace pelix
