// Clipped layers, nesting, and duplication, against a model that decides
// validity pixel by pixel rather than by rectangle arithmetic.
#include <algorithm>
#include <cstring>
#include <random>

#include "hooks.h"

namespace {

using Strings = std::vector<std::string>;
using Clipped = HookedTest;

Marrow::StubLayer* Clip(Marrow::StubLayer* parent, LayerRegion clip)
{
    Marrow::StubLayer* layer = CreateClippedLayer(parent);
    EXPECT_TRUE(ClipLayer(layer, &clip));
    return layer;
}

LayerRegion RegionOf(Marrow::StubLayer* layer, bool valid)
{
    LayerRegion r = {9, 9, 9, 9};
    EXPECT_TRUE(valid ? GetValidLayerRegion(layer, &r) : GetLayerRegion(layer, &r));
    return r;
}

TEST_F(Clipped, WorkedRegionsAndAccess)
{
    Marrow::StubLayer* parent = CreateLayer(100, 100);
    Marrow::StubLayer* layer = CreateClippedLayer(parent);
    EXPECT_EQ(layer->Type(), 10);
    EXPECT_EQ(RegionOf(layer, false), (LayerRegion{0, 0, 100, 100})); // whole parent at first

    LayerRegion clip = {90, 90, 20, 20};
    ASSERT_TRUE(ClipLayer(layer, &clip));
    EXPECT_EQ(RegionOf(layer, false), (LayerRegion{0, 0, 20, 20}));
    EXPECT_EQ(RegionOf(layer, true), (LayerRegion{0, 0, 10, 10}));
    clip = {200, 200, 10, 10};
    ASSERT_TRUE(ClipLayer(layer, &clip));
    EXPECT_EQ(RegionOf(layer, true), (LayerRegion{-200, -200, 0, 0}));

    clip = {10, 20, 30, 30};
    ASSERT_TRUE(ClipLayer(layer, &clip));
    LayerAccess whole = {}, part = {};
    ASSERT_TRUE(BeginAccessLayer(&whole, parent));
    const LayerRegion r = {0, 0, 10, 10};
    ASSERT_TRUE(BeginRegionAccessLayer(&part, layer, &r));
    EXPECT_EQ(part.pixels, whole.pixels + 20 * 400 + 10 * 4);
    EXPECT_EQ(part.rowBytes, 400);
    EXPECT_EQ(part.region, r);
    EXPECT_TRUE(EndAccessLayer(&part));
    EXPECT_TRUE(EndAccessLayer(&whole));

    EXPECT_FALSE(ClipLayer(parent, &clip)); // not a clipped layer
    EXPECT_EQ(RegionOf(parent, false), (LayerRegion{0, 0, 100, 100}));
    DeleteLayer(layer);
    DeleteLayer(parent);
}

bool LogUpdate(Marrow::StubLayer*, const LayerRegion* r, void* d)
{
    Events().push_back(std::string(static_cast<const char*>(d)) + "{" + std::to_string(r->x) + "," +
                       std::to_string(r->y) + "," + std::to_string(r->width) + "," +
                       std::to_string(r->height) + "}");
    return true;
}

// Each level tells its own functions first, then its parent, moving the region.
TEST_F(Clipped, NestedUpdatesRunInnermostFirstAndNestedLayersKeepTheirParents)
{
    SetAllocator(nullptr, nullptr, CountingCalloc);
    Marrow::StubLayer* parent = CreateLayer(50, 40);
    Marrow::StubLayer* middle = Clip(parent, {5, 6, 30, 30});
    Marrow::StubLayer* inner = Clip(middle, {2, 3, 10, 10});
    char p[] = "parent", m[] = "middle", i[] = "inner";
    AttachUpdateFunction(parent, LogUpdate, p);
    AttachUpdateFunction(middle, LogUpdate, m);
    AttachUpdateFunction(inner, LogUpdate, i);
    DeleteLayer(parent);
    DeleteLayer(middle);
    Events().clear();

    const LayerRegion r = {1, 1, 4, 4}, beyond = {8, 8, 4, 4};
    EXPECT_TRUE(UpdateLayer(inner, &r));
    EXPECT_FALSE(UpdateLayer(inner, &beyond)); // outside the valid region: nobody is told
    EXPECT_EQ(Events(), (Strings{"inner{1,1,4,4}", "middle{3,4,4,4}", "parent{8,10,4,4}"}));

    LayerAccess access = {}, base = {};
    ASSERT_TRUE(BeginAccessLayer(&access, inner));
    ASSERT_TRUE(BeginAccessLayer(&base, parent));
    EXPECT_EQ(access.pixels, base.pixels + 9 * 200 + 7 * 4);
    EndAccessLayer(&base);
    EndAccessLayer(&access);

    Events().clear();
    DeleteLayer(inner);
    const std::string clippedObject = "free:" + std::to_string(sizeof(ClippedLayer));
    EXPECT_EQ(Events(), (Strings{"free:8000", "free:" + std::to_string(sizeof(BasicLayer)),
                                 clippedObject, clippedObject}));
}

// The model: a pel of a level is valid when it lies in the level's own extent
// and its pel one level up is valid; regions are the bounding boxes of such pels.
struct Chain {
    i32 width, height;
    std::vector<LayerRegion> clips;

