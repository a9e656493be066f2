// SSE2 composite kernels. Only kCompositSSE2 is visible outside.
//
// CompositPel's ordered tests become selects applied lowest priority first:
//   translucent bottom  ->  opaque bottom  ->  clear top gives bottom  ->  top
// so the first test of the reference is applied last and wins.
//
// Only the plain composite has an SSE2 kernel; for the other routines the set
// holds the scalar ones, as x86-64 machines without AVX2 are not a target.
#include "kernels/composite/CompositKernels.h"

#include "AlphaDivide.h"

#include <cstddef>
#include <emmintrin.h>

namespace {

__m128i Load4(const char* row, int index)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + std::ptrdiff_t(index) * 4));
}

void Store4(char* row, int index, __m128i pels)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row + std::ptrdiff_t(index) * 4), pels);
}

__m128i Select(__m128i mask, __m128i ifSet, __m128i ifClear)
{
    return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, ifClear));
}

bool All(__m128i mask)
{
    return _mm_movemask_epi8(mask) == 0xFFFF;
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
__m128i DivideBy255x8(__m128i x)
{
    return _mm_mulhi_epu16(_mm_add_epi16(x, _mm_set1_epi16(128)), _mm_set1_epi16(257));
}

// [0b 0g 0r 0a] x2  ->  [0a 0a 0a 0a] x2, 16-bit lanes
__m128i SpreadAlpha(__m128i pels16)
{
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pels16, 0xFF), 0xFF);
}

// tc*ta + bc*(255 - ta) rounded by DivideBy255; every term fits 16 bits.
__m128i OnOpaqueHalf(__m128i top16, __m128i bottom16)
{
    const __m128i ta = SpreadAlpha(top16);
    const __m128i bw = _mm_sub_epi16(_mm_set1_epi16(255), ta);
    return DivideBy255x8(_mm_add_epi16(_mm_mullo_epi16(top16, ta), _mm_mullo_epi16(bottom16, bw)));
}

// ((tc*ta + bc*w) * adt[A]) >> 16. The sum is at most 255*A, so a 16-bit mulhi
// is exact for A >= 2; adt[1] = 65536 is 0 in 16 bits, and A = 1 keeps the sum.
__m128i OnTranslucentHalf(__m128i top16, __m128i bottom16, __m128i adt16)
{
    const __m128i ta = SpreadAlpha(top16);
    const __m128i w = DivideBy255x8(
        _mm_mullo_epi16(SpreadAlpha(bottom16), _mm_sub_epi16(_mm_set1_epi16(255), ta)));
    const __m128i sum = _mm_add_epi16(_mm_mullo_epi16(top16, ta), _mm_mullo_epi16(bottom16, w));
    const __m128i alphaIsOne = _mm_cmpeq_epi16(_mm_add_epi16(ta, w), _mm_set1_epi16(1));
    return _mm_or_si128(_mm_mulhi_epu16(sum, adt16), _mm_and_si128(sum, alphaIsOne));
}

// ta + DivideBy255(ba*(255 - ta)) per 32-bit lane; never above 255. The high
// 16 bits of each lane stay 0 through the 16-bit arithmetic.
__m128i TranslucentAlpha(__m128i ta32, __m128i ba32)
{
    const __m128i bw = _mm_sub_epi32(_mm_set1_epi32(255), ta32);
    const __m128i w =
        _mm_and_si128(DivideBy255x8(_mm_mullo_epi16(ba32, bw)), _mm_set1_epi32(0xFFFF));
    return _mm_add_epi32(ta32, w);
}

int Entry(int alpha)
{
    return int(global_adt[alpha & 0xFF]);
}

__m128i BlendOnOpaque4(__m128i top, __m128i bottom)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i lo = OnOpaqueHalf(_mm_unpacklo_epi8(top, zero), _mm_unpacklo_epi8(bottom, zero));
    const __m128i hi = OnOpaqueHalf(_mm_unpackhi_epi8(top, zero), _mm_unpackhi_epi8(bottom, zero));
    return _mm_or_si128(_mm_packus_epi16(lo, hi), _mm_set1_epi32(int(0xFF000000u)));
}

__m128i BlendTranslucent4(__m128i top, __m128i bottom, __m128i ta32, __m128i ba32)
{
    const __m128i alpha = TranslucentAlpha(ta32, ba32);
    // Four scalar loads: SSE2 has no gather.
    const __m128i adt32 =
        _mm_setr_epi32(Entry(_mm_extract_epi16(alpha, 0)), Entry(_mm_extract_epi16(alpha, 2)),
                       Entry(_mm_extract_epi16(alpha, 4)), Entry(_mm_extract_epi16(alpha, 6)));
    // [e0 e1 e2 e3] 32-bit  ->  [e0 x4, e1 x4] and [e2 x4, e3 x4], low 16 bits
    const __m128i adtLo = _mm_shufflelo_epi16(adt32, 0xA0);
    const __m128i adtHi = _mm_shufflehi_epi16(adt32, 0xA0);
    const __m128i zero = _mm_setzero_si128();
    const __m128i lo =
        OnTranslucentHalf(_mm_unpacklo_epi8(top, zero), _mm_unpacklo_epi8(bottom, zero),
                          _mm_unpacklo_epi16(adtLo, adtLo));
    const __m128i hi =
        OnTranslucentHalf(_mm_unpackhi_epi8(top, zero), _mm_unpackhi_epi8(bottom, zero),
                          _mm_unpackhi_epi16(adtHi, adtHi));
    const __m128i colour = _mm_and_si128(_mm_packus_epi16(lo, hi), _mm_set1_epi32(0x00FFFFFF));
    return _mm_or_si128(colour, _mm_slli_epi32(alpha, 24));
}

__m128i Composit4(__m128i top, __m128i bottom)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i full = _mm_set1_epi32(255);
    const __m128i ta = _mm_srli_epi32(top, 24);
    const __m128i ba = _mm_srli_epi32(bottom, 24);
    const __m128i takeTop = _mm_or_si128(_mm_cmpeq_epi32(ta, full), _mm_cmpeq_epi32(ba, zero));
    if (All(takeTop)) // opaque text, and clear over clear
        return top;
    const __m128i plain = Select(takeTop, top, bottom);
    const __m128i unchanged = _mm_or_si128(takeTop, _mm_cmpeq_epi32(ta, zero));
    if (All(unchanged)) // gaps between glyphs over a picture
        return plain;
    const __m128i onOpaque = _mm_cmpeq_epi32(ba, full);
    __m128i mixed = BlendOnOpaque4(top, bottom);
    if (!All(_mm_or_si128(unchanged, onOpaque)))
        mixed = Select(onOpaque, mixed, BlendTranslucent4(top, bottom, ta, ba));
    return Select(unchanged, plain, mixed);
}

void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    int i = 0;
    for (; i + 4 <= count; i += 4)
        Store4(dst, i, Composit4(Load4(top, i), Load4(bottom, i)));
    const std::ptrdiff_t done = std::ptrdiff_t(i) * 4;
    Kernels::Scalar::Composit(dst + done, bottom + done, top + done, count - i);
}

} // namespace

const Kernels::CompositSet Kernels::kCompositSSE2 = {
    "sse2",
    CompositRow,
    Kernels::Scalar::CompositOnOpaque,
    Kernels::Scalar::CompositOnColour,
    Kernels::Scalar::CompositColourOn,
    Kernels::Scalar::CompositColourOnOpaque,
    Kernels::Scalar::CompositWithOpacity,
    Kernels::Scalar::CompositThree,
    Kernels::Scalar::CompositWithScaledAlphas,
};
