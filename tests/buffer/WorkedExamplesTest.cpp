// Values worked out by hand, which anchor the models the other tests compare
// against: if a model and the library drifted together, these would not.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "PixelRoutinesLite.h"

namespace {

using Pel = u32;
using Pels = std::vector<Pel>;

const char* Bytes(const Pel* p)
{
    return reinterpret_cast<const char*>(p);
}

char* Bytes(Pel* p)
{
    return reinterpret_cast<char*>(p);
}

class WorkedExamples : public ::testing::Test {
  protected:
    void SetUp() override { SelectCEEFunctions(); }
};

// One pel through each operation. Composites take the bottom first.
TEST_F(WorkedExamples, SinglePels)
{
    enum Op { kComposit, kOpacity, kCross, kShaped, kFade, kPreMult };
    const struct {
        const char* what;
        Op op;
        Pel first, second;
        int p1, p2;
        Pel want;
    } cases[] = {
        // w = 64, A = 192, C = ((tc * 128 + bc * 64) * 341) >> 16
        {"alpha 128 over 128", kComposit, 0x80640000, 0x80C80000, 0, 0, 0xC0A60000},
        {"transparent top", kComposit, 0x80C80000, 0x00112233, 0, 0, 0x80C80000},
        {"transparent bottom", kComposit, 0x00C80000, 0x80112233, 0, 0, 0x80112233},
        // (200 * 100) / 255 = 78; a bottom scaled to 0 keeps the top's colour
        {"top opacity 0", kOpacity, 0xC8112233, 0xFF445566, 100, 0, 0x4E112233},
        {"bottom scaled to 0", kOpacity, 0x01112233, 0xFF445566, 100, 0, 0x00445566},
        {"transparent pair", kCross, 0x00112233, 0x00445566, 128, 128, 0},
        {"equal pels", kCross, 0x7F445566, 0x7F445566, 3, 5, 0x7F445566},
        {"all of a", kCross, 0x7F445566, 0x30112233, 256, 0, 0x7F445566},
        {"all of a", kShaped, 0x7F445566, 0x30112233, 256, 0, 0x7F445566},
        {"half alpha", kFade, 0xFF102030, 0, 128, 0, 0x7F102030},
        {"transparent", kPreMult, 0x00FFFFFF, 0, 0, 0, 0},
        {"opaque", kPreMult, 0xFF123456, 0, 0, 0, 0xFF123456},
    };
    for (const auto& c : cases) {
        Pel out = 0x12345678;
        const char* a = Bytes(&c.first);
        const char* b = Bytes(&c.second);
        switch (c.op) {
        case kComposit:
            Composit(Bytes(&out), 4, a, 4, b, 4, 1, 1);
            break;
        case kOpacity:
            CompositWithOpacity(Bytes(&out), 4, a, 4, b, 4, 1, 1, c.p1, c.p2);
            break;
        case kCross:
            CrossFade(Bytes(&out), 4, a, 4, b, 4, 1, 1, c.p1, c.p2);
            break;
        case kShaped:
            ShapedCrossFade(Bytes(&out), 4, a, 4, b, 4, 1, 1, c.p1, c.p2);
            break;
        case kFade:
            Fade(Bytes(&out), 4, a, 4, 1, 1, c.p1);
            break;
        case kPreMult:
            PreMultAlpha(Bytes(&out), 4, a, 4, 1, 1);
            break;
        }
        EXPECT_EQ(c.want, out) << c.what;
    }
}

// An opaque strip of four lines with distinct colours, rolled over five rows.
TEST_F(WorkedExamples, Rolls)
{
    const Pel strip[4] = {0xFF102030u, 0xFF405060u, 0xFF708090u, 0xFFA0B0C0u};
    Pel out[5] = {};
    const auto subLine = [&](int start, int fraction, int strength, int fadeEnd, int fadeWidth) {
        RollBlastDataSubPix(Bytes(out), Bytes(strip), 1, 5, 4, 4, start, 1, fraction, 4, strength,
                            fadeEnd, fadeWidth, 5, 0);
        return Pels(out, out + 5);
    };

    // Fade factors 0, 64, 128, 192 ease to alpha scales 0, 112, 192, 240 of 256.
    RollCopyData(Bytes(out), Bytes(strip), 1, 5, 4, 4, 0, 1, 4, 4, 4, 5, 0);
    const Pel alphas[5] = {0, 111, 191, 239, 255};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ((strip[i % 4] & 0xFFFFFFu) | alphas[i] << 24, out[i]) << i;

    // No fraction and no blur give the lines themselves; half a line on, the
    // lower line is the centre and the channels are the mean.
    const Pels lines = subLine(1, 0, 0, 0, 0);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(strip[(1 + i) % 4], lines[i]);
    EXPECT_EQ(0xFF586878u, subLine(1, 128, 0, 0, 0)[0]);

    // Start lines a period or more either side give the same picture.
    const Pels at2 = subLine(2, 77, 50, 0, 0);
    for (int start : {6, -2, 2 - 4 * 7})
        EXPECT_EQ(at2, subLine(start, 77, 50, 0, 0)) << start;

    // A transparent top row zeroes the carried weights for every later row,
    // where the whole-line copy fades its top row only.
    EXPECT_EQ(Pels(5, 0), subLine(0, 0, 0, 1, 1));
    RollBlastDataSubPixNoFilter(Bytes(out), Bytes(strip), 1, 5, 4, 16, 0, 1, 0, 4, 1, 1, 5, 0);
    EXPECT_EQ(Pels(5, 0), Pels(out, out + 5));
    RollCopyData(Bytes(out), Bytes(strip), 1, 5, 4, 4, 0, 1, 4, 1, 1, 5, 0);
    EXPECT_EQ(strip[0] & 0xFFFFFFu, out[0]);
    EXPECT_EQ(strip[1], out[1]);
}

// One row of 40 pels from a strip of opaque greys with a period of 50.
class CrawlExamples : public WorkedExamples {
  protected:
    enum Kind { kWhole, kSubpix, kShaped };

