// A straightforward model of the crawl operations, kept apart from the library's code: it walks
// the five segments pixel by pixel in 64-bit arithmetic, with no shortcuts.
#ifndef FLOWER_TESTS_CRAWL_MODEL_H
#define FLOWER_TESTS_CRAWL_MODEL_H

#include <algorithm>
#include <cstdint>

namespace crawlmodel {

using std::int64_t;
using std::uint32_t;

enum class Kind { Whole, Subpix, Shaped };

inline uint32_t Channel(uint32_t p, int i)
{
    return p >> (8 * i) & 255u;
}

inline uint32_t Pack(const int64_t c[4])
{
    uint32_t p = 0;
    for (int i = 0; i < 4; ++i)
        p |= (uint32_t(uint64_t(c[i])) & 255u) << (8 * i);
    return p;
}

inline int64_t Faded(int64_t level, int64_t x)
{
    return (level / 256) * x / 256;
}

inline uint32_t Straight(uint32_t s0, uint32_t s1, int f)
{
    const uint32_t e0 = Channel(s0, 3) * (256u - uint32_t(f));
    const uint32_t e1 = Channel(s1, 3) * uint32_t(f);
    const uint32_t sum = e0 + e1;
    if (sum == 0)
        return 0;
    int64_t c[4];
    for (int i = 0; i < 3; ++i)
        c[i] = (Channel(s1, i) * e1 + Channel(s0, i) * e0) / sum;
    c[3] = sum >> 8;
    return Pack(c);
}

inline uint32_t Shaped(uint32_t s0, uint32_t s1, int64_t wCurrent, int64_t wNext, int64_t level,
                       bool fade)
{
    int64_t c[4];
    for (int i = 0; i < 4; ++i) {
        c[i] = (Channel(s1, i) * wNext + Channel(s0, i) * wCurrent) / 256 & 255;
        if (fade)
            c[i] = Faded(level, c[i]);
    }
    return Pack(c);
}

inline uint32_t WithAlpha(uint32_t p, int64_t alpha)
{
    return (p & 0xFFFFFFu) | (uint32_t(uint64_t(alpha)) & 255u) << 24;
}

// One output pixel; `gradient` selects the fading routine at `level`.
inline uint32_t Pixel(Kind kind, uint32_t s0, uint32_t s1, int f, bool gradient, int64_t level)
{
    switch (kind) {
    case Kind::Whole:
        return gradient ? WithAlpha(s0, Faded(level, Channel(s0, 3))) : s0;
    case Kind::Subpix: {
        const uint32_t q = Straight(s0, s1, f);
        return gradient ? WithAlpha(q, Faded(level, Channel(q, 3))) : q;
    }
    case Kind::Shaped:
        return gradient ? Shaped(s0, s1, 256 - int64_t(f), f, level, true)
                        : Shaped(s0, s1, f, 256 - int64_t(f), 0, false);
    }
    return 0;
}

struct Params {
    int width, height, position, fraction, period, leftEdge, leftFadeWidth, rightEdge,
        rightFadeWidth;
};

struct Segment {
    int64_t start, length;
    int32_t kind; // -1 fill, -2 plain, otherwise a starting level
    int64_t step;
};

// src(y, x) reads a source pel, dst(y, x, pel) writes one.
template <class Read, class Write> void Run(Kind kind, const Params& c, Read src, Write dst)
{
    const int64_t w = c.width;
    if (c.width < 1 || c.height < 1)
        return;
    int64_t p = int64_t(c.position) - c.period;
    while (p < 0)
        p += c.period;
    while (p >= c.period)
        p -= c.period;
    const int64_t lf = std::max(c.leftFadeWidth, 0), rf = std::max(c.rightFadeWidth, 0);
    int64_t le = c.leftEdge, re = c.rightEdge;
    if (le > re)
        le = re = le + (le - re) / 2;
    const int64_t fadeStart = le - lf, fadeEnd = re + rf;
    Segment plan[5];
    int n = 0;
    if (fadeStart > w || fadeEnd < 0) {
        plan[n++] = {0, w, -1, 0};
    } else if (re >= w - 1 && le <= 0) {
        plan[n++] = {0, w, -2, 0};
    } else {
        if (fadeStart >= 0)
            plan[n++] = {0, fadeStart, -1, 0};
        if (lf != 0 && le > 0) {
            const int64_t s = 0xFF00 / c.leftFadeWidth;
            if (fadeStart >= 0)
                plan[n++] = {fadeStart, std::min(le, w) - fadeStart, 0, s};
            else
                plan[n++] = {0, std::min(le, w), int32_t(uint32_t(-(fadeStart * s) * 256)), s};
        }
        if (le != re && le <= w && re >= 0)
            plan[n++] = {std::max<int64_t>(le, 0), std::min(re, w) - std::max<int64_t>(le, 0), -2,
                         0};
        if (rf != 0 && re < w) {
            const int64_t s = 0xFF00 / -int64_t(c.rightFadeWidth);
            if (re >= 0)
                plan[n++] = {re, std::min(w, fadeEnd) - re, 0xFF00, s};
            else
                plan[n++] = {0, std::min(w, fadeEnd), int32_t(uint32_t((255 - s * re) * 256)), s};
        }
        if (fadeEnd < w)
            plan[n++] = {fadeEnd, w - fadeEnd, -1, 0};
    }
    for (int y = 0; y < c.height; ++y)
        for (int i = 0; i < n; ++i) {
            int64_t level = plan[i].kind;
            for (int64_t x = plan[i].start; x < plan[i].start + plan[i].length; ++x) {
                if (plan[i].kind == -1) {
                    dst(y, x, 0);
                    continue;
                }
                const uint32_t s0 = src(y, p + x);
                const uint32_t s1 = kind == Kind::Whole ? 0 : src(y, p + x + 1);
                dst(y, x, Pixel(kind, s0, s1, c.fraction, plan[i].kind != -2, level));
                level = std::min<int64_t>(level + plan[i].step, 0x10000);
            }
        }
}

} // namespace crawlmodel

#endif
