#pragma once
// Far field of a periodic box: the lattice sums that carry the box's multipole expansion from
// all periodic images outside the near set to a local expansion about the box centre.
//
// With psi the Ewald potential of a unit charge repeated on the lattice (neutralising
// background, conducting boundary at infinity) and h the harmonic part of
// psi(r) - sum_{n in near} 1/|r + n L|, the sums are
//   T_j^m = c_j^m R_j^m(grad) h(0),  c_j^m = (-1)^j (j - m)! (j + m)! / (2j - 1)!!,
// which equal sum_{n not near} I_j^m(n L) wherever that sum converges (j >= 3) and give the
// conducting-boundary value where it does not. The background makes psi's far part
// h + (2 pi / 3V) |r|^2; that quadratic term is added per particle by the tree.
#include <array>
#include <vector>

#include "electrostatics/multipole/cell_layout.hpp"
#include "electrostatics/multipole/solid_harmonics.hpp"

namespace pelix::multipole {

// T_j^m for 0 <= m <= j <= max_degree (half layout) for a box of the given side lengths whose
// near images are at the offsets `near` (the origin included). `alpha_scale` sets the Ewald
// splitting alpha = alpha_scale * sqrt(pi) / V^(1/3); the result does not depend on it.
std::vector<Complex> periodic_lattice_sums(int max_degree, const std::array<double, 3>& box,
                                           const std::vector<Offset>& near,
                                           double alpha_scale = 1.0);

}  // namespace pelix::multipole
