#pragma once
// The screened nuclear repulsion of Ziegler, Biersack and Littmark, shared by every family that
// joins its own form to it at short range, and the quintic bridge between the two.
//
// V(r) = S(r) / r with S(r) = sum_k C_k exp(D_k r), C_k = c_k Z1 Z2 e^2 (eV A) and
// D_k = -d_k / a, a the screening length of the pair.
#include <array>
#include <cmath>
#include <cstdint>

#include "common/pair_value.hpp"

namespace pelix {

using ZblCoefficients = std::array<double, 4>;

// The universal screening-function coefficients, longest-ranged term first.
inline constexpr ZblCoefficients kZblC{0.02817, 0.2802, 0.5099, 0.1818};
inline constexpr ZblCoefficients kZblD{0.2016, 0.4029, 0.9423, 3.2};
// The longer-digit copies used by the borosilicate and glass families.
inline constexpr ZblCoefficients kLocalZblC{0.028171, 0.28022, 0.50986, 0.18175};
inline constexpr ZblCoefficients kLocalZblD{0.20162, 0.4029, 0.94229, 3.1998};

// e^2 in eV A as the ZBL amplitude uses it.
inline constexpr double kZblCoulomb = 14.399652003564425;

// Rule A: a = 0.88534 * 0.53 / (Z1^0.23 + Z2^0.23), the universal screening length.
// Rule B: a = 0.88534 * 0.53 / sqrt(Z1^0.23 + Z2^0.23), about twice as long; used by the
// iron pair of the Ackland family and by every pair of the phosphorus-iron embedded-atom family.
enum class ScreeningRule { A, B };
double screening_length(ScreeningRule rule, int32_t z1, int32_t z2);

// Amplitudes C_k and rates D_k (negative) of one pair type.
struct ZblTerms {
    ZblCoefficients conc{};
    ZblCoefficients cond{};
};

ZblTerms zbl_terms(ScreeningRule rule, int32_t z1, int32_t z2, const ZblCoefficients& c = kZblC,
                   const ZblCoefficients& d = kZblD);
// The same with a screening length a given by the caller.
ZblTerms zbl_terms_with_length(double a, int32_t z1, int32_t z2, const ZblCoefficients& c,
                               const ZblCoefficients& d);

// Energy V and force F = -dV/dr at distance r.
inline PairValue zbl_evaluate(const ZblTerms& terms, double r) {
    double s = 0.0;
    double ds = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const double term = terms.conc[k] * std::exp(terms.cond[k] * r);
        s += term;
        ds += terms.cond[k] * term;
    }
    PairValue out;
    out.v = s / r;
    out.f = -(ds / r - out.v / r);
    return out;
}

// Where a bond of length r falls in the join: ZBL alone at and below the short-range radius,
// the bridge below `cutin`, the family's own form beyond.
enum class JoinRegion { Zbl, Bridge, Own };
inline JoinRegion join_region(double r, double sr_cutoff, double cutin) {
    if (r <= sr_cutoff)
        return JoinRegion::Zbl;
    if (r < cutin)
        return JoinRegion::Bridge;
    return JoinRegion::Own;
}

// The bridge polynomial p(r) = b0 + b1 r + ... + b5 r^5 and its derivative.
struct Quintic {
    std::array<double, 6> b{};
    double value(double r) const {
        return b[0] + r * (b[1] + r * (b[2] + r * (b[3] + r * (b[4] + r * b[5]))));
    }
    double derivative(double r) const {
        return b[1] + r * (2.0 * b[2] + r * (3.0 * b[3] + r * (4.0 * b[4] + r * 5.0 * b[5])));
    }
};

}  // namespace pelix
