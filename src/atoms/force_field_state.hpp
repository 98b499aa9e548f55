#pragma once
// The shared force-field state (component `common_variables_for_potfor`): flat per-atom
// copies of the staged records for the force loops, the force accumulators, the potential
// number of every species pair, the neighbour list, the shared bond list of the potential
// families and the periodic image offsets. All indices are 0-based (see atom_store.hpp).
#include <array>
#include <cstdint>
#include <vector>

#include "atoms/atom_store.hpp"
#include "common/memory.hpp"

namespace pelix {

// Square species-pair table, numel x numel, row-major.
template <class T>
struct SpeciesMatrix {
    int32_t n = 0;
    std::vector<T> data;
    void assign(int32_t size, const T& value) {
        n = size < 0 ? 0 : size;
        data.assign(static_cast<std::size_t>(n) * static_cast<std::size_t>(n), value);
    }
    T& operator()(int32_t a, int32_t b) { return data[static_cast<std::size_t>(a) * n + b]; }
    const T& operator()(int32_t a, int32_t b) const {
        return data[static_cast<std::size_t>(a) * n + b];
    }
    bool allocated() const { return n > 0; }
    void release() {
        n = 0;
        release_memory(data);
    }
};

// The per-family bond list. The family evaluation fills it one atom at a time: the bonds of
// the m-th selected atom occupy slots datum[m] .. datum[m+1]-1 while that atom interacts, and
// the next atom reuses the slots. `nebtot` counts the bonds of the whole evaluation against
// the capacity `intersize`, a limit checked before every bond, not an allocation.
struct BondList {
    int32_t intersize = 0;
    int32_t nebtot = 0;  // bonds written so far in this evaluation
    std::vector<int32_t> neb;
    std::vector<double> bndlen, bndxnm, bndynm, bndznm;
    std::vector<int32_t> bndtyp;
    std::vector<double> cutfcn, cutdrv;
    std::vector<int32_t> datum;    // n+1 entries
    std::vector<int32_t> lstindx;  // per atom: position in the family's atom list
    void clear_bonds() {
        nebtot = 0;
        neb.clear();
        bndlen.clear();
        bndxnm.clear();
        bndynm.clear();
        bndznm.clear();
        bndtyp.clear();
        cutfcn.clear();
        cutdrv.clear();
    }
    // Makes every bond array hold at least `count` slots.
    void make_room(int32_t count) {
        const auto size = static_cast<std::size_t>(count > 0 ? count : 0);
        if (neb.size() >= size)
            return;
        neb.resize(size);
        bndlen.resize(size);
        bndxnm.resize(size);
        bndynm.resize(size);
        bndznm.resize(size);
        bndtyp.resize(size);
        cutfcn.resize(size);
        cutdrv.resize(size);
    }
    void release() { *this = BondList{}; }
};

// The force g along the unit vector (ux, uy, uz) added to atom i of the force arrays fx, fy, fz
// and its opposite to atom j.
inline void add_pair_force(double* fx, double* fy, double* fz, int32_t i, int32_t j, double g,
                           double ux, double uy, double uz) {
    const double gx = g * ux, gy = g * uy, gz = g * uz;
    fx[i] += gx;
    fy[i] += gy;
    fz[i] += gz;
    fx[j] -= gx;
    fy[j] -= gy;
    fz[j] -= gz;
}

// Number of image offset entries: indices -13..13 are stored at 13+n.
inline constexpr int kImageOffsetCentre = 13;

struct ForceFieldState {
    // Copies made by duplication_of_atom_vars.
    std::vector<int32_t> idnum;
    std::vector<double> rx, ry, rz;
    std::vector<double> charg;
    std::vector<int32_t> specie;
    std::vector<int32_t> latyp;
    bool copies_allocated = false;

    // Force accumulators, one per staged atom.
    std::vector<double> fx, fy, fz;

    // Adds the force g along the unit vector (ux, uy, uz) to atom i and its opposite to atom j:
    // the pair force bookkeeping shared by every pair, embedding and Coulomb term.
    void add_pair_force(int32_t i, int32_t j, double g, double ux, double uy, double uz) {
        pelix::add_pair_force(fx.data(), fy.data(), fz.data(), i, j, g, ux, uy, uz);
    }

    // Potential number (1..num_pots) acting between two species.
    SpeciesMatrix<int32_t> potnum;

    // Neighbour list: the neighbours of atom i are entries nebpnt[i] .. nebpnt[i+1]-1 of
    // nebour and pbctyp (image code -13..13).
    std::vector<int32_t> nebpnt;
    ListArray<int32_t> nebour;
    ListArray<int32_t> pbctyp;
    // Memory of the last call's nebour and pbctyp, empty, for the next call to fill (see
    // retire_to_spare).
    ListArray<int32_t> spare_nebour, spare_pbctyp;
    int32_t pbcflag = 1;  // 1 selects the folding cell list

    BondList bonds;

    // Box of the multipole tree.
    double v1x = 0, v1y = 0, v1z = 0, v2x = 0, v2y = 0, v2z = 0, v3x = 0, v3y = 0, v3z = 0;
    double ctrx = 0, ctry = 0, ctrz = 0;
    double xmina = 0, xmaxa = 0, ymina = 0, ymaxa = 0, zmina = 0, zmaxa = 0;
    std::array<double, 3> dpmtaboxcntr{}, dpmtaboxside{}, dpmtahalfbox{}, dpmtamax{}, dpmtamin{};
    bool dpmtaresizeflag = false;
    std::vector<double> dpmtagathermax, dpmtagathermin;

    // Periodic image offsets, entry n (-13..13) stored at kImageOffsetCentre + n.
    std::array<double, 27> xofset{}, yofset{}, zofset{};
    double xoffset(int32_t n) const { return xofset[kImageOffsetCentre + n]; }
    double yoffset(int32_t n) const { return yofset[kImageOffsetCentre + n]; }
    double zoffset(int32_t n) const { return zofset[kImageOffsetCentre + n]; }
};

// Makes idnum, rx, ry, rz, charg, specie, latyp hold the fields of the first n records.
void duplication_of_atom_vars(ForceFieldState& ff, int32_t n,
                              const std::vector<AtomRecord>& records);

// Frees every per-call array of the shared state (does nothing for what is not allocated).
void potfor_comvar_finalise(ForceFieldState& ff);

}  // namespace pelix
