#include "electrostatics/ewald.hpp"

#include <cmath>
#include <vector>

#include "common/list_output.hpp"
#include "engine/engine.hpp"

namespace pelix {

namespace {

int32_t wave_vector_steps(double kc, double length, double two_pi) {
    return static_cast<int32_t>(std::ceil(std::fabs(kc / (two_pi / length))));
}

// Screened real-space sum over the neighbour list: erfc(alpha r) / r for every listed pair
// closer than the real-space cut-off, each pair seen from both of its atoms.
void real_space_sum(const Engine& engine, const EwaldParameters& p, int32_t n, const double* rx,
                    const double* ry, const double* rz, const double* q, double* fx, double* fy,
                    double* fz, double* pe) {
    const ForceFieldState& ff = engine.ff;
    const double cutoff2 = EwaldParameters::real_cutoff * EwaldParameters::real_cutoff;
    const double gauss = 2.0 * p.alpha / p.sqrt_pi;
    const double alpha2 = p.alpha * p.alpha;
    for (int32_t i = 0; i < n; ++i) {
        double gx = 0.0, gy = 0.0, gz = 0.0;
        double energy = 0.0;
        for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k) {
            const int32_t j = ff.nebour[k];
            const int32_t image = ff.pbctyp[k];
            const double dx = rx[i] - rx[j] + ff.xoffset(image);
            const double dy = ry[i] - ry[j] + ff.yoffset(image);
            const double dz = rz[i] - rz[j] + ff.zoffset(image);
            double r2 = dx * dx + dy * dy + dz * dz;
            if (r2 < EwaldParameters::distance_floor2)
                r2 = 0.0;
            if (!(r2 < cutoff2))
                continue;
            const double r = std::sqrt(r2);
            const double screened = std::erfc(p.alpha * r) / r;
            energy += q[i] * q[j] * screened;
            const double g = q[j] * (gauss * std::exp(-alpha2 * r2) + screened) / r;
            gx += g * dx / r;
            gy += g * dy / r;
            gz += g * dz / r;
        }
        pe[i] += energy;
        fx[i] += q[i] * gx;
        fy[i] += q[i] * gy;
        fz[i] += q[i] * gz;
    }
}

// Reciprocal-space sum over the half-space of wave vectors with |k| < kc; the factor 2 in the
// weight stands for the wave vectors -k left out.
void reciprocal_space_sum(const Engine& engine, const EwaldParameters& p, int32_t n,
                          const double* rx, const double* ry, const double* rz, const double* q,
                          double* fx, double* fy, double* fz, double* pe) {
    const double lx = engine.atoms.lx, ly = engine.atoms.ly, lz = engine.atoms.lz;
    const double volume = lx * ly * lz;
    const double gx = EwaldParameters::two_pi / lx;
    const double gy = EwaldParameters::two_pi / ly;
    const double gz = EwaldParameters::two_pi / lz;
    const WaveVectorRange range = ewald_wave_vector_range(lx, ly, lz);
    const double kc2 = p.kc * p.kc;
    const double inverse_4alpha2 = 1.0 / (4.0 * p.alpha * p.alpha);

    std::vector<double> cosines(static_cast<std::size_t>(n));
    std::vector<double> sines(static_cast<std::size_t>(n));
    auto add_wave_vector = [&](int32_t ix, int32_t iy, int32_t iz) {
        const double kx = ix * gx, ky = iy * gy, kz = iz * gz;
        const double k2 = kx * kx + ky * ky + kz * kz;
        if (!(k2 < kc2))
            return;
        const double a = EwaldParameters::four_pi * std::exp(-k2 * inverse_4alpha2) / k2;
        double c_sum = 0.0, s_sum = 0.0;
        for (int32_t i = 0; i < n; ++i) {
            const double phase = kx * rx[i] + ky * ry[i] + kz * rz[i];
            cosines[static_cast<std::size_t>(i)] = std::cos(phase);
            sines[static_cast<std::size_t>(i)] = std::sin(phase);
            c_sum += q[i] * cosines[static_cast<std::size_t>(i)];
            s_sum -= q[i] * sines[static_cast<std::size_t>(i)];
        }
        for (int32_t i = 0; i < n; ++i) {
            const double c = cosines[static_cast<std::size_t>(i)];
            const double s = sines[static_cast<std::size_t>(i)];
            const double w = 2.0 * q[i] * a / volume;
            pe[i] += w * (c * c_sum - s * s_sum);
            const double t = w * (s * c_sum + c * s_sum);
            fx[i] += t * kx;
            fy[i] += t * ky;
            fz[i] += t * kz;
        }
    };

    for (int32_t ix = 0; ix <= range.nx; ++ix) {
        for (int32_t iy = ix == 0 ? 0 : -range.ny; iy <= range.ny; ++iy) {
            const int32_t first_z = (ix == 0 && iy == 0) ? 1 : -range.nz;
            for (int32_t iz = first_z; iz <= range.nz; ++iz)
                add_wave_vector(ix, iy, iz);
        }
    }
}

}  // namespace

