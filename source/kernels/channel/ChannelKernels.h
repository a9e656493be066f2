// Channel extraction row kernels: one 8-bit sample per pel. Every set returns
// exactly what kChannelScalar returns; only speed differs. Pels are read as the
// bytes B, G, R, A at any byte alignment.
#ifndef FLOWER_SOURCE_CHANNELKERNELS_H
#define FLOWER_SOURCE_CHANNELKERNELS_H

#include "kernels/KernelSets.h"
#include "local_system.h"

namespace Kernels {

struct ChannelSet {
    const char* name; // "scalar" or the target's
    // Byte `byte` (0..3) of every pel.
    void (*byteRow)(u8* dst, const u8* pels, int count, int byte);
    // (B*29 + G*149 + R*77) * A / 65025, truncating: luminance weighted by coverage.
    void (*coveredLuminance)(u8* dst, const u8* pels, int count);
    // (B*29 + G*149 + R*77) / 255, truncating.
    void (*luminance)(u8* dst, const u8* pels, int count);
};

extern const ChannelSet kChannelScalar;
FLOWER_DECLARE_VECTOR_SETS(ChannelSet, kChannel)

extern const SetTable<ChannelSet> kChannelSets;

} // namespace Kernels

#endif
