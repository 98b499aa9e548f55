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

// How the pair radius of a candidate is found: one radius for every species, the radius of the
// candidate's species picked from a register (up to four species), or gathered from memory.
enum class RadiusSource { Common, Register, Gathered };

// What a run's atoms are tested against: atom i's position and the radii in vector form.
struct VectorCentre {
    __m256d x, y, z;
    __m128i i;
    __m256d common_cut;
    __m256 radius_lanes;
    const double* cutoff2;
};

// The squared radius of four candidates of species `specie` (RadiusSource above).
template <RadiusSource kRadius>
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d radii_of(const VectorCentre& centre,
                                                                    __m128i specie) {
    if constexpr (kRadius == RadiusSource::Common) {
        return centre.common_cut;
    } else if constexpr (kRadius == RadiusSource::Register) {
        // 32-bit lanes 2s and 2s + 1 of the radii hold the radius of species s.
        const __m256i twice = _mm256_slli_epi64(_mm256_cvtepi32_epi64(specie), 1);
        const __m256i lanes = _mm256_or_si256(
            twice, _mm256_slli_epi64(_mm256_add_epi64(twice, _mm256_set1_epi64x(1)), 32));
        return _mm256_castps_pd(_mm256_permutevar8x32_ps(centre.radius_lanes, lanes));
    } else {
        const __m256d all_lanes = _mm256_castsi256_pd(_mm256_set1_epi64x(-1));
        return _mm256_mask_i32gather_pd(_mm256_setzero_pd(), centre.cutoff2, specie, all_lanes, 8);
    }
}

// The candidates of one run, four at a time. A group of four writes four slots from the next
// free one: the entries kept first, in order, and then whatever; the caller's room for every
// candidate of the runs plus one covers them, since a group is only taken while four candidates
// remain. A run seen without an image offset skips subtracting it (x - 0 is x, bit for bit),
// and only the run that holds atom i itself compares the candidates with i.
template <RadiusSource kRadius, bool kShifted, bool kHoldsCentre>
[[gnu::target("avx2,popcnt"), gnu::always_inline]] inline int64_t append_run_avx2(
    const PackedView& packed, const CandidateRun& run, const VectorCentre centre,
    const FilterCentre& scalar_centre, int32_t* nebour, int32_t* pbctyp, int64_t written) {
    const __m256d ox = _mm256_set1_pd(run.ox);
    const __m256d oy = _mm256_set1_pd(run.oy);
    const __m256d oz = _mm256_set1_pd(run.oz);
    const __m128i image = _mm_set1_epi32(run.image);
    // Locals, not members read through references: the vector stores below may alias anything,
    // and the compiler would load the members again after each of them.
    const double* x = packed.x;
    const double* y = packed.y;
    const double* z = packed.z;
    const int32_t* specie = packed.specie;
    const int32_t* atom = packed.atom;
    const int32_t end = run.end;
    int32_t m = run.first;
    for (; m + 4 <= end; m += 4) {
        __m256d px = _mm256_loadu_pd(x + m);
        __m256d py = _mm256_loadu_pd(y + m);
        __m256d pz = _mm256_loadu_pd(z + m);
        if constexpr (kShifted) {
            px = _mm256_sub_pd(px, ox);
            py = _mm256_sub_pd(py, oy);
            pz = _mm256_sub_pd(pz, oz);
        }
        const __m256d dx = _mm256_sub_pd(px, centre.x);
        const __m256d dy = _mm256_sub_pd(py, centre.y);
        const __m256d dz = _mm256_sub_pd(pz, centre.z);
        const __m256d r2 = _mm256_add_pd(
            _mm256_add_pd(_mm256_mul_pd(dx, dx), _mm256_mul_pd(dy, dy)), _mm256_mul_pd(dz, dz));
        __m256d cut = centre.common_cut;
        if constexpr (kRadius != RadiusSource::Common)
            cut = radii_of<kRadius>(centre,
                                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(specie + m)));
        const __m128i atoms = _mm_loadu_si128(reinterpret_cast<const __m128i*>(atom + m));
        int keep = _mm256_movemask_pd(_mm256_cmp_pd(r2, cut, _CMP_LT_OQ));
        if constexpr (kHoldsCentre)
            keep &= ~_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(atoms, centre.i)));
        const __m128i control =
            _mm_load_si128(reinterpret_cast<const __m128i*>(kCompress.control[keep]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(nebour + written),
                         _mm_shuffle_epi8(atoms, control));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pbctyp + written), image);
        written += _mm_popcnt_u32(static_cast<unsigned>(keep));
    }
    for (; m < end; ++m)
        written = test_one(packed, m, run, scalar_centre, nebour, pbctyp, written);
    return written;
}

