// Limited-range 8-bit Y'CbCr and R'G'B' in both directions, for BT.601 and
// BT.709, in fixed point.
#ifndef FLOWER_TITLE_YUV_H
#define FLOWER_TITLE_YUV_H

#include <array>
#include <cstdint>

namespace title {

enum class Matrix { Bt601, Bt709 };

struct YuvPixel {
    std::uint8_t y, cb, cr;
};

class YuvConverter {
  public:
    explicit YuvConverter(Matrix matrix);

    Matrix Which() const { return matrix; }

    std::uint8_t Luma(std::uint32_t pel) const
    {
        const int sum = yr * int(pel >> 16 & 0xFF) + yg * int(pel >> 8 & 0xFF) + yb * int(pel & 0xFF);
        return std::uint8_t(16 + ((sum + (1 << 19)) >> 20));
    }
    // Chroma of the mean of 1 << log2Count pixels whose channels are summed
    // (the division rides in the fixed-point shift).
    void Chroma(int redSum, int greenSum, int blueSum, int log2Count, std::uint8_t& cb,
                std::uint8_t& cr) const;
    YuvPixel ToYuv(std::uint32_t pel) const;
    // An opaque 0xFFRRGGBB; out-of-gamut results clamp to 0..255.
    std::uint32_t ToPel(int y, int cb, int cr) const
    {
        const int luma = lumaTerm[y];
        const int r = luma + redFromCr[cr];
        const int g = luma + greenFromCb[cb] + greenFromCr[cr];
        const int b = luma + blueFromCb[cb];
        return 0xFF000000u | std::uint32_t(Clamp(r)) << 16 | std::uint32_t(Clamp(g)) << 8 |
               std::uint32_t(Clamp(b));
    }

    // Pixels x0 .. x0 + count - 1 of one row, pixel x taking chroma sample
    // x >> shiftX of the chroma rows.
    void DecodeRow(const std::uint8_t* luma, const std::uint8_t* cb, const std::uint8_t* cr,
                   int shiftX, int x0, int count, std::uint32_t* out) const;

  private:
    // Terms are in 1/65536ths with the rounding half folded into the luma term.
    static int Clamp(int v)
    {
        v >>= 16;
        return v < 0 ? 0 : v > 255 ? 255 : v;
    }

    Matrix matrix;
    int yr, yg, yb, cbr, cbg, cbb, crr, crg, crb; // forward, 20-bit fixed point
    std::array<int, 256> lumaTerm, redFromCr, greenFromCb, greenFromCr, blueFromCb;
};

// BT.709 limited range from 8-bit R'G'B'; alpha is ignored.
YuvPixel Bt709Limited(std::uint32_t pel);

// Which luma rows share chroma row `chromaRow`: 1 << shiftY consecutive rows,
// or, for interlaced 4:2:0 (`fieldChroma`), two rows of one field, chroma
// rows alternating between the fields as broadcast 4:2:0 does. Rows past
// `height` are left out; returns how many rows were stored.
int LumaRowsOf(int chromaRow, int shiftY, bool fieldChroma, int height, int rows[2]);
int ChromaRowOf(int lumaRow, int shiftY, bool fieldChroma);

// Planar frames: Y, then Cb, then Cr, each plane's rows packed.
struct PlanarLayout {
    int width, height;
    int shiftX, shiftY; // chroma subsampling: 4:2:0 is 1, 1
    bool fieldChroma;
    int ChromaWidth() const { return (width + (1 << shiftX) - 1) >> shiftX; }
    int ChromaHeight() const { return (height + (1 << shiftY) - 1) >> shiftY; }
};

// A BGRA frame (alpha ignored) to planes; chroma is the mean of each block.
void BgraToPlanar(const std::uint32_t* pels, const PlanarLayout& layout, const YuvConverter& yuv,
                  std::uint8_t* planes);
// Planes to an opaque BGRA frame, each pixel taking its block's chroma.
void PlanarToBgra(const std::uint8_t* planes, const PlanarLayout& layout, const YuvConverter& yuv,
                  std::uint32_t* pels);

} // namespace title

#endif
