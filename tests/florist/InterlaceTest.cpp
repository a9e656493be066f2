// Interlacing frames and fields, with sources that do not cover the frame.
#include <gtest/gtest.h>

#include "Support.h"

using namespace florist_test;

namespace {

// Source pixel (x, y) of layer `tag`, for a source of the given size placed at
// (left, top) in the destination's columns and rows.
struct Placed {
    int left, top, width, height;
    u32 tag;
    Pel At(int x, int y) const { return tag << 24 | u32(y) << 8 | u32(x); }
    bool Holds(int x, int y) const
    {
        return x >= left && x < left + width && y >= top && y < top + height;
    }
};

Marrow::StubLayer* MakePlaced(const Placed& s)
{
    Pels p;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x)
            p.push_back(s.At(x + s.left, y + s.top));
    Marrow::StubLayer* parent = MakeLayer(s.width, s.height, p);
    Marrow::StubLayer* view = CreateClippedLayer(parent);
    const LayerRegion clip = {-s.left, -s.top, 40, 40};
    ClipLayer(view, &clip);
    DeleteLayer(parent); // the view keeps it alive
    return view;
}

void CheckWeave(bool fields)
{
    const int w = 9, h = 7;                              // odd height: the last row is even
    const Placed even = {2, 0, 5, fields ? 2 : 6, 0xE0}; // short: surplus rows cleared
    const Placed odd = {0, 1, 7, 20, 0x0D};
    Marrow::StubLayer* e = MakePlaced(even);
    Marrow::StubLayer* o = MakePlaced(odd);
    // A view starting at parent row 1: its first row (y = 1) comes from `odd`.
    Marrow::StubLayer* parent = MakeFilled(w, h, 0x33333333u);
    Marrow::StubLayer* dst = CreateClippedLayer(parent);
    const LayerRegion clip = {0, -1, w, h + 1};
    ClipLayer(dst, &clip);
    UpdateLog log;
    AttachUpdateFunction(dst, UpdateLog::Record, &log);
    const bool ok =
        fields ? InterlaceFieldLayers(dst, e, o, true) : InterlaceFrameLayers(dst, e, o, true);
    ASSERT_TRUE(ok);
    EXPECT_EQ(log.calls, 1);
    EXPECT_EQ(log.last, (LayerRegion{0, 1, w, h}));
    const Pels got = ReadLayer(parent);
    for (int py = 0; py < h; ++py)
        for (int x = 0; x < w; ++x) {
            const int y = py + 1; // the view's row
            const Placed& s = (y & 1) ? odd : even;
            const int from = fields ? y / 2 : y;
            const Pel want = s.Holds(x, from) ? s.At(x, from) : 0u;
            ASSERT_EQ(got[size_t(py) * w + x], want) << x << "," << y;
        }
    DeleteLayer(dst);
    DeleteLayer(parent);
    DeleteLayer(e);
    DeleteLayer(o);
}

} // namespace

TEST(Interlace, FramesTakeRowYOfTheirSource)
{
    CheckWeave(false);
}

TEST(Interlace, FieldsTakeRowHalfYOfTheirSource)
{
    CheckWeave(true);
}

TEST(Interlace, NullOrInaccessibleSourceWritesNothing)
{
    Marrow::StubLayer* dst = MakeFilled(4, 4, 0x42424242u);
    Marrow::StubLayer* src = MakeFilled(4, 4, 0xFFFFFFFFu);
    EXPECT_FALSE(InterlaceFrameLayers(dst, src, nullptr, false));
    CountingLayer* refusing = CountingLayer::Create(4, 4, 0);
    EXPECT_FALSE(InterlaceFieldLayers(dst, src, refusing, false));
    EXPECT_EQ(ReadLayer(dst), Pels(16, 0x42424242u));
    DeleteLayer(refusing);
    DeleteLayer(dst);
    DeleteLayer(src);
}
