// AVX-512 scaler row kernel. Only kScaleAVX512 is visible outside.
//
// Eight output pels at a time, one per lane, one vector per channel sum: each
// lane adds its own terms in the reference order with the same IEEE products,
// and lanes with fewer columns than the widest add terms of weight +0 after
// their own (the sums are never -0, so no bit changes). Built without
// contraction: a fused multiply-add would round once, not twice.
//
// The three quotients per pel would be the slow part: they are taken as a
// product with the reciprocal of the alpha, then settled exactly (Quotient).
#include "kernels/scale/ScaleKernels.h"
#include "kernels/scale/ScaleTaps.h"

#include <algorithm>
#include <cstddef>
#include <immintrin.h>
#include <new>

// GCC 12 reports the deliberately undefined pass-through operands inside its
// own AVX-512 intrinsics as uninitialized.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

namespace {

constexpr int kLanes = 8;
constexpr int kWindow = 16; // pels one load and one permute can pick from

// The horizontal taps of eight pels, lane by lane. Spare lanes repeat the last
// real pel, so their reads stay inside the footprint.
struct ColumnTaps {
    std::ptrdiff_t base; // the first column of lane 0
    __m256i offsets;     // each lane's first column, from base
    __m256i lastReads;   // each lane's last column, from its first
    __m256i middle;      // whole middle columns
    __m512d first, last; // last is 0 in lanes without a last column
    i32 widest;          // taps of the widest lane
    i32 widestBelow;     // the same in a last row, where the corner is not added
    bool nearby;         // every read lies in the kWindow pels from base
    static constexpr i32 kKept = 3;
    __m512d weight[kKept], weightBelow[kKept]; // taps 1.. kKept - 1, worked out once

    ColumnTaps(const tagScaleList* entry, std::ptrdiff_t start, int valid, std::ptrdiff_t reach,
               __m512d hRatio)
        : base(start)
    {
        if (valid == kLanes)
            EightPels(entry);
        else
            FewerPels(entry, valid);
        const i32 reachedByLast = _mm256_extract_epi32(offsets, kLanes - 1) + widest;
        nearby = reachedByLast <= kWindow && base + kWindow <= reach;
        for (i32 t = 1; t < std::min(widest, kKept); ++t) {
            weight[t] = TapWeight(t, hRatio, true);
            weightBelow[t] = TapWeight(t, hRatio, false);
        }
    }

    // The lane logic of Taps, eight lanes at once, from the entries' 24-byte
    // records: (count, advance), first and last are every third quadword.
    void EightPels(const tagScaleList* e)
    {
        static_assert(sizeof(tagScaleList) == 24, "three quadwords per entry");
        const char* bytes = reinterpret_cast<const char*>(e);
        const __m512i v0 = _mm512_loadu_si512(bytes), v1 = _mm512_loadu_si512(bytes + 64),
                      v2 = _mm512_loadu_si512(bytes + 128);
        const __m512i heads = Every3rd(v0, v1, v2, 0);
        first = _mm512_castsi512_pd(Every3rd(v0, v1, v2, 1));
        const __m512d lasts = _mm512_castsi512_pd(Every3rd(v0, v1, v2, 2));
        const __m256i counts = _mm512_cvtepi64_epi32(heads);
        const __m256i advances = _mm512_cvtepi64_epi32(_mm512_srli_epi64(heads, 32));
        const __mmask8 single = _mm256_cmpeq_epi32_mask(counts, _mm256_set1_epi32(-1));
        const __mmask8 hasLast =
            __mmask8(~single) & _mm512_cmp_pd_mask(lasts, _mm512_setzero_pd(), _CMP_GT_OQ);
        middle = _mm256_maskz_mov_epi32(__mmask8(~single), counts);
        last = _mm512_maskz_mov_pd(hasLast, lasts);
        lastReads = _mm256_mask_add_epi32(middle, hasLast, middle, _mm256_set1_epi32(1));
        // Running sums of the advances before each lane.
        const __m256i previous = _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6);
        __m256i at = _mm256_maskz_permutexvar_epi32(0xFE, previous, advances);
        at = _mm256_add_epi32(at, _mm256_maskz_permutexvar_epi32(0xFE, previous, at));
        at = _mm256_add_epi32(at, _mm256_maskz_permutexvar_epi32(
                                      0xFC, _mm256_setr_epi32(0, 0, 0, 1, 2, 3, 4, 5), at));
        at = _mm256_add_epi32(at, _mm256_maskz_permutexvar_epi32(
                                      0xF0, _mm256_setr_epi32(0, 0, 0, 0, 0, 1, 2, 3), at));
        offsets = at;
        widest = MaxLane(lastReads) + 1;
        widestBelow = MaxLane(middle) + 1;
    }

