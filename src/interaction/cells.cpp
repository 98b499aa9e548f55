#include "interaction/cells.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"
#include "engine/engine.hpp"

namespace pelix {

namespace {

// Number of cells along one axis: the region cut into slices at least `range` wide, and at
// least one slice. Worked out in double precision so that no value is lost to an integer
// conversion before the limits are checked.
int32_t cells_along(double region, double range, const char* axis) {
    const double slices = std::trunc(region / range);
    if (!(slices >= 1.0))
        return 1;
    if (slices > static_cast<double>(std::numeric_limits<int32_t>::max())) {
        fatal_stop({std::string(" SIZE_CELL_GRID: ") + axis + " region " +
                    format_list_double(region) + " A cut into cells of " +
                    format_list_double(range) + " A gives more cells than can be numbered"});
    }
    return static_cast<int32_t>(slices);
}

// Limits of one axis of the grid as the binning sees them.
struct AxisBins {
    double lower;
    double upper;
    double width;
    int32_t cells;
};

// Folds a coordinate on a periodic axis into [0, length).
inline double fold_into_box(double c, double length) {
    if (c < 0.0)
        c += std::trunc(1.0 - c / length) * length;
    if (c >= length)
        c -= std::trunc(c / length) * length;
    return c;
}

// Cell coordinate from the slice the coordinate falls in, kept inside 0..cells-1. The clamp is
// done in double precision so that a coordinate far outside (or not a number) is safe.
inline int32_t clamped_slice(double c, const AxisBins& axis) {
    double slice = std::trunc((c - axis.lower) / axis.width);
    if (!(slice >= 0.0))
        slice = 0.0;
    if (slice >= static_cast<double>(axis.cells))
        slice = static_cast<double>(axis.cells - 1);
    return static_cast<int32_t>(slice);
}

// Cell coordinate along a non-periodic axis: atoms below the region go to the first cell and
// atoms at or beyond the last cell's lower edge to the last one.
inline int32_t open_axis_slice(double c, const AxisBins& axis) {
    if (c - axis.lower < axis.width)
        return 0;
    if (c >= axis.upper - axis.width)
        return axis.cells - 1;
    return clamped_slice(c, axis);
}

// Cell coordinate along an axis; when `Fold` is set a periodic coordinate is first folded
// into the box and written back.
template <bool Fold, bool Periodic>
inline int32_t bin_along(double& c, const AxisBins& axis, double length) {
    if constexpr (Periodic) {
        if constexpr (Fold)
            c = fold_into_box(c, length);
        return clamped_slice(c, axis);
    } else {
        return open_axis_slice(c, axis);
    }
}

// Puts atoms 0..mylt-1 at the head of their cells' chains, in increasing index order.
template <bool Fold, bool PX, bool PY, bool PZ>
void bin_atoms(Engine& engine) {
    CellGrid& grid = engine.cells;
    ForceFieldState& ff = engine.ff;
    const int32_t mylt = engine.atoms.mylt;
    if (grid.celatm.size() < static_cast<std::size_t>(mylt))
        grid.celatm.resize(static_cast<std::size_t>(mylt), -1);

    const AxisBins xaxis{grid.neb_westlim, grid.neb_eastlim, grid.wx, grid.mx};
    const AxisBins yaxis{grid.neb_downlim, grid.neb_uplim, grid.wy, grid.my};
    const AxisBins zaxis{grid.neb_southlim, grid.neb_northlim, grid.wz, grid.mz};
    const double lx = grid.neb_lx, ly = grid.neb_ly, lz = grid.neb_lz;
    const int64_t my = grid.my, mz = grid.mz;
    double* rx = ff.rx.data();
    double* ry = ff.ry.data();
    double* rz = ff.rz.data();
    int32_t* celhead = grid.celhead.data();
    int32_t* celatm = grid.celatm.data();

    for (int32_t i = 0; i < mylt; ++i) {
        const int64_t ix = bin_along<Fold, PX>(rx[i], xaxis, lx);
        const int64_t iy = bin_along<Fold, PY>(ry[i], yaxis, ly);
        const int64_t iz = bin_along<Fold, PZ>(rz[i], zaxis, lz);
        const int64_t cell = (ix * my + iy) * mz + iz;
        celatm[i] = celhead[cell];
        celhead[cell] = i;
    }
}

// Chooses the specialised binning loop for the run's periodic flags, once per call.
template <bool Fold>
void bin_atoms_for_flags(Engine& engine) {
    const bool px = engine.config.pbcx == 1;
    const bool py = engine.config.pbcy == 1;
    const bool pz = engine.config.pbcz == 1;
    const int choice = (px ? 4 : 0) + (py ? 2 : 0) + (pz ? 1 : 0);
    switch (choice) {
        case 0:
            bin_atoms<Fold, false, false, false>(engine);
            break;
        case 1:
            bin_atoms<Fold, false, false, true>(engine);
            break;
        case 2:
            bin_atoms<Fold, false, true, false>(engine);
            break;
        case 3:
            bin_atoms<Fold, false, true, true>(engine);
            break;
        case 4:
            bin_atoms<Fold, true, false, false>(engine);
            break;
        case 5:
            bin_atoms<Fold, true, false, true>(engine);
            break;
        case 6:
            bin_atoms<Fold, true, true, false>(engine);
            break;
        default:
            bin_atoms<Fold, true, true, true>(engine);
            break;
    }
}

}  // namespace

void define_myprocess_boundaries(Engine& engine) {
    SpatialDecomposition& sd = engine.sd;
    const AtomStore& atoms = engine.atoms;
    sd.myltpnebs = atoms.mylt;
    sd.westlim = 0.0;
    sd.eastlim = atoms.lx;
    sd.southlim = 0.0;
    sd.northlim = atoms.lz;
    sd.uplim = atoms.ly;
    // An indentation run keeps the region open 100 A below the surface, where the indenter
    // pushes atoms.
    sd.downlim = sd.sd_simutype == "INDEN" ? -100.0 : 0.0;
}

void size_cell_grid(CellGrid& grid, double range) {
    const double xregion = grid.neb_eastlim - grid.neb_westlim;
    const double yregion = grid.neb_uplim - grid.neb_downlim;
    const double zregion = grid.neb_northlim - grid.neb_southlim;
    grid.mx = cells_along(xregion, range, "x");
    grid.my = cells_along(yregion, range, "y");
    grid.mz = cells_along(zregion, range, "z");
    grid.wx = xregion / grid.mx;
    grid.wy = yregion / grid.my;
    grid.wz = zregion / grid.mz;
    grid.lxmwx = grid.neb_lx - grid.wx;
    grid.lymwy = grid.neb_ly - grid.wy;
    grid.lzmwz = grid.neb_lz - grid.wz;
    grid.mxyz = static_cast<int64_t>(grid.mx) * grid.my * grid.mz;
    if (grid.mxyz > std::numeric_limits<int32_t>::max()) {
        fatal_stop({" SIZE_CELL_GRID: " + std::to_string(grid.mx) + " x " +
                    std::to_string(grid.my) + " x " + std::to_string(grid.mz) +
                    " cells are more than can be numbered; the interaction range " +
                    format_list_double(range) + " A is too short for the region"});
    }
    grid.celhead.assign(static_cast<std::size_t>(grid.mxyz), -1);
}

void setup_pbc_offsets(Engine& engine) {
    const CellGrid& grid = engine.cells;
    ForceFieldState& ff = engine.ff;
    ff.xofset.fill(0.0);
    ff.yofset.fill(0.0);
    ff.zofset.fill(0.0);

    // Periodic axes in x, y, z order and their box lengths.
    const bool periodic[3] = {grid.neb_pbcx == 1, grid.neb_pbcy == 1, grid.neb_pbcz == 1};
    const double length[3] = {grid.neb_lx, grid.neb_ly, grid.neb_lz};
    std::array<double, 27>* table[3] = {&ff.xofset, &ff.yofset, &ff.zofset};
    int axes[3] = {0, 0, 0};
    int p = 0;
    for (int a = 0; a < 3; ++a) {
        if (periodic[a])
            axes[p++] = a;
    }

    // Entry n holds the shift of one of the 3^p combinations of -1, 0, +1 box lengths.
    const int m = p == 0 ? 0 : p == 1 ? 1 : p == 2 ? 4 : 13;
    for (int n = -m; n <= m; ++n) {
        const int t = n + m;
        int shift[3] = {0, 0, 0};
        if (p == 1) {
            shift[axes[0]] = n;
        } else if (p == 2) {
            shift[axes[0]] = t / 3 - 1;
            shift[axes[1]] = t % 3 - 1;
        } else if (p == 3) {
            shift[0] = t / 9 - 1;
            shift[1] = t % 3 - 1;
            shift[2] = (t / 3) % 3 - 1;
        }
        for (int a = 0; a < 3; ++a)
            (*table[a])[static_cast<std::size_t>(kImageOffsetCentre + n)] = shift[a] * length[a];
    }
}

void build_nebour_list(Engine& engine) {
    std::fill(engine.cells.celhead.begin(), engine.cells.celhead.end(), -1);
    if (engine.registry.pot_numprocs != 1) {
        fatal_stop(
            {" BUILD_NEBOUR_LIST: POT_NUMPROCS = " + std::to_string(engine.registry.pot_numprocs) +
             ": only a single process is supported"});
    }
    if (engine.ff.pbcflag == 1)
        cell_list(engine);
    else
        nopbc_cell_list(engine);
    nebour_list(engine);
}

void cell_list(Engine& engine) {
    bin_atoms_for_flags<true>(engine);
}

void nopbc_cell_list(Engine& engine) {
    bin_atoms_for_flags<false>(engine);
}

void checking_total_number_of_atoms(const std::string& tag, int32_t count, int32_t lt) {
    if (count == lt)
        return;
    ListLine line;
    line << tag + ": IT SEEMS THAT SOME ATOMS HAS BEEN LOST: " << count << lt;
    write_stderr_line(line.str());
    fatal_stop({line.str()}, kExitLostAtoms);
}

}  // namespace pelix
