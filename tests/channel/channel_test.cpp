// Channels against models written from their definitions: clipping arithmetic,
// filling, tiling with non-negative modulo, and extraction from layers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
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
        for (int x = 0; x < c->width; ++x)
            out.push_back(c->data[y * c->rowBytes + x]);
    return out;
}

void Randomise(Channel* c, std::mt19937& rng)
{
    for (int i = 0; i < c->width * c->height; ++i)
        c->data[i] = u8(rng());
}

TEST(Channel, CreationFamily)
{
    EXPECT_EQ(CreateChannel(0, 5), nullptr);
    EXPECT_EQ(CreateChannel(5, -1), nullptr);
    EXPECT_EQ(CreateChannel(65536, 65536), nullptr); // the byte count does not fit
    Channel* c = CreateChannel(3, 2);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->rowBytes, 3);
    EXPECT_EQ(c->parent, nullptr);
    EXPECT_TRUE(c->ownsData);
    EXPECT_EQ(Samples(c), Bytes(6, 0));

    Channel* similar = CreateSimilarChannel(c);
    ASSERT_NE(similar, nullptr);
    EXPECT_EQ(similar->width, 3);
    EXPECT_EQ(similar->height, 2);
    EXPECT_NE(similar->data, c->data);
    EXPECT_EQ(CreateSimilarChannel(nullptr), nullptr);

    u8 mine[4] = {1, 2, 3, 4};
    Channel* compatible = CreateCompatibleChannel(2, 2, mine);
    ASSERT_NE(compatible, nullptr);
    EXPECT_EQ(compatible->data, mine);
    EXPECT_FALSE(compatible->ownsData);
    EXPECT_EQ(Samples(compatible), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(CreateCompatibleChannel(0, 2, mine), nullptr);

    Channel* clipped = CreateClippedChannel(c);
    ASSERT_NE(clipped, nullptr);
    EXPECT_EQ(clipped->data, c->data);
    EXPECT_EQ(clipped->parent, c);
    EXPECT_FALSE(clipped->ownsData);
    EXPECT_EQ(CreateClippedChannel(nullptr), nullptr);

    DeleteChannel(clipped);
    DeleteChannel(compatible); // must not free `mine`
    DeleteChannel(similar);
    DeleteChannel(c);
    DeleteChannel(nullptr);
}

// The view ClipChannel must give, written from its definition.
struct View {
    int left, top, width, height;
};
View ExpectedView(const Channel& parent, int x1, int y1, int x2, int y2)
{
    const int lx = std::min(x1, x2), hx = std::max(x1, x2);
    const int ly = std::min(y1, y2), hy = std::max(y1, y2);
    const int left = std::max(lx, 0), top = std::max(ly, 0);
    const int right = std::min(std::max(hx, 0), parent.width);
    const int bottom = std::min(std::max(hy, 0), parent.height);
    return {left, top, right - left, bottom - top};
}

