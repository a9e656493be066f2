// AVX-512 fade, mix, channel and fill kernels. Only kMixAVX512 is visible outside.
//
// The AVX2 set's arithmetic on sixteen pels per step; the tail of every row is the scalar kernel
// itself. 16-bit shuffles and unpacks work within each 128-bit quarter, and the packs that follow
// restore the pel order.
#include "kernels/mix/MixKernels.h"

#include <cstddef>
#include <immintrin.h>

namespace {

using u32 = std::uint32_t;

const char* At(const char* row, int index)
{
    return row + std::ptrdiff_t(index) * 4;
}

char* At(char* row, int index)
{
    return row + std::ptrdiff_t(index) * 4;
}

__m512i Load16(const char* row, int index)
{
    return _mm512_loadu_si512(At(row, index));
}

void Store16(char* row, int index, __m512i pels)
{
    _mm512_storeu_si512(At(row, index), pels);
}

__m512i Select(__mmask16 mask, __m512i ifSet, __m512i ifClear)
{
    return _mm512_mask_blend_epi32(mask, ifClear, ifSet);
}

__m512i Alphas(__m512i pels)
{
    return _mm512_srli_epi32(pels, 24);
}

// Colour of `pels`, alpha the low 8 bits of `alpha` (32-bit lanes).
__m512i WithAlpha(__m512i pels, __m512i alpha)
{
    return _mm512_or_si512(_mm512_and_si512(pels, _mm512_set1_epi32(0x00FFFFFF)),
                           _mm512_slli_epi32(alpha, 24));
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
__m512i DivideBy255x16(__m512i x)
{
    return _mm512_mulhi_epu16(_mm512_add_epi16(x, _mm512_set1_epi16(128)), _mm512_set1_epi16(257));
}

// The same in 32-bit lanes holding at most 65025: the upper halves stay 0.
__m512i DivideBy255x32(__m512i x)
{
    return _mm512_mulhi_epu16(_mm512_add_epi32(x, _mm512_set1_epi32(128)), _mm512_set1_epi32(257));
}

// [x0 . x1 . x2 . x3 .] 32-bit lanes a quarter  ->  [x0 x0 x0 x0 x1 x1 x1 x1], 16-bit;
// SpreadHi gives x2 and x3 likewise.
__m512i SpreadLo(__m512i x32)
{
    const __m512i pairs = _mm512_shufflelo_epi16(x32, 0xA0);
    return _mm512_unpacklo_epi16(pairs, pairs);
}

__m512i SpreadHi(__m512i x32)
{
    const __m512i pairs = _mm512_shufflehi_epi16(x32, 0xA0);
    return _mm512_unpackhi_epi16(pairs, pairs);
}

// =============================================================================
// Fades, max, channels, fill
// =============================================================================

void FadeRow(char* dst, const char* src, int count, u32 level)
{
    const __m512i l = _mm512_set1_epi32(int(level));
    int i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m512i p = Load16(src, i);
        Store16(dst, i, WithAlpha(p, DivideBy255x32(_mm512_mullo_epi16(Alphas(p), l))));
    }
    Kernels::kMixScalar.fade(At(dst, i), At(src, i), count - i, level);
}

void MaxRow(char* dst, const char* src1, const char* src2, int count)
{
    int i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m512i p1 = Load16(src1, i), p2 = Load16(src2, i);
        Store16(dst, i, Select(_mm512_cmpgt_epi32_mask(Alphas(p2), Alphas(p1)), p2, p1));
    }
    Kernels::kMixScalar.max(At(dst, i), At(src1, i), At(src2, i), count - i);
}

void SetBitsRow(char* dst, int count, u32 keep, u32 bits)
{
    const __m512i k = _mm512_set1_epi32(int(keep)), b = _mm512_set1_epi32(int(bits));
    int i = 0;
    for (; i + 16 <= count; i += 16)
        Store16(dst, i, _mm512_or_si512(_mm512_and_si512(Load16(dst, i), k), b));
    Kernels::kMixScalar.setBits(At(dst, i), count - i, keep, bits);
}

void FillRow(char* dst, int count, u32 colour)
{
    const __m512i c = _mm512_set1_epi32(int(colour));
    int i = 0;
    for (; i + 16 <= count; i += 16)
        Store16(dst, i, c);
    Kernels::kMixScalar.fill(At(dst, i), count - i, colour);
}

// (A * level) / 256 truncates toward zero: a negative product gets 255 added
// before the arithmetic shift.
__m512i LevelFadeN(__m512i p, __m512i product)
{
    const __m512i bias = _mm512_srli_epi32(_mm512_srai_epi32(product, 31), 24);
    return WithAlpha(p, _mm512_srai_epi32(_mm512_add_epi32(product, bias), 8));
}

