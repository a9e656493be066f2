// Centring, flips, shifts, tiling and the visible box, on plain and clipped
// layers, against direct pel models.
#include "Support.h"

using namespace florist_test;

namespace {

// Opaque pels numbered 1.. in row order: every pel tells where it came from.
Pels Sequence(int count)
{
    Pels p;
    for (int i = 0; i < count; ++i)
        p.push_back(0xFF000000u | u32(i + 1));
    return p;
}

} // namespace

// A larger source: (5 - 8) / 2 = -1, so source column 1 lands on column 0.
TEST(CenterLayer, WritesOnlyTheCentredRectangle)
{
    const Pels srcPels = Sequence(8 * 2);
    Marrow::StubLayer* src = MakeLayer(8, 2, srcPels);
    Marrow::StubLayer* dst = MakeFilled(5, 6, 0x77777777u);
    EXPECT_EQ(CenterLayer(dst, src, false), 1);
    ExpectLayer(dst, [&](int x, int y) {
        return y >= 2 && y < 4 ? srcPels[size_t(y - 2) * 8 + size_t(x) + 1] : 0x77777777u;
    });
    DeleteLayer(src);
    DeleteLayer(dst);
}

// Shifts move the picture and clear what is vacated; a flip both ways is a half turn.
TEST(FlipAndShiftLayer, MatchTheirPelModels)
{
    const int w = 5, h = 4;
    const Pels p = Sequence(w * h);
    for (int d : {-6, -5, -2, 0, 1, 3, 5, 9}) {
        SCOPED_TRACE(d);
        Marrow::StubLayer* v = MakeLayer(w, h, p);
        Marrow::StubLayer* hz = MakeLayer(w, h, p);
        EXPECT_EQ(VerticalShiftLayer(v, d, false), d != 0);
        EXPECT_EQ(HorizontalShiftLayer(hz, d, false), d != 0);
        ExpectLayer(
            v, [&](int x, int y) { return y >= d && y - d < h ? p[size_t((y - d) * w + x)] : 0u; });
        ExpectLayer(
            hz, [&](int x, int y) { return x >= d && x - d < w ? p[size_t(y * w + x - d)] : 0u; });
        DeleteLayer(v);
        DeleteLayer(hz);
    }
    for (int rows : {1, 3, 4}) {
        const Pels q = Sequence(4 * rows);
        Marrow::StubLayer* layer = MakeLayer(4, rows, q);
        ASSERT_TRUE(HorizontalFlipLayer(layer, false));
        ExpectLayer(layer, [&](int x, int y) { return q[size_t(y * 4 + 3 - x)]; });
        ASSERT_TRUE(VerticalFlipLayer(layer, false));
        EXPECT_EQ(ReadLayer(layer), Pels(q.rbegin(), q.rend()));
        DeleteLayer(layer);
    }
}

// Negative offsets tile with the phase of their positive equivalents.
TEST(TileLayer, RepeatsWithTheOffsetPhase)
{
    const Pels tile = Sequence(3 * 2);
    Marrow::StubLayer* tileLayer = MakeLayer(3, 2, tile);
    for (int o : {-7, -1, 0, 2, 5}) {
        Marrow::StubLayer* dst = MakeFilled(8, 5, 0x11111111u);
        ASSERT_TRUE(TileLayer(dst, tileLayer, o, -o, false));
        ExpectLayer(dst, [&](int x, int y) {
            return tile[size_t(((y - o) % 2 + 2) % 2 * 3 + ((x + o) % 3 + 3) % 3)];
        });
        DeleteLayer(dst);
    }
    DeleteLayer(tileLayer);

    // A tile whose region is wider than what it holds: the stretches it lacks
    // are cleared at the start of the row, and their own columns keep their pels.
    Marrow::StubLayer* parent = MakeLayer(4, 1, Sequence(4));
    Marrow::StubLayer* narrow = MakeView(parent, {0, 0, 6, 1});
    Marrow::StubLayer* dst = MakeFilled(12, 1, 0xEEEEEEEEu);
    ASSERT_TRUE(TileLayer(dst, narrow, 0, 0, false));
    const Pel e = 0xEEEEEEEEu;
    EXPECT_EQ(ReadLayer(dst), (Pels{0, 0, 0xFF000003u, 0xFF000004u, e, e, 0xFF000001u, 0xFF000002u,
                                    0xFF000003u, 0xFF000004u, e, e}));
    for (Marrow::StubLayer* layer : {narrow, parent, dst})
        DeleteLayer(layer);
}

// Colour without alpha is invisible, and the last column is never examined.
TEST(VisibleRegionLayer, BoundsVisiblePelsButNeverTheLastColumn)
{
    Pels p(6 * 5, 0x00FFFFFFu);
    const struct {
        int at;
        Pel pel;
        LayerRegion box;
    } steps[] = {{0, 0x00FFFFFFu, {0, 0, 0, 0}},
                 {3 * 6 + 5, 0xFF000000u, {0, 0, 0, 0}},
                 {1 * 6 + 2, 0x01000000u, {2, 1, 1, 1}},
                 {3 * 6 + 4, 0x01000000u, {2, 1, 3, 3}},
                 {2 * 6 + 1, 0x80000000u, {1, 1, 4, 3}}};
    for (const auto& step : steps) {
        p[size_t(step.at)] = step.pel;
        Marrow::StubLayer* layer = MakeLayer(6, 5, p);
        LayerRegion r = {9, 9, 9, 9};
        EXPECT_TRUE(VisibleRegionLayer(layer, &r));
        EXPECT_EQ(r, step.box) << step.at;
        DeleteLayer(layer);
    }
}
