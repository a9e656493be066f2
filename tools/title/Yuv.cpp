#include "Yuv.h"
#include "Image.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace title {
namespace {

constexpr int kShift = 20;

int Fixed(double v, int shift)
{
    return int(std::lround(v * double(1 << shift)));
}

struct Weights {
    double kr, kb;
};

Weights WeightsOf(Matrix m)
{
    return m == Matrix::Bt709 ? Weights{0.2126, 0.0722} : Weights{0.299, 0.114};
}

// Arithmetic shift of a possibly negative sum is floor; the bias makes it round.
std::uint8_t RoundedChroma(long long sum, int shift)
{
    return std::uint8_t(128 + ((sum + (1LL << (shift - 1))) >> shift));
}

} // namespace

YuvConverter::YuvConverter(Matrix m) : matrix(m), k{}, kernels(ActiveYuvKernels())
{
    const Weights w = WeightsOf(m);
    const double kg = 1 - w.kr - w.kb, ys = 219.0 / 255, cs = 224.0 / 255;
    k.yr = Fixed(w.kr * ys, kShift);
    k.yg = Fixed(kg * ys, kShift);
    k.yb = Fixed(w.kb * ys, kShift);
    k.cbr = Fixed(-w.kr / (2 * (1 - w.kb)) * cs, kShift);
    k.cbg = Fixed(-kg / (2 * (1 - w.kb)) * cs, kShift);
    k.cbb = Fixed(0.5 * cs, kShift);
    k.crr = Fixed(0.5 * cs, kShift);
    k.crg = Fixed(-kg / (2 * (1 - w.kr)) * cs, kShift);
    k.crb = Fixed(-w.kb / (2 * (1 - w.kr)) * cs, kShift);
    // R' = 255/219 (Y' - 16) + 2 (1 - Kr) 255/224 (Cr - 128), and alike.
    const double luma = 255.0 / 219, chroma = 255.0 / 224;
    const double redCr = 2 * (1 - w.kr) * chroma, blueCb = 2 * (1 - w.kb) * chroma;
    const double greenCb = -2 * w.kb * (1 - w.kb) / kg * chroma;
    const double greenCr = -2 * w.kr * (1 - w.kr) / kg * chroma;
    k.luma = Fixed(luma, 16);
    k.redCr = Fixed(redCr, 16);
    k.greenCb = Fixed(greenCb, 16);
    k.greenCr = Fixed(greenCr, 16);
    k.blueCb = Fixed(blueCb, 16);
    k.redBias = Fixed(-16 * luma - 128 * redCr + 0.5, 16);
    k.greenBias = Fixed(-16 * luma - 128 * (greenCb + greenCr) + 0.5, 16);
    k.blueBias = Fixed(-16 * luma - 128 * blueCb + 0.5, 16);
}

void YuvConverter::Chroma(int redSum, int greenSum, int blueSum, int log2Count, std::uint8_t& cb,
                          std::uint8_t& cr) const
{
    const int shift = kShift + log2Count;
    cb =
        RoundedChroma(1LL * k.cbr * redSum + 1LL * k.cbg * greenSum + 1LL * k.cbb * blueSum, shift);
    cr =
        RoundedChroma(1LL * k.crr * redSum + 1LL * k.crg * greenSum + 1LL * k.crb * blueSum, shift);
}

YuvPixel YuvConverter::ToYuv(std::uint32_t pel) const
{
    YuvPixel p{Luma(pel), 0, 0};
    Chroma(Red(pel), Green(pel), Blue(pel), 0, p.cb, p.cr);
    return p;
}

std::uint32_t YuvConverter::ToPel(int y, int cb, int cr) const
{
    const std::uint8_t luma = std::uint8_t(y), blue = std::uint8_t(cb), red = std::uint8_t(cr);
    std::uint32_t pel = 0;
    kernels.decode(k, &luma, &blue, &red, 1, &pel);
    return pel;
}

