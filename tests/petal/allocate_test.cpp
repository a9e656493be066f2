// Allocator hooks: fallback chains, data pointers, and refused sizes.
#include <cstring>

#include "hooks.h"

namespace {

u8* FailingAlloc(i32 size, FreeFunction*, void**, void* data)
{
    Log(data ? "alloc-with-datum" : "alloc", std::uintptr_t(size));
    return nullptr;
}

u8* FailingZero(i32 size, FreeFunction*, void**, void* data)
{
    Log(data ? "zero-with-datum" : "zero", std::uintptr_t(size));
    return nullptr;
}

void* gSeenPelData = nullptr;

u8* CountingPels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree, void** outFreeData,
                 void* data)
{
    Log("pels", width * height);
    gSeenPelData = data;
    return raw_pel_alloc(width, height, outRowBytes, outFree, outFreeData, nullptr);
}

u8* CountingZeroPels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                     void** outFreeData, void* data)
{
    Log("zero-pels", width * height);
    gSeenPelData = data;
    return zero_pel_alloc(width, height, outRowBytes, outFree, outFreeData, nullptr);
}

int gDatumA, gDatumB;

using Allocate = HookedTest;
using Strings = std::vector<std::string>;

TEST_F(Allocate, DefaultPelsArePackedAndFreedByTheirPair)
{
    u32 rowBytes = 0;
    FreeFunction freeFunction = nullptr;
    void* freeData = &gDatumA;
    u8* block = alloc_raw_pels(3, 2, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(rowBytes, 12u);
    EXPECT_EQ(freeFunction, free_wrapper);
    EXPECT_EQ(freeData, nullptr);
    std::memset(block, 0xAB, 24); // the sanitizer build checks the size
    freeFunction(block, freeData);
    free_wrapper(nullptr, nullptr);
}

// Sizes whose byte count is 0 or does not fit in 31 bits fail, storing nothing.
TEST_F(Allocate, DefaultPelAllocatorsRefuseEmptyAndOversizedBuffers)
{
    const u32 sizes[][2] = {{0, 5},           {5, 0},           {65536, 65537},   {0x40000000u, 1},
                            {0x40000000u, 4}, {0xFFFFFFFFu, 1}, {1, 0x20000000u}, {46341, 46341}};
    for (const auto& size : sizes) {
        for (auto allocPels : {alloc_raw_pels, alloc_zero_pels}) {
            u32 rowBytes = 77;
            FreeFunction freeFunction = nullptr;
            void* freeData = nullptr;
            EXPECT_EQ(allocPels(size[0], size[1], &rowBytes, &freeFunction, &freeData), nullptr)
                << size[0] << "x" << size[1];
            EXPECT_EQ(rowBytes, 77u);
        }
    }
    EXPECT_EQ(CreateLayer(65536, 65537), nullptr);
    EXPECT_EQ(CreateLayerRaw(32768, 65536), nullptr);
    EXPECT_EQ(CreateLayer(0, 10), nullptr);
    EXPECT_EQ(CreateLayer(-1, 10), nullptr);
    EXPECT_EQ(CreateLayer(10, -1), nullptr);
}

TEST_F(Allocate, NullOutPointersFailBeforeAnyHook)
{
    SetAllocator(FailingAlloc, &gDatumA, FailingZero);
    FreeFunction freeFunction = nullptr;
    void* freeData = nullptr;
    EXPECT_EQ(alloc_raw_pels(2, 2, nullptr, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(alloc_zero_pels(2, 2, nullptr, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(Events(), Strings{});
    // Invalid buffer requests still reach both hooks, then fail.
    EXPECT_EQ(alloc_buffer(16, nullptr, &freeData), nullptr);
    EXPECT_EQ(alloc_buffer(0, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(alloc_buffer_zero(-3, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(Events(), (Strings{"alloc:16", "zero:16", "alloc:0", "zero:0",
                                 "zero:" + std::to_string(std::uintptr_t(-3))}));
}

// Failing hooks are passed over silently; the hooks never see their datum.
TEST_F(Allocate, FailingBufferHooksFallBackToTheCLibrary)
{
    SetAllocator(FailingAlloc, &gDatumA, FailingZero);
    FreeFunction freeFunction = nullptr;
    void* freeData = &gDatumB;
    u8* block = alloc_buffer(40, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(freeFunction, free_wrapper);
    EXPECT_EQ(freeData, nullptr);
    freeFunction(block, freeData);

    block = alloc_buffer_zero(40, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[0] | block[39], 0);
    freeFunction(block, freeData);

    u32 rowBytes = 0;
    block = alloc_raw_pels(3, 2, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(rowBytes, 12u);
    freeFunction(block, freeData);
    block = alloc_zero_pels(3, 2, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    freeFunction(block, freeData);
    EXPECT_EQ(Events(), (Strings{"alloc:40", "zero:40", "alloc:24", "zero:24"}));
}

TEST_F(Allocate, WorkingBufferHooksServeLayersAndTheirFreePairsAreKept)
{
    SetAllocator(nullptr, &gDatumA, CountingCalloc);
    Marrow::StubLayer* layer = CreateLayer(2, 3);
    ASSERT_NE(layer, nullptr);
    DeleteLayer(layer);
    const std::string object = std::to_string(sizeof(BasicLayer));
    EXPECT_EQ(Events(), (Strings{"zero:24", "zero:" + object, "free:24", "free:" + object}));
}

TEST_F(Allocate, PelHooksGetTheirDataAndNullsRestoreTheDefaults)
{
    SetPelAllocator(CountingPels, &gDatumA, CountingZeroPels, &gDatumB);
    u32 rowBytes = 0;
    FreeFunction freeFunction = nullptr;
    void* freeData = nullptr;
    u8* block = alloc_raw_pels(4, 1, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(gSeenPelData, &gDatumA);
    freeFunction(block, freeData);
    block = alloc_zero_pels(4, 1, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(gSeenPelData, &gDatumB);
    freeFunction(block, freeData);
    EXPECT_EQ(Events(), (Strings{"pels:4", "zero-pels:4"}));

    SetPelAllocator(nullptr, &gDatumA, nullptr, &gDatumB);
    Events().clear();
    block = alloc_raw_pels(4, 1, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    freeFunction(block, freeData);
    block = alloc_zero_pels(4, 1, &rowBytes, &freeFunction, &freeData);
    ASSERT_NE(block, nullptr);
    freeFunction(block, freeData);
    EXPECT_EQ(Events(), Strings{});
}

} // namespace
