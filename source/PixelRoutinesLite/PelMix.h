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

#endif
