// Forward coefficients are the matrix's, scaled for 16..235 luma and 16..240
// chroma, in 20-bit fixed point: close enough to the exact values that only
// results within 1/2000 of a rounding boundary can differ. The inverse uses
// 16-bit tables, one per term, so a pixel costs five look-ups.
#include "Yuv.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace title {
namespace {

constexpr int kShift = 20; // Luma in the header spells it out

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

int Red(std::uint32_t p)
{
    return int(p >> 16 & 0xFF);
}
int Green(std::uint32_t p)
{
    return int(p >> 8 & 0xFF);
}
int Blue(std::uint32_t p)
{
    return int(p & 0xFF);
}

// Arithmetic shift of a possibly negative sum is floor; the bias makes it round.
std::uint8_t RoundedChroma(long long sum, int shift)
{
    return std::uint8_t(128 + ((sum + (1LL << (shift - 1))) >> shift));
}

} // namespace

YuvConverter::YuvConverter(Matrix m) : matrix(m)
{
    const Weights w = WeightsOf(m);
    const double kg = 1 - w.kr - w.kb, ys = 219.0 / 255, cs = 224.0 / 255;
    yr = Fixed(w.kr * ys, kShift);
    yg = Fixed(kg * ys, kShift);
    yb = Fixed(w.kb * ys, kShift);
    cbr = Fixed(-w.kr / (2 * (1 - w.kb)) * cs, kShift);
    cbg = Fixed(-kg / (2 * (1 - w.kb)) * cs, kShift);
    cbb = Fixed(0.5 * cs, kShift);
    crr = Fixed(0.5 * cs, kShift);
    crg = Fixed(-kg / (2 * (1 - w.kr)) * cs, kShift);
    crb = Fixed(-w.kb / (2 * (1 - w.kr)) * cs, kShift);
    for (int v = 0; v < 256; ++v) {
        const double luma = (v - 16) * 255.0 / 219, chroma = (v - 128) * 255.0 / 224;
        lumaTerm[std::size_t(v)] = Fixed(luma, 16) + (1 << 15);
        redFromCr[std::size_t(v)] = Fixed(2 * (1 - w.kr) * chroma, 16);
        blueFromCb[std::size_t(v)] = Fixed(2 * (1 - w.kb) * chroma, 16);
        greenFromCb[std::size_t(v)] = Fixed(-2 * w.kb * (1 - w.kb) / kg * chroma, 16);
        greenFromCr[std::size_t(v)] = Fixed(-2 * w.kr * (1 - w.kr) / kg * chroma, 16);
    }
}

void YuvConverter::DecodeRow(const std::uint8_t* luma, const std::uint8_t* cb,
                             const std::uint8_t* cr, int shiftX, int x0, int count,
                             std::uint32_t* out) const
{
    // Chroma terms once per sample, shared by the pixels of its block.
    const int end = x0 + count;
    for (int x = x0; x < end;) {
        const int c = x >> shiftX;
        const int red = redFromCr[cr[c]], blue = blueFromCb[cb[c]];
        const int green = greenFromCb[cb[c]] + greenFromCr[cr[c]];
        const int blockEnd = std::min(end, (c + 1) << shiftX);
        for (; x < blockEnd; ++x) {
            const int l = lumaTerm[luma[x]];
            *out++ = 0xFF000000u | std::uint32_t(Clamp(l + red)) << 16 |
                     std::uint32_t(Clamp(l + green)) << 8 | std::uint32_t(Clamp(l + blue));
        }
    }
}

void YuvConverter::Chroma(int redSum, int greenSum, int blueSum, int log2Count, std::uint8_t& cb,
                          std::uint8_t& cr) const
{
    const int shift = kShift + log2Count;
    cb = RoundedChroma(1LL * cbr * redSum + 1LL * cbg * greenSum + 1LL * cbb * blueSum, shift);
    cr = RoundedChroma(1LL * crr * redSum + 1LL * crg * greenSum + 1LL * crb * blueSum, shift);
}

YuvPixel YuvConverter::ToYuv(std::uint32_t pel) const
{
    YuvPixel p{Luma(pel), 0, 0};
    Chroma(Red(pel), Green(pel), Blue(pel), 0, p.cb, p.cr);
    return p;
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
