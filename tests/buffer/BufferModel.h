// The buffer routines' own formulas, on top of the pel model.
#ifndef FLOWER_TESTS_BUFFERMODEL_H
#define FLOWER_TESTS_BUFFERMODEL_H

#include "support/PelModel.h"

#include <vector>

namespace model {

using Pel = u32;

inline long long Ch(Pel p, int shift)
{
    return (p >> shift) & 255;
}
inline Pel Pack(long long b, long long g, long long r, long long a)
{
    return Pel(b & 255) | Pel(g & 255) << 8 | Pel(r & 255) << 16 | Pel(a & 255) << 24;
}

// Truncating opacity scale, and a test order unlike Over's: a transparent
// bottom is tested before an opaque top.
inline Pel OverWithOpacityTruncated(Pel t, Pel b, int ob, int ot)
{
    const u32 ea = u32(int(b >> 24) * ob / 255) & 255, et = u32(int(t >> 24) * ot / 255) & 255;
    const Pel t2 = (t & 0xFFFFFF) | et << 24, b2 = (b & 0xFFFFFF) | ea << 24;
    if (ea == 0 || et == 255)
        return t2;
    if (et == 0)
        return b2;
    const Px x = Split(t), y = Split(b);
    u32 c[3];
    if (ea == 255) {
        for (int k = 0; k < 3; ++k)
            c[k] = DivideBy255(x.c[k] * et + y.c[k] * (255 - et));
        return Join(c, 255);
    }
    const u32 w = DivideBy255(ea * (255 - et)), oa = (w + et) & 255;
    for (int k = 0; k < 3; ++k)
        c[k] = AlphaDivide(x.c[k] * et + y.c[k] * w, oa);
    return Join(c, oa);
}

// Weighted pels: colour sum(C.A.w) / sum(A.w), alpha sum(A.w) >> 8.
inline Pel Mix(const std::vector<Pel>& pels, const std::vector<int>& w)
{
    long long s = 0, c[3] = {0, 0, 0};
    for (std::size_t k = 0; k < pels.size(); ++k) {
        const long long e = Ch(pels[k], 24) * w[k];
        s += e;
        for (int ch = 0; ch < 3; ++ch)
            c[ch] += Ch(pels[k], ch * 8) * e;
    }
    return s == 0 ? 0 : Pack(c[0] / s, c[1] / s, c[2] / s, s >> 8);
}

inline Pel CrossFade(Pel a, Pel b, int wa, int wb)
{
    return a == b ? a : Mix({a, b}, {wa, wb});
}

inline Pel ShapedCrossFade(Pel a, Pel b, int wa, int wb)
{
    if (a == b)
        return a;
    return Pack((Ch(b, 0) * wb + Ch(a, 0) * wa) / 256, (Ch(b, 8) * wb + Ch(a, 8) * wa) / 256,
                (Ch(b, 16) * wb + Ch(a, 16) * wa) / 256, (Ch(b, 24) * wb + Ch(a, 24) * wa) / 256);
}

inline Pel FadeBy256(Pel p, int level)
{
    return Pack(Ch(p, 0), Ch(p, 8), Ch(p, 16), Ch(p, 24) * level / 256);
}

inline Pel PreMult(Pel p)
{
    const u32 a = p >> 24;
    return Pack(DivideBy255(u32(Ch(p, 0)) * a), DivideBy255(u32(Ch(p, 8)) * a),
                DivideBy255(u32(Ch(p, 16)) * a), a);
}

} // namespace model

#endif
