// The crawl row routines: whole-pixel gradient copies and the two-tap sub-pixel filters.
//
// s0 is source pixel x, s1 is source pixel x + 1, f the fraction (1/256 pixel).
//   straight:  e0 = A0*(256 - f), e1 = A1*f, sum = e0 + e1 (u32)
//              C = (C1*e1 + C0*e0) / sum, A = (sum >> 8) & 255, all zero when sum = 0
//   shaped:    X = (X1*wNext + X0*wCur) / 256 for all four channels, signed, truncating,
//              low 8 bits kept; the plain routine weights the current pixel f, the
//              gradient one 256 - f.
// A gradient level L fades a channel to ((L / 256)*X) / 256 (signed, truncating) and moves
// to min(L + levelStep, 0x10000) after every pixel, with no lower bound. Levels are kept in
// 64 bits so that a host's extreme step cannot overflow them.
#include "PixelRoutinesLite/CEE.h"
#include "inlinepelops.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr std::int64_t kLevelCeiling = 0x10000;
constexpr u32 kRedBlue = 0x00FF00FFu;

inline Pel LoadPel(const char* row, int index)
{
    Pel p;
    std::memcpy(&p, row + std::ptrdiff_t(index) * 4, sizeof p);
    return p;
}

inline void StorePel(char* row, int index, Pel p)
{
    std::memcpy(row + std::ptrdiff_t(index) * 4, &p, sizeof p);
}

inline std::int64_t NextLevel(std::int64_t level, int levelStep)
{
    const std::int64_t next = level + levelStep;
    return next < kLevelCeiling ? next : kLevelCeiling;
}

// Low 8 bits of ((L / 256)*X) / 256; a negative result keeps its two's-complement bits.
inline u32 FadeChannel(std::int64_t level, u32 channel)
{
    const std::int64_t faded = (level / 256) * std::int64_t(channel) / 256;
    return u32(std::uint64_t(faded)) & 0xFFu;
}

inline Pel FadeAlpha(std::int64_t level, Pel p)
{
    return (p & 0x00FFFFFFu) | FadeChannel(level, PelAlpha(p)) << 24;
}

inline Pel FadeAllChannels(std::int64_t level, Pel p)
{
    return MakePel(FadeChannel(level, PelBlue(p)), FadeChannel(level, PelGreen(p)),
                   FadeChannel(level, PelRed(p)), FadeChannel(level, PelAlpha(p)));
}

inline bool FractionInRange(int fraction)
{
    return fraction >= 0 && fraction <= 256;
}

// (X1*w1 + X0*w0) >> 8 for all four channels at once, two channels per 32-bit word.
// Exact when w0 + w1 = 256 and both lie in 0..256: no lane can then exceed 0xFF00.
inline Pel LerpPel(Pel p0, Pel p1, u32 w0, u32 w1)
{
    const u32 redBlue = (((p1 & kRedBlue) * w1 + (p0 & kRedBlue) * w0) >> 8) & kRedBlue;
    const u32 alphaGreen = ((p1 >> 8 & kRedBlue) * w1 + (p0 >> 8 & kRedBlue) * w0) & ~kRedBlue;
    return redBlue | alphaGreen;
}

// The straight filter exactly as stated, in wrapping unsigned arithmetic, for any fraction.
inline Pel StraightFilterGeneral(Pel s0, Pel s1, u32 w0, u32 w1)
{
    const u32 e0 = PelAlpha(s0) * w0;
    const u32 e1 = PelAlpha(s1) * w1;
    const u32 sum = e0 + e1;
    if (sum == 0u)
        return 0u;
    return MakePel((PelBlue(s1) * e1 + PelBlue(s0) * e0) / sum,
                   (PelGreen(s1) * e1 + PelGreen(s0) * e0) / sum,
                   (PelRed(s1) * e1 + PelRed(s0) * e0) / sum, sum >> 8);
}

// With equal alphas a the filter is a*N / (256*a), which is N / 256 exactly: the common
// case inside glyphs and in the clear gaps between them costs no division. Needs an
// in-range fraction, where nothing wraps.
inline Pel StraightFilter(Pel s0, Pel s1, u32 w0, u32 w1)
{
    const u32 a0 = PelAlpha(s0);
    if (a0 == PelAlpha(s1))
        return a0 == 0u ? 0u : LerpPel(s0, s1, w0, w1);
    return StraightFilterGeneral(s0, s1, w0, w1);
}

