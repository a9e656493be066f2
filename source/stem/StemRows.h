// Per-pel helpers and row loops shared by the portable row routines.
#ifndef FLOWER_SOURCE_STEMROWS_H
#define FLOWER_SOURCE_STEMROWS_H

#include "stem.h"

namespace StemRows {

// An opacity of 255 leaves its pel exactly as it is, so it costs no arithmetic.
inline Pel FadeUnlessOpaque(Pel p, u32 opacity)
{
    return opacity == 255u ? p : FadePelAlpha(p, opacity);
}

inline Pel CompositPelWithOpacity(Pel top, Pel bottom, u32 topOpacity, u32 bottomOpacity)
{
    return CompositPel(FadeUnlessOpaque(top, topOpacity), FadeUnlessOpaque(bottom, bottomOpacity));
}

// tc * ta + bc * (255 - ta) per channel, rounded by DivideBy255, alpha 255.
// Red and blue share one 32-bit word: each 16-bit lane holds at most 65025,
// and the rounding step never carries out of its lane, so the result is
// exactly that of three separate DivideBy255 calls.
inline Pel BlendOnOpaque(Pel top, Pel bottom, u32 ta)
{
    const u32 ba = 255u - ta;
    u32 rb = (top & 0x00FF00FFu) * ta + (bottom & 0x00FF00FFu) * ba + 0x00800080u;
    rb = ((rb + ((rb >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
    u32 g = ((top >> 8) & 0xFFu) * ta + ((bottom >> 8) & 0xFFu) * ba + 128u;
    g = (g + (g >> 8)) >> 8;
    return 0xFF000000u | rb | g << 8;
}

// Products over a divisor alpha: ((c1 * w1 + c2 * w2) * global_adt[a]) >> 16,
// each channel kept to its low 8 bits.
inline Pel WeightedMean(Pel p1, u32 w1, Pel p2, u32 w2, u32 a)
{
    const u32 r = global_adt[a];
    return MakePel(((PelBlue(p1) * w1 + PelBlue(p2) * w2) * r) >> 16,
                   ((PelGreen(p1) * w1 + PelGreen(p2) * w2) * r) >> 16,
                   ((PelRed(p1) * w1 + PelRed(p2) * w2) * r) >> 16, a);
}

inline u32 SaturatedAlpha(u32 sum)
{
    return sum < 255u ? sum : 255u;
}

template <class PelOp> inline void ForEachPel(Pel* dst, int count, PelOp op)
{
    for (int i = 0; i < count; ++i)
        dst[i] = op(dst[i]);
}

template <class PelOp> inline void MapRow(Pel* dst, const Pel* src, int count, PelOp op)
{
    for (int i = 0; i < count; ++i)
        dst[i] = op(src[i]);
}

// Both sources are read before the result is written, so dst may be either.
template <class PelOp>
inline void ZipRows(Pel* dst, const Pel* upper, const Pel* lower, int count, PelOp op)
{
    for (int i = 0; i < count; ++i) {
        const Pel u = upper[i];
        const Pel l = lower[i];
        dst[i] = op(u, l);
    }
}

template <class PelOp>
inline void ZipThreeRows(Pel* dst, const Pel* top, const Pel* middle, const Pel* bottom, int count,
                         PelOp op)
{
    for (int i = 0; i < count; ++i) {
        const Pel t = top[i];
        const Pel m = middle[i];
        const Pel b = bottom[i];
        dst[i] = op(t, m, b);
    }
}

} // namespace StemRows

#endif
