// Row kernels of the Y'CbCr conversions, written once as plain loops the
// compiler vectorises: YuvKernels.cpp builds them for the baseline,
// YuvKernels_avx2.cpp for AVX2, and YuvKernelSet() picks one per process.
// Both give the same bits: the arithmetic is 32-bit integer throughout.
#ifndef FLOWER_TITLE_YUVKERNELS_H
#define FLOWER_TITLE_YUVKERNELS_H

#include <cstdint>

namespace title {

// Forward weights in 1/2^20, inverse ones in 1/65536 with their constant
// terms (offsets and the rounding half) folded into the biases.
struct YuvCoefficients {
    int yr, yg, yb, cbr, cbg, cbb, crr, crg, crb;
    int luma, redCr, greenCb, greenCr, blueCb, redBias, greenBias, blueBias;
};

struct YuvKernels {
    // Opaque pels from per-pixel samples (chroma already spread over its block).
    void (*decode)(const YuvCoefficients& k, const std::uint8_t* luma, const std::uint8_t* cb,
                   const std::uint8_t* cr, int count, std::uint32_t* out);
    // luma[x] = Luma(pels[x]) where top[x] has alpha above 0.
    void (*encodeCoveredLuma)(const YuvCoefficients& k, const std::uint32_t* pels,
                              const std::uint32_t* top, int count, std::uint8_t* luma);
    // Each of `pairs` chroma samples twice: 4:2:x chroma spread over its pixels.
    void (*spreadPairs)(const std::uint8_t* chroma, int pairs, std::uint8_t* out);
    // flags[i] |= 1 where pel 2i or 2i + 1 of `top` has alpha above 0.
    void (*markCoveredPairs)(const std::uint32_t* top, int pairs, std::uint8_t* flags);
    // Chroma of `blocks` blocks of 2 pixels across `rows` rows (1 or 2).
    void (*encodePairChroma)(const YuvCoefficients& k, const std::uint32_t* row0,
                             const std::uint32_t* row1, int rows, int blocks, std::uint8_t* cb,
                             std::uint8_t* cr);
};

const YuvKernels& ActiveYuvKernels();

} // namespace title

#endif
