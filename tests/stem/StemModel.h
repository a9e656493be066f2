// The row formulas that only the scanline routines use, on top of the pel model.
#ifndef FLOWER_TESTS_STEM_STEMMODEL_H
#define FLOWER_TESTS_STEM_STEMMODEL_H

#include "support/PelModel.h"
#include "support/RowHarness.h"

namespace model {

// Top over a bottom that is opaque by assumption.
inline u32 OverOpaque(u32 top, u32 bottom)
{
    const Px t = Split(top), b = Split(bottom);
    if (t.a == 0)
        return bottom;
    if (t.a == 255)
        return top;
    u32 c[3];
    for (int k = 0; k < 3; ++k)
        c[k] = DivideBy255(t.c[k] * t.a + b.c[k] * (255 - t.a));
    return Join(c, 255);
}

inline u32 Mix(u32 p1, u32 w1, u32 p2, u32 w2)
{
    const Px x = Split(p1), y = Split(p2);
    const u32 a = w1 + w2 > 255 ? 255 : w1 + w2;
    u32 c[3];
    for (int k = 0; k < 3; ++k)
        c[k] = AlphaDivide(x.c[k] * w1 + y.c[k] * w2, a);
    return Join(c, a);
}

inline u32 Add(u32 p1, u32 p2)
{
    return Mix(p1, p1 >> 24, p2, p2 >> 24);
}

inline u32 Blend(u32 p1, u32 p2, u32 level)
{
    return Mix(p1, DivideBy255((p1 >> 24) * (255 - level)), p2, DivideBy255((p2 >> 24) * level));
}

inline u32 Max(u32 p1, u32 p2)
{
    return (p1 >> 24) < (p2 >> 24) ? p2 : p1;
}

inline u32 Reverse(u32 composite, u32 bottom)
{
    const Px C = Split(composite), B = Split(bottom);
    if (C.a < B.a)
        return 0x00FF00FF;
    u32 c[3];
    if (B.a < 255) {
        if (C.a == B.a)
            return 0;
        const int ca = int(C.a), ba = int(B.a), d = ca - ba;
        for (int k = 0; k < 3; ++k) {
            const int q = (int(C.c[k]) * ca * (255 - ba) - int(B.c[k]) * (255 - ca) * ba) / d;
            const u32 x = u32(q);
            c[k] = (x + 128 + ((x + 128) >> 8)) >> 8; // on the wrapped 32-bit pattern
        }
        return Join(c, u32(d * 255) / u32(255 - ba));
    }
    int ta = 0;
    for (int k = 2; k >= 0; --k) {
        const int bc = int(B.c[k]), e = bc - int(C.c[k]);
        const int need = e > 0 ? e * 255 / bc : e < 0 ? -e * 255 / (255 - bc) : 0;
        ta = need > ta ? need : ta;
    }
    if (ta == 0)
        return 0;
    for (int k = 0; k < 3; ++k) {
        const int v = ((int(C.c[k]) - int(B.c[k])) * 255 + int(B.c[k]) * ta) / ta;
        c[k] = u32(v < 0 ? 0 : v > 255 ? 255 : v);
    }
    return Join(c, u32(ta));
}

} // namespace model

namespace stemtest {
using support::u32;

// How the scanline routines are driven: single rows starting on a pel (they
// take Pel*), dst as each source in turn, a count of -1, two rounds per count.
const support::RowChecks kRows = {1, true, true, true, 2};

inline unsigned char Byte(u32 v)
{
    return static_cast<unsigned char>(v);
}

} // namespace stemtest

#endif
