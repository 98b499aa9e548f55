#include "potentials/zbl.hpp"

#include <cmath>

namespace pelix {

double screening_length(ScreeningRule rule, int32_t z1, int32_t z2) {
    const double sum =
        std::pow(static_cast<double>(z1), 0.23) + std::pow(static_cast<double>(z2), 0.23);
    const double numerator = 0.88534 * 0.53;
    return rule == ScreeningRule::A ? numerator / sum : numerator / std::sqrt(sum);
}

ZblTerms zbl_terms(ScreeningRule rule, int32_t z1, int32_t z2, const ZblCoefficients& c,
                   const ZblCoefficients& d) {
    return zbl_terms_with_length(screening_length(rule, z1, z2), z1, z2, c, d);
}

ZblTerms zbl_terms_with_length(double a, int32_t z1, int32_t z2, const ZblCoefficients& c,
                               const ZblCoefficients& d) {
    ZblTerms terms;
    for (std::size_t k = 0; k < 4; ++k) {
        terms.conc[k] = c[k] * (static_cast<double>(z1 * z2) * kZblCoulomb);
        terms.cond[k] = -d[k] / a;
    }
    return terms;
}

}  // namespace pelix
