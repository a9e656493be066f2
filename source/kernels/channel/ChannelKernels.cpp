// Channel extraction kernels: the scalar reference set and the family's table.
#include "kernels/channel/ChannelKernels.h"

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

const Kernels::SetTable<Kernels::ChannelSet> Kernels::kChannelSets = {&kChannelScalar,
                                                                      FLOWER_VECTOR_SETS(kChannel)};