TEST(Channel, ClippedViewsFillOnlyTheirRectangle)
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
        const int x1 = int(rng() % 30) - 10, y1 = int(rng() % 30) - 10;
        const int x2 = int(rng() % 30) - 10, y2 = int(rng() % 30) - 10;
        Randomise(parent, rng);
        const Bytes before = Samples(parent);
        ClipChannel(view, x1, y1, x2, y2);
        const View v = ExpectedView(*parent, x1, y1, x2, y2);
        ASSERT_EQ(view->width, v.width);
        ASSERT_EQ(view->height, v.height);
        ASSERT_TRUE(FillChannel(view, 0x1A7));
        Bytes want = before;
        for (int y = v.top; y < v.top + v.height; ++y)
            for (int x = v.left; x < v.left + v.width; ++x)
                want[y * 10 + x] = 0xA7;
        ASSERT_EQ(Samples(parent), want) << x1 << "," << y1 << " " << x2 << "," << y2;
        if (v.width >= 1 && v.height >= 1) {
            ASSERT_EQ(view->data, parent->data + v.top * 10 + v.left);
        }
    }

    // A view beyond the parent is empty to every operation.
    ClipChannel(view, 12, 3, 15, 8);
    EXPECT_EQ(view->width, -2);
    const Bytes before = Samples(parent);
    Channel* source = CreateChannel(2, 2);
    EXPECT_TRUE(FillChannel(view, 9));
    EXPECT_FALSE(TileChannel(view, source, 0, 0));
    EXPECT_FALSE(TileChannel(source, view, 0, 0));
    Marrow::StubLayer* layer = CreateLayer(4, 4);
    EXPECT_TRUE(GetChannel(view, layer, 3));
    EXPECT_EQ(Samples(parent), before);

    Channel orphan = *parent; // no parent: ClipChannel ignores it
    ClipChannel(&orphan, 1, 1, 2, 2);
    EXPECT_EQ(orphan.width, 10);
    ClipChannel(nullptr, 0, 0, 1, 1);
    EXPECT_FALSE(FillChannel(nullptr, 0));
    Channel* noData = CreateCompatibleChannel(2, 2, nullptr);
    EXPECT_FALSE(FillChannel(noData, 0));
    EXPECT_FALSE(TileChannel(noData, source, 0, 0));
    EXPECT_FALSE(GetChannel(noData, layer, 0));

    DeleteLayer(layer);
    DeleteChannel(noData);
    DeleteChannel(source);
    DeleteChannel(view);
    DeleteChannel(parent);
}

int Mod(long long a, int m)
{
    long long r = a % m;
    return int(r < 0 ? r + m : r);
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
    Channel* dst = CreateClippedChannel(parent);
    const int offsets[] = {0, 1, -1, 7, -13, 1000003, INT_MIN, INT_MAX};
    for (int trial = 0; trial < 200; ++trial) {
        Channel* src = CreateChannel(1 + int(rng() % 9), 1 + int(rng() % 9));
        Randomise(src, rng);
        ClipChannel(dst, int(rng() % 40), int(rng() % 30), int(rng() % 41), int(rng() % 31));
        const int x = trial < 64 ? offsets[trial % 8] : int(rng() % 50) - 25;
        const int y = trial < 64 ? offsets[trial / 8] : int(rng() % 50) - 25;
        const bool empty = dst->width < 1 || dst->height < 1;
        ASSERT_EQ(TileChannel(dst, src, x, y), !empty);
        if (!empty) {
            Bytes want;
            for (int r = 0; r < dst->height; ++r)
                for (int c = 0; c < dst->width; ++c)
                    want.push_back(src->data[Mod((long long)r - y, src->height) * src->width +
                                             Mod((long long)c - x, src->width)]);
            ASSERT_EQ(Samples(dst), want) << "trial " << trial;
        }
        DeleteChannel(src);
    }
    DeleteChannel(dst);
    DeleteChannel(parent);
}

// A layer of random Pels; returns them row-major.
std::vector<Pel> FillRandom(Marrow::StubLayer* layer, std::mt19937& rng)
{
    LayerAccess a{};
    EXPECT_TRUE(BeginAccessLayer(&a, layer));
    std::vector<Pel> pels;
    for (int y = 0; y < a.region.height; ++y)
        for (int x = 0; x < a.region.width; ++x) {
            Pel p = rng();
            if (rng() % 4 == 0)
                p |= 0xFF000000u; // some opaque, some white
            if (rng() % 8 == 0)
                p |= 0x00FFFFFFu;
            reinterpret_cast<Pel*>(a.pixels + y * a.rowBytes)[x] = p;
            pels.push_back(p);
        }
    EndAccessLayer(&a);
    return pels;
}

u8 ModelSample(Pel p, int which)
{
    const u32 b = p & 0xFF, g = (p >> 8) & 0xFF, r = (p >> 16) & 0xFF, a = p >> 24;
    switch (which) {
    case 0:
        return u8(b);
    case 1:
        return u8(g);
    case 2:
        return u8(r);
    case 3:
        return u8(a);
    case 4:
        return u8((b * 29 + g * 149 + r * 77) * a / 65025);
    case 5:
        return u8((b * 29 + g * 149 + r * 77) / 255);
    default:
        return 0;
    }
}

