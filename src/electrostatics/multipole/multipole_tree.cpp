// The passes of the multipole tree over a uniform octree in Morton order.
#include "electrostatics/multipole/multipole_tree.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/fatal_error.hpp"
#include "electrostatics/multipole/lattice_sum.hpp"

namespace pelix::multipole {
namespace {

constexpr int kMaxLevels = 8;
constexpr int kMaxTerms = 32;
// The FFT block: parent cells per axis, and the longest FFT per axis it may lead to (the
// transformed operators take 27 x length^3 x terms^2 complex values).
constexpr int kMaxFftBlock = 16;
constexpr int kMaxFftLength = 16;

std::size_t cells_at(int level) {
    return std::size_t{1} << (3 * level);
}

int parity_of(uint64_t key) {
    return static_cast<int>(key & 7u);
}

// Wraps a cell coordinate into 0..count-1 and returns the number of box lengths removed.
int wrap(int& coordinate, int count) {
    int images = 0;
    while (coordinate < 0) {
        coordinate += count;
        --images;
    }
    while (coordinate >= count) {
        coordinate -= count;
        ++images;
    }
    return images;
}

void check_box(const std::array<double, 3>& sides, const char* routine) {
    for (double s : sides) {
        if (!(std::isfinite(s) && s > 0.0)) {
            std::ostringstream message;
            message << routine << ": BOX SIDE " << s << " IS NOT A POSITIVE FINITE LENGTH";
            nrerror(message.str());
        }
    }
}

}  // namespace

MultipoleSettings MultipoleSettings::from_records(const int32_t integers[8],
                                                  const double reals[13]) {
    MultipoleSettings s;
    s.process_count = integers[0];
    s.levels = integers[1];
    s.terms = integers[2];
    s.mp_lj = integers[3];
    s.fft_switch = integers[4];
    s.fft_block = integers[5];
    s.periodic = integers[6];
    s.macroscopic_terms = integers[7];
    s.theta = reals[0];
    s.v1 = {reals[1], reals[2], reals[3]};
    s.v2 = {reals[4], reals[5], reals[6]};
    s.v3 = {reals[7], reals[8], reals[9]};
    s.centre = {reals[10], reals[11], reals[12]};
    return s;
}

MultipoleTree::MultipoleTree(const MultipoleSettings& settings) : settings_(settings) {
    std::ostringstream problem;
    if (settings.levels < 1 || settings.levels > kMaxLevels) {
        problem << "NUMBER OF LEVELS " << settings.levels << " OUTSIDE 1.." << kMaxLevels;
    } else if (settings.terms < 1 || settings.terms > kMaxTerms) {
        problem << "NUMBER OF TERMS " << settings.terms << " OUTSIDE 1.." << kMaxTerms;
    } else if (!(settings.theta > 0.0 && settings.theta < 1.0)) {
        problem << "THETA " << settings.theta << " OUTSIDE (0,1)";
    } else if (settings.fft_switch != 0 &&
               (settings.fft_block < 1 || settings.fft_block > kMaxFftBlock)) {
        problem << "FFT BLOCK SIZE " << settings.fft_block << " OUTSIDE 1.." << kMaxFftBlock;
    } else if (settings.periodic != 0 &&
               (settings.macroscopic_terms < 1 || settings.macroscopic_terms > kMaxTerms)) {
        problem << "NUMBER OF MACROSCOPIC TERMS " << settings.macroscopic_terms << " OUTSIDE 1.."
                << kMaxTerms;
    }
    if (!problem.str().empty()) {
        nrerror("FPMTAINIT: " + problem.str());
    }
    order_ = settings.terms - 1;
    depth_ = settings.levels - 1;
    periodic_ = settings.periodic != 0;
    resize({settings.v1[0], settings.v2[1], settings.v3[2]}, settings.centre);
}

void MultipoleTree::resize(const std::array<double, 3>& sides,
                           const std::array<double, 3>& centre) {
    check_box(sides, "FPMTARESIZE");
    sides_ = sides;
    centre_ = centre;
    for (int a = 0; a < 3; ++a) {
        lower_[a] = centre[a] - 0.5 * sides[a];
    }
    layout_current_ = false;
}

void MultipoleTree::lay_out_cells() {
    offsets_ = build_offset_sets(sides_, settings_.theta);

    // Transfer operators at the scale of the root; level l uses them through the powers of 2
    // in transfer_pass. The source at offset d sits at -d from its target.
    const int reach = offsets_.reach;
    const int width = 2 * reach + 1;
    table_reach_ = reach;
    transfer_slot_.assign(static_cast<std::size_t>(width * width * width), -1);
    const std::size_t full = full_size(order_);
    std::vector<Complex> half(half_size(order_));
    transfer_table_.clear();
    int slots = 0;
    for (const auto& list : offsets_.interaction_by_source_parity) {
        for (const Offset& d : list) {
            const std::size_t cube = static_cast<std::size_t>(
                ((d[0] + reach) * width + d[1] + reach) * width + d[2] + reach);
            if (transfer_slot_[cube] >= 0) {
                continue;
            }
            transfer_slot_[cube] = slots++;
            irregular_harmonics(order_, -d[0] * sides_[0], -d[1] * sides_[1], -d[2] * sides_[2],
                                half.data());
            transfer_table_.resize(static_cast<std::size_t>(slots) * full);
            expand_to_full(order_, half.data(), &transfer_table_[(slots - 1) * full]);
        }
    }

    child_shift_.assign(static_cast<std::size_t>(depth_) + 1, {});
    for (int level = 1; level <= depth_; ++level) {
        const double scale = std::ldexp(1.0, -level);
        auto& shifts = child_shift_[level];
        shifts.resize(8 * half_size(order_));
        for (int parity = 0; parity < 8; ++parity) {
            double shift[3];
            for (int a = 0; a < 3; ++a) {
                shift[a] = (((parity >> a) & 1) - 0.5) * sides_[a] * scale;
            }
            regular_harmonics(order_, shift[0], shift[1], shift[2],
                              &shifts[parity * half_size(order_)]);
        }
    }

    fft_transfer_.reset();
    if (settings_.fft_switch != 0) {
        auto transfer = std::make_unique<FftTransfer>(order_, sides_, settings_.theta, offsets_,
                                                      settings_.fft_block, periodic_);
        const std::array<int, 3> longest = transfer->fft_lengths(1 << 30);
        for (int length : longest) {
            if (length > kMaxFftLength) {
                std::ostringstream message;
                message << "FPMTAFORCE: FFT BLOCK LENGTH " << length << " EXCEEDS " << kMaxFftLength
                        << " CELLS, LOWER THE FFT BLOCK SIZE OR RAISE THETA";
                nrerror(message.str());
            }
        }
        fft_transfer_ = std::move(transfer);
    }

    if (periodic_) {
        lattice_degree_ = settings_.macroscopic_terms - 1;
        const std::vector<Complex> sums =
            periodic_lattice_sums(lattice_degree_, sides_, offsets_.near);
        lattice_full_.assign(full_size(lattice_degree_), Complex(0.0, 0.0));
        expand_to_full(lattice_degree_, sums.data(), lattice_full_.data());
    }
    layout_current_ = true;
}

void MultipoleTree::evaluate(std::size_t count, const double* x, const double* y, const double* z,
                             const double* q, double* potential, double* force_x, double* force_y,
                             double* force_z) {
    if (!layout_current_) {
        lay_out_cells();
    }
    sort_particles(count, x, y, z, q);
    upward_pass();
    transfer_pass();
    downward_pass();
    near_field();
    if (periodic_) {
        add_background_terms();
    }
    std::fill(potential, potential + count, 0.0);
    std::fill(force_x, force_x + count, 0.0);
    std::fill(force_y, force_y + count, 0.0);
    std::fill(force_z, force_z + count, 0.0);
    for (std::size_t s = 0; s < original_index_.size(); ++s) {
        const std::size_t i = original_index_[s];
        potential[i] = phi_[s];
        force_x[i] = sq_[s] * ex_[s];
        force_y[i] = sq_[s] * ey_[s];
        force_z[i] = sq_[s] * ez_[s];
    }
}

void MultipoleTree::sort_particles(std::size_t count, const double* x, const double* y,
                                   const double* z, const double* q) {
    const int per_axis = 1 << depth_;
    const std::size_t leaves = cells_at(depth_);
    // Uncharged particles neither make nor feel a field: they take no cell and may lie
    // anywhere (a NaN charge counts as a charge).
    constexpr uint64_t kUncharged = ~uint64_t{0};
    const auto charged = static_cast<std::size_t>(
        std::count_if(q, q + count, [](double charge) { return charge != 0.0; }));
    std::vector<uint64_t> key(count);
    sx_.resize(charged);
    sy_.resize(charged);
    sz_.resize(charged);
    sq_.resize(charged);
    std::vector<double> wrapped(3 * count);
    for (std::size_t i = 0; i < count; ++i) {
        if (q[i] == 0.0) {
            key[i] = kUncharged;
            continue;
        }
        const double position[3] = {x[i], y[i], z[i]};
        uint32_t cell[3];
        for (int a = 0; a < 3; ++a) {
            double u = (position[a] - lower_[a]) / sides_[a];
            if (periodic_ && std::isfinite(u)) {
                u -= std::floor(u);
                if (u >= 1.0) {
                    u = 0.0;
                }
            }
            if (!(u >= 0.0 && u <= 1.0)) {
                std::ostringstream message;
                message << "FPMTAFORCE: PARTICLE " << i + 1 << " AT " << position[0] << " "
                        << position[1] << " " << position[2] << " OUTSIDE THE MULTIPOLE BOX";
                nrerror(message.str());
            }
            wrapped[3 * i + a] = periodic_ ? lower_[a] + u * sides_[a] : position[a];
            cell[a] = static_cast<uint32_t>(std::min(per_axis - 1, static_cast<int>(u * per_axis)));
        }
        key[i] = morton_key(cell[0], cell[1], cell[2]);
    }
    cell_start_.assign(leaves + 1, 0);
    for (std::size_t i = 0; i < count; ++i) {
        if (key[i] != kUncharged) {
            ++cell_start_[key[i] + 1];
        }
    }
    for (std::size_t c = 0; c < leaves; ++c) {
        cell_start_[c + 1] += cell_start_[c];
    }
    std::vector<uint32_t> fill(cell_start_.begin(), cell_start_.end() - 1);
    original_index_.resize(charged);
    for (std::size_t i = 0; i < count; ++i) {
        if (key[i] == kUncharged) {
            continue;
        }
        const uint32_t s = fill[key[i]]++;
        original_index_[s] = i;
        sx_[s] = wrapped[3 * i];
        sy_[s] = wrapped[3 * i + 1];
        sz_[s] = wrapped[3 * i + 2];
        sq_[s] = q[i];
    }
    occupied_.assign(static_cast<std::size_t>(depth_) + 1, {});
    for (int level = 0; level <= depth_; ++level) {
        occupied_[level].assign(cells_at(level), 0);
    }
    for (std::size_t c = 0; c < leaves; ++c) {
        if (cell_start_[c] != cell_start_[c + 1]) {
            for (int level = 0; level <= depth_; ++level) {
                occupied_[level][c >> (3 * (depth_ - level))] = 1;
            }
        }
    }
    phi_.assign(charged, 0.0);
    ex_.assign(charged, 0.0);
    ey_.assign(charged, 0.0);
    ez_.assign(charged, 0.0);
}

void MultipoleTree::upward_pass() {
    const std::size_t h = half_size(order_);
    multipole_.resize(static_cast<std::size_t>(depth_) + 1);
    local_.resize(static_cast<std::size_t>(depth_) + 1);
    for (int level = 0; level <= depth_; ++level) {
        multipole_[level].assign(cells_at(level) * h, Complex(0.0, 0.0));
        local_[level].assign(cells_at(level) * h, Complex(0.0, 0.0));
    }
    std::vector<Complex> scratch(h);
    const double leaf_scale = std::ldexp(1.0, -depth_);
    for (std::size_t c = 0; c < cells_at(depth_); ++c) {
        const uint32_t first = cell_start_[c], last = cell_start_[c + 1];
        if (first == last) {
            continue;
        }
        const auto coords = morton_coordinates(c);
        double centre[3];
        for (int a = 0; a < 3; ++a) {
            centre[a] = lower_[a] + (coords[a] + 0.5) * sides_[a] * leaf_scale;
        }
        particles_to_multipole(order_, last - first, &sx_[first], &sy_[first], &sz_[first],
                               &sq_[first], centre, &multipole_[depth_][c * h], scratch.data());
    }
    for (int level = depth_; level >= 1; --level) {
        const auto& child = multipole_[level];
        auto& parent = multipole_[level - 1];
        for (std::size_t c = 0; c < cells_at(level); ++c) {
            if (!occupied_[level][c]) {
                continue;
            }
            multipole_to_multipole(order_, &child_shift_[level][parity_of(c) * h], &child[c * h],
                                   &parent[(c >> 3) * h]);
        }
    }
}

void MultipoleTree::transfer_pass() {
    const std::size_t h = half_size(order_);
    for (int level = 1; level <= depth_; ++level) {
        if (transfers_by_fft(level)) {
            fft_transfer_->transfer(level, multipole_[level], occupied_[level], local_[level]);
        } else {
            direct_transfer(level);
        }
        // Level-l operators are the root's with R scaled by 2^-l: M_n enters as M_n 2^(l n) and
        // the result L_k leaves as L_k 2^(l (k + 1)).
        auto& locals = local_[level];
        for (std::size_t c = 0; c < cells_at(level); ++c) {
            if (!occupied_[level][c]) {
                continue;
            }
            for (int k = 0; k <= order_; ++k) {
                const double scale = std::ldexp(1.0, level * (k + 1));
                for (int l = 0; l <= k; ++l) {
                    locals[c * h + half_index(k, l)] *= scale;
                }
            }
        }
    }
    if (periodic_) {
        std::vector<Complex> root_full(full_size(order_));
        expand_to_full(order_, multipole_[0].data(), root_full.data());
        multipole_to_local(order_, lattice_degree_, lattice_full_.data(), root_full.data(),
                           local_[0].data());
    }
}

bool MultipoleTree::transfers_by_fft(int level) {
    if (!layout_current_) {
        lay_out_cells();
    }
    return fft_transfer_ && fft_transfer_->operator_products(level) < direct_products(level);
}

// Operator products of the direct transfer at `level` if every cell were occupied: per source
// parity and offset, the number of sources whose target lies in the grid.
double MultipoleTree::direct_products(int level) const {
    const int parents = 1 << (level - 1);
    double total = 0.0;
    for (int parity = 0; parity < 8; ++parity) {
        for (const Offset& d : offsets_.interaction_by_source_parity[parity]) {
            double pairs = 1.0;
            for (int a = 0; a < 3; ++a) {
                int sources = parents;
                if (!periodic_) {
                    sources = 0;
                    for (int s = 0; s < parents; ++s) {
                        const int target = 2 * s + ((parity >> a) & 1) - d[a];
                        sources += (target >= 0 && target < 2 * parents) ? 1 : 0;
                    }
                }
                pairs *= sources;
            }
            total += pairs;
        }
    }
    return total;
}

// Transfers of one level operator by operator: each occupied source cell adds into every
// occupied cell that has it in its interaction list.
void MultipoleTree::direct_transfer(int level) {
    const std::size_t h = half_size(order_);
    const std::size_t full = full_size(order_);
    const int width = 2 * table_reach_ + 1;
    std::vector<Complex> source_full(full);
    const int per_axis = 1 << level;
    const auto& multipoles = multipole_[level];
    auto& locals = local_[level];
    const std::vector<char>& occupied = occupied_[level];
    for (std::size_t s = 0; s < cells_at(level); ++s) {
        if (!occupied[s]) {
            continue;
        }
        for (int n = 0; n <= order_; ++n) {
            const double scale = std::ldexp(1.0, level * n);
            for (int m = -n; m <= n; ++m) {
                const Complex v = multipoles[s * h + half_index(n, std::abs(m))];
                const Complex vm = (m >= 0) ? v : ((m & 1) ? -std::conj(v) : std::conj(v));
                source_full[full_index(n, m)] = scale * vm;
            }
        }
        const auto source = morton_coordinates(s);
        for (const Offset& d : offsets_.interaction_by_source_parity[parity_of(s)]) {
            int t[3];
            bool inside = true;
            for (int a = 0; a < 3; ++a) {
                t[a] = static_cast<int>(source[a]) - d[a];
                if (periodic_) {
                    wrap(t[a], per_axis);
                } else if (t[a] < 0 || t[a] >= per_axis) {
                    inside = false;
                }
            }
            if (!inside) {
                continue;
            }
            const uint64_t target = morton_key(t[0], t[1], t[2]);
            if (!occupied[target]) {
                continue;
            }
            const int slot = transfer_slot_[static_cast<std::size_t>(
                ((d[0] + table_reach_) * width + d[1] + table_reach_) * width + d[2] +
                table_reach_)];
            multipole_to_local(order_, order_, &transfer_table_[slot * full], source_full.data(),
                               &locals[target * h]);
        }
    }
}

void MultipoleTree::downward_pass() {
    const std::size_t h = half_size(order_);
    for (int level = 1; level <= depth_; ++level) {
        const auto& parent = local_[level - 1];
        auto& child = local_[level];
        for (std::size_t c = 0; c < cells_at(level); ++c) {
            if (!occupied_[level][c]) {
                continue;
            }
            local_to_local(order_, &child_shift_[level][parity_of(c) * h], &parent[(c >> 3) * h],
                           &child[c * h]);
        }
    }
    std::vector<Complex> scratch(h);
    const double leaf_scale = std::ldexp(1.0, -depth_);
    for (std::size_t c = 0; c < cells_at(depth_); ++c) {
        const auto coords = morton_coordinates(c);
        double centre[3];
        for (int a = 0; a < 3; ++a) {
            centre[a] = lower_[a] + (coords[a] + 0.5) * sides_[a] * leaf_scale;
        }
        for (uint32_t i = cell_start_[c]; i < cell_start_[c + 1]; ++i) {
            double phi, field[3];
            evaluate_local(order_, &local_[depth_][c * h], sx_[i] - centre[0], sy_[i] - centre[1],
                           sz_[i] - centre[2], scratch.data(), phi, field);
            phi_[i] += phi;
            ex_[i] += field[0];
            ey_[i] += field[1];
            ez_[i] += field[2];
        }
    }
}

// Direct Coulomb terms between particle i, placed at (xi, yi, zi), and the particles
// first..last-1, added to both sides. Where SSE2 is available two partners are taken at a
// time; particle i's sums then run in two lanes, added up at the end.
void MultipoleTree::pair_sum(uint32_t i, double xi, double yi, double zi, uint32_t first,
                             uint32_t last) {
    const double* __restrict px = sx_.data();
    const double* __restrict py = sy_.data();
    const double* __restrict pz = sz_.data();
    const double* __restrict pq = sq_.data();
    double* __restrict phi_j = phi_.data();
    double* __restrict ex_j = ex_.data();
    double* __restrict ey_j = ey_.data();
    double* __restrict ez_j = ez_.data();
    const double qi = pq[i];
    double phi = 0.0, fx = 0.0, fy = 0.0, fz = 0.0;
    uint32_t j = first;
#if defined(__SSE2__)
    const __m128d x2 = _mm_set1_pd(xi), y2 = _mm_set1_pd(yi), z2 = _mm_set1_pd(zi);
    const __m128d qi2 = _mm_set1_pd(qi), one = _mm_set1_pd(1.0);
    __m128d phi2 = _mm_setzero_pd(), fx2 = _mm_setzero_pd(), fy2 = _mm_setzero_pd(),
            fz2 = _mm_setzero_pd();
    for (; j + 1 < last; j += 2) {
        const __m128d dx = _mm_sub_pd(x2, _mm_loadu_pd(px + j));
        const __m128d dy = _mm_sub_pd(y2, _mm_loadu_pd(py + j));
        const __m128d dz = _mm_sub_pd(z2, _mm_loadu_pd(pz + j));
        const __m128d r2 =
            _mm_add_pd(_mm_add_pd(_mm_mul_pd(dx, dx), _mm_mul_pd(dy, dy)), _mm_mul_pd(dz, dz));
        const __m128d inv_r = _mm_div_pd(one, _mm_sqrt_pd(r2));
        const __m128d inv_r3 = _mm_mul_pd(_mm_mul_pd(inv_r, inv_r), inv_r);
        const __m128d qj = _mm_loadu_pd(pq + j);
        const __m128d qj_r3 = _mm_mul_pd(qj, inv_r3), qi_r3 = _mm_mul_pd(qi2, inv_r3);
        phi2 = _mm_add_pd(phi2, _mm_mul_pd(qj, inv_r));
        fx2 = _mm_add_pd(fx2, _mm_mul_pd(qj_r3, dx));
        fy2 = _mm_add_pd(fy2, _mm_mul_pd(qj_r3, dy));
        fz2 = _mm_add_pd(fz2, _mm_mul_pd(qj_r3, dz));
        _mm_storeu_pd(phi_j + j, _mm_add_pd(_mm_loadu_pd(phi_j + j), _mm_mul_pd(qi2, inv_r)));
        _mm_storeu_pd(ex_j + j, _mm_sub_pd(_mm_loadu_pd(ex_j + j), _mm_mul_pd(qi_r3, dx)));
        _mm_storeu_pd(ey_j + j, _mm_sub_pd(_mm_loadu_pd(ey_j + j), _mm_mul_pd(qi_r3, dy)));
        _mm_storeu_pd(ez_j + j, _mm_sub_pd(_mm_loadu_pd(ez_j + j), _mm_mul_pd(qi_r3, dz)));
    }
    double lanes[2];
    _mm_storeu_pd(lanes, phi2);
    phi = lanes[0] + lanes[1];
    _mm_storeu_pd(lanes, fx2);
    fx = lanes[0] + lanes[1];
    _mm_storeu_pd(lanes, fy2);
    fy = lanes[0] + lanes[1];
    _mm_storeu_pd(lanes, fz2);
    fz = lanes[0] + lanes[1];
#endif
    for (; j < last; ++j) {
        const double dx = xi - px[j], dy = yi - py[j], dz = zi - pz[j];
        const double inv_r = 1.0 / std::sqrt(dx * dx + dy * dy + dz * dz);
        const double inv_r3 = inv_r * inv_r * inv_r;
        phi += pq[j] * inv_r;
        fx += pq[j] * inv_r3 * dx;
        fy += pq[j] * inv_r3 * dy;
        fz += pq[j] * inv_r3 * dz;
        phi_j[j] += qi * inv_r;
        ex_j[j] -= qi * inv_r3 * dx;
        ey_j[j] -= qi * inv_r3 * dy;
        ez_j[j] -= qi * inv_r3 * dz;
    }
    phi_[i] += phi;
    ex_[i] += fx;
    ey_[i] += fy;
    ez_[i] += fz;
}

void MultipoleTree::near_field() {
    const int per_axis = 1 << depth_;
    const double* px = sx_.data();
    const double* py = sy_.data();
    const double* pz = sz_.data();
    for (std::size_t c = 0; c < cells_at(depth_); ++c) {
        const uint32_t first = cell_start_[c], last = cell_start_[c + 1];
        if (first == last) {
            continue;
        }
        // Pairs within the cell.
        for (uint32_t i = first; i < last; ++i)
            pair_sum(i, px[i], py[i], pz[i], i + 1, last);
        // Pairs with each near cell at a positive offset (each unordered cell pair once; in a
        // periodic box a cell may meet an image of itself, so all ordered pairs are taken).
        const auto coords = morton_coordinates(c);
        for (const Offset& d : offsets_.near_half) {
            int t[3];
            double shift[3];
            bool inside = true;
            for (int a = 0; a < 3; ++a) {
                t[a] = static_cast<int>(coords[a]) + d[a];
                shift[a] = 0.0;
                if (periodic_) {
                    shift[a] = wrap(t[a], per_axis) * sides_[a];
                } else if (t[a] < 0 || t[a] >= per_axis) {
                    inside = false;
                }
            }
            if (!inside) {
                continue;
            }
            const uint64_t other = morton_key(t[0], t[1], t[2]);
            const uint32_t o_first = cell_start_[other], o_last = cell_start_[other + 1];
            for (uint32_t i = first; i < last; ++i)
                pair_sum(i, px[i] - shift[0], py[i] - shift[1], pz[i] - shift[2], o_first, o_last);
        }
    }
}

void MultipoleTree::add_background_terms() {
    // The neutralising background of the lattice sums leaves (2 pi / 3V) |a - b|^2 in the far
    // kernel between particles at a and b (relative to the box centre).
    const double volume = sides_[0] * sides_[1] * sides_[2];
    const double factor = 2.0 * std::numbers::pi / (3.0 * volume);
    double total = 0.0, second = 0.0, dipole[3] = {0.0, 0.0, 0.0};
    const std::size_t count = sq_.size();
    for (std::size_t i = 0; i < count; ++i) {
        const double b[3] = {sx_[i] - centre_[0], sy_[i] - centre_[1], sz_[i] - centre_[2]};
        total += sq_[i];
        second += sq_[i] * (b[0] * b[0] + b[1] * b[1] + b[2] * b[2]);
        for (int a = 0; a < 3; ++a) {
            dipole[a] += sq_[i] * b[a];
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        const double a[3] = {sx_[i] - centre_[0], sy_[i] - centre_[1], sz_[i] - centre_[2]};
        phi_[i] +=
            factor * (total * (a[0] * a[0] + a[1] * a[1] + a[2] * a[2]) -
                      2.0 * (a[0] * dipole[0] + a[1] * dipole[1] + a[2] * dipole[2]) + second);
        ex_[i] += 2.0 * factor * (dipole[0] - total * a[0]);
        ey_[i] += 2.0 * factor * (dipole[1] - total * a[1]);
        ez_[i] += 2.0 * factor * (dipole[2] - total * a[2]);
    }
}

}  // namespace pelix::multipole
