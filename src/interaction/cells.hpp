#pragma once
// Periodic images and cell lists: the single process's region, the cell grid, the image
// offset table and the binning of atoms into linked cells.
#include <cstdint>
#include <string>
#include <vector>

namespace pelix {

struct Engine;

struct CellGrid {
    double neb_lx = 0, neb_ly = 0, neb_lz = 0;
    double neb_westlim = 0, neb_eastlim = 0;
    double neb_downlim = 0, neb_uplim = 0;
    double neb_southlim = 0, neb_northlim = 0;
    int32_t neb_pbcx = 0, neb_pbcy = 0, neb_pbcz = 0;
    int32_t mx = 1, my = 1, mz = 1;
    int64_t mxyz = 1;
    double wx = 0, wy = 0, wz = 0;
    double lxmwx = 0, lymwy = 0, lzmwz = 0;
    // The atoms sorted into cells, held as chains. Only occupied cells have a chain, so the
    // storage follows the atoms however fine the grid is: celhead[k] is the first atom
    // (0-based) of the k-th occupied cell in increasing cell number, and celatm[i] the next
    // atom in atom i's cell, -1 at the end of the chain. A chain lists its atoms in decreasing
    // index order. The cell of a chain is the cell of any of its atoms (cell_of_atom).
    std::vector<int32_t> celhead;
    std::vector<int32_t> celatm;
};

// Region of the single process: the whole box, with y from -100 A in an "INDEN" run.
void define_myprocess_boundaries(Engine& engine);
// Cell counts and edges along each axis for the interaction range rc. Stops when the cells
// are more than a 64-bit cell number can count.
void size_cell_grid(CellGrid& grid, double range);
// Fills the image offset table from the periodic flags and box lengths of the grid.
void setup_pbc_offsets(Engine& engine);
// Clears the cells, bins the atoms with the variant that fits, builds the neighbour list.
void build_nebour_list(Engine& engine);
// Bins the local atoms, folding coordinates into the box along periodic axes.
void cell_list(Engine& engine);
// Bins the local atoms without folding.
void nopbc_cell_list(Engine& engine);
// 0-based number ((ix * my) + iy) * mz + iz of the cell that holds atom i, from its position
// as the binning left it.
int64_t cell_of_atom(const Engine& engine, int32_t i);

// Spatial-decomposition operations of the single-process system.
inline int32_t sumall_i(int32_t v) {
    return v;
}
inline double sumall_r(double v) {
    return v;
}
inline int32_t send_to_all_i(int32_t v) {
    return v;
}
inline double send_to_all_r(double v) {
    return v;
}
inline double pickup_one_r() {
    return 0.0;
}
// Ends the process (exit status 10) when `count` differs from the store's total `lt`.
void checking_total_number_of_atoms(const std::string& tag, int32_t count, int32_t lt);

}  // namespace pelix
