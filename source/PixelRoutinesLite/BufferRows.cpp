// Portable buffer row routines: blits, fills, fades and cross-fades.
//
// The per-pel arithmetic is the MixKernels family's. Every routine reads pel i
// before it writes pel i and never looks back, so a destination may be its own
// source; parameters outside their intended ranges wrap as the 32-bit machine
// arithmetic would.
#include "PixelRoutinesLite.h"
#include "PixelRoutinesLite/BufferTable.h"
#include "kernels/mix/MixKernels.h"

#include <cstring>

extern "C" {

int CEE_ScanlineBlit(char* dst, const char* src, int count)
{
    // A row blitted onto itself is already the result.
    if (count > 0 && dst != src)
        std::memmove(dst, src, static_cast<std::size_t>(count) * 4u);
    return 1;
}

int CEE_ScanlineBlitColour(char* dst, int count, int colour)
{
    Kernels::Active(Kernels::kMixSets).fill(dst, count, static_cast<u32>(colour));
    return 1;
}

// Equal pels are their own mix at any weights and pass unchanged.
int CEE_ScanlineCrossFade(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                          int weightB)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, srcA, srcB)
        .crossFade(dst, srcA, srcB, count, weightA, weightB);
    return 1;
}

int CEE_ScanlineShapedCrossFade(char* dst, const char* srcA, const char* srcB, int count,
                                int weightA, int weightB)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, srcA, srcB)
        .shapedCrossFade(dst, srcA, srcB, count, weightA, weightB);
    return 1;
}

// Rows that overlap otherwise than exactly are faded one pel at a time, first
// to last; the scalar kernel is that order.
int CEE_ScanlineFade(char* dst, const char* src, int count, int level)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, src, nullptr)
        .levelFade(dst, src, count, level);
    return 1;
}

int CEE_ScanlinePreMultAlpha(char* dst, const char* src, int count)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, src, nullptr).preMultAlpha(dst, src, count);
    return 1;
}

} // extern "C"
