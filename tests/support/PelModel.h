// A second, deliberately plain reading of the pel formulas: channels as
// arrays, exact rounding by integer division, nothing shared with the library.
#ifndef FLOWER_TESTS_SUPPORT_PELMODEL_H
#define FLOWER_TESTS_SUPPORT_PELMODEL_H

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

inline u32 DivideBy255(u32 x)
{
    return (x + 127) / 255;
}

inline u32 Adt(u32 a)
{
    return a ? 65536 / a : 0;
}

// x / a through the truncated reciprocal; a = 0 gives 0.
inline u32 AlphaDivide(std::uint64_t x, u32 a)
{
    return u32((x * Adt(a)) >> 16);
}

inline u32 Fade(u32 p, u32 level)
{
    return (p & 0xFFFFFF) | DivideBy255((p >> 24) * level) << 24;
}

// The five ordered branches; the first that holds decides.
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
            c[k] = DivideBy255(t.c[k] * t.a + b.c[k] * (255 - t.a));
        return Join(c, 255);
    }
    const u32 w = DivideBy255(b.a * (255 - t.a));
    const u32 a = t.a + w > 255 ? 255 : t.a + w;
    for (int k = 0; k < 3; ++k)
        c[k] = AlphaDivide(t.c[k] * t.a + b.c[k] * w, a);
    return Join(c, a);
}

inline u32 OverWithOpacity(u32 top, u32 bottom, u32 topOpacity, u32 bottomOpacity)
{
    return Over(Fade(top, topOpacity), Fade(bottom, bottomOpacity));
}

} // namespace model

#endif
