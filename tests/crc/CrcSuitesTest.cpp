// Seeded whole-operation suites. Case n seeds everything it does, its output
// is folded into a CRC-32, and the wrapping sum over all cases is checked
// against one recorded constant. The constants come from a build without
// vector kernels; every build must reproduce them, so a kernel that drifts by
// one bit anywhere in any operation shows here.
//
// FLOWER_CRC_CASES=first[-last] prints each case's CRC and the range's sum, to
// bisect a difference between two builds.
#include "PixelRoutinesLite.h"
#include "channel.h"
#include "florist.h"
#include "petal.h"
#include "seed.h"
#include "stem.h"
#include "support/Rng.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using support::Rng;
using support::u32;

u32 Crc32(const void* data, std::size_t bytes, u32 crc = 0)
{
    const auto* p = static_cast<const unsigned char*>(data);
    crc = ~crc;
    for (std::size_t i = 0; i < bytes; ++i) {
        crc ^= p[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// Pels as titles have them half the time: runs of one alpha (clear gaps,
// opaque stems) with short ramps between; seeded pels otherwise.
std::vector<u32> Pels(Rng& rng, std::size_t count)
{
    std::vector<u32> pels(count);
    const bool runs = rng.Below(2) == 0;
    u32 alpha = 0;
    for (u32& p : pels) {
        if (!runs)
            p = rng.Pel();
        else {
            if (rng.Below(12) == 0)
                alpha = rng.Pick({0, 255}, 0, 255);
            p = u32(alpha) << 24 | (rng.Next() & 0xFFFFFF);
        }
    }
    return pels;
}

// Every draw from the generator is a statement of its own: compilers order
// the arguments of a call differently, and the sums must not differ.

// Widths grow with the case number, so early cases are short and quick to
// read, later ones cover vector bodies of any length.
int Width(Rng& rng, u32 n)
{
    return 1 + int(rng.Below(std::min(24u + n / 4, 700u)));
}

// A block of rows in its own memory with a pitch of either sign.
struct Block {
    std::vector<u32> pels;
    int width = 0, height = 0, stride = 0; // stride in pels, may be negative
    Block(Rng& rng, int w, int h, int slack) : width(w), height(h)
    {
        const int span = w + slack;
        pels = Pels(rng, std::size_t(span) * std::size_t(h) + 2);
        stride = rng.Below(4) == 0 ? -span : span;
    }
    char* Origin()
    {
        const std::size_t first = stride < 0 ? std::size_t(-stride) * std::size_t(height - 1) : 0;
        return reinterpret_cast<char*>(pels.data() + first);
    }
    int Pitch() const { return stride * 4; }
    u32 Crc() const { return Crc32(pels.data(), pels.size() * 4); }
};

// --- Row routines of the scanline table -------------------------------------

u32 StemRowCase(u32 n)
{
    Rng rng(n);
    const int count = Width(rng, n);
    std::vector<u32> d = Pels(rng, std::size_t(count)), a = Pels(rng, std::size_t(count)),
                     b = Pels(rng, std::size_t(count));
    const u32 colour = rng.Pel();
    const auto level = static_cast<unsigned char>(rng.Pick({0, 255}, 0, 255));
    const auto level2 = static_cast<unsigned char>(rng.Pick({0, 255}, 0, 255));
    const auto level3 = static_cast<unsigned char>(rng.Pick({0, 255}, 0, 255));
    u32* dst = d.data();
    const u32* s1 = rng.Below(4) == 0 ? dst : a.data();
    const u32* s2 = b.data();
    switch (n % 23) {
    case 0:
        GetSetScanline()(dst, count, colour);
        break;
    case 1:
        GetSetAlphaScanline()(dst, count, level);
        break;
    case 2:
        GetSetRedScanline()(dst, count, level);
        break;
    case 3:
        GetSetGreenScanline()(dst, count, level);
        break;
    case 4:
        GetSetBlueScanline()(dst, count, level);
        break;
    case 5:
        GetFadeScanline()(dst, count, level);
        break;
    case 6:
        GetFadeCopyScanline()(dst, s1, count, level);
        break;
    case 7:
        GetAddScanline()(dst, s1, s2, count);
        break;
    case 8:
        GetBlendScanline()(dst, s1, s2, count, level);
        break;
    case 9:
        GetMaxScanline()(dst, s1, s2, count);
        break;
    case 10:
        GetCompositScanline()(dst, s1, s2, count);
        break;
    case 11:
        GetCompositOnOpaqueScanline()(dst, s1, s2, count);
        break;
    case 12:
        GetCompositOnColourScanline()(dst, s1, count, colour);
        break;
    case 13:
        GetCompositColourOnScanline()(dst, s1, count, colour);
        break;
    case 14:
        GetCompositColourOnOpaqueScanline()(dst, s1, count, colour);
        break;
    case 15:
        GetCompositWithTopOpacityScanline()(dst, s1, s2, count, level);
        break;
    case 16:
        GetCompositWithBottomOpacityScanline()(dst, s1, s2, count, level);
        break;
    case 17:
        GetCompositWithOpacityScanline()(dst, s1, s2, count, level, level2);
        break;
    case 18:
        GetCompositThreeScanlines()(dst, s1, s2, a.data(), count);
        break;
    case 19:
        GetCompositThreeScanlinesWithTopOpacity()(dst, s1, s2, a.data(), count, level);
        break;
    case 20:
        GetCompositThreeScanlinesWithMiddleOpacity()(dst, s1, s2, a.data(), count, level);
        break;
    case 21:
        GetCompositThreeScanlinesWithBottomOpacity()(dst, s1, s2, a.data(), count, level);
        break;
    default:
        GetCompositThreeScanlinesWithOpacity()(dst, s1, s2, a.data(), count, level, level2, level3);
        break;
    }
    return Crc32(d.data(), d.size() * 4);
}

// --- Buffer operations --------------------------------------------------------

u32 BufferOpCase(u32 n)
{
    Rng rng(n);
    const int w = Width(rng, n), h = 1 + int(rng.Below(6));
    Block dst(rng, w, h, int(rng.Below(3))), a(rng, w, h, int(rng.Below(3))),
        b(rng, w, h, int(rng.Below(3)));
    // In place half the time: the destination is also the bottom / first source.
    const bool inPlace = rng.Below(2) == 0;
    char* src1 = inPlace ? dst.Origin() : a.Origin();
    const int pitch1 = inPlace ? dst.Pitch() : a.Pitch();
    const int w1 = rng.Pick({0, 255, 256}, -300, 300), w2 = rng.Pick({0, 255, 256}, -300, 300);
    const int level = rng.Pick({0, 255, 256}, 0, 256);
    const int bottomOpacity = rng.Pick({255, 0}, 0, 255);
    const int topOpacity = rng.Pick({255, 0}, 0, 255);
    switch (n % 8) {
    case 0:
        Blit(dst.Origin(), dst.Pitch(), a.Origin(), a.Pitch(), w, h);
        break;
    case 1:
        BlitColour(dst.Origin(), dst.Pitch(), w, h, int(rng.Pel()));
        break;
    case 2:
        Composit(dst.Origin(), dst.Pitch(), src1, pitch1, b.Origin(), b.Pitch(), w, h);
        break;
    case 3:
        CompositWithOpacity(dst.Origin(), dst.Pitch(), src1, pitch1, b.Origin(), b.Pitch(), w, h,
                            bottomOpacity, topOpacity);
        break;
    case 4:
        CrossFade(dst.Origin(), dst.Pitch(), src1, pitch1, b.Origin(), b.Pitch(), w, h, w1, w2);
        break;
    case 5:
        ShapedCrossFade(dst.Origin(), dst.Pitch(), src1, pitch1, b.Origin(), b.Pitch(), w, h, w1,
                        w2);
        break;
    case 6:
        Fade(dst.Origin(), dst.Pitch(), src1, pitch1, w, h, level);
        break;
    default:
        PreMultAlpha(dst.Origin(), dst.Pitch(), src1, pitch1, w, h);
        break;
    }
    return dst.Crc();
}

// --- Crawls and rolls ---------------------------------------------------------

u32 CrawlCase(u32 n)
{
    Rng rng(n);
    const int w = Width(rng, n), h = 1 + int(rng.Below(4));
    const int period = 1 + int(rng.Below(40));
    Block src(rng, period + w + 1, h, 0), dst(rng, w, h, int(rng.Below(3)));
    const int position = rng.Pick({0, period, -period, 3 * period + 1}, -200, 200);
    const int fraction = rng.Pick({0, 128, 256}, 0, 256);
    const int leftEdge = rng.Pick({0, w, w / 3}, -20, w + 20);
    const int rightEdge = rng.Pick({w - 1, w - 2, 2 * w / 3}, -20, w + 20);
    const int leftFade = rng.Pick({0, 4}, -3, 40), rightFade = rng.Pick({0, 4}, -3, 40);
    switch (n % 3) {
    case 0:
        CrawlBlit(dst.Origin(), dst.Pitch(), src.Origin(), src.Pitch(), w, h, position, period,
                  leftEdge, leftFade, rightEdge, rightFade);
        break;
    case 1:
        SubpixCrawlBlit(dst.Origin(), dst.Pitch(), src.Origin(), src.Pitch(), w, h, position,
                        fraction, period, leftEdge, leftFade, rightEdge, rightFade);
        break;
    default:
        ShapedSubpixCrawlBlit(dst.Origin(), dst.Pitch(), src.Origin(), src.Pitch(), w, h, position,
                              fraction, period, leftEdge, leftFade, rightEdge, rightFade);
        break;
    }
    return dst.Crc();
}

u32 RollCase(u32 n)
{
    Rng rng(n);
    const int w = Width(rng, n), h = 1 + int(rng.Below(24));
    const int period = 1 + int(rng.Below(16));
    // The no-filter roll reads line offsets as (line * pitch) / 4, so its strip
    // is read with four times the byte pitch.
    const bool quarterPitch = n % 3 == 2;
    Block src(rng, w, period + 1, 0), dst(rng, w, h, int(rng.Below(3)));
    src.stride = std::abs(src.stride);
    const int srcPitch = quarterPitch ? src.Pitch() * 4 : src.Pitch();
    const int startLine = rng.Pick({0, period + 2, 2 - period}, -50, 50);
    const int lineStep = int(rng.Below(3));
    const int fraction = rng.Pick({0, 128}, 0, 255), strength = rng.Pick({0, 128}, 0, 128);
    const int topEnd = rng.Pick({0, 4}, -2, h), topWidth = rng.Pick({0, 4}, 1, 12);
    const int bottomStart = rng.Pick({h, h - 4}, 0, h + 2), bottomWidth = rng.Pick({4}, 1, 12);
    switch (n % 3) {
    case 0:
        RollCopyData(dst.Origin(), src.Origin(), w, h, dst.Pitch(), srcPitch, startLine, lineStep,
                     period, topEnd, topWidth, bottomStart, bottomWidth);
        break;
    case 1:
        RollBlastDataSubPix(dst.Origin(), src.Origin(), w, h, dst.Pitch(), srcPitch, startLine,
                            lineStep, fraction, period, strength, topEnd, topWidth, bottomStart,
                            bottomWidth);
        break;
    default:
        RollBlastDataSubPixNoFilter(dst.Origin(), src.Origin(), w, h, dst.Pitch(), srcPitch,
                                    startLine, lineStep, fraction, period, topEnd, topWidth,
                                    bottomStart, bottomWidth);
        break;
    }
    return dst.Crc();
}

// --- Layer operations, backgrounds and channels ---------------------------------

struct LayerRef {
    Marrow::StubLayer* layer;
    explicit LayerRef(Marrow::StubLayer* l) : layer(l) {}
    LayerRef(const LayerRef&) = delete;
    LayerRef& operator=(const LayerRef&) = delete;
    ~LayerRef() { DeleteLayer(layer); }
};

Marrow::StubLayer* SeededLayer(Rng& rng, int w, int h)
{
    Marrow::StubLayer* layer = CreateLayerRaw(w, h);
    LayerAccess access;
    if (layer != nullptr && BeginAccessLayer(&access, layer)) {
        for (int y = 0; y < h; ++y) {
            const std::vector<u32> row = Pels(rng, std::size_t(w));
            std::memcpy(access.pixels + std::ptrdiff_t(y) * access.rowBytes, row.data(),
                        row.size() * 4);
        }
        EndAccessLayer(&access);
    }
    return layer;
}

// A quarter of the time a clipped view of a larger parent stands in.
Marrow::StubLayer* MaybeClipped(Rng& rng, Marrow::StubLayer* parent)
{
    if (rng.Below(4) != 0)
        return AddRefCountLayer(parent);
    Marrow::StubLayer* view = CreateClippedLayer(parent);
    const LayerRegion clip = {int(rng.Below(5)), int(rng.Below(5)),
                              GetLayerWidth(parent) - int(rng.Below(8)),
                              GetLayerHeight(parent) - int(rng.Below(8))};
    ClipLayer(view, &clip);
    return view;
}

u32 LayerCrc(Marrow::StubLayer* layer)
{
    LayerAccess access;
    if (!BeginAccessLayer(&access, layer))
        return 0;
    u32 crc = 0;
    for (int y = 0; y < access.region.height; ++y)
        crc = Crc32(access.pixels + std::ptrdiff_t(y) * access.rowBytes,
                    std::size_t(access.region.width) * 4, crc);
    EndAccessLayer(&access);
    return crc;
}

u32 LayerOpCase(u32 n)
{
    Rng rng(n);
    const int w = 1 + int(rng.Below(std::min(8u + n / 8, 200u)));
    const int h = 1 + int(rng.Below(std::min(8u + n / 8, 120u)));
    LayerRef dstParent(SeededLayer(rng, w + 8, h + 8));
    const int srcWidth = 1 + int(rng.Below(u32(w + 20)));
    const int srcHeight = 1 + int(rng.Below(u32(h + 20)));
    LayerRef srcParent(SeededLayer(rng, srcWidth, srcHeight));
    LayerRef odd(SeededLayer(rng, w, 1 + int(rng.Below(u32(h + 4)))));
    LayerRef dst(MaybeClipped(rng, dstParent.layer));
    LayerRef src(MaybeClipped(rng, srcParent.layer));
    const int shift = rng.Pick({0, 1, -1}, -w, w);
    switch (n % 10) {
    case 0:
        ResizeLayer(dst.layer, src.layer, false);
        break;
    case 1:
        BackgroundLayer(dst.layer, src.layer, nullptr, false);
        break;
    case 2:
        BackgroundLayer(dst.layer, nullptr, GetStockLayer(rng.Below(9)), false);
        break;
    case 3:
        CenterLayer(dst.layer, src.layer, false);
        break;
    case 4:
        HorizontalFlipLayer(dst.layer, false);
        break;
    case 5:
        VerticalFlipLayer(dst.layer, false);
        break;
    case 6:
        HorizontalShiftLayer(dst.layer, shift, false);
        break;
    case 7:
        VerticalShiftLayer(dst.layer, shift, false);
        break;
    case 8:
        TileLayer(dst.layer, src.layer, shift, -shift, false);
        break;
    default:
        if (rng.Below(2))
            InterlaceFrameLayers(dst.layer, src.layer, odd.layer, false);
        else
            InterlaceFieldLayers(dst.layer, src.layer, odd.layer, false);
        break;
    }
    return LayerCrc(dstParent.layer);
}

u32 ChannelCase(u32 n)
{
    Rng rng(n);
    const int w = 1 + int(rng.Below(std::min(8u + n / 4, 300u))), h = 1 + int(rng.Below(16));
    LayerRef parent(SeededLayer(rng, w + 4, h + 4));
    LayerRef layer(MaybeClipped(rng, parent.layer));
    const int channelWidth = w + int(rng.Below(4));
    const int channelHeight = h + int(rng.Below(4));
    Channel* channel = CreateChannel(channelWidth, channelHeight);
    GetChannel(channel, layer.layer, int(n % 7));
    const u32 crc =
        Crc32(channel->data, std::size_t(channel->rowBytes) * std::size_t(channel->height));
    DeleteChannel(channel);
    return crc;
}

// The recorded sum of each suite over cases 1..cases.
struct Suite {
    const char* name;
    u32 cases;
    u32 (*run)(u32 n);
    u32 recorded;
};

const Suite kSuites[] = {
    {"StemRows", 30000, StemRowCase, 0x2b6c131bu},
    {"BufferOperations", 15000, BufferOpCase, 0x21017599u},
    {"Crawls", 10000, CrawlCase, 0x1f7253b4u},
    {"Rolls", 6000, RollCase, 0x313e95f5u},
    {"LayerOperations", 4000, LayerOpCase, 0x29b77541u},
    {"Channels", 6000, ChannelCase, 0x9b36b181u},
};

u32 SumOfCases(const Suite& suite, u32 first, u32 last, bool verbose)
{
    u32 sum = 0;
    for (u32 n = first; n <= last; ++n) {
        const u32 crc = suite.run(n);
        if (verbose)
            std::printf("%s case %u: %08x\n", suite.name, n, crc);
        sum += crc;
    }
    return sum;
}

class CrcSuites : public ::testing::TestWithParam<Suite> {};

TEST_P(CrcSuites, SumMatchesTheRecordedOne)
{
    ASSERT_TRUE(FlowerInit());
    const Suite& suite = GetParam();
    if (const char* range = std::getenv("FLOWER_CRC_CASES")) {
        unsigned first = 1, last = 0;
        const int fields = std::sscanf(range, "%u-%u", &first, &last);
        const u32 sum = SumOfCases(suite, first, fields == 2 ? last : first, true);
        std::printf("%s sum: %08x\n", suite.name, sum);
        return;
    }
    const u32 sum = SumOfCases(suite, 1, suite.cases, false);
    EXPECT_EQ(sum, suite.recorded) << suite.name << ": sum " << std::hex << sum;
}

// Each suite is a test of its own, so CTest runs them side by side.
INSTANTIATE_TEST_SUITE_P(Suites, CrcSuites, ::testing::ValuesIn(kSuites),
                         [](const auto& suite) { return std::string(suite.param.name); });

} // namespace
