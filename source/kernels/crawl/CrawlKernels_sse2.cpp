// SSE2 sub-pixel crawl kernels. Only kCrawlSSE2 is visible outside.
//
// With an in-range fraction, neighbours of equal alpha a filter to a*N / (256*a),
// which is the plain lerp N / 256: that is most of a row, inside glyphs and in the
// gaps between them. Four-pel blocks take the lerp; blocks where neighbours differ in
// alpha, and every tail, go through the scalar reference.
#include "kernels/crawl/CrawlKernels.h"

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

// (X1*w1 + X0*w0) >> 8 on four pels: [b g r a] x4 -> [0b 0g 0r 0a] x2 per half,
// 16-bit lanes, where X*w <= 255*256 and the two products sum to at most 0xFF00.
__m128i LerpPels4(__m128i p0, __m128i p1, __m128i w0, __m128i w1)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i lo = _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(p0, zero), w0),
                                     _mm_mullo_epi16(_mm_unpacklo_epi8(p1, zero), w1));
    const __m128i hi = _mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(p0, zero), w0),
                                     _mm_mullo_epi16(_mm_unpackhi_epi8(p1, zero), w1));
    return _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8));
}

// Blocks of the straight filter; returns how many leading pels it wrote. A block whose
// neighbours differ in alpha anywhere goes to the scalar filter whole: one call instead
// of one per pel, and safe in place, since the filter reads pel x + 4 before any write
// could reach it.
int StraightBlocks(char* dst, const char* src, int count, int fraction)
{
    const __m128i w0 = _mm_set1_epi16(short(256 - fraction));
    const __m128i w1 = _mm_set1_epi16(short(fraction));
    int x = 0;
    for (; x + 4 <= count; x += 4) {
        const __m128i s0 = Load4(src, x);
        const __m128i s1 = Load4(src, x + 1);
        const __m128i a0 = _mm_srli_epi32(s0, 24);
        if (_mm_movemask_epi8(_mm_cmpeq_epi32(a0, _mm_srli_epi32(s1, 24))) != 0xFFFF) {
            Kernels::kCrawlScalar.subpix(At(dst, x), At(src, x), 4, fraction);
            continue;
        }
        const __m128i clear = _mm_cmpeq_epi32(a0, _mm_setzero_si128());
        Store4(dst, x, _mm_andnot_si128(clear, LerpPels4(s0, s1, w0, w1)));
    }
    return x;
}

// Blocks of the shaped filter, which is the lerp on every pel.
int ShapedBlocks(char* dst, const char* src, int count, int fraction)
{
    const __m128i wCur = _mm_set1_epi16(short(fraction));
    const __m128i wNext = _mm_set1_epi16(short(256 - fraction));
    int x = 0;
    for (; x + 4 <= count; x += 4)
        Store4(dst, x, LerpPels4(Load4(src, x), Load4(src, x + 1), wCur, wNext));
    return x;
}

void SubpixRow(char* dst, const char* src, int count, int fraction)
{
    const int done = FractionInRange(fraction) ? StraightBlocks(dst, src, count, fraction) : 0;
    Kernels::kCrawlScalar.subpix(At(dst, done), At(src, done), count - done, fraction);
}

void ShapedSubpixRow(char* dst, const char* src, int count, int fraction)
{
    const int done = FractionInRange(fraction) ? ShapedBlocks(dst, src, count, fraction) : 0;
    Kernels::kCrawlScalar.shapedSubpix(At(dst, done), At(src, done), count - done, fraction);
}

// The gradients gain little from four lanes; they stay the reference. Called, not
// copied into the set: another file's constant is not one here at load time.
void GradientRow(char* dst, const char* src, int count, int level, int levelStep)
{
    Kernels::kCrawlScalar.gradient(dst, src, count, level, levelStep);
}

void SubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                       int levelStep)
{
    Kernels::kCrawlScalar.subpixGradient(dst, src, count, fraction, level, levelStep);
}

void ShapedSubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                             int levelStep)
{
    Kernels::kCrawlScalar.shapedSubpixGradient(dst, src, count, fraction, level, levelStep);
}

} // namespace

const Kernels::CrawlSet Kernels::kCrawlSSE2 = {
    "sse2", GradientRow, SubpixRow, SubpixGradientRow, ShapedSubpixRow, ShapedSubpixGradientRow};
