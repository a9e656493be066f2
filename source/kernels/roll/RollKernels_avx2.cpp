// AVX2 roll kernels, eight pels per block. Only kRollAVX2 is visible outside.
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

constexpr int kLanes = 8;

__m256i Load(const char* row, int index)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + std::ptrdiff_t(index) * 4));
}

void Store(char* row, int index, __m256i pels)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + std::ptrdiff_t(index) * 4), pels);
}

__m256i Splat(int v)
{
    return _mm256_set1_epi32(v);
}

template <int kShift> __m256 ChannelF(__m256i pels)
{
    return _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(pels, kShift), Splat(0xFF)));
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

template <int N, int kShift> __m256i Quotient(const __m256i (&p)[N], const __m256 (&e)[N], __m256 s)
{
    __m256 num = _mm256_mul_ps(ChannelF<kShift>(p[0]), e[0]);
    for (int k = 1; k < N; ++k)
        num = _mm256_add_ps(num, _mm256_mul_ps(ChannelF<kShift>(p[k]), e[k]));
    return _mm256_cvttps_epi32(_mm256_div_ps(num, s));
}

// Pels x..x+7 of the N-line mix; A*w <= 65280 comes whole from a 16-bit multiply.
template <int N> __m256i Mix(const char* const lines[N], const __m256i (&w)[N], int x)
{
    __m256i p[N];
    __m256 e[N];
    __m256i s = _mm256_setzero_si256();
    for (int k = 0; k < N; ++k) {
        p[k] = Load(lines[k], x);
        const __m256i ek = _mm256_mullo_epi16(_mm256_srli_epi32(p[k], 24), w[k]);
        e[k] = _mm256_cvtepi32_ps(ek);
        s = _mm256_add_epi32(s, ek);
    }
    // Lanes with s = 0 divide by 1 and are cleared below.
    const __m256i dead = _mm256_cmpeq_epi32(s, _mm256_setzero_si256());
    const __m256 fs = _mm256_cvtepi32_ps(_mm256_sub_epi32(s, dead));
    const __m256i b = Quotient<N, 0>(p, e, fs), g = Quotient<N, 8>(p, e, fs);
    const __m256i r = Quotient<N, 16>(p, e, fs);
    const __m256i a = _mm256_srli_epi32(s, 8);
    return _mm256_andnot_si256(
        dead, _mm256_or_si256(_mm256_or_si256(b, _mm256_slli_epi32(g, 8)),
                              _mm256_or_si256(_mm256_slli_epi32(r, 16), _mm256_slli_epi32(a, 24))));
}

template <int N>
void MixRow(char* dst, const char* const lines[N], const int weights[N], int width,
            void (*scalar)(char*, const char* const*, const int*, int))
{
    int x = 0;
    if (WeightsFitFloats<N>(weights)) {
        __m256i w[N];
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
    const __m256i factor = Splat(int(scale)), colour = Splat(0x00FFFFFF);
    int x = 0;
    for (; x + kLanes <= width; x += kLanes) {
        const __m256i p = Load(src, x);
        const __m256i alpha =
            _mm256_srli_epi32(_mm256_mullo_epi32(_mm256_srli_epi32(p, 24), factor), 8);
        Store(dst, x, _mm256_or_si256(_mm256_and_si256(p, colour), _mm256_slli_epi32(alpha, 24)));
    }
    Kernels::kRollScalar.copyScaledAlpha(dst + std::ptrdiff_t(x) * 4, src + std::ptrdiff_t(x) * 4,
                                         width - x, scale);
}

} // namespace

const Kernels::RollSet Kernels::kRollAVX2 = {"avx2", CopyRowScaledAlpha, MixTwoLines,
                                             MixThreeLines};
