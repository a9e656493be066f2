// Which kernel targets run here: the build's and the CPU's say together.
#include "kernels/KernelSets.h"
#include "flower_main/CpuFeatures.h"

bool Kernels::TargetRuns(Target target)
{
    switch (target) {
    case kScalar:
        return true;
#if defined(FLOWER_X86_KERNELS)
    case kSSE2:
        return true; // the x86-64 baseline
    case kAVX2:
        return CpuFeatures::HasAVX2();
    case kAVX512:
        return CpuFeatures::HasAVX512();
#endif
#if defined(FLOWER_NEON_KERNELS)
    case kNEON:
        return true; // the AArch64 baseline
#endif
    default:
        return false;
    }
}
