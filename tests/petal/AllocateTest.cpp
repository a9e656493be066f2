// Allocator hooks: fallback chains, data pointers, and refused sizes.
#include <cstring>

#include "Hooks.h"

namespace {

int gDatumA, gDatumB;
void* gSeenPelData = nullptr;

template <bool kZero> u8* FailingHook(i32 size, FreeFunction*, void**, void* data)
{
    Log(data ? "datum" : kZero ? "zero" : "alloc", std::uintptr_t(size));
    return nullptr;
}

template <bool kZero>
u8* CountingPels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree, void** outFreeData,
                 void* data)
{
    Log(kZero ? "zero-pels" : "pels", width * height);
    gSeenPelData = data;
    return (kZero ? zero_pel_alloc : raw_pel_alloc)(width, height, outRowBytes, outFree,
                                                    outFreeData, nullptr);
}

template <bool kZero> u8* FailingPels(u32 width, u32 height, u32*, FreeFunction*, void**, void*)
{
    Log(kZero ? "failing-zero-pels" : "failing-pels", width * height);
    return nullptr;
}

using PelAlloc = u8* (*)(u32, u32, u32*, FreeFunction*, void**);

// The pitch of a block allocated and freed through its own pair; 0 for a failure
// that stored nothing. Filling the block lets the sanitizers check its size.
u32 PitchOf(PelAlloc allocPels, u32 width, u32 height)
{
    u32 rowBytes = 77;
    FreeFunction freeFunction = nullptr;
    void* freeData = nullptr;
    u8* block = allocPels(width, height, &rowBytes, &freeFunction, &freeData);
    if (!block)
        return rowBytes == 77 ? 0 : ~0u;
    EXPECT_TRUE(allocPels != alloc_zero_pels || (block[0] | block[rowBytes * height - 1]) == 0);
    std::memset(block, 0xAB, std::size_t(rowBytes) * height);
    freeFunction(block, freeData);
    return rowBytes;
}

using Allocate = HookedTest;

TEST_F(Allocate, DefaultsPackRowsAndRefuseEmptyOrWrappingSizes)
{
    const u32 refused[][2] = {{0, 5},           {5, 0},           {65536, 65537},
                              {0x40000000u, 1}, {0x40000000u, 4}, {0xFFFFFFFFu, 1},
                              {1, 0x20000000u}, {46341, 46341}};
    for (PelAlloc allocPels : {alloc_raw_pels, alloc_zero_pels}) {
        EXPECT_EQ(PitchOf(allocPels, 3, 2), 12u);
        for (const auto& size : refused)
            EXPECT_EQ(PitchOf(allocPels, size[0], size[1]), 0u) << size[0] << "x" << size[1];
    }
    for (auto size : {std::pair<i32, i32>{0, 10}, {-1, 10}, {10, -1}, {65536, 65537}})
        EXPECT_EQ(CreateLayer(size.first, size.second), nullptr);
    EXPECT_EQ(CreateLayerRaw(32768, 65536), nullptr);
}

// Failing hooks are passed over silently, they never see their datum, and a
// null pitch pointer fails before any of them is asked. A failing pixel hook
// falls back to the default pixel allocator, which draws on the buffer hooks.
TEST_F(Allocate, FailingHooksFallBackToTheCLibrary)
{
    SetAllocator(FailingHook<false>, &gDatumA, FailingHook<true>);
    SetPelAllocator(FailingPels<false>, &gDatumA, FailingPels<true>, &gDatumB);
    FreeFunction freeFunction = nullptr;
    void* freeData = &gDatumB;
    EXPECT_EQ(alloc_raw_pels(2, 2, nullptr, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(alloc_zero_pels(2, 2, nullptr, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(alloc_buffer(16, nullptr, &freeData), nullptr);
    EXPECT_EQ(alloc_buffer(0, &freeFunction, &freeData), nullptr);
    EXPECT_EQ(alloc_buffer_zero(-3, &freeFunction, &freeData), nullptr);
    for (auto allocate : {alloc_buffer, alloc_buffer_zero}) {
        u8* block = allocate(40, &freeFunction, &freeData);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(allocate != alloc_buffer_zero || (block[0] | block[39]) == 0);
        EXPECT_EQ(freeFunction, free_wrapper);
        EXPECT_EQ(freeData, nullptr);
        freeFunction(block, freeData);
    }
    EXPECT_EQ(PitchOf(alloc_raw_pels, 3, 2), 12u);
    EXPECT_EQ(PitchOf(alloc_zero_pels, 3, 2), 12u);
    EXPECT_EQ(PitchOf(alloc_raw_pels, 0x8000, 0x4000), 0u); // 2 GiB: kept from the buffer hooks
    EXPECT_EQ(Events(), (Strings{"alloc:16", "zero:16", "alloc:0", "zero:0",
                                 "zero:" + std::to_string(std::uintptr_t(-3)), "alloc:40",
                                 "zero:40", "failing-pels:6", "alloc:24", "failing-zero-pels:6",
                                 "zero:24", "failing-pels:536870912"}));
    free_wrapper(nullptr, nullptr);
}

TEST_F(Allocate, PelHooksGetTheirDataAndNullsRestoreTheDefaults)
{
    SetPelAllocator(CountingPels<false>, &gDatumA, CountingPels<true>, &gDatumB);
    EXPECT_EQ(PitchOf(alloc_raw_pels, 4, 1), 16u);
    EXPECT_EQ(gSeenPelData, &gDatumA);
    EXPECT_EQ(PitchOf(alloc_zero_pels, 4, 1), 16u);
    EXPECT_EQ(gSeenPelData, &gDatumB);
    SetPelAllocator(nullptr, &gDatumA, nullptr, &gDatumB);
    EXPECT_EQ(PitchOf(alloc_raw_pels, 4, 1), 16u);
    EXPECT_EQ(PitchOf(alloc_zero_pels, 4, 1), 16u);
    EXPECT_EQ(Events(), (Strings{"pels:4", "zero-pels:4"}));
}

} // namespace
