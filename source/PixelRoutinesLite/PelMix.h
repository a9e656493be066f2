// Per-pel mixes shared by the buffer rows and the crawl filters.
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

#endif
