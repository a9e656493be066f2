// Crawl operations and row routines against the model in crawl_model.h, bit for bit.
#include "crawl_model.h"

#include <PixelRoutinesLite.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <random>
#include <vector>

using namespace crawlmodel;

namespace {

class CrawlTest : public ::testing::Test {
  protected:
    void SetUp() override { SelectCEEFunctions(); }
};

std::uint32_t RandomPel(std::mt19937& rng)
{
    const std::uint32_t colour = rng() & 0xFFFFFFu;
    const std::uint32_t pick = rng() % 3;
    const std::uint32_t alpha = pick == 0 ? 0u : pick == 1 ? 255u : rng() & 255u;
    return colour | alpha << 24;
}

// Rows of pels at an unaligned address, with a padded pitch that is negative half the time.
// Every byte of the block starts random, so a stray write anywhere shows up.
struct Surface {
    std::vector<char> bytes;
    std::ptrdiff_t firstRow;
    int pitch;

    Surface(int width, int height, std::mt19937& rng)
    {
        const int stride = width * 4 + int(rng() % 10);
        pitch = rng() % 2 ? -stride : stride;
        const std::ptrdiff_t lead = 1 + rng() % 3;
        bytes.resize(std::size_t(lead + std::ptrdiff_t(height) * stride + 16));
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (i % 4 == 0)
                word = rng();
            bytes[i] = char(word >> (8 * (i % 4)));
        }
        firstRow = pitch > 0 ? lead : lead + std::ptrdiff_t(height - 1) * stride;
    }
    char* Base() { return bytes.data() + firstRow; }
    std::size_t At(int y, std::int64_t x) const
    {
        return std::size_t(firstRow + std::ptrdiff_t(y) * pitch + std::ptrdiff_t(x) * 4);
    }
    std::uint32_t Get(int y, std::int64_t x) const
    {
        std::uint32_t p;
        std::memcpy(&p, bytes.data() + At(y, x), 4);
        return p;
    }
    void Put(int y, std::int64_t x, std::uint32_t p)
    {
        std::memcpy(bytes.data() + At(y, x), &p, 4);
    }
    void FillPels(int width, int height, std::mt19937& rng)
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                Put(y, x, RandomPel(rng));
    }
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

// Runs one crawl on fresh random buffers; returns the destination and the model's expectation.
struct Outcome {
    Surface got, want;
};

Outcome RunBoth(Kind kind, const Params& c, std::mt19937& rng)
{
    const int sourceWidth = c.width + c.period + 1;
    Surface src(sourceWidth, c.height, rng);
    src.FillPels(sourceWidth, c.height, rng);
    Outcome o{Surface(c.width, c.height, rng), Surface(0, 0, rng)};
    o.want = o.got;
    EXPECT_EQ(CallCrawl(kind, o.got.Base(), o.got.pitch, src.Base(), src.pitch, c), 1);
    Run(
        kind, c, [&](int y, std::int64_t x) { return src.Get(y, x); },
        [&](int y, std::int64_t x, std::uint32_t p) { o.want.Put(y, x, p); });
    return o;
}

int Pick(std::mt19937& rng, int lo, int hi)
{
    return lo + int(rng() % unsigned(hi - lo + 1));
}

Params RandomParams(std::mt19937& rng)
{
    Params c{};
    c.width = Pick(rng, 1, 48);
    c.height = Pick(rng, 1, 3);
    c.period = Pick(rng, 1, 40);
    c.position = Pick(rng, -4 * c.period, 4 * c.period); // beyond the period on both sides
    const int fractions[] = {0, 256, 128, Pick(rng, 0, 256)};
    c.fraction = fractions[rng() % 4];
    c.leftEdge = Pick(rng, -30, c.width + 30);
    c.rightEdge = Pick(rng, -30, c.width + 30); // crosses leftEdge about half the time
    c.leftFadeWidth = Pick(rng, -3, 40);
    c.rightFadeWidth = Pick(rng, -3, 40);
    if (rng() % 16 == 0) { // edges, fades and positions where 32-bit sums overflow
        c.leftEdge = rng() % 2 ? INT_MAX - Pick(rng, 0, 5) : INT_MIN + Pick(rng, 0, 5);
        c.rightEdge = rng() % 2 ? INT_MAX : INT_MIN;
        c.period = Pick(rng, 20000, 30000);
        c.position = rng() % 2 ? INT_MAX - Pick(rng, 0, 2) : INT_MIN + Pick(rng, 0, 2);
        c.height = 1;
    }
    if (rng() % 16 == 0)
        (rng() % 2 ? c.leftFadeWidth : c.rightFadeWidth) = INT_MAX - Pick(rng, 0, 3);
    return c;
}

const Kind kKinds[] = {Kind::Whole, Kind::Subpix, Kind::Shaped};

} // namespace

