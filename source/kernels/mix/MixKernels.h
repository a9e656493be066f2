// Fade, mix, channel and fill row kernels: the arithmetic beneath Stem's fades,
// mixes, channel setters and fill, and beneath the buffer fade, cross-fade,
// premultiply and colour-fill rows. Every set returns exactly what kMixScalar
// returns, for any level or weight; only speed differs.
//
// Rows are raw bytes with no alignment promise. A destination may be the very
// row of a source, but may not overlap one partially: ActiveFor sends such
// rows to the scalar set, whose pel-by-pel order is then the result.
#ifndef FLOWER_SOURCE_MIXKERNELS_H
#define FLOWER_SOURCE_MIXKERNELS_H

#include "kernels/KernelSets.h"

#include <cstdint>

namespace Kernels {

struct MixSet {
    const char* name; // "scalar" or the target's
    // FadePelAlpha(src[i], level): alpha DivideBy255(alpha * level) (Stem Fade, FadeCopy).
    void (*fade)(char* dst, const char* src, int count, std::uint32_t level);
    // Alpha min(a1 + a2, 255); colours through global_adt, wrapping past 255 (Stem Add).
    void (*add)(char* dst, const char* src1, const char* src2, int count);
    // Weights DivideBy255(a1 * (255 - level)) and DivideBy255(a2 * level) (Stem Blend).
    void (*blend)(char* dst, const char* src1, const char* src2, int count, std::uint32_t level);
    // The pel of larger alpha, src1 on a tie (Stem Max).
    void (*max)(char* dst, const char* src1, const char* src2, int count);
    // dst[i] = (dst[i] & keep) | bits (Stem's four channel setters).
    void (*setBits)(char* dst, int count, std::uint32_t keep, std::uint32_t bits);
    // dst[i] = colour (Stem Set, CEE_ScanlineBlitColour).
    void (*fill)(char* dst, int count, std::uint32_t colour);
    // Alpha (A * level) / 256, signed and truncating, low 8 bits (CEE_ScanlineFade).
    void (*levelFade)(char* dst, const char* src, int count, int level);
    // The alpha-weighted mix of AlphaWeightedMix; equal pels pass (CEE_ScanlineCrossFade).
    void (*crossFade)(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                      int weightB);
    // (Xb * wb + Xa * wa) / 256 on all four channels; equal pels pass
    // (CEE_ScanlineShapedCrossFade).
    void (*shapedCrossFade)(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                            int weightB);
    // Colours DivideBy255(C * A), alpha kept (CEE_ScanlinePreMultAlpha).
    void (*preMultAlpha)(char* dst, const char* src, int count);
};

extern const MixSet kMixScalar;
FLOWER_DECLARE_VECTOR_SETS(MixSet, kMix)

extern const SetTable<MixSet> kMixSets;

} // namespace Kernels

#endif
