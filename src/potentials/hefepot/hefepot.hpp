#pragma once
// "HeFePOT": helium in iron. A repulsive He-Fe pair term, and at every helium atom a three-body
// term over the angles its iron neighbours make there, after the three-body He-Fe form of
// Seletskaia et al. (2005-2007) and Stoller et al. (2010). No parameter set is built in: every
// constant comes from the file "HeFePOT.IN" in the working directory, read at every set-up
// (docs/families/HeFePOT.md).
//
//   E = sum over He-Fe pairs phi(r)
//     + sum over He atoms i, over the unordered pairs {j, k} of its Fe bonds:
//           f(r_ij) f(r_ik) g(cos theta_jik)
//
//   phi(r) = V_ZBL(r)                                   r <= r_zbl
//          = exp(b0 + b1 r + b2 r^2 + b3 r^3)           r_zbl < r < r_join
//          = sum_k a_k (x_k - r)^3 H(x_k - r)           r >= r_join
//   f(r)   = exp(gamma / (r - r_c)) for r < r_c, 0 beyond (gamma > 0: smooth to all orders)
//   g(c)   = sum_n b_n c^n
//
// V_ZBL is the screened nuclear repulsion with the universal coefficients and screening length
// (rule A) for Z = 2 and 26; b0..b3 are fitted at set-up to the value and slope of V_ZBL at
// r_zbl and of the knot sum at r_join. theta_jik is the angle at i between the bonds to j and
// k; each periodic image of an iron atom within range is a bond of its own.
//
// One pair type: 1, He-Fe in either order; every other pair stops in the mapper. Its cut-off is
// the larger of the largest knot with a non-zero coefficient and r_c. A pair term goes half to
// each atom; a triplet term goes whole to its helium atom. Pairs are taken from the helium side;
// an iron centre adds nothing of its own.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/pair_value.hpp"
#include "potentials/catalogue.hpp"
#include "potentials/zbl.hpp"

namespace pelix {

struct Engine;

inline constexpr std::string_view kHefepotFile = "HeFePOT.IN";

// The records of "HeFePOT.IN" as read, with the line of the pair record.
struct HefepotFile {
    double r_zbl = 0.0, r_join = 0.0;
    int pair_line = 0;
    std::vector<double> knot, coef;
    double gamma = 0.0, r_c = 0.0;
    std::vector<double> angular;  // b_0, b_1, ...
};

// Reads the file; stops with an input error naming the file and line at anything malformed.
HefepotFile read_hefepot_in(const std::string& path);

struct HefepotState {
    int32_t idnum = 0;
    double r_zbl = 0.0, r_join = 0.0;
    std::vector<double> knot, coef;
    ZblTerms zbl{};
    Quintic bridge{};  // b0..b3 of the exponent; b4 = b5 = 0
    double gamma = 0.0, r_c = 0.0;
    std::vector<double> angular;
    double conrh2 = 0.0;
};

// The state from the records of `path` with the potential number k. A pair term that is not
// positive at r_join, or a bridge that cannot be fitted or is not repulsive (dphi/dr < 0) all
// along (r_zbl, r_join), stops with an input error at the pair record.
void hefepot_setup(HefepotState& state, const HefepotFile& file, const std::string& path,
                   int32_t k);

// phi and F = -dphi/dr at r (zero beyond the knots).
PairValue hefepot_pair(const HefepotState& state, double r);
// f and df/dr at r.
void hefepot_radial(const HefepotState& state, double r, double& f, double& df);
// g and dg/dc at the cosine c.
void hefepot_angular(const HefepotState& state, double c, double& g, double& dg);

// Pair type 1 for He with Fe in either order; any other pair stops.
int32_t hefepot_mapij(int32_t za, int32_t zb);

void setup_prms_for_hefepot(Engine& engine, int32_t k);
double hefepot_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void hefepot_call(Engine& engine);

extern const FamilyOps kHefepotOps;

}  // namespace pelix
