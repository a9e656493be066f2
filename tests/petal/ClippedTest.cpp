// Accesses, clipped layers, nesting and duplication, against a model that
// decides validity pixel by pixel rather than by rectangle arithmetic.
#include <algorithm>
#include <cstring>
#include <random>

#include "Hooks.h"

namespace {

using Clipped = HookedTest;

Marrow::StubLayer* Clip(Marrow::StubLayer* parent, LayerRegion clip)
{
    Marrow::StubLayer* layer = CreateClippedLayer(parent);
    EXPECT_TRUE(ClipLayer(layer, &clip));
    return layer;
}

// Each level tells its own functions first, then its parent, moving the region;
// the innermost view keeps the whole chain alive, and its last reference frees
// pixels before objects.
TEST_F(Clipped, NestedUpdatesRunInnermostFirstAndViewsKeepTheirParents)
{
    SetAllocator(nullptr, nullptr, CountingCalloc);
    Marrow::StubLayer* parent = CreateLayer(50, 40);
    Marrow::StubLayer* middle = Clip(parent, {5, 6, 30, 30});
    Marrow::StubLayer* inner = Clip(middle, {2, 3, 10, 10});
    EXPECT_EQ(inner->Type(), 10);
    const LayerRegion clip = {0, 0, 1, 1};
    EXPECT_FALSE(ClipLayer(parent, &clip)); // not a clipped layer
    char p[] = "parent", m[] = "middle", i[] = "inner";
    AttachUpdateFunction(parent, LogUpdate<0>, p);
    AttachUpdateFunction(middle, LogUpdate<0>, m);
    AttachUpdateFunction(inner, LogUpdate<0>, i);
    DeleteLayer(parent);
    DeleteLayer(middle);
    Events().clear();

    const LayerRegion r = {1, 1, 4, 4}, beyond = {8, 8, 4, 4};
    EXPECT_TRUE(UpdateLayer(inner, &r));
    EXPECT_FALSE(UpdateLayer(inner, &beyond)); // outside the valid region: nobody is told
    EXPECT_EQ(Events(), (Strings{"inner{1,1,4,4}", "middle{3,4,4,4}", "parent{8,10,4,4}"}));

    Events().clear();
    EXPECT_EQ(AddRefCountLayer(inner), inner);
    DeleteLayer(inner);
    EXPECT_EQ(Events(), Strings{});
    DeleteLayer(inner);
    const std::string view = "free:" + std::to_string(sizeof(ClippedLayer));
    EXPECT_EQ(Events(),
              (Strings{"free:8000", "free:" + std::to_string(sizeof(BasicLayer)), view, view}));
}

// The model: a pel of a level is valid when it lies in the level's own extent
// and its pel one level up is valid; regions are the bounding boxes of such pels.
struct Chain {
    i32 width, height;
    std::vector<LayerRegion> clips;

