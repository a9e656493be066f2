// Layer lifetime, reference counts, update lists, intersect accesses, and null
// handles given to every exported layer-level function.
#include <cstdio>

#include "Hooks.h"
#include "channel.h"
#include "florist.h"

namespace {

using Layers = HookedTest;

// A layer whose count reached 0 is dying: it cannot be revived, and a second
// AddRef shows the first one took nothing back.
TEST_F(Layers, DeadLayerCannotBeRevived)
{
    u8 pixels[16] = {};
    BasicLayer layer(pixels, 2, 2, 8, nullptr, nullptr);
    EXPECT_EQ(layer.Type(), 0);
    EXPECT_TRUE(layer.AddRef());
    EXPECT_TRUE(layer.RemoveRef());
    EXPECT_FALSE(layer.RemoveRef());
    EXPECT_FALSE(layer.AddRef());
    EXPECT_EQ(AddRefCountLayer(&layer), nullptr);
    EXPECT_FALSE(layer.AddRef());
    EXPECT_FALSE(layer.TranslateValidLayerRegion(1, 1));
}

TEST_F(Layers, UpdateListKeepsOneEntryPerPairInAttachmentOrder)
{
    Marrow::StubLayer* layer = CreateLayer(4, 4);
    char d1[] = "1", d2[] = "2", d3[] = "3", no[] = "no";
    EXPECT_TRUE(UpdateLayer(layer, nullptr)); // nobody listening
    EXPECT_FALSE(AttachUpdateFunction(layer, nullptr, d1));
    for (auto entry : {std::pair<UpdateFunction, char*>{LogUpdate<0>, d1},
                       {LogUpdate<1>, d2},
                       {LogUpdate<0>, d1},
                       {LogUpdate<0>, d3}})
        EXPECT_TRUE(AttachUpdateFunction(layer, entry.first, entry.second));
    const LayerRegion r = {1, 2, 3, 1};
    EXPECT_TRUE(UpdateLayer(layer, &r));
    EXPECT_EQ(Events(), (Strings{"g2{1,2,3,1}", "1{1,2,3,1}", "3{1,2,3,1}"}));

    Events().clear();
    EXPECT_FALSE(DetachUpdateFunction(layer, LogUpdate<0>, d1)); // present, and still false
    EXPECT_FALSE(DetachUpdateFunction(layer, LogUpdate<0>, d2)); // absent
    EXPECT_TRUE(AttachUpdateFunction(layer, LogUpdate<0>, no));
    EXPECT_TRUE(AttachUpdateFunction(layer, LogUpdate<1>, d2));
    EXPECT_FALSE(UpdateLayerEx(layer)); // one refusal, yet everyone is told
    EXPECT_EQ(Events(), (Strings{"3{0,0,4,4}", "no{0,0,4,4}", "g2{0,0,4,4}"}));

    // A long list grows and shrinks without losing its order.
    static char names[100][4];
    Strings want(Events().begin(), Events().end());
    for (int i = 0; i < 100; ++i) {
        std::snprintf(names[i], sizeof names[i], "%d", i);
        AttachUpdateFunction(layer, LogUpdate<0>, names[i]);
        if (i % 2)
            want.push_back(std::string(names[i]) + "{0,0,4,4}");
    }
    for (int i = 0; i < 100; i += 2)
        DetachUpdateFunction(layer, LogUpdate<0>, names[i]);
    UpdateLayer(layer, nullptr);
    EXPECT_EQ(Strings(Events().begin() + 3, Events().end()), want);
    DeleteLayer(layer);
}

// Accesses hold references: the client's last DeleteLayer leaves the pixels in
// place until the access ends.
TEST_F(Layers, IntersectAccessCoversTheCommonPartAndKeepsBothAlive)
{
    Marrow::StubLayer* wide = CountedLayer(100, 50);
    Marrow::StubLayer* tall = CountedLayer(60, 80);
    LayerIntersectAccess both = {};
    ASSERT_TRUE(BeginIntersectAccessLayer(&both, wide, tall));
    EXPECT_EQ(both.width * 1000 + both.height, 60050);
    EXPECT_EQ(both.first.layer, wide);
    EXPECT_EQ(both.second.layer, tall);
    EXPECT_EQ(both.first.region, (LayerRegion{0, 0, 60, 50}));
    EXPECT_EQ(both.second.region, (LayerRegion{0, 0, 60, 50}));
    EXPECT_EQ(both.first.rowBytes * 1000 + both.second.rowBytes, 400240);
    DeleteLayer(wide);
    DeleteLayer(tall);
    EXPECT_EQ(Events(), Strings{});
    both.first.pixels[49 * 400 + 239] = 7;
    EXPECT_TRUE(EndIntersectAccessLayer(&both));
    EXPECT_EQ(Events(), (Strings{"free:20000", "free:19200"}));
}

// Refuses every access, so an intersect access fails after opening its second layer.
struct RefusingLayer : BasicLayer {
    using BasicLayer::BasicLayer;
    void* AccessRegion(const LayerRegion&, u8*&, i32&) override { return nullptr; }
};

TEST_F(Layers, FailedIntersectAccessHoldsNothing)
{
    Marrow::StubLayer* a = CountedLayer(10, 10);
    Marrow::StubLayer* b = CountedLayer(10, 10);
    u8 pixels[400];
    RefusingLayer refusing(pixels, 10, 10, 40, nullptr, nullptr);
    LayerIntersectAccess both = {};
    const LayerRegion miss = {20, 0, 5, 5}, empty = {0, 0, 0, 5};
    EXPECT_FALSE(BeginRegionIntersectAccessLayer(&both, a, b, &miss));
    EXPECT_FALSE(BeginRegionIntersectAccessLayer(&both, a, b, &empty));
    EXPECT_FALSE(BeginIntersectAccessLayer(&both, &refusing, b));
    EXPECT_EQ(both.first.layer, nullptr);
    DeleteLayer(a);
    DeleteLayer(b);
    EXPECT_EQ(Events(), (Strings{"free:400", "free:400"}));
}

// Each entry is the call's text and whether it failed (false, 0 or null).
#define FAILS(call)                                                                                \
    {                                                                                              \
#call, !(call)                                                                             \
    }

TEST_F(Layers, NullHandlesFailEverywhereWithoutSideEffects)
{
    u8 pixels[16] = {};
    Marrow::StubLayer* layer = CreateCompatibleLayer(pixels, 2, 2, 8, nullptr, nullptr);
    Channel* channel = CreateChannel(2, 2);
    LayerAccess access = {};
    LayerIntersectAccess both = {};
    LayerRegion region = {1, 1, 1, 1};
    i32 width = 5, height = 5, length = 5;
    Pel row[4] = {};
    BackgroundLayer(nullptr, layer, layer, true);
    BackgroundLayer(layer, nullptr, nullptr, true); // the default background stands in
    DeleteLayer(nullptr);
    DeleteChannel(nullptr);
    DeleteContour(nullptr);
    ClipChannel(nullptr, 0, 0, 1, 1);
    ClipChannel(channel, 0, 0, 1, 1); // not a view
    OffsetBackgroundScanline(0, 0, 1, nullptr);
    SetTileOffsetBackgroundScanline(0, 0, nullptr);
    BackgroundScanline(row, row, nullptr);
    EndBackgroundScanline(nullptr);
    const std::pair<const char*, bool> cases[] = {
        FAILS(CreateCompatibleLayer(nullptr, 2, 2, 8, CountingFree, nullptr)),
        FAILS(AddRefCountLayer(nullptr) || CreateSimilarLayer(nullptr)),
        FAILS(DuplicateLayer(nullptr) || CreateClippedLayer(nullptr) ||
              ClipLayer(nullptr, &region)),
        FAILS(BeginAccessLayer(nullptr, layer) || BeginAccessLayer(&access, nullptr)),
        FAILS(BeginRegionAccessLayer(nullptr, layer, &region) || EndAccessLayer(nullptr)),
        FAILS(BeginRegionAccessLayer(&access, nullptr, &region) || EndAccessLayer(&access)),
        FAILS(BeginRegionAccessLayer(&access, layer, nullptr)),
        FAILS(GetLayerWidthAndHeight(nullptr, &width, &height) || width || height),
        FAILS(GetLayerWidth(nullptr) || GetLayerHeight(nullptr) ||
              GetLayerRegion(nullptr, &region)),
        FAILS(GetLayerRegion(layer, nullptr) || UpdateLayer(nullptr, &region) ||
              UpdateLayerEx(nullptr)),
        FAILS(GetValidLayerRegion(nullptr, &region) || GetValidLayerRegion(layer, nullptr)),
        FAILS(BeginIntersectAccessLayer(nullptr, layer, layer)),
        FAILS(BeginIntersectAccessLayer(&both, nullptr, layer)),
        FAILS(BeginIntersectAccessLayer(&both, layer, nullptr)),
        FAILS(BeginRegionIntersectAccessLayer(&both, layer, layer, nullptr)),
        FAILS(EndIntersectAccessLayer(nullptr) || EndIntersectAccessLayer(&both)),
        FAILS(AttachUpdateFunction(nullptr, LogUpdate<0>, nullptr)),
        FAILS(DetachUpdateFunction(nullptr, LogUpdate<0>, nullptr)),
        FAILS(ScaleGenScaleList(nullptr, 3, 2) || ScaleGenScale(nullptr) ||
              EndScaleScanline(nullptr)),
        FAILS(OffsetScaleScanline(nullptr, 0, 0, 1) ||
              ConvertRegionScaleScanline(nullptr, &region)),
        FAILS(GetBufferScaleScanline(nullptr) || ScaleScanline(row, row, nullptr)),
        FAILS(ResizeLayer(nullptr, layer, true) || ResizeLayer(layer, nullptr, true)),
        FAILS(CenterLayer(nullptr, layer, true) || CenterLayer(layer, nullptr, true)),
        FAILS(HorizontalFlipLayer(nullptr, true) || VerticalFlipLayer(nullptr, true)),
        FAILS(HorizontalShiftLayer(nullptr, 1, true) || VerticalShiftLayer(nullptr, 1, true)),
        FAILS(TileLayer(nullptr, layer, 0, 0, true) || TileLayer(layer, nullptr, 0, 0, true)),
        FAILS(VisibleRegionLayer(nullptr, &region) || VisibleRegionLayer(layer, nullptr)),
        FAILS(InterlaceFrameLayers(nullptr, layer, layer, true)),
        FAILS(InterlaceFrameLayers(layer, nullptr, layer, true)),
        FAILS(InterlaceFieldLayers(layer, layer, nullptr, true)),
        FAILS(CreateSimilarChannel(nullptr) || CreateClippedChannel(nullptr)),
        FAILS(CreateSizedChannel(nullptr) || FillChannel(nullptr, 0) || FillLayer(nullptr, 0)),
        FAILS(TileChannel(nullptr, channel, 0, 0) || TileChannel(channel, nullptr, 0, 0)),
        FAILS(GetChannel(nullptr, layer, 0) || CreateContourFromChannel(nullptr, 1)),
        FAILS(CreateContourFromChannelAccess(nullptr, 1, 1, 1, 1) ||
              GetContourData(nullptr, &length)),
        FAILS(length),
    };
    for (const auto& c : cases)
        EXPECT_TRUE(c.second) << c.first;
    EXPECT_EQ(region, (LayerRegion{1, 1, 1, 1}));
    EXPECT_EQ(access.layer, nullptr);
    EXPECT_EQ(both.first.layer, nullptr);
    EXPECT_EQ(channel->width * 10 + channel->height, 22);
    DeleteChannel(channel);
    DeleteLayer(layer); // a free of the stack buffer would trip the sanitizers
    EXPECT_EQ(Events(), Strings{});
}

} // namespace