template <RadiusSource kRadius>
[[gnu::target("avx2,popcnt")]] int64_t append_runs_avx2(
    const PackedView& packed, const CandidateRun* runs, const uint8_t* chosen, int count,
    const FilterCentre& centre, const VectorCentre& vector_centre, int32_t* nebour, int32_t* pbctyp,
    int64_t written) {
    for (int c = 0; c < count; ++c) {
        const CandidateRun& run = runs[chosen[c]];
        const bool shifted = run.ox != 0.0 || run.oy != 0.0 || run.oz != 0.0;
        const bool holds_centre = run.first <= centre.slot && centre.slot < run.end;
        if (holds_centre) {
            written = shifted ? append_run_avx2<kRadius, true, true>(
                                    packed, run, vector_centre, centre, nebour, pbctyp, written)
                              : append_run_avx2<kRadius, false, true>(
                                    packed, run, vector_centre, centre, nebour, pbctyp, written);
        } else {
            written = shifted ? append_run_avx2<kRadius, true, false>(
                                    packed, run, vector_centre, centre, nebour, pbctyp, written)
                              : append_run_avx2<kRadius, false, false>(
                                    packed, run, vector_centre, centre, nebour, pbctyp, written);
        }
    }
    return written;
}

[[gnu::target("avx2,popcnt")]] int64_t append_avx2(const PackedView& packed,
                                                   const CandidateRun* runs, const uint8_t* chosen,
                                                   int count, const FilterCentre& centre,
                                                   int32_t* nebour, int32_t* pbctyp,
                                                   int64_t written) {
    double radii[4] = {0.0, 0.0, 0.0, 0.0};
    for (int32_t s = 0; s < centre.species && s < 4; ++s)
        radii[s] = centre.cutoff2[s];
    const VectorCentre vector_centre{_mm256_set1_pd(centre.x),
                                     _mm256_set1_pd(centre.y),
                                     _mm256_set1_pd(centre.z),
                                     _mm_set1_epi32(centre.i),
                                     _mm256_set1_pd(centre.common_cutoff2),
                                     _mm256_castpd_ps(_mm256_loadu_pd(radii)),
                                     centre.cutoff2};
    if (!std::isnan(centre.common_cutoff2))
        return append_runs_avx2<RadiusSource::Common>(packed, runs, chosen, count, centre,
                                                      vector_centre, nebour, pbctyp, written);
    // With up to four species the radii are held in a register and picked by lane, which is
    // much cheaper than a gather from memory.
    if (centre.species <= 4)
        return append_runs_avx2<RadiusSource::Register>(packed, runs, chosen, count, centre,
                                                        vector_centre, nebour, pbctyp, written);
    return append_runs_avx2<RadiusSource::Gathered>(packed, runs, chosen, count, centre,
                                                    vector_centre, nebour, pbctyp, written);
}

// The eight-wide form: eight candidates per group, the kept ones packed by a compress within
// a register (the compress straight to memory is slow on some processors), and the last group
// of a run loaded and stored under a mask instead of taken one by one. The separation and its
// square are the same operations in the same order as above.
struct WideCentre {
    __m512d x, y, z;
    __m256i i;
    __m512d common_cut;
    __m512d radii;  // radius of species s in lane s, for up to eight species
    const double* cutoff2;
};

