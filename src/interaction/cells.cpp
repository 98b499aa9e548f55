#include "interaction/cells.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"
#include "engine/engine.hpp"
#include "interaction/occupied_cells.hpp"

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

// Limits of the three axes of the grid as the binning sees them.
struct GridBins {
    AxisBins x, y, z;
    double lx, ly, lz;
    int64_t my, mz;

    explicit GridBins(const CellGrid& grid)
        : x{grid.neb_westlim, grid.neb_eastlim, grid.wx, grid.mx},
          y{grid.neb_downlim, grid.neb_uplim, grid.wy, grid.my},
          z{grid.neb_southlim, grid.neb_northlim, grid.wz, grid.mz},
          lx(grid.neb_lx),
          ly(grid.neb_ly),
          lz(grid.neb_lz),
          my(grid.my),
          mz(grid.mz) {}

    // Cell number of a position; with `Fold` the periodic coordinates are folded in place.
    template <bool Fold, bool PX, bool PY, bool PZ>
    int64_t cell_number(double& cx, double& cy, double& cz) const {
        const int64_t ix = bin_along<Fold, PX>(cx, x, lx);
        const int64_t iy = bin_along<Fold, PY>(cy, y, ly);
        const int64_t iz = bin_along<Fold, PZ>(cz, z, lz);
        return (ix * my + iy) * mz + iz;
    }
};

// The cell number of every local atom 0..mylt-1, in increasing atom index.
template <bool Fold, bool PX, bool PY, bool PZ>
void number_cells(Engine& engine, std::vector<int64_t>& cell) {
    const GridBins bins(engine.cells);
    ForceFieldState& ff = engine.ff;
    const int32_t mylt = engine.atoms.mylt;
    double* rx = ff.rx.data();
    double* ry = ff.ry.data();
    double* rz = ff.rz.data();
    cell.resize(static_cast<std::size_t>(mylt));
    int64_t* out = cell.data();
    for (int32_t i = 0; i < mylt; ++i)
        out[i] = bins.cell_number<Fold, PX, PY, PZ>(rx[i], ry[i], rz[i]);
}

// Chains the atoms of each cell, higher index first, and lists the first atom of every occupied
// cell in increasing cell number. The occupied cells are numbered through the occupancy bitmap,
// or on grids too fine for it by sorting the (cell, atom) pairs, so that nothing is stored for
// the empty cells beyond their bits.
void link_cells(CellGrid& grid, const std::vector<int64_t>& cell) {
    const auto atoms = static_cast<int32_t>(cell.size());
    if (grid.celatm.size() < cell.size())
        grid.celatm.resize(cell.size(), -1);
    int32_t* celatm = grid.celatm.data();

    if (cell_lookup_for(grid.mxyz, atoms) != CellLookup::hash) {
        OccupancyBitmap occupancy(grid.mxyz);
        for (int64_t c : cell)
            occupancy.mark(c);
        grid.celhead.assign(static_cast<std::size_t>(occupancy.number_occupied()), -1);
        // Inserting the atoms in increasing index at the heads of their chains.
        int32_t* celhead = grid.celhead.data();
        for (int32_t i = 0; i < atoms; ++i) {
            int32_t& head = celhead[occupancy.find(cell[static_cast<std::size_t>(i)])];
            celatm[i] = head;
            head = i;
        }
        return;
    }

    struct CellAtom {
        int64_t cell;
        int32_t atom;
    };
    std::vector<CellAtom> sorted(cell.size());
    for (int32_t i = 0; i < atoms; ++i)
        sorted[static_cast<std::size_t>(i)] = {cell[static_cast<std::size_t>(i)], i};
    std::sort(sorted.begin(), sorted.end(), [](const CellAtom& a, const CellAtom& b) {
        return a.cell < b.cell || (a.cell == b.cell && a.atom < b.atom);
    });
    grid.celhead.clear();
    for (std::size_t k = 0; k < sorted.size(); ++k) {
        const bool first_of_cell = k == 0 || sorted[k].cell != sorted[k - 1].cell;
        const bool last_of_cell = k + 1 == sorted.size() || sorted[k + 1].cell != sorted[k].cell;
        celatm[sorted[k].atom] = first_of_cell ? -1 : sorted[k - 1].atom;
        if (last_of_cell)
            grid.celhead.push_back(sorted[k].atom);
    }
}

// Bins the atoms: numbers their cells with the specialised loop, then chains them.
template <bool Fold, bool PX, bool PY, bool PZ>
void bin_atoms(Engine& engine) {
    std::vector<int64_t> cell;
    number_cells<Fold, PX, PY, PZ>(engine, cell);
    link_cells(engine.cells, cell);
}

// Calls `visit` with the run's three periodic flags as compile-time constants
// (std::bool_constant), so that the code it runs tests no flag.
template <class Visit>
decltype(auto) with_periodic_flags(const RunConfig& config, Visit&& visit) {
    using P = std::true_type;
    using O = std::false_type;
    const int choice =
        (config.pbcx == 1 ? 4 : 0) + (config.pbcy == 1 ? 2 : 0) + (config.pbcz == 1 ? 1 : 0);
    switch (choice) {
        case 0:
            return visit(O{}, O{}, O{});
        case 1:
            return visit(O{}, O{}, P{});
        case 2:
            return visit(O{}, P{}, O{});
        case 3:
            return visit(O{}, P{}, P{});
        case 4:
            return visit(P{}, O{}, O{});
        case 5:
            return visit(P{}, O{}, P{});
        case 6:
            return visit(P{}, P{}, O{});
        default:
            return visit(P{}, P{}, P{});
    }
}

// Chooses the specialised binning loop for the run's periodic flags, once per call.
template <bool Fold>
void bin_atoms_for_flags(Engine& engine) {
    with_periodic_flags(engine.config, [&](auto px, auto py, auto pz) {
        constexpr bool PX = decltype(px)::value, PY = decltype(py)::value, PZ = decltype(pz)::value;
        bin_atoms<Fold, PX, PY, PZ>(engine);
    });
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
    // Only occupied cells are stored, so the count is bounded by the cell numbers alone.
    const int64_t columns = static_cast<int64_t>(grid.mx) * grid.my;
    if (columns > std::numeric_limits<int64_t>::max() / grid.mz) {
        fatal_stop({" SIZE_CELL_GRID: " + std::to_string(grid.mx) + " x " +
                    std::to_string(grid.my) + " x " + std::to_string(grid.mz) +
                    " cells are more than can be numbered; the interaction range " +
                    format_list_double(range) + " A is too short for the region"});
    }
    grid.mxyz = columns * grid.mz;
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
    engine.cells.celhead.clear();
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

int64_t cell_of_atom(const Engine& engine, int32_t i) {
    const GridBins bins(engine.cells);
    double x = engine.ff.rx[static_cast<std::size_t>(i)];
    double y = engine.ff.ry[static_cast<std::size_t>(i)];
    double z = engine.ff.rz[static_cast<std::size_t>(i)];
    // The binning's own cell number, without the folding it has already done.
    return with_periodic_flags(engine.config, [&](auto px, auto py, auto pz) {
        constexpr bool PX = decltype(px)::value, PY = decltype(py)::value, PZ = decltype(pz)::value;
        return bins.cell_number<false, PX, PY, PZ>(x, y, z);
    });
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
