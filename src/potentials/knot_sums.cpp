#include "potentials/knot_sums.hpp"

#include "common/cpu_features.hpp"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define PELIX_KNOT_SUMS_AVX 1
#endif

namespace pelix {

namespace {

void sums_scalar(const double* knots, const double* coefficients, std::size_t n, const double* r,
                 std::size_t from, std::size_t count, double* cubes, double* squares) {
    for (std::size_t b = from; b < count; ++b)
        cubic_knot_sum(knots, coefficients, n, r[b], cubes[b], squares[b]);
}

#if defined(PELIX_KNOT_SUMS_AVX)
// A skipped knot is an added +0 here, which leaves a sum that is not -0 unchanged; the sums
// start at +0 and adding to +0 never gives -0. The products are formed in the scalar order,
// ((c d) d) d and (c d) d, without fused multiply-adds, so every lane has the scalar bits.
// Groups holding a distance that fails the scalar's range test go through the scalar sum.
[[gnu::target("avx")]] void sums_avx(const double* knots, const double* coefficients, std::size_t n,
                                     const double* r, std::size_t count, double* cubes,
                                     double* squares) {
    const __m256d zero = _mm256_setzero_pd();
    const __m256d magnitude = _mm256_castsi256_pd(_mm256_set1_epi64x(0x7fffffffffffffffLL));
    const __m256d largest = _mm256_set1_pd(1e100);
    std::size_t b = 0;
    // Eight distances at a time where all are in range: the two groups share the knots and
    // coefficients loaded for them, and their two chains of additions run side by side.
    for (; b + 8 <= count; b += 8) {
        const __m256d ra = _mm256_loadu_pd(r + b);
        const __m256d rb = _mm256_loadu_pd(r + b + 4);
        const __m256d in_range =
            _mm256_and_pd(_mm256_cmp_pd(_mm256_and_pd(ra, magnitude), largest, _CMP_LT_OQ),
                          _mm256_cmp_pd(_mm256_and_pd(rb, magnitude), largest, _CMP_LT_OQ));
        if (_mm256_movemask_pd(in_range) != 0xF)
            break;
        __m256d cua = zero, sqa = zero, cub = zero, sqb = zero;
        for (std::size_t k = 0; k < n; ++k) {
            const __m256d knot = _mm256_set1_pd(knots[k]);
            const __m256d coefficient = _mm256_set1_pd(coefficients[k]);
            const __m256d da = _mm256_sub_pd(knot, ra);
            const __m256d db = _mm256_sub_pd(knot, rb);
            const __m256d square_a = _mm256_mul_pd(_mm256_mul_pd(coefficient, da), da);
            const __m256d square_b = _mm256_mul_pd(_mm256_mul_pd(coefficient, db), db);
            const __m256d inside_a = _mm256_cmp_pd(da, zero, _CMP_GT_OQ);
            const __m256d inside_b = _mm256_cmp_pd(db, zero, _CMP_GT_OQ);
            cua = _mm256_add_pd(cua, _mm256_and_pd(inside_a, _mm256_mul_pd(square_a, da)));
            cub = _mm256_add_pd(cub, _mm256_and_pd(inside_b, _mm256_mul_pd(square_b, db)));
            sqa = _mm256_add_pd(sqa, _mm256_and_pd(inside_a, square_a));
            sqb = _mm256_add_pd(sqb, _mm256_and_pd(inside_b, square_b));
        }
        _mm256_storeu_pd(cubes + b, cua);
        _mm256_storeu_pd(squares + b, sqa);
        _mm256_storeu_pd(cubes + b + 4, cub);
        _mm256_storeu_pd(squares + b + 4, sqb);
    }
    for (; b + 4 <= count; b += 4) {
        const __m256d rv = _mm256_loadu_pd(r + b);
        const __m256d in_range = _mm256_cmp_pd(_mm256_and_pd(rv, magnitude), largest, _CMP_LT_OQ);
        if (_mm256_movemask_pd(in_range) != 0xF) {
            sums_scalar(knots, coefficients, n, r, b, b + 4, cubes, squares);
            continue;
        }
        __m256d cu = zero, sq = zero;
        for (std::size_t k = 0; k < n; ++k) {
            const __m256d d = _mm256_sub_pd(_mm256_set1_pd(knots[k]), rv);
            const __m256d inside = _mm256_cmp_pd(d, zero, _CMP_GT_OQ);
            const __m256d square =
                _mm256_mul_pd(_mm256_mul_pd(_mm256_set1_pd(coefficients[k]), d), d);
            const __m256d cube = _mm256_mul_pd(square, d);
            cu = _mm256_add_pd(cu, _mm256_and_pd(inside, cube));
            sq = _mm256_add_pd(sq, _mm256_and_pd(inside, square));
        }
        _mm256_storeu_pd(cubes + b, cu);
        _mm256_storeu_pd(squares + b, sq);
    }
    sums_scalar(knots, coefficients, n, r, b, count, cubes, squares);
}
#endif

}  // namespace

void cubic_knot_sums_many(const double* knots, const double* coefficients, std::size_t n,
                          const double* r, std::size_t count, double* cubes, double* squares) {
#if defined(PELIX_KNOT_SUMS_AVX)
    if (cpu_has_avx()) {
        sums_avx(knots, coefficients, n, r, count, cubes, squares);
        return;
    }
#endif
    sums_scalar(knots, coefficients, n, r, 0, count, cubes, squares);
}

}  // namespace pelix
