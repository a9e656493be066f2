// AVX-512 roll kernels, sixteen pels per block. Only kRollAVX512 is visible outside.
//
// With weights in 0..256 summing to at most 256, s <= 65280 and each colour sum
// <= 255*s: below 2^24, so floats hold every product and sum exactly whatever the
// order, and the rounded quotient truncates to the integer one (k + r/s with r >= 1
// lies 1/s or more below k + 1, beyond the rounding error (k + 1)*2^-24 < 1/s).
// Other weights wrap in 32 bits and take the scalar set.
#include "kernels/roll/RollKernels.h"

#include <cstddef>
#include <immintrin.h>

namespace {

constexpr int kLanes = 16;

__m512i Load(const char* row, int index)
{
    return _mm512_loadu_si512(row + std::ptrdiff_t(index) * 4);
}

void Store(char* row, int index, __m512i pels)
{
    _mm512_storeu_si512(row + std::ptrdiff_t(index) * 4, pels);
}

__m512i Splat(int v)
{
    return _mm512_set1_epi32(v);
}

template <int kShift> __m512 ChannelF(__m512i pels)
{
    return _mm512_cvtepi32_ps(_mm512_and_si512(_mm512_srli_epi32(pels, kShift), Splat(0xFF)));
}

template <int N> bool WeightsFitFloats(const int weights[N])
{
    int total = 0;
    for (int k = 0; k < N; ++k) {
        if (weights[k] < 0 || weights[k] > 256)
            return false;
        total += weights[k];
    }
    return total <= 256;
}

template <int N, int kShift>
__m512i Quotient(const __m512i (&p)[N], const __m512 (&e)[N], __m512 s, __mmask16 live)
{
    __m512 num = _mm512_mul_ps(ChannelF<kShift>(p[0]), e[0]);
    for (int k = 1; k < N; ++k)
        num = _mm512_add_ps(num, _mm512_mul_ps(ChannelF<kShift>(p[k]), e[k]));
    return _mm512_cvttps_epi32(_mm512_maskz_div_ps(live, num, s));
}

// Pels x..x+15 of the N-line mix; A*w <= 65280 comes whole from a 16-bit multiply.
template <int N> __m512i Mix(const char* const lines[N], const __m512i (&w)[N], int x)
{
    __m512i p[N];
    __m512 e[N];
    __m512i s = _mm512_setzero_si512();
    for (int k = 0; k < N; ++k) {
        p[k] = Load(lines[k], x);
        const __m512i ek = _mm512_mullo_epi16(_mm512_srli_epi32(p[k], 24), w[k]);
        e[k] = _mm512_cvtepi32_ps(ek);
        s = _mm512_add_epi32(s, ek);
    }
    const __mmask16 live = _mm512_test_epi32_mask(s, s);
    const __m512 fs = _mm512_cvtepi32_ps(s);
    const __m512i b = Quotient<N, 0>(p, e, fs, live), g = Quotient<N, 8>(p, e, fs, live);
    const __m512i r = Quotient<N, 16>(p, e, fs, live);
    const __m512i a = _mm512_srli_epi32(s, 8);
    return _mm512_or_si512(_mm512_or_si512(b, _mm512_slli_epi32(g, 8)),
                           _mm512_or_si512(_mm512_slli_epi32(r, 16), _mm512_slli_epi32(a, 24)));
}

template <int N>
void MixRow(char* dst, const char* const lines[N], const int weights[N], int width,
            void (*scalar)(char*, const char* const*, const int*, int))
{
    int x = 0;
    if (WeightsFitFloats<N>(weights)) {
        __m512i w[N];
        for (int k = 0; k < N; ++k)
            w[k] = Splat(weights[k]);
        for (; x + kLanes <= width; x += kLanes)
            Store(dst, x, Mix<N>(lines, w, x));
    }
    const char* rest[N];
    for (int k = 0; k < N; ++k)
        rest[k] = lines[k] + std::ptrdiff_t(x) * 4;
    scalar(dst + std::ptrdiff_t(x) * 4, rest, weights, width - x);
}

void MixTwoLines(char* dst, const char* const lines[2], const int weights[2], int width)
{
    MixRow<2>(dst, lines, weights, width, Kernels::kRollScalar.mix2);
}

void MixThreeLines(char* dst, const char* const lines[3], const int weights[3], int width)
{
    MixRow<3>(dst, lines, weights, width, Kernels::kRollScalar.mix3);
}

// A*scale wraps in 32 bits as the scalar product does.
void CopyRowScaledAlpha(char* dst, const char* src, int width, u32 scale)
{
    const __m512i factor = Splat(int(scale)), colour = Splat(0x00FFFFFF);
    int x = 0;
    for (; x + kLanes <= width; x += kLanes) {
        const __m512i p = Load(src, x);
        const __m512i alpha =
            _mm512_srli_epi32(_mm512_mullo_epi32(_mm512_srli_epi32(p, 24), factor), 8);
        Store(dst, x, _mm512_ternarylogic_epi32(p, colour, _mm512_slli_epi32(alpha, 24), 0xEA));
    }
    Kernels::kRollScalar.copyScaledAlpha(dst + std::ptrdiff_t(x) * 4, src + std::ptrdiff_t(x) * 4,
                                         width - x, scale);
}

} // namespace

const Kernels::RollSet Kernels::kRollAVX512 = {"avx512", CopyRowScaledAlpha, MixTwoLines,
                                               MixThreeLines};
