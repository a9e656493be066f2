// The rolls' per-pel loops: the scalar reference set of the roll kernels and
// the family's table.
#include "kernels/roll/RollKernels.h"
#include "kernels/PelIO.h"

#include <cstddef>

namespace {

using PelIO::LoadPel;
using PelIO::StorePel;

// The colour sums run bottom line first, as the formula is written.
template <std::size_t N>
void MixLinesRow(char* dst, const char* const lines[N], const int weights[N], int width)
{
    for (int x = 0; x < width; ++x) {
        Pel p[N];
        u32 e[N];
        u32 s = 0;
        for (std::size_t k = 0; k < N; ++k) {
            p[k] = LoadPel(lines[k], x);
            e[k] = PelAlpha(p[k]) * static_cast<u32>(weights[k]);
            s += e[k];
        }
        if (s == 0u) {
            StorePel(dst, x, 0u);
            continue;
        }
        u32 sum[3] = {0, 0, 0};
        for (std::size_t k = N; k-- > 0;) {
            sum[0] += PelBlue(p[k]) * e[k];
            sum[1] += PelGreen(p[k]) * e[k];
            sum[2] += PelRed(p[k]) * e[k];
        }
        StorePel(dst, x, MakePel(sum[0] / s, sum[1] / s, sum[2] / s, s >> 8));
    }
}

void CopyRowScaledAlpha(char* dst, const char* src, int width, u32 scale)
{
    for (int x = 0; x < width; ++x) {
        const Pel p = LoadPel(src, x);
        const u32 alpha = PelAlpha(p) * scale / 256u;
        StorePel(dst, x, (p & 0x00FFFFFFu) | (alpha & 0xFFu) << 24);
    }
}

void MixTwoLines(char* dst, const char* const lines[2], const int weights[2], int width)
{
    MixLinesRow<2>(dst, lines, weights, width);
}

void MixThreeLines(char* dst, const char* const lines[3], const int weights[3], int width)
{
    MixLinesRow<3>(dst, lines, weights, width);
}

} // namespace

const Kernels::RollSet Kernels::kRollScalar = {"scalar", CopyRowScaledAlpha, MixTwoLines,
                                               MixThreeLines};

const Kernels::SetTable<Kernels::RollSet> Kernels::kRollSets = {&kRollScalar,
                                                                FLOWER_VECTOR_SETS(kRoll)};
