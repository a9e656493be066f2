// Roll data routines: build a destination rectangle from the lines of a
// repeating source strip, with fade zones at the top and the bottom.
//
// Line numbers are kept in 64 bits so that long rolls and large steps cannot
// overflow; fade arithmetic is 64-bit as well, which leaves every in-range
// call defined. A period below 1 would make the reduction of the start line
// endless; the routines return 1 at once instead, writing nothing, as a call
// that did its work would (see PixelRoutinesLite.h). Likewise a sub-line roll
// whose lines would go below 0 (a negative lineStep) would read before `src`:
// it is refused whole, before anything is written.
#include "PixelRoutinesLite.h"
#include "PixelRoutinesLite/BufferTable.h"
#include "kernels/roll/RollKernels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace {

using BufferTable::BetweenOpHooks;

// Start from line - period, add period until not negative, subtract it while
// not below period: the non-negative remainder, computed in one step.
std::int64_t ReduceLine(std::int64_t line, int period)
{
    const std::int64_t r = line % period;
    return r < 0 ? r + period : r;
}

enum class ZoneEdge { Strict, Inclusive };

struct FadeZones {
    int topFadeEnd, topFadeWidth, bottomFadeStart, bottomFadeWidth;
    ZoneEdge edge;

    // F(row) in 0..256. Inside a zone the width is at least 1 (the row lies
    // strictly between the zone's ends), so the divisions are defined.
    int Factor(int row) const
    {
        const std::int64_t i = row;
        const bool inclusive = edge == ZoneEdge::Inclusive;
        std::int64_t f = 256;
        if (i < topFadeEnd) {
            const std::int64_t start = std::int64_t(topFadeEnd) - topFadeWidth;
            f = 0;
            if (inclusive ? i >= start : i > start)
                f = (i - start) * 256 / topFadeWidth;
        }
        if (i > bottomFadeStart) {
            const std::int64_t end = std::int64_t(bottomFadeStart) + bottomFadeWidth;
            std::int64_t g = 0;
            if (inclusive ? end >= i : end > i)
                g = std::min(f, (end - i) * 256 / bottomFadeWidth);
            f = g;
        }
        return static_cast<int>(f);
    }
};

u32 Squared256Complement(int fade)
{
    const u32 c = 256u - static_cast<u32>(fade);
    return c * c;
}

// Quadratic ease-out of the fade factor: alpha follows Q = 256 - (256 - F)^2 / 256.
u32 EasedScale(int fade)
{
    return 256u - (Squared256Complement(fade) >> 8);
}

const char* SourceLine(const char* src, std::int64_t lineIndex, int srcPitch)
{
    return src + static_cast<std::ptrdiff_t>(lineIndex * srcPitch);
}

char* DestRow(char* dst, int row, int dstPitch)
{
    return dst + static_cast<std::ptrdiff_t>(row) * dstPitch;
}

void CopyRow(char* dst, const char* src, int width)
{
    if (width > 0 && dst != src)
        std::memmove(dst, src, static_cast<std::size_t>(width) * 4u);
}

// The weights of the lines that feed one destination row, top line first.
template <std::size_t N> struct LineWeights {
    int w[N];

    // The scaled weights carry over to later rows: fades of successive rows
    // multiply, so one fully transparent row empties the rest.
    void Fade(u32 scale)
    {
        for (int& weight : w)
            weight = static_cast<int>(std::int64_t(weight) * scale / 256);
    }
};

// Mixes N source lines into every destination row, `linesAt(line)` naming them
// top first. Without a zone inside the rows the weights stay as they start.
template <std::size_t N, class LinesAt>
void MixRolledRows(char* dst, int width, int height, int dstPitch, std::int64_t line, int lineStep,
                   LineWeights<N> weights, const FadeZones& zones, LinesAt linesAt)
{
    static_assert(N == 2 || N == 3, "the roll kernels mix two or three lines");
    const auto mix = N == 2 ? Kernels::Active(Kernels::kRollSets).mix2
                            : Kernels::Active(Kernels::kRollSets).mix3;
    const bool fades = zones.topFadeEnd > 0 || zones.bottomFadeStart < height;
    for (int row = 0; row < height; ++row) {
        if (fades)
            weights.Fade(EasedScale(zones.Factor(row)));
        mix(DestRow(dst, row, dstPitch), linesAt(line).data(), weights.w, width);
        line += lineStep;
    }
}

// (k, 256 - 2k, k) blur at fraction 0, two-line interpolation near 128; past
// 128 the next line becomes the centre.
LineWeights<3> FilterWeights(int fraction, int strength, std::int64_t& line)
{
    const std::int64_t f = fraction;
    if (f < 128) {
        const std::int64_t d = (128 - f) * strength / 128;
        return {{static_cast<int>(d), static_cast<int>(256 - f - 2 * d), static_cast<int>(f + d)}};
    }
    const std::int64_t d = (f - 128) * strength / 128;
    ++line;
    return {{static_cast<int>(256 - f + d), static_cast<int>(f - 2 * d), static_cast<int>(d)}};
}

