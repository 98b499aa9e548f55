#pragma once
// The per-atom evaluation of the embedded-atom families with a square-root embedding, written
// once for the families that differ only in their pair term and density. Include from a
// family's .cpp only: it pulls in the whole Engine.
//
// For atom i with bonds b to neighbours j (unit vector u_b from i towards j):
//   1. the pair term of every pair, taken from the atom with the smaller index (j > i): half
//      of V to each atom, F = -dV/dr along u_b pushing them apart;
//   2. the density rho_i = sum_b phi(r_b) over every bond, each bond's d(phi)/dr saved;
//   3. the embedding energy F(rho_i) = s sqrt(rho_i) + a1 rho_i + a2 rho_i^2 + a4 rho_i^4 on
//      atom i (s = -1 and no other term for the plain square root);
//   4. the embedding force of every bond, g = -F'(rho_i) d(phi)/dr along u_b, taken off atom i
//      and added to atom j, so that the sum over all atoms gives the whole embedded-atom force.
//      The part s/(2 sqrt(rho_i)) of F' is dropped when sqrt(rho_i) does not exceed `guard`.
#include <cmath>
#include <cstdint>
#include <vector>

#include "potentials/family_contract.hpp"

namespace pelix {

// F(rho) = root sqrt(rho) + a1 rho + a2 rho^2 + a4 rho^4.
struct EmbeddingPolynomial {
    double root = -1.0;
    double a1 = 0.0, a2 = 0.0, a4 = 0.0;
};

// Scratch of the per-atom evaluation, kept by a family from one atom to the next so that it is
// allocated once per evaluation: the slots, pair types and lengths of the bonds to neighbours of
// higher index, their pair terms, the density terms of every bond of the atom, and the bonds
// whose density has a slope.
struct EmbeddingScratch {
    std::vector<int32_t> higher, type, sloped;
    std::vector<double> length, value, slope, density, density_slope;

