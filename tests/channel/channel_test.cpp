// Channels against models written from their definitions: clipping arithmetic,
// filling, tiling with a non-negative modulo, and extraction from layers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "channel.h"
#include "petal.h"

namespace {

using Bytes = std::vector<u8>;

Bytes Samples(const Channel* c)
{
    Bytes out;
    for (int y = 0; y < c->height; ++y)
        out.insert(out.end(), c->data + y * c->rowBytes, c->data + y * c->rowBytes + c->width);
    return out;
}

void Randomise(Channel* c, std::mt19937& rng)
{
    for (int i = 0; i < c->width * c->height; ++i)
        c->data[i] = u8(rng());
}

int Mod(long long a, int m)
{
    return int(((a % m) + m) % m);
}

TEST(Channel, CreationRefusesEmptyAndOverflowingSizes)
{
    EXPECT_EQ(CreateChannel(0, 5), nullptr);
    EXPECT_EQ(CreateChannel(5, -1), nullptr);
    EXPECT_EQ(CreateChannel(65536, 65536), nullptr); // 2^32 bytes
    EXPECT_EQ(CreateCompatibleChannel(0, 2, nullptr), nullptr);
    EXPECT_EQ(CreateSimilarChannel(nullptr), nullptr);
    EXPECT_EQ(CreateClippedChannel(nullptr), nullptr);
    Channel* c = CreateChannel(3, 2);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->rowBytes, 3);
    EXPECT_EQ(Samples(c), Bytes(6, 0));
    Channel* similar = CreateSimilarChannel(c);
    EXPECT_EQ(Samples(similar), Bytes(6, 0));
    u8 mine[4] = {1, 2, 3, 4};
    Channel* compatible = CreateCompatibleChannel(2, 2, mine);
    EXPECT_EQ(Samples(compatible), (Bytes{1, 2, 3, 4}));
    DeleteChannel(compatible); // leaves `mine` alone (ASan would tell)
    DeleteChannel(similar);
    DeleteChannel(c);
    DeleteChannel(nullptr);
}

