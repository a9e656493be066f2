// AVX2 crawl kernels, eight pels per block. Only kCrawlAVX2 is visible outside.
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

constexpr int kLanes = 8;
constexpr int kCeiling = 0x10000;

__m256i Load(const char* row, int index)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + std::ptrdiff_t(index) * 4));
}

void Store(char* row, int index, __m256i pels)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + std::ptrdiff_t(index) * 4), pels);
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

__m256i Splat(int v)
{
    return _mm256_set1_epi32(v);
}

template <int kShift> __m256i Channel(__m256i pels)
{
    return _mm256_and_si256(_mm256_srli_epi32(pels, kShift), Splat(0xFF));
}

// Byte kByte of every pel as a float: one shuffle, which indexes within each 128-bit
// lane, so dword j takes byte 4j + kByte and zeros elsewhere.
template <int kByte> __m256 ChannelF(__m256i pels)
{
    const int b0 = int(0x80808000u | kByte), b1 = b0 + 4, b2 = b0 + 8, b3 = b0 + 12;
    const __m256i pick = _mm256_setr_epi32(b0, b1, b2, b3, b0, b1, b2, b3);
    return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(pels, pick));
}

// 1/sum*(1 - 2^-10) with rcp's error below 1.5*2^-12: below 1/sum by less than 2^-9 of it.
__m256 ReciprocalBelow(__m256 sum)
{
    return _mm256_mul_ps(_mm256_rcp_ps(sum), _mm256_set1_ps(1.0f - 1.0f / 1024.0f));
}

// (C1*e1 + C0*e0) / sum for one colour channel; sum is never 0 here.
template <int kByte>
__m256i Quotient(__m256i s0, __m256i s1, __m256 e0, __m256 e1, __m256 sum, __m256 reciprocal)
{
    const __m256 num = _mm256_add_ps(_mm256_mul_ps(ChannelF<kByte>(s1), e1),
                                     _mm256_mul_ps(ChannelF<kByte>(s0), e0));
    const __m256 q =
        _mm256_round_ps(_mm256_mul_ps(num, reciprocal), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    const __m256 under = _mm256_cmp_ps(_mm256_sub_ps(num, _mm256_mul_ps(q, sum)), sum, _CMP_GE_OQ);
    return _mm256_cvttps_epi32(_mm256_add_ps(q, _mm256_and_ps(under, _mm256_set1_ps(1.0f))));
}

// The straight filter with in-range weights w0 = 256 - f, w1 = f in 32-bit lanes. A*w is at
// most 65280, so a 16-bit multiply of the low halves gives it whole.
__m256i Straight(__m256i s0, __m256i s1, __m256i w0, __m256i w1)
{
    const __m256i e0 = _mm256_mullo_epi16(_mm256_srli_epi32(s0, 24), w0);
    const __m256i e1 = _mm256_mullo_epi16(_mm256_srli_epi32(s1, 24), w1);
    const __m256i sum = _mm256_add_epi32(e0, e1);
    const __m256i dead = _mm256_cmpeq_epi32(sum, _mm256_setzero_si256());
    const __m256 fe0 = _mm256_cvtepi32_ps(e0), fe1 = _mm256_cvtepi32_ps(e1);
    // Lanes with sum 0 divide by 1 and are cleared below.
    const __m256 fsum = _mm256_cvtepi32_ps(_mm256_sub_epi32(sum, dead));
    const __m256 reciprocal = ReciprocalBelow(fsum);
    const __m256i b = Quotient<0>(s0, s1, fe0, fe1, fsum, reciprocal);
    const __m256i g = Quotient<1>(s0, s1, fe0, fe1, fsum, reciprocal);
    const __m256i r = Quotient<2>(s0, s1, fe0, fe1, fsum, reciprocal);
    const __m256i a = _mm256_srli_epi32(sum, 8); // at most 255
    return _mm256_andnot_si256(
        dead, _mm256_or_si256(_mm256_or_si256(b, _mm256_slli_epi32(g, 8)),
                              _mm256_or_si256(_mm256_slli_epi32(r, 16), _mm256_slli_epi32(a, 24))));
}

// (X1*wNext + X0*wCur) >> 8 per channel: [b g r a] -> [0b 0g 0r 0a], 16-bit lanes, where
// the two products sum to at most 0xFF00.
__m256i Lerp(__m256i p0, __m256i p1, __m256i wCur, __m256i wNext)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo = _mm256_add_epi16(_mm256_mullo_epi16(_mm256_unpacklo_epi8(p0, zero), wCur),
                                        _mm256_mullo_epi16(_mm256_unpacklo_epi8(p1, zero), wNext));
    const __m256i hi = _mm256_add_epi16(_mm256_mullo_epi16(_mm256_unpackhi_epi8(p0, zero), wCur),
                                        _mm256_mullo_epi16(_mm256_unpackhi_epi8(p1, zero), wNext));
    return _mm256_packus_epi16(_mm256_srli_epi16(lo, 8), _mm256_srli_epi16(hi, 8));
}

