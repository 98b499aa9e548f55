#pragma once
// Pair tables of the tabulated pair potentials: a text file holding the number of points n,
// then n records "x y f" (distance in A, pair energy in eV, pair force f = -dy/dx in eV/A),
// read list-directed. Only the forces of the first and the last record are kept: they fix the
// end slopes of the spline through the table.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pelix {

struct PairTable {
    std::vector<double> x;
    std::vector<double> y;
    double first_force = 0.0;
    double last_force = 0.0;
};

// Largest number of points a family accepts, and its stop message (through nrerror).
struct PairTableLimit {
    int32_t max_points;
    std::string_view message;
};

// Reads the table at `path`. A missing file, a count below 1, a short or malformed file are
// input errors naming the file and the line; a count above the limit stops with its message
// before any record is read.
PairTable read_pair_table(const std::string& path,
                          std::optional<PairTableLimit> limit = std::nullopt);

}  // namespace pelix
