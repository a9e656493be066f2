// Channels against models written from their definitions: clipping arithmetic,
// filling, tiling with a non-negative modulo, and extraction from layers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "channel.h"
#include "petal.h"
#include "support/Rng.h"

namespace {

using Bytes = std::vector<u8>;

Bytes Samples(const Channel* c)
{
    Bytes out;
    for (int y = 0; y < c->height; ++y)
        out.insert(out.end(), c->data + y * c->rowBytes, c->data + y * c->rowBytes + c->width);
    return out;
}

Channel* RandomChannel(int width, int height, support::Rng& rng)
{
    Channel* c = CreateChannel(width, height);
    for (int i = 0; i < width * height; ++i)
        c->data[i] = u8(rng.Next());
    return c;
}

// Views of random corners fill exactly their rectangle; views past the parent's
// edge are empty to every operation, and channels without data fail.
TEST(Channel, CreationAndClippedViews)
{
    EXPECT_EQ(CreateChannel(0, 5), nullptr);
    EXPECT_EQ(CreateChannel(5, -1), nullptr);
    EXPECT_EQ(CreateChannel(65536, 65536), nullptr); // 2^32 bytes
    EXPECT_EQ(CreateCompatibleChannel(0, 2, nullptr), nullptr);
    Channel* small = CreateChannel(3, 2);
    EXPECT_EQ(small->rowBytes, 3);
    EXPECT_EQ(Samples(small), Bytes(6, 0));
    u8 mine[4] = {1, 2, 3, 4};
    Channel* compatible = CreateCompatibleChannel(2, 2, mine); // never frees `mine`
    EXPECT_EQ(Samples(compatible), (Bytes{1, 2, 3, 4}));

    support::Rng rng(3);
    Channel* parent = RandomChannel(10, 10, rng);
    Channel* similar = CreateSimilarChannel(parent);
    EXPECT_EQ(Samples(similar), Bytes(100, 0));
    Channel* view = CreateClippedChannel(parent);
    ClipChannel(view, 5, 5, 1, 2);
    EXPECT_EQ(view->data, parent->data + 2 * 10 + 1);
    EXPECT_EQ(view->width * 100 + view->height * 10 + view->rowBytes, 4 * 100 + 3 * 10 + 10);
    for (int trial = 0; trial < 400; ++trial) {
        int x[2], y[2];
        for (int k = 0; k < 2; ++k)
            x[k] = int(rng.Below(30)) - 10, y[k] = int(rng.Below(30)) - 10;
        ClipChannel(view, x[0], y[0], x[1], y[1]);
        std::sort(x, x + 2);
        std::sort(y, y + 2);
        const int left = std::max(x[0], 0), top = std::max(y[0], 0);
        const int right = std::min(std::max(x[1], 0), 10), bottom = std::min(std::max(y[1], 0), 10);
        Bytes want = Samples(parent);
        for (int r = top; r < bottom; ++r)
            std::fill_n(want.begin() + r * 10 + left, std::max(right - left, 0), 0xA7);
        ASSERT_TRUE(FillChannel(view, 0x1A7));
        ASSERT_EQ(view->width * 100 + view->height, (right - left) * 100 + bottom - top);
        ASSERT_EQ(Samples(parent), want) << x[0] << "," << y[0] << " " << x[1] << "," << y[1];
    }

    ClipChannel(view, 12, 3, 15, 8);
    EXPECT_EQ(view->width, -2);
    const Bytes before = Samples(parent), smallBefore = Samples(small);
    Channel* noData = CreateCompatibleChannel(2, 2, nullptr);
    Marrow::StubLayer* layer = CreateLayer(4, 4);
    EXPECT_TRUE(FillChannel(view, 9) && GetChannel(view, layer, 3));
    TileChannel(view, small, 0, 0);
    TileChannel(small, view, 0, 0);
    EXPECT_EQ(Samples(small), smallBefore);
    EXPECT_EQ(Samples(parent), before);
    EXPECT_FALSE(FillChannel(noData, 0) || TileChannel(small, noData, 0, 0) ||
                 GetChannel(noData, layer, 0));
    DeleteLayer(layer);
    for (Channel* c : {noData, view, similar, parent, compatible, small})
        DeleteChannel(c);
}

TEST(Channel, TileRepeatsTheSourceFromItsOrigin)
{
    u8 pair[2] = {10, 20};
    Channel* source = CreateCompatibleChannel(2, 1, pair);
    Channel* row = CreateChannel(5, 1);
    ASSERT_TRUE(TileChannel(row, source, 1, 0));
    EXPECT_EQ(Samples(row), (Bytes{20, 10, 20, 10, 20}));
    DeleteChannel(row);
    DeleteChannel(source);

    support::Rng rng(11);
    Channel* parent = CreateChannel(40, 30);
    Channel* dst = CreateClippedChannel(parent); // rows narrower than their pitch
    const int offsets[] = {0, 1, -1, 7, -13, 1000003, INT_MIN, INT_MAX};
    const auto mod = [](long long a, int m) { return int(((a % m) + m) % m); };
    for (int trial = 0; trial < 200; ++trial) {
        Channel* src = RandomChannel(1 + int(rng.Below(9)), 1 + int(rng.Below(9)), rng);
        ClipChannel(dst, int(rng.Below(40)), int(rng.Below(30)), int(rng.Below(41)),
                    int(rng.Below(31)));
        const int x = trial < 64 ? offsets[trial % 8] : int(rng.Below(50)) - 25;
        const int y = trial < 64 ? offsets[trial / 8] : int(rng.Below(50)) - 25;
        ASSERT_EQ(TileChannel(dst, src, x, y), dst->width > 0 && dst->height > 0);
        Bytes want;
        for (int r = 0; r < dst->height; ++r)
            for (int c = 0; c < dst->width; ++c)
                want.push_back(src->data[mod(r - (long long)y, src->height) * src->width +
                                         mod(c - (long long)x, src->width)]);
        ASSERT_EQ(Samples(dst), want) << "trial " << trial;
        DeleteChannel(src);
    }
    DeleteChannel(dst);
    DeleteChannel(parent);
}

u8 ModelSample(Pel p, int which)
{
    const u32 b = p & 0xFF, g = (p >> 8) & 0xFF, r = (p >> 16) & 0xFF, a = p >> 24;
    const u32 luminance = b * 29 + g * 149 + r * 77;
    const u32 byChannel[] = {b, g, r, a, luminance * a / 65025, luminance / 255};
    return which >= 0 && which < 6 ? u8(byChannel[which]) : 0;
}

// Channels larger and smaller than the layer, in each direction; the layer
// filled whole and then through a clipped view.
TEST(Channel, GetChannelExtractsAndZeroesTheMargins)
{
    EXPECT_EQ(ModelSample(0xFFFFFFFFu, 5), 255); // the worked values
    EXPECT_EQ(ModelSample(0x80FFFFFFu, 4), 128);
    support::Rng rng(5);
    Marrow::StubLayer* layer = CreateLayer(9, 7);
    Marrow::StubLayer* view = CreateClippedLayer(layer);
    const LayerRegion clip{2, 1, 3, 3};
    ClipLayer(view, &clip);
    LayerAccess a{};
    ASSERT_TRUE(BeginAccessLayer(&a, layer));
    Pel* pels = reinterpret_cast<Pel*>(a.pixels);
    for (int i = 0; i < 63; ++i)
        pels[i] = rng.Pel() | (rng.Below(8) ? 0 : 0xFFFFFFu);
    EndAccessLayer(&a);
    bool (*const shortcuts[])(Channel*, Marrow::StubLayer*) = {GetBlueChannel, GetGreenChannel,
                                                               GetRedChannel, GetAlphaChannel};
    const int sizes[][2] = {{9, 7}, {4, 3}, {15, 11}, {4, 11}, {15, 2}};
    for (int which : {0, 1, 2, 3, 4, 5, -1, 6, 1 << 30})
        for (const auto& size : sizes) {
            Channel* c = CreateChannel(size[0], size[1]);
            FillChannel(c, 0xCC);
            ASSERT_TRUE(which >= 0 && which < 4 ? shortcuts[which](c, layer)
                                                : GetChannel(c, layer, which));
            Bytes want;
            for (int y = 0; y < c->height; ++y)
                for (int x = 0; x < c->width; ++x)
                    want.push_back(x < 9 && y < 7 ? ModelSample(pels[y * 9 + x], which) : 0);
            EXPECT_EQ(Samples(c), want) << which << " into " << size[0] << "x" << size[1];
            EXPECT_TRUE(GetChannel(c, nullptr, 0)); // leaves the channel alone
            EXPECT_EQ(Samples(c), want);
            DeleteChannel(c);
        }

    Channel* sized = CreateSizedChannel(layer);
    EXPECT_EQ(sized->width * 100 + sized->height, 9 * 100 + 7);
    EXPECT_TRUE(FillLayer(layer, 0x01020304u) && FillLayer(view, 0x80402010u));
    for (int i = 0; i < 63; ++i) {
        const int x = i % 9, y = i / 9;
        EXPECT_EQ(pels[i], x >= 2 && x < 5 && y >= 1 && y < 4 ? 0x80402010u : 0x01020304u) << i;
    }
    DeleteChannel(sized);
    DeleteLayer(view);
    DeleteLayer(layer);
}

} // namespace