// True when some row of a sub-line roll would name a source line before line 0.
// The lines read for unreduced line l are offset + l reduced by a signed
// remainder, which is negative only for a negative offset + l that the period
// does not divide. Lines only fall when lineStep < 0, so that is all we walk.
bool ReadsBeforeSource(std::int64_t line, int lineStep, int height, int period,
                       std::initializer_list<std::int64_t> offsets)
{
    if (lineStep >= 0)
        return false;
    for (int row = 0; row < height; ++row, line += lineStep)
        for (const std::int64_t offset : offsets)
            if ((offset + line) % period < 0)
                return true;
    return false;
}

} // namespace

extern "C" {

int CEE_RollCopyData(char* dst, const char* src, int width, int height, int dstPitch, int srcPitch,
                     int startLine, int lineStep, int period, int topFadeEnd, int topFadeWidth,
                     int bottomFadeStart, int bottomFadeWidth)
{
    if (dst == nullptr)
        return 0;
    if (period < 1)
        return 1;
    const FadeZones zones{topFadeEnd, topFadeWidth, bottomFadeStart, bottomFadeWidth,
                          ZoneEdge::Strict};
    BetweenOpHooks([&](tagMMXState&) {
        std::int64_t line = startLine;
        for (int row = 0; row < height; ++row) {
            line = ReduceLine(line, period);
            char* out = DestRow(dst, row, dstPitch);
            const char* in = SourceLine(src, line, srcPitch);
            const int fade = zones.Factor(row);
            // (256 - F)^2 < 256 leaves every alpha as it is.
            if (Squared256Complement(fade) < 256u)
                CopyRow(out, in, width);
            else
                Kernels::Active(Kernels::kRollSets)
                    .copyScaledAlpha(out, in, width, EasedScale(fade));
            line += lineStep;
        }
    });
    return 1;
}

int CEE_RollBlitDataSubPix(char* dst, const char* src, int width, int height, int dstPitch,
                           int srcPitch, int startLine, int lineStep, int fraction, int period,
                           int filterStrength, int topFadeEnd, int topFadeWidth,
                           int bottomFadeStart, int bottomFadeWidth)
{
    if (period < 1)
        return 1;
    std::int64_t line = ReduceLine(startLine, period);
    const LineWeights<3> weights = FilterWeights(fraction, filterStrength, line);
    if (ReadsBeforeSource(line, lineStep, height, period, {period - 1, 0, 1}))
        return 1;
    const FadeZones zones{topFadeEnd, topFadeWidth, bottomFadeStart, bottomFadeWidth,
                          ZoneEdge::Inclusive};
    const auto linesAt = [&](std::int64_t l) {
        return std::array<const char*, 3>{SourceLine(src, (period - 1 + l) % period, srcPitch),
                                          SourceLine(src, l % period, srcPitch),
                                          SourceLine(src, (l + 1) % period, srcPitch)};
    };
    BetweenOpHooks([&](tagMMXState&) {
        MixRolledRows(dst, width, height, dstPitch, line, lineStep, weights, zones, linesAt);
    });
    return 1;
}

int CEE_RollBlitDataSubPixNoFilter(char* dst, const char* src, int width, int height, int dstPitch,
                                   int srcPitch, int startLine, int lineStep, int fraction,
                                   int period, int topFadeEnd, int topFadeWidth,
                                   int bottomFadeStart, int bottomFadeWidth)
{
    if (period < 1)
        return 1;
    if (ReadsBeforeSource(ReduceLine(startLine, period), lineStep, height, period, {0, 1}))
        return 1;
    const LineWeights<2> weights{{static_cast<int>(256 - std::int64_t(fraction)), fraction}};
    const FadeZones zones{topFadeEnd, topFadeWidth, bottomFadeStart, bottomFadeWidth,
                          ZoneEdge::Inclusive};
    // This routine's source pitch is four times the byte pitch, so a line's
    // byte offset is (lineIndex * srcPitch) / 4.
    const auto lineAt = [&](std::int64_t lineIndex) {
        return src + static_cast<std::ptrdiff_t>(lineIndex * srcPitch / 4);
    };
    const auto linesAt = [&](std::int64_t l) {
        return std::array<const char*, 2>{lineAt(l % period), lineAt((l + 1) % period)};
    };
    BetweenOpHooks([&](tagMMXState&) {
        MixRolledRows(dst, width, height, dstPitch, ReduceLine(startLine, period), lineStep,
                      weights, zones, linesAt);
    });
    return 1;
}

} // extern "C"
