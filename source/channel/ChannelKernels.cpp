// Channel extraction kernels: the scalar reference set and the family's selector.
#include "channel/ChannelKernels.h"
#include "thorn/CpuFeatures.h"

#include <cstddef>

namespace {

u32 Weighted(const u8* p)
{
    return u32(p[0]) * 29u + u32(p[1]) * 149u + u32(p[2]) * 77u;
}

void ByteRow(u8* dst, const u8* pels, int count, int byte)
{
    for (int i = 0; i < count; ++i)
        dst[i] = pels[std::size_t(i) * 4 + std::size_t(byte)];
}

void CoveredLuminanceRow(u8* dst, const u8* pels, int count)
{
    for (int i = 0; i < count; ++i, pels += 4)
        dst[i] = u8(Weighted(pels) * pels[3] / 65025u);
}

void LuminanceRow(u8* dst, const u8* pels, int count)
{
    for (int i = 0; i < count; ++i, pels += 4)
        dst[i] = u8(Weighted(pels) / 255u);
}

} // namespace

const Kernels::ChannelSet Kernels::kChannelScalar = {"scalar", ByteRow, CoveredLuminanceRow,
                                                     LuminanceRow};

int Kernels::RunnableChannelSets(const ChannelSet* out[4])
{
    int n = 0;
    out[n++] = &kChannelScalar;
#if defined(FLOWER_X86_KERNELS)
    if (CpuFeatures::HasAVX2())
        out[n++] = &kChannelAVX2;
    if (CpuFeatures::HasAVX512())
        out[n++] = &kChannelAVX512;
#endif
    return n;
}

// Chosen on first use; a function-local static is safe in load-time initialisers and
// race-free.
const Kernels::ChannelSet& Kernels::ActiveChannelSet()
{
    static const ChannelSet* const active = [] {
        const ChannelSet* sets[4];
        return sets[RunnableChannelSets(sets) - 1];
    }();
    return *active;
}