inline u32 ShapedChannel(u32 x0, u32 x1, std::int64_t wCur, std::int64_t wNext)
{
    return u32(std::uint64_t((std::int64_t(x1) * wNext + std::int64_t(x0) * wCur) / 256)) & 0xFFu;
}

inline Pel ShapedFilterGeneral(Pel s0, Pel s1, int wCur, int wNext)
{
    return MakePel(ShapedChannel(PelBlue(s0), PelBlue(s1), wCur, wNext),
                   ShapedChannel(PelGreen(s0), PelGreen(s1), wCur, wNext),
                   ShapedChannel(PelRed(s0), PelRed(s1), wCur, wNext),
                   ShapedChannel(PelAlpha(s0), PelAlpha(s1), wCur, wNext));
}

// Four-pixel blocks of the in-range filters. Each returns how many leading pixels it wrote;
// the scalar filters finish the row, so a block can never differ from them at a tail.
#if defined(__SSE2__)

inline __m128i LoadPels4(const char* row, int index)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + std::ptrdiff_t(index) * 4));
}

inline void StorePels4(char* row, int index, __m128i pels)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row + std::ptrdiff_t(index) * 4), pels);
}

// LerpPel on four pixels: [b g r a] x4 -> [0b 0g 0r 0a] x2 per half, 16-bit lanes, where
// X * w <= 255 * 256 and the two products of a lane sum to at most 0xFF00.
inline __m128i LerpPels4(__m128i p0, __m128i p1, __m128i w0, __m128i w1)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i lo = _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(p0, zero), w0),
                                     _mm_mullo_epi16(_mm_unpacklo_epi8(p1, zero), w1));
    const __m128i hi = _mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(p0, zero), w0),
                                     _mm_mullo_epi16(_mm_unpackhi_epi8(p1, zero), w1));
    return _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8));
}

// Pairs that share an alpha take the lerp (zeroed where that alpha is 0); the others are
// redone by the scalar filter. Fixes go to a copy of the block first, since dst may be src.
int StraightBlocks(char* dst, const char* src, int count, u32 w0, u32 w1)
{
    const __m128i w0s = _mm_set1_epi16(short(w0));
    const __m128i w1s = _mm_set1_epi16(short(w1));
    int x = 0;
    for (; x + 4 <= count; x += 4) {
        const __m128i s0 = LoadPels4(src, x);
        const __m128i s1 = LoadPels4(src, x + 1);
        const __m128i a0 = _mm_srli_epi32(s0, 24);
        const __m128i clear = _mm_cmpeq_epi32(a0, _mm_setzero_si128());
        const __m128i out = _mm_andnot_si128(clear, LerpPels4(s0, s1, w0s, w1s));
        const int sameAlpha = _mm_movemask_epi8(_mm_cmpeq_epi32(a0, _mm_srli_epi32(s1, 24)));
        if (sameAlpha == 0xFFFF) {
            StorePels4(dst, x, out);
            continue;
        }
        char block[16];
        StorePels4(block, 0, out);
        for (int i = 0; i < 4; ++i)
            if ((sameAlpha >> (4 * i) & 0xF) == 0)
                StorePel(block, i,
                         StraightFilter(LoadPel(src, x + i), LoadPel(src, x + i + 1), w0, w1));
        std::memcpy(dst + std::ptrdiff_t(x) * 4, block, sizeof block);
    }
    return x;
}

int LerpBlocks(char* dst, const char* src, int count, u32 w0, u32 w1)
{
    const __m128i w0s = _mm_set1_epi16(short(w0));
    const __m128i w1s = _mm_set1_epi16(short(w1));
    int x = 0;
    for (; x + 4 <= count; x += 4)
        StorePels4(dst, x, LerpPels4(LoadPels4(src, x), LoadPels4(src, x + 1), w0s, w1s));
    return x;
}

#else

int StraightBlocks(char*, const char*, int, u32, u32)
{
    return 0;
}
int LerpBlocks(char*, const char*, int, u32, u32)
{
    return 0;
}

#endif

// Runs `filter`(s0, s1) over the row, loading every source pixel once.
template <class Filter> void FilterRow(char* dst, const char* src, int count, Filter filter)
{
    if (count < 1)
        return;
    Pel s0 = LoadPel(src, 0);
    for (int x = 0; x < count; ++x) {
        const Pel s1 = LoadPel(src, x + 1);
        StorePel(dst, x, filter(s0, s1));
        s0 = s1;
    }
}

