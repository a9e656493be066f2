// AVX2 scaler row kernel. Only kScaleAVX2 is visible outside.
//
// Four output pels at a time, one per lane, one vector per channel sum. Pels
// whose footprints hold fewer columns than the widest of the four are padded
// with terms of weight zero after their own: the sums are never -0, so adding
// +0 leaves every bit, and each lane still adds its own terms in the reference
// order with the same IEEE products and quotients. Built without contraction: a
// fused multiply-add would round once, not twice.
#include "kernels/scale/ScaleKernels.h"
#include "kernels/scale/ScaleTaps.h"

#include <algorithm>
#include <cstddef>
#include <immintrin.h>

namespace {

constexpr int kLanes = 4;

// The horizontal taps of four pels, lane by lane. A lane without a last column
// carries a last weight of zero, which adds nothing.
struct ColumnTaps {
    std::ptrdiff_t base;  // the first column of lane 0
    i32 offset[kLanes];   // each lane's first column, from base
    i32 lastRead[kLanes]; // each lane's last column, from its first
    __m256i offsets, lastReads;
    __m256d middle; // whole middle columns, as doubles for the tap tests
    __m256d first, last;
    __m256d second, secondBelow; // tap 1's weights with and without the corner
    i32 widest;
    i32 widestBelow; // taps in a last row, where the corner is not added
    bool nearby;     // every read lies in the eight pels from base, all in the row

    ColumnTaps(const tagScaleList* entry, std::ptrdiff_t start, int valid, std::ptrdiff_t reach)
        : base(start)
    {
        if (valid == kLanes)
            FourPels(entry);
        else
            FewerPels(entry, valid);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(offset), _mm256_castsi256_si128(offsets));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(lastRead), _mm256_castsi256_si128(lastReads));
        nearby = offset[kLanes - 1] + widest <= 8 && base + 8 <= reach;
    }

    // The lane logic of Taps, four lanes at once.
    void FourPels(const tagScaleList* e)
    {
        const __m128i counts = _mm_setr_epi32(e[0].count, e[1].count, e[2].count, e[3].count);
        const __m128i advances = _mm_setr_epi32(0, e[0].advance, e[1].advance, e[2].advance);
        first =
            _mm256_setr_pd(e[0].firstWeight, e[1].firstWeight, e[2].firstWeight, e[3].firstWeight);
        const __m256d lasts =
            _mm256_setr_pd(e[0].lastWeight, e[1].lastWeight, e[2].lastWeight, e[3].lastWeight);
        const __m128i single = _mm_cmpeq_epi32(counts, _mm_set1_epi32(-1));
        const __m128i mid = _mm_andnot_si128(single, counts);
        const __m256d hasLast =
            _mm256_andnot_pd(_mm256_castsi256_pd(_mm256_cvtepi32_epi64(single)),
                             _mm256_cmp_pd(lasts, _mm256_setzero_pd(), _CMP_GT_OQ));
        last = _mm256_and_pd(hasLast, lasts);
        middle = _mm256_cvtepi32_pd(mid);
        // Each 64-bit mask's low half: 0 or -1 per lane.
        const __m128i hasLast32 = _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(
            _mm256_castpd_si256(hasLast), _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6)));
        const __m128i lastOffset = _mm_sub_epi32(mid, hasLast32);
        // Running sums of the advances before each lane.
        __m128i at = _mm_add_epi32(advances, _mm_slli_si128(advances, 4));
        at = _mm_add_epi32(at, _mm_slli_si128(at, 8));
        offsets = _mm256_zextsi128_si256(at);
        lastReads = _mm256_zextsi128_si256(lastOffset);
        widest = MaxLane(lastOffset) + 1;
        widestBelow = MaxLane(mid) + 1;
    }

    static i32 MaxLane(__m128i v)
    {
        v = _mm_max_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
        v = _mm_max_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
        return _mm_cvtsi128_si32(v);
    }

    void FewerPels(const tagScaleList* entry, int valid)
    {
        double mid[kLanes], firstW[kLanes], lastW[kLanes];
        i32 at = 0;
        widest = widestBelow = 1;
        for (int l = 0; l < kLanes; ++l) {
            // Spare lanes repeat the last real pel: their reads stay inside the footprint.
            const tagScaleList& e = entry[std::min(l, valid - 1)];
            const Taps h(e);
            offset[l] = at;
            lastRead[l] = h.Total() - 1;
            mid[l] = double(h.middle);
            firstW[l] = h.first;
            lastW[l] = h.hasLast ? h.last : 0.0;
            widest = std::max(widest, h.Total());
            widestBelow = std::max(widestBelow, h.Total() - (h.hasLast ? 1 : 0));
            if (l + 1 < valid)
                at += e.advance;
        }
        offsets = _mm256_setr_epi32(offset[0], offset[1], offset[2], offset[3], 0, 0, 0, 0);
        lastReads =
            _mm256_setr_epi32(lastRead[0], lastRead[1], lastRead[2], lastRead[3], 0, 0, 0, 0);
        middle = _mm256_setr_pd(mid[0], mid[1], mid[2], mid[3]);
        first = _mm256_setr_pd(firstW[0], firstW[1], firstW[2], firstW[3]);
        last = _mm256_setr_pd(lastW[0], lastW[1], lastW[2], lastW[3]);
    }

    void Prepare(__m256d hRatio)
    {
        second = TapWeight(1, hRatio, true);
        secondBelow = TapWeight(1, hRatio, false);
    }

    // Column weight of tap t per lane: first, hRatio for the middle ones, then
    // the last one, then zero.
    __m256d Weight(i32 t, __m256d hRatio, bool withCorner) const
    {
        if (t == 0)
            return first;
        if (t == 1)
            return withCorner ? second : secondBelow;
        return TapWeight(t, hRatio, withCorner);
    }

    __m256d TapWeight(i32 t, __m256d hRatio, bool withCorner) const
    {
        const __m256d tap = _mm256_set1_pd(double(t));
        const __m256d isLast =
            _mm256_cmp_pd(_mm256_add_pd(middle, _mm256_set1_pd(1.0)), tap, _CMP_EQ_OQ);
        const __m256d tail = withCorner ? _mm256_and_pd(isLast, last) : _mm256_setzero_pd();
        return _mm256_blendv_pd(tail, hRatio, _mm256_cmp_pd(middle, tap, _CMP_GE_OQ));
    }

    // Lanes past their own last column reread it with weight zero.
    __m128i Load(const Pel* row, i32 t) const
    {
        row += base;
        if (nearby) {
            // Every lane reads at least one column, so tap 0 is the offsets themselves.
            const __m256i index =
                t == 0
                    ? offsets
                    : _mm256_add_epi32(offsets, _mm256_min_epi32(_mm256_set1_epi32(t), lastReads));
            const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row));
            return _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(eight, index));
        }
        return _mm_setr_epi32(Read(row, 0, t), Read(row, 1, t), Read(row, 2, t), Read(row, 3, t));
    }

    int Read(const Pel* row, int lane, i32 t) const
    {
        return static_cast<int>(row[offset[lane] + std::min(t, lastRead[lane])]);
    }
};

