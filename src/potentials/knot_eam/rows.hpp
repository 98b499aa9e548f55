#pragma once
// The parameter rows of the knot-sum embedded-atom families. A keyword is its rows, its
// messages and its bond capacity; everything the evaluation needs is derived from the rows at
// set-up (see knot_eam.hpp). The energy of atom i of element e is
//
//   E_i = 1/2 sum_j V_ij(r_ij) + F_e(rho_i),   rho_i = sum_j psi_(e, e_j)(r_ij),
//   F_e(rho) = s sqrt(rho) + a1 rho + a2 rho^2 + a4 rho^4   (s = -1 but where given),
//
// with each pair term V joined to the screened nuclear repulsion at short range: ZBL alone at
// and below `sr_cutoff`, a bridge p(r) (in the exponent, V = exp(p), or as the energy itself,
// V = p) below `cutin`, the pair's own form beyond, up to the cut-off.
#include <cstdint>
#include <span>
#include <string_view>

#include "potentials/zbl.hpp"

namespace pelix {

// sum_k c_k (x_k - r)^3 H(x_k - r) over knots x_k.
struct KnotSum {
    std::span<const double> knot;
    std::span<const double> coef;
};

// sum_n c_n (rc - r)^n H(rc - r) for n = first_power, first_power + 1, ...
struct PowerSeries {
    double rc = 0.0;
    int32_t first_power = 0;
    std::span<const double> coef;
};

// A exp(-beta r) / r * x^4 / (1 + x^4) with x = (r - rc) / h, for r < rc; zero beyond.
struct ScreenedDensity {
    double a = 0.0, beta = 0.0, rc = 0.0, h = 0.0;
};

// N r^3 exp(-2 psi r) for r < rc; zero beyond.
struct CubicExpDensity {
    double n = 0.0, psi = 0.0, rc = 0.0;
};

enum class BridgeJoin { Exponent, Energy };

// One unordered element pair; its position among a keyword's rows is its pair type (1-based).
// The pair term beyond the bridge is `knots` when it has knots, `powers` otherwise.
struct EamPairRow {
    int32_t za = 0, zb = 0;
    KnotSum knots{};
    PowerSeries powers{};
    Quintic bridge{};
    double sr_cutoff = 0.0;  // A: ZBL at and below
    double cutin = 0.0;      // A: the bridge below
    ScreeningRule rule = ScreeningRule::A;
    double cutoff2 = 0.0;  // A^2: bonds strictly inside; 0: as far as the terms reach
    BridgeJoin join = BridgeJoin::Exponent;
    // When set, `bridge` is worked out at set-up: exp(b0 + b1 r + b2 r^2 + b3 r^3) through the
    // values and slopes of ZBL at sr_cutoff and of the own form at cutin.
    bool fit_bridge = false;
    // A multiple of a density function added to the own form.
    double density_coef = 0.0;
    ScreenedDensity density_term{};
};

// The density at an atom of element `centre` from a neighbour of element `neighbour`:
// scale x the knot sum; without knots, the cubic-exponential form when its N is not zero, else
// the screened form.
struct EamDensityRow {
    int32_t centre = 0, neighbour = 0;
    KnotSum psi{};
    double scale = 1.0;
    ScreenedDensity screened{};
    CubicExpDensity cubic_exp{};
};

// The embedding of an element: a2, a4 beside -sqrt(rho), or every coefficient.
struct EamElementRow {
    int32_t z = 0;
    double a2 = 0.0, a4 = 0.0;
    double a1 = 0.0, root = -1.0;
};

// An element pair refused with a message of its own (either order).
struct EamRefusal {
    int32_t za = 0, zb = 0;
    std::string_view message;
};

struct KnotEamKeyword {
    std::string_view mapij_message;
    std::string_view overflow_message;
    double bond_capacity = 0.0;
    std::span<const EamPairRow> pairs;
    std::span<const EamDensityRow> densities;
    std::span<const EamElementRow> elements;
    std::span<const EamRefusal> refusals = {};
};

}  // namespace pelix