// A level that fits 16 signed bits multiplies by madd, one cheap step: the
// upper half of each alpha lane is 0. Others wrap through the 32-bit product,
// as the scalar u32 one does.
void LevelFadeRow(char* dst, const char* src, int count, int level)
{
    int i = 0;
    if (level >= -32768 && level <= 32767) {
        const __m512i l = _mm512_set1_epi32(level & 0xFFFF);
        for (; i + 16 <= count; i += 16) {
            const __m512i p = Load16(src, i);
            Store16(dst, i, LevelFadeN(p, _mm512_madd_epi16(Alphas(p), l)));
        }
    } else {
        const __m512i l = _mm512_set1_epi32(level);
        for (; i + 16 <= count; i += 16) {
            const __m512i p = Load16(src, i);
            Store16(dst, i, LevelFadeN(p, _mm512_mullo_epi32(Alphas(p), l)));
        }
    }
    Kernels::kMixScalar.levelFade(At(dst, i), At(src, i), count - i, level);
}

// [b g r a] x2 per quarter, multiplied by [a a a 255]: DivideBy255(a * 255) = a.
__m512i PreMultHalf(__m512i pels16)
{
    const __m512i alpha = _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(pels16, 0xFF), 0xFF);
    const __m512i factor = _mm512_mask_blend_epi16(0x88888888u, alpha, _mm512_set1_epi16(255));
    return DivideBy255x16(_mm512_mullo_epi16(pels16, factor));
}

void PreMultAlphaRow(char* dst, const char* src, int count)
{
    const __m512i zero = _mm512_setzero_si512();
    int i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m512i p = Load16(src, i);
        Store16(dst, i,
                _mm512_packus_epi16(PreMultHalf(_mm512_unpacklo_epi8(p, zero)),
                                    PreMultHalf(_mm512_unpackhi_epi8(p, zero))));
    }
    Kernels::kMixScalar.preMultAlpha(At(dst, i), At(src, i), count - i);
}

// =============================================================================
// Blend and Add: colours over global_adt
// =============================================================================

// global_adt[a] without a table: gathers are slow where the CPU guards them.
// 65536 / a in floats is exact where it is an integer, and elsewhere lies at
// least 1/255 below the next integer, more than half an ulp (2^-9 below 2^16):
// truncating it gives the entry. a = 0 gives 0x80000000, whose low 16 bits are
// 0, and multiplies sums that are 0 there.
__m512i AlphaReciprocals(__m512i alpha)
{
    return _mm512_cvttps_epi32(_mm512_div_ps(_mm512_set1_ps(65536.0f), _mm512_cvtepi32_ps(alpha)));
}

// ((c1 * w1 + c2 * w2) * adt[A]) >> 16 for two pels a quarter, w1 + w2 = A. The
// sum is at most 255 * A, so it and adt[A] (A >= 2) fit 16 bits and mulhi is
// the exact quotient; adt[1] = 65536 is 0 in 16 bits and A = 1 keeps the sum.
__m512i MeanQuarter(__m512i c1, __m512i w1, __m512i c2, __m512i w2, __m512i adt, __m512i alphaIsOne)
{
    const __m512i sum = _mm512_add_epi16(_mm512_mullo_epi16(c1, w1), _mm512_mullo_epi16(c2, w2));
    return _mm512_or_si512(_mm512_mulhi_epu16(sum, adt), _mm512_and_si512(sum, alphaIsOne));
}

__m512i Blend16(__m512i p1, __m512i p2, __m512i l1, __m512i l2)
{
    const __m512i w1 = DivideBy255x32(_mm512_mullo_epi16(Alphas(p1), l1));
    const __m512i w2 = DivideBy255x32(_mm512_mullo_epi16(Alphas(p2), l2));
    const __m512i alpha = _mm512_min_epu32(_mm512_add_epi32(w1, w2), _mm512_set1_epi32(255));
    const __m512i adt = AlphaReciprocals(alpha);
    const __m512i one = _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(alpha, _mm512_set1_epi32(1)));
    const __m512i zero = _mm512_setzero_si512();
    const __m512i lo =
        MeanQuarter(_mm512_unpacklo_epi8(p1, zero), SpreadLo(w1), _mm512_unpacklo_epi8(p2, zero),
                    SpreadLo(w2), SpreadLo(adt), SpreadLo(one));
    const __m512i hi =
        MeanQuarter(_mm512_unpackhi_epi8(p1, zero), SpreadHi(w1), _mm512_unpackhi_epi8(p2, zero),
                    SpreadHi(w2), SpreadHi(adt), SpreadHi(one));
    return WithAlpha(_mm512_packus_epi16(lo, hi), alpha);
}

