// AVX2 scaler row kernel. Only kScaleAVX2 is visible outside.
//
// The four channels of a pel sit in the lanes of one vector, (b, g, r, a). Each
// lane adds its terms in the reference order, and the lane products and the
// quotients are the same IEEE operations, so every pel is the scalar one to the
// bit. Built without contraction: a fused multiply-add would round once, not twice.
#include "florist/ScaleKernels.h"

#include <cstddef>
#include <immintrin.h>

namespace {

// The reference's clamp, kept here so that no -mavx2 copy of a shared inline
// function can be the one the linker keeps.
u32 ClampAlpha(double v)
{
    if (v >= 255.0)
        return 255;
    if (v < 1.0)
        return 0;
    return u32(v);
}

struct Taps {
    i32 middle;
    bool hasLast;
    double first, last;

    explicit Taps(const tagScaleList& e)
        : middle(e.count != -1 ? e.count : 0), hasLast(e.count != -1 && e.lastWeight > 0),
          first(e.firstWeight), last(e.lastWeight)
    {
    }
    i32 Total() const { return 1 + middle + (hasLast ? 1 : 0); }
};

// (b.a, g.a, r.a, a) as exact integers; madd is exact for 8-bit factors.
__m256d Terms(Pel p)
{
    // [b g r a] bytes  ->  [b g r a] 32-bit lanes
    const __m128i channels = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(p)));
    const __m128i alpha = _mm_shuffle_epi32(channels, _MM_SHUFFLE(3, 3, 3, 3));
    // [a a a 1]: the alpha lane multiplies by one
    const __m128i factors = _mm_blend_epi16(alpha, _mm_set1_epi32(1), 0xC0);
    return _mm256_cvtepi32_pd(_mm_madd_epi16(channels, factors));
}

__m256d AddTerms(__m256d sums, Pel p, double w)
{
    return _mm256_add_pd(sums, _mm256_mul_pd(Terms(p), _mm256_set1_pd(w)));
}

// The reference's clamp per lane: min/max before the truncation give its three cases.
Pel Result(__m256d sums)
{
    const double a = _mm256_cvtsd_f64(_mm256_permute4x64_pd(sums, _MM_SHUFFLE(3, 3, 3, 3)));
    const u32 alpha = ClampAlpha(a);
    if (alpha == 0)
        return 0;
    __m256d q = _mm256_div_pd(sums, _mm256_set1_pd(double(alpha)));
    q = _mm256_max_pd(_mm256_min_pd(q, _mm256_set1_pd(255.0)), _mm256_setzero_pd());
    __m128i bgra = _mm_insert_epi32(_mm256_cvttpd_epi32(q), static_cast<int>(alpha), 3);
    // [b g r a] 32-bit lanes  ->  [b g r a] bytes
    bgra = _mm_packus_epi32(bgra, bgra);
    return Pel(static_cast<u32>(_mm_cvtsi128_si32(_mm_packus_epi16(bgra, bgra))));
}

// One footprint row. Each weight is rowWeight x column weight, as in the reference.
__m256d AddRow(__m256d sums, double& rest, const Pel* p, double rowWeight, const Taps& h,
               double hRatio, bool withCorner)
{
    double w = rowWeight * h.first;
    sums = AddTerms(sums, p[0], w);
    rest -= w;
    w = rowWeight * hRatio;
    for (i32 k = 1; k <= h.middle; ++k) {
        sums = AddTerms(sums, p[k], w);
        rest -= w;
    }
    if (h.hasLast && withCorner) {
        w = rowWeight * h.last;
        sums = AddTerms(sums, p[h.middle + 1], w);
        rest -= w;
    }
    return sums;
}

Pel FilterPel(const Kernels::ScaleRowJob& job, const Taps& v, std::ptrdiff_t column, const Taps& h)
{
    __m256d sums = _mm256_setzero_pd();
    double rest = 1.0;
    const double hRatio = job.hRatio;
    sums = AddRow(sums, rest, job.rows[0] + column, v.first, h, hRatio, true);
    for (i32 i = 1; i <= v.middle; ++i)
        sums = AddRow(sums, rest, job.rows[i] + column, job.vRatio, h, hRatio, true);
    if (v.hasLast)
        sums = AddRow(sums, rest, job.rows[v.middle + 1] + column, v.last, h, hRatio, false);
    // The corner, when skipped, is still the last pixel read.
    sums = AddTerms(sums, job.rows[v.Total() - 1][column + h.Total() - 1], rest);
    return Result(sums);
}

void ProduceRow(Pel* dst, const Kernels::ScaleRowJob& job)
{
    const Taps v(*job.vertical);
    const tagScaleList* hEntry = job.horizontal;
    std::ptrdiff_t column = 0;
    for (i32 j = 0; j < job.count; ++j) {
        dst[j] = FilterPel(job, v, column, Taps(hEntry[j]));
        column += hEntry[j].advance;
    }
}

} // namespace

const Kernels::ScaleSet Kernels::kScaleAVX2 = {"avx2", ProduceRow};
