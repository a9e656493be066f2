// A second, deliberately plain reading of the pel formulas: channels as
// arrays, exact rounding by integer division, no shared code with the library.
#ifndef FLOWER_TESTS_PELMODEL_H
#define FLOWER_TESTS_PELMODEL_H

#include <cstdint>

namespace model {

using u32 = std::uint32_t;

struct Px {
    u32 c[3]; // blue, green, red
    u32 a;
};

inline Px Split(u32 p)
{
    return {{p & 255, (p >> 8) & 255, (p >> 16) & 255}, p >> 24};
}

inline u32 Join(const u32 c[3], u32 a)
{
    return (c[0] & 255) | (c[1] & 255) << 8 | (c[2] & 255) << 16 | (a & 255) << 24;
}

inline u32 Round255(u32 x)
{
    return (x + 127) / 255;
}

// x / a through the truncated reciprocal 65536 / a; a = 0 gives 0.
inline u32 Recip(std::uint64_t x, u32 a)
{
    return a ? u32((x * (65536 / a)) >> 16) : 0;
}

inline u32 Fade(u32 p, u32 level)
{
    return (p & 0xFFFFFF) | Round255((p >> 24) * level) << 24;
}

inline u32 Over(u32 top, u32 bottom)
{
    const Px t = Split(top), b = Split(bottom);
    if (t.a == 255 || b.a == 0)
        return top;
    if (t.a == 0)
        return bottom;
    u32 c[3];
    if (b.a == 255) {
        for (int k = 0; k < 3; ++k)
            c[k] = Round255(t.c[k] * t.a + b.c[k] * (255 - t.a));
        return Join(c, 255);
    }
    const u32 w = Round255(b.a * (255 - t.a));
    const u32 a = t.a + w > 255 ? 255 : t.a + w;
    for (int k = 0; k < 3; ++k)
        c[k] = Recip(t.c[k] * t.a + b.c[k] * w, a);
    return Join(c, a);
}

inline u32 OverWithOpacity(u32 top, u32 bottom, u32 topOpacity, u32 bottomOpacity)
{
    return Over(Fade(top, topOpacity), Fade(bottom, bottomOpacity));
}

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
        c[k] = Round255(t.c[k] * t.a + b.c[k] * (255 - t.a));
    return Join(c, 255);
}

inline u32 Mix(u32 p1, u32 w1, u32 p2, u32 w2)
{
    const Px x = Split(p1), y = Split(p2);
    const u32 a = w1 + w2 > 255 ? 255 : w1 + w2;
    u32 c[3];
    for (int k = 0; k < 3; ++k)
        c[k] = Recip(x.c[k] * w1 + y.c[k] * w2, a);
    return Join(c, a);
}

inline u32 Add(u32 p1, u32 p2)
{
    return Mix(p1, p1 >> 24, p2, p2 >> 24);
}

inline u32 Blend(u32 p1, u32 p2, u32 level)
{
    return Mix(p1, Round255((p1 >> 24) * (255 - level)), p2, Round255((p2 >> 24) * level));
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
            c[k] = (x + 128 + ((x + 128) >> 8)) >> 8; // wraps as a 32-bit pattern
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

#endif
