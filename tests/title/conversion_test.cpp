// The tool's own arithmetic: colour conversion, chroma siting per field,
// sub-pixel positions and colour parsing.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "Options.h"
#include "Scene.h"
#include "ToolError.h"
#include "Y4m.h"

using namespace title;

namespace {

// BT.709, limited range, from the defining equations in double precision.
void ModelYuv(std::uint32_t pel, double& y, double& cb, double& cr)
{
    const double r = (pel >> 16 & 255) / 255.0, g = (pel >> 8 & 255) / 255.0,
                 b = (pel & 255) / 255.0;
    const double luma = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    y = 16 + 219 * luma;
    cb = 128 + 224 * (b - luma) / 1.8556;
    cr = 128 + 224 * (r - luma) / 1.5748;
}

// Rounded model values; a model value within a hair of .5 may round either way.
void ExpectRounds(double model, int got, const char* what, std::uint32_t pel)
{
    const double nearest = std::floor(model + 0.5);
    if (std::fabs(model - std::floor(model) - 0.5) < 1e-3)
        EXPECT_LE(std::fabs(model - got), 0.5 + 1e-3) << what << " of " << std::hex << pel;
    else
        EXPECT_EQ(int(nearest), got) << what << " of " << std::hex << pel;
}

} // namespace

TEST(Y4mConversion, MatchesBt709LimitedRangeModel)
{
    EXPECT_EQ(Bt709Limited(0xFFFFFFFFu).y, 235);
    EXPECT_EQ(Bt709Limited(0xFF000000u).y, 16);
    EXPECT_EQ(Bt709Limited(0xFF0000FFu).cb, 240);
    EXPECT_EQ(Bt709Limited(0xFFFF0000u).cr, 240);
    std::mt19937 rng(7);
    for (int i = 0; i < 200000; ++i) {
        const std::uint32_t pel = i < 256 ? 0xFF000000u | std::uint32_t(i) * 0x010101u : rng();
        double y, cb, cr;
        ModelYuv(pel, y, cb, cr);
        const YuvPixel got = Bt709Limited(pel);
        ExpectRounds(y, got.y, "Y", pel);
        ExpectRounds(cb, got.cb, "Cb", pel);
        ExpectRounds(cr, got.cr, "Cr", pel);
        if (HasFailure())
            return;
    }
}

// Rows alternate blue and red: progressive chroma mixes neighbouring rows,
// interlaced chroma keeps each field's own colour.
TEST(Y4mConversion, InterlacedChromaStaysWithinEachField)
{
    Image img;
    img.width = 4;
    img.height = 8;
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            img.pels.push_back(y % 2 == 0 ? 0xFF0000FFu : 0xFFFF0000u);
    auto planes = [&](Interlace mode) {
        Y4mWriter writer(4, 8, FrameRate{25, 1}, mode);
        std::FILE* f = std::tmpfile();
        EXPECT_TRUE(writer.WriteFrame(img, f));
        std::vector<unsigned char> bytes(6 + 32 + 2 * 8);
        std::rewind(f);
        EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), f), bytes.size());
        EXPECT_EQ(std::fgetc(f), EOF);
        std::fclose(f);
        return bytes;
    };
    const auto progressive = planes(Interlace::None);
    const auto fields = planes(Interlace::TopFieldFirst);
    const int blueCb = Bt709Limited(0xFF0000FFu).cb, redCb = Bt709Limited(0xFFFF0000u).cb;
    const std::size_t cbStart = 6 + 32;
    for (int j = 0; j < 4; ++j) {
        const int row0 = fields[cbStart + std::size_t(j) * 2];
        EXPECT_EQ(row0, j % 2 == 0 ? blueCb : redCb) << "chroma row " << j;
        EXPECT_NEAR(progressive[cbStart + std::size_t(j) * 2], (blueCb + redCb) / 2.0, 1.0);
    }
}

TEST(Y4mConversion, HeaderCarriesRateAndFieldOrder)
{
    EXPECT_EQ(Y4mWriter(1920, 1080, FrameRate{30000, 1001}, Interlace::TopFieldFirst).Header(),
              "YUV4MPEG2 W1920 H1080 F30000:1001 It A1:1 C420jpeg XYSCSS=420JPEG "
              "XCOLORRANGE=LIMITED\n");
    EXPECT_NE(
        Y4mWriter(16, 16, FrameRate{25, 1}, Interlace::BottomFieldFirst).Header().find(" Ib "),
        std::string::npos);
}

TEST(Positions, SplitIntoReducedWholePixelsAndFractions)
{
    struct Case {
        double pixels;
        int period, whole, fraction;
    } cases[] = {
        {0, 100, 0, 0},         {2.5, 100, 2, 128}, {99.999, 100, 0, 0},
        {-0.25, 100, 99, 192},  {-100, 100, 0, 0},  {1e9 + 3, 7, int((1000000003LL) % 7), 0},
        {3.0 - 1e-9, 10, 3, 0}, // rounding to 1/256 snaps tiny float error
    };
    for (const Case& c : cases) {
        const SubPosition p = PositionAt(c.pixels, c.period);
        EXPECT_EQ(p.whole, c.whole) << c.pixels;
        EXPECT_EQ(p.fraction, c.fraction) << c.pixels;
    }
}

TEST(Options, ColoursAndRatesParse)
{
    EXPECT_EQ(ParseColour("#102030", "x"), 0xFF102030u);
    EXPECT_EQ(ParseColour("#10203040", "x"), 0x40102030u);
    for (const char* bad : {"102030", "#12345", "#1234567g", "#"})
        EXPECT_THROW(ParseColour(bad, "x"), ToolError) << bad;
    const char* argv[] = {"flower-title", "crawl", "--fps", "29.97", "--size=320x240", "-o", "-"};
    const Options o = ParseOptions(7, argv);
    EXPECT_EQ(o.fps.numerator, 30000);
    EXPECT_EQ(o.fps.denominator, 1001);
    EXPECT_EQ(o.width, 320);
    EXPECT_TRUE(o.crawl);
    EXPECT_FALSE(o.roll);
}
