// Test-side reference for the buffer routines, written straight from their
// formulas, and raw buffers with random pitches to run them on.
#ifndef FLOWER_TESTS_BUFFERMODEL_H
#define FLOWER_TESTS_BUFFERMODEL_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace model {

using Pel = std::uint32_t;

inline int Ch(Pel p, int shift)
{
    return int((p >> shift) & 255);
}
inline int Al(Pel p)
{
    return Ch(p, 24);
}
inline Pel Pack(long long b, long long g, long long r, long long a)
{
    return Pel(b & 255) | Pel(g & 255) << 8 | Pel(r & 255) << 16 | Pel(a & 255) << 24;
}
inline int Div255(int x)
{
    return (x + 128 + ((x + 128) >> 8)) >> 8;
}
inline long long Adt(int a)
{
    return a == 0 ? 0 : 65536 / a;
}

// Top over bottom, the five ordered cases.
inline Pel Over(Pel t, Pel b)
{
    const int ta = Al(t), ba = Al(b);
    if (ta == 255 || ba == 0)
        return t;
    if (ta == 0)
        return b;
    Pel out = 0;
    if (ba == 255) {
        for (int s = 0; s < 24; s += 8)
            out |= Pel(Div255(Ch(t, s) * ta + Ch(b, s) * (255 - ta))) << s;
        return out | 0xFF000000u;
    }
    const int w = Div255(ba * (255 - ta));
    const int a = std::min(ta + w, 255);
    for (int s = 0; s < 24; s += 8)
        out |= Pel(((Ch(t, s) * ta + Ch(b, s) * w) * Adt(a) >> 16) & 255) << s;
    return out | Pel(a) << 24;
}

inline Pel OverWithOpacity(Pel t, Pel b, int ob, int ot)
{
    const int ea = (Al(b) * ob / 255) & 255, et = (Al(t) * ot / 255) & 255;
    const Pel t2 = (t & 0xFFFFFFu) | Pel(et) << 24, b2 = (b & 0xFFFFFFu) | Pel(ea) << 24;
    if (ea == 0 || et == 255)
        return t2;
    if (et == 0)
        return b2;
    if (ea == 255) {
        Pel out = 0xFF000000u;
        for (int s = 0; s < 24; s += 8)
            out |= Pel(Div255(Ch(t, s) * et + Ch(b, s) * (255 - et))) << s;
        return out;
    }
    const int w = Div255(ea * (255 - et));
    const int oa = (w + et) & 255;
    Pel out = Pel(oa) << 24;
    for (int s = 0; s < 24; s += 8)
        out |= Pel(((Ch(t, s) * et + Ch(b, s) * w) * Adt(oa) >> 16) & 255) << s;
    return out;
}

inline Pel CrossFade(Pel a, Pel b, int wa, int wb)
{
    if (a == b)
        return a;
    const long long ea = Al(a) * wa, eb = Al(b) * wb, s = ea + eb;
    if (s == 0)
        return 0;
    return Pack((Ch(b, 0) * eb + Ch(a, 0) * ea) / s, (Ch(b, 8) * eb + Ch(a, 8) * ea) / s,
                (Ch(b, 16) * eb + Ch(a, 16) * ea) / s, s >> 8);
}

inline Pel ShapedCrossFade(Pel a, Pel b, int wa, int wb)
{
    if (a == b)
        return a;
    Pel out = 0;
    for (int s = 0; s < 32; s += 8)
        out |= Pel(((Ch(b, s) * wb + Ch(a, s) * wa) / 256) & 255) << s;
    return out;
}

inline Pel Fade(Pel p, int level)
{
    return Pack(Ch(p, 0), Ch(p, 8), Ch(p, 16), Al(p) * level / 256);
}

inline Pel PreMult(Pel p)
{
    const int a = Al(p);
    return Pack(Div255(Ch(p, 0) * a), Div255(Ch(p, 8) * a), Div255(Ch(p, 16) * a), a);
}

// A pel whose alpha is 0 or 255 a third of the time each.
inline Pel RandomPel(std::mt19937& rng)
{
    const Pel p = Pel(rng());
    switch (rng() % 3) {
    case 0:
        return p & 0x00FFFFFFu;
    case 1:
        return p | 0xFF000000u;
    default:
        return p;
    }
}

// A random rectangle of pels in raw memory: the pitch has some slack, is
// negative one time in four, and the first pel is not 4-byte aligned one time
// in two. Slack bytes are random too and must survive every operation.
struct Buffer {
    std::vector<char> bytes;
    std::size_t origin = 0;
    int pitch = 0, width = 0, height = 0;

    Buffer(std::mt19937& rng, int w, int h, int minLines = 0) : width(w), height(h)
    {
        const int lines = std::max(h, minLines);
        const int span = std::max(w, 0) * 4 + int(rng() % 3) * 4;
        const std::size_t misalign = rng() % 2 ? 1 + rng() % 3 : 0;
        bytes.resize(std::size_t(span) * std::max(lines, 1) + misalign + 4);
        for (char& c : bytes)
            c = char(rng());
        for (int y = 0; y < lines; ++y)
            for (int x = 0; x < w; ++x) {
                const Pel p = RandomPel(rng);
                std::memcpy(&bytes[misalign + std::size_t(y) * span + std::size_t(x) * 4], &p, 4);
            }
        const bool upwards = rng() % 4 == 0 && lines > 0;
        pitch = upwards ? -span : span;
        origin = misalign + (upwards ? std::size_t(lines - 1) * span : 0);
    }
    char* Base() { return bytes.data() + origin; }
    const char* Base() const { return bytes.data() + origin; }
    std::size_t Offset(int x, int y) const { return origin + std::ptrdiff_t(y) * pitch + x * 4; }
    Pel Get(int x, int y) const
    {
        Pel p;
        std::memcpy(&p, &bytes[Offset(x, y)], 4);
        return p;
    }
    void Set(int x, int y, Pel p) { std::memcpy(&bytes[Offset(x, y)], &p, 4); }
};

} // namespace model

#endif
