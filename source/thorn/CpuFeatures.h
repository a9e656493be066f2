// What the running CPU and OS let the library execute, beyond the build's baseline.
#ifndef FLOWER_SOURCE_CPUFEATURES_H
#define FLOWER_SOURCE_CPUFEATURES_H

namespace CpuFeatures {

// True when AVX2 instructions run and the OS saves the 256-bit registers.
bool HasAVX2();

} // namespace CpuFeatures

#endif
