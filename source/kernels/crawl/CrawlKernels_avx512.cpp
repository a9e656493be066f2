// AVX-512 crawl kernels, sixteen pels per block. Only kCrawlAVX512 is visible outside.
//
// The straight filter divides per channel: (C1*e1 + C0*e0) / sum with sum <= 65280 and a
// numerator <= 255*sum, both below 2^24, so floats hold every product, sum and remainder
// exactly. One reciprocal per pel, nudged below 1/sum, serves the three channels: the product
// then undershoots the quotient by less than 1, its truncation is the quotient or one less,
// and the remainder num - q*sum tells which.
//
// Gradient levels run in 32-bit lanes where Kernels::GradientFitsLanes allows: lane k of a
// block holds min(L + k*step, 0x10000), which is the running level once L is at most the
// ceiling (a rising level then stays there, a falling one never reaches it).
#include "kernels/crawl/CrawlKernels.h"

#include <cstddef>
#include <immintrin.h>

namespace {

constexpr int kLanes = 16;
constexpr int kCeiling = 0x10000;

__m512i Load(const char* row, int index)
{
    return _mm512_loadu_si512(row + std::ptrdiff_t(index) * 4);
}

void Store(char* row, int index, __m512i pels)
{
    _mm512_storeu_si512(row + std::ptrdiff_t(index) * 4, pels);
}

const char* At(const char* row, int index)
{
    return row + std::ptrdiff_t(index) * 4;
}

char* At(char* row, int index)
{
    return row + std::ptrdiff_t(index) * 4;
}

bool FractionInRange(int fraction)
{
    return fraction >= 0 && fraction <= 256;
}

__m512i Splat(int v)
{
    return _mm512_set1_epi32(v);
}

template <int kShift> __m512i Channel(__m512i pels)
{
    return _mm512_and_si512(_mm512_srli_epi32(pels, kShift), Splat(0xFF));
}

// Byte kByte of every pel as a float: one shuffle, the other three bytes zeroed.
template <int kByte> __m512 ChannelF(__m512i pels)
{
    // Shuffles index within each 128-bit lane: dword j takes byte 4j + kByte.
    const __m512i pick =
        _mm512_broadcast_i32x4(_mm_setr_epi32(int(0x80808000u | kByte), int(0x80808004u | kByte),
                                              int(0x80808008u | kByte), int(0x8080800Cu | kByte)));
    return _mm512_cvtepi32_ps(_mm512_shuffle_epi8(pels, pick));
}

// 1/sum*(1 - 2^-13) with rcp14's error below 2^-14: below 1/sum by less than 2^-12 of it.
__m512 ReciprocalBelow(__m512 sum)
{
    return _mm512_mul_ps(_mm512_rcp14_ps(sum), _mm512_set1_ps(1.0f - 1.0f / 8192.0f));
}

// (C1*e1 + C0*e0) / sum for one colour channel; lanes with sum 0 are cleared by the caller.
template <int kByte>
__m512i Quotient(__m512i s0, __m512i s1, __m512 e0, __m512 e1, __m512 sum, __m512 reciprocal)
{
    // Every product and sum is an integer below 2^24: fused or not, exact.
    const __m512 num =
        _mm512_fmadd_ps(ChannelF<kByte>(s1), e1, _mm512_mul_ps(ChannelF<kByte>(s0), e0));
    const __m512 q = _mm512_roundscale_ps(_mm512_mul_ps(num, reciprocal),
                                          _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    const __mmask16 under = _mm512_cmp_ps_mask(num, _mm512_fmadd_ps(q, sum, sum), _CMP_GE_OQ);
    return _mm512_cvttps_epi32(_mm512_mask_add_ps(q, under, q, _mm512_set1_ps(1.0f)));
}

// The straight filter with in-range weights w0 = 256 - f, w1 = f in 32-bit lanes. A*w is at
// most 65280, so a 16-bit multiply of the low halves gives it whole.
__m512i Straight(__m512i s0, __m512i s1, __m512i w0, __m512i w1)
{
    const __m512i e0 = _mm512_mullo_epi16(_mm512_srli_epi32(s0, 24), w0);
    const __m512i e1 = _mm512_mullo_epi16(_mm512_srli_epi32(s1, 24), w1);
    const __m512i sum = _mm512_add_epi32(e0, e1);
    const __mmask16 live = _mm512_test_epi32_mask(sum, sum);
    const __m512 fe0 = _mm512_cvtepi32_ps(e0), fe1 = _mm512_cvtepi32_ps(e1);
    const __m512 fsum = _mm512_cvtepi32_ps(sum), reciprocal = ReciprocalBelow(fsum);
    const __m512i b = Quotient<0>(s0, s1, fe0, fe1, fsum, reciprocal);
    const __m512i g = Quotient<1>(s0, s1, fe0, fe1, fsum, reciprocal);
    const __m512i r = Quotient<2>(s0, s1, fe0, fe1, fsum, reciprocal);
    const __m512i a = _mm512_srli_epi32(sum, 8); // at most 255
    const __m512i bgr =
        _mm512_ternarylogic_epi32(b, _mm512_slli_epi32(g, 8), _mm512_slli_epi32(r, 16), 0xFE);
    return _mm512_maskz_or_epi32(live, bgr, _mm512_slli_epi32(a, 24));
}

// (X1*wNext + X0*wCur) >> 8 per channel: [b g r a] -> [0b 0g 0r 0a], 16-bit lanes, where
// the two products sum to at most 0xFF00.
__m512i Lerp(__m512i p0, __m512i p1, __m512i wCur, __m512i wNext)
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i lo = _mm512_add_epi16(_mm512_mullo_epi16(_mm512_unpacklo_epi8(p0, zero), wCur),
                                        _mm512_mullo_epi16(_mm512_unpacklo_epi8(p1, zero), wNext));
    const __m512i hi = _mm512_add_epi16(_mm512_mullo_epi16(_mm512_unpackhi_epi8(p0, zero), wCur),
                                        _mm512_mullo_epi16(_mm512_unpackhi_epi8(p1, zero), wNext));
    return _mm512_packus_epi16(_mm512_srli_epi16(lo, 8), _mm512_srli_epi16(hi, 8));
}

// The straight filter's weights in 32-bit lanes (w0 = 256 - f, w1 = f) and in 16-bit
// lanes for the lerp (cur = 256 - f, next = f).
struct Weights {
    explicit Weights(int fraction)
        : w0(Splat(256 - fraction)), w1(Splat(fraction)),
          cur(_mm512_set1_epi16(short(256 - fraction))), next(_mm512_set1_epi16(short(fraction)))
    {
    }
    __m512i w0, w1, cur, next;
};

// Equal alphas a filter to a*N / (256*a), the plain lerp N / 256: blocks inside glyphs and
// in the gaps between them need no division.
__m512i StraightFilter(__m512i s0, __m512i s1, const Weights& w)
{
    const __m512i a0 = _mm512_srli_epi32(s0, 24);
    if (_mm512_cmpneq_epi32_mask(a0, _mm512_srli_epi32(s1, 24)) == 0)
        return _mm512_maskz_mov_epi32(_mm512_test_epi32_mask(a0, a0), Lerp(s0, s1, w.cur, w.next));
    return Straight(s0, s1, w.w0, w.w1);
}

// v / 256, truncating toward zero.
__m512i DivideBy256(__m512i v)
{
    return _mm512_srai_epi32(
        _mm512_add_epi32(v, _mm512_and_si512(_mm512_srai_epi32(v, 31), Splat(255))), 8);
}

// Low 8 bits of ((L / 256)*X) / 256 given m = L / 256; the product fits 32 bits.
__m512i Fade(__m512i m, __m512i x)
{
    return _mm512_and_si512(DivideBy256(_mm512_mullo_epi32(m, x)), Splat(0xFF));
}

__m512i FadeAlpha(__m512i levels, __m512i pels)
{
    const __m512i alpha = Fade(DivideBy256(levels), _mm512_srli_epi32(pels, 24));
    return _mm512_ternarylogic_epi32(pels, Splat(0x00FFFFFF), _mm512_slli_epi32(alpha, 24), 0xEA);
}

__m512i FadeAllChannels(__m512i levels, __m512i pels)
{
    const __m512i m = DivideBy256(levels);
    const __m512i b = Fade(m, Channel<0>(pels)), g = Fade(m, Channel<8>(pels));
    const __m512i r = Fade(m, Channel<16>(pels)), a = Fade(m, _mm512_srli_epi32(pels, 24));
    return _mm512_or_si512(_mm512_or_si512(b, _mm512_slli_epi32(g, 8)),
                           _mm512_or_si512(_mm512_slli_epi32(r, 16), _mm512_slli_epi32(a, 24)));
}

// A gradient row: `block`(src, x, levels) gives pels x..x+15 from their levels, `scalar`(dst, src,
// count, level) the reference on the rest. Only the first pel can sit above the ceiling.
template <class Scalar, class Block>
void RunGradient(char* dst, const char* src, int count, int level, int levelStep, Scalar scalar,
                 Block block)
{
    if (count > 0 && level > kCeiling) {
        scalar(dst, src, 1, level);
        dst = At(dst, 1);
        src = At(src, 1);
        --count;
        const long long next = static_cast<long long>(level) + levelStep;
        level = static_cast<int>(next < kCeiling ? next : kCeiling);
    }
    int x = 0;
    if (Kernels::GradientFitsLanes(level, levelStep, count)) {
        const __m512i ceiling = Splat(kCeiling), blockStep = Splat(kLanes * levelStep);
        const __m512i ramp = _mm512_mullo_epi32(
            _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
            Splat(levelStep));
        __m512i base = Splat(level);
        for (; x + kLanes <= count; x += kLanes) {
            Store(dst, x, block(src, x, _mm512_min_epi32(_mm512_add_epi32(base, ramp), ceiling)));
            base = _mm512_min_epi32(_mm512_add_epi32(base, blockStep), ceiling);
        }
        level = _mm_cvtsi128_si32(_mm512_castsi512_si128(base));
    }
    scalar(At(dst, x), At(src, x), count - x, level);
}

void GradientRow(char* dst, const char* src, int count, int level, int levelStep)
{
    RunGradient(
        dst, src, count, level, levelStep,
        [levelStep](char* d, const char* s, int n, int l) {
            Kernels::kCrawlScalar.gradient(d, s, n, l, levelStep);
        },
        [](const char* row, int x, __m512i levels) { return FadeAlpha(levels, Load(row, x)); });
}

void SubpixRow(char* dst, const char* src, int count, int fraction)
{
    int x = 0;
    if (FractionInRange(fraction)) {
        const Weights weights(fraction);
        for (; x + kLanes <= count; x += kLanes)
            Store(dst, x, StraightFilter(Load(src, x), Load(src, x + 1), weights));
    }
    Kernels::kCrawlScalar.subpix(At(dst, x), At(src, x), count - x, fraction);
}

void SubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                       int levelStep)
{
    auto scalar = [fraction, levelStep](char* d, const char* s, int n, int l) {
        Kernels::kCrawlScalar.subpixGradient(d, s, n, fraction, l, levelStep);
    };
    if (!FractionInRange(fraction))
        return scalar(dst, src, count, level);
    const Weights weights(fraction);
    RunGradient(
        dst, src, count, level, levelStep, scalar, [&](const char* row, int x, __m512i levels) {
            return FadeAlpha(levels, StraightFilter(Load(row, x), Load(row, x + 1), weights));
        });
}

