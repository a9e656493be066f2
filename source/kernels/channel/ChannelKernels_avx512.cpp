// AVX-512 channel extraction, sixteen pels per block. Only kChannelAVX512 is visible outside.
//
// W = B*29 + G*149 + R*77 <= 65025. W / 255 is (W + 1 + (W >> 8)) >> 8 over that whole
// range; W*A / 65025 is a float division: W*A < 2^24 is exact in a float and a quotient
// k + r/65025 with r >= 1 lies beyond the rounding error (k + 1)*2^-24 from k + 1.
#include "kernels/channel/ChannelKernels.h"

#include <cstddef>
#include <immintrin.h>

namespace {

constexpr int kLanes = 16;

__m512i Load(const u8* pels, int index)
{
    return _mm512_loadu_si512(pels + std::ptrdiff_t(index) * 4);
}

// The low byte of each 32-bit lane, sixteen bytes.
void StoreBytes(u8* dst, int index, __m512i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + index), _mm512_cvtepi32_epi8(v));
}

// [b g r a] -> B*29 + R*77 from the [b r] words, G*149 from the [g a] words.
__m512i Weighted(__m512i p)
{
    const __m512i words = _mm512_set1_epi32(0x00FF00FF);
    const __m512i br =
        _mm512_madd_epi16(_mm512_and_si512(p, words), _mm512_set1_epi32(77 << 16 | 29));
    const __m512i ga =
        _mm512_madd_epi16(_mm512_and_si512(_mm512_srli_epi32(p, 8), words), _mm512_set1_epi32(149));
    return _mm512_add_epi32(br, ga);
}

void ByteRow(u8* dst, const u8* pels, int count, int byte)
{
    const __m128i shift = _mm_cvtsi32_si128(byte * 8);
    int i = 0;
    for (; i + kLanes <= count; i += kLanes)
        StoreBytes(dst, i, _mm512_srl_epi32(Load(pels, i), shift));
    Kernels::kChannelScalar.byteRow(dst + i, pels + std::ptrdiff_t(i) * 4, count - i, byte);
}

void CoveredLuminanceRow(u8* dst, const u8* pels, int count)
{
    const __m512 divisor = _mm512_set1_ps(65025.0f);
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const __m512i p = Load(pels, i);
        const __m512i covered = _mm512_mullo_epi32(Weighted(p), _mm512_srli_epi32(p, 24));
        StoreBytes(dst, i,
                   _mm512_cvttps_epi32(_mm512_div_ps(_mm512_cvtepi32_ps(covered), divisor)));
    }
    Kernels::kChannelScalar.coveredLuminance(dst + i, pels + std::ptrdiff_t(i) * 4, count - i);
}

void LuminanceRow(u8* dst, const u8* pels, int count)
{
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const __m512i w = Weighted(Load(pels, i));
        const __m512i sum =
            _mm512_add_epi32(_mm512_add_epi32(w, _mm512_set1_epi32(1)), _mm512_srli_epi32(w, 8));
        StoreBytes(dst, i, _mm512_srli_epi32(sum, 8));
    }
    Kernels::kChannelScalar.luminance(dst + i, pels + std::ptrdiff_t(i) * 4, count - i);
}

} // namespace

const Kernels::ChannelSet Kernels::kChannelAVX512 = {"avx512", ByteRow, CoveredLuminanceRow,
                                                     LuminanceRow};
