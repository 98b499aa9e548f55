#pragma once
// The element table: 32 two-character symbols with atomic number, mass (atomic mass units)
// and radius (A). An unknown symbol is fatal through nrerror.
#include <cstdint>
#include <string_view>

namespace pelix {

int32_t atomic_number(std::string_view symbol);
double atomic_mass(std::string_view symbol);
double atomic_radius(std::string_view symbol);

}  // namespace pelix
