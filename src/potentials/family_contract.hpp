#pragma once
// The evaluation common to every potential family with a bond list, written once and
// parameterised by the family type:
//
//   struct SomeFamily {
//       static constexpr std::string_view overflow_message;  // bond-list overflow stop
//       static constexpr double bond_capacity;     // B: bonds per selected atom
//       static constexpr double safety_factor;     // F
//       static constexpr bool counts_all_atoms;    // capacity from all local atoms
//       static constexpr bool stores_type;         // reads bndtyp (always filled)
//       static constexpr bool stores_smoothing;    // fill cutfcn and cutdrv
//       int32_t idnum() const;                     // its potential number (1..num_pots)
//       bool selects(int32_t z) const;             // element set, by atomic number
//       int32_t mapij(int32_t za, int32_t zb) const;  // pair type; fatal when unsupported
//       double conrh2(int32_t t) const;            // squared cut-off of pair type t
//       void smoothing(int32_t t, double r, double& f, double& df) const;
//       void interact(Engine& engine, int32_t m, int32_t i);  // bonds of selected atom m
//   };
//
// A family whose interaction reads only the bonds to neighbours of higher index (each pair once,
// from its lower atom) may declare `static constexpr bool reads_higher_neighbours_only = true;`:
// its bond list then holds those bonds alone, in the same order.
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
#include "common/pair_value.hpp"
#include "engine/engine.hpp"
#include "potentials/bond_geometry.hpp"

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

// True when the family reads only the bonds to neighbours of higher index.
template <class Family>
constexpr bool reads_higher_neighbours_only() {
    if constexpr (requires { Family::reads_higher_neighbours_only; })
        return Family::reads_higher_neighbours_only;
    else
        return false;
}

// Capacity of the bond list for n atoms: the integer part of n x B x F, kept within the range
// of the bond counter.
inline int32_t bond_list_capacity(int64_t n, double capacity, double safety) {
    const double size = static_cast<double>(n) * capacity * safety;
    constexpr auto kLargest = std::numeric_limits<int32_t>::max();
    if (size >= static_cast<double>(kLargest))
        return kLargest;
    return static_cast<int32_t>(size);
}

// True when the neighbour-list entry k of atom i (at xi, yi, zpos, atomic number zi, species si)
// is a bond of the family: the pair belongs to the family's potential and lies strictly within
// the cut-off of its pair type. Gives the separation d and its square r2, and the pair type t.
template <PotentialFamily Family>
inline bool family_bond(const Engine& engine, const Family& family, int32_t idnum, int32_t si,
                        int32_t zi, double xi, double yi, double zpos, int32_t k, double& dx,
                        double& dy, double& dz, double& r2, int32_t& t) {
    const ForceFieldState& ff = engine.ff;
    const int32_t j = ff.nebour[k];
    const int32_t sj = ff.specie[j];
    if (ff.potnum(si, sj) != idnum)
        return false;
    const int32_t image = ff.pbctyp[k];
    dx = ff.rx[j] - ff.xoffset(image) - xi;
    dy = ff.ry[j] - ff.yoffset(image) - yi;
    dz = ff.rz[j] - ff.zoffset(image) - zpos;
    r2 = dx * dx + dy * dy + dz * dz;
    t = family.mapij(zi, engine.atoms.anum[sj]);
    return r2 < family.conrh2(t);
}

// The pair type and squared cut-off of every ordered species pair for one family, worked out
// the first time the list gives the pair and kept for the rest of the evaluation: the family is
// asked (and may refuse the pair, which stops the run) exactly where the list first gives it.
// A pair that "potfor.IN" gives to another potential is kNotBonded.
struct FamilyPairTable {
    static constexpr int32_t kUnknown = kPairTypeUnknown;
    static constexpr int32_t kNotBonded = kPairTypeNotBonded;

    int32_t species;
    std::vector<int32_t> type;
    std::vector<double> cutoff2;

    explicit FamilyPairTable(int32_t count)
        : species(count),
          type(static_cast<std::size_t>(count) * static_cast<std::size_t>(count), kUnknown),
          cutoff2(type.size(), 0.0) {}

