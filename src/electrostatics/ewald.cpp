#include "electrostatics/ewald.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
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

// One wave vector of the half-space with its weight A(k) = 4 pi exp(-k^2 / 4 alpha^2) / k^2.
struct WaveVector {
    int32_t ix, iy, iz;
    double kx, ky, kz, a;
};

// The wave vectors with |k| < kc in the order of the half-space loops: kx = 0..nx; for kx > 0
// every ky and kz; for kx = 0 only ky >= 0, and kz > 0 when ky = 0 as well.
std::vector<WaveVector> half_space_wave_vectors(const EwaldParameters& p, double gx, double gy,
                                                double gz, const WaveVectorRange& range) {
    const double kc2 = p.kc * p.kc;
    const double inverse_4alpha2 = 1.0 / (4.0 * p.alpha * p.alpha);
    std::vector<WaveVector> out;
    for (int32_t ix = 0; ix <= range.nx; ++ix) {
        for (int32_t iy = ix == 0 ? 0 : -range.ny; iy <= range.ny; ++iy) {
            const int32_t first_z = (ix == 0 && iy == 0) ? 1 : -range.nz;
            for (int32_t iz = first_z; iz <= range.nz; ++iz) {
                const double kx = ix * gx, ky = iy * gy, kz = iz * gz;
                const double k2 = kx * kx + ky * ky + kz * kz;
                if (!(k2 < kc2))
                    continue;
                const double a = EwaldParameters::four_pi * std::exp(-k2 * inverse_4alpha2) / k2;
                out.push_back({ix, iy, iz, kx, ky, kz, a});
            }
        }
    }
    return out;
}

// The loops over the atoms of a block below are compiled twice, for AVX and for the baseline,
// and chosen when the module loads. They work atom by atom with no sum across atoms, so the
// vector forms keep the bits of the scalar ones.

// (ac + i as) (bc + i sign bs) of `count` atoms into c + i s.
[[gnu::target_clones("avx", "default")]] void combine_phases(
    int32_t count, const double* __restrict ac, const double* __restrict as,
    const double* __restrict bc, const double* __restrict bs, double sign, double* __restrict c,
    double* __restrict s) {
    for (int32_t i = 0; i < count; ++i) {
        const double bsi = sign * bs[i];
        c[i] = ac[i] * bc[i] - as[i] * bsi;
        s[i] = as[i] * bc[i] + ac[i] * bsi;
    }
}

// One wave vector's energy and force on `count` atoms with phases c + i s, from the structure
// factor (cs, ss) and the weight.
[[gnu::target_clones("avx", "default")]] void add_wave_terms(
    int32_t count, double weight, double cs, double ss, double kx, double ky, double kz,
    const double* __restrict q, const double* __restrict c, const double* __restrict s,
    double* __restrict pe, double* __restrict fx, double* __restrict fy, double* __restrict fz) {
    for (int32_t b = 0; b < count; ++b) {
        const double wq = weight * q[b];
        pe[b] += wq * (c[b] * cs - s[b] * ss);
        const double t = wq * (s[b] * cs + c[b] * ss);
        fx[b] += t * kx;
        fy[b] += t * ky;
        fz[b] += t * kz;
    }
}

// exp(i m g x) of a block of atoms for m = 0..steps along one axis, as cosines and sines laid
// out step by step (the atoms of a step contiguous). A negative step is the complex conjugate.
class AxisPhases {
  public:
    void fill(int32_t steps, double g, const double* x, int32_t count) {
        count_ = count;
        const auto size = static_cast<std::size_t>(steps + 1) * static_cast<std::size_t>(count);
        cos_.resize(size);
        sin_.resize(size);
        for (int32_t m = 0; m <= steps; ++m) {
            const double k = m * g;
            double* c = cos_.data() + offset(m);
            double* s = sin_.data() + offset(m);
            for (int32_t i = 0; i < count; ++i) {
                c[i] = std::cos(k * x[i]);
                s[i] = std::sin(k * x[i]);
            }
        }
    }
    const double* cosines(int32_t m) const { return cos_.data() + offset(m); }
    const double* sines(int32_t m) const { return sin_.data() + offset(m); }

  private:
    std::size_t offset(int32_t m) const {
        return static_cast<std::size_t>(m) * static_cast<std::size_t>(count_);
    }
    int32_t count_ = 0;
    std::vector<double> cos_, sin_;
};

// Phases of a block of atoms for every wave vector, built from per-axis tables: one complex
// product per atom and wave vector instead of a sine and a cosine.
class BlockPhases {
  public:
    BlockPhases(double gx, double gy, double gz, const WaveVectorRange& range)
        : gx_(gx), gy_(gy), gz_(gz), range_(range) {}

