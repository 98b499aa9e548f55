#include "potentials/pair_table.hpp"

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
    table.x.resize(size);
    table.y.resize(size);
    double f = 0.0;
    for (std::size_t p = 0; p < size; ++p) {
        file.read({real_item(table.x[p], "distance x"), real_item(table.y[p], "pair energy y"),
                   real_item(f, "pair force f")});
        if (p == 0)
            table.first_force = f;
    }
    table.last_force = f;
    return table;
}

}  // namespace pelix
