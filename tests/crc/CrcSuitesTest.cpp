// Seeded whole-operation suites for the layer operations and channel
// extraction: random sizes and clipped views on either side, which the
// per-operation models sample only sparsely. Case n seeds everything it does,
// its output is folded into a CRC-32, and the wrapping sum over all cases is
// checked against one recorded constant. The constants come from a build
// without vector kernels; every build must reproduce them. (Row routines,
// buffer operations, crawls and rolls are compared bit for bit with models on
// the same dispatch path by their own tests.)
//
// FLOWER_CRC_CASES=first[-last] prints each case's CRC and the range's sum, to
// bisect a difference between two builds.
#include "channel.h"
#include "florist.h"
#include "petal.h"
#include "seed.h"
#include "support/Crc32.h"
#include "support/Rng.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using support::Crc32;
using support::Rng;
using support::u32;

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
