// The kernels of YuvKernelLoops.inc built for AVX2.
#include "YuvKernels.h"

#if defined(__x86_64__) || defined(__i386__)
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace title {
namespace {
#include "YuvKernelLoops.inc"
} // namespace

extern const YuvKernels kYuvKernelsAvx2 = {Decode, EncodeCoveredLuma, SpreadPairs, MarkCoveredPairs,
                                           EncodePairChroma};

} // namespace title

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
#endif
