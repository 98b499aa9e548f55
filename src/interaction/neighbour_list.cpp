#include "interaction/neighbour_list.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "common/fatal_error.hpp"
#include "electrostatics/electrostatics.hpp"
#include "electrostatics/ewald.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/occupied_cells.hpp"
#include "interaction/range_filter.hpp"
#include "interaction/registry.hpp"

namespace pelix {

namespace {

inline bool is_flag_value(int32_t flag) {
    return flag == 0 || flag == 1;
}

// One of the (up to three) neighbouring cells along an axis: its cell coordinate, s times the
// weight of the axis in the image code, and s times the box length, where s is the image shift
// that brings the cell next to the home cell.
struct AxisStep {
    int32_t cell;
    int32_t code;
    double offset;
};

// An axis of the grid as the search walks it.
struct AxisWalk {
    int32_t cells;
    bool periodic;
    double length;
    int32_t code_weight;

    // The neighbouring cells of cell coordinate `home`, in the order home-1, home, home+1. On a
    // periodic axis a step past either end wraps round with a shift; on an open axis it is
    // dropped. Returns the number of steps written.
    int steps(int32_t home, AxisStep out[3]) const {
        int used = 0;
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
            out[used++] = {cell, shift * code_weight, shift * length};
        }
        return used;
    }
};

// Smallest box holding the atoms of a cell.
struct CellBounds {
    double xlo, xhi, ylo, yhi, zlo, zhi;
};

// The atoms of every occupied cell copied next to one another in chain order (higher index
// first), with their positions and species, so that the search reads each neighbouring cell as
// one contiguous run instead of chasing the chain through the whole atom arrays; and the box
// around each cell's atoms, so that a cell that lies wholly out of range is passed over.
// Occupied cell k (the k-th chain head) is the run start[k] .. start[k+1]-1. Each run is
// padded to a whole number of groups of four with entries that are never in range (atom -1 at
// a position that is not a number), so that the range filter takes every run four at a time.
struct PackedCells {
    std::vector<int32_t> start;
    std::vector<int32_t> atom;
    std::vector<double> x, y, z;
    std::vector<int32_t> specie;
    std::vector<CellBounds> bounds;
    std::vector<int32_t> slot;  // per atom: its packed entry