void BlendRow(char* dst, const char* src1, const char* src2, int count, u32 level)
{
    const __m512i l1 = _mm512_set1_epi32(int(255 - level)), l2 = _mm512_set1_epi32(int(level));
    int i = 0;
    for (; i + 16 <= count; i += 16)
        Store16(dst, i, Blend16(Load16(src1, i), Load16(src2, i), l1, l2));
    Kernels::kMixScalar.blend(At(dst, i), At(src1, i), At(src2, i), count - i, level);
}

// One pel a quarter: [c1 c2] 16-bit pairs times the pair [a1 a2], summed per
// channel by madd, times adt[A] in 32 bits. Past A = 255 the sum reaches
// 2 * 255 * 255 and the quotient 509: only its low 8 bits are kept.
__m512i AddPel(__m512i pairs16, __m512i adt)
{
    const __m512i sums = _mm512_madd_epi16(pairs16, _mm512_shuffle_epi32(pairs16, _MM_PERM_DDDD));
    return _mm512_and_si512(_mm512_srli_epi32(_mm512_mullo_epi32(sums, adt), 16),
                            _mm512_set1_epi32(0xFF));
}

__m512i Add16(__m512i p1, __m512i p2)
{
    const __m512i alpha =
        _mm512_min_epu32(_mm512_add_epi32(Alphas(p1), Alphas(p2)), _mm512_set1_epi32(255));
    const __m512i adt = AlphaReciprocals(alpha);
    const __m512i zero = _mm512_setzero_si512();
    // [b1 b2 g1 g2 r1 r2 a1 a2] 16-bit lanes, one pel a quarter
    const __m512i lo = _mm512_unpacklo_epi8(p1, p2), hi = _mm512_unpackhi_epi8(p1, p2);
    const __m512i q0 =
        AddPel(_mm512_unpacklo_epi8(lo, zero), _mm512_shuffle_epi32(adt, _MM_PERM_AAAA));
    const __m512i q1 =
        AddPel(_mm512_unpackhi_epi8(lo, zero), _mm512_shuffle_epi32(adt, _MM_PERM_BBBB));
    const __m512i q2 =
        AddPel(_mm512_unpacklo_epi8(hi, zero), _mm512_shuffle_epi32(adt, _MM_PERM_CCCC));
    const __m512i q3 =
        AddPel(_mm512_unpackhi_epi8(hi, zero), _mm512_shuffle_epi32(adt, _MM_PERM_DDDD));
    const __m512i colour =
        _mm512_packus_epi16(_mm512_packus_epi32(q0, q1), _mm512_packus_epi32(q2, q3));
    return WithAlpha(colour, alpha);
}

void AddRow(char* dst, const char* src1, const char* src2, int count)
{
    int i = 0;
    for (; i + 16 <= count; i += 16)
        Store16(dst, i, Add16(Load16(src1, i), Load16(src2, i)));
    Kernels::kMixScalar.add(At(dst, i), At(src1, i), At(src2, i), count - i);
}

// =============================================================================
// Cross-fades
// =============================================================================

__m512i Channel(__m512i pels, int shift)
{
    return _mm512_and_si512(_mm512_srl_epi32(pels, _mm_cvtsi32_si128(shift)),
                            _mm512_set1_epi32(0xFF));
}

// With 0 <= wa, wb and wa + wb <= 256, s <= 255 * 256 and every numerator
// n <= 255 * s stay below 2^24, exact in floats. Rounding n / s to nearest
// cannot reach the next integer (it lies at least 1/s > half an ulp away), so
// truncating the float quotient is the integer division.
__m512i CrossFadeChannel(__m512i a, __m512i b, __m512i ea, __m512i eb, __m512 s, int shift)
{
    const __m512i n = _mm512_add_epi32(_mm512_mullo_epi32(Channel(b, shift), eb),
                                       _mm512_mullo_epi32(Channel(a, shift), ea));
    const __m512i q = _mm512_cvttps_epi32(_mm512_div_ps(_mm512_cvtepi32_ps(n), s));
    return _mm512_sll_epi32(q, _mm_cvtsi32_si128(shift));
}