void ShapedSubpixRow(char* dst, const char* src, int count, int fraction)
{
    int x = 0;
    if (FractionInRange(fraction)) {
        const __m512i wCur = _mm512_set1_epi16(short(fraction));
        const __m512i wNext = _mm512_set1_epi16(short(256 - fraction));
        for (; x + kLanes <= count; x += kLanes)
            Store(dst, x, Lerp(Load(src, x), Load(src, x + 1), wCur, wNext));
    }
    Kernels::kCrawlScalar.shapedSubpix(At(dst, x), At(src, x), count - x, fraction);
}

// Here the current pel weighs 256 - fraction, as in the straight filter.
void ShapedSubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                             int levelStep)
{
    auto scalar = [fraction, levelStep](char* d, const char* s, int n, int l) {
        Kernels::kCrawlScalar.shapedSubpixGradient(d, s, n, fraction, l, levelStep);
    };
    if (!FractionInRange(fraction))
        return scalar(dst, src, count, level);
    const __m512i wCur = _mm512_set1_epi16(short(256 - fraction));
    const __m512i wNext = _mm512_set1_epi16(short(fraction));
    RunGradient(
        dst, src, count, level, levelStep, scalar, [&](const char* row, int x, __m512i levels) {
            return FadeAllChannels(levels, Lerp(Load(row, x), Load(row, x + 1), wCur, wNext));
        });
}

} // namespace

const Kernels::CrawlSet Kernels::kCrawlAVX512 = {
    "avx512", GradientRow, SubpixRow, SubpixGradientRow, ShapedSubpixRow, ShapedSubpixGradientRow};
