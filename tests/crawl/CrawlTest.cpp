// Crawl operations and row routines against the model in CrawlModel.h, bit for bit.
#include "CrawlModel.h"
#include "support/RowHarness.h"

#include <PixelRoutinesLite.h>
#include <gtest/gtest.h>

#include <climits>
#include <vector>

using namespace crawlmodel;
using support::Buffer;
using support::Rng;
using R = const support::Rows*;

namespace {

class CrawlTest : public ::testing::Test {
  protected:
    void SetUp() override { SelectCEEFunctions(); }
};

int CallCrawl(Kind kind, char* d, int dstPitch, const char* s, int srcPitch, const Params& c)
{
    if (kind == Kind::Whole)
        return CrawlBlit(d, dstPitch, s, srcPitch, c.width, c.height, c.position, c.period,
                         c.leftEdge, c.leftFadeWidth, c.rightEdge, c.rightFadeWidth);
    auto crawl = kind == Kind::Subpix ? SubpixCrawlBlit : ShapedSubpixCrawlBlit;
    return crawl(d, dstPitch, s, srcPitch, c.width, c.height, c.position, c.fraction, c.period,
                 c.leftEdge, c.leftFadeWidth, c.rightEdge, c.rightFadeWidth);
}

int Pick(Rng& rng, int lo, int hi)
{
    return lo + int(rng.Below(u32(hi - lo + 1)));
}

Params RandomParams(Rng& rng)
{
    Params c{};
    c.width = Pick(rng, 1, 48);
    c.height = Pick(rng, 1, 3);
    c.period = Pick(rng, 1, 40);
    c.position = Pick(rng, -4 * c.period, 4 * c.period); // beyond the period on both sides
    c.fraction = rng.Pick({0, 256, 128}, 0, 256);
    c.leftEdge = Pick(rng, -30, c.width + 30);
    c.rightEdge = Pick(rng, -30, c.width + 30); // crosses leftEdge about half the time
    c.leftFadeWidth = Pick(rng, -3, 40);
    c.rightFadeWidth = Pick(rng, -3, 40);
    if (rng.Below(16) == 0) { // edges, fades and positions where 32-bit sums overflow
        c.leftEdge = rng.Below(2) ? INT_MAX - Pick(rng, 0, 5) : INT_MIN + Pick(rng, 0, 5);
        c.rightEdge = rng.Below(2) ? INT_MAX : INT_MIN;
        c.period = Pick(rng, 20000, 30000);
        c.position = rng.Below(2) ? INT_MAX - Pick(rng, 0, 2) : INT_MIN + Pick(rng, 0, 2);
        c.height = 1;
    }
    if (rng.Below(16) == 0)
        (rng.Below(2) ? c.leftFadeWidth : c.rightFadeWidth) = INT_MAX - Pick(rng, 0, 3);
    return c;
}

const Kind kKinds[] = {Kind::Whole, Kind::Subpix, Kind::Shaped};

} // namespace

// One span in four crawls the strip over itself.
TEST_F(CrawlTest, EveryOperationMatchesModelOnRandomSpans)
{
    for (Kind kind : kKinds)
        for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
            Rng rng(seed);
            const Params c = RandomParams(rng);
            const bool inPlace = seed % 4 == 0;
            Buffer src(rng, c.width + c.period + 1, c.height);
            Buffer got = inPlace ? src : Buffer(rng, c.width, c.height), want = got;
            const Buffer& from = inPlace ? got : src;
            EXPECT_EQ(CallCrawl(kind, got.Base(), got.pitch, from.View().base, from.pitch, c), 1);
            crawlmodel::Run(
                kind, c,
                [&](int y, std::int64_t x) { return (inPlace ? want : src).Get(int(x), y); },
                [&](int y, std::int64_t x, std::uint32_t p) { want.Set(int(x), y, p); });
            ASSERT_TRUE(got.bytes == want.bytes)
                << "kind " << int(kind) << " seed " << seed << " width " << c.width << " position "
                << c.position << " period " << c.period << " fraction " << c.fraction << " edges "
                << c.leftEdge << "/" << c.leftFadeWidth << " " << c.rightEdge << "/"
                << c.rightFadeWidth;
        }
}

namespace {

struct RowRoutine {
    Kind kind;
    bool gradient;
};
const RowRoutine kRowRoutines[] = {{Kind::Whole, true},
                                   {Kind::Subpix, false},
                                   {Kind::Subpix, true},
                                   {Kind::Shaped, false},
                                   {Kind::Shaped, true}};

int CallRow(RowRoutine r, char* d, const char* s, int n, int f, int level, int step)
{
    if (r.kind == Kind::Whole)
        return ScanlineCrawlGradientBlit(d, s, n, level, step);
    if (r.kind == Kind::Subpix)
        return r.gradient ? ScanlineSubpixCrawlGradientBlit(d, s, n, f, level, step)
                          : ScanlineSubpixCrawlBlit(d, s, n, f);
    return r.gradient ? ScanlineShapedSubpixCrawlGradientBlit(d, s, n, f, level, step)
                      : ScanlineShapedSubpixCrawlBlit(d, s, n, f);
}

void ModelRow(RowRoutine r, R rows, int n, int f, std::int64_t level, int step)
{
    for (int i = 0; i < n; ++i, level = std::min<std::int64_t>(level + step, 0x10000))
        rows[0].Set(i, 0,
                    Pixel(r.kind, rows[1].Get(i, 0), rows[1].Get(i + 1, 0), f, r.gradient, level));
}

} // namespace

