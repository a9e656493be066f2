// Allocation-failure injection: a full scenario (layer creation, duplication,
// clipped layers, scaling, backgrounds, channels, contours) runs once for every
// N with the Nth allocation request failing, until a run makes fewer than N
// requests. Every call must then either do its whole work or return its failure
// result, and every block taken during the run must be back when it ends.
#include <gtest/gtest.h>

#include "channel.h"
#include "florist.h"
#include "petal.h"
#include "seed.h"

#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
}

namespace {

enum class Mode { Off, OnlyNth, NthOnwards };

struct Injector {
    Mode mode = Mode::Off;
    long requests = 0;
    long failAt = 0;
};

Injector gInjector;

// Blocks handed out while injection is on; held by pointer so that it outlives
// every static destructor that still frees.
std::unordered_set<void*>& Live()
{
    static auto* live = new std::unordered_set<void*>;
    return *live;
}

bool Refuse()
{
    if (gInjector.mode == Mode::Off)
        return false;
    const long n = ++gInjector.requests;
    return gInjector.mode == Mode::OnlyNth ? n == gInjector.failAt : n >= gInjector.failAt;
}

void* Track(void* block)
{
    if (block != nullptr && gInjector.mode != Mode::Off)
        Live().insert(block);
    return block;
}

} // namespace

