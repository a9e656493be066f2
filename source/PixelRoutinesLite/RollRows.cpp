// Portable per-pel loops of the rolls.
#include "PixelRoutinesLite/RollRows.h"
#include "PixelRoutinesLite/PelIO.h"

namespace {

using PelIO::LoadPel;
using PelIO::StorePel;

// The colour sums run bottom line first, as the formula is written.
template <std::size_t N>
void MixLinesRow(char* dst, const std::array<const char*, N>& lines, const int (&weights)[N],
                 int width)
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

} // namespace

void RollRows::CopyRowScaledAlpha(char* dst, const char* src, int width, u32 scale)
{
    for (int x = 0; x < width; ++x) {
        const Pel p = LoadPel(src, x);
        const u32 alpha = PelAlpha(p) * scale / 256u;
        StorePel(dst, x, (p & 0x00FFFFFFu) | (alpha & 0xFFu) << 24);
    }
}

void RollRows::MixLines(char* dst, const std::array<const char*, 2>& lines,
                        const int (&weights)[2], int width)
{
    MixLinesRow(dst, lines, weights, width);
}

void RollRows::MixLines(char* dst, const std::array<const char*, 3>& lines,
                        const int (&weights)[3], int width)
{
    MixLinesRow(dst, lines, weights, width);
}