TEST_F(CrawlTest, EveryOperationMatchesModelOnRandomSpans)
{
    for (Kind kind : kKinds)
        for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
            std::mt19937 rng(seed);
            const Params c = RandomParams(rng);
            const Outcome o = RunBoth(kind, c, rng);
            ASSERT_TRUE(o.got.bytes == o.want.bytes)
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

void ModelRow(RowRoutine r, std::uint32_t* want, const std::uint32_t* src, int n, int f,
              std::int64_t level, int step)
{
    for (int i = 0; i < n; ++i, level = std::min<std::int64_t>(level + step, 0x10000))
        want[i] =
            Pixel(r.kind, src[i], r.kind == Kind::Whole ? 0 : src[i + 1], f, r.gradient, level);
}

const char* AsBytes(const std::uint32_t* p)
{
    return reinterpret_cast<const char*>(p);
}

} // namespace

// Each adjacent pair (2k, 2k + 1) of the row holds alphas (k >> 8, k & 255); rows run in
// chunks so that every gradient restarts at its level often.
TEST_F(CrawlTest, RowRoutinesMatchModelForEveryAlphaPair)
{
    std::mt19937 rng(7);
    std::vector<std::uint32_t> src(2 * 65536 + 1), got(src.size()), want(src.size());
    for (std::size_t i = 0; i < src.size(); ++i) {
        const std::uint32_t k = std::uint32_t(i / 2);
        src[i] = (rng() & 0xFFFFFFu) | ((i % 2 ? k : k >> 8) & 255u) << 24;
    }
    const int fractions[] = {0, 1, 64, 127, 128, 129, 255, 256, -1, 257, 300};
    const int levels[][2] = {{0, 16320},         {0xFF00, -16320}, {4177920, 16320},
                             {-8290560, -16320}, {0x10000, 0},     {INT_MAX - 9, 0xFF00}};
    const int count = int(src.size()) - 1, chunk = 61;
    for (int fi = 0; fi < int(std::size(fractions)); ++fi)
        for (int li : {fi % 6, (fi + 3) % 6}) // each fraction meets two of the levels
            for (RowRoutine r : kRowRoutines) {
                const int f = fractions[fi], level = levels[li][0], step = levels[li][1];
                for (int x = 0; x < count; x += chunk) {
                    const int n = std::min(chunk, count - x);
                    EXPECT_EQ(CallRow(r, reinterpret_cast<char*>(&got[x]), AsBytes(&src[x]), n, f,
                                      level, step),
                              1);
                    ModelRow(r, &want[x], &src[x], n, f, level, step);
                }
                const auto miss = std::mismatch(got.begin(), got.end(), want.begin());
                ASSERT_TRUE(miss.first == got.end())
                    << "kind " << int(r.kind) << " gradient " << r.gradient << " fraction " << f
                    << " level " << level << " at " << (miss.first - got.begin());
            }
    EXPECT_EQ(ScanlineSubpixCrawlBlit(nullptr, AsBytes(src.data()), 4, 0), 0);
    for (RowRoutine r : kRowRoutines)
        EXPECT_EQ(CallRow(r, reinterpret_cast<char*>(got.data()), AsBytes(src.data()), 0, 0, 0, 0),
                  0);
}

namespace {

// Opaque grey ramp with alpha 255 everywhere, one row, wide enough for any position below 64.
std::vector<std::uint32_t> OpaqueStrip(int length)
{
    std::vector<std::uint32_t> strip(static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i)
        strip[std::size_t(i)] = 0xFF000000u | std::uint32_t(i) * 0x010203u;
    return strip;
}

// One row of `width` pixels at `position`, from a period of 50.
std::vector<std::uint32_t> Crawl1(Kind kind, const std::vector<std::uint32_t>& strip, int width,
                                  int position, int fraction, int leftEdge, int leftFade,
                                  int rightEdge, int rightFade)
{
    std::vector<std::uint32_t> out(std::size_t(width), 0x12345678u);
    CallCrawl(kind, reinterpret_cast<char*>(out.data()), width * 4,
              reinterpret_cast<const char*>(strip.data()), width * 4,
              {width, 1, position, fraction, 50, leftEdge, leftFade, rightEdge, rightFade});
    return out;
}

std::uint32_t AlphaOf(std::uint32_t p)
{
    return p >> 24;
}

} // namespace

