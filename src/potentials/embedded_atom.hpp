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
// between the density and the force pass; it grows to the size of the bond list. `higher` is
// scratch for the slots of the bonds to neighbours of higher index.
//
// The steps above are taken as three passes over the bonds (pair terms, density, embedding
// forces), which makes every addition to every force and energy in the order of the steps.
// Atom i's own force and energy are carried in registers through the passes and stored once:
// no bond joins an atom to itself, so no addition through a neighbour touches them.
template <class PairTerm, class DensityTerm>
void sqrt_embedding_interact(Engine& engine, int32_t m, int32_t i, std::vector<double>& forsav,
                             std::vector<int32_t>& higher, double guard, const PairTerm& pair_term,
                             const DensityTerm& density_term) {
    const BondList& bonds = engine.ff.bonds;
    const int32_t first = bonds.datum[m], last = bonds.datum[m + 1];
    if (first == last)
        return;
    if (forsav.size() < bonds.neb.size())
        forsav.resize(bonds.neb.size());
    if (higher.size() < bonds.neb.size())
        higher.resize(bonds.neb.size());

    const int32_t* neb = bonds.neb.data();
    const int32_t* type = bonds.bndtyp.data();
    const double* length = bonds.bndlen.data();
    const double* ux = bonds.bndxnm.data();
    const double* uy = bonds.bndynm.data();
    const double* uz = bonds.bndznm.data();
    ForceFieldState& ff = engine.ff;
    double* fx = ff.fx.data();
    double* fy = ff.fy.data();
    double* fz = ff.fz.data();
    double* pe = engine.atoms.pe.data();
    double fxi = fx[i], fyi = fy[i], fzi = fz[i], pei = pe[i];
    // The force g along bond b's unit vector to atom i, its opposite to neighbour j.
    const auto add_bond_force = [&](int32_t b, int32_t j, double g) {
        const double gx = g * ux[b], gy = g * uy[b], gz = g * uz[b];
        fxi += gx;
        fyi += gy;
        fzi += gz;
        fx[j] -= gx;
        fy[j] -= gy;
        fz[j] -= gz;
    };

    // Pair terms, of the bonds to higher-index neighbours, gathered first without a branch on
    // the index order (which the cell order leaves unpredictable).
    int32_t count = 0;
    for (int32_t b = first; b < last; ++b) {
        higher[static_cast<std::size_t>(count)] = b;
        count += neb[b] > i ? 1 : 0;
    }
    for (int32_t k = 0; k < count; ++k) {
        const int32_t b = higher[static_cast<std::size_t>(k)];
        const int32_t j = neb[b];
        const PairValue pair = pair_term(type[b], length[b]);
        const double half = 0.5 * pair.v;
        pei += half;
        pe[j] += half;
        add_bond_force(b, j, -pair.f);
    }

    double rho = 0.0;
    for (int32_t b = first; b < last; ++b) {
        const DensityValue density = density_term(type[b], length[b]);
        rho += density.rho;
        forsav[static_cast<std::size_t>(b)] = density.drho;
    }

    const double s = std::sqrt(rho);
    pei -= s;
    const double c = s > guard ? -0.5 / s : 0.0;

    for (int32_t b = first; b < last; ++b) {
        add_bond_force(b, neb[b], forsav[static_cast<std::size_t>(b)] * c);
    }
    fx[i] = fxi;
    fy[i] = fyi;
    fz[i] = fzi;
    pe[i] = pei;
}

}  // namespace pelix