    bool Valid(i32 x, i32 y) const
    {
        for (std::size_t k = clips.size(); k > 0; --k) {
            const LayerRegion& c = clips[k - 1];
            if (x < 0 || y < 0 || x >= c.width || y >= c.height)
                return false;
            x += c.x, y += c.y;
        }
        return x >= 0 && y >= 0 && x < width && y < height;
    }
    // The valid pels of `area`; {0,0,0,0} when none.
    LayerRegion Box(const LayerRegion& area) const
    {
        i32 left = 1000, top = 1000, right = -1000, bottom = -1000;
        for (i32 y = area.y; y < area.y + area.height; ++y)
            for (i32 x = area.x; x < area.x + area.width; ++x)
                if (Valid(x, y)) {
                    left = std::min(left, x), right = std::max(right, x + 1);
                    top = std::min(top, y), bottom = std::max(bottom, y + 1);
                }
        return right < left ? LayerRegion{0, 0, 0, 0}
                            : LayerRegion{left, top, right - left, bottom - top};
    }
    // The parent's pel index of the top level's (x, y) with `pitch` pels per row.
    std::size_t Index(i32 x, i32 y, i32 pitch) const
    {
        for (const LayerRegion& c : clips)
            x += c.x, y += c.y;
        return std::size_t(y * pitch + x);
    }
};

LayerRegion RandomRegion(std::mt19937& rng, i32 minSize)
{
    std::uniform_int_distribution<i32> position(-25, 25), size(minSize, 30);
    return {position(rng), position(rng), size(rng), size(rng)};
}

// Valid regions, access records and duplicated pels of a plain layer (packed or
// padded rows) and of random nested clips over it, against the model.
TEST_F(Clipped, RandomAccessesAndDuplicatesMatchThePelModel)
{
    std::mt19937 rng(20240611);
    const i32 width = 23, height = 17;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const i32 pitch = trial % 2 ? width : width + 2;
        std::vector<u32> pels(std::size_t(pitch) * height);
        for (u32& pel : pels)
            pel = rng();
        std::vector<u32> shared = pels;
        u8* base = reinterpret_cast<u8*>(shared.data());
        Chain chain = {width, height, {}};
        std::vector<Marrow::StubLayer*> levels = {
            CreateCompatibleLayer(base, width, height, pitch * 4, nullptr, nullptr)};
        for (int k = 0; k < trial % 4; ++k) {
            chain.clips.push_back(RandomRegion(rng, trial % 5 == 0 ? 0 : 1));
            levels.push_back(Clip(levels.back(), chain.clips.back()));
        }
        Marrow::StubLayer* layer = levels.back();
        const LayerRegion own =
            chain.clips.empty() ? LayerRegion{0, 0, width, height} : chain.clips.back();
        const LayerRegion box = chain.Box({-120, -120, 240, 240});
        LayerRegion valid = {9, 9, 9, 9};
        EXPECT_TRUE(GetValidLayerRegion(layer, &valid));
        EXPECT_EQ(valid, (box.width ? box : LayerRegion{-own.x, -own.y, 0, 0}));

        const LayerRegion request = RandomRegion(rng, 1), want = chain.Box(request);
        LayerAccess access = {};
        const bool opened = BeginRegionAccessLayer(&access, layer, &request);
        ASSERT_TRUE(opened || (!want.width && layer != levels[0]));
        if (opened) {
            EXPECT_EQ(access.region, want);
            if (want.width || layer == levels[0]) {
                EXPECT_EQ(access.pixels, base + chain.Index(want.x, want.y, pitch) * 4);
            }
            EXPECT_EQ(access.rowBytes, pitch * 4);
            EXPECT_EQ(access.layer, layer);
            EXPECT_TRUE(EndAccessLayer(&access));
        }

        Marrow::StubLayer* copy = DuplicateLayer(layer);
        Marrow::StubLayer* similar = CreateSimilarLayer(layer);
        ASSERT_EQ(copy != nullptr, own.width > 0 && own.height > 0);
        ASSERT_EQ(GetLayerWidth(similar), GetLayerWidth(copy));
        if (copy) {
            LayerAccess out = {};
            ASSERT_TRUE(BeginAccessLayer(&out, copy));
            for (i32 y = 0; y < own.height; ++y)
                for (i32 x = 0; x < own.width; ++x) {
                    u32 got;
                    std::memcpy(&got, out.pixels + y * out.rowBytes + x * 4, 4);
                    ASSERT_EQ(got, chain.Valid(x, y) ? pels[chain.Index(x, y, pitch)] : 0u)
                        << "at " << x << "," << y;
                }
            EndAccessLayer(&out);
        }
        DeleteLayer(similar);
        DeleteLayer(copy);
        for (std::size_t k = levels.size(); k > 0; --k)
            DeleteLayer(levels[k - 1]);
        EXPECT_EQ(shared, pels); // reading never writes
    }
}

} // namespace
