// Layer lifetime, reference counts, update lists and accesses.
#include <cstdio>
#include <cstring>

#include "hooks.h"

namespace {

using Strings = std::vector<std::string>;
using Layers = HookedTest;

// A caller's buffer whose free is logged with its size.
Marrow::StubLayer* CompatibleLayer(i32 width, i32 height)
{
    const std::size_t size = std::size_t(width) * std::size_t(height) * 4;
    u8* pixels = static_cast<u8*>(std::calloc(size, 1));
    return CreateCompatibleLayer(pixels, width, height, width * 4, CountingFree,
                                 reinterpret_cast<void*>(size));
}

bool LogUpdate(const char* name, const LayerRegion* r, bool result)
{
    Events().push_back(std::string(name) + "{" + std::to_string(r->x) + "," + std::to_string(r->y) +
                       "," + std::to_string(r->width) + "," + std::to_string(r->height) + "}");
    return result;
}
bool UpdateF(Marrow::StubLayer*, const LayerRegion* r, void* d)
{
    return LogUpdate(d ? static_cast<const char*>(d) : "f", r, true);
}
bool UpdateG(Marrow::StubLayer*, const LayerRegion* r, void* d)
{
    return LogUpdate(d ? static_cast<const char*>(d) : "g", r, true);
}
bool UpdateRefuses(Marrow::StubLayer*, const LayerRegion* r, void*)
{
    return LogUpdate("no", r, false);
}

TEST_F(Layers, LastReferenceFreesPixelsThenObject)
{
    SetAllocator(nullptr, nullptr, CountingCalloc);
    Marrow::StubLayer* layer = CompatibleLayer(2, 2);
    ASSERT_NE(layer, nullptr);
    const std::string object = "free:" + std::to_string(sizeof(BasicLayer));
    EXPECT_EQ(AddRefCountLayer(layer), layer);
    DeleteLayer(layer);
    EXPECT_EQ(GetLayerWidth(layer), 2); // still alive
    EXPECT_EQ(Events(), Strings{"zero:" + std::to_string(sizeof(BasicLayer))});
    DeleteLayer(layer);
    EXPECT_EQ(Events(), (Strings{"zero:" + std::to_string(sizeof(BasicLayer)), "free:16", object}));
}

TEST_F(Layers, CompatibleLayerWithoutFreeFunctionNeverFreesTheBuffer)
{
    u8 pixels[16] = {};
    Marrow::StubLayer* layer = CreateCompatibleLayer(pixels, 2, 2, 8, nullptr, nullptr);
    ASSERT_NE(layer, nullptr);
    DeleteLayer(layer); // a free of a stack buffer would trip the sanitizers
    EXPECT_EQ(CreateCompatibleLayer(nullptr, 2, 2, 8, CountingFree, nullptr), nullptr);
    EXPECT_EQ(Events(), Strings{});
}

TEST_F(Layers, NewLayersAreZeroedAndPacked)
{
    Marrow::StubLayer* layer = CreateLayer(2, 2);
    LayerAccess access = {};
    ASSERT_TRUE(BeginAccessLayer(&access, layer));
    EXPECT_EQ(access.rowBytes, 8);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(access.pixels[i], 0);
    EXPECT_TRUE(EndAccessLayer(&access));
    EXPECT_EQ(layer->Type(), 0);
    Marrow::StubLayer* similar = CreateSimilarLayer(layer);
    EXPECT_EQ(GetLayerWidth(similar), 2);
    EXPECT_EQ(GetLayerHeight(similar), 2);
    DeleteLayer(similar);
    DeleteLayer(layer);
}

// A layer whose count reached 0 is dying: it cannot be revived, and a second
// AddRef shows the first one took nothing back.
TEST_F(Layers, DeadLayerCannotBeRevived)
{
    u8 pixels[16] = {};
    BasicLayer layer(pixels, 2, 2, 8, nullptr, nullptr);
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
    char d1[] = "f1", d2[] = "g2", d3[] = "f3";
    EXPECT_TRUE(UpdateLayer(layer, nullptr)); // nobody listening
    EXPECT_FALSE(AttachUpdateFunction(layer, nullptr, d1));
    EXPECT_TRUE(AttachUpdateFunction(layer, UpdateF, d1));
    EXPECT_TRUE(AttachUpdateFunction(layer, UpdateG, d2));
    EXPECT_TRUE(AttachUpdateFunction(layer, UpdateF, d1));
    EXPECT_TRUE(AttachUpdateFunction(layer, UpdateF, d3));
    const LayerRegion r = {1, 2, 3, 1};
    EXPECT_TRUE(UpdateLayer(layer, &r));
    EXPECT_EQ(Events(), (Strings{"g2{1,2,3,1}", "f1{1,2,3,1}", "f3{1,2,3,1}"}));

    Events().clear();
    EXPECT_FALSE(DetachUpdateFunction(layer, UpdateF, d1)); // present, and still false
    EXPECT_FALSE(DetachUpdateFunction(layer, UpdateF, d2)); // absent
    EXPECT_TRUE(AttachUpdateFunction(layer, UpdateRefuses, nullptr));
    EXPECT_TRUE(AttachUpdateFunction(layer, UpdateG, d2));
    EXPECT_FALSE(UpdateLayerEx(layer)); // one refusal, yet everyone is told
    EXPECT_EQ(Events(), (Strings{"f3{0,0,4,4}", "no{0,0,4,4}", "g2{0,0,4,4}"}));
    DeleteLayer(layer);
}

TEST_F(Layers, UpdateListGrowsWithoutLosingOrder)
{
    Marrow::StubLayer* layer = CreateLayer(1, 1);
    static char names[100][4];
    for (int i = 0; i < 100; ++i) {
        std::snprintf(names[i], sizeof names[i], "%d", i);
        ASSERT_TRUE(AttachUpdateFunction(layer, UpdateF, names[i]));
    }
    for (int i = 0; i < 100; i += 2)
        DetachUpdateFunction(layer, UpdateF, names[i]);
    EXPECT_TRUE(UpdateLayerEx(layer));
    ASSERT_EQ(Events().size(), 50u);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(Events()[std::size_t(i)], std::to_string(2 * i + 1) + "{0,0,1,1}");
    DeleteLayer(layer);
}

TEST_F(Layers, RegionAccessClipsToTheLayerAndPointsAtItsFirstPixel)
{
    Marrow::StubLayer* layer = CreateLayer(10, 10);
    LayerAccess whole = {}, part = {};
    ASSERT_TRUE(BeginAccessLayer(&whole, layer));
    const LayerRegion r = {2, 3, 4, 5};
    ASSERT_TRUE(BeginRegionAccessLayer(&part, layer, &r));
    EXPECT_EQ(part.pixels, whole.pixels + 128);
    EXPECT_EQ(part.rowBytes, 40);
    EXPECT_EQ(part.region, r);
    EXPECT_EQ(part.layer, layer);
    EXPECT_NE(part.token, nullptr);
    EXPECT_TRUE(EndAccessLayer(&part));

    const LayerRegion corner = {-5, -5, 10, 10}, outside = {200, 200, 10, 10};
    ASSERT_TRUE(BeginRegionAccessLayer(&part, layer, &corner));
    EXPECT_EQ(part.pixels, whole.pixels);
    EXPECT_EQ(part.region, (LayerRegion{0, 0, 5, 5}));
    EXPECT_TRUE(EndAccessLayer(&part));
    ASSERT_TRUE(BeginRegionAccessLayer(&part, layer, &outside));
    EXPECT_EQ(part.pixels, whole.pixels);
    EXPECT_EQ(part.region, (LayerRegion{0, 0, 0, 0}));
    EXPECT_TRUE(EndAccessLayer(&part));
    EXPECT_TRUE(EndAccessLayer(&whole));
    DeleteLayer(layer);
}

TEST_F(Layers, OpenAccessKeepsTheLayerAlive)
{
    Marrow::StubLayer* layer = CompatibleLayer(3, 3);
    LayerAccess access = {};
    ASSERT_TRUE(BeginAccessLayer(&access, layer));
    DeleteLayer(layer);
    EXPECT_EQ(Events(), Strings{});
    access.pixels[35] = 7; // the pixels are still there
    EXPECT_TRUE(EndAccessLayer(&access));
    EXPECT_EQ(Events(), Strings{"free:36"});
}

TEST_F(Layers, IntersectAccessCoversTheCommonPartOfBothLayers)
{
    Marrow::StubLayer* wide = CompatibleLayer(100, 50);
    Marrow::StubLayer* tall = CompatibleLayer(60, 80);
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
    EXPECT_EQ(Events(), Strings{}); // the accesses hold them
    EXPECT_TRUE(EndIntersectAccessLayer(&both));
    EXPECT_EQ(Events(), (Strings{"free:20000", "free:19200"}));
}

TEST_F(Layers, FailedIntersectAccessHoldsNothing)
{
    Marrow::StubLayer* a = CompatibleLayer(10, 10);
    Marrow::StubLayer* b = CompatibleLayer(10, 10);
    LayerIntersectAccess both = {};
    const LayerRegion miss = {20, 0, 5, 5}, empty = {0, 0, 0, 5};
    EXPECT_FALSE(BeginRegionIntersectAccessLayer(&both, a, b, &miss));
    EXPECT_FALSE(BeginRegionIntersectAccessLayer(&both, a, b, &empty));
    EXPECT_EQ(both.first.layer, nullptr);
    DeleteLayer(a);
    DeleteLayer(b);
    EXPECT_EQ(Events(), (Strings{"free:400", "free:400"}));
}

TEST_F(Layers, NullHandlesAndRecordsFail)
{
    Marrow::StubLayer* layer = CreateLayer(2, 2);
    LayerAccess access = {};
    LayerIntersectAccess both = {};
    LayerRegion region = {1, 1, 1, 1};
    i32 width = 5, height = 5;
    DeleteLayer(nullptr);
    EXPECT_EQ(AddRefCountLayer(nullptr), nullptr);
    EXPECT_EQ(CreateSimilarLayer(nullptr), nullptr);
    EXPECT_EQ(DuplicateLayer(nullptr), nullptr);
    EXPECT_EQ(CreateClippedLayer(nullptr), nullptr);
    EXPECT_FALSE(ClipLayer(nullptr, &region));
    EXPECT_FALSE(BeginAccessLayer(nullptr, layer));
    EXPECT_FALSE(BeginAccessLayer(&access, nullptr));
    EXPECT_FALSE(BeginRegionAccessLayer(nullptr, layer, &region));
    EXPECT_FALSE(BeginRegionAccessLayer(&access, nullptr, &region));
    EXPECT_FALSE(BeginRegionAccessLayer(&access, layer, nullptr));
    EXPECT_FALSE(EndAccessLayer(nullptr));
    EXPECT_FALSE(EndAccessLayer(&access)); // never opened: no layer
    EXPECT_FALSE(GetLayerWidthAndHeight(nullptr, &width, &height));
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
    EXPECT_FALSE(GetLayerWidthAndHeight(nullptr, nullptr, nullptr));
    EXPECT_TRUE(GetLayerWidthAndHeight(layer, nullptr, nullptr));
    EXPECT_EQ(GetLayerWidth(nullptr), 0);
    EXPECT_EQ(GetLayerHeight(nullptr), 0);
    EXPECT_FALSE(GetLayerRegion(nullptr, &region));
    EXPECT_FALSE(GetLayerRegion(layer, nullptr));
    EXPECT_FALSE(GetValidLayerRegion(nullptr, &region));
    EXPECT_FALSE(GetValidLayerRegion(layer, nullptr));
    EXPECT_EQ(region, (LayerRegion{1, 1, 1, 1}));
    EXPECT_FALSE(BeginIntersectAccessLayer(nullptr, layer, layer));
    EXPECT_FALSE(BeginIntersectAccessLayer(&both, nullptr, layer));
    EXPECT_FALSE(BeginIntersectAccessLayer(&both, layer, nullptr));
    EXPECT_FALSE(BeginRegionIntersectAccessLayer(&both, layer, layer, nullptr));
    EXPECT_FALSE(EndIntersectAccessLayer(nullptr));
    EXPECT_FALSE(EndIntersectAccessLayer(&both));
    EXPECT_FALSE(AttachUpdateFunction(nullptr, UpdateF, nullptr));
    EXPECT_FALSE(DetachUpdateFunction(nullptr, UpdateF, nullptr));
    EXPECT_FALSE(UpdateLayer(nullptr, &region));
    EXPECT_FALSE(UpdateLayerEx(nullptr));
    EXPECT_EQ(access.layer, nullptr);
    EXPECT_EQ(both.first.layer, nullptr);
    DeleteLayer(layer);
}

} // namespace