    // Fills the entry of species a with species b.
    template <class Family>
    void learn(const Engine& engine, const Family& family, int32_t a, int32_t b) {
        const std::size_t slot = static_cast<std::size_t>(a) * species + b;
        if (engine.ff.potnum(a, b) != family.idnum()) {
            type[slot] = kNotBonded;
            return;
        }
        const std::vector<int32_t>& anum = engine.atoms.anum;
        const int32_t t = family.mapij(anum[a], anum[b]);
        cutoff2[slot] = family.conrh2(t);
        type[slot] = t;
    }
};

// The periodic image offsets of the shared state side by side, x, y and z of an image in one
// cache line, so that the bond-list build reaches them through one pointer instead of three.
struct ImageOffsets {
    static constexpr int kImages = 2 * kImageOffsetCentre + 1;
    alignas(32) double xyz[4 * kImages];

    explicit ImageOffsets(const ForceFieldState& ff) {
        for (int n = 0; n < kImages; ++n) {
            xyz[4 * n] = ff.xofset[static_cast<std::size_t>(n)];
            xyz[4 * n + 1] = ff.yofset[static_cast<std::size_t>(n)];
            xyz[4 * n + 2] = ff.zofset[static_cast<std::size_t>(n)];
            xyz[4 * n + 3] = 0.0;
        }
    }
    // Offsets of image code n (-13..13).
    const double* centred() const { return xyz + 4 * kImageOffsetCentre; }
};

// The bonds among the entries as write_known_bonds writes them, asking the family for the type
// of each species pair where the list first gives it (a refused pair stops the run there).
template <PotentialFamily Family>
[[gnu::noinline]] int32_t write_bonds_learning(Engine& engine, const Family& family,
                                               FamilyPairTable& pairs, int32_t si,
                                               const BondBuild& build, const int32_t* neighbour,
                                               const int32_t* image, int32_t count) {
    int32_t written = 0;
    for (int32_t k = 0; k < count; ++k) {
        const int32_t j = neighbour[k];
        const int32_t sj = build.specie[j];
        if (build.type_i[sj] == FamilyPairTable::kUnknown)
            pairs.learn(engine, family, si, sj);
        const int32_t t = build.type_i[sj];
        if (t != FamilyPairTable::kNotBonded)
            written = build.write(written, j, image[k], t, sj);
    }
    return written;
}

// Writes the bonds of atom i into the bond list, from its first slot on, and returns their
// number: every neighbour that "potfor.IN" gives to the family and that lies strictly within
// the cut-off of its pair type (of higher index only, for a family that reads no others). The
// bonds are counted in `nebtot` over the whole evaluation. The evaluation has made sure before
// the first atom that the capacity holds every bond; the count is checked again here all the
// same, so that no bond past the capacity is ever read.
template <PotentialFamily Family>
[[gnu::noinline]] int32_t build_family_bonds(Engine& engine, const Family& family,
                                             FamilyPairTable& pairs, const ImageOffsets& offsets,
                                             int32_t i) {
    ForceFieldState& ff = engine.ff;
    BondList& bonds = ff.bonds;
    const int32_t si = ff.specie[i];
    bonds.make_room(ff.nebpnt[i + 1] - ff.nebpnt[i]);

    // The separations, then the lengths and unit vectors (see write_normalised_known_bonds).
    const std::size_t row = static_cast<std::size_t>(si) * pairs.species;
    const BondBuild build = build_into(bonds, ff.specie.data(), ff.rx.data(), ff.ry.data(),
                                       ff.rz.data(), offsets.centred(), pairs.type.data() + row,
                                       pairs.cutoff2.data() + row, ff.rx[i], ff.ry[i], ff.rz[i]);
    const int32_t first = ff.nebpnt[i];
    const int32_t entries = ff.nebpnt[i + 1] - first;
    const int32_t* neighbour = ff.nebour.data() + first;
    const int32_t* image = ff.pbctyp.data() + first;
    int32_t count = entries;
    // The entries of higher index, copied to the front of the bond list (the image in place of
    // the type); the bonds among them are then each written at or before the slot they are
    // read from.
    const auto gather_higher = [&] {
        const int32_t* nebour = ff.nebour.data() + first;
        const int32_t* pbctyp = ff.pbctyp.data() + first;
        int32_t higher = 0;
        for (int32_t k = 0; k < entries; ++k) {
            build.neb[higher] = nebour[k];
            build.bndtyp[higher] = pbctyp[k];
            higher += nebour[k] > i ? 1 : 0;
        }
        return higher;
    };
    int32_t written = 0;
    if constexpr (reads_higher_neighbours_only<Family>()) {
        // A few bonds per atom: built and normalised in two short passes.
        count = gather_higher();
        neighbour = build.neb;
        image = build.bndtyp;
        written = write_known_bonds(build, neighbour, image, count);
        if (written >= 0)
            normalise_bonds(bonds, written);
    } else {
        // Many bonds per atom, whose normalisation gains from overlapping the build.
        written = write_normalised_known_bonds(build, neighbour, image, count);
    }
    if (written < 0) {
        // A pair not yet asked of the family: the atom's bonds are written again from the
        // start, asking where the list first gives the pair.
        if constexpr (reads_higher_neighbours_only<Family>())
            count = gather_higher();
        written = write_bonds_learning(engine, family, pairs, si, build, neighbour, image, count);
        normalise_bonds(bonds, written);
    }
    bonds.nebtot += written;
    if (bonds.nebtot > bonds.intersize)
        nrerror(std::string(Family::overflow_message));
    if constexpr (Family::stores_smoothing) {
        for (std::size_t b = 0; b < static_cast<std::size_t>(written); ++b) {
            double f = 0.0, df = 0.0;
            family.smoothing(bonds.bndtyp[b], bonds.bndlen[b], f, df);
            bonds.cutfcn[b] = f;
            bonds.cutdrv[b] = df;
        }
    }
    return written;
}

