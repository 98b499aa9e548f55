#include "interaction/neighbour_list.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/registry.hpp"

namespace pelix {

namespace {

inline bool is_flag_value(int32_t flag) {
    return flag == 0 || flag == 1;
}

// One of the (up to three) neighbouring cells along an axis: its cell coordinate, the image
// shift s that brings it next to the home cell, s times the box length, and s times the weight
// of the axis in the image code.
struct AxisStep {
    int32_t cell;
    int32_t code;
    double offset;
};

// The neighbouring cells of every cell coordinate along one axis, in the order home-1, home,
// home+1. On a periodic axis a step past either end wraps round with a shift; on an open axis
// it is dropped. Tabulated once per list so that the loops over atoms test no flags.
struct AxisNeighbours {
    std::vector<AxisStep> steps;  // three slots per cell coordinate
    std::vector<int32_t> count;   // used slots per cell coordinate

    AxisNeighbours(int32_t cells, bool periodic, double length, int32_t code_weight)
        : steps(3 * static_cast<std::size_t>(cells)), count(static_cast<std::size_t>(cells), 0) {
        for (int32_t home = 0; home < cells; ++home) {
            int32_t used = 0;
            for (int32_t d = -1; d <= 1; ++d) {
                int32_t cell = home + d;
                int32_t shift = 0;
                if (cell < 0) {
                    if (!periodic)
                        continue;
                    cell = cells - 1;
                    shift = 1;
                } else if (cell >= cells) {
                    if (!periodic)
                        continue;
                    cell = 0;
                    shift = -1;
                }
                steps[3 * static_cast<std::size_t>(home) + used] = {cell, shift * code_weight,
                                                                    shift * length};
                ++used;
            }
            count[static_cast<std::size_t>(home)] = used;
        }
    }
    const AxisStep* begin(int32_t home) const {
        return steps.data() + 3 * static_cast<std::size_t>(home);
    }
    const AxisStep* end(int32_t home) const {
        return begin(home) + count[static_cast<std::size_t>(home)];
    }
};

// Smallest box holding the atoms of a cell; an empty cell has lo = +inf and hi = -inf.
struct CellBounds {
    double xlo, xhi, ylo, yhi, zlo, zhi;
};

// The atoms of every cell copied next to one another in chain order (higher index first),
// with their positions and species, so that the search reads each neighbouring cell as one
// contiguous run instead of chasing the chain through the whole atom arrays; and the box
// around each cell's atoms, so that a cell that lies wholly out of range is passed over.
struct PackedCells {
    std::vector<int32_t> start;  // run of cell c: start[c] .. start[c+1]-1
    std::vector<int32_t> atom;
    std::vector<double> x, y, z;
    std::vector<int32_t> specie;
    std::vector<CellBounds> bounds;

