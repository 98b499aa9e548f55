// Block-wise FFT convolution of the multipole-to-local transfers of one level.
#include "electrostatics/multipole/fft_transfer.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "electrostatics/multipole/batched_fft.hpp"

namespace pelix::multipole {
namespace {

int positive_mod(int v, int n) {
    const int r = v % n;
    return r < 0 ? r + n : r;
}

// Index 0..26 of a parity difference e in {-1, 0, 1}^3.
int difference_index(int ex, int ey, int ez) {
    return ((ex + 1) * 3 + ey + 1) * 3 + ez + 1;
}

std::size_t grid_index(const std::array<int, 3>& n, int i, int j, int k) {
    return (static_cast<std::size_t>(i) * n[1] + j) * n[2] + k;
}

}  // namespace

FftTransfer::FftTransfer(int order, const std::array<double, 3>& cell_side, double theta,
                         const OffsetSets& offsets, int block, bool periodic)
    : order_(order),
      cell_side_(cell_side),
      theta_(theta),
      parent_near_(offsets.near),
      periodic_(periodic) {
    for (const Offset& d : parent_near_) {
        for (int a = 0; a < 3; ++a) {
            reach_[a] = std::max(reach_[a], std::abs(d[a]));
        }
    }
    for (int a = 0; a < 3; ++a) {
        block_length_[a] = power_of_two_at_least(block + 2 * reach_[a]);
    }
}

std::array<int, 3> FftTransfer::fft_lengths(int parents) const {
    std::array<int, 3> n = block_length_;
    for (int a = 0; a < 3; ++a) {
        if (parents < block_length_[a]) {
            // A grid shorter than a block: periodic, transformed whole; open, in one block
            // just long enough for the grid and its margins.
            n[a] = periodic_
                       ? parents
                       : std::min(block_length_[a], power_of_two_at_least(parents + 2 * reach_[a]));
        }
    }
    return n;
}

std::array<int, 3> FftTransfer::targets_per_block(int parents, const std::array<int, 3>& n) const {
    // A whole periodic grid is one circular block; otherwise blocks keep `reach` cells of
    // sources on each side of their targets.
    std::array<int, 3> targets{};
    for (int a = 0; a < 3; ++a) {
        targets[a] = (periodic_ && n[a] == parents) ? parents : n[a] - 2 * reach_[a];
    }
    return targets;
}

double FftTransfer::operator_products(int level) const {
    const int parents = 1 << (level - 1);
    const std::array<int, 3> n = fft_lengths(parents);
    const std::array<int, 3> targets = targets_per_block(parents, n);
    double products = 64.0;
    for (int a = 0; a < 3; ++a) {
        products *= n[a] * ((parents + targets[a] - 1) / targets[a]);
    }
    return products;
}

const std::vector<Complex>& FftTransfer::kernels_for(const std::array<int, 3>& n) {
    auto found = kernels_.find(n);
    if (found != kernels_.end()) {
        return found->second;
    }
    const std::size_t full = full_size(order_);
    const BatchedFft3d fft(n, full);
    const std::size_t points = fft.points();
    std::vector<Complex> kernels(27 * points * full, Complex(0.0, 0.0));
    std::vector<Complex> half(half_size(order_)), operator_full(full);
    for (int ex = -1; ex <= 1; ++ex) {
        for (int ey = -1; ey <= 1; ++ey) {
            for (int ez = -1; ez <= 1; ++ez) {
                Complex* kernel = &kernels[difference_index(ex, ey, ez) * points * full];
                for (const Offset& parent : parent_near_) {
                    const Offset d{2 * parent[0] + ex, 2 * parent[1] + ey, 2 * parent[2] + ez};
                    if (is_near(d, cell_side_, theta_)) {
                        continue;
                    }
                    // The source sits at +d from its target: operator I(-d), stored at -D so
                    // that the circular convolution yields sum_D K(D) M(T + D). Offsets that
                    // coincide modulo a short periodic grid are images and add up.
                    irregular_harmonics(order_, -d[0] * cell_side_[0], -d[1] * cell_side_[1],
                                        -d[2] * cell_side_[2], half.data());
                    expand_to_full(order_, half.data(), operator_full.data());
                    Complex* target = kernel + grid_index(n, positive_mod(-parent[0], n[0]),
                                                          positive_mod(-parent[1], n[1]),
                                                          positive_mod(-parent[2], n[2])) *
                                                   full;
                    for (std::size_t c = 0; c < full; ++c) {
                        target[c] += operator_full[c];
                    }
                }
                fft.forward(kernel);
            }
        }
    }
    return kernels_.emplace(n, std::move(kernels)).first->second;
}

void FftTransfer::transfer(int level, const std::vector<Complex>& multipoles,
                           const std::vector<char>& occupied, std::vector<Complex>& locals) {
    const int parents = 1 << (level - 1);
    const std::array<int, 3> n = fft_lengths(parents);
    const std::vector<Complex>& kernels = kernels_for(n);
    const std::size_t full = full_size(order_);
    const std::size_t h = half_size(order_);
    const BatchedFft3d source_fft(n, full), target_fft(n, h);
    const std::size_t points = source_fft.points();
    const std::array<int, 3> targets_per_block = this->targets_per_block(parents, n);
    std::vector<Complex> sources(8 * points * full), results(8 * points * h);
    const double normalisation = 1.0 / static_cast<double>(points);

    auto child_key = [](const std::array<int, 3>& parent, int parity) {
        return morton_key(static_cast<uint32_t>(2 * parent[0] + (parity & 1)),
                          static_cast<uint32_t>(2 * parent[1] + ((parity >> 1) & 1)),
                          static_cast<uint32_t>(2 * parent[2] + ((parity >> 2) & 1)));
    };

    std::array<int, 3> corner{};
    for (corner[0] = 0; corner[0] < parents; corner[0] += targets_per_block[0]) {
        for (corner[1] = 0; corner[1] < parents; corner[1] += targets_per_block[1]) {
            for (corner[2] = 0; corner[2] < parents; corner[2] += targets_per_block[2]) {
                // Targets of this block: parents corner .. corner + targets_per_block - 1.
                std::array<int, 3> last{};
                for (int a = 0; a < 3; ++a) {
                    last[a] = std::min(parents, corner[a] + targets_per_block[a]);
                }
                bool any_target = false;
                std::array<int, 3> t{};
                for (t[0] = corner[0]; t[0] < last[0] && !any_target; ++t[0]) {
                    for (t[1] = corner[1]; t[1] < last[1] && !any_target; ++t[1]) {
                        for (t[2] = corner[2]; t[2] < last[2] && !any_target; ++t[2]) {
                            for (int p = 0; p < 8; ++p) {
                                any_target = any_target || occupied[child_key(t, p)];
                            }
                        }
                    }
                }
                if (!any_target) {
                    continue;
                }

                // Gather the sources of the widened block, parity by parity.
                std::fill(sources.begin(), sources.end(), Complex(0.0, 0.0));
                bool any_source = false;
                std::array<int, 3> u{};
                for (u[0] = 0; u[0] < n[0]; ++u[0]) {
                    for (u[1] = 0; u[1] < n[1]; ++u[1]) {
                        for (u[2] = 0; u[2] < n[2]; ++u[2]) {
                            std::array<int, 3> s{};
                            bool inside = true;
                            for (int a = 0; a < 3; ++a) {
                                s[a] = corner[a] - reach_[a] + u[a];
                                if (periodic_) {
                                    s[a] = positive_mod(s[a], parents);
                                } else if (s[a] < 0 || s[a] >= parents) {
                                    inside = false;
                                }
                            }
                            if (!inside) {
                                continue;
                            }
                            const std::size_t point = grid_index(n, u[0], u[1], u[2]);
                            for (int p = 0; p < 8; ++p) {
                                const uint64_t key = child_key(s, p);
                                if (!occupied[key]) {
                                    continue;
                                }
                                any_source = true;
                                Complex* source = &sources[(p * points + point) * full];
                                expand_to_full(order_, &multipoles[key * h], source);
                                for (int deg = 1; deg <= order_; ++deg) {
                                    const double scale = std::ldexp(1.0, level * deg);
                                    for (int m = -deg; m <= deg; ++m) {
                                        source[full_index(deg, m)] *= scale;
                                    }
                                }
                            }
                        }
                    }
                }
                if (!any_source) {
                    continue;
                }
                for (int p = 0; p < 8; ++p) {
                    source_fft.forward(&sources[p * points * full]);
                }

                // Pointwise operator products: target parity pt takes from source parity ps
                // through the kernel of e = ps - pt.
                std::fill(results.begin(), results.end(), Complex(0.0, 0.0));
                for (std::size_t w = 0; w < points; ++w) {
                    for (int pt = 0; pt < 8; ++pt) {
                        Complex* out = &results[(pt * points + w) * h];
                        for (int ps = 0; ps < 8; ++ps) {
                            const int e = difference_index(((ps >> 0) & 1) - ((pt >> 0) & 1),
                                                           ((ps >> 1) & 1) - ((pt >> 1) & 1),
                                                           ((ps >> 2) & 1) - ((pt >> 2) & 1));
                            multipole_to_local(order_, order_, &kernels[(e * points + w) * full],
                                               &sources[(ps * points + w) * full], out);
                        }
                    }
                }
                for (int p = 0; p < 8; ++p) {
                    target_fft.inverse(&results[p * points * h]);
                }

                // Scatter: target T = corner + t reads the convolution at t + reach.
                for (t[0] = corner[0]; t[0] < last[0]; ++t[0]) {
                    for (t[1] = corner[1]; t[1] < last[1]; ++t[1]) {
                        for (t[2] = corner[2]; t[2] < last[2]; ++t[2]) {
                            const std::size_t point =
                                grid_index(n, (t[0] - corner[0] + reach_[0]) % n[0],
                                           (t[1] - corner[1] + reach_[1]) % n[1],
                                           (t[2] - corner[2] + reach_[2]) % n[2]);
                            for (int p = 0; p < 8; ++p) {
                                const uint64_t key = child_key(t, p);
                                if (!occupied[key]) {
                                    continue;
                                }
                                const Complex* value = &results[(p * points + point) * h];
                                Complex* local = &locals[key * h];
                                for (std::size_t c = 0; c < h; ++c) {
                                    local[c] += normalisation * value[c];
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}

}  // namespace pelix::multipole