    CrawlExamples() : strip(128)
    {
        for (u32 i = 0; i < strip.size(); ++i)
            strip[i] = 0xFF000000u | i * 0x010203u;
    }

    Pels Crawl(Kind kind, int position, int fraction, int leftEdge, int leftFade, int rightEdge,
               int rightFade, int width = 40)
    {
        Pels out(std::size_t(width), 0x12345678u);
        const int pitch = width * 4;
        if (kind == kWhole)
            CrawlBlit(Bytes(out.data()), pitch, Bytes(strip.data()), pitch, width, 1, position, 50,
                      leftEdge, leftFade, rightEdge, rightFade);
        else
            (kind == kSubpix ? SubpixCrawlBlit : ShapedSubpixCrawlBlit)(
                Bytes(out.data()), pitch, Bytes(strip.data()), pitch, width, 1, position, fraction,
                50, leftEdge, leftFade, rightEdge, rightFade);
        return out;
    }

    Pels strip;
};

TEST_F(CrawlExamples, PositionsEdgesFadesAndFractions)
{
    const Pels clear(40, 0u);
    for (Kind kind : {kWhole, kSubpix, kShaped}) {
        const Pels at3 = Crawl(kind, 3, 77, 10, 4, 30, 5);
        EXPECT_EQ(Crawl(kind, 50 + 3, 77, 10, 4, 30, 5), at3) << kind;
        EXPECT_EQ(Crawl(kind, 3 - 50, 77, 10, 4, 30, 5), at3) << kind;
        // A span beyond either side of the picture clears it.
        EXPECT_EQ(Crawl(kind, 3, 77, 45, 4, 60, 0), clear) << kind;
        EXPECT_EQ(Crawl(kind, 3, 77, -20, 0, -6, 5), clear) << kind;
    }

    // Fade-in over columns 6..9 at levels 0, 16320, 32640, 48960, then a plain copy.
    const Pels faded = Crawl(kWhole, 0, 0, 10, 4, 30, 5);
    const u32 alphas[] = {0, 62, 126, 190, 255};
    for (int x = 6; x <= 10; ++x) {
        EXPECT_EQ(faded[x] >> 24, alphas[x - 6]) << "column " << x;
        EXPECT_EQ(faded[x] & 0xFFFFFFu, strip[x] & 0xFFFFFFu);
    }
    EXPECT_EQ(faded[5], 0u);
    EXPECT_EQ(faded[30] >> 24, 254u); // the fade-out starts at 0xFF00: 255 * 255 / 256

    // The whole-width shortcut ignores the fades; one column short, it does not.
    const Pels whole = Crawl(kWhole, 5, 0, 0, 30, 39, 30);
    EXPECT_TRUE(std::equal(whole.begin(), whole.end(), strip.begin() + 5));
    EXPECT_EQ(Crawl(kWhole, 5, 0, 0, 30, 38, 30)[38] >> 24, 254u);

    // Crossed edges 20 and 10 both become 25: the fade-in covers 21..24, clear around it.
    const Pels crossed = Crawl(kWhole, 0, 0, 20, 4, 10, 0);
    EXPECT_EQ(crossed[20], 0u);
    EXPECT_EQ(crossed[21] >> 24, 0u);
    EXPECT_EQ(crossed[24] >> 24, 190u);
    EXPECT_EQ(crossed[25], 0u);

    // Fraction 0: the straight filter keeps the current pel, the shaped one takes the next.
    EXPECT_EQ(Crawl(kSubpix, 3, 0, 0, 0, 39, 0), Crawl(kWhole, 3, 0, 0, 0, 39, 0));
    const Pels shaped = Crawl(kShaped, 3, 0, 0, 0, 39, 0);
    EXPECT_TRUE(std::equal(shaped.begin(), shaped.end(), strip.begin() + 4));
}

} // namespace
