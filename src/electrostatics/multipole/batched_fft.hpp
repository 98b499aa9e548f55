#pragma once
// Three-dimensional discrete Fourier transform of a grid whose every point holds a vector of
// complex values (one value per expansion coefficient). The transform runs along the grid axes
// and treats the vector entries as independent channels, so each butterfly works on whole
// contiguous vectors. Radix 2: every grid length must be a power of two.
#include <array>
#include <cstddef>
#include <vector>

#include "electrostatics/multipole/solid_harmonics.hpp"

namespace pelix::multipole {

class BatchedFft3d {
  public:
    // Grid of lengths[0] x lengths[1] x lengths[2] points, the last axis fastest; each point
    // holds `channels` consecutive complex values.
    BatchedFft3d(const std::array<int, 3>& lengths, std::size_t channels);

    // X_k = sum_j x_j exp(-2 pi i j.k / n), in place.
    void forward(Complex* grid) const { transform(grid, -1.0); }
    // x_j = sum_k X_k exp(+2 pi i j.k / n), in place and without the 1/n factor.
    void inverse(Complex* grid) const { transform(grid, 1.0); }

    std::size_t points() const {
        return static_cast<std::size_t>(lengths_[0]) * lengths_[1] * lengths_[2];
    }
    std::size_t channels() const { return channels_; }

  private:
    void transform(Complex* grid, double sign) const;
    void transform_line(Complex* grid, int axis, std::size_t first_point, std::size_t stride,
                        double sign) const;

    std::array<int, 3> lengths_;
    std::size_t channels_;
    // Per axis: exp(-2 pi i k / n) for k < n / 2, and the bit-reversed order of 0..n-1.
    std::array<std::vector<Complex>, 3> roots_;
    std::array<std::vector<int>, 3> reversed_;
};

// Smallest power of two that is >= n (n >= 1).
int power_of_two_at_least(int n);

}  // namespace pelix::multipole