TEST(Channel, GetChannelExtractsAndZeroesTheMargins)
{
    std::mt19937 rng(5);
    Marrow::StubLayer* layer = CreateLayer(9, 7);
    const std::vector<Pel> pels = FillRandom(layer, rng);
    const int sizes[][2] = {{9, 7}, {4, 3}, {15, 11}, {4, 11}, {15, 2}, {1, 1}};
    for (int which : {0, 1, 2, 3, 4, 5, -1, 6, 1 << 30}) {
        for (const auto& size : sizes) {
            Channel* c = CreateChannel(size[0], size[1]);
            FillChannel(c, 0xCC);
            ASSERT_TRUE(GetChannel(c, layer, which));
            Bytes want;
            for (int y = 0; y < c->height; ++y)
                for (int x = 0; x < c->width; ++x)
                    want.push_back(x < 9 && y < 7 ? ModelSample(pels[y * 9 + x], which) : 0);
            EXPECT_EQ(Samples(c), want)
                << "which " << which << " size " << size[0] << "x" << size[1];
            DeleteChannel(c);
        }
    }
    // Coverage and luminance of white.
    Channel* c = CreateChannel(2, 1);
    Marrow::StubLayer* white = CreateLayer(2, 1);
    LayerAccess a{};
    ASSERT_TRUE(BeginAccessLayer(&a, white));
    reinterpret_cast<Pel*>(a.pixels)[0] = 0xFFFFFFFFu;
    reinterpret_cast<Pel*>(a.pixels)[1] = 0x80FFFFFFu;
    EndAccessLayer(&a);
    GetChannel(c, white, 5);
    EXPECT_EQ(c->data[0], 255);
    GetChannel(c, white, 4);
    EXPECT_EQ(c->data[1], 128);
    EXPECT_TRUE(GetRedChannel(c, white));
    EXPECT_TRUE(GetGreenChannel(c, white));
    EXPECT_TRUE(GetBlueChannel(c, white));
    EXPECT_TRUE(GetAlphaChannel(c, white));
    EXPECT_EQ(Samples(c), (Bytes{255, 128}));

    // Without a layer the channel is left alone and the call still succeeds.
    EXPECT_TRUE(GetChannel(c, nullptr, 0));
    EXPECT_EQ(Samples(c), (Bytes{255, 128}));
    EXPECT_FALSE(GetChannel(nullptr, white, 0));
    DeleteLayer(white);
    DeleteChannel(c);
    DeleteLayer(layer);
}

TEST(Channel, LayerSizedChannelsAndFillLayer)
{
    Marrow::StubLayer* layer = CreateLayer(7, 5);
    Channel* c = CreateSizedChannel(layer);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->width, 7);
    EXPECT_EQ(c->height, 5);
    EXPECT_EQ(Samples(c), Bytes(35, 0));
    EXPECT_EQ(CreateSizedChannel(nullptr), nullptr);

    // Only the clipped view's pixels change.
    Marrow::StubLayer* view = CreateClippedLayer(layer);
    const LayerRegion clip{2, 1, 3, 3};
    ASSERT_TRUE(ClipLayer(view, &clip));
    EXPECT_TRUE(FillLayer(view, 0x80402010u));
    EXPECT_TRUE(FillLayer(layer, 0x01020304u) && FillLayer(view, 0x80402010u));
    ASSERT_TRUE(GetChannel(c, layer, 2));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            EXPECT_EQ(c->data[y * 7 + x], x >= 2 && x < 5 && y >= 1 && y < 4 ? 0x40 : 0x02);
    EXPECT_FALSE(FillLayer(nullptr, 0));
    DeleteLayer(view);
    DeleteChannel(c);
    DeleteLayer(layer);
}

} // namespace
