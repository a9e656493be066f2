// What a host sees from load to FlowerInit: the scanline table on its portable
// defaults, the buffer table unselected, then the four platform routines.
// Under CTest every test runs in its own process; run alone, the binary runs
// them in file order, and the first one must see the library as loaded.
#include <gtest/gtest.h>

#include "seed.h"
#include "stem.h"
#include "support/BufferSlots.h"

#include <cstdint>
#include <vector>

namespace {

using support::AnySlot;

// Applies `CHECK(name)` to every slot; each slot's default is Stem::<name>.
// clang-format off
#define FOR_EACH_SLOT(CHECK)                                                                    \
    CHECK(ClearScanline) CHECK(SetScanline) CHECK(CopyScanline) CHECK(MoveScanline)             \
    CHECK(SetAlphaScanline) CHECK(SetRedScanline) CHECK(SetGreenScanline) CHECK(SetBlueScanline) \
    CHECK(FadeScanline) CHECK(FadeCopyScanline) CHECK(CompositScanline)                         \
    CHECK(CompositOnOpaqueScanline) CHECK(CompositOnColourScanline)                             \
    CHECK(CompositColourOnScanline) CHECK(CompositColourOnOpaqueScanline)                       \
    CHECK(ReverseCompositScanline) CHECK(AddScanline) CHECK(BlendScanline)                      \
    CHECK(CompositWithTopOpacityScanline) CHECK(CompositWithBottomOpacityScanline)              \
    CHECK(CompositWithOpacityScanline) CHECK(CompositThreeScanlines)                            \
    CHECK(CompositThreeScanlinesWithTopOpacity) CHECK(CompositThreeScanlinesWithMiddleOpacity)  \
    CHECK(CompositThreeScanlinesWithBottomOpacity) CHECK(CompositThreeScanlinesWithOpacity)     \
    CHECK(SwapScanline) CHECK(HorizontalFlipScanline) CHECK(MaxScanline)
// clang-format on

int SlotsHoldingPortableDefault()
{
    int n = 0;
#define COUNT_DEFAULT(name) n += Get##name() == Stem::name;
    FOR_EACH_SLOT(COUNT_DEFAULT)
#undef COUNT_DEFAULT
    return n;
}

// Whether each buffer slot is still unselected.
std::vector<bool> BufferSlotsUnselected()
{
    std::vector<bool> unselected;
    for (AnySlot slot : support::BufferSlots())
        unselected.push_back(slot == support::Unselected());
    return unselected;
}

TEST(FreshProcess, TablesHoldLoadTimeContentsUntilFlowerInit)
{
    EXPECT_EQ(SlotsHoldingPortableDefault(), 29);
    EXPECT_EQ(BufferSlotsUnselected(), std::vector<bool>(20, true));

    // Platform routines over an unselected table leave the row as it was.
    std::vector<std::uint32_t> row = {0x11223344, 0x55667788, 0x99AABBCC};
    const std::vector<std::uint32_t> before = row;
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
    std::vector<bool> onlyNeverSelected(20, false);
    onlyNeverSelected[support::kNeverSelectedSlot] = true;
    EXPECT_EQ(BufferSlotsUnselected(), onlyNeverSelected);
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