// The straight filter's weights in 32-bit lanes (w0 = 256 - f, w1 = f) and in 16-bit
// lanes for the lerp (cur = 256 - f, next = f).
struct Weights {
    explicit Weights(int fraction)
        : w0(Splat(256 - fraction)), w1(Splat(fraction)),
          cur(_mm256_set1_epi16(short(256 - fraction))), next(_mm256_set1_epi16(short(fraction)))
    {
    }
    __m256i w0, w1, cur, next;
};

// Equal alphas a filter to a*N / (256*a), the plain lerp N / 256: blocks inside glyphs and
// in the gaps between them need no division.
__m256i StraightFilter(__m256i s0, __m256i s1, const Weights& w)
{
    const __m256i a0 = _mm256_srli_epi32(s0, 24);
    if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(a0, _mm256_srli_epi32(s1, 24))) == -1)
        return _mm256_andnot_si256(_mm256_cmpeq_epi32(a0, _mm256_setzero_si256()),
                                   Lerp(s0, s1, w.cur, w.next));
    return Straight(s0, s1, w.w0, w.w1);
}

// v / 256, truncating toward zero.
__m256i DivideBy256(__m256i v)
{
    return _mm256_srai_epi32(
        _mm256_add_epi32(v, _mm256_and_si256(_mm256_srai_epi32(v, 31), Splat(255))), 8);
}

// Low 8 bits of ((L / 256)*X) / 256 given m = L / 256; the product fits 32 bits.
__m256i Fade(__m256i m, __m256i x)
{
    return _mm256_and_si256(DivideBy256(_mm256_mullo_epi32(m, x)), Splat(0xFF));
}

__m256i FadeAlpha(__m256i levels, __m256i pels)
{
    const __m256i alpha = Fade(DivideBy256(levels), _mm256_srli_epi32(pels, 24));
    return _mm256_or_si256(_mm256_and_si256(pels, Splat(0x00FFFFFF)), _mm256_slli_epi32(alpha, 24));
}

__m256i FadeAllChannels(__m256i levels, __m256i pels)
{
    const __m256i m = DivideBy256(levels);
    const __m256i b = Fade(m, Channel<0>(pels)), g = Fade(m, Channel<8>(pels));
    const __m256i r = Fade(m, Channel<16>(pels)), a = Fade(m, _mm256_srli_epi32(pels, 24));
    return _mm256_or_si256(_mm256_or_si256(b, _mm256_slli_epi32(g, 8)),
                           _mm256_or_si256(_mm256_slli_epi32(r, 16), _mm256_slli_epi32(a, 24)));
}

// A gradient row: `block`(src, x, levels) gives pels x..x+7 from their levels, `scalar`(dst, src,
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
        const __m256i ceiling = Splat(kCeiling), blockStep = Splat(kLanes * levelStep);
        const __m256i ramp =
            _mm256_mullo_epi32(_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), Splat(levelStep));
        __m256i base = Splat(level);
        for (; x + kLanes <= count; x += kLanes) {
            Store(dst, x, block(src, x, _mm256_min_epi32(_mm256_add_epi32(base, ramp), ceiling)));
            base = _mm256_min_epi32(_mm256_add_epi32(base, blockStep), ceiling);
        }
        level = _mm_cvtsi128_si32(_mm256_castsi256_si128(base));
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
        [](const char* row, int x, __m256i levels) { return FadeAlpha(levels, Load(row, x)); });
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
        dst, src, count, level, levelStep, scalar, [&](const char* row, int x, __m256i levels) {
            return FadeAlpha(levels, StraightFilter(Load(row, x), Load(row, x + 1), weights));
        });
}

void ShapedSubpixRow(char* dst, const char* src, int count, int fraction)
{
    int x = 0;
    if (FractionInRange(fraction)) {
        const __m256i wCur = _mm256_set1_epi16(short(fraction));
        const __m256i wNext = _mm256_set1_epi16(short(256 - fraction));
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
    const __m256i wCur = _mm256_set1_epi16(short(256 - fraction));
    const __m256i wNext = _mm256_set1_epi16(short(fraction));
    RunGradient(
        dst, src, count, level, levelStep, scalar, [&](const char* row, int x, __m256i levels) {
            return FadeAllChannels(levels, Lerp(Load(row, x), Load(row, x + 1), wCur, wNext));
        });
}

} // namespace

const Kernels::CrawlSet Kernels::kCrawlAVX2 = {
    "avx2", GradientRow, SubpixRow, SubpixGradientRow, ShapedSubpixRow, ShapedSubpixGradientRow};
