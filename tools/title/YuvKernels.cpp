#include "YuvKernels.h"

namespace title {
namespace {
#include "YuvKernelLoops.inc"
} // namespace

#if defined(__x86_64__) || defined(__i386__)
extern const YuvKernels kYuvKernelsAvx2;
#endif

const YuvKernels& ActiveYuvKernels()
{
    static const YuvKernels baseline{Decode, EncodeCoveredLuma, SpreadPairs, MarkCoveredPairs,
                                     EncodePairChroma};
#if defined(__x86_64__) || defined(__i386__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2)
        return kYuvKernelsAvx2;
#endif
    return baseline;
}

} // namespace title
