#pragma once
// Ewald summation (component `ewald`) of the Coulomb energy and forces of charges in an
// orthorhombic box periodic along all three axes: a screened real-space sum over the neighbour
// list, a reciprocal-space sum over a half-space of wave vectors, and the self term. The
// accuracy target, and with it the splitting parameter and both cut-offs, are fixed.
//
// Both sums take the atoms 0..n-1 of the shared arrays, add the Coulomb potential energy of
// every atom (the full sum over its partners, not yet halved into pair shares) into pe and the
// forces into fx, fy, fz, and scale all four by efactor.
#include <cmath>
#include <cstdint>

namespace pelix {

struct Engine;

// Coulomb constant in eV A per elementary charge squared, the single-precision 14.399645
// widened to double.
inline constexpr double kEwaldEfactor = 14.39964485168457;

// The fixed parameters. The single-precision values of the accuracy target, of pi and its
// multiples and of the distance floor are widened to double on purpose, so that results stay
// the same to the last bit as with the single-precision constants.
struct EwaldParameters {
    static constexpr double accuracy = 0.0010000000474974513;
    static constexpr double real_cutoff = 9.0;  // A; pairs with r^2 < 81 enter
    static constexpr double two_pi = 6.2831854820251465;
    static constexpr double four_pi = 12.566370964050293;
    static constexpr double pi = 3.1415927410125732;
    static constexpr double distance_floor2 = 1.000000013351432e-10;  // A^2

    double s = std::sqrt(-std::log(accuracy));
    double alpha = s / real_cutoff;  // splitting parameter, 1/A
    double kc = 2.0 * alpha * s;     // reciprocal cut-off, 1/A
    double sqrt_pi = std::sqrt(pi);
};

// Numbers of wave-vector steps along each axis for a box: ceil(|kc / (2 pi / L)|).
struct WaveVectorRange {
    int32_t nx, ny, nz;
};
WaveVectorRange ewald_wave_vector_range(double lx, double ly, double lz);

// The Ewald sum over the neighbour list of `engine` (it must reach 9 A) and the box lengths of
// its atom store.
void periodic_ewald(const Engine& engine, int32_t n, const double* rx, const double* ry,
                    const double* rz, const double* q, double* fx, double* fy, double* fz,
                    double* pe);

// Reference: the bare Coulomb sum over a cube of 21 x 21 x 21 images of the box. Writes
// "Entering direct" and "Natom: " with n. A check for the Ewald result, not a method: the
// cubic truncation of a conditionally convergent sum is kept as it is.
void periodic_direct(const Engine& engine, int32_t n, const double* rx, const double* ry,
                     const double* rz, const double* q, double* fx, double* fy, double* fz,
                     double* pe);

}  // namespace pelix