// As FilterRow, fading each filtered pixel by the running level.
template <class Filter, class Fader>
void FilterGradientRow(char* dst, const char* src, int count, int level, int levelStep,
                       Filter filter, Fader fade)
{
    std::int64_t running = level;
    Pel s0 = LoadPel(src, 0);
    for (int x = 0; x < count; ++x) {
        const Pel s1 = LoadPel(src, x + 1);
        StorePel(dst, x, fade(running, filter(s0, s1)));
        running = NextLevel(running, levelStep);
        s0 = s1;
    }
}

// The straight filter with the fraction's two weights; the fast form when they are in range.
template <class Body> void WithStraightFilter(int fraction, Body body)
{
    const u32 w1 = u32(fraction);
    const u32 w0 = 256u - w1;
    if (FractionInRange(fraction))
        body([w0, w1](Pel s0, Pel s1) { return StraightFilter(s0, s1, w0, w1); });
    else
        body([w0, w1](Pel s0, Pel s1) { return StraightFilterGeneral(s0, s1, w0, w1); });
}

// The shaped filter with weights wCur for the current pixel and wNext for the next one.
template <class Body> void WithShapedFilter(int wCur, int wNext, Body body)
{
    if (FractionInRange(wCur))
        body([wCur, wNext](Pel s0, Pel s1) { return LerpPel(s0, s1, u32(wCur), u32(wNext)); });
    else
        body([wCur, wNext](Pel s0, Pel s1) { return ShapedFilterGeneral(s0, s1, wCur, wNext); });
}

inline bool RowIsEmpty(const char* dst, int count)
{
    return dst == nullptr || count < 1;
}

// 256 - fraction without overflow for a host's extreme fraction; wraps like the unsigned
// weights of the straight filter.
inline int Complement(int fraction)
{
    return int(256u - u32(fraction));
}

} // namespace

extern "C" {

int CEE_ScanlineCrawlGradientBlit(char* dst, const char* src, int count, int level, int levelStep)
{
    if (RowIsEmpty(dst, count))
        return 0;
    std::int64_t running = level;
    for (int x = 0; x < count; ++x) {
        StorePel(dst, x, FadeAlpha(running, LoadPel(src, x)));
        running = NextLevel(running, levelStep);
    }
    return 1;
}

int CEE_ScanlineSubpixCrawlBlit(char* dst, const char* src, int count, int fraction)
{
    if (RowIsEmpty(dst, count))
        return 0;
    const int done = FractionInRange(fraction)
                         ? StraightBlocks(dst, src, count, 256u - u32(fraction), u32(fraction))
                         : 0;
    WithStraightFilter(fraction, [&](auto filter) {
        FilterRow(dst + std::ptrdiff_t(done) * 4, src + std::ptrdiff_t(done) * 4, count - done,
                  filter);
    });
    return 1;
}

int CEE_ScanlineSubpixCrawlGradientBlit(char* dst, const char* src, int count, int fraction,
                                        int level, int levelStep)
{
    if (RowIsEmpty(dst, count))
        return 0;
    WithStraightFilter(fraction, [&](auto filter) {
        FilterGradientRow(dst, src, count, level, levelStep, filter, FadeAlpha);
    });
    return 1;
}

// The current pixel takes f and the next one 256 - f here, the reverse of every other
// sub-pixel routine; hosts depend on the asymmetry, so it stays.
int CEE_ScanlineShapedSubpixCrawlBlit(char* dst, const char* src, int count, int fraction)
{
    if (RowIsEmpty(dst, count))
        return 0;
    const int done = FractionInRange(fraction)
                         ? LerpBlocks(dst, src, count, u32(fraction), 256u - u32(fraction))
                         : 0;
    WithShapedFilter(fraction, Complement(fraction), [&](auto filter) {
        FilterRow(dst + std::ptrdiff_t(done) * 4, src + std::ptrdiff_t(done) * 4, count - done,
                  filter);
    });
    return 1;
}

int CEE_ScanlineShapedSubpixCrawlGradientBlit(char* dst, const char* src, int count, int fraction,
                                              int level, int levelStep)
{
    if (RowIsEmpty(dst, count))
        return 0;
    WithShapedFilter(Complement(fraction), fraction, [&](auto filter) {
        FilterGradientRow(dst, src, count, level, levelStep, filter, FadeAllChannels);
    });
    return 1;
}

} // extern "C"