    PackedCells(const CellGrid& grid, const ForceFieldState& ff)
        : start(static_cast<std::size_t>(std::max<int64_t>(grid.mxyz, 0)) + 1, 0) {
        const std::size_t cells = start.size() - 1;
        const std::size_t filled = std::min(cells, grid.celhead.size());
        const std::size_t atoms = grid.celatm.size();
        atom.reserve(atoms);
        x.reserve(atoms);
        y.reserve(atoms);
        z.reserve(atoms);
        specie.reserve(atoms);
        constexpr double inf = std::numeric_limits<double>::infinity();
        bounds.assign(cells, {inf, -inf, inf, -inf, inf, -inf});
        for (std::size_t c = 0; c < cells; ++c) {
            start[c] = static_cast<int32_t>(atom.size());
            if (c >= filled)
                continue;
            CellBounds& b = bounds[c];
            for (int32_t j = grid.celhead[c]; j >= 0; j = grid.celatm[j]) {
                b = {std::min(b.xlo, ff.rx[j]), std::max(b.xhi, ff.rx[j]),
                     std::min(b.ylo, ff.ry[j]), std::max(b.yhi, ff.ry[j]),
                     std::min(b.zlo, ff.rz[j]), std::max(b.zhi, ff.rz[j])};
                atom.push_back(j);
                x.push_back(ff.rx[j]);
                y.push_back(ff.ry[j]);
                z.push_back(ff.rz[j]);
                specie.push_back(ff.specie[j]);
            }
        }
        start[cells] = static_cast<int32_t>(atom.size());
    }
};

// Distance along one axis from the coordinate c to the span [lo - o, hi - o] of a shifted cell,
// worked out with the same subtractions as the pair vectors: since rounding is monotonic, no
// atom of the cell is nearer along that axis than the value returned.
inline double gap_to_span(double c, double lo, double hi, double o) {
    return std::max(0.0, std::max((lo - o) - c, c - (hi - o)));
}

// Makes room for at least `needed` slots in the list arrays (doubling, to keep the number of
// moves small) and returns the new size.
int64_t grow_list(ForceFieldState& ff, int64_t needed) {
    const auto size = static_cast<std::size_t>(
        std::max<int64_t>(needed, 2 * static_cast<int64_t>(ff.nebour.size())));
    ff.nebour.resize(size);
    ff.pbctyp.resize(size);
    return static_cast<int64_t>(size);
}

// Weights of the shifts sx, sy, sz in the image code, matching the offset table: 9, 1, 3 with
// three periodic axes; 3 for the first and 1 for the second of two; 1 for a single one.
std::array<int32_t, 3> image_code_weights(const bool periodic[3]) {
    int p = 0;
    for (int a = 0; a < 3; ++a)
        p += periodic[a] ? 1 : 0;
    if (p == 3)
        return {9, 1, 3};
    std::array<int32_t, 3> weights{0, 0, 0};
    int32_t next = p == 2 ? 3 : 1;
    for (int a = 0; a < 3; ++a) {
        if (periodic[a]) {
            weights[static_cast<std::size_t>(a)] = next;
            next = 1;
        }
    }
    return weights;
}

// Cell coordinate of a position along an axis, 0..cells-1; positions outside the region
// belong to the border cells.
inline int32_t home_cell(double c, double lower, double width, int32_t cells) {
    double slice = std::trunc((c - lower) / width);
    if (!(slice >= 0.0))
        slice = 0.0;
    if (slice >= static_cast<double>(cells))
        slice = static_cast<double>(cells - 1);
    return static_cast<int32_t>(slice);
}

// A first guess at the number of list entries, from the mean atom density of the region and
// the largest pair radius, so that the list seldom has to grow while it is filled.
std::size_t expected_entries(const Engine& engine, int64_t limit) {
    const CellGrid& grid = engine.cells;
    const int32_t mylt = engine.atoms.mylt;
    const double volume = (grid.neb_eastlim - grid.neb_westlim) *
                          (grid.neb_uplim - grid.neb_downlim) *
                          (grid.neb_northlim - grid.neb_southlim);
    double rmax = 0.0;
    for (double r2 : engine.neighbours.radus2.data)
        rmax = std::max(rmax, r2);
    rmax = std::sqrt(rmax);
    const double sphere = 4.0 / 3.0 * std::numbers::pi * rmax * rmax * rmax;
    double estimate = 1.2 * mylt * (mylt / volume) * sphere;
    if (!(estimate >= 0.0) || !(volume > 0.0))
        return 0;
    estimate = std::min(estimate, static_cast<double>(limit));
    return static_cast<std::size_t>(estimate);
}

}  // namespace

void setup_nebour_parameters(Engine& engine, double& range) {
    SpatialDecomposition& sd = engine.sd;
    const AtomStore& atoms = engine.atoms;
    CellGrid& grid = engine.cells;
    NeighbourSettings& settings = engine.neighbours;

    sd.myltpnebs = atoms.mylt;
    if (sd.myltpnebs <= 0)
        nrerror("SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?");

    grid.neb_lx = atoms.lx;
    grid.neb_ly = atoms.ly;
    grid.neb_lz = atoms.lz;
    grid.neb_westlim = sd.westlim;
    grid.neb_eastlim = sd.eastlim;
    grid.neb_downlim = sd.downlim;
    grid.neb_uplim = sd.uplim;
    grid.neb_southlim = sd.southlim;
    grid.neb_northlim = sd.northlim;

    // Deliberately lenient: a bad flag passes as long as one of the three is 0 or 1.
    const RunConfig& config = engine.config;
    if (!is_flag_value(config.pbcx) && !is_flag_value(config.pbcy) && !is_flag_value(config.pbcz))
        nrerror("SETUP_NEBOUR_PARAMETERS: WRONG VALUE FOR PBC");
    grid.neb_pbcx = config.pbcx;
    grid.neb_pbcy = config.pbcy;
    grid.neb_pbcz = config.pbcz;

    // Pair radii: the potentials' cut-offs, then the skin on top.
    const int32_t numel = atoms.numel;
    settings.radius.assign(numel, 0.0);
    settings.radus2.assign(numel, 0.0);
    for (int32_t i = 0; i < numel; ++i) {
        for (int32_t j = i; j < numel; ++j) {
            const double r = std::sqrt(cutoff_distance_squared(engine, atoms.anum, i, j));
            settings.radius(i, j) = r;
            settings.radius(j, i) = r;
        }
    }
    double rmax = std::numeric_limits<double>::lowest();
    for (double r : settings.radius.data)
        rmax = std::max(rmax, r);

    settings.neblst_skin = kNeighbourSkin;
    for (int32_t i = 0; i < numel; ++i) {
        for (int32_t j = i; j < numel; ++j) {
            const double r = settings.radius(i, j) + settings.neblst_skin;
            settings.radius(i, j) = r;
            settings.radius(j, i) = r;
            settings.radus2(i, j) = r * r;
            settings.radus2(j, i) = r * r;
        }
    }
    range = rmax + settings.neblst_skin;

    double margin = 0.0;
    for (int32_t i = 0; i < numel; ++i) {
        for (int32_t j = i; j < numel; ++j)
            margin = std::max(margin,
                              sd_cutoff_distance(engine, atoms.anum, i, j, settings.neblst_skin));
    }
    sd.sd_ohmega = margin;

    size_cell_grid(grid, range);
    setup_pbc_offsets(engine);
}

void nebour_list(Engine& engine) {
    const CellGrid& grid = engine.cells;
    ForceFieldState& ff = engine.ff;
    const int32_t mylt = engine.atoms.mylt;
    const RunConfig& config = engine.config;

    const bool periodic[3] = {config.pbcx == 1, config.pbcy == 1, config.pbcz == 1};
    const std::array<int32_t, 3> weight = image_code_weights(periodic);
    const AxisNeighbours xsteps(grid.mx, periodic[0], grid.neb_lx, weight[0]);
    const AxisNeighbours ysteps(grid.my, periodic[1], grid.neb_ly, weight[1]);
    const AxisNeighbours zsteps(grid.mz, periodic[2], grid.neb_lz, weight[2]);

    // The list may hold nlstmx entries; the positions into it are 32-bit.
    const int64_t limit =
        std::min<int64_t>(engine.neighbours.nlstmx, std::numeric_limits<int32_t>::max());
    ff.nebpnt.assign(static_cast<std::size_t>(mylt) + 1, 0);
    // Every candidate is written to the next free slot and kept only when it is within
    // range, so the arrays always have one slot more than the entries kept.
    ff.nebour.resize(std::max<std::size_t>(expected_entries(engine, limit), 64));
    ff.pbctyp.resize(ff.nebour.size());
    int32_t* nebour = ff.nebour.data();
    int32_t* pbctyp = ff.pbctyp.data();
    int64_t capacity = static_cast<int64_t>(ff.nebour.size());
    int64_t written = 0;

    const PackedCells packed(grid, ff);
    const int32_t* start = packed.start.data();
    const int32_t* atom = packed.atom.data();
    const double* px = packed.x.data();
    const double* py = packed.y.data();
    const double* pz = packed.z.data();
    const int32_t* pspecie = packed.specie.data();
    const CellBounds* bounds = packed.bounds.data();
    const SpeciesMatrix<double>& radus2 = engine.neighbours.radus2;
    const int64_t my = grid.my, mz = grid.mz, mxyz = grid.mxyz;
    // Per species: the largest squared radius to any species.
    std::vector<double> reach2(static_cast<std::size_t>(radus2.n), 0.0);
    for (int32_t a = 0; a < radus2.n; ++a) {
        for (int32_t b = 0; b < radus2.n; ++b)
            reach2[static_cast<std::size_t>(a)] =
                std::max(reach2[static_cast<std::size_t>(a)], radus2(a, b));
    }

    for (int32_t i = 0; i < mylt; ++i) {
        ff.nebpnt[static_cast<std::size_t>(i)] = static_cast<int32_t>(written);
        const double xi = ff.rx[i], yi = ff.ry[i], zi = ff.rz[i];
        const double* cutoff2 = &radus2(ff.specie[i], 0);
        const double reach2_i = reach2[static_cast<std::size_t>(ff.specie[i])];
        const int32_t cx = home_cell(xi, grid.neb_westlim, grid.wx, grid.mx);
        const int32_t cy = home_cell(yi, grid.neb_downlim, grid.wy, grid.my);
        const int32_t cz = home_cell(zi, grid.neb_southlim, grid.wz, grid.mz);

        for (const AxisStep* sx = xsteps.begin(cx); sx != xsteps.end(cx); ++sx) {
            for (const AxisStep* sy = ysteps.begin(cy); sy != ysteps.end(cy); ++sy) {
                const int64_t column = (sx->cell * my + sy->cell) * mz;
                for (const AxisStep* sz = zsteps.begin(cz); sz != zsteps.end(cz); ++sz) {
                    const int64_t cell = column + sz->cell;
                    if (cell >= mxyz)
                        nrerror("NEBOUR_LIST: MNEB > MXYZ");
                    const int32_t image = sx->code + sy->code + sz->code;
                    const double ox = sx->offset, oy = sy->offset, oz = sz->offset;
                    const CellBounds& b = bounds[cell];
                    const double gx = gap_to_span(xi, b.xlo, b.xhi, ox);
                    const double gy = gap_to_span(yi, b.ylo, b.yhi, oy);
                    const double gz = gap_to_span(zi, b.zlo, b.zhi, oz);
                    if (gx * gx + gy * gy + gz * gz >= reach2_i)
                        continue;
                    const int32_t first = start[cell], end = start[cell + 1];
                    if (written + (end - first) >= capacity) {
                        capacity = grow_list(ff, written + (end - first) + 1);
                        nebour = ff.nebour.data();
                        pbctyp = ff.pbctyp.data();
                    }
                    for (int32_t k = first; k < end; ++k) {
                        const int32_t j = atom[k];
                        const double dx = px[k] - ox - xi;
                        const double dy = py[k] - oy - yi;
                        const double dz = pz[k] - oz - zi;
                        const bool within = dx * dx + dy * dy + dz * dz < cutoff2[pspecie[k]];
                        nebour[written] = j;
                        pbctyp[written] = image;
                        written += (within && j != i) ? 1 : 0;
                    }
                    if (written > limit)
                        nrerror("NEBOUR_LIST: LSTPNT > NLSTMX");
                }
            }
        }
    }
    ff.nebpnt[static_cast<std::size_t>(mylt)] = static_cast<int32_t>(written);
    ff.nebour.resize(static_cast<std::size_t>(written));
    ff.pbctyp.resize(static_cast<std::size_t>(written));
}

}  // namespace pelix