// (The zero-masked forms: the plain ones start from an undefined register, which GCC 12 reports
// as used uninitialised.)
template <RadiusSource kRadius>
[[gnu::target("avx512f,avx512vl"), gnu::always_inline]] inline __m512d wide_radii_of(
    const WideCentre& centre, __m256i specie) {
    constexpr __mmask8 kAll = 0xff;
    if constexpr (kRadius == RadiusSource::Common)
        return centre.common_cut;
    else if constexpr (kRadius == RadiusSource::Register)
        return _mm512_maskz_permutexvar_pd(kAll, _mm512_maskz_cvtepi32_epi64(kAll, specie),
                                           centre.radii);
    else
        return _mm512_mask_i32gather_pd(_mm512_setzero_pd(), kAll, specie, centre.cutoff2, 8);
}

template <RadiusSource kRadius, bool kShifted, bool kHoldsCentre>
[[gnu::target("avx512f,avx512vl,popcnt"), gnu::always_inline]] inline int64_t append_run_avx512(
    const PackedView& packed, const CandidateRun& run, const WideCentre centre, int32_t* nebour,
    int32_t* pbctyp, int64_t written) {
    const __m512d ox = _mm512_set1_pd(run.ox);
    const __m512d oy = _mm512_set1_pd(run.oy);
    const __m512d oz = _mm512_set1_pd(run.oz);
    const __m256i image = _mm256_set1_epi32(run.image);
    const double* x = packed.x;
    const double* y = packed.y;
    const double* z = packed.z;
    const int32_t* specie = packed.specie;
    const int32_t* atom = packed.atom;
    const int32_t end = run.end;
    for (int32_t m = run.first; m < end; m += 8) {
        // All eight lanes while eight candidates remain, the remaining ones in the last group.
        const int left = end - m;
        const __mmask8 lanes =
            left >= 8 ? static_cast<__mmask8>(0xff) : static_cast<__mmask8>((1u << left) - 1);
        __m512d px = _mm512_maskz_loadu_pd(lanes, x + m);
        __m512d py = _mm512_maskz_loadu_pd(lanes, y + m);
        __m512d pz = _mm512_maskz_loadu_pd(lanes, z + m);
        if constexpr (kShifted) {
            px = _mm512_sub_pd(px, ox);
            py = _mm512_sub_pd(py, oy);
            pz = _mm512_sub_pd(pz, oz);
        }
        const __m512d dx = _mm512_sub_pd(px, centre.x);
        const __m512d dy = _mm512_sub_pd(py, centre.y);
        const __m512d dz = _mm512_sub_pd(pz, centre.z);
        const __m512d r2 = _mm512_add_pd(
            _mm512_add_pd(_mm512_mul_pd(dx, dx), _mm512_mul_pd(dy, dy)), _mm512_mul_pd(dz, dz));
        __m512d cut = centre.common_cut;
        if constexpr (kRadius != RadiusSource::Common)
            cut = wide_radii_of<kRadius>(centre, _mm256_maskz_loadu_epi32(lanes, specie + m));
        const __m256i atoms = _mm256_maskz_loadu_epi32(lanes, atom + m);
        __mmask8 keep = _mm512_mask_cmp_pd_mask(lanes, r2, cut, _CMP_LT_OQ);
        if constexpr (kHoldsCentre)
            keep = static_cast<__mmask8>(keep & ~_mm256_cmpeq_epi32_mask(atoms, centre.i));
        const unsigned kept = static_cast<unsigned>(_mm_popcnt_u32(keep));
        const __m256i packed_atoms = _mm256_maskz_compress_epi32(keep, atoms);
        if (left >= 8) {
            // Eight slots from the next free one: the kept entries, then whatever (the room
            // for every candidate of the runs covers them, as in the four-wide form).
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(nebour + written), packed_atoms);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(pbctyp + written), image);
        } else {
            const __mmask8 written_lanes = static_cast<__mmask8>((1u << kept) - 1);
            _mm256_mask_storeu_epi32(nebour + written, written_lanes, packed_atoms);
            _mm256_mask_storeu_epi32(pbctyp + written, written_lanes, image);
        }
        written += kept;
    }
    return written;
}