TEST(Channel, ClippedViewsCoverExactlyTheirRectangle)
{
    Channel* parent = CreateChannel(10, 10);
    Channel* view = CreateClippedChannel(parent);
    ClipChannel(view, 5, 5, 1, 2);
    EXPECT_EQ(view->data, parent->data + 2 * 10 + 1);
    EXPECT_EQ(view->width, 4);
    EXPECT_EQ(view->height, 3);
    EXPECT_EQ(view->rowBytes, 10);

    std::mt19937 rng(3);
    for (int trial = 0; trial < 400; ++trial) {
        int x1 = int(rng() % 30) - 10, y1 = int(rng() % 30) - 10;
        int x2 = int(rng() % 30) - 10, y2 = int(rng() % 30) - 10;
        ClipChannel(view, x1, y1, x2, y2);
        if (x2 < x1)
            std::swap(x1, x2);
        if (y2 < y1)
            std::swap(y1, y2);
        const int left = std::max(x1, 0), top = std::max(y1, 0);
        const int width = std::min(std::max(x2, 0), 10) - left;
        const int height = std::min(std::max(y2, 0), 10) - top;
        ASSERT_EQ(view->width, width);
        ASSERT_EQ(view->height, height);

        Randomise(parent, rng);
        Bytes want = Samples(parent);
        ASSERT_TRUE(FillChannel(view, 0x1A7));
        for (int y = top; y < top + height; ++y)
            for (int x = left; x < left + width; ++x)
                want[y * 10 + x] = 0xA7;
        ASSERT_EQ(Samples(parent), want) << x1 << "," << y1 << " " << x2 << "," << y2;
    }

    // A view past the parent's edge is empty to every operation.
    ClipChannel(view, 12, 3, 15, 8);
    EXPECT_EQ(view->width, -2);
    const Bytes before = Samples(parent);
    Channel* other = CreateChannel(2, 2);
    Marrow::StubLayer* layer = CreateLayer(4, 4);
    EXPECT_TRUE(FillChannel(view, 9));
    EXPECT_FALSE(TileChannel(view, other, 0, 0));
    EXPECT_FALSE(TileChannel(other, view, 0, 0));
    EXPECT_TRUE(GetChannel(view, layer, 3));
    EXPECT_EQ(Samples(parent), before);

    Channel* noData = CreateCompatibleChannel(2, 2, nullptr);
    EXPECT_FALSE(FillChannel(noData, 0));
    EXPECT_FALSE(TileChannel(other, noData, 0, 0));
    EXPECT_FALSE(GetChannel(noData, layer, 0));
    EXPECT_FALSE(GetChannel(nullptr, layer, 0));
    DeleteLayer(layer);
    DeleteChannel(noData);
    DeleteChannel(other);
    DeleteChannel(view);
    DeleteChannel(parent);
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

    std::mt19937 rng(11);
    Channel* parent = CreateChannel(40, 30);
    Channel* dst = CreateClippedChannel(parent); // rows narrower than their pitch
    const int offsets[] = {0, 1, -1, 7, -13, 1000003, INT_MIN, INT_MAX};
    for (int trial = 0; trial < 200; ++trial) {
        Channel* src = CreateChannel(1 + int(rng() % 9), 1 + int(rng() % 9));
        Randomise(src, rng);
        ClipChannel(dst, int(rng() % 40), int(rng() % 30), int(rng() % 41), int(rng() % 31));
        const int x = trial < 64 ? offsets[trial % 8] : int(rng() % 50) - 25;
        const int y = trial < 64 ? offsets[trial / 8] : int(rng() % 50) - 25;
        const bool empty = dst->width < 1 || dst->height < 1;
        ASSERT_EQ(TileChannel(dst, src, x, y), !empty);
        Bytes want;
        for (int r = 0; r < dst->height; ++r)
            for (int c = 0; c < dst->width; ++c)
                want.push_back(src->data[Mod((long long)r - y, src->height) * src->width +
                                         Mod((long long)c - x, src->width)]);
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

TEST(Channel, GetChannelExtractsAndZeroesTheMargins)
{
    std::mt19937 rng(5);
    Marrow::StubLayer* layer = CreateLayer(9, 7);
    LayerAccess a{};
    ASSERT_TRUE(BeginAccessLayer(&a, layer));
    std::vector<Pel> pels;
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x) {
            Pel p = rng() | (rng() % 4 ? 0 : 0xFF000000u) | (rng() % 8 ? 0 : 0xFFFFFFu);
            if (y == 0 && x < 2) // white, opaque and half covered
                p = x == 0 ? 0xFFFFFFFFu : 0x80FFFFFFu;
            reinterpret_cast<Pel*>(a.pixels + y * a.rowBytes)[x] = p;
            pels.push_back(p);
        }
    EndAccessLayer(&a);
    const int sizes[][2] = {{9, 7}, {4, 3}, {15, 11}, {4, 11}, {15, 2}};
    for (int which : {0, 1, 2, 3, 4, 5, -1, 6, 1 << 30})
        for (const auto& size : sizes) {
            Channel* c = CreateChannel(size[0], size[1]);
            FillChannel(c, 0xCC);
            ASSERT_TRUE(GetChannel(c, layer, which));
            Bytes want;
            for (int y = 0; y < c->height; ++y)
                for (int x = 0; x < c->width; ++x)
                    want.push_back(x < 9 && y < 7 ? ModelSample(pels[y * 9 + x], which) : 0);
            EXPECT_EQ(Samples(c), want) << which << " into " << size[0] << "x" << size[1];
            // Without a layer the channel is left alone and the call still succeeds.
            EXPECT_TRUE(GetChannel(c, nullptr, 0));
            EXPECT_EQ(Samples(c), want);
            DeleteChannel(c);
        }
    DeleteLayer(layer);

    // The model agrees with the worked values: 255 for opaque white's luminance,
    // 128 for the covered luminance of white at alpha 128.
    EXPECT_EQ(ModelSample(pels[0], 5), 255);
    EXPECT_EQ(ModelSample(pels[1], 4), 128);
}

TEST(Channel, LayerSizedChannelsAndFillLayer)
{
    Marrow::StubLayer* layer = CreateLayer(7, 5);
    Channel* c = CreateSizedChannel(layer);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->width, 7);
    EXPECT_EQ(c->height, 5);
    EXPECT_EQ(CreateSizedChannel(nullptr), nullptr);

    // A clipped view's fill stays inside its rectangle; the shortcuts read the bytes.
    Marrow::StubLayer* view = CreateClippedLayer(layer);
    const LayerRegion clip{2, 1, 3, 3};
    ASSERT_TRUE(ClipLayer(view, &clip));
    EXPECT_TRUE(FillLayer(layer, 0x01020304u));
    EXPECT_TRUE(FillLayer(view, 0x80402010u));
    EXPECT_FALSE(FillLayer(nullptr, 0));
    bool (*const shortcuts[])(Channel*, Marrow::StubLayer*) = {GetBlueChannel, GetGreenChannel,
                                                               GetRedChannel, GetAlphaChannel};
    const u8 outside[] = {0x04, 0x03, 0x02, 0x01}, inside[] = {0x10, 0x20, 0x40, 0x80};
    for (int which = 0; which < 4; ++which) {
        ASSERT_TRUE(shortcuts[which](c, layer));
        for (int i = 0; i < 35; ++i) {
            const int x = i % 7, y = i / 7;
            const bool in = x >= 2 && x < 5 && y >= 1 && y < 4;
            EXPECT_EQ(c->data[i], in ? inside[which] : outside[which]) << which << " at " << i;
        }
    }
    DeleteLayer(view);
    DeleteChannel(c);
    DeleteLayer(layer);
}

} // namespace
