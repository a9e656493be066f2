// SSE2 fade, mix, channel and fill kernels. Only kMixSSE2 is visible outside.
//
// Only the members whose arithmetic SSE2 holds cheaply: the fade, the
// premultiply and the shaped cross-fade, four pels per step. Add, Blend, the
// level fade and the cross-fade want 32-bit lane products (SSE4.1), and the
// compiler already vectorises the scalar fills, setters and Max: those members
// are the scalar set's.
#include "kernels/mix/MixKernels.h"

#include <cstddef>
#include <emmintrin.h>

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

__m128i Load4(const char* row, int index)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(At(row, index)));
}

void Store4(char* row, int index, __m128i pels)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(At(row, index)), pels);
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
__m128i DivideBy255x16(__m128i x)
{
    return _mm_mulhi_epu16(_mm_add_epi16(x, _mm_set1_epi16(128)), _mm_set1_epi16(257));
}

// The fade in 32-bit lanes holding alpha * level <= 65025: the upper halves stay 0.
void FadeRow(char* dst, const char* src, int count, u32 level)
{
    const __m128i l = _mm_set1_epi32(int(level));
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i p = Load4(src, i);
        const __m128i x =
            _mm_add_epi32(_mm_mullo_epi16(_mm_srli_epi32(p, 24), l), _mm_set1_epi32(128));
        const __m128i alpha = _mm_mulhi_epu16(x, _mm_set1_epi32(257));
        Store4(
            dst, i,
            _mm_or_si128(_mm_and_si128(p, _mm_set1_epi32(0x00FFFFFF)), _mm_slli_epi32(alpha, 24)));
    }
    Kernels::kMixScalar.fade(At(dst, i), At(src, i), count - i, level);
}

// [b g r a] x2, multiplied by [a a a 255]: DivideBy255(a * 255) = a.
__m128i PreMultHalf(__m128i pels16)
{
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(pels16, 0xFF), 0xFF);
    const __m128i alphaSlots = _mm_set_epi16(-1, 0, 0, 0, -1, 0, 0, 0);
    const __m128i factor = _mm_or_si128(_mm_andnot_si128(alphaSlots, alpha),
                                        _mm_and_si128(alphaSlots, _mm_set1_epi16(255)));
    return DivideBy255x16(_mm_mullo_epi16(pels16, factor));
}

void PreMultAlphaRow(char* dst, const char* src, int count)
{
    const __m128i zero = _mm_setzero_si128();
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i p = Load4(src, i);
        Store4(dst, i,
               _mm_packus_epi16(PreMultHalf(_mm_unpacklo_epi8(p, zero)),
                                PreMultHalf(_mm_unpackhi_epi8(p, zero))));
    }
    Kernels::kMixScalar.preMultAlpha(At(dst, i), At(src, i), count - i);
}

// One pel: [xa xb] 16-bit pairs times [wa wb] summed by madd; weights that fit
// 16 signed bits keep every sum exact in 32. Signed division by 256 truncates
// toward zero: negative sums get 255 added before the shift.
__m128i ShapedPel(__m128i pairs16, __m128i weights)
{
    const __m128i sum = _mm_madd_epi16(pairs16, weights);
    const __m128i bias = _mm_srli_epi32(_mm_srai_epi32(sum, 31), 24);
    return _mm_and_si128(_mm_srai_epi32(_mm_add_epi32(sum, bias), 8), _mm_set1_epi32(0xFF));
}

__m128i ShapedCrossFade4(__m128i a, __m128i b, __m128i weights)
{
    const __m128i zero = _mm_setzero_si128();
    // [xa xb] per channel, 16-bit lanes, one pel each
    const __m128i lo = _mm_unpacklo_epi8(a, b), hi = _mm_unpackhi_epi8(a, b);
    const __m128i q0 = ShapedPel(_mm_unpacklo_epi8(lo, zero), weights);
    const __m128i q1 = ShapedPel(_mm_unpackhi_epi8(lo, zero), weights);
    const __m128i q2 = ShapedPel(_mm_unpacklo_epi8(hi, zero), weights);
    const __m128i q3 = ShapedPel(_mm_unpackhi_epi8(hi, zero), weights);
    // Channels are 0..255, so the signed packs saturate nothing.
    const __m128i mixed = _mm_packus_epi16(_mm_packs_epi32(q0, q1), _mm_packs_epi32(q2, q3));
    const __m128i equal = _mm_cmpeq_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(equal, a), _mm_andnot_si128(equal, mixed));
}

bool FitsInt16(int w)
{
    return w >= -32768 && w <= 32767;
}

void ShapedCrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                        int weightB)
{
    int i = 0;
    if (FitsInt16(weightA) && FitsInt16(weightB)) {
        const __m128i weights =
            _mm_set1_epi32(int((u32(weightB) & 0xFFFF) << 16 | (u32(weightA) & 0xFFFF)));
        for (; i + 4 <= count; i += 4)
            Store4(dst, i, ShapedCrossFade4(Load4(srcA, i), Load4(srcB, i), weights));
    }
    Kernels::kMixScalar.shapedCrossFade(At(dst, i), At(srcA, i), At(srcB, i), count - i, weightA,
                                        weightB);
}

// The members SSE2 leaves alone call the scalar set's at run time: naming its
// members in the initialiser below would make this set wait for a dynamic
// initialiser, which a load-time caller could outrun.
void AddRow(char* dst, const char* src1, const char* src2, int count)
{
    Kernels::kMixScalar.add(dst, src1, src2, count);
}

void BlendRow(char* dst, const char* src1, const char* src2, int count, u32 level)
{
    Kernels::kMixScalar.blend(dst, src1, src2, count, level);
}

void MaxRow(char* dst, const char* src1, const char* src2, int count)
{
    Kernels::kMixScalar.max(dst, src1, src2, count);
}

void SetBitsRow(char* dst, int count, u32 keep, u32 bits)
{
    Kernels::kMixScalar.setBits(dst, count, keep, bits);
}

void FillRow(char* dst, int count, u32 colour)
{
    Kernels::kMixScalar.fill(dst, count, colour);
}

void LevelFadeRow(char* dst, const char* src, int count, int level)
{
    Kernels::kMixScalar.levelFade(dst, src, count, level);
}

void CrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                  int weightB)
{
    Kernels::kMixScalar.crossFade(dst, srcA, srcB, count, weightA, weightB);
}

} // namespace

const Kernels::MixSet Kernels::kMixSSE2 = {
    "sse2",  FadeRow,      AddRow,       BlendRow,           MaxRow,         SetBitsRow,
    FillRow, LevelFadeRow, CrossFadeRow, ShapedCrossFadeRow, PreMultAlphaRow};