    // Quadwords part, part + 3, ... of the 24 in v0, v1, v2. The permutes read
    // only the index bits they need: 4 across v0 and v1, 3 within v2.
    static __m512i Every3rd(__m512i v0, __m512i v1, __m512i v2, int part)
    {
        const __m512i index = _mm512_add_epi64(_mm512_setr_epi64(0, 3, 6, 9, 12, 15, 18, 21),
                                               _mm512_set1_epi64(part));
        const __m512i low = _mm512_permutex2var_epi64(v0, index, v1);
        const __mmask8 fromV2 = part == 0 ? 0xC0 : 0xE0; // lanes past quadword 15
        return _mm512_mask_permutexvar_epi64(low, fromV2, index, v2);
    }

    static i32 MaxLane(__m256i v)
    {
        v = _mm256_max_epi32(v, _mm256_permute2x128_si256(v, v, 1));
        v = _mm256_max_epi32(v, _mm256_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
        v = _mm256_max_epi32(v, _mm256_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
        return _mm256_cvtsi256_si32(v);
    }

    // A row's last few pels. Spare lanes repeat the last real pel, so their
    // reads stay inside the footprint.
    void FewerPels(const tagScaleList* entry, int valid)
    {
        alignas(32) i32 offset[kLanes], lastRead[kLanes], mid[kLanes];
        alignas(64) double firstW[kLanes], lastW[kLanes];
        i32 at = 0;
        widest = widestBelow = 1;
        for (int l = 0; l < kLanes; ++l) {
            const tagScaleList& e = entry[std::min(l, valid - 1)];
            const Taps h(e);
            offset[l] = at;
            lastRead[l] = h.Total() - 1;
            mid[l] = h.middle;
            firstW[l] = h.first;
            lastW[l] = h.hasLast ? h.last : 0.0;
            widest = std::max(widest, h.Total());
            widestBelow = std::max(widestBelow, h.middle + 1);
            if (l + 1 < valid)
                at += e.advance;
        }
        offsets = _mm256_load_si256(reinterpret_cast<const __m256i*>(offset));
        lastReads = _mm256_load_si256(reinterpret_cast<const __m256i*>(lastRead));
        middle = _mm256_load_si256(reinterpret_cast<const __m256i*>(mid));
        first = _mm512_load_pd(firstW);
        last = _mm512_load_pd(lastW);
    }

    __m512d Weight(i32 t, __m512d hRatio, bool withCorner) const
    {
        if (t == 0)
            return first;
        if (t < kKept)
            return withCorner ? weight[t] : weightBelow[t];
        return TapWeight(t, hRatio, withCorner);
    }

    // Column weight of tap t per lane: first, hRatio for the middle ones, then
    // the last one (when the corner counts), then zero.
    __m512d TapWeight(i32 t, __m512d hRatio, bool withCorner) const
    {
        const __m256i tap = _mm256_set1_epi32(t);
        const __mmask8 inMiddle = _mm256_cmpge_epi32_mask(middle, tap);
        __m512d tail = _mm512_setzero_pd();
        if (withCorner) {
            const __mmask8 isLast =
                _mm256_cmpeq_epi32_mask(_mm256_add_epi32(middle, _mm256_set1_epi32(1)), tap);
            tail = _mm512_maskz_mov_pd(isLast, last);
        }
        return _mm512_mask_blend_pd(inMiddle, tail, hRatio);
    }

    // Lanes past their own last column reread it (with weight zero).
    __m256i Load(const Pel* row, i32 t) const
    {
        row += base;
        const __m256i index =
            t == 0 ? offsets
                   : _mm256_add_epi32(offsets, _mm256_min_epi32(_mm256_set1_epi32(t), lastReads));
        if (nearby) {
            const __m512i window = _mm512_loadu_si512(row);
            return _mm512_castsi512_si256(
                _mm512_permutexvar_epi32(_mm512_castsi256_si512(index), window));
        }
        return _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), index, 4);
    }
};

struct Sums {
    __m512d a = _mm512_setzero_pd(), b = _mm512_setzero_pd(), g = _mm512_setzero_pd(),
            r = _mm512_setzero_pd();

    // b.a, g.a and r.a are exact: madd of 8-bit factors in 16-bit halves.
    void Add(__m256i pels, __m512d w)
    {
        const __m256i byte = _mm256_set1_epi32(0xFF);
        const __m256i alpha = _mm256_srli_epi32(pels, 24);
        const __m256i blue = _mm256_and_si256(pels, byte);
        const __m256i green = _mm256_and_si256(_mm256_srli_epi32(pels, 8), byte);
        const __m256i red = _mm256_and_si256(_mm256_srli_epi32(pels, 16), byte);
        a = _mm512_add_pd(a, _mm512_mul_pd(_mm512_cvtepi32_pd(alpha), w));
        b = _mm512_add_pd(b, _mm512_mul_pd(_mm512_cvtepi32_pd(_mm256_madd_epi16(blue, alpha)), w));
        g = _mm512_add_pd(g, _mm512_mul_pd(_mm512_cvtepi32_pd(_mm256_madd_epi16(green, alpha)), w));
        r = _mm512_add_pd(r, _mm512_mul_pd(_mm512_cvtepi32_pd(_mm256_madd_epi16(red, alpha)), w));
    }
};