extern "C" {

void* __wrap_malloc(std::size_t size)
{
    return Refuse() ? nullptr : Track(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return Refuse() ? nullptr : Track(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size)
{
    if (Refuse())
        return nullptr;
    void* moved = __real_realloc(block, size);
    if (moved != nullptr && block != nullptr)
        Live().erase(block);
    return Track(moved);
}

void __wrap_free(void* block)
{
    if (block != nullptr)
        Live().erase(block);
    __real_free(block);
}

} // extern "C"

namespace {

using Layer = Marrow::StubLayer;

constexpr Pel kColour = 0xC0336699u;

int gUpdates = 0;
bool CountUpdate(Layer*, const LayerRegion*, void*)
{
    ++gUpdates;
    return true;
}

bool LayerHolds(Layer* layer, Pel expected)
{
    LayerAccess a{};
    if (!BeginAccessLayer(&a, layer))
        return false;
    bool same = true;
    for (i32 y = 0; y < a.region.height; ++y) {
        const Pel* row = reinterpret_cast<const Pel*>(a.pixels + std::ptrdiff_t(y) * a.rowBytes);
        for (i32 x = 0; x < a.region.width; ++x)
            same = same && row[x] == expected;
    }
    EndAccessLayer(&a);
    return same;
}

// The scenario. Each step either succeeds with the right result or fails with
// its documented failure result; later steps go on with whatever exists.
void Scenario()
{
    Layer* layer = CreateLayer(16, 8);
    if (layer != nullptr) {
        EXPECT_EQ(GetLayerWidth(layer), 16);
        EXPECT_TRUE(LayerHolds(layer, 0));
        EXPECT_TRUE(FillLayer(layer, kColour));
        EXPECT_TRUE(LayerHolds(layer, kColour));
    }

    Layer* copy = DuplicateLayer(layer);
    if (copy != nullptr) {
        EXPECT_TRUE(LayerHolds(copy, kColour));
    }
    Layer* similar = CreateSimilarLayer(layer);
    if (similar != nullptr) {
        EXPECT_TRUE(LayerHolds(similar, 0));
    }

    Layer* clipped = CreateClippedLayer(layer);
    if (clipped != nullptr) {
        const LayerRegion view{3, 2, 6, 4};
        EXPECT_TRUE(ClipLayer(clipped, &view));
        EXPECT_EQ(GetLayerWidth(clipped), 6);
        Layer* nested = CreateClippedLayer(clipped);
        if (nested != nullptr) {
            EXPECT_EQ(GetLayerHeight(nested), 4);
            Layer* nestedCopy = DuplicateLayer(nested);
            if (nestedCopy != nullptr) {
                EXPECT_EQ(GetLayerWidth(nestedCopy), 6);
                EXPECT_TRUE(LayerHolds(nestedCopy, kColour));
            }
            DeleteLayer(nestedCopy);
            DeleteLayer(nested);
        }
        // The update list grows through the allocator too.
        if (AttachUpdateFunction(clipped, CountUpdate, nullptr)) {
            const int before = gUpdates;
            EXPECT_TRUE(UpdateLayerEx(clipped));
            EXPECT_EQ(gUpdates, before + 1);
        }
    }

    Layer* scaled = CreateLayer(37, 11);
    if (scaled != nullptr && layer != nullptr) {
        // Done in full (the destination no longer blank) or refused.
        if (ResizeLayer(scaled, layer, true)) {
            EXPECT_FALSE(LayerHolds(scaled, 0));
        }
    }
    ScanlineControl* scaler = BeginScaleScanline(5, 3, 9, 7);
    if (scaler != nullptr) {
        std::vector<Pel> in(5, kColour), out(9);
        int rows = 0;
        while (scaler->row < scaler->height && ScaleScanline(out.data(), in.data(), scaler) != 0)
            rows += scaler->outputReady ? 1 : 0;
        EXPECT_EQ(rows, 7);
        EXPECT_TRUE(EndScaleScanline(scaler));
    }

    if (scaled != nullptr)
        BackgroundLayer(scaled, copy, nullptr, false);
    BackgroundScanlineState* background = BeginBackgroundScanlineID(12, 1);
    if (background != nullptr) {
        std::vector<Pel> row(12);
        BackgroundScanline(row.data(), nullptr, background);
        for (const Pel p : row)
            EXPECT_EQ(p >> 24, 0xFFu);
        EndBackgroundScanline(background);
    }
    SetStockLayer(40, layer);
    if (ExistsStockLayer(40)) {
        EXPECT_TRUE(LayerHolds(GetStockLayer(40), kColour));
    }
    SetStockLayer(40, nullptr);

    Channel* channel = CreateSizedChannel(layer);
    if (channel != nullptr && channel->data != nullptr) {
        EXPECT_TRUE(GetAlphaChannel(channel, layer));
        Contour* contour = CreateContourFromChannel(channel, 1);
        if (contour != nullptr) {
            int length = 0;
            const int* data = GetContourData(contour, &length);
            // One loop: the four corners of the 16 x 8 rectangle.
            ASSERT_EQ(length, 10);
            EXPECT_EQ(data[0], 1);
            EXPECT_EQ(data[1], 4);
            DeleteContour(contour);
        }
        Channel* view = CreateClippedChannel(channel);
        if (view != nullptr) {
            ClipChannel(view, 2, 2, 6, 5);
            EXPECT_TRUE(FillChannel(view, 7));
            Channel* tiled = CreateChannel(9, 9);
            if (tiled != nullptr && tiled->data != nullptr) {
                EXPECT_TRUE(TileChannel(tiled, view, 1, 1));
            }
            DeleteChannel(tiled);
            DeleteChannel(view);
        }
    }
    DeleteChannel(channel);

    DeleteLayer(scaled);
    DeleteLayer(clipped);
    DeleteLayer(similar);
    DeleteLayer(copy);
    DeleteLayer(layer);
}

// Runs the scenario with request N failing (alone, or with all after it) for
// N = 1, 2, ... until a run completes without reaching N. Returns how many
// requests an undisturbed run makes.
long RunWithFailures(Mode mode)
{
    for (long n = 1;; ++n) {
        Live().clear();
        gInjector = Injector{mode, 0, n};
        Scenario();
        const long made = gInjector.requests;
        gInjector.mode = Mode::Off;
        EXPECT_TRUE(Live().empty())
            << Live().size() << " blocks leaked when request " << n << " failed";
        if (made < n || ::testing::Test::HasFailure())
            return made;
    }
}

class AllocationFailure : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { FlowerInit(); }
};

// The scenario makes a few dozen requests; far fewer would mean the wrapping
// no longer reaches the library.
TEST_F(AllocationFailure, EveryFailingRequestLeavesNothingBehind)
{
    EXPECT_GT(RunWithFailures(Mode::OnlyNth), 30);
}

TEST_F(AllocationFailure, RunningOutForGoodLeavesNothingBehind)
{
    EXPECT_GT(RunWithFailures(Mode::NthOnwards), 30);
}

// --- Host hooks that fail ------------------------------------------------------
// A failing host hook falls back to the library's defaults, so the scenario
// runs in full whichever hook request fails; every hook block is freed once.

long gHookRequests = 0, gHookFailAt = 0;
// The default pixel allocators draw from the buffer hooks, so one block can
// pass through two hooks: count blocks, not hand-outs.
std::unordered_set<u8*> gHookLive;

void HookFree(u8* block, void*)
{
    EXPECT_EQ(gHookLive.erase(block), 1u) << "a hook block freed twice";
    free_wrapper(block, nullptr);
}

u8* FailingAlloc(i32 size, FreeFunction* outFree, void** outFreeData, void*)
{
    if (++gHookRequests == gHookFailAt)
        return nullptr;
    u8* block = malloc_wrapper(size, outFree, outFreeData, nullptr);
    if (block != nullptr) {
        gHookLive.insert(block);
        *outFree = HookFree;
    }
    return block;
}

u8* FailingPelAlloc(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                    void** outFreeData, void*)
{
    if (++gHookRequests == gHookFailAt)
        return nullptr;
    u8* block = zero_pel_alloc(width, height, outRowBytes, outFree, outFreeData, nullptr);
    if (block != nullptr) {
        gHookLive.insert(block);
        *outFree = HookFree;
    }
    return block;
}

TEST_F(AllocationFailure, FailingHostHooksFallBackToTheDefaults)
{
    SetAllocator(FailingAlloc, nullptr, FailingAlloc);
    SetPelAllocator(FailingPelAlloc, nullptr, FailingPelAlloc, nullptr);
    long made = 0;
    for (long n = 1; made >= n - 1 && !HasFailure(); ++n) {
        gHookRequests = 0;
        gHookFailAt = n;
        Layer* layer = CreateLayer(16, 8);
        ASSERT_NE(layer, nullptr) << "hook request " << n;
        Layer* copy = DuplicateLayer(layer);
        Layer* clipped = CreateClippedLayer(copy);
        Layer* scaled = CreateLayer(5, 5);
        EXPECT_NE(copy, nullptr);
        EXPECT_NE(clipped, nullptr);
        EXPECT_NE(scaled, nullptr);
        EXPECT_TRUE(AttachUpdateFunction(layer, CountUpdate, nullptr));
        EXPECT_TRUE(ResizeLayer(scaled, clipped, false));
        DeleteLayer(scaled);
        DeleteLayer(clipped);
        DeleteLayer(copy);
        DeleteLayer(layer);
        made = gHookRequests;
        EXPECT_TRUE(gHookLive.empty()) << gHookLive.size() << " hook blocks outlived their layers";
    }
    SetAllocator(nullptr, nullptr, nullptr);
    SetPelAllocator(nullptr, nullptr, nullptr, nullptr);
}

} // namespace