__m512i CrossFade16(__m512i a, __m512i b, __m512i wa, __m512i wb)
{
    const __m512i ea = _mm512_mullo_epi32(Alphas(a), wa), eb = _mm512_mullo_epi32(Alphas(b), wb);
    const __m512i sum = _mm512_add_epi32(ea, eb);
    const __m512 s = _mm512_cvtepi32_ps(sum);
    const __m512i alpha = _mm512_srli_epi32(sum, 8);
    __m512i mixed = WithAlpha(CrossFadeChannel(a, b, ea, eb, s, 0), alpha);
    mixed = _mm512_or_si512(mixed, CrossFadeChannel(a, b, ea, eb, s, 8));
    mixed = _mm512_or_si512(mixed, CrossFadeChannel(a, b, ea, eb, s, 16));
    const __m512i zero = _mm512_setzero_si512();
    mixed = Select(_mm512_cmpeq_epi32_mask(sum, zero), zero, mixed);
    return Select(_mm512_cmpeq_epi32_mask(a, b), a, mixed);
}

void CrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                  int weightB)
{
    int i = 0;
    if (weightA >= 0 && weightB >= 0 && weightA <= 256 - weightB) {
        const __m512i wa = _mm512_set1_epi32(weightA), wb = _mm512_set1_epi32(weightB);
        for (; i + 16 <= count; i += 16)
            Store16(dst, i, CrossFade16(Load16(srcA, i), Load16(srcB, i), wa, wb));
    }
    Kernels::kMixScalar.crossFade(At(dst, i), At(srcA, i), At(srcB, i), count - i, weightA,
                                  weightB);
}

// One pel a quarter: [xa xb] 16-bit pairs times [wa wb] summed by madd; weights
// that fit 16 signed bits keep every sum exact in 32. Signed division by 256
// truncates toward zero: negative sums get 255 added before the shift.
// Weights of 0 or more summing to 256 at most keep the sum in 0..255 * 256:
// a plain shift then, and nothing to mask.
template <bool kInRange> __m512i ShapedPel(__m512i pairs16, __m512i weights)
{
    const __m512i sum = _mm512_madd_epi16(pairs16, weights);
    if (kInRange)
        return _mm512_srli_epi32(sum, 8);
    const __m512i bias = _mm512_srli_epi32(_mm512_srai_epi32(sum, 31), 24);
    return _mm512_and_si512(_mm512_srai_epi32(_mm512_add_epi32(sum, bias), 8),
                            _mm512_set1_epi32(0xFF));
}

template <bool kInRange> __m512i ShapedCrossFade16(__m512i a, __m512i b, __m512i weights)
{
    const __m512i zero = _mm512_setzero_si512();
    // [xa xb] per channel, 16-bit lanes, one pel a quarter
    const __m512i lo = _mm512_unpacklo_epi8(a, b), hi = _mm512_unpackhi_epi8(a, b);
    const __m512i q0 = ShapedPel<kInRange>(_mm512_unpacklo_epi8(lo, zero), weights);
    const __m512i q1 = ShapedPel<kInRange>(_mm512_unpackhi_epi8(lo, zero), weights);
    const __m512i q2 = ShapedPel<kInRange>(_mm512_unpacklo_epi8(hi, zero), weights);
    const __m512i q3 = ShapedPel<kInRange>(_mm512_unpackhi_epi8(hi, zero), weights);
    const __m512i mixed =
        _mm512_packus_epi16(_mm512_packus_epi32(q0, q1), _mm512_packus_epi32(q2, q3));
    return Select(_mm512_cmpeq_epi32_mask(a, b), a, mixed);
}

bool FitsInt16(int w)
{
    return w >= -32768 && w <= 32767;
}

template <bool kInRange>
int ShapedCrossFadeBody(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                        int weightB)
{
    const __m512i weights =
        _mm512_set1_epi32(int((u32(weightB) & 0xFFFF) << 16 | (u32(weightA) & 0xFFFF)));
    int i = 0;
    for (; i + 16 <= count; i += 16)
        Store16(dst, i, ShapedCrossFade16<kInRange>(Load16(srcA, i), Load16(srcB, i), weights));
    return i;
}

void ShapedCrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                        int weightB)
{
    int i = 0;
    if (weightA >= 0 && weightB >= 0 && weightA <= 256 - weightB)
        i = ShapedCrossFadeBody<true>(dst, srcA, srcB, count, weightA, weightB);
    else if (FitsInt16(weightA) && FitsInt16(weightB))
        i = ShapedCrossFadeBody<false>(dst, srcA, srcB, count, weightA, weightB);
    Kernels::kMixScalar.shapedCrossFade(At(dst, i), At(srcA, i), At(srcB, i), count - i, weightA,
                                        weightB);
}

} // namespace

const Kernels::MixSet Kernels::kMixAVX512 = {
    "avx512", FadeRow,      AddRow,       BlendRow,           MaxRow,         SetBitsRow,
    FillRow,  LevelFadeRow, CrossFadeRow, ShapedCrossFadeRow, PreMultAlphaRow};
