// The rolls' per-pel loops: the scalar reference set of the roll kernels, its
// selector, and the RollRows entries that run the active set.
#include "PixelRoutinesLite/RollRows.h"
#include "PixelRoutinesLite/PelIO.h"
#include "PixelRoutinesLite/RollKernels.h"
#include "thorn/CpuFeatures.h"

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

int Kernels::RunnableRollSets(const RollSet* out[4])
{
    int n = 0;
    out[n++] = &kRollScalar;
#if defined(FLOWER_X86_KERNELS)
    if (CpuFeatures::HasAVX2())
        out[n++] = &kRollAVX2;
    if (CpuFeatures::HasAVX512())
        out[n++] = &kRollAVX512;
#endif
    return n;
}

// Chosen on first use; a function-local static is safe in load-time initialisers and
// race-free.
const Kernels::RollSet& Kernels::ActiveRollSet()
{
    static const RollSet* const active = [] {
        const RollSet* sets[4];
        return sets[RunnableRollSets(sets) - 1];
    }();
    return *active;
}

void RollRows::CopyRowScaledAlpha(char* dst, const char* src, int width, u32 scale)
{
    Kernels::ActiveRollSet().copyScaledAlpha(dst, src, width, scale);
}

void RollRows::MixLines(char* dst, const std::array<const char*, 2>& lines, const int (&weights)[2],
                        int width)
{
    Kernels::ActiveRollSet().mix2(dst, lines.data(), weights, width);
}

void RollRows::MixLines(char* dst, const std::array<const char*, 3>& lines, const int (&weights)[3],
                        int width)
{
    Kernels::ActiveRollSet().mix3(dst, lines.data(), weights, width);
}
