#pragma once
// Solid harmonics and the translation operators of the multipole tree.
//
// Regular and irregular solid harmonics, with P_n^m the associated Legendre functions including
// the Condon-Shortley phase:
//   R_n^m(r) = r^n P_n^m(cos t) e^{i m f} / (n + m)!
//   I_n^m(r) = (n - m)! P_n^m(cos t) e^{i m f} / r^(n + 1)
// With this scaling the Coulomb kernel and its translations take their simplest forms:
//   1/|x - y|      = sum_{n,m} conj(R_n^m(y)) I_n^m(x)                    (|y| < |x|)
//   R_n^m(x + y)   = sum_{k,l} R_k^l(x) R_{n-k}^{m-l}(y)
//   I_n^m(x + y)   = sum_{k,l} (-1)^(k+l) R_k^{-l}(y) I_{n+k}^{m+l}(x)    (|y| < |x|)
// and both families obey X_n^{-m} = (-1)^m conj(X_n^m). Expansions of a real potential share
// that symmetry, so they are stored for m >= 0 only ("half" layout, index n(n+1)/2 + m); the
// transfer operators expand the source to all m ("full" layout, index n(n+1) + m).
//
// A multipole expansion about a centre c is M_n^m = sum_i q_i conj(R_n^m(r_i - c)); its
// potential is sum M_n^m I_n^m(x - c). A local expansion about c is L_n^m with potential
// sum L_n^m R_n^m(x - c).
#include <complex>
#include <cstddef>
#include <vector>

namespace pelix::multipole {

using Complex = std::complex<double>;

inline constexpr std::size_t half_size(int order) {
    return static_cast<std::size_t>((order + 1) * (order + 2) / 2);
}
inline constexpr std::size_t full_size(int order) {
    return static_cast<std::size_t>((order + 1) * (order + 1));
}
inline constexpr std::size_t half_index(int n, int m) {
    return static_cast<std::size_t>(n * (n + 1) / 2 + m);
}
inline constexpr std::size_t full_index(int n, int m) {
    return static_cast<std::size_t>(n * (n + 1) + m);
}

// R_n^m(x, y, z) for 0 <= m <= n <= order, half layout.
void regular_harmonics(int order, double x, double y, double z, Complex* out);
// I_n^m(x, y, z) for 0 <= m <= n <= order, half layout; (x, y, z) must not be the origin.
void irregular_harmonics(int order, double x, double y, double z, Complex* out);
// Expands a half-layout array of degree <= order to the full layout using X^{-m} =
// (-1)^m conj(X^m).
void expand_to_full(int order, const Complex* half, Complex* full);

// Adds sum_i q_i conj(R(r_i - c)) to the multipole expansion `multipole` (half layout);
// `scratch` holds half_size(order) values.
void particles_to_multipole(int order, std::size_t count, const double* x, const double* y,
                            const double* z, const double* q, const double centre[3],
                            Complex* multipole, Complex* scratch);

// Adds the child's multipole expansion, translated from the child centre to the parent centre
// (shift = child centre - parent centre), to the parent's; `regular` holds R(shift) for degrees
// <= order, half layout.
void multipole_to_multipole(int order, const Complex* regular_of_shift, const Complex* child,
                            Complex* parent);

// Adds the parent's local expansion translated to the child centre (shift = child centre -
// parent centre) to the child's; `regular` holds R(shift), half layout.
void local_to_local(int order, const Complex* regular_of_shift, const Complex* parent,
                    Complex* child);

// Adds to `local` (half layout, degrees <= order) the local expansion about a target centre of
// a source multipole expansion given in full layout (degrees <= order). `irregular` holds
// I(target centre - source centre) in full layout for degrees <= max_degree; terms with
// n + k > max_degree are dropped.
void multipole_to_local(int order, int max_degree, const Complex* irregular_full,
                        const Complex* multipole_full, Complex* local);

// Potential and field (minus the gradient) at displacement (x, y, z) from the centre of the
// local expansion `local` (half layout); `scratch` holds half_size(order) values.
void evaluate_local(int order, const Complex* local, double x, double y, double z, Complex* scratch,
                    double& potential, double field[3]);

}  // namespace pelix::multipole
