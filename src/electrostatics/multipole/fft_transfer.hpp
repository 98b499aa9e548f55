#pragma once
// Multipole-to-local transfers of one tree level done as convolutions over the cell grid.
//
// A cell at level l is child p (its parity, one bit per axis) of parent T and takes transfers
// from the cells 2 S + p' whose parents S = T + D are near T but which are not near it
// themselves. The operator of such a pair depends only on D and on e = p' - p, so for each of
// the 8 x 8 parity pairs the transfer is a convolution over the parent grid with a kernel that
// vanishes outside the parents' near set. Convolved by FFT, each target cell costs 8 pointwise
// operator products (one per source parity) instead of one per member of its interaction list.
//
// The parent grid is cut into blocks: the targets of one block come from one FFT of the
// sources in the block widened by the near set's reach on each side (overlap-save); the FFT
// length along an axis is block + 2 reach rounded up to a power of two, and the block grows to
// fill it. A periodic level whose parent grid is no longer than that is transformed whole, as
// a circular convolution.
#include <array>
#include <map>
#include <vector>

#include "electrostatics/multipole/cell_layout.hpp"
#include "electrostatics/multipole/solid_harmonics.hpp"

namespace pelix::multipole {

class FftTransfer {
  public:
    // `cell_side` is the root cell (the box); the operators are built at that scale, and the
    // caller scales multipoles and locals by powers of two per level as for the direct
    // transfer. `block` >= 1 is the number of parent cells per axis grouped into one block.
    FftTransfer(int order, const std::array<double, 3>& cell_side, double theta,
                const OffsetSets& offsets, int block, bool periodic);

    // Adds to `locals` (half layout, cells in Morton order at `level`) the transfers into every
    // occupied cell from the cells of its interaction list, at the scale of the root: the
    // multipoles M_n enter as M_n 2^(level n), and the caller scales the locals L_k by
    // 2^(level (k + 1)) afterwards, as for the direct transfer.
    void transfer(int level, const std::vector<Complex>& multipoles,
                  const std::vector<char>& occupied, std::vector<Complex>& locals);

    // FFT length per axis used for a level whose parent grid has `parents` cells per axis.
    std::array<int, 3> fft_lengths(int parents) const;

    // Operator products (pointwise, per frequency and parity pair) of a transfer at `level`.
    double operator_products(int level) const;

  private:
    std::array<int, 3> targets_per_block(int parents, const std::array<int, 3>& lengths) const;
    const std::vector<Complex>& kernels_for(const std::array<int, 3>& lengths);

    int order_;
    std::array<double, 3> cell_side_;
    double theta_;
    std::vector<Offset> parent_near_;
    std::array<int, 3> reach_{};       // largest |D| per axis over the parents' near set
    std::array<int, 3> block_length_;  // FFT length of a block per axis
    bool periodic_;
    // Transformed kernels per FFT grid: 27 (e) x points x full_size(order).
    std::map<std::array<int, 3>, std::vector<Complex>> kernels_;
};

}  // namespace pelix::multipole
