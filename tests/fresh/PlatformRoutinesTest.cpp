// Platform routines give what the buffer routines give for the same rows,
// called the buffer way round: bottom before top, bottom opacity first.
#include <gtest/gtest.h>

#include "PixelRoutinesLite.h"
#include "seed.h"
#include "stem.h"

#include <cstdint>
#include <random>
#include <vector>

namespace {

using Row = std::vector<std::uint32_t>;

Row RandomRow(std::mt19937& rng, int n)
{
    Row row(std::size_t(n) + 1); // one spare pel that must survive
    for (auto& p : row) {
        const std::uint32_t v = rng();
        p = v % 3 == 0 ? v & 0xFFFFFF : v % 3 == 1 ? v | 0xFF000000 : v;
    }
    return row;
}

char* B(Row& r)
{
    return reinterpret_cast<char*>(r.data());
}
const char* B(const Row& r)
{
    return reinterpret_cast<const char*>(r.data());
}

class PlatformRoutines : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(FlowerInit()); }
    std::mt19937 rng{1234};
};

TEST_F(PlatformRoutines, MatchBufferRoutinesWithSwappedArguments)
{
    for (int n : {0, 1, 3, 8, 17, 1920}) {
        const Row top = RandomRow(rng, n), bottom = RandomRow(rng, n);
        const Row start = RandomRow(rng, n);
        const int level = int(rng() % 256), opacity = int(rng() % 256);
        const auto l = static_cast<unsigned char>(level), o = static_cast<unsigned char>(opacity);
        Row got, want;
        auto fresh = [&] { got = start, want = start; };

        fresh();
        GetClearScanline()(got.data(), n);
        ScanlineBlitColour(B(want), n, 0);
        EXPECT_EQ(got, want) << "Clear " << n;
        fresh();
        GetSetScanline()(got.data(), n, 0x80FF0000u);
        ScanlineBlitColour(B(want), n, int(0x80FF0000u - 0x100000000ll));
        EXPECT_EQ(got, want) << "Set " << n;
        fresh();
        GetCopyScanline()(got.data(), top.data(), n);
        ScanlineBlit(B(want), B(top), n);
        EXPECT_EQ(got, want) << "Copy " << n;
        fresh();
        GetCompositScanline()(got.data(), top.data(), bottom.data(), n);
        ScanlineComposit(B(want), B(bottom), B(top), n);
        EXPECT_EQ(got, want) << "Composit " << n;
        fresh();
        PixelRoutines::FadeScanline(got.data(), n, l);
        ScanlineFade(B(want), B(want), n, level);
        EXPECT_EQ(got, want) << "Fade " << n;
        fresh();
        PixelRoutines::FadeCopyScanline(got.data(), top.data(), n, l);
        ScanlineFade(B(want), B(top), n, level);
        EXPECT_EQ(got, want) << "FadeCopy " << n;
        fresh();
        PixelRoutines::BlendScanline(got.data(), top.data(), bottom.data(), n, l);
        ScanlineCrossFade(B(want), B(top), B(bottom), n, 256 - level, level);
        EXPECT_EQ(got, want) << "Blend " << n;
        fresh();
        PixelRoutines::CompositWithTopOpacityScanline(got.data(), top.data(), bottom.data(), n, o);
        ScanlineCompositWithOpacity(B(want), B(bottom), B(top), n, 255, opacity);
        EXPECT_EQ(got, want) << "CompositWithTopOpacity " << n;
        fresh();
        PixelRoutines::CompositWithBottomOpacityScanline(got.data(), top.data(), bottom.data(), n,
                                                         o);
        ScanlineCompositWithOpacity(B(want), B(bottom), B(top), n, opacity, 255);
        EXPECT_EQ(got, want) << "CompositWithBottomOpacity " << n;
        fresh();
        PixelRoutines::CompositWithOpacityScanline(got.data(), top.data(), bottom.data(), n, l, o);
        ScanlineCompositWithOpacity(B(want), B(bottom), B(top), n, opacity, level);
        EXPECT_EQ(got, want) << "CompositWithOpacity " << n;
    }
}

} // namespace
