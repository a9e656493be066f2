// Interlacing frames and fields, with sources that do not cover the frame.
#include "Support.h"

using namespace florist_test;

namespace {

// A source whose pel (x, y), in the destination's columns and rows, is tagged
// with its layer and position; it holds only the rectangle it was placed at.
struct Placed {
    int left, top, width, height;
    u32 tag;
    Pel At(int x, int y) const { return tag << 24 | u32(y) << 8 | u32(x); }
    bool Holds(int x, int y) const
    {
        return x >= left && x < left + width && y >= top && y < top + height;
    }
    Marrow::StubLayer* Make() const
    {
        Pels p;
        for (int y = top; y < top + height; ++y)
            for (int x = left; x < left + width; ++x)
                p.push_back(At(x, y));
        Marrow::StubLayer* parent = MakeLayer(width, height, p);
        Marrow::StubLayer* view = MakeView(parent, {-left, -top, 40, 40});
        DeleteLayer(parent);
        return view;
    }
};

} // namespace

// An odd height, so the last row is even; a short even source, so surplus rows
// are cleared; a destination view starting at y = 1, so its first row is odd.
// Frames take row y of their source, fields row y / 2.
TEST(Interlace, RowsComeFromTheirSourceAndUncoveredPartsAreCleared)
{
    for (bool fields : {false, true}) {
        const int w = 9, h = 7;
        const Placed even = {2, 0, 5, fields ? 2 : 6, 0xE0}, odd = {0, 1, 7, 20, 0x0D};
        Marrow::StubLayer* e = even.Make();
        Marrow::StubLayer* o = odd.Make();
        Marrow::StubLayer* parent = MakeFilled(w, h, 0x33333333u);
        Marrow::StubLayer* dst = MakeView(parent, {0, -1, w, h + 1});
        UpdateLog log;
        AttachUpdateFunction(dst, UpdateLog::Record, &log);
        ASSERT_TRUE(fields ? InterlaceFieldLayers(dst, e, o, true)
                           : InterlaceFrameLayers(dst, e, o, true));
        EXPECT_EQ(log.calls, 1);
        EXPECT_EQ(log.last, (LayerRegion{0, 1, w, h}));
        ExpectLayer(parent, [&](int x, int py) {
            const int y = py + 1, from = fields ? y / 2 : y;
            const Placed& s = (y & 1) ? odd : even;
            return s.Holds(x, from) ? s.At(x, from) : 0u;
        });
        for (Marrow::StubLayer* layer : {dst, parent, e, o})
            DeleteLayer(layer);
    }
}

TEST(Interlace, InaccessibleSourceWritesNothing)
{
    Marrow::StubLayer* dst = MakeFilled(4, 4, 0x42424242u);
    Marrow::StubLayer* src = MakeFilled(4, 4, 0xFFFFFFFFu);
    CountingLayer* refusing = CountingLayer::Create(4, 4, 0);
    EXPECT_FALSE(InterlaceFrameLayers(dst, refusing, src, false));
    EXPECT_FALSE(InterlaceFieldLayers(dst, src, refusing, false));
    EXPECT_EQ(ReadLayer(dst), Pels(16, 0x42424242u));
    for (Marrow::StubLayer* layer : {static_cast<Marrow::StubLayer*>(refusing), dst, src})
        DeleteLayer(layer);
}
