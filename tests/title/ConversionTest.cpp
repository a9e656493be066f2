// The tool's own arithmetic: colour conversion, the stream header and
// sub-pixel positions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "Overlay.h"
#include "Scene.h"
#include "Video.h"
#include "Yuv.h"
#include "inlinepelops.h"
#include "seed.h"

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

namespace {

struct MatrixWeights {
    Matrix matrix;
    double kr, kb;
};
const MatrixWeights kMatrices[] = {{Matrix::Bt709, 0.2126, 0.0722}, {Matrix::Bt601, 0.299, 0.114}};

// R'G'B' in 0..255 from limited-range Y'CbCr by the defining equations.
void DecodeModel(const MatrixWeights& m, int y, int cb, int cr, double rgb[3])
{
    const double luma = (y - 16) * 255.0 / 219, pb = (cb - 128) * 255.0 / 224,
                 pr = (cr - 128) * 255.0 / 224, kg = 1 - m.kr - m.kb;
    rgb[0] = luma + 2 * (1 - m.kr) * pr;
    rgb[2] = luma + 2 * (1 - m.kb) * pb;
    rgb[1] = luma - 2 * m.kb * (1 - m.kb) / kg * pb - 2 * m.kr * (1 - m.kr) / kg * pr;
}

} // namespace

// Each decoded channel is the model rounded: the 16-bit weights, applied to
// samples up to 255, add less than 1/128 of error, so only values that close
// to .5 may round the other way; out-of-gamut values clamp. The round trip
// through 8-bit R'G'B' and back, for every limited-range triple that decodes
// inside the R'G'B' cube, is exact: decoding spreads 219 luma codes over 255,
// so the nearest R'G'B' code always leads back. docs/benchmarks.md quotes this.
TEST(YuvConversion, DecodesToTheRoundedModelAndRoundTripsExactly)
{
    for (const MatrixWeights& m : kMatrices) {
        const YuvConverter yuv(m.matrix);
        long roundTrips = 0;
        for (int y = 0; y < 256; ++y)
            for (int cb = 0; cb < 256; ++cb)
                for (int cr = 0; cr < 256; ++cr) {
                    double model[3];
                    DecodeModel(m, y, cb, cr, model);
                    const std::uint32_t got = yuv.ToPel(y, cb, cr);
                    ASSERT_EQ(got >> 24, 0xFFu);
                    for (int k = 0; k < 3; ++k)
                        ASSERT_LE(std::fabs(std::clamp(model[k], 0.0, 255.0) -
                                            int(got >> (16 - 8 * k) & 0xFF)),
                                  0.5 + 1.0 / 128)
                            << y << " " << cb << " " << cr << " channel " << k;
                    const auto limited = [](int v, int top) { return v >= 16 && v <= top; };
                    if (!limited(y, 235) || !limited(cb, 240) || !limited(cr, 240) ||
                        *std::min_element(model, model + 3) < 0 ||
                        *std::max_element(model, model + 3) > 255)
                        continue;
                    const YuvPixel back = yuv.ToYuv(got);
                    ASSERT_EQ(back.y * 65536 + back.cb * 256 + back.cr, y * 65536 + cb * 256 + cr)
                        << y << " " << cb << " " << cr << " matrix " << int(m.matrix);
                    ++roundTrips;
                }
        EXPECT_GT(roundTrips, 2500000) << int(m.matrix);
    }
}

// The compositor against a per-block model written from its contract: a
// block with a covered pixel decodes, takes CompositPel of the patch over
// each pixel in the patch, re-encodes covered luma and the block's mean
// chroma; everything else keeps its bytes.
TEST(PlanarCompositing, MatchesThePerBlockModel)
{
    ASSERT_TRUE(FlowerInit());
    std::mt19937 rng(13);
    const auto pel = [&rng] {
        const std::uint32_t alphas[] = {0, 0, 0, 255, std::uint32_t(rng() & 255)};
        return (rng() & 0x00FFFFFFu) | alphas[rng() % 5] << 24;
    };
    for (int round = 0; round < 60; ++round) {
        PlanarLayout layout{int(17 + rng() % 20), int(16 + rng() % 20), int(rng() % 2),
                            int(rng() % 2), rng() % 2 == 0};
        const Matrix matrix = round % 2 ? Matrix::Bt709 : Matrix::Bt601;
        const int w = layout.width, h = layout.height, cw = layout.ChromaWidth(),
                  ch = layout.ChromaHeight();
        std::vector<std::uint8_t> planes(std::size_t(w) * h + 2 * std::size_t(cw) * ch);
        for (std::uint8_t& s : planes)
            s = std::uint8_t(16 + rng() % 220);
        OverlayPatch patch;
        patch.width = int(1 + rng() % 30);
        patch.height = int(1 + rng() % 30);
        patch.x = int(rng() % (w + 10)) - 10;
        patch.y = int(rng() % (h + 10)) - 10;
        patch.pitch = patch.width + 3;
        std::vector<std::uint32_t> pels(std::size_t(patch.pitch) * patch.height);
        for (std::uint32_t& p : pels)
            p = pel();
        patch.pels = pels.data();

        std::vector<std::uint8_t> want = planes;
        const YuvConverter yuv(matrix);
        const auto top = [&](int x, int y) -> std::uint32_t {
            const bool inside = x >= patch.x && x < patch.x + patch.width && y >= patch.y &&
                                y < patch.y + patch.height;
            return inside ? patch.At(x - patch.x, y - patch.y) : 0u;
        };
        for (int j = 0; j < ch; ++j) {
            int rows[2];
            const int n = LumaRowsOf(j, layout.shiftY, layout.fieldChroma, h, rows);
            for (int i = 0; i < cw; ++i) {
                const int x0 = i << layout.shiftX, x1 = std::min(w, (i + 1) << layout.shiftX);
                const std::size_t cbAt = std::size_t(w) * h + std::size_t(j) * cw + i,
                                  crAt = cbAt + std::size_t(cw) * ch;
                bool covered = false;
                for (int k = 0; k < n; ++k)
                    for (int x = x0; x < x1; ++x)
                        covered = covered || (top(x, rows[k]) >> 24) != 0;
                if (!covered)
                    continue;
                int sums[3] = {0, 0, 0}, count = 0;
                for (int k = 0; k < n; ++k)
                    for (int x = x0; x < x1; ++x, ++count) {
                        const std::size_t at = std::size_t(rows[k]) * w + x;
                        const std::uint32_t t = top(x, rows[k]);
                        const std::uint32_t p =
                            CompositPel(t, yuv.ToPel(planes[at], planes[cbAt], planes[crAt]));
                        if (t >> 24)
                            want[at] = yuv.Luma(p);
                        for (int c = 0; c < 3; ++c)
                            sums[c] += int(p >> (16 - 8 * c) & 0xFF);
                    }
                yuv.Chroma(sums[0], sums[1], sums[2],
                           count == 4   ? 2
                           : count == 2 ? 1
                                        : 0,
                           want[cbAt], want[crAt]);
            }
        }
        PlanarCompositor(layout, matrix).Composit(planes.data(), patch);
        const auto diff = std::mismatch(planes.begin(), planes.end(), want.begin());
        ASSERT_EQ(planes, want) << "first difference at " << (diff.first - planes.begin())
                                << " round " << round << ": " << w << "x" << h << " shift "
                                << layout.shiftX << layout.shiftY << " fields "
                                << layout.fieldChroma;
    }
}
