#include "potentials/pair_table.hpp"

#include <algorithm>

#include "common/fatal_error.hpp"
#include "common/list_directed.hpp"

namespace pelix {

PairTable read_pair_table(const std::string& path, std::optional<PairTableLimit> limit) {
    ListDirectedFile file(path);
    int32_t n = 0;
    file.read({int_item(n, "number of data points")});
    if (limit && n > limit->max_points)
        nrerror(std::string(limit->message));
    if (n < 1)
        input_error(path, file.line_number(),
                    "expected a positive number of data points, found " + std::to_string(n));

    PairTable table;
    const auto size = static_cast<std::size_t>(n);
    // The arrays grow with the records actually read: a count far beyond the end of the file
    // then ends in the input error for the missing record instead of claiming gigabytes.
    const std::size_t expected = std::min<std::size_t>(size, 1 << 16);
    table.x.reserve(expected);
    table.y.reserve(expected);
    double x = 0.0, y = 0.0, f = 0.0;
    for (std::size_t p = 0; p < size; ++p) {
        x = y = 0.0;  // a null item leaves a value as it was: zero, as for fresh arrays
        file.read({real_item(x, "distance x"), real_item(y, "pair energy y"),
                   real_item(f, "pair force f")});
        table.x.push_back(x);
        table.y.push_back(y);
        if (p == 0)
            table.first_force = f;
    }
    table.last_force = f;
    return table;
}

}  // namespace pelix