// Counts the bonds of the selected atoms in order, stopping with the family's message at the
// first bond that would pass the capacity, exactly where writing them would stop.
template <PotentialFamily Family>
void check_bond_capacity(const Engine& engine, const Family& family,
                         const std::vector<int32_t>& selected, int32_t intersize) {
    const ForceFieldState& ff = engine.ff;
    const int32_t idnum = family.idnum();
    int32_t nebtot = 0;
    for (const int32_t i : selected) {
        const int32_t si = ff.specie[i];
        const int32_t zi = engine.atoms.anum[si];
        for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k) {
            double dx, dy, dz, r2;
            int32_t t;
            if (!family_bond(engine, family, idnum, si, zi, ff.rx[i], ff.ry[i], ff.rz[i], k, dx, dy,
                             dz, r2, t))
                continue;
            if (nebtot >= intersize)
                nrerror(std::string(Family::overflow_message));
            ++nebtot;
        }
    }
}

// One evaluation of a family: selects the local atoms of its elements, then, atom by atom,
// builds the atom's bonds and lets the family interact. Forces and energies are added to
// ff.fx/fy/fz and atoms.pe by the family's interaction.
//
// The bond list holds the bonds of one atom at a time: while the m-th selected atom interacts,
// its bonds are slots datum[m] .. datum[m+1]-1 of the list, and the slots are reused by the
// next atom. An interaction reads only its own atom's bonds, so the results are those of a list
// of all bonds, in a few kilobytes that stay in cache instead of tens of bytes per bond. The
// capacity n x B x F still applies to the whole evaluation, and an overflow still stops before
// any atom interacts: when the neighbour lists of the selected atoms hold more entries than
// the capacity, the bonds are counted first.
template <PotentialFamily Family>
void evaluate_family(Engine& engine, Family& family) {
    ForceFieldState& ff = engine.ff;
    BondList& bonds = ff.bonds;
    bonds.clear_bonds();

    const int32_t nlocal = engine.sd.myltpnebs;
    std::vector<int32_t> selected;
    int64_t candidates = 0;
    for (int32_t i = 0; i < nlocal; ++i) {
        if (family.selects(engine.atoms.anum[ff.specie[i]])) {
            selected.push_back(i);
            candidates += ff.nebpnt[i + 1] - ff.nebpnt[i];
        }
    }
    const auto n = static_cast<int32_t>(selected.size());
    if (n == 0)
        return;

    bonds.intersize = bond_list_capacity(Family::counts_all_atoms ? nlocal : n,
                                         Family::bond_capacity, Family::safety_factor);
    if (candidates > bonds.intersize)
        check_bond_capacity(engine, family, selected, bonds.intersize);
    bonds.lstindx.assign(static_cast<std::size_t>(nlocal), -1);
    bonds.datum.assign(static_cast<std::size_t>(n) + 1, 0);
    for (int32_t m = 0; m < n; ++m)
        bonds.lstindx[selected[m]] = m;

    FamilyPairTable pairs(ff.potnum.n);
    const ImageOffsets offsets(ff);
    for (int32_t m = 0; m < n; ++m) {
        const int32_t i = selected[m];
        bonds.datum[m] = 0;
        bonds.datum[m + 1] = build_family_bonds(engine, family, pairs, offsets, i);
        family.interact(engine, m, i);
    }

    bonds.release();
}

