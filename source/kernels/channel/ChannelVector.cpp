// Channel extraction on whole vectors; the tail of every row is the scalar set's.
//
// W = B*29 + G*149 + R*77 <= 65025. W / 255 is (W + 1 + (W >> 8)) >> 8 over that whole
// range; W*A / 65025 is a float division: W*A < 2^24 is exact in a float and a quotient
// k + r/65025 with r >= 1 lies beyond the rounding error (k + 1)*2^-24 from k + 1.
#include "kernels/Lanes.h"
#include "kernels/channel/ChannelKernels.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

// [b g r a] -> B*29 + R*77 from the [b r] words, G*149 from the [g a] words.
FLOWER_BLOCK V Weighted(V p)
{
    const V br = MulAddPairs16(p & 0x00FF00FFu, Splat32(77u << 16 | 29u));
    const V ga = MulAddPairs16((p >> 8) & 0x00FF00FFu, Splat32(149u));
    return br + ga;
}

void ByteRow(u8* dst, const u8* pels, int count, int byte)
{
    const char* row = reinterpret_cast<const char*>(pels);
    const int i = ForBlocks(count, [=](int x) { StorePelBytes(dst + x, Load(row, x), byte); });
    kChannelScalar.byteRow(dst + i, At(pels, i), count - i, byte);
}

void CoveredLuminanceRow(u8* dst, const u8* pels, int count)
{
    const char* row = reinterpret_cast<const char*>(pels);
    const int i = ForBlocks(count, [=](int x) {
        const V p = Load(row, x);
        StoreLowBytes(dst + x, Truncate(ToFloat(Weighted(p) * Alphas(p)) / SplatF(65025.0f)));
    });
    kChannelScalar.coveredLuminance(dst + i, At(pels, i), count - i);
}

void LuminanceRow(u8* dst, const u8* pels, int count)
{
    const char* row = reinterpret_cast<const char*>(pels);
    const int i = ForBlocks(count, [=](int x) {
        const V w = Weighted(Load(row, x));
        StoreLowBytes(dst + x, (w + 1u + (w >> 8)) >> 8);
    });
    kChannelScalar.luminance(dst + i, At(pels, i), count - i);
}

} // namespace

const ChannelSet kChannel = {FLOWER_STRING(FLOWER_KERNEL_TARGET), ByteRow, CoveredLuminanceRow,
                             LuminanceRow};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
