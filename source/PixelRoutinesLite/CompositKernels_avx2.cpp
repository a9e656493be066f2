// AVX2 composite kernels. Only kCompositAVX2 is visible outside.
//
// The arithmetic is the SSE2 set's on eight pels: every 16-bit shuffle and
// unpack works within a 128-bit half, and packus restores the pel order.
// Selects apply CompositPel's tests lowest priority first, so the first wins.
#include "PixelRoutinesLite/CompositKernels.h"

#include "AlphaDivide.h"

#include <cstddef>
#include <immintrin.h>

namespace {

__m256i Load8(const char* row, int index)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + std::ptrdiff_t(index) * 4));
}

void Store8(char* row, int index, __m256i pels)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + std::ptrdiff_t(index) * 4), pels);
}

__m256i Select(__m256i mask, __m256i ifSet, __m256i ifClear)
{
    return _mm256_blendv_epi8(ifClear, ifSet, mask);
}

bool All(__m256i mask)
{
    return _mm256_movemask_epi8(mask) == -1;
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
__m256i DivideBy255x16(__m256i x)
{
    return _mm256_mulhi_epu16(_mm256_add_epi16(x, _mm256_set1_epi16(128)), _mm256_set1_epi16(257));
}

// [0b 0g 0r 0a] x4  ->  [0a 0a 0a 0a] x4, 16-bit lanes
__m256i SpreadAlpha(__m256i pels16)
{
    return _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(pels16, 0xFF), 0xFF);
}

__m256i OnOpaqueHalf(__m256i top16, __m256i bottom16)
{
    const __m256i ta = SpreadAlpha(top16);
    const __m256i bw = _mm256_sub_epi16(_mm256_set1_epi16(255), ta);
    return DivideBy255x16(
        _mm256_add_epi16(_mm256_mullo_epi16(top16, ta), _mm256_mullo_epi16(bottom16, bw)));
}

// As in the SSE2 set: the 16-bit mulhi is exact for A >= 2, adt[1] is 0 in 16
// bits and A = 1 keeps the sum.
__m256i OnTranslucentHalf(__m256i top16, __m256i bottom16, __m256i adt16)
{
    const __m256i ta = SpreadAlpha(top16);
    const __m256i w = DivideBy255x16(
        _mm256_mullo_epi16(SpreadAlpha(bottom16), _mm256_sub_epi16(_mm256_set1_epi16(255), ta)));
    const __m256i sum =
        _mm256_add_epi16(_mm256_mullo_epi16(top16, ta), _mm256_mullo_epi16(bottom16, w));
    const __m256i alphaIsOne = _mm256_cmpeq_epi16(_mm256_add_epi16(ta, w), _mm256_set1_epi16(1));
    return _mm256_or_si256(_mm256_mulhi_epu16(sum, adt16), _mm256_and_si256(sum, alphaIsOne));
}

// ta + DivideBy255(ba*(255 - ta)) per 32-bit lane, never above 255.
__m256i TranslucentAlpha(__m256i ta32, __m256i ba32)
{
    const __m256i bw = _mm256_sub_epi32(_mm256_set1_epi32(255), ta32);
    const __m256i w =
        _mm256_and_si256(DivideBy255x16(_mm256_mullo_epi16(ba32, bw)), _mm256_set1_epi32(0xFFFF));
    return _mm256_add_epi32(ta32, w);
}

__m256i BlendOnOpaque8(__m256i top, __m256i bottom)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo =
        OnOpaqueHalf(_mm256_unpacklo_epi8(top, zero), _mm256_unpacklo_epi8(bottom, zero));
    const __m256i hi =
        OnOpaqueHalf(_mm256_unpackhi_epi8(top, zero), _mm256_unpackhi_epi8(bottom, zero));
    return _mm256_or_si256(_mm256_packus_epi16(lo, hi), _mm256_set1_epi32(int(0xFF000000u)));
}

__m256i BlendTranslucent8(__m256i top, __m256i bottom, __m256i ta32, __m256i ba32)
{
    const __m256i alpha = TranslucentAlpha(ta32, ba32);
    const __m256i adt32 =
        _mm256_i32gather_epi32(reinterpret_cast<const int*>(global_adt), alpha, 4);
    // [e0 e1 e2 e3 | e4 e5 e6 e7]  ->  [e0 x4, e1 x4 | e4 x4, e5 x4] and the rest
    const __m256i adtLo = _mm256_shufflelo_epi16(adt32, 0xA0);
    const __m256i adtHi = _mm256_shufflehi_epi16(adt32, 0xA0);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo =
        OnTranslucentHalf(_mm256_unpacklo_epi8(top, zero), _mm256_unpacklo_epi8(bottom, zero),
                          _mm256_unpacklo_epi16(adtLo, adtLo));
    const __m256i hi =
        OnTranslucentHalf(_mm256_unpackhi_epi8(top, zero), _mm256_unpackhi_epi8(bottom, zero),
                          _mm256_unpackhi_epi16(adtHi, adtHi));
    const __m256i colour =
        _mm256_and_si256(_mm256_packus_epi16(lo, hi), _mm256_set1_epi32(0x00FFFFFF));
    return _mm256_or_si256(colour, _mm256_slli_epi32(alpha, 24));
}

__m256i Composit8(__m256i top, __m256i bottom)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i full = _mm256_set1_epi32(255);
    const __m256i ta = _mm256_srli_epi32(top, 24);
    const __m256i ba = _mm256_srli_epi32(bottom, 24);
    const __m256i takeTop =
        _mm256_or_si256(_mm256_cmpeq_epi32(ta, full), _mm256_cmpeq_epi32(ba, zero));
    if (All(takeTop)) // opaque text, and clear over clear
        return top;
    const __m256i plain = Select(takeTop, top, bottom);
    const __m256i unchanged = _mm256_or_si256(takeTop, _mm256_cmpeq_epi32(ta, zero));
    if (All(unchanged)) // gaps between glyphs over a picture
        return plain;
    const __m256i onOpaque = _mm256_cmpeq_epi32(ba, full);
    __m256i mixed = BlendOnOpaque8(top, bottom);
    if (!All(_mm256_or_si256(unchanged, onOpaque)))
        mixed = Select(onOpaque, mixed, BlendTranslucent8(top, bottom, ta, ba));
    return Select(unchanged, plain, mixed);
}

void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    int i = 0;
    for (; i + 8 <= count; i += 8)
        Store8(dst, i, Composit8(Load8(top, i), Load8(bottom, i)));
    const std::ptrdiff_t done = std::ptrdiff_t(i) * 4;
    Kernels::Scalar::Composit(dst + done, bottom + done, top + done, count - i);
}

} // namespace

const Kernels::CompositSet Kernels::kCompositAVX2 = {
    "avx2",
    CompositRow,
    Kernels::Scalar::CompositOnOpaque,
    Kernels::Scalar::CompositOnColour,
    Kernels::Scalar::CompositColourOn,
    Kernels::Scalar::CompositColourOnOpaque,
    Kernels::Scalar::CompositWithOpacity,
    Kernels::Scalar::CompositThree,
    Kernels::Scalar::CompositWithScaledAlphas,
};