template <RadiusSource kRadius>
[[gnu::target("avx512f,avx512vl,popcnt")]] int64_t append_runs_avx512(
    const PackedView& packed, const CandidateRun* runs, const uint8_t* chosen, int count,
    int32_t centre_slot, const WideCentre& centre, int32_t* nebour, int32_t* pbctyp,
    int64_t written) {
    for (int c = 0; c < count; ++c) {
        const CandidateRun& run = runs[chosen[c]];
        const bool shifted = run.ox != 0.0 || run.oy != 0.0 || run.oz != 0.0;
        const bool holds_centre = run.first <= centre_slot && centre_slot < run.end;
        if (holds_centre) {
            written = shifted ? append_run_avx512<kRadius, true, true>(packed, run, centre, nebour,
                                                                       pbctyp, written)
                              : append_run_avx512<kRadius, false, true>(packed, run, centre, nebour,
                                                                        pbctyp, written);
        } else {
            written = shifted ? append_run_avx512<kRadius, true, false>(packed, run, centre, nebour,
                                                                        pbctyp, written)
                              : append_run_avx512<kRadius, false, false>(packed, run, centre,
                                                                         nebour, pbctyp, written);
        }
    }
    return written;
}

[[gnu::target("avx512f,avx512vl,popcnt")]] int64_t append_avx512(
    const PackedView& packed, const CandidateRun* runs, const uint8_t* chosen, int count,
    const FilterCentre& centre, int32_t* nebour, int32_t* pbctyp, int64_t written) {
    double radii[8] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    for (int32_t s = 0; s < centre.species && s < 8; ++s)
        radii[s] = centre.cutoff2[s];
    const WideCentre wide{_mm512_set1_pd(centre.x),
                          _mm512_set1_pd(centre.y),
                          _mm512_set1_pd(centre.z),
                          _mm256_set1_epi32(centre.i),
                          _mm512_set1_pd(centre.common_cutoff2),
                          _mm512_loadu_pd(radii),
                          centre.cutoff2};
    if (!std::isnan(centre.common_cutoff2))
        return append_runs_avx512<RadiusSource::Common>(packed, runs, chosen, count, centre.slot,
                                                        wide, nebour, pbctyp, written);
    if (centre.species <= 8)
        return append_runs_avx512<RadiusSource::Register>(packed, runs, chosen, count, centre.slot,
                                                          wide, nebour, pbctyp, written);
    return append_runs_avx512<RadiusSource::Gathered>(packed, runs, chosen, count, centre.slot,
                                                      wide, nebour, pbctyp, written);
}

#endif

}  // namespace

int choose_reached_cells(const CellBoxes& boxes, const double* reach2, double x, double y, double z,
                         uint8_t* chosen) {
#if defined(PELIX_RANGE_FILTER_AVX2)
    if (cpu_has_avx2())
        return choose_avx2(boxes, reach2, x, y, z, chosen);
#endif
    return choose_scalar(boxes, reach2, x, y, z, chosen);
}

std::vector<FilterPath> available_filter_paths() {
    std::vector<FilterPath> paths{FilterPath::Scalar};
#if defined(PELIX_RANGE_FILTER_AVX2)
    if (cpu_has_avx2())
        paths.push_back(FilterPath::Avx2);
    if (cpu_has_avx512())
        paths.push_back(FilterPath::Avx512);
#endif
    return paths;
}

int64_t append_within_range_on(FilterPath path, const PackedView& packed, const CandidateRun* runs,
                               const uint8_t* chosen, int count, const FilterCentre& centre,
                               int32_t* nebour, int32_t* pbctyp, int64_t written) {
#if defined(PELIX_RANGE_FILTER_AVX2)
    if (path == FilterPath::Avx512)
        return append_avx512(packed, runs, chosen, count, centre, nebour, pbctyp, written);
    if (path == FilterPath::Avx2)
        return append_avx2(packed, runs, chosen, count, centre, nebour, pbctyp, written);
#else
    (void)path;
#endif
    return append_scalar(packed, runs, chosen, count, centre, nebour, pbctyp, written);
}

int64_t append_within_range(const PackedView& packed, const CandidateRun* runs,
                            const uint8_t* chosen, int count, const FilterCentre& centre,
                            int32_t* nebour, int32_t* pbctyp, int64_t written) {
    static const FilterPath best = available_filter_paths().back();
    return append_within_range_on(best, packed, runs, chosen, count, centre, nebour, pbctyp,
                                  written);
}

}  // namespace pelix
