// Per-pixel arithmetic shared by every row routine. A Pel is 0xAARRGGBB with
// straight (not premultiplied) alpha; in memory its bytes run B, G, R, A.
// The inline helpers are C++ only; C sees the Pel type.
#ifndef FLOWER_INLINEPELOPS_H
#define FLOWER_INLINEPELOPS_H

#include "AlphaDivide.h"
#include "local_system.h"

typedef u32 Pel;

#ifdef __cplusplus

inline u32 PelBlue(Pel p) { return p & 0xFFu; }
inline u32 PelGreen(Pel p) { return (p >> 8) & 0xFFu; }
inline u32 PelRed(Pel p) { return (p >> 16) & 0xFFu; }
inline u32 PelAlpha(Pel p) { return p >> 24; }

// Packs channels, keeping only the low 8 bits of each.
inline Pel MakePel(u32 blue, u32 green, u32 red, u32 alpha)
{
    return (blue & 0xFFu) | (green & 0xFFu) << 8 | (red & 0xFFu) << 16 | (alpha & 0xFFu) << 24;
}

// Rounds x / 255 to nearest for 0 <= x <= 65025.
inline u32 DivideBy255(u32 x)
{
    return (x + 128u + ((x + 128u) >> 8)) >> 8;
}

inline Pel FadePelAlpha(Pel p, u32 level)
{
    return (p & 0x00FFFFFFu) | DivideBy255(PelAlpha(p) * level) << 24;
}

// Top over bottom. The branch order is part of the result: an opaque bottom
// rounds to nearest, a translucent bottom truncates through global_adt.
inline Pel CompositPel(Pel top, Pel bottom)
{
    const u32 ta = PelAlpha(top);
    if (ta == 255u)
        return top;
    const u32 ba = PelAlpha(bottom);
    if (ba == 0u)
        return top;
    if (ta == 0u)
        return bottom;
    const u32 tw = ta;
    if (ba == 255u) {
        const u32 bw = 255u - ta;
        return MakePel(DivideBy255(PelBlue(top) * tw + PelBlue(bottom) * bw),
                       DivideBy255(PelGreen(top) * tw + PelGreen(bottom) * bw),
                       DivideBy255(PelRed(top) * tw + PelRed(bottom) * bw), 255u);
    }
    const u32 bw = DivideBy255(ba * (255u - ta));
    const u32 a = ta + bw < 255u ? ta + bw : 255u;
    return MakePel(AlphaDivide(PelBlue(top) * tw + PelBlue(bottom) * bw, a),
                   AlphaDivide(PelGreen(top) * tw + PelGreen(bottom) * bw, a),
                   AlphaDivide(PelRed(top) * tw + PelRed(bottom) * bw, a), a);
}

#endif // __cplusplus

#endif
