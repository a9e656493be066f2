// The crawl kernels' scalar reference set: whole-pixel gradient copies and the two-tap
// sub-pixel filters.
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
#include "kernels/crawl/CrawlKernels.h"
#include "inlinepelops.h"
#include "kernels/PelIO.h"
#include "kernels/PelMix.h"

#include <algorithm>
#include <cstdint>

namespace {

using PelIO::LoadPel;
using PelIO::StorePel;

constexpr std::int64_t kLevelCeiling = 0x10000;
constexpr u32 kRedBlue = 0x00FF00FFu;

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

// With equal alphas a the filter is a*N / (256*a), which is N / 256 exactly: the common
// case inside glyphs and in the clear gaps between them costs no division. Needs an
// in-range fraction, where nothing wraps.
inline Pel StraightFilter(Pel s0, Pel s1, u32 w0, u32 w1)
{
    const u32 a0 = PelAlpha(s0);
    if (a0 == PelAlpha(s1))
        return a0 == 0u ? 0u : LerpPel(s0, s1, w0, w1);
    return AlphaWeightedMix(s0, s1, w0, w1);
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
        body([w0, w1](Pel s0, Pel s1) { return AlphaWeightedMix(s0, s1, w0, w1); });
}

// The shaped filter with weights wCur for the current pixel and wNext for the next one.
template <class Body> void WithShapedFilter(int wCur, int wNext, Body body)
{
    if (FractionInRange(wCur))
        body([wCur, wNext](Pel s0, Pel s1) { return LerpPel(s0, s1, u32(wCur), u32(wNext)); });
    else
        body([wCur, wNext](Pel s0, Pel s1) { return ShapedFilterGeneral(s0, s1, wCur, wNext); });
}

// 256 - fraction without overflow for a host's extreme fraction; wraps like the unsigned
// weights of the straight filter.
inline int Complement(int fraction)
{
    return int(256u - u32(fraction));
}

// Plain rows of the two sub-pixel crawls, for any fraction.
void SubpixRow(char* dst, const char* src, int count, int fraction)
{
    WithStraightFilter(fraction, [&](auto filter) { FilterRow(dst, src, count, filter); });
}

// The current pixel takes f and the next one 256 - f here, the reverse of every other
// sub-pixel routine; hosts depend on the asymmetry, so it stays.
void ShapedSubpixRow(char* dst, const char* src, int count, int fraction)
{
    WithShapedFilter(fraction, Complement(fraction),
                     [&](auto filter) { FilterRow(dst, src, count, filter); });
}

// Rows of the gradient crawls; the level runs in 64 bits whatever the host passes.
void GradientRow(char* dst, const char* src, int count, int level, int levelStep)
{
    std::int64_t running = level;
    for (int x = 0; x < count; ++x) {
        StorePel(dst, x, FadeAlpha(running, LoadPel(src, x)));
        running = NextLevel(running, levelStep);
    }
}

void SubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                       int levelStep)
{
    if (count < 1)
        return;
    WithStraightFilter(fraction, [&](auto filter) {
        FilterGradientRow(dst, src, count, level, levelStep, filter, FadeAlpha);
    });
}

void ShapedSubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                             int levelStep)
{
    if (count < 1)
        return;
    WithShapedFilter(Complement(fraction), fraction, [&](auto filter) {
        FilterGradientRow(dst, src, count, level, levelStep, filter, FadeAllChannels);
    });
}

// The level of pel `index`: past the first pel the ceiling holds a rising level for good,
// and a falling one never meets it again.
std::int64_t LevelAt(int level, int levelStep, int index)
{
    if (index == 0)
        return level;
    if (levelStep < 0)
        return NextLevel(level, levelStep) + std::int64_t(index - 1) * levelStep;
    const std::int64_t unclamped = std::int64_t(level) + std::int64_t(index) * levelStep;
    return unclamped < kLevelCeiling ? unclamped : kLevelCeiling;
}

} // namespace

const Kernels::CrawlSet Kernels::kCrawlScalar = {
    "scalar", GradientRow, SubpixRow, SubpixGradientRow, ShapedSubpixRow, ShapedSubpixGradientRow};

bool Kernels::GradientFitsLanes(int level, int levelStep, int count)
{
    constexpr int kMaxStep = 1 << 24, kFloor = -(1 << 30);
    if (level > kLevelCeiling || levelStep < -kMaxStep || levelStep > kMaxStep)
        return false;
    // Levels are monotonic along the row: its two ends bound them.
    return count < 1 ||
           std::min(std::int64_t(level), LevelAt(level, levelStep, count - 1)) >= kFloor;
}

const Kernels::SetTable<Kernels::CrawlSet> Kernels::kCrawlSets = {&kCrawlScalar,
                                                                  FLOWER_VECTOR_SETS(kCrawl)};