// Byte `at` of each pel, zero-extended to its 32-bit lane.
__m128i Channel(__m128i pels, char at)
{
    const char z = -1;
    return _mm_shuffle_epi8(pels, _mm_setr_epi8(at, z, z, z, char(at + 4), z, z, z, char(at + 8), z,
                                                z, z, char(at + 12), z, z, z));
}

struct Sums {
    __m256d a = _mm256_setzero_pd(), b = _mm256_setzero_pd(), g = _mm256_setzero_pd(),
            r = _mm256_setzero_pd();

    // b.a, g.a and r.a are exact: madd of 8-bit factors in 16-bit halves.
    void Add(__m128i pels, __m256d w)
    {
        const __m128i alpha = _mm_srli_epi32(pels, 24);
        const __m128i blue = Channel(pels, 0);
        const __m128i green = Channel(pels, 1);
        const __m128i red = Channel(pels, 2);
        a = _mm256_add_pd(a, _mm256_mul_pd(_mm256_cvtepi32_pd(alpha), w));
        b = _mm256_add_pd(b, _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_madd_epi16(blue, alpha)), w));
        g = _mm256_add_pd(g, _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_madd_epi16(green, alpha)), w));
        r = _mm256_add_pd(r, _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_madd_epi16(red, alpha)), w));
    }
};

// The reference's clamp: at least 255 gives 255, below 1 gives 0, else truncate.
__m128i Clamp(__m256d v)
{
    return _mm256_cvttpd_epi32(
        _mm256_min_pd(_mm256_max_pd(v, _mm256_setzero_pd()), _mm256_set1_pd(255.0)));
}

