// Layer lifetime, reference counts, update lists and accesses.
#include <cstdio>

#include "hooks.h"

namespace {

using Layers = HookedTest;

TEST_F(Layers, LastReferenceFreesPixelsThenObject)
{
    SetAllocator(nullptr, nullptr, CountingCalloc);
    Marrow::StubLayer* layer = CreateLayer(2, 3);
    const std::string object = std::to_string(sizeof(BasicLayer));
    EXPECT_EQ(AddRefCountLayer(layer), layer);
    DeleteLayer(layer);
    EXPECT_EQ(GetLayerWidth(layer), 2); // still alive
    EXPECT_EQ(Events(), (Strings{"zero:24", "zero:" + object}));
    DeleteLayer(layer);
    EXPECT_EQ(Events(), (Strings{"zero:24", "zero:" + object, "free:24", "free:" + object}));
}

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
    for (int i = 0; i < 100; ++i) {
        std::snprintf(names[i], sizeof names[i], "%d", i);
        AttachUpdateFunction(layer, LogUpdate<0>, names[i]);
    }
    for (int i = 0; i < 100; i += 2)
        DetachUpdateFunction(layer, LogUpdate<0>, names[i]);
    Events().clear();
    UpdateLayer(layer, nullptr);
    ASSERT_EQ(Events().size(), 53u);
    for (std::size_t i = 0; i < 50; ++i)
        EXPECT_EQ(Events()[3 + i], std::to_string(2 * i + 1) + "{0,0,4,4}");
    DeleteLayer(layer);
}

TEST_F(Layers, RegionAccessClipsToTheLayerAndPointsAtItsFirstPixel)
{
    Marrow::StubLayer* layer = CreateLayer(10, 10);
    LayerAccess whole = {}, part = {};
    ASSERT_TRUE(BeginAccessLayer(&whole, layer));
    EXPECT_EQ(whole.rowBytes, 40);
    const struct {
        LayerRegion request, opened;
        int offset;
    } cases[] = {{{2, 3, 4, 5}, {2, 3, 4, 5}, 128},
                 {{-5, -5, 10, 10}, {0, 0, 5, 5}, 0},
                 {{200, 200, 10, 10}, {0, 0, 0, 0}, 0}};
    for (const auto& c : cases) {
        ASSERT_TRUE(BeginRegionAccessLayer(&part, layer, &c.request));
        EXPECT_EQ(part.pixels, whole.pixels + c.offset);
        EXPECT_EQ(part.rowBytes, 40);
        EXPECT_EQ(part.region, c.opened);
        EXPECT_EQ(part.layer, layer);
        EXPECT_NE(part.token, nullptr);
        EXPECT_TRUE(EndAccessLayer(&part));
    }
    EXPECT_TRUE(EndAccessLayer(&whole));
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
    EXPECT_EQ(both.width, 60);
    EXPECT_EQ(both.height, 50);
    EXPECT_EQ(both.first.layer, wide);
    EXPECT_EQ(both.second.layer, tall);
    EXPECT_EQ(both.first.region, (LayerRegion{0, 0, 60, 50}));
    EXPECT_EQ(both.second.region, (LayerRegion{0, 0, 60, 50}));
    EXPECT_EQ(both.first.rowBytes, 400);
    EXPECT_EQ(both.second.rowBytes, 240);
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

TEST_F(Layers, NullHandlesAndRecordsFail)
{
    u8 pixels[16] = {};
    Marrow::StubLayer* layer = CreateCompatibleLayer(pixels, 2, 2, 8, nullptr, nullptr);
    LayerAccess access = {};
    LayerIntersectAccess both = {};
    LayerRegion region = {1, 1, 1, 1};
    i32 width = 5, height = 5;
    DeleteLayer(nullptr);
    EXPECT_EQ(CreateCompatibleLayer(nullptr, 2, 2, 8, CountingFree, nullptr), nullptr);
    EXPECT_EQ(AddRefCountLayer(nullptr), nullptr);
    EXPECT_EQ(CreateSimilarLayer(nullptr), nullptr);
    EXPECT_EQ(DuplicateLayer(nullptr), nullptr);
    EXPECT_EQ(CreateClippedLayer(nullptr), nullptr);
    EXPECT_FALSE(ClipLayer(nullptr, &region));
    EXPECT_FALSE(BeginAccessLayer(nullptr, layer) || BeginAccessLayer(&access, nullptr));
    EXPECT_FALSE(BeginRegionAccessLayer(nullptr, layer, &region));
    EXPECT_FALSE(BeginRegionAccessLayer(&access, nullptr, &region));
    EXPECT_FALSE(BeginRegionAccessLayer(&access, layer, nullptr));
    EXPECT_FALSE(EndAccessLayer(nullptr) || EndAccessLayer(&access)); // never opened
    EXPECT_FALSE(GetLayerWidthAndHeight(nullptr, &width, &height));
    EXPECT_EQ(width | height, 0);
    EXPECT_FALSE(GetLayerWidthAndHeight(nullptr, nullptr, nullptr));
    EXPECT_TRUE(GetLayerWidthAndHeight(layer, nullptr, nullptr));
    EXPECT_EQ(GetLayerWidth(nullptr) | GetLayerHeight(nullptr), 0);
    EXPECT_FALSE(GetLayerRegion(nullptr, &region) || GetLayerRegion(layer, nullptr));
    EXPECT_FALSE(GetValidLayerRegion(nullptr, &region) || GetValidLayerRegion(layer, nullptr));
    EXPECT_EQ(region, (LayerRegion{1, 1, 1, 1}));
    EXPECT_FALSE(BeginIntersectAccessLayer(nullptr, layer, layer));
    EXPECT_FALSE(BeginIntersectAccessLayer(&both, nullptr, layer));
    EXPECT_FALSE(BeginIntersectAccessLayer(&both, layer, nullptr));
    EXPECT_FALSE(BeginRegionIntersectAccessLayer(&both, layer, layer, nullptr));
    EXPECT_FALSE(EndIntersectAccessLayer(nullptr) || EndIntersectAccessLayer(&both));
    EXPECT_FALSE(AttachUpdateFunction(nullptr, LogUpdate<0>, nullptr));
    EXPECT_FALSE(DetachUpdateFunction(nullptr, LogUpdate<0>, nullptr));
    EXPECT_FALSE(UpdateLayer(nullptr, &region) || UpdateLayerEx(nullptr));
    EXPECT_EQ(access.layer, nullptr);
    EXPECT_EQ(both.first.layer, nullptr);
    DeleteLayer(layer); // a free of the stack buffer would trip the sanitizers
    EXPECT_EQ(Events(), Strings{});
}

} // namespace