    void load(const double* rx, const double* ry, const double* rz, int32_t count) {
        count_ = count;
        x_.fill(range_.nx, gx_, rx, count);
        y_.fill(range_.ny, gy_, ry, count);
        z_.fill(range_.nz, gz_, rz, count);
        xy_cos_.resize(static_cast<std::size_t>(count));
        xy_sin_.resize(static_cast<std::size_t>(count));
        c_.resize(static_cast<std::size_t>(count));
        s_.resize(static_cast<std::size_t>(count));
        last_ix_ = last_iy_ = std::numeric_limits<int32_t>::min();
    }

    // cos(k.r) and sin(k.r) of the block's atoms, valid until the next call.
    void phases(const WaveVector& k, const double*& c, const double*& s) {
        if (k.ix != last_ix_ || k.iy != last_iy_) {
            combine(x_.cosines(k.ix), x_.sines(k.ix), y_.cosines(std::abs(k.iy)),
                    y_.sines(std::abs(k.iy)), k.iy < 0, xy_cos_.data(), xy_sin_.data());
            last_ix_ = k.ix;
            last_iy_ = k.iy;
        }
        combine(xy_cos_.data(), xy_sin_.data(), z_.cosines(std::abs(k.iz)),
                z_.sines(std::abs(k.iz)), k.iz < 0, c_.data(), s_.data());
        c = c_.data();
        s = s_.data();
    }

  private:
    void combine(const double* ac, const double* as, const double* bc, const double* bs,
                 bool conjugate, double* c, double* s) const {
        combine_phases(count_, ac, as, bc, bs, conjugate ? -1.0 : 1.0, c, s);
    }

    double gx_, gy_, gz_;
    WaveVectorRange range_;
    int32_t count_ = 0;
    AxisPhases x_, y_, z_;
    std::vector<double> xy_cos_, xy_sin_, c_, s_;
    int32_t last_ix_ = 0, last_iy_ = 0;
};

// Atoms per block of phase tables: the tables of a block stay in cache and their size does
// not grow with the system.
constexpr int32_t kPhaseBlock = 1024;

// Reciprocal-space sum over the half-space of wave vectors with |k| < kc; the factor 2 in the
// weight stands for the wave vectors -k left out. A first pass over blocks of atoms sums the
// structure factor C(k), S(k) of every wave vector, a second adds each atom's energy and force.
void reciprocal_space_sum(const Engine& engine, const EwaldParameters& p, int32_t n,
                          const double* rx, const double* ry, const double* rz, const double* q,
                          double* fx, double* fy, double* fz, double* pe) {
    const double lx = engine.atoms.lx, ly = engine.atoms.ly, lz = engine.atoms.lz;
    const double volume = lx * ly * lz;
    const double gx = EwaldParameters::two_pi / lx;
    const double gy = EwaldParameters::two_pi / ly;
    const double gz = EwaldParameters::two_pi / lz;
    const WaveVectorRange range = ewald_wave_vector_range(lx, ly, lz);
    const std::vector<WaveVector> waves = half_space_wave_vectors(p, gx, gy, gz, range);
    if (waves.empty())
        return;

    std::vector<double> c_sum(waves.size(), 0.0), s_sum(waves.size(), 0.0);
    BlockPhases block(gx, gy, gz, range);
    for (int32_t first = 0; first < n; first += kPhaseBlock) {
        const int32_t count = std::min(kPhaseBlock, n - first);
        block.load(rx + first, ry + first, rz + first, count);
        const double* qb = q + first;
        for (std::size_t w = 0; w < waves.size(); ++w) {
            const double *c = nullptr, *s = nullptr;
            block.phases(waves[w], c, s);
            double cs = c_sum[w], ss = s_sum[w];
            for (int32_t i = 0; i < count; ++i) {
                cs += qb[i] * c[i];
                ss -= qb[i] * s[i];
            }
            c_sum[w] = cs;
            s_sum[w] = ss;
        }
    }

    for (int32_t first = 0; first < n; first += kPhaseBlock) {
        const int32_t count = std::min(kPhaseBlock, n - first);
        block.load(rx + first, ry + first, rz + first, count);
        for (std::size_t w = 0; w < waves.size(); ++w) {
            const WaveVector& k = waves[w];
            const double *c = nullptr, *s = nullptr;
            block.phases(k, c, s);
            const double weight = 2.0 * k.a / volume;
            add_wave_terms(count, weight, c_sum[w], s_sum[w], k.kx, k.ky, k.kz, q + first, c, s,
                           pe + first, fx + first, fy + first, fz + first);
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