    PackedCells(const CellGrid& grid, const ForceFieldState& ff, int32_t atoms) {
        const std::size_t cells = grid.celhead.size();
        const auto n = static_cast<std::size_t>(atoms) + 3 * cells;
        start.reserve(cells + 1);
        bounds.reserve(cells);
        atom.reserve(n);
        x.reserve(n);
        y.reserve(n);
        z.reserve(n);
        specie.reserve(n);
        slot.assign(static_cast<std::size_t>(std::max(atoms, 0)), -1);
        constexpr double inf = std::numeric_limits<double>::infinity();
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        for (int32_t head : grid.celhead) {
            start.push_back(static_cast<int32_t>(atom.size()));
            CellBounds b{inf, -inf, inf, -inf, inf, -inf};
            for (int32_t j = head; j >= 0; j = grid.celatm[j]) {
                b = {std::min(b.xlo, ff.rx[j]), std::max(b.xhi, ff.rx[j]),
                     std::min(b.ylo, ff.ry[j]), std::max(b.yhi, ff.ry[j]),
                     std::min(b.zlo, ff.rz[j]), std::max(b.zhi, ff.rz[j])};
                if (j < atoms)
                    slot[static_cast<std::size_t>(j)] = static_cast<int32_t>(atom.size());
                atom.push_back(j);
                x.push_back(ff.rx[j]);
                y.push_back(ff.ry[j]);
                z.push_back(ff.rz[j]);
                specie.push_back(ff.specie[j]);
            }
            while ((atom.size() - static_cast<std::size_t>(start.back())) % 4 != 0) {
                atom.push_back(-1);
                x.push_back(nan);
                y.push_back(nan);
                z.push_back(nan);
                specie.push_back(0);
            }
            bounds.push_back(b);
        }
        start.push_back(static_cast<int32_t>(atom.size()));
    }
};

// Numbers of the occupied cells, in the order of their chains, each checked against the size
// of the grid. The binning lists the chains in increasing cell number, which the lookups rely
// on.
std::vector<int64_t> occupied_cell_numbers(const Engine& engine) {
    const std::vector<int32_t>& celhead = engine.cells.celhead;
    std::vector<int64_t> numbers(celhead.size());
    for (std::size_t k = 0; k < celhead.size(); ++k) {
        numbers[k] = cell_of_atom(engine, celhead[k]);
        if (numbers[k] >= engine.cells.mxyz)
            nrerror("NEBOUR_LIST: MNEB > MXYZ");
        if (k > 0 && numbers[k] <= numbers[k - 1])
            fatal_stop({" NEBOUR_LIST: the cell chains are not in increasing cell order"});
    }
    return numbers;
}

// Makes room for at least `needed` slots in the list arrays (by half as much again, to keep the
// number of moves small without doubling the largest arrays of the call) and returns the new
// size.
int64_t grow_list(ForceFieldState& ff, int64_t needed) {
    const auto size = static_cast<std::size_t>(
        std::max<int64_t>(needed, 3 * static_cast<int64_t>(ff.nebour.size()) / 2));
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

// A first guess at the number of list entries, from the mean density of each species over the
// region and the pair radius of each species pair, so that the list seldom has to grow while
// it is filled and is not much larger than it needs to be.
std::size_t expected_entries(const Engine& engine, int64_t limit) {
    const CellGrid& grid = engine.cells;
    const int32_t mylt = engine.atoms.mylt;
    const SpeciesMatrix<double>& radus2 = engine.neighbours.radus2;
    const double volume = (grid.neb_eastlim - grid.neb_westlim) *
                          (grid.neb_uplim - grid.neb_downlim) *
                          (grid.neb_northlim - grid.neb_southlim);
    std::vector<double> count(static_cast<std::size_t>(radus2.n), 0.0);
    for (int32_t i = 0; i < mylt; ++i) {
        const int32_t s = engine.ff.specie[i];
        if (s >= 0 && s < radus2.n)
            count[static_cast<std::size_t>(s)] += 1.0;
    }
    double pairs = 0.0;
    for (int32_t a = 0; a < radus2.n; ++a) {
        for (int32_t b = 0; b < radus2.n; ++b) {
            const double r = std::sqrt(radus2(a, b));
            pairs += count[static_cast<std::size_t>(a)] * count[static_cast<std::size_t>(b)] *
                     (4.0 / 3.0 * std::numbers::pi * r * r * r);
        }
    }
    double estimate = 1.05 * pairs / volume;
    if (!(estimate >= 0.0) || !(volume > 0.0))
        return 0;
    estimate = std::min(estimate, static_cast<double>(limit));
    return static_cast<std::size_t>(estimate);
}

// The list arrays as they are filled. Every candidate is written to the next free slot and
// kept only when it is within range, so the arrays always have one slot more than the entries
// kept.
struct ListWriter {
    ForceFieldState& ff;
    int64_t limit;
    int64_t written = 0;
    int32_t* nebour = nullptr;
    int32_t* pbctyp = nullptr;
    int64_t capacity = 0;

    ListWriter(ForceFieldState& state, int64_t entry_limit, std::size_t expected)
        : ff(state), limit(entry_limit) {
        const std::size_t size = std::max<std::size_t>(expected, 64);
        resize_from_spare(ff.nebour, ff.spare_nebour, size);
        resize_from_spare(ff.pbctyp, ff.spare_pbctyp, size);
        refresh();
    }
    void refresh() {
        nebour = ff.nebour.data();
        pbctyp = ff.pbctyp.data();
        capacity = static_cast<int64_t>(ff.nebour.size());
    }
    // Room for `candidates` more entries and the spare slot.
    void reserve(int64_t candidates) {
        if (written + candidates >= capacity) {
            grow_list(ff, written + candidates + 1);
            refresh();
        }
    }
};

// The neighbouring cells of one home cell.
struct CellNeighbourhood {
    AxisStep xs[3], ys[3], zs[3];
    int nx, ny, nz;
    int64_t my, mz;

    CellNeighbourhood(const AxisWalk axes[3], int32_t cx, int32_t cy, int32_t cz, int64_t cells_y,
                      int64_t cells_z)
        : nx(axes[0].steps(cx, xs)),
          ny(axes[1].steps(cy, ys)),
          nz(axes[2].steps(cz, zs)),
          my(cells_y),
          mz(cells_z) {}

    // Calls visit(cell number) for each cell, in visiting order: x steps outermost, z innermost.
    template <class Visit>
    void for_each_cell(Visit&& visit) const {
        for (int a = 0; a < nx; ++a) {
            for (int b = 0; b < ny; ++b) {
                const int64_t column = (xs[a].cell * my + ys[b].cell) * mz;
                for (int c = 0; c < nz; ++c)
                    visit(column + zs[c].cell);
            }
        }
    }
};

// How far an atom of each species must look into each cell: the largest squared pair radius
// between that species and the species present in the cell. Most cells of a dilute alloy hold
// only the host and a few solutes, so an atom passes over most cells of the longer-ranged pairs
// of species the cell does not hold. Only a filter: every pair within its radius lies in a
// cell that is reached. With many species the table would be large, and each species' largest
// radius to any species serves for every cell.
class CellReach {
  public:
    static constexpr int32_t kMostSpecies = 16;

    CellReach(const PackedCells& packed, const SpeciesMatrix<double>& radus2) : species_(radus2.n) {
        const auto n = static_cast<std::size_t>(species_);
        const std::size_t cells = packed.bounds.size();
        if (species_ > kMostSpecies || cells == 0) {
            row_length_ = 0;
            reach2_.assign(n, 0.0);
            for (int32_t a = 0; a < species_; ++a) {
                for (int32_t b = 0; b < species_; ++b)
                    reach2_[static_cast<std::size_t>(a)] =
                        std::max(reach2_[static_cast<std::size_t>(a)], radus2(a, b));
            }
            return;
        }
        row_length_ = species_;
        reach2_.assign(cells * n, 0.0);
        std::vector<bool> present(n);
        for (std::size_t k = 0; k < cells; ++k) {
            std::fill(present.begin(), present.end(), false);
            for (int32_t m = packed.start[k]; m < packed.start[k + 1]; ++m) {
                if (packed.atom[static_cast<std::size_t>(m)] >= 0)
                    present[static_cast<std::size_t>(packed.specie[static_cast<std::size_t>(m)])] =
                        true;
            }
            double* row = &reach2_[k * n];
            for (int32_t a = 0; a < species_; ++a) {
                for (int32_t b = 0; b < species_; ++b) {
                    if (present[static_cast<std::size_t>(b)])
                        row[a] = std::max(row[a], radus2(a, b));
                }
            }
        }
    }

    // Start of the row of occupied cell k; an atom of species a reads entry row + a.
    int64_t row(int32_t k) const { return static_cast<int64_t>(k) * row_length_; }
    const double* data() const { return reach2_.data(); }

  private:
    int32_t species_;
    int64_t row_length_ = 0;
    std::vector<double> reach2_;
};

// The occupied neighbouring cells of one home cell in visiting order, each with its run of
// packed entries, image code and offset, the start of its row of reaches (CellReach), and the box
// of its atoms shifted by that offset (lo - o, hi - o along each axis), kept as arrays so that the
// boxes of all the cells are tested against an atom in one pass.
struct HomeNeighbourhood {
    static constexpr int kCells = 27;
    int64_t home = -1;
    int count = 0;
    CandidateRun run[kCells];
    int64_t reach_row[kCells];
    // Room for a whole number of groups of four.
    static constexpr int kPadded = 28;
    double xlo[kPadded], xhi[kPadded], ylo[kPadded], yhi[kPadded], zlo[kPadded], zhi[kPadded];
    // Squared reach of every cell towards the last species searched from here, -1 when none
    // was; the padding is never reached.
    int32_t reach_species = -1;
    double reach_of[kPadded];

    // Makes reach_of hold the reach of every cell towards species si, from the rows of the
    // cell reach table `reach2`. Atoms that follow one another mostly share their species.
    void reach_towards(int32_t si, const double* reach2) {
        if (reach_species == si)
            return;
        for (int c = 0; c < count; ++c)
            reach_of[c] = reach2[reach_row[c] + si];
        for (int c = count; c < kPadded; ++c)
            reach_of[c] = 0.0;
        reach_species = si;
    }
};

// Neighbourhoods of recently seen home cells. Atoms that follow one another in the arrays are
// often neighbours in space, so most atoms find their home cell's neighbourhood here and the
// cell lookups are made once per cell rather than once per atom. Direct-mapped by cell number.
class NeighbourhoodCache {
  public:
    // Room for the neighbourhoods of many columns of cells (1.4 MB): atoms in crystal order
    // come back to a column's cells row after row. 512 slots instead of 64 made a 128 000-atom
    // oxide call 3 % faster; 2048 were slower again.
    static constexpr std::size_t kSlots = 512;

    // No more slots than occupied cells, up to kSlots, a power of two (the slot of a cell is
    // its number masked).
    explicit NeighbourhoodCache(std::size_t occupied_cells)
        : slots_(std::bit_floor(std::clamp<std::size_t>(occupied_cells, 1, kSlots))),
          mask_(slots_.size() - 1) {}

    // The neighbourhood of home cell `home`, filled by fill(entry) when it is not held.
    template <class Fill>
    HomeNeighbourhood& get(int64_t home, const Fill& fill) {
        HomeNeighbourhood& entry = slots_[static_cast<std::size_t>(home) & mask_];
        if (entry.home != home) {
            entry.count = 0;
            entry.reach_species = -1;
            fill(entry);
            entry.home = home;
        }
        return entry;
    }

  private:
    std::vector<HomeNeighbourhood> slots_;
    std::size_t mask_;
};

// Fills nebpnt, nebour and pbctyp for atoms 0..mylt-1 from the packed cells, finding each
// neighbouring cell through `index`.
template <class CellIndex>
void search_cells(Engine& engine, const PackedCells& packed, ListWriter& list) {
    const CellGrid& grid = engine.cells;
    const CellIndex index(occupied_cell_numbers(engine), grid.mxyz);
    ForceFieldState& ff = engine.ff;
    const int32_t mylt = engine.atoms.mylt;
    const RunConfig& config = engine.config;
    const bool periodic[3] = {config.pbcx == 1, config.pbcy == 1, config.pbcz == 1};
    const std::array<int32_t, 3> weight = image_code_weights(periodic);
    const AxisWalk axes[3] = {{grid.mx, periodic[0], grid.neb_lx, weight[0]},
                              {grid.my, periodic[1], grid.neb_ly, weight[1]},
                              {grid.mz, periodic[2], grid.neb_lz, weight[2]}};

    const int32_t* start = packed.start.data();
    const CellBounds* bounds = packed.bounds.data();
    const SpeciesMatrix<double>& radus2 = engine.neighbours.radus2;
    const CellReach reach(packed, radus2);
    const double* reach2 = reach.data();
    // Per species: its squared radius to every species when they are all equal, else a NaN.
    std::vector<double> common2(static_cast<std::size_t>(radus2.n),
                                std::numeric_limits<double>::quiet_NaN());
    for (int32_t a = 0; a < radus2.n; ++a) {
        bool equal = true;
        for (int32_t b = 1; b < radus2.n; ++b)
            equal = equal && radus2(a, b) == radus2(a, 0);
        if (equal)
            common2[static_cast<std::size_t>(a)] = radus2(a, 0);
    }
    const PackedView view{packed.atom.data(), packed.x.data(), packed.y.data(), packed.z.data(),
                          packed.specie.data()};

    const int64_t mxyz = grid.mxyz;
    NeighbourhoodCache cache(packed.bounds.size());
    for (int32_t i = 0; i < mylt; ++i) {
        ff.nebpnt[static_cast<std::size_t>(i)] = static_cast<int32_t>(list.written);
        const double xi = ff.rx[i], yi = ff.ry[i], zi = ff.rz[i];
        const FilterCentre centre{i,
                                  packed.slot[static_cast<std::size_t>(i)],
                                  xi,
                                  yi,
                                  zi,
                                  &radus2(ff.specie[i], 0),
                                  common2[static_cast<std::size_t>(ff.specie[i])],
                                  radus2.n};
        const int32_t si = ff.specie[i];
        const int32_t cx = home_cell(xi, grid.neb_westlim, grid.wx, grid.mx);
        const int32_t cy = home_cell(yi, grid.neb_downlim, grid.wy, grid.my);
        const int32_t cz = home_cell(zi, grid.neb_southlim, grid.wz, grid.mz);
        const int64_t home = (cx * static_cast<int64_t>(grid.my) + cy) * grid.mz + cz;
        HomeNeighbourhood& near = cache.get(home, [&](HomeNeighbourhood& entry) {
            const CellNeighbourhood around(axes, cx, cy, cz, grid.my, grid.mz);
            if constexpr (CellIndex::kPrefetches) {
                around.for_each_cell([&](int64_t cell) {
                    if (cell < mxyz)
                        index.prefetch(cell);
                });
            }
            for (const AxisStep* sx = around.xs; sx != around.xs + around.nx; ++sx) {
                for (const AxisStep* sy = around.ys; sy != around.ys + around.ny; ++sy) {
                    const int64_t column = (sx->cell * around.my + sy->cell) * around.mz;
                    for (const AxisStep* sz = around.zs; sz != around.zs + around.nz; ++sz) {
                        const int64_t cell = column + sz->cell;
                        if (cell >= mxyz)
                            nrerror("NEBOUR_LIST: MNEB > MXYZ");
                        const int32_t k = index.find(cell);
                        if (k < 0)
                            continue;
                        const int c = entry.count++;
                        const CellBounds& b = bounds[k];
                        entry.run[c] = {start[k],   start[k + 1], sx->code + sy->code + sz->code,
                                        sx->offset, sy->offset,   sz->offset};
                        entry.reach_row[c] = reach.row(k);
                        entry.xlo[c] = b.xlo - sx->offset;
                        entry.xhi[c] = b.xhi - sx->offset;
                        entry.ylo[c] = b.ylo - sy->offset;
                        entry.yhi[c] = b.yhi - sy->offset;
                        entry.zlo[c] = b.zlo - sz->offset;
                        entry.zhi[c] = b.zhi - sz->offset;
                    }
                }
            }
        });

        // The cells in visiting order whose atoms' box comes within reach of the atom.
        near.reach_towards(si, reach2);
        uint8_t chosen[HomeNeighbourhood::kCells];
        const int count = choose_reached_cells(
            {near.xlo, near.xhi, near.ylo, near.yhi, near.zlo, near.zhi, near.count}, near.reach_of,
            xi, yi, zi, chosen);
        int64_t candidates = 0;
        for (int c = 0; c < count; ++c)
            candidates += near.run[chosen[c]].end - near.run[chosen[c]].first;
        list.reserve(candidates);
        list.written = append_within_range(view, near.run, chosen, count, centre, list.nebour,
                                           list.pbctyp, list.written);
        if (list.written > list.limit)
            nrerror("NEBOUR_LIST: LSTPNT > NLSTMX");
    }
    ff.nebpnt[static_cast<std::size_t>(mylt)] = static_cast<int32_t>(list.written);
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
    // When this call runs Ewald summation, its real-space sum takes its pairs from this list:
    // every pair radius, and the cell range, then reach at least the real-space cut-off.
    const bool ewald = ewald_will_run(engine);
    for (int32_t i = 0; i < numel; ++i) {
        for (int32_t j = i; j < numel; ++j) {
            double r = settings.radius(i, j) + settings.neblst_skin;
            if (ewald)
                r = std::max(r, EwaldParameters::real_cutoff);
            settings.radius(i, j) = r;
            settings.radius(j, i) = r;
            settings.radus2(i, j) = r * r;
            settings.radus2(j, i) = r * r;
        }
    }
    range = rmax + settings.neblst_skin;
    if (ewald)
        range = std::max(range, EwaldParameters::real_cutoff);
    settings.range = range;

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
    ForceFieldState& ff = engine.ff;
    const int32_t mylt = engine.atoms.mylt;
    const CellGrid& grid = engine.cells;

    // The list may hold nlstmx entries; the positions into it are 32-bit.
    const int64_t limit =
        std::min<int64_t>(engine.neighbours.nlstmx, std::numeric_limits<int32_t>::max());
    ff.nebpnt.assign(static_cast<std::size_t>(mylt) + 1, 0);
    ListWriter list(ff, limit, expected_entries(engine, limit));

    const PackedCells packed(grid, ff, mylt);
    switch (cell_lookup_for(grid.mxyz, mylt)) {
        case CellLookup::table:
            search_cells<TableCellIndex>(engine, packed, list);
            break;
        case CellLookup::bitmap:
            search_cells<BitmapCellIndex>(engine, packed, list);
            break;
        case CellLookup::hash:
            search_cells<HashedCellIndex>(engine, packed, list);
            break;
    }

    ff.nebour.resize(static_cast<std::size_t>(list.written));
    ff.pbctyp.resize(static_cast<std::size_t>(list.written));
}

}  // namespace pelix
