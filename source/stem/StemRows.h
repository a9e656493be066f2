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
