// Limited-range 8-bit Y'CbCr and R'G'B' in both directions, for BT.601 and
// BT.709, in fixed point: forward weights in 1/2^20, close enough to the exact
// values that only results within 1/2000 of a rounding boundary can differ;
// the inverse in 1/65536, within 1/128 of the exact value before rounding.
#ifndef FLOWER_TITLE_YUV_H
#define FLOWER_TITLE_YUV_H

#include <cstdint>
#include <vector>

#include "YuvKernels.h"

namespace title {

enum class Matrix { Bt601, Bt709 };

struct YuvPixel {
    std::uint8_t y, cb, cr;
};

class YuvConverter {
  public:
    explicit YuvConverter(Matrix matrix);

    Matrix Which() const { return matrix; }
    const YuvCoefficients& Coefficients() const { return k; }
    const YuvKernels& Kernels() const { return kernels; }

    std::uint8_t Luma(std::uint32_t pel) const
    {
        const int sum = k.yr * int(pel >> 16 & 0xFF) + k.yg * int(pel >> 8 & 0xFF) +
                        k.yb * int(pel & 0xFF) + (1 << 19);
        return std::uint8_t(16 + (sum >> 20));
    }
    // Chroma of the mean of 1 << log2Count pixels whose channels are summed
    // (the division rides in the fixed-point shift).
    void Chroma(int redSum, int greenSum, int blueSum, int log2Count, std::uint8_t& cb,
                std::uint8_t& cr) const;
    YuvPixel ToYuv(std::uint32_t pel) const;
    // An opaque 0xFFRRGGBB; out-of-gamut results clamp to 0..255.
    std::uint32_t ToPel(int y, int cb, int cr) const;

    // Pixels x0 .. x0 + count - 1 of one row, pixel x taking chroma sample
    // x >> shiftX of the chroma rows.
    void DecodeRow(const std::uint8_t* luma, const std::uint8_t* cb, const std::uint8_t* cr,
                   int shiftX, int x0, int count, std::uint32_t* out) const;

  private:
    Matrix matrix;
    YuvCoefficients k;
    const YuvKernels& kernels;
    mutable std::vector<std::uint8_t> spread; // chroma per pixel for DecodeRow
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
