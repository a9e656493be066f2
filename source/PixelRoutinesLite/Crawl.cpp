// The crawl operations: the segment plan of a visible span and the frame that runs it per row.
//
// Every row is cut into five segments, applied in this order so that later ones win where
// inconsistent edges make them overlap:
//   [0, fadeStart) clear | fade-in up to leftEdge | plain copy | fade-out from rightEdge | clear
// with fadeStart = leftEdge - leftFadeWidth and fadeEnd = rightEdge + rightFadeWidth. The plan
// depends only on the edges and the width, so it is built once per call.
#include "PixelRoutinesLite/BufferTable.h"
#include "PixelRoutinesLite.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using BufferTable::CallSlot;

namespace {

// A segment's kind shares its field with the starting level of a gradient; a level that
// happens to equal one of these markers is taken as that kind.
constexpr int kPlainSegment = -2;
constexpr int kFillSegment = -1;
constexpr int kFullLevel = 0xFF00;
constexpr int kSegmentCount = 5;

struct CrawlSegment {
    bool used = false;
    int start = 0;
    int length = 0;
    int kind = kFillSegment;
    int levelStep = 0;
};

struct CrawlPlan {
    CrawlSegment segments[kSegmentCount];
};

// Edges are widened: crossing edges are moved by half their 32-bit difference, and the fade
// zones reach beyond them by up to 2^31 columns.
struct CrawlSpan {
    std::int64_t leftEdge;
    std::int64_t rightEdge;
    int leftFade; // both fade widths clamped to 0 and above
    int rightFade;
    std::int64_t FadeStart() const { return leftEdge - leftFade; }
    std::int64_t FadeEnd() const { return rightEdge + rightFade; }
};

// The loop of adding and subtracting the period, in closed form and in 64 bits, so that
// position - period cannot overflow.
int ReducePosition(int position, int period)
{
    const std::int64_t rest = (std::int64_t(position) - period) % period;
    return int(rest < 0 ? rest + period : rest);
}

// Crossing edges collapse to a point beyond leftEdge by half the overlap, not to their
// midpoint; hosts position their spans with that rule.
CrawlSpan MakeSpan(int leftEdge, int leftFadeWidth, int rightEdge, int rightFadeWidth)
{
    CrawlSpan span{leftEdge, rightEdge, std::max(leftFadeWidth, 0), std::max(rightFadeWidth, 0)};
    if (span.leftEdge > span.rightEdge) {
        span.leftEdge += (span.leftEdge - span.rightEdge) / 2;
        span.rightEdge = span.leftEdge;
    }
    return span;
}

bool SpanMissesPicture(const CrawlSpan& span, int width)
{
    return span.FadeStart() > width || span.FadeEnd() < 0;
}

bool SpanCoversPicture(const CrawlSpan& span, int width)
{
    return span.rightEdge >= std::int64_t(width) - 1 && span.leftEdge <= 0;
}

CrawlSegment Segment(std::int64_t start, std::int64_t length, int kind, int levelStep = 0)
{
    return CrawlSegment{true, int(start), int(length), kind, levelStep};
}

// A fade-in cut by the left picture edge starts at -(fadeStart * step) * 256 in wrapping
// 32-bit arithmetic: the extra factor 256 makes its first column overshoot the 0x10000
// ceiling, which the level reaches one column later. Kept as hosts know it.
CrawlSegment LeftGradient(const CrawlSpan& span, int width)
{
    if (span.leftFade == 0 || span.leftEdge <= 0)
        return CrawlSegment{};
    const int step = kFullLevel / span.leftFade;
    const std::int64_t end = std::min(span.leftEdge, std::int64_t(width));
    const std::int64_t fadeStart = span.FadeStart();
    if (fadeStart >= 0)
        return Segment(fadeStart, end - fadeStart, 0, step);
    const u32 level = (0u - u32(fadeStart) * u32(step)) * 256u;
    return Segment(0, end, int(level), step);
}

CrawlSegment Middle(const CrawlSpan& span, int width)
{
    if (span.leftEdge == span.rightEdge || span.leftEdge > width || span.rightEdge < 0)
        return CrawlSegment{};
    const std::int64_t start = std::max(span.leftEdge, std::int64_t(0));
    return Segment(start, std::min(span.rightEdge, std::int64_t(width)) - start, kPlainSegment);
}

// A fade-out cut by the left picture edge starts at (255 - step * rightEdge) * 256 in wrapping
// 32-bit arithmetic, below zero for any real fade; kept as hosts know it.
CrawlSegment RightGradient(const CrawlSpan& span, int width)
{
    if (span.rightFade == 0 || span.rightEdge >= width)
        return CrawlSegment{};
    const int step = kFullLevel / -span.rightFade;
    const std::int64_t end = std::min(std::int64_t(width), span.FadeEnd());
    if (span.rightEdge >= 0)
        return Segment(span.rightEdge, end - span.rightEdge, kFullLevel, step);
    const u32 level = (255u - u32(step) * u32(span.rightEdge)) * 256u;
    return Segment(0, end, int(level), step);
}

// Only for spans that reach into the picture, so every segment lies within 0..width.
CrawlPlan MakePlan(const CrawlSpan& span, int width)
{
    CrawlPlan plan;
    const std::int64_t fadeStart = span.FadeStart();
    const std::int64_t fadeEnd = span.FadeEnd();
    if (fadeStart >= 0)
        plan.segments[0] = Segment(0, fadeStart, kFillSegment);
    plan.segments[1] = LeftGradient(span, width);
    plan.segments[2] = Middle(span, width);
    plan.segments[3] = RightGradient(span, width);
    if (fadeEnd < width)
        plan.segments[4] = Segment(fadeEnd, width - fadeEnd, kFillSegment);
    return plan;
}

// The row routines of one crawl operation, read from the table at every call so that a
// slot replaced between rows takes effect at the next row.
struct WholePixelRoutines {
    static void Plain(char* dst, const char* src, int count, int)
    {
        CallSlot(ScanlineBlit, dst, src, count);
    }
    static void Gradient(char* dst, const char* src, int count, int, int level, int levelStep)
    {
        CallSlot(ScanlineCrawlGradientBlit, dst, src, count, level, levelStep);
    }
};

struct SubpixRoutines {
    static void Plain(char* dst, const char* src, int count, int fraction)
    {
        CallSlot(ScanlineSubpixCrawlBlit, dst, src, count, fraction);
    }
    static void Gradient(char* dst, const char* src, int count, int fraction, int level,
                         int levelStep)
    {
        CallSlot(ScanlineSubpixCrawlGradientBlit, dst, src, count, fraction, level, levelStep);
    }
};

struct ShapedSubpixRoutines {
    static void Plain(char* dst, const char* src, int count, int fraction)
    {
        CallSlot(ScanlineShapedSubpixCrawlBlit, dst, src, count, fraction);
    }
    static void Gradient(char* dst, const char* src, int count, int fraction, int level,
                         int levelStep)
    {
        CallSlot(ScanlineShapedSubpixCrawlGradientBlit, dst, src, count, fraction, level,
                 levelStep);
    }
};

char* PelAt(char* row, std::ptrdiff_t index)
{
    return row + index * 4;
}

const char* PelAt(const char* row, std::ptrdiff_t index)
{
    return row + index * 4;
}

// One row through the plan; `src` is already advanced to source column p.
template <class Routines>
void RunPlanRow(const CrawlPlan& plan, char* dst, const char* src, int fraction)
{
    for (const CrawlSegment& segment : plan.segments) {
        if (!segment.used)
            continue;
        char* d = PelAt(dst, segment.start);
        if (segment.kind == kFillSegment)
            CallSlot(ScanlineBlitColour, d, segment.length, 0);
        else if (segment.kind == kPlainSegment)
            Routines::Plain(d, PelAt(src, segment.start), segment.length, fraction);
        else
            Routines::Gradient(d, PelAt(src, segment.start), segment.length, fraction, segment.kind,
                               segment.levelStep);
    }
}

struct CrawlBuffers {
    char* dst;
    int dstPitch;
    const char* src;
    int srcPitch;
    int width;
    int height;
};

// Row addresses are formed from the row index, never by stepping past the last row.
template <class RowFunction>
void ForEachRow(const CrawlBuffers& b, int sourceOffset, RowFunction row)
{
    for (int y = 0; y < b.height; ++y)
        row(b.dst + std::ptrdiff_t(y) * b.dstPitch,
            PelAt(b.src + std::ptrdiff_t(y) * b.srcPitch, sourceOffset));
}

template <class Routines>
void RunCrawl(const CrawlBuffers& b, int position, int fraction, int period, const CrawlSpan& span)
{
    if (SpanMissesPicture(span, b.width)) {
        BlitColour(b.dst, b.dstPitch, b.width, b.height, 0);
        return;
    }
    if (b.src == nullptr)
        return;
    const int p = ReducePosition(position, period);
    if (SpanCoversPicture(span, b.width)) {
        ForEachRow(b, p, [&](char* dst, const char* src) {
            Routines::Plain(dst, src, b.width, fraction);
        });
        return;
    }
    const CrawlPlan plan = MakePlan(span, b.width);
    ForEachRow(b, p,
               [&](char* dst, const char* src) { RunPlanRow<Routines>(plan, dst, src, fraction); });
}

template <class Routines>
int Crawl(const CrawlBuffers& b, int position, int fraction, int period, int leftEdge,
          int leftFadeWidth, int rightEdge, int rightFadeWidth)
{
    BufferTable::BetweenOpHooks([&](tagMMXState&) {
        // A period below 1 has no reduced position; such a call writes nothing.
        if (b.dst != nullptr && b.width >= 1 && b.height >= 1 && period >= 1)
            RunCrawl<Routines>(b, position, fraction, period,
                               MakeSpan(leftEdge, leftFadeWidth, rightEdge, rightFadeWidth));
    });
    return 1;
}

} // namespace

extern "C" {

int CrawlBlit(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height,
              int position, int period, int leftEdge, int leftFadeWidth, int rightEdge,
              int rightFadeWidth)
{
    return Crawl<WholePixelRoutines>({dst, dstPitch, src, srcPitch, width, height}, position, 0,
                                     period, leftEdge, leftFadeWidth, rightEdge, rightFadeWidth);
}

int SubpixCrawlBlit(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height,
                    int position, int fraction, int period, int leftEdge, int leftFadeWidth,
                    int rightEdge, int rightFadeWidth)
{
    return Crawl<SubpixRoutines>({dst, dstPitch, src, srcPitch, width, height}, position, fraction,
                                 period, leftEdge, leftFadeWidth, rightEdge, rightFadeWidth);
}

int ShapedSubpixCrawlBlit(char* dst, int dstPitch, const char* src, int srcPitch, int width,
                          int height, int position, int fraction, int period, int leftEdge,
                          int leftFadeWidth, int rightEdge, int rightFadeWidth)
{
    return Crawl<ShapedSubpixRoutines>({dst, dstPitch, src, srcPitch, width, height}, position,
                                       fraction, period, leftEdge, leftFadeWidth, rightEdge,
                                       rightFadeWidth);
}

} // extern "C"
