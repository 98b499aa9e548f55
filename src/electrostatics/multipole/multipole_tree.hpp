#pragma once
// The fast multipole tree over an orthorhombic box: potentials and forces of N point charges,
// in units where the Coulomb constant is 1, for an open box (plain Coulomb sum over all pairs)
// or a periodic one (sum over all images, far images through lattice sums, conducting
// boundary at infinity as in Ewald summation).
//
// Passes of one evaluation: sort the particles by leaf cell in Morton order; particle to
// multipole in the leaves; multipole to multipole up the tree; multipole to local over each
// cell's interaction list, level by level, operator by operator or, with the FFT switch on, as
// FFT convolutions over the level's cell grid (fft_transfer.hpp) (and, when periodic, from the
// lattice of box images to the root); local to local down the tree; local to particle in the
// leaves; particle to particle over near leaf pairs.
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "electrostatics/multipole/cell_layout.hpp"
#include "electrostatics/multipole/fft_transfer.hpp"
#include "electrostatics/multipole/solid_harmonics.hpp"

namespace pelix::multipole {

// The settings record of the tree: the integer and real records of "dpmta.IN".
struct MultipoleSettings {
    int32_t process_count = 1;
    int32_t levels = 3;             // tree levels, the root included: 8^(levels - 1) leaf cells
    int32_t terms = 8;              // multipole terms: expansions of degree 0 .. terms - 1
    int32_t mp_lj = 0;              // terms of a Lennard-Jones expansion; carried, not used
    int32_t fft_switch = 0;         // non-zero: multipole-to-local transfers by FFT convolution
    int32_t fft_block = 4;          // parent cells per axis whose transfers share one FFT block
    int32_t periodic = 0;           // non-zero: periodic box
    int32_t macroscopic_terms = 8;  // lattice-sum degrees 0 .. macroscopic_terms - 1
    double theta = 0.7;             // acceptance: combined radii / centre distance <= theta
    std::array<double, 3> v1{}, v2{}, v3{}, centre{};

    static MultipoleSettings from_records(const int32_t integers[8], const double reals[13]);
};

class MultipoleTree {
  public:
    // Checks the settings (nrerror with a message naming the bad value) and lays out the
    // cells for the box of the settings (diagonal of v1, v2, v3 and the centre).
    explicit MultipoleTree(const MultipoleSettings& settings);

    // New box side lengths and centre; the cells are laid out again for the next evaluation.
    void resize(const std::array<double, 3>& sides, const std::array<double, 3>& centre);

    // For each particle i: potential[i], the potential of all other charges (and, periodic,
    // of all images) at particle i, and force[i] = q_i times the field there. Open box:
    // every charged particle must lie inside the box. Periodic: positions are wrapped into
    // the box. Uncharged particles take no part: they may lie anywhere and get zeros.
    void evaluate(std::size_t count, const double* x, const double* y, const double* z,
                  const double* q, double* potential, double* force_x, double* force_y,
                  double* force_z);

    const MultipoleSettings& settings() const { return settings_; }
    const std::array<double, 3>& box_sides() const { return sides_; }
    const std::array<double, 3>& box_centre() const { return centre_; }
    // Whether the transfers of `level` (1..depth) go by FFT: with the FFT switch on, at every
    // level where the FFT blocks take fewer operator products than the interaction lists.
    bool transfers_by_fft(int level);
    int order() const { return order_; }
    int depth() const { return depth_; }

  private:
    void lay_out_cells();
    void sort_particles(std::size_t count, const double* x, const double* y, const double* z,
                        const double* q);
    void upward_pass();
    void transfer_pass();
    void direct_transfer(int level);
    double direct_products(int level) const;
    void downward_pass();
    void near_field();
    void pair_sum(uint32_t i, double xi, double yi, double zi, uint32_t first, uint32_t last);
    void add_background_terms();

    MultipoleSettings settings_;
    int order_ = 0;
    int depth_ = 0;
    bool periodic_ = false;
    std::array<double, 3> sides_{}, centre_{}, lower_{};
    bool layout_current_ = false;

    // Cell layout (rebuilt by lay_out_cells).
    OffsetSets offsets_;
    int table_reach_ = 0;                  // offsets -reach..reach per axis in the tables
    std::vector<int> transfer_slot_;       // offset cube -> slot in transfer_table_, or -1
    std::vector<Complex> transfer_table_;  // I(-d * root side), full layout, per slot
    std::vector<std::vector<Complex>> child_shift_;  // per level: R(child - parent) x 8
    std::unique_ptr<FftTransfer> fft_transfer_;      // when the FFT switch is on
    std::vector<Complex> lattice_full_;              // periodic lattice sums, full layout
    int lattice_degree_ = -1;

    // Per-evaluation state.
    std::vector<std::vector<Complex>> multipole_, local_;  // per level: cells x half_size
    std::vector<std::vector<char>> occupied_;              // per level: cell holds particles
    std::vector<uint32_t> cell_start_;                     // leaf cell -> first sorted particle
    std::vector<std::size_t> original_index_;              // sorted -> caller's index
    std::vector<double> sx_, sy_, sz_, sq_;                // sorted, wrapped positions, charges
    std::vector<double> phi_, ex_, ey_, ez_;               // sorted potential and field
};

}  // namespace pelix::multipole
