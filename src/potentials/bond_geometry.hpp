#pragma once
// The bond-list build of one atom: separations from the neighbour list, and bond lengths and
// unit vectors from them.
#include <cstdint>
#include <limits>

#include "atoms/force_field_state.hpp"

namespace pelix {

// Entries of a bond build's pair-type table that are not pair types: a species pair not yet
// asked of the family, and one that "potfor.IN" gives to another potential.
inline constexpr int32_t kPairTypeUnknown = std::numeric_limits<int32_t>::min();
inline constexpr int32_t kPairTypeNotBonded = kPairTypeUnknown + 1;

// The arrays that the bond-list build of one atom reads and writes, as plain pointers: the
// compiler cannot tell that the stores into the bond list leave the vectors' own pointers
// alone, and would load them again for every entry.
struct BondBuild {
    const int32_t* specie;
    const double* rx;
    const double* ry;
    const double* rz;
    const double* offset;     // image offsets, x, y, z and a blank per image (see ImageOffsets)
    const int32_t* type_i;    // pair type of atom i's species with each species
    const double* cutoff2_i;  // squared cut-off of atom i's species with each species
    double xi, yi, zi;
    int32_t* neb;
    int32_t* bndtyp;
    double* bndlen;
    double* bndxnm;
    double* bndynm;
    double* bndznm;

    // Writes entry (j, image) into slot `written` and returns the next free slot: the same when
    // the pair is beyond the cut-off of its type. Every pair is written, which spares a branch
    // that the distances would make hard to predict.
    int32_t write(int32_t written, int32_t j, int32_t image, int32_t t, int32_t sj) const {
        const double* shift = offset + 4 * image;
        const double dx = rx[j] - shift[0] - xi;
        const double dy = ry[j] - shift[1] - yi;
        const double dz = rz[j] - shift[2] - zi;
        const double r2 = dx * dx + dy * dy + dz * dz;
        neb[written] = j;
        bndlen[written] = r2;
        bndxnm[written] = dx;
        bndynm[written] = dy;
        bndznm[written] = dz;
        bndtyp[written] = t;
        return written + (r2 < cutoff2_i[sj] ? 1 : 0);
    }
};

// A build of the bonds of the atom at (xi, yi, zi) into the arrays of `bonds`.
inline BondBuild build_into(BondList& bonds, const int32_t* specie, const double* rx,
                            const double* ry, const double* rz, const double* offset,
                            const int32_t* type_i, const double* cutoff2_i, double xi, double yi,
                            double zi) {
    return {specie,
            rx,
            ry,
            rz,
            offset,
            type_i,
            cutoff2_i,
            xi,
            yi,
            zi,
            bonds.neb.data(),
            bonds.bndtyp.data(),
            bonds.bndlen.data(),
            bonds.bndxnm.data(),
            bonds.bndynm.data(),
            bonds.bndznm.data()};
}

// Entry (j, image) as the next bond, when the pair is known and belongs to the family; returns
// the next free slot, and sets `unknown` for a pair not yet asked of the family.
inline int32_t write_entry(const BondBuild& build, int32_t j, int32_t image, int32_t written,
                           bool& unknown) {
    const int32_t sj = build.specie[j];
    const int32_t t = build.type_i[sj];
    if (t < 0) [[unlikely]] {
        unknown = unknown || t == kPairTypeUnknown;
        return written;  // a pair of another potential
    }
    return build.write(written, j, image, t, sj);
}

// The bonds among `count` entries (neighbour, image) of atom i, with every pair of species
// already known to the pair-type table, written from the first slot on (separations, not yet
// normalised); -1 when an entry gives a pair not yet asked of the family (kPairTypeUnknown).
// Inline, so that a short build of a few bonds keeps its context.
inline int32_t write_known_bonds(const BondBuild& shared, const int32_t* neighbour,
                                 const int32_t* image, int32_t count) {
    const BondBuild build = shared;  // a copy of its own, which no store can reach
    int32_t written = 0;
    bool unknown = false;
    for (int32_t k = 0; k < count; ++k)
        written = write_entry(build, neighbour[k], image[k], written, unknown);
    return unknown ? -1 : written;
}

// The same, with their lengths and unit vectors (as normalise_bonds gives them). With AVX, each
// four bonds are normalised as soon as they are written, so that the divisions overlap the
// build of the next ones: the better for an atom with many bonds.
int32_t write_normalised_known_bonds(const BondBuild& build, const int32_t* neighbour,
                                     const int32_t* image, int32_t count);

// Turns the first `count` bonds, which hold the separation (dx, dy, dz) in bndxnm, bndynm,
// bndznm and its square in bndlen, into the bond length and the unit vector from the atom to
// its neighbour. Taken four or two at a time where the processor allows, with the same bits.
void normalise_bonds(BondList& bonds, int32_t count);

}  // namespace pelix
