// Per-pel mixes shared by the kernel families' scalar sets.
//
// The alpha-weighted mix of two pels, shared by the cross-fade and the straight
// crawl filter: e0 = A0*w0, e1 = A1*w1, s = e0 + e1, all unsigned and wrapping;
// colour (C1*e1 + C0*e0) / s, alpha s >> 8 (low 8 bits), and 0 where s is 0.
#ifndef FLOWER_SOURCE_PELMIX_H
#define FLOWER_SOURCE_PELMIX_H

#include "inlinepelops.h"

inline Pel AlphaWeightedMix(Pel p0, Pel p1, u32 w0, u32 w1)
{
    const u32 e0 = PelAlpha(p0) * w0;
    const u32 e1 = PelAlpha(p1) * w1;
    const u32 sum = e0 + e1;
    if (sum == 0u)
        return 0u;
    return MakePel((PelBlue(p1) * e1 + PelBlue(p0) * e0) / sum,
                   (PelGreen(p1) * e1 + PelGreen(p0) * e0) / sum,
                   (PelRed(p1) * e1 + PelRed(p0) * e0) / sum, sum >> 8);
}

// (x * factor) / divisor in signed 32-bit arithmetic, truncating toward zero;
// the product wraps as the 32-bit machine arithmetic would.
inline int SignedScale(u32 x, int factor, int divisor)
{
    const i32 product = static_cast<i32>(x * static_cast<u32>(factor));
    return product / divisor;
}

inline Pel WithAlpha(Pel p, u32 alpha)
{
    return (p & 0x00FFFFFFu) | (alpha & 0xFFu) << 24;
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

#endif
