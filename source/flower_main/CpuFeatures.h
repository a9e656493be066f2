// What the running CPU and OS let the library execute, beyond the build's baseline.
#ifndef FLOWER_SOURCE_CPUFEATURES_H
#define FLOWER_SOURCE_CPUFEATURES_H

namespace CpuFeatures {

// True when AVX2 instructions run and the OS saves the 256-bit registers.
bool HasAVX2();

// True when AVX-512 F, BW, VL and DQ all run and the OS saves the opmask and
// 512-bit registers. Implies HasAVX2().
bool HasAVX512();

} // namespace CpuFeatures

#endif
