#pragma once
// "ACKNIAL": nickel-aluminium on the knot-sum embedded-atom path. Ni-Ni is built in (Ackland,
// Tichy, Vitek, Finnis 1987); Ni-Al and Al-Al, and any replacement of the nickel terms, come from
// the optional file "acknial.IN" in the working directory, read at every set-up:
//
//   # comment
//   pair Ni Al            the pair term of Ni-Al: the records below are "knot coefficient"
//   3.9  -0.12
//   3.0   1.5
//   density Al Ni         the density at an Al atom from a Ni neighbour, records as above
//   4.0   0.8
//   embedding Al -0.002 0  a2 and a4 of F(rho) = -sqrt(rho) + a2 rho^2 + a4 rho^4
//
// Keywords in any case; values separated by blanks or commas. Every pair type uses ZBL
// (screening rule A) at and below 0.61 A and an exponential bridge, fitted at set-up to the
// values and slopes of ZBL at 0.61 A and of the knot sum at 2.0 A; its cut-off is the largest
// knot of its pair term and its densities. A pair type that "potfor.IN" gives to the family with
// neither built-in terms nor a "pair" record stops when its cut-off is asked.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "potentials/knot_eam/rows.hpp"

namespace pelix {

struct Engine;

inline constexpr std::string_view kAcknialFile = "acknial.IN";

// The records of "acknial.IN": sums (pair: za, zb either order; density: za the centre, zb the
// neighbour) and embedding rows, owning their numbers.
struct AcknialRecords {
    struct Sum {
        int32_t za = 0, zb = 0;
        std::vector<double> knot, coef;
    };
    std::vector<Sum> pairs, densities;
    std::vector<EamElementRow> elements;
};

// Reads the file; stops with an input error naming the file and line at anything malformed.
AcknialRecords read_acknial_in(const std::string& path);

void setup_prms_for_acknial(Engine& engine, int32_t k);
double acknial_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void acknial_call(Engine& engine);

}  // namespace pelix