// The reference's clamp: at least 255 gives 255, below 1 gives 0, else truncate.
__m256i Clamp(__m512d v)
{
    return _mm512_cvttpd_epi32(
        _mm512_min_pd(_mm512_max_pd(v, _mm512_setzero_pd()), _mm512_set1_pd(255.0)));
}

// Clamp(sum / divisor) without dividing. The product q with the rounded
// reciprocal is within 2^-36 of the true quotient (relative error 2^-52, and
// the quotient stays below 2^10), so the rounded quotient truncates to n or
// n - 1, n the integer nearest q. It reaches n exactly when the true quotient
// is at least n less half the gap to the double below n (a tie rounds to n,
// whose significand is even): when 2 (divisor n - sum) <= divisor gap. Every
// step is exact: divisor n is an integer below 2^53, the difference is exact
// near n (Sterbenz) and far from it too large to pass, the gap is a power of
// two. A lane with n <= 0 gives at most 0, which clamps to 0.
__m256i Quotient(__m512d sum, __m512d divisor, __m512d reciprocal)
{
    const __m512d q = _mm512_mul_pd(sum, reciprocal);
    const __m512d n = _mm512_roundscale_pd(q, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    const __m512d excess = _mm512_sub_pd(_mm512_mul_pd(divisor, n), sum);
    const __m512d below =
        _mm512_castsi512_pd(_mm512_sub_epi64(_mm512_castpd_si512(n), _mm512_set1_epi64(1)));
    const __m512d gap = _mm512_mul_pd(divisor, _mm512_sub_pd(n, below));
    const __mmask8 reaches = _mm512_cmp_pd_mask(_mm512_add_pd(excess, excess), gap, _CMP_LE_OQ);
    return Clamp(_mm512_mask_sub_pd(n, __mmask8(~reaches), n, _mm512_set1_pd(1.0)));
}

// 1 / a for every output alpha, rounded to nearest when compiled; a gather
// costs less than a vector division.
struct Reciprocals {
    double of[256];
};

constexpr Reciprocals MakeReciprocals()
{
    Reciprocals r{};
    for (int a = 1; a < 256; ++a)
        r.of[a] = 1.0 / a;
    return r;
}

constexpr Reciprocals kReciprocals = MakeReciprocals();

__m256i Result(const Sums& s)
{
    const __m256i alpha = Clamp(s.a);
    const __mmask8 clear = _mm256_cmpeq_epi32_mask(alpha, _mm256_setzero_si256());
    // Clear lanes take the quotients by one instead of zero, then give 0 anyway.
    const __m512d divisor = _mm512_cvtepi32_pd(_mm256_max_epi32(alpha, _mm256_set1_epi32(1)));
    const __m512d reciprocal =
        _mm512_i32gather_pd(_mm256_max_epi32(alpha, _mm256_set1_epi32(1)), kReciprocals.of, 8);
    const __m256i blue = Quotient(s.b, divisor, reciprocal);
    const __m256i green = Quotient(s.g, divisor, reciprocal);
    const __m256i red = Quotient(s.r, divisor, reciprocal);
    const __m256i pels =
        _mm256_or_si256(_mm256_or_si256(blue, _mm256_slli_epi32(green, 8)),
                        _mm256_or_si256(_mm256_slli_epi32(red, 16), _mm256_slli_epi32(alpha, 24)));
    return _mm256_maskz_mov_epi32(__mmask8(~clear), pels);
}

// One footprint row. Each weight is rowWeight x column weight, as in the reference.
inline __attribute__((always_inline)) void AddRow(Sums& sums, __m512d& rest, const Pel* row,
                                                  double rowWeight, const ColumnTaps& h,
                                                  __m512d hRatio, bool withCorner)
{
    const __m512d rw = _mm512_set1_pd(rowWeight);
    // Past widestBelow a last row holds only zero weights.
    const i32 taps = withCorner ? h.widest : h.widestBelow;
    for (i32 t = 0; t < taps; ++t) {
        const __m512d w = _mm512_mul_pd(rw, h.Weight(t, hRatio, withCorner));
        sums.Add(h.Load(row, t), w);
        rest = _mm512_sub_pd(rest, w);
    }
}

// Writes `out` once at the end, so the sums stay in registers.
inline __attribute__((always_inline)) void SumPels(Sums& out, const Kernels::ScaleRowJob& job,
                                                   const Taps& v, const ColumnTaps& h)
{
    Sums sums;
    __m512d rest = _mm512_set1_pd(1.0);
    const __m512d hRatio = _mm512_set1_pd(job.hRatio);
    AddRow(sums, rest, job.rows[0], v.first, h, hRatio, true);
    for (i32 i = 1; i <= v.middle; ++i)
        AddRow(sums, rest, job.rows[i], job.vRatio, h, hRatio, true);
    if (v.hasLast)
        AddRow(sums, rest, job.rows[v.middle + 1], v.last, h, hRatio, false);
    // The corner, when skipped, is still the last pixel read.
    sums.Add(h.Load(job.rows[v.Total() - 1], h.widest - 1), rest);
    out = sums;
}

// Columns every footprint row holds: all those before the last pel's first
// column are read by some pel, and the last pel reads on from there.
std::ptrdiff_t Reach(const tagScaleList* hEntry, std::ptrdiff_t count)
{
    std::ptrdiff_t column[4] = {0, 0, 0, 0};
    std::ptrdiff_t j = 0;
    for (; j + 4 <= count - 1; j += 4)
        for (int k = 0; k < 4; ++k)
            column[k] += hEntry[j + k].advance;
    for (; j < count - 1; ++j)
        column[0] += hEntry[j].advance;
    return column[0] + column[1] + column[2] + column[3] + Taps(hEntry[count - 1]).Total();
}

// Sums for a few groups first, then their results: the divisions of one group
// then overlap the sums of the next.
constexpr i32 kGroups = 4;

std::ptrdiff_t Groups(std::ptrdiff_t count)
{
    return (count + kLanes - 1) / kLanes;
}

std::size_t ColumnBytes(i32 count)
{
    return count < 1 ? 0 : std::size_t(Groups(count)) * sizeof(ColumnTaps);
}

// The taps of every group of the run, in order.
void PrepareColumns(void* columns, const Kernels::ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    const tagScaleList* hEntry = job.horizontal;
    const std::ptrdiff_t count = job.count;
    const std::ptrdiff_t reach = Reach(hEntry, count);
    const __m512d hRatio = _mm512_set1_pd(job.hRatio);
    auto* group = static_cast<ColumnTaps*>(columns);
    std::ptrdiff_t column = 0;
    for (std::ptrdiff_t at = 0; at < count; at += kLanes) {
        const int valid = int(std::min<std::ptrdiff_t>(kLanes, count - at));
        new (group++) ColumnTaps(hEntry + at, column, valid, reach, hRatio);
        for (int l = 0; l < valid; ++l)
            column += hEntry[at + l].advance;
    }
}

void StoreResults(Pel* dst, const Sums* sums, std::ptrdiff_t at, std::ptrdiff_t groups,
                  std::ptrdiff_t count)
{
    for (std::ptrdiff_t g = 0; g < groups; ++g, at += kLanes) {
        const int valid = int(std::min<std::ptrdiff_t>(kLanes, count - at));
        _mm256_mask_storeu_epi32(dst + at, __mmask8((1u << valid) - 1), Result(sums[g]));
    }
}

void ProduceRow(Pel* dst, const Kernels::ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    const Taps v(*job.vertical);
    const std::ptrdiff_t count = job.count;
    Sums sums[kGroups];
    if (job.columns) {
        const auto* group = static_cast<const ColumnTaps*>(job.columns);
        for (std::ptrdiff_t j = 0; j < count; j += kGroups * kLanes) {
            const std::ptrdiff_t groups = std::min<std::ptrdiff_t>(kGroups, Groups(count - j));
            for (std::ptrdiff_t g = 0; g < groups; ++g)
                SumPels(sums[g], job, v, *group++);
            StoreResults(dst, sums, j, groups, count);
        }
        return;
    }
    const tagScaleList* hEntry = job.horizontal;
    const std::ptrdiff_t reach = Reach(hEntry, count);
    const __m512d hRatio = _mm512_set1_pd(job.hRatio);
    std::ptrdiff_t column = 0;
    for (std::ptrdiff_t j = 0; j < count; j += kGroups * kLanes) {
        const std::ptrdiff_t groups = std::min<std::ptrdiff_t>(kGroups, Groups(count - j));
        for (std::ptrdiff_t g = 0; g < groups; ++g) {
            const std::ptrdiff_t at = j + g * kLanes;
            const int valid = int(std::min<std::ptrdiff_t>(kLanes, count - at));
            const ColumnTaps h(hEntry + at, column, valid, reach, hRatio);
            SumPels(sums[g], job, v, h);
            for (int l = 0; l < valid; ++l)
                column += hEntry[at + l].advance;
        }
        StoreResults(dst, sums, j, groups, count);
    }
}

} // namespace

const Kernels::ScaleSet Kernels::kScaleAVX512 = {"avx512", ProduceRow, ColumnBytes, PrepareColumns};