// Where pair terms are booked: the force and energy arrays as plain pointers, taken once before
// a loop over bonds (through the vectors, the compiler would load their pointers again after
// every store, not knowing that the stores leave them alone).
struct PairTermSink {
    double* fx;
    double* fy;
    double* fz;
    double* pe;

    explicit PairTermSink(Engine& engine)
        : fx(engine.ff.fx.data()),
          fy(engine.ff.fy.data()),
          fz(engine.ff.fz.data()),
          pe(engine.atoms.pe.data()) {}

    // Half of the energy V to each atom, and the force dV/dr along the unit vector (ux, uy, uz)
    // from i to j on atom i, its opposite on atom j.
    void add(int32_t i, int32_t j, double v, double dvdr, double ux, double uy, double uz) const {
        const double half = 0.5 * v;
        pe[i] += half;
        pe[j] += half;
        add_pair_force(fx, fy, fz, i, j, dvdr, ux, uy, uz);
    }
};

// The arrays of the bond list read by an interaction, as plain pointers (see PairTermSink).
struct BondView {
    const int32_t* neb;
    const int32_t* type;
    const double* length;
    const double* ux;
    const double* uy;
    const double* uz;

    explicit BondView(const BondList& bonds)
        : neb(bonds.neb.data()),
          type(bonds.bndtyp.data()),
          length(bonds.bndlen.data()),
          ux(bonds.bndxnm.data()),
          uy(bonds.bndynm.data()),
          uz(bonds.bndznm.data()) {}
};

// Books one pair term of a pair family (see PairTermSink::add).
inline void add_pair_terms(Engine& engine, int32_t i, int32_t j, double v, double dvdr, double ux,
                           double uy, double uz) {
    PairTermSink(engine).add(i, j, v, dvdr, ux, uy, uz);
}

// Which atom of a pair evaluates it: the one of smaller index, or of smaller global identity
// number (`idnum`); a pair whose two atoms tie is not evaluated.
enum class PairOwner { LowerIndex, LowerIdentity };

// The interaction of every pair family: for each bond of the m-th selected atom i that i owns,
// the pair value {V, F = -dV/dr} that pair_at(type, length, bond slot) gives is booked, half
// of V to each atom, F along the unit vector from i to j pushing j away and i back.
template <PairOwner Owner, class PairAt>
[[gnu::always_inline]] inline void interact_pairs(Engine& engine, int32_t m, int32_t i,
                                                  PairAt&& pair_at) {
    const BondList& bonds = engine.ff.bonds;
    const BondView bond(bonds);
    const PairTermSink sink(engine);
    const int32_t* idnum = engine.ff.idnum.data();
    for (int32_t b = bonds.datum[m], end = bonds.datum[m + 1]; b < end; ++b) {
        const int32_t j = bond.neb[b];
        if constexpr (Owner == PairOwner::LowerIndex) {
            if (!(j > i))
                continue;
        } else {
            if (!(idnum[j] > idnum[i]))
                continue;
        }
        const PairValue pair = pair_at(bond.type[b], bond.length[b], b);
        sink.add(i, j, pair.v, -pair.f, bond.ux[b], bond.uy[b], bond.uz[b]);
    }
}

}  // namespace pelix
