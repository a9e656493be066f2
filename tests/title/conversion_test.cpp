// The tool's own arithmetic: colour conversion, the stream header and
// sub-pixel positions.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "Scene.h"
#include "Video.h"
#include "Yuv.h"

using namespace title;

// BT.709 limited range from the defining equations in double precision; a
// model value within a hair of .5 may round either way.
TEST(Y4mConversion, MatchesBt709LimitedRangeModel)
{
    std::mt19937 rng(7);
    for (int i = 0; i < 200000 && !HasFailure(); ++i) {
        const std::uint32_t pel = i < 256 ? 0xFF000000u | std::uint32_t(i) * 0x010101u : rng();
        const double r = (pel >> 16 & 255) / 255.0, g = (pel >> 8 & 255) / 255.0,
                     b = (pel & 255) / 255.0, luma = 0.2126 * r + 0.7152 * g + 0.0722 * b;
        const YuvPixel got = Bt709Limited(pel);
        const double model[] = {16 + 219 * luma, 128 + 224 * (b - luma) / 1.8556,
                                128 + 224 * (r - luma) / 1.5748};
        const int values[] = {got.y, got.cb, got.cr};
        for (int k = 0; k < 3; ++k) {
            if (std::fabs(model[k] - std::floor(model[k]) - 0.5) < 1e-3)
                EXPECT_LE(std::fabs(model[k] - values[k]), 0.5 + 1e-3) << k << " of " << pel;
            else
                EXPECT_EQ(int(std::floor(model[k] + 0.5)), values[k]) << k << " of " << pel;
        }
    }
}

TEST(Y4mConversion, HeaderCarriesRateAndFieldOrder)
{
    VideoFormat f;
    f.width = 1920;
    f.height = 1080;
    f.rate = FrameRate{30000, 1001};
    f.interlace = Interlace::TopFieldFirst;
    EXPECT_EQ(Y4mHeaderFor(f), "YUV4MPEG2 W1920 H1080 F30000:1001 It A1:1 C420jpeg XYSCSS=420JPEG "
                               "XCOLORRANGE=LIMITED");
    f.interlace = Interlace::BottomFieldFirst;
    EXPECT_NE(Y4mHeaderFor(f).find(" Ib "), std::string::npos);
}

TEST(Positions, SplitIntoReducedWholePixelsAndFractions)
{
    const struct {
        double pixels;
        int period, whole, fraction;
    } cases[] = {
        {0, 100, 0, 0},         {2.5, 100, 2, 128}, {99.999, 100, 0, 0},
        {-0.25, 100, 99, 192},  {-100, 100, 0, 0},  {1e9 + 3, 7, int((1000000003LL) % 7), 0},
        {3.0 - 1e-9, 10, 3, 0}, // rounding to 1/256 snaps tiny float error
    };
    for (const auto& c : cases) {
        const SubPosition p = PositionAt(c.pixels, c.period);
        EXPECT_EQ(p.whole * 1000 + p.fraction, c.whole * 1000 + c.fraction) << c.pixels;
    }
}
