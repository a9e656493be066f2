// Stock layers and background lines against a model of the tiling rule.
#include <gtest/gtest.h>

#include "Support.h"

using namespace florist_test;

namespace {

const Pel kLight = 0xFF7C7C7Cu, kDark = 0xFF6C6C6Cu;

Pel Checker(int x, int y, int square)
{
    return ((x / square) % 2) == ((y / square) % 2) ? kLight : kDark;
}

// Background pixel for destination column c of row `row`: the tile pixel at
// ((c + tileX) mod W, (row + tileY) mod H) made opaque.
Pel TilePixel(const Pels& tile, int w, int h, long c, long row)
{
    const long tx = ((c % w) + w) % w, ty = ((row % h) + h) % h;
    return tile[size_t(ty * w + tx)] | 0xFF000000u;
}

} // namespace

TEST(Stock, RegistryHoldsTheDocumentedLayers)
{
    Marrow::StubLayer* checker = GetDefaultBackground();
    ASSERT_NE(checker, nullptr);
    ASSERT_EQ(GetStockLayer(0), checker);
    ASSERT_EQ(GetStockLayer(2), checker); // never registered
    ASSERT_EQ(GetStockLayer(12345), checker);
    Pels want;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            want.push_back(Checker(x, y, 8));
    EXPECT_EQ(ReadLayer(checker), want);

    want.clear();
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            want.push_back(Checker(x, y, 4));
    EXPECT_EQ(ReadLayer(GetStockLayer(1)), want);

    const Pel flats[] = {0xFF000000u, 0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
    for (unsigned id = 3; id <= 7; ++id)
        EXPECT_EQ(ReadLayer(GetStockLayer(id)), Pels(256, flats[id - 3])) << id;
    EXPECT_EQ(ReadLayer(GetStockLayer(8)), Pels(256, 0xFF000000u));

    EXPECT_TRUE(ExistsStockLayer(8));
    EXPECT_FALSE(ExistsStockLayer(2));    // enters 2 with no layer...
    EXPECT_EQ(GetStockLayer(2), checker); // ...which still falls back
    EXPECT_FALSE(ExistsStockLayer(2));
}

TEST(Stock, SetStoresCopiesAndReusesEqualSizedLayers)
{
    Marrow::StubLayer* a = MakeFilled(4, 3, 0x80112233u);
    SetStockLayer(40, a);
    Marrow::StubLayer* stored = GetStockLayer(40);
    ASSERT_NE(stored, a);
    EXPECT_EQ(ReadLayer(stored), Pels(12, 0x80112233u));
    UpdateLog log;
    AttachUpdateFunction(stored, UpdateLog::Record, &log);

    Marrow::StubLayer* b = MakeFilled(4, 3, 0x44556677u);
    SetStockLayer(40, b);
    EXPECT_EQ(GetStockLayer(40), stored); // overwritten in place
    EXPECT_EQ(ReadLayer(stored), Pels(12, 0x44556677u));
    EXPECT_EQ(log.calls, 1);
    EXPECT_EQ(log.last, (LayerRegion{0, 0, 4, 3}));

    Marrow::StubLayer* c = MakeFilled(5, 3, 0x01010101u);
    SetStockLayer(40, c);
    EXPECT_EQ(ReadLayer(GetStockLayer(40)), Pels(15, 0x01010101u));
    SetStockLayer(40, nullptr);
    EXPECT_FALSE(ExistsStockLayer(40));
    EXPECT_EQ(GetStockLayer(40), GetDefaultBackground());
    DeleteLayer(a);
    DeleteLayer(b);
    DeleteLayer(c);
}

// Lines longer than the tile, at offsets and tile offsets of both signs, from a
// translucent tile: every pixel is the model's opaque tile pixel composited
// under the source.
TEST(BackgroundScanline, TilesFromTheOffsetColumnAndComposites)
{
    std::mt19937 rng(21);
    const int w = 5, h = 3;
    const Pels tile = RandomPels(w * h, rng);
    Marrow::StubLayer* tileLayer = MakeLayer(w, h, tile);
    const int capacity = 23;
    BackgroundScanlineState* state = BeginBackgroundScanlineLayer(capacity, tileLayer);
    ASSERT_NE(state, nullptr);
    const int offsets[][4] = {{0, 0, 0, 0}, {7, -2, 3, 1}, {-9, 4, -11, -5}, {2, 1, 0, 0}};
    for (const auto& o : offsets) {
        OffsetBackgroundScanline(o[0], o[1], o[3] == 0 ? 0 : 9, state);
        SetTileOffsetBackgroundScanline(o[2], o[3], state);
        const int run = o[3] == 0 ? capacity : 9;
        for (int r = 0; r < 3; ++r) {
            const Pels src = RandomPels(run, rng);
            Pels dst(static_cast<size_t>(run), 0);
            BackgroundScanline(dst.data(), src.data(), state);
            for (int i = 0; i < run; ++i) {
                const Pel bg = TilePixel(tile, w, h, long(o[0]) + i - o[2], long(o[1]) + r - o[3]);
                ASSERT_EQ(dst[size_t(i)], CompositPel(src[size_t(i)], bg)) << i << " row " << r;
            }
        }
    }
    OffsetBackgroundScanline(0, 0, 1000, state);
    EXPECT_EQ(state->runWidth, capacity);
    EndBackgroundScanline(state);
    EXPECT_EQ(BeginBackgroundScanline(0), nullptr);
    DeleteLayer(tileLayer);
}

// A source narrower than and offset from the destination: covered columns
// are the source over the background, the rest plain background, rows the
// source lacks pure background.
TEST(BackgroundLayer, SourceOverTiledBackgroundOnlyWhereItReaches)
{
    std::mt19937 rng(8);
    const Pels tile = RandomPels(3 * 2, rng);
    Marrow::StubLayer* background = MakeLayer(3, 2, tile);
    const Pels srcPels = RandomPels(6 * 4, rng);
    Marrow::StubLayer* parent = MakeLayer(6, 4, srcPels);
    Marrow::StubLayer* src = CreateClippedLayer(parent);
    const LayerRegion clip = {-3, -2, 12, 9}; // source pixels at columns 3..8, rows 2..5
    ClipLayer(src, &clip);
    Marrow::StubLayer* dst = MakeFilled(11, 7, 0x5A5A5A5Au);
    UpdateLog log;
    AttachUpdateFunction(dst, UpdateLog::Record, &log);
    BackgroundLayer(dst, src, background, true);
    const Pels got = ReadLayer(dst);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 11; ++x) {
            const Pel bg = TilePixel(tile, 3, 2, x, y);
            const bool covered = x >= 3 && x < 9 && y >= 2 && y < 6;
            const Pel want = covered ? CompositPel(srcPels[size_t(y - 2) * 6 + (x - 3)], bg) : bg;
            ASSERT_EQ(got[size_t(y) * 11 + x], want) << x << "," << y;
        }
    EXPECT_EQ(log.calls, 1);
    DeleteLayer(src);
    DeleteLayer(parent);
    DeleteLayer(dst);
    DeleteLayer(background);
}
