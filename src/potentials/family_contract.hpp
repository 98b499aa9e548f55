#pragma once
// The evaluation common to every potential family with a bond list, written once and
// parameterised by the family type:
//
//   struct SomeFamily {
//       static constexpr std::string_view overflow_message;  // bond-list overflow stop
//       static constexpr double bond_capacity;     // B: bonds per selected atom
//       static constexpr double safety_factor;     // F
//       static constexpr bool counts_all_atoms;    // capacity from all local atoms
//       static constexpr bool stores_type;         // fill bndtyp
//       static constexpr bool stores_smoothing;    // fill cutfcn and cutdrv
//       int32_t idnum() const;                     // its potential number (1..num_pots)
//       bool selects(int32_t z) const;             // element set, by atomic number
//       int32_t mapij(int32_t za, int32_t zb) const;  // pair type; fatal when unsupported
//       double conrh2(int32_t t) const;            // squared cut-off of pair type t
//       void smoothing(int32_t t, double r, double& f, double& df) const;
//       void interact(Engine& engine, int32_t m, int32_t i);  // bonds of selected atom m
//   };
//
// The family's calls are resolved at compile time, so the pair loops carry no indirect call.
// Include this header from the family's .cpp only: it pulls in the whole Engine.
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"

namespace pelix {

template <class Family>
concept PotentialFamily = requires(Family& family, const Family& cfamily, Engine& engine, int32_t k,
                                   double r, double& f) {
    { Family::overflow_message } -> std::convertible_to<std::string_view>;
    { Family::bond_capacity } -> std::convertible_to<double>;
    { Family::safety_factor } -> std::convertible_to<double>;
    { Family::counts_all_atoms } -> std::convertible_to<bool>;
    { Family::stores_type } -> std::convertible_to<bool>;
    { Family::stores_smoothing } -> std::convertible_to<bool>;
    { cfamily.idnum() } -> std::convertible_to<int32_t>;
    { cfamily.selects(k) } -> std::convertible_to<bool>;
    { cfamily.mapij(k, k) } -> std::convertible_to<int32_t>;
    { cfamily.conrh2(k) } -> std::convertible_to<double>;
    cfamily.smoothing(k, r, f, f);
    family.interact(engine, k, k);
};

// Capacity of the bond list for n atoms: the integer part of n x B x F, kept within the range
// of the bond counter.
inline int32_t bond_list_capacity(int64_t n, double capacity, double safety) {
    const double size = static_cast<double>(n) * capacity * safety;
    constexpr auto kLargest = std::numeric_limits<int32_t>::max();
    if (size >= static_cast<double>(kLargest))
        return kLargest;
    return static_cast<int32_t>(size);
}

// Appends to the bond list every neighbour of atom i that "potfor.IN" gives to the family and
// that lies strictly within the cut-off of its pair type. The capacity is checked before each
// append: a bond that would take slot intersize + 1 stops with the family's message.
template <PotentialFamily Family>
void build_family_bonds(Engine& engine, const Family& family, int32_t i) {
    ForceFieldState& ff = engine.ff;
    BondList& bonds = ff.bonds;
    const std::vector<int32_t>& anum = engine.atoms.anum;
    const int32_t idnum = family.idnum();
    const int32_t si = ff.specie[i];
    const int32_t zi = anum[si];
    const double xi = ff.rx[i], yi = ff.ry[i], zpos = ff.rz[i];

    for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k) {
        const int32_t j = ff.nebour[k];
        const int32_t sj = ff.specie[j];
        if (ff.potnum(si, sj) != idnum)
            continue;
        const int32_t image = ff.pbctyp[k];
        const double dx = ff.rx[j] - ff.xoffset(image) - xi;
        const double dy = ff.ry[j] - ff.yoffset(image) - yi;
        const double dz = ff.rz[j] - ff.zoffset(image) - zpos;
        const double r2 = dx * dx + dy * dy + dz * dz;
        const int32_t t = family.mapij(zi, anum[sj]);
        if (!(r2 < family.conrh2(t)))
            continue;

        if (bonds.nebtot >= bonds.intersize)
            nrerror(std::string(Family::overflow_message));
        const double r = std::sqrt(r2);
        bonds.neb.push_back(j);
        bonds.bndlen.push_back(r);
        bonds.bndxnm.push_back(dx / r);
        bonds.bndynm.push_back(dy / r);
        bonds.bndznm.push_back(dz / r);
        if constexpr (Family::stores_type)
            bonds.bndtyp.push_back(t);
        if constexpr (Family::stores_smoothing) {
            double f = 0.0, df = 0.0;
            family.smoothing(t, r, f, df);
            bonds.cutfcn.push_back(f);
            bonds.cutdrv.push_back(df);
        }
        ++bonds.nebtot;
    }
}

// One evaluation of a family: selects the local atoms of its elements, builds their bonds,
// lets the family interact atom by atom and releases the bond list. Forces and energies are
// added to ff.fx/fy/fz and atoms.pe by the family's interaction.
template <PotentialFamily Family>
void evaluate_family(Engine& engine, Family& family) {
    ForceFieldState& ff = engine.ff;
    BondList& bonds = ff.bonds;
    bonds.clear_bonds();

    const int32_t nlocal = engine.sd.myltpnebs;
    std::vector<int32_t> selected;
    for (int32_t i = 0; i < nlocal; ++i) {
        if (family.selects(engine.atoms.anum[ff.specie[i]]))
            selected.push_back(i);
    }
    const auto n = static_cast<int32_t>(selected.size());
    if (n == 0)
        return;

    bonds.intersize = bond_list_capacity(Family::counts_all_atoms ? nlocal : n,
                                         Family::bond_capacity, Family::safety_factor);
    bonds.lstindx.assign(static_cast<std::size_t>(nlocal), -1);
    bonds.datum.assign(static_cast<std::size_t>(n) + 1, 0);

    for (int32_t m = 0; m < n; ++m) {
        const int32_t i = selected[m];
        bonds.lstindx[i] = m;
        bonds.datum[m] = bonds.nebtot;
        build_family_bonds(engine, family, i);
    }
    bonds.datum[n] = bonds.nebtot;

    for (int32_t m = 0; m < n; ++m)
        family.interact(engine, m, selected[m]);

    bonds.release();
}

// Books one pair term of a pair family: half of the energy V to each atom, and the force
// dV/dr along the unit vector (ux, uy, uz) from i to j on atom i, its opposite on atom j.
inline void add_pair_terms(Engine& engine, int32_t i, int32_t j, double v, double dvdr, double ux,
                           double uy, double uz) {
    std::vector<double>& pe = engine.atoms.pe;
    ForceFieldState& ff = engine.ff;
    const double half = 0.5 * v;
    pe[i] += half;
    pe[j] += half;
    ff.add_pair_force(i, j, dvdr, ux, uy, uz);
}

}  // namespace pelix
