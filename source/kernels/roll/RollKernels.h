// Roll per-pel row kernels. Every set returns exactly what kRollScalar returns, for
// any scale and weights; only speed differs. dst may be a source line, but may not
// overlap one partially. Rows are raw bytes with no alignment promise.
#ifndef FLOWER_SOURCE_ROLLKERNELS_H
#define FLOWER_SOURCE_ROLLKERNELS_H

#include "kernels/KernelSets.h"
#include "local_system.h"

namespace Kernels {

struct RollSet {
    const char* name; // "scalar" or the target's
    // Colour copied, alpha A * scale / 256 (unsigned 32-bit, wrapping, truncating).
    void (*copyScaledAlpha)(char* dst, const char* src, int width, u32 scale);
    // Colour = sum(C.e) / s and alpha = s >> 8 with e = A.w and s = sum(e), all
    // unsigned 32-bit; 0 where s is 0. Lines and weights are given top first.
    void (*mix2)(char* dst, const char* const lines[2], const int weights[2], int width);
    void (*mix3)(char* dst, const char* const lines[3], const int weights[3], int width);
};

extern const RollSet kRollScalar;
FLOWER_DECLARE_VECTOR_SETS(RollSet, kRoll)

extern const SetTable<RollSet> kRollSets;

} // namespace Kernels

#endif
