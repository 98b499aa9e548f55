#include "interaction/range_filter.hpp"

#include <algorithm>
#include <cmath>

#include "common/cpu_features.hpp"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define PELIX_RANGE_FILTER_AVX2 1
#endif

namespace pelix {

namespace {

// One candidate: writes it to the next free slot and keeps it when within range. The separation
// is (position - offset) - centre along each axis and its square is summed x, y, z; the vector
// loop below follows the same order, so both keep the same entries.
inline int64_t test_one(const PackedView& p, int32_t m, const CandidateRun& run,
                        const FilterCentre& c, int32_t* nebour, int32_t* pbctyp, int64_t written) {
    const int32_t j = p.atom[m];
    const double dx = p.x[m] - run.ox - c.x;
    const double dy = p.y[m] - run.oy - c.y;
    const double dz = p.z[m] - run.oz - c.z;
    const bool within = dx * dx + dy * dy + dz * dz < c.cutoff2[p.specie[m]];
    nebour[written] = j;
    pbctyp[written] = run.image;
    return written + ((within && j != c.i) ? 1 : 0);
}

int64_t append_scalar(const PackedView& packed, const CandidateRun* runs, const uint8_t* chosen,
                      int count, const FilterCentre& centre, int32_t* nebour, int32_t* pbctyp,
                      int64_t written) {
    for (int c = 0; c < count; ++c) {
        const CandidateRun* run = runs + chosen[c];
        for (int32_t m = run->first; m < run->end; ++m)
            written = test_one(packed, m, *run, centre, nebour, pbctyp, written);
    }
    return written;
}

// Distance along one axis from c to the span [lo, hi] of a cell's atoms shifted by an image
// offset, worked out with the same subtractions as the pair vectors: since rounding is
// monotonic, no atom of the cell is nearer along that axis than the value returned.
inline double gap_to_span(double c, double lo, double hi) {
    return std::max(0.0, std::max(lo - c, c - hi));
}

int choose_scalar(const CellBoxes& b, const double* reach2, double x, double y, double z,
                  uint8_t* chosen) {
    int count = 0;
    for (int c = 0; c < b.count; ++c) {
        const double gx = gap_to_span(x, b.xlo[c], b.xhi[c]);
        const double gy = gap_to_span(y, b.ylo[c], b.yhi[c]);
        const double gz = gap_to_span(z, b.zlo[c], b.zhi[c]);
        chosen[count] = static_cast<uint8_t>(c);
        count += gx * gx + gy * gy + gz * gz < reach2[c] ? 1 : 0;
    }
    return count;
}

#if defined(PELIX_RANGE_FILTER_AVX2)

// The gaps of four cells along one axis.
[[gnu::target("avx2")]] inline __m256d gaps(const double* lo, const double* hi, __m256d p) {
    return _mm256_max_pd(_mm256_setzero_pd(), _mm256_max_pd(_mm256_sub_pd(_mm256_loadu_pd(lo), p),
                                                            _mm256_sub_pd(p, _mm256_loadu_pd(hi))));
}

// Four cells at a time. Where the gap is a number the vector maximum gives the same value as
// the scalar one (up to the sign of a zero gap, which squaring removes); a point that is not a
// number reaches no cell here, and it has no neighbour in any cell either.
[[gnu::target("avx2,popcnt,bmi")]] int choose_avx2(const CellBoxes& b, const double* reach2,
                                                   double x, double y, double z, uint8_t* chosen) {
    const __m256d px = _mm256_set1_pd(x), py = _mm256_set1_pd(y), pz = _mm256_set1_pd(z);
    uint32_t reached = 0;
    for (int c = 0; c < b.count; c += 4) {
        const __m256d gx = gaps(b.xlo + c, b.xhi + c, px);
        const __m256d gy = gaps(b.ylo + c, b.yhi + c, py);
        const __m256d gz = gaps(b.zlo + c, b.zhi + c, pz);
        const __m256d g2 = _mm256_add_pd(
            _mm256_add_pd(_mm256_mul_pd(gx, gx), _mm256_mul_pd(gy, gy)), _mm256_mul_pd(gz, gz));
        const int within =
            _mm256_movemask_pd(_mm256_cmp_pd(g2, _mm256_loadu_pd(reach2 + c), _CMP_LT_OQ));
        reached |= static_cast<uint32_t>(within) << c;
    }
    reached &= b.count >= 32 ? ~0u : (1u << b.count) - 1u;
    int count = 0;
    for (; reached != 0; reached &= reached - 1)
        chosen[count++] = static_cast<uint8_t>(__builtin_ctz(reached));
    return count;
}

// Byte shuffles that move the 32-bit lanes selected by a 4-bit mask to the front, in order.
struct CompressTable {
    alignas(16) uint8_t control[16][16];
    constexpr CompressTable() : control{} {
        for (int mask = 0; mask < 16; ++mask) {
            int out = 0;
            for (int lane = 0; lane < 4; ++lane) {
                if (mask & (1 << lane)) {
                    for (int byte = 0; byte < 4; ++byte)
                        control[mask][4 * out + byte] = static_cast<uint8_t>(4 * lane + byte);
                    ++out;
                }
            }
            for (int byte = 4 * out; byte < 16; ++byte)
                control[mask][byte] = 0x80;
        }
    }
};
constexpr CompressTable kCompress{};

// Four candidates at a time. A group of four writes four slots from the next free one: the
// entries kept first, in order, and then whatever; the caller's room for every candidate of
// the runs plus one covers them, since a group is only taken while four candidates remain.
[[gnu::target("avx2,popcnt")]] int64_t append_avx2(const PackedView& packed,
                                                   const CandidateRun* runs, const uint8_t* chosen,
                                                   int count, const FilterCentre& centre,
                                                   int32_t* nebour, int32_t* pbctyp,
                                                   int64_t written) {
    const __m256d cx = _mm256_set1_pd(centre.x);
    const __m256d cy = _mm256_set1_pd(centre.y);
    const __m256d cz = _mm256_set1_pd(centre.z);
    const __m128i self = _mm_set1_epi32(centre.i);
    const bool common = !std::isnan(centre.common_cutoff2);
    const __m256d common_cut = _mm256_set1_pd(centre.common_cutoff2);
    const __m256d all_lanes = _mm256_castsi256_pd(_mm256_set1_epi64x(-1));
    // With up to four species the radii are held in a register and picked by lane, which is
    // much cheaper than a gather from memory.
    const bool in_register = !common && centre.species <= 4;
    double radii[4] = {0.0, 0.0, 0.0, 0.0};
    for (int32_t s = 0; s < centre.species && s < 4; ++s)
        radii[s] = centre.cutoff2[s];
    const __m256 radius_lanes = _mm256_castpd_ps(_mm256_loadu_pd(radii));
    for (int c = 0; c < count; ++c) {
        const CandidateRun* run = runs + chosen[c];
        const __m256d ox = _mm256_set1_pd(run->ox);
        const __m256d oy = _mm256_set1_pd(run->oy);
        const __m256d oz = _mm256_set1_pd(run->oz);
        const __m128i image = _mm_set1_epi32(run->image);
        int32_t m = run->first;
        for (; m + 4 <= run->end; m += 4) {
            const __m256d dx = _mm256_sub_pd(_mm256_sub_pd(_mm256_loadu_pd(packed.x + m), ox), cx);
            const __m256d dy = _mm256_sub_pd(_mm256_sub_pd(_mm256_loadu_pd(packed.y + m), oy), cy);
            const __m256d dz = _mm256_sub_pd(_mm256_sub_pd(_mm256_loadu_pd(packed.z + m), oz), cz);
            const __m256d r2 = _mm256_add_pd(
                _mm256_add_pd(_mm256_mul_pd(dx, dx), _mm256_mul_pd(dy, dy)), _mm256_mul_pd(dz, dz));
            __m256d cut = common_cut;
            if (!common) {
                const __m128i specie =
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(packed.specie + m));
                if (in_register) {
                    // 32-bit lanes 2s and 2s + 1 of the radii hold the radius of species s.
                    const __m256i twice = _mm256_slli_epi64(_mm256_cvtepi32_epi64(specie), 1);
                    const __m256i lanes = _mm256_or_si256(
                        twice,
                        _mm256_slli_epi64(_mm256_add_epi64(twice, _mm256_set1_epi64x(1)), 32));
                    cut = _mm256_castps_pd(_mm256_permutevar8x32_ps(radius_lanes, lanes));
                } else {
                    cut = _mm256_mask_i32gather_pd(_mm256_setzero_pd(), centre.cutoff2, specie,
                                                   all_lanes, 8);
                }
            }
            const __m128i atoms =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(packed.atom + m));
            const int within = _mm256_movemask_pd(_mm256_cmp_pd(r2, cut, _CMP_LT_OQ));
            const int is_self = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(atoms, self)));
            const int keep = within & ~is_self;
            const __m128i control =
                _mm_load_si128(reinterpret_cast<const __m128i*>(kCompress.control[keep]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(nebour + written),
                             _mm_shuffle_epi8(atoms, control));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pbctyp + written), image);
            written += _mm_popcnt_u32(static_cast<unsigned>(keep));
        }
        for (; m < run->end; ++m)
            written = test_one(packed, m, *run, centre, nebour, pbctyp, written);
    }
    return written;
}

#endif

}  // namespace

int choose_reached_cells(const CellBoxes& boxes, const double* reach2, double x, double y, double z,
                         uint8_t* chosen) {
#if defined(PELIX_RANGE_FILTER_AVX2)
    if (range_filter_is_vectorised())
        return choose_avx2(boxes, reach2, x, y, z, chosen);
#endif
    return choose_scalar(boxes, reach2, x, y, z, chosen);
}

bool range_filter_is_vectorised() {
#if defined(PELIX_RANGE_FILTER_AVX2)
    return cpu_has_avx2();
#else
    return false;
#endif
}

int64_t append_within_range(const PackedView& packed, const CandidateRun* runs,
                            const uint8_t* chosen, int count, const FilterCentre& centre,
                            int32_t* nebour, int32_t* pbctyp, int64_t written) {
#if defined(PELIX_RANGE_FILTER_AVX2)
    if (range_filter_is_vectorised())
        return append_avx2(packed, runs, chosen, count, centre, nebour, pbctyp, written);
#endif
    return append_scalar(packed, runs, chosen, count, centre, nebour, pbctyp, written);
}

}  // namespace pelix