__m128i Result(const Sums& s)
{
    const __m128i alpha = Clamp(s.a);
    const __m128i clear = _mm_cmpeq_epi32(alpha, _mm_setzero_si128());
    // Clear lanes divide by one instead of zero, then give 0 anyway.
    const __m256d divisor = _mm256_cvtepi32_pd(_mm_max_epi32(alpha, _mm_set1_epi32(1)));
    const __m128i blue = Clamp(_mm256_div_pd(s.b, divisor));
    const __m128i green = Clamp(_mm256_div_pd(s.g, divisor));
    const __m128i red = Clamp(_mm256_div_pd(s.r, divisor));
    const __m128i pels =
        _mm_or_si128(_mm_or_si128(blue, _mm_slli_epi32(green, 8)),
                     _mm_or_si128(_mm_slli_epi32(red, 16), _mm_slli_epi32(alpha, 24)));
    return _mm_andnot_si128(clear, pels);
}

// One footprint row. Each weight is rowWeight x column weight, as in the reference.
void AddRow(Sums& sums, __m256d& rest, const Pel* row, double rowWeight, const ColumnTaps& h,
            __m256d hRatio, bool withCorner)
{
    const __m256d rw = _mm256_set1_pd(rowWeight);
    // Past widestBelow a last row holds only zero weights.
    const i32 taps = withCorner ? h.widest : h.widestBelow;
    for (i32 t = 0; t < taps; ++t) {
        const __m256d w = _mm256_mul_pd(rw, h.Weight(t, hRatio, withCorner));
        sums.Add(h.Load(row, t), w);
        rest = _mm256_sub_pd(rest, w);
    }
}

Sums SumPels(const Kernels::ScaleRowJob& job, const Taps& v, const ColumnTaps& h)
{
    Sums sums;
    __m256d rest = _mm256_set1_pd(1.0);
    const __m256d hRatio = _mm256_set1_pd(job.hRatio);
    AddRow(sums, rest, job.rows[0], v.first, h, hRatio, true);
    for (i32 i = 1; i <= v.middle; ++i)
        AddRow(sums, rest, job.rows[i], job.vRatio, h, hRatio, true);
    if (v.hasLast)
        AddRow(sums, rest, job.rows[v.middle + 1], v.last, h, hRatio, false);
    // The corner, when skipped, is still the last pixel read.
    sums.Add(h.Load(job.rows[v.Total() - 1], h.widest - 1), rest);
    return sums;
}

void Store(Pel* dst, __m128i pels, int valid)
{
    if (valid == kLanes) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), pels);
        return;
    }
    alignas(16) Pel out[kLanes];
    _mm_store_si128(reinterpret_cast<__m128i*>(out), pels);
    std::copy(out, out + valid, dst);
}

// Sums for a few groups first, then their results: the divisions of one group
// then overlap those of the next instead of stalling the sums behind them.
constexpr i32 kGroups = 4;

void ProduceRow(Pel* dst, const Kernels::ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    const Taps v(*job.vertical);
    const tagScaleList* hEntry = job.horizontal;
    std::ptrdiff_t column = 0;
    // A later pel's first column, found on demand: everything before it is read,
    // so an eight-pel load that ends there stays inside the footprint.
    std::ptrdiff_t ahead = 0;
    std::ptrdiff_t aheadColumn = 0;
    const __m256d hRatio = _mm256_set1_pd(job.hRatio);
    Sums sums[kGroups];
    const std::ptrdiff_t count = job.count;
    for (std::ptrdiff_t j = 0; j < count; j += kGroups * kLanes) {
        const std::ptrdiff_t groups =
            std::min<std::ptrdiff_t>(kGroups, (count - j + kLanes - 1) / kLanes);
        for (std::ptrdiff_t g = 0; g < groups; ++g) {
            const std::ptrdiff_t at = j + g * kLanes;
            const int valid = int(std::min<std::ptrdiff_t>(kLanes, count - at));
            while (aheadColumn < column + 7 && ahead + 1 < count)
                aheadColumn += hEntry[ahead++].advance;
            ColumnTaps h(hEntry + at, column, valid, aheadColumn + 1);
            h.Prepare(hRatio);
            sums[g] = SumPels(job, v, h);
            for (int l = 0; l < valid; ++l)
                column += hEntry[at + l].advance;
        }
        for (std::ptrdiff_t g = 0; g < groups; ++g) {
            const std::ptrdiff_t at = j + g * kLanes;
            Store(dst + at, Result(sums[g]), int(std::min<std::ptrdiff_t>(kLanes, count - at)));
        }
    }
}

} // namespace

const Kernels::ScaleSet Kernels::kScaleAVX2 = {"avx2", ProduceRow, nullptr, nullptr};
