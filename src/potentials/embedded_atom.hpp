#pragma once
// The per-atom evaluation of the embedded-atom families with a square-root embedding, written
// once for the families that differ only in their pair term and density. Include from a
// family's .cpp only: it pulls in the whole Engine.
//
// For atom i with bonds b to neighbours j (unit vector u_b from i towards j):
//   1. the pair term of every pair, taken from the atom with the smaller index (j > i): half
//      of V to each atom, F = -dV/dr along u_b pushing them apart;
//   2. the density rho_i = sum_b phi(r_b) over every bond, each bond's d(phi)/dr saved;
//   3. the embedding energy -sqrt(rho_i) on atom i;
//   4. the embedding force of every bond, g = -(-1/(2 sqrt(rho_i))) d(phi)/dr along u_b,
//      taken off atom i and added to atom j, so that the sum over all atoms gives the whole
//      embedded-atom force. It is dropped when sqrt(rho_i) does not exceed `guard`.
#include <cmath>
#include <cstdint>
#include <vector>

#include "potentials/family_contract.hpp"

namespace pelix {

// `pair_term(t, r)` returns the PairValue of a bond of type t and length r, `density_term(t,
// r)` its DensityValue. `forsav` keeps, by bond slot, the density derivative of every bond
// between the density and the force pass; it grows to the size of the bond list.
template <class PairTerm, class DensityTerm>
void sqrt_embedding_interact(Engine& engine, int32_t m, int32_t i, std::vector<double>& forsav,
                             double guard, const PairTerm& pair_term,
                             const DensityTerm& density_term) {
    const BondList& bonds = engine.ff.bonds;
    const int32_t first = bonds.datum[m], last = bonds.datum[m + 1];
    if (first == last)
        return;
    if (forsav.size() < bonds.neb.size())
        forsav.resize(bonds.neb.size());

    double rho = 0.0;
    for (int32_t b = first; b < last; ++b) {
        const int32_t j = bonds.neb[b];
        const int32_t t = bonds.bndtyp[b];
        const double r = bonds.bndlen[b];
        if (j > i) {
            const PairValue pair = pair_term(t, r);
            add_pair_terms(engine, i, j, pair.v, -pair.f, bonds.bndxnm[b], bonds.bndynm[b],
                           bonds.bndznm[b]);
        }
        const DensityValue density = density_term(t, r);
        rho += density.rho;
        forsav[b] = density.drho;
    }

    const double s = std::sqrt(rho);
    engine.atoms.pe[i] -= s;
    const double c = s > guard ? -0.5 / s : 0.0;

    ForceFieldState& ff = engine.ff;
    for (int32_t b = first; b < last; ++b) {
        const int32_t j = bonds.neb[b];
        ff.add_pair_force(i, j, forsav[b] * c, bonds.bndxnm[b], bonds.bndynm[b], bonds.bndznm[b]);
    }
}

}  // namespace pelix
