// Stock layers and background lines against a model of the tiling rule.
#include "Support.h"

using namespace florist_test;

namespace {

Pel Checker(int x, int y, int square)
{
    return (x / square + y / square) % 2 ? 0xFF6C6C6Cu : 0xFF7C7C7Cu;
}

// Background pel of destination column c in row `row`: the tile pel at
// (c mod w, row mod h), both brought into range, made opaque.
Pel TilePel(const Pels& tile, int w, int h, long c, long row)
{
    return tile[size_t(((row % h) + h) % h * w + ((c % w) + w) % w)] | 0xFF000000u;
}

} // namespace

// The registry holds the documented layers, falls back to the checkerboard, and
// stores copies that equal-sized layers overwrite in place.
TEST(Stock, RegistryHoldsTheDocumentedLayersAndCopiesNewOnes)
{
    Marrow::StubLayer* checker = GetDefaultBackground();
    ASSERT_NE(checker, nullptr);
    for (unsigned id : {0u, 2u, 12345u}) // 2 is never registered
        EXPECT_EQ(GetStockLayer(id), checker);
    ExpectLayer(checker, [](int x, int y) { return Checker(x, y, 8); });
    ExpectLayer(GetStockLayer(1), [](int x, int y) { return Checker(x, y, 4); });
    const Pel flats[] = {0xFF000000u, 0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
    for (unsigned id = 3; id <= 7; ++id)
        EXPECT_EQ(ReadLayer(GetStockLayer(id)), Pels(256, flats[id - 3])) << id;
    EXPECT_EQ(ReadLayer(GetStockLayer(8)), Pels(256, 0xFF000000u));
    EXPECT_TRUE(ExistsStockLayer(8) && GetLayerWidth(GetStockLayer(8)) == 16);
    EXPECT_FALSE(ExistsStockLayer(2));    // enters 2 with no layer...
    EXPECT_EQ(GetStockLayer(2), checker); // ...which still falls back
    EXPECT_FALSE(ExistsStockLayer(2));

    Marrow::StubLayer* layers[] = {MakeFilled(4, 3, 0x80112233u), MakeFilled(4, 3, 0x44556677u),
                                   MakeFilled(5, 3, 0x01010101u)};
    SetStockLayer(40, layers[0]);
    Marrow::StubLayer* stored = GetStockLayer(40);
    ASSERT_NE(stored, layers[0]);
    UpdateLog log;
    AttachUpdateFunction(stored, UpdateLog::Record, &log);
    SetStockLayer(40, layers[1]);
    EXPECT_EQ(GetStockLayer(40), stored); // overwritten in place
    EXPECT_EQ(ReadLayer(stored), Pels(12, 0x44556677u));
    EXPECT_EQ(log.calls * 100 + log.last.width * 10 + log.last.height, 143);
    SetStockLayer(40, layers[2]);
    EXPECT_EQ(ReadLayer(GetStockLayer(40)), Pels(15, 0x01010101u));
    SetStockLayer(40, nullptr);
    EXPECT_FALSE(ExistsStockLayer(40));
    for (Marrow::StubLayer* layer : layers)
        DeleteLayer(layer);
}

// Lines longer than the tile, at offsets and tile offsets of both signs, from a
// translucent tile: every pel is the model's opaque tile pel under the source.
TEST(BackgroundScanline, TilesFromTheOffsetColumnAndComposites)
{
    Rng rng(21);
    const int w = 5, h = 3, capacity = 23;
    const Pels tile = RandomRow(rng, w * h);
    Marrow::StubLayer* tileLayer = MakeLayer(w, h, tile);
    BackgroundScanlineState* state = BeginBackgroundScanlineLayer(capacity, tileLayer);
    ASSERT_NE(state, nullptr);
    const int offsets[][5] = {
        {0, 0, 0, 0, 0}, {7, -2, 3, 1, 9}, {-9, 4, -11, -5, 9}, {2, 1, 0, 0, 99}};
    for (const auto& o : offsets) {
        OffsetBackgroundScanline(o[0], o[1], o[4], state);
        SetTileOffsetBackgroundScanline(o[2], o[3], state);
        const int run = o[4] == 9 ? 9 : capacity; // 0 and too wide both give the capacity
        ASSERT_EQ(state->runWidth, run);
        for (int r = 0; r < 3; ++r) {
            const Pels src = RandomRow(rng, run);
            Pels dst(size_t(run), 0);
            BackgroundScanline(dst.data(), src.data(), state);
            for (int i = 0; i < run; ++i)
                ASSERT_EQ(dst[size_t(i)],
                          model::Over(src[size_t(i)],
                                      TilePel(tile, w, h, o[0] + i - o[2], o[1] + r - o[3])))
                    << i << " row " << r;
        }
    }
    EndBackgroundScanline(state);
    EXPECT_EQ(BeginBackgroundScanline(0), nullptr);
    DeleteLayer(tileLayer);
}

// A source narrower than and offset from the destination: covered columns
// are the source over the background, the rest plain background.
TEST(BackgroundLayer, SourceOverTiledBackgroundOnlyWhereItReaches)
{
    Rng rng(8);
    const Pels tile = RandomRow(rng, 3 * 2), srcPels = RandomRow(rng, 6 * 4);
    Marrow::StubLayer* background = MakeLayer(3, 2, tile);
    Marrow::StubLayer* parent = MakeLayer(6, 4, srcPels);
    Marrow::StubLayer* src = MakeView(parent, {-3, -2, 12, 9}); // pels at columns 3..8, rows 2..5
    Marrow::StubLayer* dst = MakeFilled(11, 7, 0x5A5A5A5Au);
    UpdateLog log;
    AttachUpdateFunction(dst, UpdateLog::Record, &log);
    BackgroundLayer(dst, src, background, true);
    ExpectLayer(dst, [&](int x, int y) {
        const Pel bg = TilePel(tile, 3, 2, x, y);
        const bool covered = x >= 3 && x < 9 && y >= 2 && y < 6;
        return covered ? model::Over(srcPels[size_t(y - 2) * 6 + size_t(x - 3)], bg) : bg;
    });
    EXPECT_EQ(log.calls, 1);
    for (Marrow::StubLayer* layer : {src, parent, dst, background})
        DeleteLayer(layer);
}
