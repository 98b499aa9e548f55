#pragma once
// Small numerical utilities shared by the potential families.
#include <cstddef>
#include <string>

#include "common/fatal_error.hpp"

namespace pelix {

// The unit step H(x): 1 for x > 0, 0 otherwise (NaN included).
inline double hh(double x) {
    return x > 0.0 ? 1.0 : 0.0;
}

// The common length of three arrays that must agree; a mismatch is fatal, naming `tag`.
inline std::size_t assert_eq3(std::size_t n1, std::size_t n2, std::size_t n3,
                              const std::string& tag) {
    if (n1 == n2 && n2 == n3)
        return n1;
    nrerror("an assert_eq failed with this tag: " + tag);
}

}  // namespace pelix