void YuvConverter::DecodeRow(const std::uint8_t* luma, const std::uint8_t* cb,
                             const std::uint8_t* cr, int shiftX, int x0, int count,
                             std::uint32_t* out) const
{
    if (shiftX == 0) {
        kernels.decode(k, luma + x0, cb + x0, cr + x0, count, out);
        return;
    }
    // Each chroma sample spread over its block, so the kernel runs pixel by pixel.
    spread.resize(2 * std::size_t(count));
    std::uint8_t* spreadCb = spread.data();
    std::uint8_t* spreadCr = spreadCb + count;
    // x0 may start inside a block; the pairs kernel takes the whole pairs.
    int i = 0;
    if (x0 & 1) {
        spreadCb[0] = cb[x0 >> 1];
        spreadCr[0] = cr[x0 >> 1];
        i = 1;
    }
    const int pairs = (count - i) / 2;
    kernels.spreadPairs(cb + ((x0 + i) >> 1), pairs, spreadCb + i);
    kernels.spreadPairs(cr + ((x0 + i) >> 1), pairs, spreadCr + i);
    for (i += 2 * pairs; i < count; ++i) {
        spreadCb[i] = cb[(x0 + i) >> 1];
        spreadCr[i] = cr[(x0 + i) >> 1];
    }
    kernels.decode(k, luma + x0, spreadCb, spreadCr, count, out);
}

int LumaRowsOf(int chromaRow, int shiftY, bool fieldChroma, int height, int rows[2])
{
    const bool fields = fieldChroma && shiftY == 1;
    const int first = fields ? (chromaRow / 2) * 4 + (chromaRow & 1) : chromaRow << shiftY;
    const int step = fields ? 2 : 1;
    int n = 0;
    for (int k = 0; k < (1 << shiftY); ++k)
        if (first + k * step < height)
            rows[n++] = first + k * step;
    return n;
}

int ChromaRowOf(int lumaRow, int shiftY, bool fieldChroma)
{
    if (fieldChroma && shiftY == 1)
        return (lumaRow >> 2) * 2 + (lumaRow & 1);
    return lumaRow >> shiftY;
}

void BgraToPlanar(const std::uint32_t* pels, const PlanarLayout& f, const YuvConverter& yuv,
                  std::uint8_t* planes)
{
    const std::size_t lumaSize = std::size_t(f.width) * f.height;
    const int cw = f.ChromaWidth(), ch = f.ChromaHeight();
    std::uint8_t* cbPlane = planes + lumaSize;
    std::uint8_t* crPlane = cbPlane + std::size_t(cw) * ch;
    for (std::size_t i = 0; i < lumaSize; ++i)
        planes[i] = yuv.Luma(pels[i]);
    for (int j = 0; j < ch; ++j) {
        int rows[2];
        const int n = LumaRowsOf(j, f.shiftY, f.fieldChroma, f.height, rows);
        for (int i = 0; i < cw; ++i) {
            const int x0 = i << f.shiftX, x1 = std::min(f.width, (i + 1) << f.shiftX);
            int r = 0, g = 0, b = 0, count = 0;
            for (int k = 0; k < n; ++k)
                for (int x = x0; x < x1; ++x, ++count) {
                    const std::uint32_t p = pels[std::size_t(rows[k]) * f.width + x];
                    r += Red(p), g += Green(p), b += Blue(p);
                }
            const int log2Count = count == 4 ? 2 : count == 2 ? 1 : 0;
            const std::size_t at = std::size_t(j) * cw + i;
            yuv.Chroma(r, g, b, log2Count, cbPlane[at], crPlane[at]);
        }
    }
}

void PlanarToBgra(const std::uint8_t* planes, const PlanarLayout& f, const YuvConverter& yuv,
                  std::uint32_t* pels)
{
    const int cw = f.ChromaWidth();
    const std::uint8_t* cbPlane = planes + std::size_t(f.width) * f.height;
    const std::uint8_t* crPlane = cbPlane + std::size_t(cw) * f.ChromaHeight();
    for (int y = 0; y < f.height; ++y) {
        const std::size_t chromaRow = std::size_t(ChromaRowOf(y, f.shiftY, f.fieldChroma)) * cw;
        yuv.DecodeRow(planes + std::size_t(y) * f.width, cbPlane + chromaRow, crPlane + chromaRow,
                      f.shiftX, 0, f.width, pels + std::size_t(y) * f.width);
    }
}

YuvPixel Bt709Limited(std::uint32_t pel)
{
    static const YuvConverter bt709(Matrix::Bt709);
    return bt709.ToYuv(pel);
}

} // namespace title