    bool Valid(std::size_t level, i32 x, i32 y) const
    {
        for (std::size_t k = level; k > 0; --k) {
            const LayerRegion& c = clips[k - 1];
            if (x < 0 || y < 0 || x >= c.width || y >= c.height)
                return false;
            x += c.x;
            y += c.y;
        }
        return x >= 0 && y >= 0 && x < width && y < height;
    }
    // Pels of `area` (or of everything near) valid at `level`; {0,0,0,0} when none.
    LayerRegion Box(std::size_t level, const LayerRegion& area) const
    {
        i32 left = 1000, top = 1000, right = -1000, bottom = -1000;
        for (i32 y = area.y; y < area.y + area.height; ++y)
            for (i32 x = area.x; x < area.x + area.width; ++x)
                if (Valid(level, x, y)) {
                    left = std::min(left, x), right = std::max(right, x + 1);
                    top = std::min(top, y), bottom = std::max(bottom, y + 1);
                }
        return right < left ? LayerRegion{0, 0, 0, 0}
                            : LayerRegion{left, top, right - left, bottom - top};
    }
    std::pair<i32, i32> Offset(std::size_t level) const
    {
        i32 dx = 0, dy = 0;
        for (std::size_t k = 0; k < level; ++k)
            dx += clips[k].x, dy += clips[k].y;
        return {dx, dy};
    }
};

const LayerRegion kNear = {-120, -120, 240, 240};

LayerRegion RandomRegion(std::mt19937& rng, i32 minSize)
{
    std::uniform_int_distribution<i32> position(-25, 25), size(minSize, 30);
    return {position(rng), position(rng), size(rng), size(rng)};
}

// Valid regions, access pointers and duplicated pels of random nested clips over
// a parent with padded rows, against the model.
TEST_F(Clipped, RandomNestedClipsMatchThePelModel)
{
    std::mt19937 rng(20240611);
    const i32 width = 23, height = 17, rowBytes = 100;
    std::vector<u32> pels(rowBytes / 4 * height);
    for (u32& pel : pels)
        pel = rng();
    std::vector<u32> shared = pels;
    Marrow::StubLayer* parent = CreateCompatibleLayer(reinterpret_cast<u8*>(shared.data()), width,
                                                      height, rowBytes, nullptr, nullptr);
    for (int trial = 0; trial < 300; ++trial) {
        Chain chain = {width, height, {}};
        std::vector<Marrow::StubLayer*> levels = {parent};
        const int depth = 1 + trial % 3;
        for (int k = 0; k < depth; ++k) {
            chain.clips.push_back(RandomRegion(rng, trial % 5 == 0 ? 0 : 1));
            levels.push_back(Clip(levels.back(), chain.clips.back()));
        }
        const std::size_t top = levels.size() - 1;
        Marrow::StubLayer* layer = levels[top];
        const LayerRegion box = chain.Box(top, kNear);
        const LayerRegion valid = RegionOf(layer, true);
        const LayerRegion& own = chain.clips.back();
        if (box.width)
            EXPECT_EQ(valid, box) << "trial " << trial;
        else
            EXPECT_EQ(valid, (LayerRegion{-own.x, -own.y, 0, 0})) << "trial " << trial;

        const LayerRegion request = RandomRegion(rng, 1);
        LayerAccess access = {};
        const bool opened = BeginRegionAccessLayer(&access, layer, &request);
        const LayerRegion want = chain.Box(top, request);
        if (want.width) {
            ASSERT_TRUE(opened) << "trial " << trial;
            const auto offset = chain.Offset(top);
            EXPECT_EQ(access.region, want) << "trial " << trial;
            EXPECT_EQ(access.pixels, reinterpret_cast<u8*>(shared.data()) +
                                         (want.y + offset.second) * rowBytes +
                                         (want.x + offset.first) * 4)
                << "trial " << trial;
        }
        if (opened) {
            EXPECT_TRUE(EndAccessLayer(&access));
        }

        Marrow::StubLayer* copy = DuplicateLayer(layer);
        if (own.width > 0 && own.height > 0) {
            ASSERT_NE(copy, nullptr);
            LayerAccess out = {};
            ASSERT_TRUE(BeginAccessLayer(&out, copy));
            const auto offset = chain.Offset(top);
            for (i32 y = 0; y < own.height; ++y)
                for (i32 x = 0; x < own.width; ++x) {
                    const u32 expected = chain.Valid(top, x, y)
                                             ? pels[std::size_t((y + offset.second) * rowBytes / 4 +
                                                                x + offset.first)]
                                             : 0u;
                    u32 got;
                    std::memcpy(&got, out.pixels + y * out.rowBytes + x * 4, 4);
                    ASSERT_EQ(got, expected) << "trial " << trial << " at " << x << "," << y;
                }
            EndAccessLayer(&out);
        } else {
            EXPECT_EQ(copy, nullptr);
        }
        DeleteLayer(copy);
        for (std::size_t k = top; k > 0; --k)
            DeleteLayer(levels[k]);
    }
    EXPECT_EQ(shared, pels); // reading never writes
    DeleteLayer(parent);
}

TEST_F(Clipped, DuplicateOfAPlainLayerCopiesEveryPel)
{
    Marrow::StubLayer* layer = CreateLayerRaw(7, 5);
    LayerAccess in = {}, out = {};
    ASSERT_TRUE(BeginAccessLayer(&in, layer));
    for (int i = 0; i < 35 * 4; ++i)
        in.pixels[i] = u8(i * 7 + 1);
    Marrow::StubLayer* copy = DuplicateLayer(layer);
    ASSERT_TRUE(BeginAccessLayer(&out, copy));
    EXPECT_EQ(std::memcmp(in.pixels, out.pixels, 35 * 4), 0);
    EndAccessLayer(&out);
    EndAccessLayer(&in);
    DeleteLayer(copy);
    DeleteLayer(layer);
}

} // namespace
