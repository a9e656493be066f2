// What a host sees from load to FlowerInit: the scanline table on its portable
// defaults, the buffer table unselected, then the four platform routines.
// Under CTest every test runs in its own process; run alone, the binary runs
// them in file order, and the first one must see the library as loaded.
#include <gtest/gtest.h>

#include "PixelRoutinesLite.h"
#include "seed.h"
#include "stem.h"

#include <cstdint>
#include <vector>

namespace {

using u32x = std::uint32_t;

// Applies `CHECK(accessorName)` to every slot; each slot's default is Stem::<accessorName>.
#define FOR_EACH_SLOT(CHECK)                                                                       \
    CHECK(ClearScanline)                                                                           \
    CHECK(SetScanline)                                                                             \
    CHECK(CopyScanline) CHECK(MoveScanline) CHECK(SetAlphaScanline) CHECK(SetRedScanline) CHECK(   \
        SetGreenScanline) CHECK(SetBlueScanline) CHECK(FadeScanline) CHECK(FadeCopyScanline)       \
        CHECK(CompositScanline) CHECK(CompositOnOpaqueScanline) CHECK(CompositOnColourScanline)    \
            CHECK(CompositColourOnScanline) CHECK(CompositColourOnOpaqueScanline)                  \
                CHECK(ReverseCompositScanline) CHECK(AddScanline) CHECK(BlendScanline)             \
                    CHECK(CompositWithTopOpacityScanline) CHECK(CompositWithBottomOpacityScanline) \
                        CHECK(CompositWithOpacityScanline) CHECK(CompositThreeScanlines)           \
                            CHECK(CompositThreeScanlinesWithTopOpacity)                            \
                                CHECK(CompositThreeScanlinesWithMiddleOpacity)                     \
                                    CHECK(CompositThreeScanlinesWithBottomOpacity)                 \
                                        CHECK(CompositThreeScanlinesWithOpacity)                   \
                                            CHECK(SwapScanline) CHECK(HorizontalFlipScanline)      \
                                                CHECK(MaxScanline)

bool IsUnselected(void* slot)
{
    return slot == reinterpret_cast<void*>(&UninitializedFunctionPointer);
}

#define AS_VOID(slot) reinterpret_cast<void*>(slot)
const std::vector<void*> BufferSlots()
{
    return {AS_VOID(ScanlineBlit),
            AS_VOID(ScanlineBlitColour),
            AS_VOID(ScanlineCrossFade),
            AS_VOID(ScanlineComposit),
            AS_VOID(ScanlineCompositWithOpacity),
            AS_VOID(ScanlineCrawlGradientBlit),
            AS_VOID(ScanlineFade),
            AS_VOID(ScanlinePreMultAlpha),
            AS_VOID(ScanlineSubpixCrawlBlit),
            AS_VOID(ScanlineSubpixCrawlGradientBlit),
            AS_VOID(PreOp),
            AS_VOID(PostOp),
            AS_VOID(CheckTimeSlice),
            AS_VOID(ScanlineShapedCrossFade),
            AS_VOID(ScanlineShapedSubpixCrawlBlit),
            AS_VOID(ScanlineShapedSubpixCrawlGradientBlit),
            AS_VOID(RollBlastDataSubPix),
            AS_VOID(RollBlastDataSubPixNoFilter),
            AS_VOID(RollCopyData)};
}

int SlotsHoldingPortableDefault()
{
    int n = 0;
#define COUNT_DEFAULT(name) n += Get##name() == Stem::name;
    FOR_EACH_SLOT(COUNT_DEFAULT)
#undef COUNT_DEFAULT
    return n;
}

TEST(FreshProcess, TablesHoldLoadTimeContentsUntilFlowerInit)
{
#define EXPECT_DEFAULT(name) EXPECT_EQ(Get##name(), Stem::name) << #name;
    FOR_EACH_SLOT(EXPECT_DEFAULT)
#undef EXPECT_DEFAULT
    for (void* slot : BufferSlots())
        EXPECT_TRUE(IsUnselected(slot));
    EXPECT_TRUE(IsUnselected(AS_VOID(ScanlineShapedCrawlGradientBlit)));

    // Platform routines over an unselected table leave the row as it was.
    std::vector<u32x> row = {0x11223344, 0x55667788, 0x99AABBCC};
    const std::vector<u32x> before = row;
    PixelRoutines::ClearScanline(row.data(), 3);
    PixelRoutines::CompositScanline(row.data(), before.data(), before.data(), 3);
    PixelRoutines::BlendScanline(row.data(), before.data(), before.data(), 3, 9);
    EXPECT_EQ(row, before);
}

TEST(FreshProcess, FlowerInitInstallsExactlyFourPlatformRoutines)
{
    EXPECT_TRUE(FlowerInit());
    EXPECT_EQ(GetClearScanline(), PixelRoutines::ClearScanline);
    EXPECT_EQ(GetSetScanline(), PixelRoutines::SetScanline);
    EXPECT_EQ(GetCopyScanline(), PixelRoutines::CopyScanline);
    EXPECT_EQ(GetCompositScanline(), PixelRoutines::CompositScanline);
    EXPECT_EQ(SlotsHoldingPortableDefault(), 25);
    for (void* slot : BufferSlots())
        EXPECT_FALSE(IsUnselected(slot));
    EXPECT_TRUE(IsUnselected(AS_VOID(ScanlineShapedCrawlGradientBlit)));
}

// A second FlowerInit would reinstall the platform composite if it ran ThornInit again.
TEST(FreshProcess, FlowerInitRunsThornInitOnce)
{
    EXPECT_TRUE(FlowerInit());
    EXPECT_EQ(SetCompositScanline(nullptr), Stem::CompositScanline);
    EXPECT_TRUE(FlowerInit());
    EXPECT_EQ(GetCompositScanline(), Stem::CompositScanline);
}

template <class... A> void Noop(A...) {}

TEST(FreshProcess, SetStoresRoutineAndNullRestoresDefault)
{
#define EXPECT_SET_RULES(name)                                                                     \
    {                                                                                              \
        const name##Routine other = Noop;                                                          \
        EXPECT_EQ(Set##name(other), other) << #name;                                               \
        EXPECT_EQ(Get##name(), other) << #name;                                                    \
        EXPECT_EQ(Set##name(nullptr), Stem::name) << #name;                                        \
        EXPECT_EQ(Get##name(), Stem::name) << #name;                                               \
    }
    FOR_EACH_SLOT(EXPECT_SET_RULES)
#undef EXPECT_SET_RULES
}

} // namespace
