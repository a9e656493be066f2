// Centring, flips, shifts, tiling and the visible box, on plain and clipped
// layers, against direct pixel models.
#include <gtest/gtest.h>

#include "Support.h"

using namespace florist_test;

namespace {

Pels Sequence(int count)
{
    Pels p;
    for (int i = 0; i < count; ++i)
        p.push_back(0xFF000000u | u32(i + 1));
    return p;
}

} // namespace

TEST(CenterLayer, WritesOnlyTheCentredRectangle)
{
    // A larger source: (5 - 8) / 2 = -1, so source column 1 lands on column 0.
    const Pels srcPels = Sequence(8 * 2);
    Marrow::StubLayer* src = MakeLayer(8, 2, srcPels);
    Marrow::StubLayer* dst = MakeFilled(5, 6, 0x77777777u);
    EXPECT_EQ(CenterLayer(dst, src, false), 1);
    const Pels got = ReadLayer(dst);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 5; ++x) {
            const bool inside = y >= 2 && y < 4;
            const Pel want = inside ? srcPels[size_t(y - 2) * 8 + x + 1] : 0x77777777u;
            ASSERT_EQ(got[size_t(y) * 5 + x], want) << x << "," << y;
        }
    EXPECT_EQ(CenterLayer(nullptr, src, false), 0);
    DeleteLayer(src);
    DeleteLayer(dst);
}

TEST(FlipLayer, MirrorsRowsAndColumns)
{
    const Pels p = Sequence(4 * 3);
    Marrow::StubLayer* layer = MakeLayer(4, 3, p);
    ASSERT_TRUE(HorizontalFlipLayer(layer, false));
    Pels want;
    for (int y = 0; y < 3; ++y)
        for (int x = 3; x >= 0; --x)
            want.push_back(p[size_t(y) * 4 + x]);
    EXPECT_EQ(ReadLayer(layer), want);
    ASSERT_TRUE(VerticalFlipLayer(layer, false));
    EXPECT_EQ(ReadLayer(layer), Pels(p.rbegin(), p.rend()));  // both flips: a half turn
    DeleteLayer(layer);

    Marrow::StubLayer* single = MakeLayer(3, 1, Sequence(3));
    ASSERT_TRUE(VerticalFlipLayer(single, false));
    EXPECT_EQ(ReadLayer(single), Sequence(3));
    DeleteLayer(single);
    EXPECT_FALSE(HorizontalFlipLayer(nullptr, false));
}

TEST(ShiftLayer, MovesAndClearsWhatIsVacated)
{
    const int w = 5, h = 4;
    const Pels p = Sequence(w * h);
    for (int d : {-6, -5, -2, 1, 3, 5, 9}) {
        Marrow::StubLayer* v = MakeLayer(w, h, p);
        Marrow::StubLayer* hz = MakeLayer(w, h, p);
        ASSERT_TRUE(VerticalShiftLayer(v, d, false));
        ASSERT_TRUE(HorizontalShiftLayer(hz, d, false));
        const Pels gotV = ReadLayer(v), gotH = ReadLayer(hz);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int sy = y - d, sx = x - d;
                const Pel wantV = sy >= 0 && sy < h ? p[size_t(sy) * w + x] : 0u;
                const Pel wantH = sx >= 0 && sx < w ? p[size_t(y) * w + sx] : 0u;
                ASSERT_EQ(gotV[size_t(y) * w + x], wantV) << "dy " << d;
                ASSERT_EQ(gotH[size_t(y) * w + x], wantH) << "dx " << d;
            }
        DeleteLayer(v);
        DeleteLayer(hz);
    }
    Marrow::StubLayer* layer = MakeLayer(w, h, p);
    EXPECT_FALSE(VerticalShiftLayer(layer, 0, false));
    EXPECT_FALSE(HorizontalShiftLayer(layer, 0, false));
    EXPECT_EQ(ReadLayer(layer), p);
    DeleteLayer(layer);
}

TEST(TileLayer, RepeatsWithTheOffsetPhase)
{
    const Pels tile = Sequence(3 * 2);
    Marrow::StubLayer* tileLayer = MakeLayer(3, 2, tile);
    for (int o : {-7, -1, 0, 2, 5}) {
        Marrow::StubLayer* dst = MakeFilled(8, 5, 0x11111111u);
        ASSERT_TRUE(TileLayer(dst, tileLayer, o, -o, false));
        const Pels got = ReadLayer(dst);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 8; ++x) {
                const int tx = ((x + o) % 3 + 3) % 3, ty = ((y - o) % 2 + 2) % 2;
                ASSERT_EQ(got[size_t(y) * 8 + x], tile[size_t(ty) * 3 + tx]) << "offset " << o;
            }
        DeleteLayer(dst);
    }
    DeleteLayer(tileLayer);
}

// A tile whose region is wider than what it holds: the stretches it lacks are
// cleared at the start of the destination row, and the columns they stand
// for keep their old pixels.
TEST(TileLayer, UncoveredStretchesClearTheRowStart)
{
    Marrow::StubLayer* parent = MakeLayer(4, 1, Sequence(4));
    Marrow::StubLayer* tile = CreateClippedLayer(parent);
    const LayerRegion clip = {0, 0, 6, 1};
    ClipLayer(tile, &clip);
    Marrow::StubLayer* dst = MakeFilled(12, 1, 0xEEEEEEEEu);
    ASSERT_TRUE(TileLayer(dst, tile, 0, 0, false));
    const Pel e = 0xEEEEEEEEu;
    const Pels want = {0,           0,           0xFF000003u, 0xFF000004u, e, e,
                       0xFF000001u, 0xFF000002u, 0xFF000003u, 0xFF000004u, e, e};
    EXPECT_EQ(ReadLayer(dst), want);
    DeleteLayer(tile);
    DeleteLayer(parent);
    DeleteLayer(dst);
}

TEST(VisibleRegionLayer, BoundsVisiblePixelsButNeverTheLastColumn)
{
    Pels p(6 * 5, 0x00FFFFFFu); // colour without alpha is invisible
    Marrow::StubLayer* empty = MakeLayer(6, 5, p);
    LayerRegion r = {9, 9, 9, 9};
    EXPECT_TRUE(VisibleRegionLayer(empty, &r));
    EXPECT_EQ(r, (LayerRegion{0, 0, 0, 0}));

    p[1 * 6 + 5] = 0xFF000000u; // last column only: not found
    Marrow::StubLayer* edge = MakeLayer(6, 5, p);
    EXPECT_TRUE(VisibleRegionLayer(edge, &r));
    EXPECT_EQ(r, (LayerRegion{0, 0, 0, 0}));

    p[1 * 6 + 2] = 0x01000000u;
    p[3 * 6 + 4] = 0x01000000u;
    p[2 * 6 + 1] = 0x80000000u;
    Marrow::StubLayer* some = MakeLayer(6, 5, p);
    EXPECT_TRUE(VisibleRegionLayer(some, &r));
    EXPECT_EQ(r, (LayerRegion{1, 1, 4, 3}));
    EXPECT_FALSE(VisibleRegionLayer(some, nullptr));
    DeleteLayer(empty);
    DeleteLayer(edge);
    DeleteLayer(some);
}