TEST_F(CrawlTest, WorkedExamples)
{
    const std::vector<std::uint32_t> strip = OpaqueStrip(128);
    const int w = 40, period = 50; // the period Crawl1 uses
    for (Kind kind : kKinds) {
        // Positions a period either side land on the same picture.
        const auto at3 = Crawl1(kind, strip, w, 3, 77, 10, 4, 30, 5);
        EXPECT_EQ(Crawl1(kind, strip, w, period + 3, 77, 10, 4, 30, 5), at3);
        EXPECT_EQ(Crawl1(kind, strip, w, 3 - period, 77, 10, 4, 30, 5), at3);
        // A span beyond either side of the picture clears it.
        EXPECT_EQ(Crawl1(kind, strip, w, 3, 77, 45, 4, 60, 0), std::vector<std::uint32_t>(w, 0u));
        EXPECT_EQ(Crawl1(kind, strip, w, 3, 77, -20, 0, -6, 5), std::vector<std::uint32_t>(w, 0u));
    }
    // Fade-in over columns 6..9 at levels 0, 16320, 32640, 48960, then a plain copy.
    const auto faded = Crawl1(Kind::Whole, strip, w, 0, 0, 10, 4, 30, 5);
    const std::uint32_t alphas[] = {0, 62, 126, 190, 255};
    for (int x = 6; x <= 10; ++x) {
        EXPECT_EQ(AlphaOf(faded[std::size_t(x)]), alphas[x - 6]) << "column " << x;
        EXPECT_EQ(faded[std::size_t(x)] & 0xFFFFFFu, strip[std::size_t(x)] & 0xFFFFFFu);
    }
    EXPECT_EQ(faded[5], 0u);
    EXPECT_EQ(AlphaOf(faded[30]), 254u); // the fade-out starts at 0xFF00: 255 * 255 / 256
    // The whole-width shortcut ignores the fades.
    const auto whole = Crawl1(Kind::Whole, strip, w, 5, 0, 0, 30, w - 1, 30);
    EXPECT_TRUE(std::equal(whole.begin(), whole.end(), strip.begin() + 5));
    const auto nearlyWhole = Crawl1(Kind::Whole, strip, w, 5, 0, 0, 30, w - 2, 30);
    EXPECT_EQ(AlphaOf(nearlyWhole[std::size_t(w - 2)]), 254u);
    // Crossed edges 20 and 10 both become 25: the fade-in covers 21..24, clear before and after.
    const auto crossed = Crawl1(Kind::Whole, strip, w, 0, 0, 20, 4, 10, 0);
    EXPECT_EQ(crossed[20], 0u);
    EXPECT_EQ(AlphaOf(crossed[21]), 0u);
    EXPECT_EQ(AlphaOf(crossed[24]), 190u);
    EXPECT_EQ(crossed[25], 0u);
    // Fraction 0: the straight filter keeps the current pixel, the shaped one takes the next.
    const auto plain = Crawl1(Kind::Whole, strip, w, 3, 0, 0, 0, w - 1, 0);
    EXPECT_EQ(Crawl1(Kind::Subpix, strip, w, 3, 0, 0, 0, w - 1, 0), plain);
    const auto shaped = Crawl1(Kind::Shaped, strip, w, 3, 0, 0, 0, w - 1, 0);
    EXPECT_TRUE(std::equal(shaped.begin(), shaped.end(), strip.begin() + 4));
}

namespace {
int preCalls, postCalls, sliceCalls, rowCalls;
ScanlineBlitColourRoutine realFill;
ScanlineBlitRoutine realCopy;
ScanlineCrawlGradientBlitRoutine realGradient;
} // namespace

// Hooks run once per call (a span off the picture adds BlitColour's own pair); every segment
// that is not skipped is called on every row, even with nothing to write.
TEST_F(CrawlTest, CallsHooksAndSegmentsAsOftenAsStated)
{
    const BufferOpHook saved[] = {PreOp, PostOp, CheckTimeSlice};
    realFill = ScanlineBlitColour;
    realCopy = ScanlineBlit;
    realGradient = ScanlineCrawlGradientBlit;
    PreOp = [](tagMMXState*) { ++preCalls; };
    PostOp = [](tagMMXState*) { ++postCalls; };
    CheckTimeSlice = [](tagMMXState*) { ++sliceCalls; };
    ScanlineBlitColour = [](char* d, int n, int c) { return ++rowCalls, realFill(d, n, c); };
    ScanlineBlit = [](char* d, const char* s, int n) { return ++rowCalls, realCopy(d, s, n); };
    ScanlineCrawlGradientBlit = [](char* d, const char* s, int n, int l, int st) {
        return ++rowCalls, realGradient(d, s, n, l, st);
    };
    const std::vector<std::uint32_t> strip = OpaqueStrip(128);
    struct Span {
        int width, left, right, hooks, wholeRowCalls;
    } const spans[] = {{40, 10, 30, 1, 5}, {40, 0, 39, 1, 1},  {40, 50, 60, 2, 1},
                       {40, 44, 60, 1, 2}, {40, 20, 20, 1, 4}, {0, 10, 30, 1, 0}};
    for (Kind kind : kKinds)
        for (const Span& span : spans) {
            preCalls = postCalls = sliceCalls = rowCalls = 0;
            Crawl1(kind, strip, span.width, 3, 100, span.left, 4, span.right, 5);
            EXPECT_EQ(preCalls, span.hooks);
            EXPECT_EQ(postCalls, span.hooks);
            EXPECT_EQ(sliceCalls, 0);
            EXPECT_EQ(rowCalls, kind == Kind::Whole ? span.wholeRowCalls : rowCalls);
        }
    preCalls = postCalls = 0;
    CrawlBlit(nullptr, 160, AsBytes(strip.data()), 160, 40, 2, 0, 50, 10, 4, 30, 5);
    EXPECT_EQ(preCalls + postCalls, 2);
    PreOp = saved[0];
    PostOp = saved[1];
    CheckTimeSlice = saved[2];
    ScanlineBlitColour = realFill;
    ScanlineBlit = realCopy;
    ScanlineCrawlGradientBlit = realGradient;
}
