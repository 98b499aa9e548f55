#pragma once
// The ionic pair path as data: one row per unordered element pair, one keyword record per
// family ("BUCKBW" and the oxide and glass keywords). A pair of type t has, by distance r:
//
//   r <= r_zbl          screened nuclear repulsion S(r)/r (+ shift), rule A screening, the
//                       keyword's coefficient set or the row's own screening
//   r_zbl < r < r_join  the bridge: the row's quintic in r, or (none given) the quintic in
//                       r - r_zbl fitted at set-up to the value, slope and curvature of both
//                       neighbours
//   r >= r_join         the long-range form: A exp((sigma - r)/rho) - C/r^6 + D/r^8
//                       (Buckingham: sigma = D = 0; Born-Mayer-Huggins otherwise), or one of
//                       the helium forms (Aziz's HFD family, Beck's)
//
// and the whole is multiplied by the sine taper 0.5 - 0.5 sin((pi/2)(r - R)/W) for
// |r - R| < W (one below, zero beyond), so the cut-off radius is R + W. A pair with no
// long-range form ("zbl" rows) has r_zbl = r_join = R + W: the tapered repulsion alone.
// The Coulomb energy of charged ions comes from the electrostatics, not from these rows.
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "potentials/zbl.hpp"

namespace pelix {

// A exp((sigma - r)/rho) - C/r^6 + D/r^8, all zero for a pair without one.
struct LongRangeForm {
    double a = 0.0, rho = 1.0, sigma = 0.0, c = 0.0, d = 0.0;
};

// Aziz's HFD form with x = r / r_m:
//   epsilon [A exp(-alpha x + beta x^2) - F(x) (C6/x^6 + C8/x^8 + C10/x^10)],
//   F(x) = exp(-(D/x - 1)^2) for x < D, 1 beyond.
struct AzizForm {
    double epsilon = 0.0, r_m = 1.0, a = 0.0, alpha = 0.0, beta = 0.0;
    double c6 = 0.0, c8 = 0.0, c10 = 0.0, d = 0.0;
};

// Beck's form: A exp(-alpha r - beta r^6) - B / s^3 (1 + (2.709 + 3 a^2) / s), s = r^2 + a^2.
struct BeckForm {
    double a = 0.0, alpha = 0.0, beta = 0.0, b = 0.0, a0 = 0.0;
};

enum class PairForm { Buckingham, Aziz, Beck };

// Screening of a pair that brings its own (amplitudes c_k, rates d_k, screening length a):
// C_k = c_k Z1 Z2 e^2, D_k = -d_k / a.
struct OwnScreening {
    bool given = false;
    double length = 0.0;
    ZblCoefficients c{}, d{};
};

struct IonicPairRow {
    int32_t za = 0, zb = 0;
    PairForm kind = PairForm::Buckingham;
    LongRangeForm form{};
    AzizForm aziz{};
    BeckForm beck{};
    std::string_view variant = {};  // a named row of the keyword, asked for by its file
    double taper_centre = 0.0, taper_half_width = 0.0;  // R and W
    double r_zbl = 0.0, r_join = 0.0;
    double zbl_shift = 0.0;  // added to the repulsion (and, as specified, to its slope's -V/r)
    bool bridge_given = false;
    std::array<double, 6> bridge{};  // constant term first, polynomial in r
    OwnScreening screening{};
};

// An unordered element pair; its position in a keyword's list is its pair type (1-based).
struct ElementPair {
    int32_t za = 0, zb = 0;
};

// What differs between the keywords of the path.
struct IonicKeyword {
    std::string_view name = {};           // the keyword, for messages
    std::string_view mapij_message = {};  // unknown pair; empty for the block scheme
    std::string_view block_prefix = {};   // "<X>_MAPIJ: Failed at " for the block scheme
    std::string_view overflow_message = {};
    double bond_capacity = 0.0;
    double safety_factor = 1.5;
    bool counts_all_atoms = false;
    // Pair types in order; empty with `elements`: every pair of those elements, upper
    // triangle row by row; both empty: the pairs of the file, in its order.
    std::span<const ElementPair> pairs = {};
    std::span<const int32_t> elements = {};
    std::span<const IonicPairRow> builtin = {};
    // Parameter file: replaces built-in rows pair by pair; required when nothing is built in.
    std::string_view file = {};
    ZblCoefficients zbl_c = kZblC, zbl_d = kZblD;
    // Rows the file may ask for by name (`variant`), in place of the built-in ones.
    std::span<const IonicPairRow> variants = {};
};

}  // namespace pelix
