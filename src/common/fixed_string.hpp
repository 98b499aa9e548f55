#pragma once
// Blank-padded fixed-length character values, as the input files define them: a shorter
// value is padded with blanks on the right, a longer one is cut to its leftmost characters.
// Two values compare equal when they are equal after the shorter is padded with blanks.
#include <cstddef>
#include <string>
#include <string_view>

namespace pelix {

inline std::string fixed_width(std::string_view value, std::size_t width) {
    std::string out(value.substr(0, width));
    out.resize(width, ' ');
    return out;
}

inline bool blank_padded_equal(std::string_view a, std::string_view b) {
    const std::size_t n = a.size() > b.size() ? a.size() : b.size();
    for (std::size_t k = 0; k < n; ++k) {
        const char ca = k < a.size() ? a[k] : ' ';
        const char cb = k < b.size() ? b[k] : ' ';
        if (ca != cb)
            return false;
    }
    return true;
}

}  // namespace pelix
