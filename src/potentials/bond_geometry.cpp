#include "potentials/bond_geometry.hpp"

#include <cmath>

#include "common/cpu_features.hpp"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define PELIX_BOND_GEOMETRY_AVX 1
#endif

namespace pelix {

namespace {

// Square roots and divisions are correctly rounded however many are taken at once, so the
// vector forms below give the same bits as this loop.
void normalise_scalar(double* len, double* ux, double* uy, double* uz, int32_t from,
                      int32_t count) {
    for (int32_t b = from; b < count; ++b) {
        const double r = std::sqrt(len[b]);
        len[b] = r;
        ux[b] /= r;
        uy[b] /= r;
        uz[b] /= r;
    }
}

#if defined(PELIX_BOND_GEOMETRY_AVX)
// The build is taken by value: a copy of its own, which no store can reach, keeps its pointers
// and centre in registers rather than loaded again after every store into the bond list.
[[gnu::target("avx")]] int32_t write_normalised_known_bonds_avx(const BondBuild build,
                                                                const int32_t* neighbour,
                                                                const int32_t* image,
                                                                int32_t count) {
    double* len = build.bndlen;
    double* ux = build.bndxnm;
    double* uy = build.bndynm;
    double* uz = build.bndznm;
    int32_t written = 0, normalised = 0;
    bool unknown = false;
    for (int32_t k = 0; k < count; ++k) {
        written = write_entry(build, neighbour[k], image[k], written, unknown);
        // Slots below `written` are final: the next entry writes at `written` itself.
        if (written - normalised >= 4) {
            const int32_t b = normalised;
            const __m256d r = _mm256_sqrt_pd(_mm256_loadu_pd(len + b));
            _mm256_storeu_pd(len + b, r);
            _mm256_storeu_pd(ux + b, _mm256_div_pd(_mm256_loadu_pd(ux + b), r));
            _mm256_storeu_pd(uy + b, _mm256_div_pd(_mm256_loadu_pd(uy + b), r));
            _mm256_storeu_pd(uz + b, _mm256_div_pd(_mm256_loadu_pd(uz + b), r));
            normalised += 4;
        }
    }
    if (unknown)
        return -1;
    normalise_scalar(len, ux, uy, uz, normalised, written);
    return written;
}

[[gnu::target("avx")]] void normalise_avx(double* len, double* ux, double* uy, double* uz,
                                          int32_t count) {
    int32_t b = 0;
    for (; b + 4 <= count; b += 4) {
        const __m256d r = _mm256_sqrt_pd(_mm256_loadu_pd(len + b));
        _mm256_storeu_pd(len + b, r);
        _mm256_storeu_pd(ux + b, _mm256_div_pd(_mm256_loadu_pd(ux + b), r));
        _mm256_storeu_pd(uy + b, _mm256_div_pd(_mm256_loadu_pd(uy + b), r));
        _mm256_storeu_pd(uz + b, _mm256_div_pd(_mm256_loadu_pd(uz + b), r));
    }
    normalise_scalar(len, ux, uy, uz, b, count);
}

void normalise_sse2(double* len, double* ux, double* uy, double* uz, int32_t count) {
    int32_t b = 0;
    for (; b + 2 <= count; b += 2) {
        const __m128d r = _mm_sqrt_pd(_mm_loadu_pd(len + b));
        _mm_storeu_pd(len + b, r);
        _mm_storeu_pd(ux + b, _mm_div_pd(_mm_loadu_pd(ux + b), r));
        _mm_storeu_pd(uy + b, _mm_div_pd(_mm_loadu_pd(uy + b), r));
        _mm_storeu_pd(uz + b, _mm_div_pd(_mm_loadu_pd(uz + b), r));
    }
    normalise_scalar(len, ux, uy, uz, b, count);
}
#endif

// The lengths and unit vectors of `count` bonds, four or two at a time where the processor
// allows.
void normalise(double* len, double* ux, double* uy, double* uz, int32_t count) {
#if defined(PELIX_BOND_GEOMETRY_AVX)
    if (cpu_has_avx())
        normalise_avx(len, ux, uy, uz, count);
    else
        normalise_sse2(len, ux, uy, uz, count);
#else
    normalise_scalar(len, ux, uy, uz, 0, count);
#endif
}

}  // namespace

int32_t write_normalised_known_bonds(const BondBuild& shared, const int32_t* neighbour,
                                     const int32_t* image, int32_t count) {
#if defined(PELIX_BOND_GEOMETRY_AVX)
    if (cpu_has_avx())
        return write_normalised_known_bonds_avx(shared, neighbour, image, count);
#endif
    const int32_t written = write_known_bonds(shared, neighbour, image, count);
    if (written > 0)
        normalise(shared.bndlen, shared.bndxnm, shared.bndynm, shared.bndznm, written);
    return written;
}

void normalise_bonds(BondList& bonds, int32_t count) {
    normalise(bonds.bndlen.data(), bonds.bndxnm.data(), bonds.bndynm.data(), bonds.bndznm.data(),
              count);
}

}  // namespace pelix