// Seeded rows of every count, and each (current, next) alpha pair as its own
// one-pel call, for fractions inside and outside 0..256 and levels that run
// past either end.
TEST_F(CrawlTest, RowRoutinesMatchModel)
{
    const int fractions[] = {0, 1, 64, 127, 128, 129, 255, 256, -1, 257, 300};
    const int levels[][2] = {{0, 16320},         {0xFF00, -16320}, {4177920, 16320},
                             {-8290560, -16320}, {0x10000, 0},     {INT_MAX - 9, 0xFF00}};
    for (int fi = 0; fi < int(std::size(fractions)); ++fi)
        for (int li : {fi % 6, (fi + 3) % 6}) // each fraction meets two of the levels
            for (RowRoutine r : kRowRoutines) {
                const int f = fractions[fi], level = levels[li][0], step = levels[li][1];
                const std::string name = "kind " + std::to_string(int(r.kind) * 2 + r.gradient) +
                                         " fraction " + std::to_string(f) + " level " +
                                         std::to_string(level);
                support::CheckRows(
                    name, 1,
                    [&](R rows, int n, int) {
                        CallRow(r, rows[0].base, rows[1].base, n, f, level, step);
                    },
                    [&](R rows, int n, int) { ModelRow(r, rows, n, f, level, step); },
                    {1, true, false, false, 1});
                if (li == fi % 6)
                    support::CheckAlphaPairs(
                        name,
                        [&](R rows, int n, int) {
                            for (int i = 0; i < n; ++i) {
                                const std::uint32_t pair[2] = {rows[1].Get(i, 0),
                                                               rows[2].Get(i, 0)};
                                CallRow(r, rows[0].base + 4 * i,
                                        reinterpret_cast<const char*>(pair), 1, f, level, step);
                            }
                        },
                        support::Pelwise(2, [&](const std::uint32_t* p) {
                            return Pixel(r.kind, p[1], p[2], f, r.gradient, level);
                        }));
            }
    std::uint32_t pels[8] = {};
    EXPECT_EQ(ScanlineSubpixCrawlBlit(nullptr, reinterpret_cast<char*>(pels), 4, 0), 0);
    for (RowRoutine r : kRowRoutines)
        EXPECT_EQ(
            CallRow(r, reinterpret_cast<char*>(pels), reinterpret_cast<char*>(pels), 0, 0, 0, 0),
            0);
}

namespace {
int preCalls, postCalls, sliceCalls, rowCalls;
} // namespace

// Hooks run once per call (a span off the picture adds BlitColour's own pair); every segment
// that is not skipped is called on every row, even with nothing to write.
TEST_F(CrawlTest, CallsHooksAndSegmentsAsOftenAsStated)
{
    PreOp = [](tagMMXState*) { ++preCalls; };
    PostOp = [](tagMMXState*) { ++postCalls; };
    CheckTimeSlice = [](tagMMXState*) { ++sliceCalls; };
    ScanlineBlitColour = [](char*, int, int) { return ++rowCalls; };
    ScanlineBlit = [](char*, const char*, int) { return ++rowCalls; };
    ScanlineCrawlGradientBlit = [](char*, const char*, int, int, int) { return ++rowCalls; };
    std::vector<std::uint32_t> strip(128), out(40);
    char *s = reinterpret_cast<char*>(strip.data()), *d = reinterpret_cast<char*>(out.data());
    struct Span {
        int width, left, right, hooks, wholeRowCalls;
    } const spans[] = {{40, 10, 30, 1, 5}, {40, 0, 39, 1, 1},  {40, 50, 60, 2, 1},
                       {40, 44, 60, 1, 2}, {40, 20, 20, 1, 4}, {0, 10, 30, 1, 0}};
    for (Kind kind : kKinds)
        for (const Span& span : spans) {
            preCalls = postCalls = sliceCalls = rowCalls = 0;
            CallCrawl(kind, d, 160, s, 160,
                      {span.width, 1, 3, 100, 50, span.left, 4, span.right, 5});
            EXPECT_EQ(preCalls, span.hooks);
            EXPECT_EQ(postCalls, span.hooks);
            EXPECT_EQ(sliceCalls, 0);
            if (kind == Kind::Whole) {
                EXPECT_EQ(rowCalls, span.wholeRowCalls);
            }
        }
    preCalls = postCalls = 0;
    CrawlBlit(nullptr, 160, s, 160, 40, 2, 0, 50, 10, 4, 30, 5);
    EXPECT_EQ(preCalls + postCalls, 2);
    SelectCEEFunctions();
}