    void fit(std::size_t bonds) {
        if (higher.size() >= bonds)
            return;
        higher.resize(bonds);
        sloped.resize(bonds);
        type.resize(bonds);
        length.resize(bonds);
        value.resize(bonds);
        slope.resize(bonds);
        density.resize(bonds);
        density_slope.resize(bonds);
    }
};

// Terms of n bonds at once from a term of one bond: `term(t, r)` returns a pair of values (a
// PairValue or a DensityValue), written to first[k] and second[k].
template <class Term>
auto bond_by_bond(const Term& term) {
    return [&term](const int32_t* type, const double* r, int32_t n, double* first, double* second) {
        for (int32_t k = 0; k < n; ++k) {
            const auto [a, b] = term(type[k], r[k]);
            first[k] = a;
            second[k] = b;
        }
    };
}

// `pair_terms(type, r, n, v, f)` gives the pair term V and F = -dV/dr of n bonds of types
// type[k] and lengths r[k]; `density_terms(type, r, n, rho, drho)` their densities phi and
// d(phi)/dr. Each is bit for bit what the family's term of one bond gives.
//
// The steps above are taken as three passes over the bonds (pair terms, density, embedding
// forces), which makes every addition to every force and energy in the order of the steps. The
// density is summed first all the same: it touches no force or energy, and its chain of
// dependent additions then runs alongside the pair terms instead of holding up the embedding.
// Atom i's own force and energy are carried in registers through the passes and stored once:
// no bond joins an atom to itself, so no addition through a neighbour touches them.
//
// A bond beyond the reach of the density (its slope exactly zero, so that its length is finite
// and not zero) has an embedding force of exactly zero; those additions are left out. That changes
// no bit: the force sums start at +0 and only ever add or subtract, which can never give -0, and
// adding or subtracting a zero of either sign leaves any other value as it is. It spares most of
// the scattered additions to the neighbours' forces (in bcc iron, 32 of the 58 bonds lie beyond the
// density's last knot).
//
// Without a1, a2 and a4 (all zero) their terms are left out, and with s = -1 the results are
// those of the plain square root, bit for bit.
template <class PairTerms, class DensityTerms>
void sqrt_embedding_interact(Engine& engine, int32_t m, int32_t i, EmbeddingScratch& scratch,
                             double guard, const PairTerms& pair_terms,
                             const DensityTerms& density_terms,
                             const EmbeddingPolynomial& embedding = {}) {
    const BondList& bonds = engine.ff.bonds;
    const int32_t first = bonds.datum[m], last = bonds.datum[m + 1];
    if (first == last)
        return;
    scratch.fit(static_cast<std::size_t>(last - first));

    const BondView bond(bonds);
    const int32_t* neb = bond.neb;
    const int32_t* type = bond.type;
    const double* length = bond.length;
    int32_t* higher = scratch.higher.data();
    double* value = scratch.value.data();
    double* slope = scratch.slope.data();
    const double* density_slope = scratch.density_slope.data();
    ForceFieldState& ff = engine.ff;
    double* fx = ff.fx.data();
    double* fy = ff.fy.data();
    double* fz = ff.fz.data();
    double* pe = engine.atoms.pe.data();
    double fxi = fx[i], fyi = fy[i], fzi = fz[i], pei = pe[i];
    // The force g along bond b's unit vector to atom i, its opposite to neighbour j.
    const auto add_bond_force = [&](int32_t b, int32_t j, double g) {
        const double gx = g * bond.ux[b], gy = g * bond.uy[b], gz = g * bond.uz[b];
        fxi += gx;
        fyi += gy;
        fzi += gz;
        fx[j] -= gx;
        fy[j] -= gy;
        fz[j] -= gz;
    };

    // The density, summed in bond order; d(phi)/dr of every bond is kept for the forces.
    density_terms(type + first, length + first, last - first, scratch.density.data(),
                  scratch.density_slope.data());
    double rho = 0.0;
    for (int32_t k = 0; k < last - first; ++k)
        rho += scratch.density[static_cast<std::size_t>(k)];

    // Pair terms, of the bonds to higher-index neighbours, gathered first without a branch on
    // the index order (which the cell order leaves unpredictable).
    int32_t count = 0;
    for (int32_t b = first; b < last; ++b) {
        higher[count] = b;
        count += neb[b] > i ? 1 : 0;
    }
    for (int32_t k = 0; k < count; ++k) {
        scratch.type[static_cast<std::size_t>(k)] = type[higher[k]];
        scratch.length[static_cast<std::size_t>(k)] = length[higher[k]];
    }
    pair_terms(scratch.type.data(), scratch.length.data(), count, value, slope);
    for (int32_t k = 0; k < count; ++k) {
        const int32_t b = higher[k];
        const int32_t j = neb[b];
        const double half = 0.5 * value[k];
        pei += half;
        pe[j] += half;
        add_bond_force(b, j, -slope[k]);
    }

    // A negative density (possible where a density has negative terms and a neighbour comes very
    // close) embeds like an empty site: no energy, no force. Not a number stays as it is.
    if (rho < 0.0)
        rho = 0.0;
    const double s = std::sqrt(rho);
    pei += embedding.root * s;
    double c = s > guard ? 0.5 * embedding.root / s : 0.0;  // dF/drho
    if (embedding.a1 != 0.0 || embedding.a2 != 0.0 || embedding.a4 != 0.0) {
        const double a1 = embedding.a1, a2 = embedding.a2, a4 = embedding.a4, rho2 = rho * rho;
        pei += rho * (a1 + rho * (a2 + a4 * rho2));
        c += a1 + rho * (2.0 * a2 + 4.0 * a4 * rho2);
    }
    if (c == 0.0) {
        // The embedding force dropped: zeros again, but a bond between coincident atoms (unit
        // vector not a number) still makes the forces not a number, as the refusal of such
        // calls expects.
        for (int32_t b = first; b < last; ++b)
            add_bond_force(b, neb[b], density_slope[b - first] * 0.0);
    } else {
        // The bonds whose density has a slope, in bond order, found without a branch on the
        // length.
        int32_t* sloped = scratch.sloped.data();
        int32_t count_sloped = 0;
        for (int32_t k = 0; k < last - first; ++k) {
            sloped[count_sloped] = k;
            count_sloped += density_slope[k] != 0.0 ? 1 : 0;
        }
        for (int32_t n = 0; n < count_sloped; ++n) {
            const int32_t b = first + sloped[n];
            add_bond_force(b, neb[b], density_slope[sloped[n]] * c);
        }
    }
    fx[i] = fxi;
    fy[i] = fyi;
    fz[i] = fzi;
    pe[i] = pei;
}

}  // namespace pelix
