// AVX2 channel extraction, eight pels per block. Only kChannelAVX2 is visible outside.
//
// W = B*29 + G*149 + R*77 <= 65025. W / 255 is (W + 1 + (W >> 8)) >> 8 over that whole
// range; W*A / 65025 is a float division: W*A < 2^24 is exact in a float and a quotient
// k + r/65025 with r >= 1 lies beyond the rounding error (k + 1)*2^-24 from k + 1.
#include "kernels/channel/ChannelKernels.h"

#include <cstddef>
#include <immintrin.h>

namespace {

constexpr int kLanes = 8;

__m256i Load(const u8* pels, int index)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pels + std::ptrdiff_t(index) * 4));
}

// Eight lanes of 0..255 (or a byte shifted into place) to eight bytes:
// [v0..v3 | v4..v7] -> bytes [v0..v3 x4 | v4..v7 x4] -> dwords 0 and 4.
void StoreBytes(u8* dst, int index, __m256i v)
{
    const __m256i words = _mm256_packus_epi32(v, v);
    const __m256i bytes = _mm256_packus_epi16(words, words);
    const __m256i ordered =
        _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + index), _mm256_castsi256_si128(ordered));
}

// [b g r a] -> B*29 + R*77 from the [b r] words, G*149 from the [g a] words.
__m256i Weighted(__m256i p)
{
    const __m256i words = _mm256_set1_epi32(0x00FF00FF);
    const __m256i br =
        _mm256_madd_epi16(_mm256_and_si256(p, words), _mm256_set1_epi32(77 << 16 | 29));
    const __m256i ga =
        _mm256_madd_epi16(_mm256_and_si256(_mm256_srli_epi32(p, 8), words), _mm256_set1_epi32(149));
    return _mm256_add_epi32(br, ga);
}

// Each 128-bit lane gathers the byte of its four pels into its low dword; dwords 0 and 4
// then make the eight bytes. Indices with the top bit set, byte added or not, give zero.
void ByteRow(u8* dst, const u8* pels, int count, int byte)
{
    const char z = char(0x80);
    const __m256i pick =
        _mm256_add_epi8(_mm256_setr_epi8(0, 4, 8, 12, z, z, z, z, z, z, z, z, z, z, z, z, 0, 4, 8,
                                         12, z, z, z, z, z, z, z, z, z, z, z, z),
                        _mm256_set1_epi8(char(byte)));
    const __m256i join = _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0);
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const __m256i bytes =
            _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(Load(pels, i), pick), join);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), _mm256_castsi256_si128(bytes));
    }
    Kernels::kChannelScalar.byteRow(dst + i, pels + std::ptrdiff_t(i) * 4, count - i, byte);
}

void CoveredLuminanceRow(u8* dst, const u8* pels, int count)
{
    const __m256 divisor = _mm256_set1_ps(65025.0f);
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const __m256i p = Load(pels, i);
        const __m256i covered = _mm256_mullo_epi32(Weighted(p), _mm256_srli_epi32(p, 24));
        StoreBytes(dst, i,
                   _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(covered), divisor)));
    }
    Kernels::kChannelScalar.coveredLuminance(dst + i, pels + std::ptrdiff_t(i) * 4, count - i);
}

void LuminanceRow(u8* dst, const u8* pels, int count)
{
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const __m256i w = Weighted(Load(pels, i));
        const __m256i sum =
            _mm256_add_epi32(_mm256_add_epi32(w, _mm256_set1_epi32(1)), _mm256_srli_epi32(w, 8));
        StoreBytes(dst, i, _mm256_srli_epi32(sum, 8));
    }
    Kernels::kChannelScalar.luminance(dst + i, pels + std::ptrdiff_t(i) * 4, count - i);
}

} // namespace

const Kernels::ChannelSet Kernels::kChannelAVX2 = {"avx2", ByteRow, CoveredLuminanceRow,
                                                   LuminanceRow};