WaveVectorRange ewald_wave_vector_range(double lx, double ly, double lz) {
    const EwaldParameters p;
    return {wave_vector_steps(p.kc, lx, EwaldParameters::two_pi),
            wave_vector_steps(p.kc, ly, EwaldParameters::two_pi),
            wave_vector_steps(p.kc, lz, EwaldParameters::two_pi)};
}

void periodic_ewald(const Engine& engine, int32_t n, const double* rx, const double* ry,
                    const double* rz, const double* q, double* fx, double* fy, double* fz,
                    double* pe) {
    const EwaldParameters p;
    real_space_sum(engine, p, n, rx, ry, rz, q, fx, fy, fz, pe);
    reciprocal_space_sum(engine, p, n, rx, ry, rz, q, fx, fy, fz, pe);
    const double self = 2.0 * p.alpha / p.sqrt_pi;
    for (int32_t i = 0; i < n; ++i) {
        pe[i] = (pe[i] - self * q[i] * q[i]) * kEwaldEfactor;
        fx[i] *= kEwaldEfactor;
        fy[i] *= kEwaldEfactor;
        fz[i] *= kEwaldEfactor;
    }
}

void periodic_direct(const Engine& engine, int32_t n, const double* rx, const double* ry,
                     const double* rz, const double* q, double* fx, double* fy, double* fz,
                     double* pe) {
    write_stdout_line((ListLine() << "Entering direct").str());
    write_stdout_line((ListLine() << "Natom: " << n).str());
    constexpr int32_t kImages = 10;
    const double lx = engine.atoms.lx, ly = engine.atoms.ly, lz = engine.atoms.lz;
    for (int32_t mx = -kImages; mx <= kImages; ++mx) {
        for (int32_t my = -kImages; my <= kImages; ++my) {
            for (int32_t mz = -kImages; mz <= kImages; ++mz) {
                const double ox = mx * lx, oy = my * ly, oz = mz * lz;
                const bool home = mx == 0 && my == 0 && mz == 0;
                for (int32_t i = 0; i < n; ++i) {
                    // In the home box each pair once (j < i); in an image every j, i included.
                    const int32_t last = home ? i : n;
                    for (int32_t j = 0; j < last; ++j) {
                        const double dx = rx[j] + ox - rx[i];
                        const double dy = ry[j] + oy - ry[i];
                        const double dz = rz[j] + oz - rz[i];
                        const double r = std::sqrt(dx * dx + dy * dy + dz * dz);
                        const double qq = q[i] * q[j];
                        const double g = qq / (r * r * r);
                        pe[i] += qq / r;
                        fx[i] -= g * dx;
                        fy[i] -= g * dy;
                        fz[i] -= g * dz;
                        if (home) {
                            pe[j] += qq / r;
                            fx[j] += g * dx;
                            fy[j] += g * dy;
                            fz[j] += g * dz;
                        }
                    }
                }
            }
        }
    }
    for (int32_t i = 0; i < n; ++i) {
        pe[i] *= kEwaldEfactor;
        fx[i] *= kEwaldEfactor;
        fy[i] *= kEwaldEfactor;
        fz[i] *= kEwaldEfactor;
    }
}

}  // namespace pelix
