// Portable row routines: the defaults of every slot in the scanline table.
#include "stem.h"

#include "PixelRoutinesLite/CompositKernels.h"

#include <cstring>
#include <utility>

namespace {

// =============================================================================
// Per-pel helpers
// =============================================================================

// An opacity of 255 leaves its pel exactly as it is, so it costs no arithmetic.
inline Pel FadeUnlessOpaque(Pel p, u32 opacity)
{
    return opacity == 255u ? p : FadePelAlpha(p, opacity);
}

inline Pel CompositPelWithOpacity(Pel top, Pel bottom, u32 topOpacity, u32 bottomOpacity)
{
    return CompositPel(FadeUnlessOpaque(top, topOpacity), FadeUnlessOpaque(bottom, bottomOpacity));
}

// tc * ta + bc * (255 - ta) per channel, rounded by DivideBy255, alpha 255.
// Red and blue share one 32-bit word: each 16-bit lane holds at most 65025,
// and the rounding step never carries out of its lane, so the result is
// exactly that of three separate DivideBy255 calls.
inline Pel BlendOnOpaque(Pel top, Pel bottom, u32 ta)
{
    const u32 ba = 255u - ta;
    u32 rb = (top & 0x00FF00FFu) * ta + (bottom & 0x00FF00FFu) * ba + 0x00800080u;
    rb = ((rb + ((rb >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
    u32 g = ((top >> 8) & 0xFFu) * ta + ((bottom >> 8) & 0xFFu) * ba + 128u;
    g = (g + (g >> 8)) >> 8;
    return 0xFF000000u | rb | g << 8;
}

// Products over a divisor alpha: ((c1 * w1 + c2 * w2) * global_adt[a]) >> 16,
// each channel kept to its low 8 bits.
inline Pel WeightedMean(Pel p1, u32 w1, Pel p2, u32 w2, u32 a)
{
    const u32 r = global_adt[a];
    return MakePel(((PelBlue(p1) * w1 + PelBlue(p2) * w2) * r) >> 16,
                   ((PelGreen(p1) * w1 + PelGreen(p2) * w2) * r) >> 16,
                   ((PelRed(p1) * w1 + PelRed(p2) * w2) * r) >> 16, a);
}

inline u32 SaturatedAlpha(u32 sum)
{
    return sum < 255u ? sum : 255u;
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

// =============================================================================
// Reverse composite: given C = T over B and B, estimate T
// =============================================================================

constexpr Pel kImpossibleComposite = 0x00FF00FFu;

// Translucent bottom: Ta = d * 255 / (255 - Ba) with d = Ca - Ba, and each
// channel DivideBy255((Cc Ca (255 - Ba) - Bc (255 - Ca) Ba) / d). The quotient
// may fall outside 0..65025; it is rounded as a 32-bit pattern and wraps.
inline u32 ReverseChannelOverTranslucent(u32 cc, u32 bc, int ca, int ba)
{
    const int q = (int(cc) * ca * (255 - ba) - int(bc) * (255 - ca) * ba) / (ca - ba);
    return DivideBy255(static_cast<u32>(q)) & 0xFFu;
}

inline Pel ReverseOverTranslucent(Pel c, Pel b, int ca, int ba)
{
    if (ca == ba)
        return 0u;
    const u32 ta = static_cast<u32>((ca - ba) * 255) / static_cast<u32>(255 - ba);
    return MakePel(ReverseChannelOverTranslucent(PelBlue(c), PelBlue(b), ca, ba),
                   ReverseChannelOverTranslucent(PelGreen(c), PelGreen(b), ca, ba),
                   ReverseChannelOverTranslucent(PelRed(c), PelRed(b), ca, ba), ta);
}

// The smallest top alpha that moves this bottom channel to the composite's.
inline int AlphaExplaining(int cc, int bc)
{
    const int e = bc - cc;
    if (e > 0)
        return e * 255 / bc;
    if (e < 0)
        return -e * 255 / (255 - bc);
    return 0;
}

inline u32 ReverseChannelOverOpaque(int cc, int bc, int ta)
{
    const int v = ((cc - bc) * 255 + bc * ta) / ta;
    return static_cast<u32>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// Opaque bottom (so an opaque composite): the largest alpha any channel needs.
inline Pel ReverseOverOpaque(Pel c, Pel b)
{
    const int cr = int(PelRed(c)), cg = int(PelGreen(c)), cb = int(PelBlue(c));
    const int br = int(PelRed(b)), bg = int(PelGreen(b)), bb = int(PelBlue(b));
    int ta = AlphaExplaining(cr, br);
    const int tg = AlphaExplaining(cg, bg);
    if (tg > ta)
        ta = tg;
    const int tb = AlphaExplaining(cb, bb);
    if (tb > ta)
        ta = tb;
    if (ta == 0)
        return 0u;
    return MakePel(ReverseChannelOverOpaque(cb, bb, ta), ReverseChannelOverOpaque(cg, bg, ta),
                   ReverseChannelOverOpaque(cr, br, ta), static_cast<u32>(ta));
}

inline Pel ReverseCompositPel(Pel composite, Pel bottom)
{
    const int ca = int(PelAlpha(composite));
    const int ba = int(PelAlpha(bottom));
    if (ca < ba)
        return kImpossibleComposite;
    if (ba < 255)
        return ReverseOverTranslucent(composite, bottom, ca, ba);
    return ReverseOverOpaque(composite, bottom);
}

} // namespace

// =============================================================================
// Fill, copy, channels, fades
// =============================================================================
// Clear, Copy and Move are the C library's; a count below 1 writes nothing.

void Stem::ClearScanline(Pel* dst, int count)
{
    if (count > 0)
        std::memset(dst, 0, static_cast<std::size_t>(count) * sizeof(Pel));
}

void Stem::SetScanline(Pel* dst, int count, Pel colour)
{
    for (int i = 0; i < count; ++i)
        dst[i] = colour;
}

void Stem::CopyScanline(Pel* dst, const Pel* src, int count)
{
    if (count > 0)
        std::memcpy(dst, src, static_cast<std::size_t>(count) * sizeof(Pel));
}

void Stem::MoveScanline(Pel* dst, const Pel* src, int count)
{
    if (count > 0)
        std::memmove(dst, src, static_cast<std::size_t>(count) * sizeof(Pel));
}

void Stem::SetAlphaScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = u32(value) << 24;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0x00FFFFFFu) | v; });
}

void Stem::SetRedScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = u32(value) << 16;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0xFF00FFFFu) | v; });
}

void Stem::SetGreenScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = u32(value) << 8;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0xFFFF00FFu) | v; });
}

void Stem::SetBlueScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = value;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0xFFFFFF00u) | v; });
}

void Stem::FadeScanline(Pel* dst, int count, unsigned char level)
{
    if (level == 255)
        return;
    const u32 l = level;
    ForEachPel(dst, count, [l](Pel p) { return FadePelAlpha(p, l); });
}

void Stem::FadeCopyScanline(Pel* dst, const Pel* src, int count, unsigned char level)
{
    const u32 l = level;
    MapRow(dst, src, count, [l](Pel p) { return FadePelAlpha(p, l); });
}

// =============================================================================
// Swap, mirror, mix
// =============================================================================

void Stem::SwapScanline(Pel* row1, Pel* row2, int count)
{
    for (int i = 0; i < count; ++i)
        std::swap(row1[i], row2[i]);
}

void Stem::HorizontalFlipScanline(Pel* row, int count)
{
    for (int i = 0, j = count - 1; i < j; ++i, --j)
        std::swap(row[i], row[j]);
}

// The quotient exceeds 255 once the alphas sum past 255; it is stored modulo
// 256, never clamped.
void Stem::AddScanline(Pel* dst, const Pel* src1, const Pel* src2, int count)
{
    ZipRows(dst, src1, src2, count, [](Pel p1, Pel p2) {
        const u32 a1 = PelAlpha(p1), a2 = PelAlpha(p2);
        return WeightedMean(p1, a1, p2, a2, SaturatedAlpha(a1 + a2));
    });
}

// No shortcut at the end levels: even level 0 goes through the truncating
// table and takes one off every non-zero channel of an opaque src1.
void Stem::BlendScanline(Pel* dst, const Pel* src1, const Pel* src2, int count, unsigned char level)
{
    const u32 l2 = level, l1 = 255u - l2;
    ZipRows(dst, src1, src2, count, [l1, l2](Pel p1, Pel p2) {
        const u32 w1 = DivideBy255(PelAlpha(p1) * l1), w2 = DivideBy255(PelAlpha(p2) * l2);
        return WeightedMean(p1, w1, p2, w2, SaturatedAlpha(w1 + w2));
    });
}

void Stem::MaxScanline(Pel* dst, const Pel* src1, const Pel* src2, int count)
{
    ZipRows(dst, src1, src2, count,
            [](Pel p1, Pel p2) { return PelAlpha(p1) < PelAlpha(p2) ? p2 : p1; });
}

// =============================================================================
// Two-row and colour composites
// =============================================================================
// All are CompositPel's ordered branches; an opaque bottom rounds through
// DivideBy255, a translucent one truncates through global_adt.

// The same per-pel contract as the buffer composite, so both slots share its
// fastest kernel set.
void Stem::CompositScanline(Pel* dst, const Pel* top, const Pel* bottom, int count)
{
    Kernels::RunComposit(reinterpret_cast<char*>(dst), reinterpret_cast<const char*>(bottom),
                         reinterpret_cast<const char*>(top), count);
}

// The bottom's alpha is never consulted, only passed on under a clear top.
void Stem::CompositOnOpaqueScanline(Pel* dst, const Pel* top, const Pel* bottom, int count)
{
    ZipRows(dst, top, bottom, count, [](Pel t, Pel b) {
        const u32 ta = PelAlpha(t);
        if (ta == 0u)
            return b;
        if (ta == 255u)
            return t;
        return BlendOnOpaque(t, b, ta);
    });
}

void Stem::CompositOnColourScanline(Pel* dst, const Pel* top, int count, Pel colour)
{
    if (count < 1)
        return;
    const u32 ca = PelAlpha(colour);
    if (ca == 0u)
        return Stem::MoveScanline(dst, top, count);
    if (ca == 255u) {
        return MapRow(dst, top, count, [colour](Pel t) {
            const u32 ta = PelAlpha(t);
            if (ta == 255u)
                return t;
            if (ta == 0u)
                return colour;
            return BlendOnOpaque(t, colour, ta);
        });
    }
    MapRow(dst, top, count, [colour](Pel t) { return CompositPel(t, colour); });
}

void Stem::CompositColourOnScanline(Pel* dst, const Pel* bottom, int count, Pel colour)
{
    if (PelAlpha(colour) == 255u)
        return Stem::SetScanline(dst, count, colour);
    MapRow(dst, bottom, count, [colour](Pel b) { return CompositPel(colour, b); });
}

void Stem::CompositColourOnOpaqueScanline(Pel* dst, const Pel* bottom, int count, Pel colour)
{
    const u32 ca = PelAlpha(colour);
    if (ca == 255u)
        return Stem::SetScanline(dst, count, colour);
    if (ca == 0u)
        return MapRow(dst, bottom, count, [](Pel b) { return b; });
    MapRow(dst, bottom, count, [colour, ca](Pel b) { return BlendOnOpaque(colour, b, ca); });
}

void Stem::ReverseCompositScanline(Pel* dst, const Pel* composite, const Pel* bottom, int count)
{
    ZipRows(dst, composite, bottom, count, ReverseCompositPel);
}

// =============================================================================
// Opacity and three-row composites
// =============================================================================
// Fading comes first, compositing second. Three rows go top over middle, then
// that over the bottom: the intermediate is packed to 8 bits per channel, so
// the grouping shows in the roundings.

void Stem::CompositWithTopOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom, int count,
                                          unsigned char opacity)
{
    Stem::CompositWithOpacityScanline(dst, top, bottom, count, opacity, 255);
}

void Stem::CompositWithBottomOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom, int count,
                                             unsigned char opacity)
{
    Stem::CompositWithOpacityScanline(dst, top, bottom, count, 255, opacity);
}

// Full opacities are the plain composite, which has the fastest kernels.
void Stem::CompositWithOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom, int count,
                                       unsigned char topOpacity, unsigned char bottomOpacity)
{
    if (topOpacity == 255 && bottomOpacity == 255)
        return Stem::CompositScanline(dst, top, bottom, count);
    const u32 to = topOpacity, bo = bottomOpacity;
    ZipRows(dst, top, bottom, count,
            [to, bo](Pel t, Pel b) { return CompositPelWithOpacity(t, b, to, bo); });
}

void Stem::CompositThreeScanlines(Pel* dst, const Pel* top, const Pel* middle, const Pel* bottom,
                                  int count)
{
    ZipThreeRows(dst, top, middle, bottom, count,
                 [](Pel t, Pel m, Pel b) { return CompositPel(CompositPel(t, m), b); });
}

void Stem::CompositThreeScanlinesWithTopOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                const Pel* bottom, int count, unsigned char opacity)
{
    Stem::CompositThreeScanlinesWithOpacity(dst, top, middle, bottom, count, opacity, 255, 255);
}

void Stem::CompositThreeScanlinesWithMiddleOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                   const Pel* bottom, int count,
                                                   unsigned char opacity)
{
    Stem::CompositThreeScanlinesWithOpacity(dst, top, middle, bottom, count, 255, opacity, 255);
}

void Stem::CompositThreeScanlinesWithBottomOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                   const Pel* bottom, int count,
                                                   unsigned char opacity)
{
    Stem::CompositThreeScanlinesWithOpacity(dst, top, middle, bottom, count, 255, 255, opacity);
}

void Stem::CompositThreeScanlinesWithOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                             const Pel* bottom, int count, unsigned char topOpacity,
                                             unsigned char middleOpacity,
                                             unsigned char bottomOpacity)
{
    const u32 to = topOpacity, mo = middleOpacity, bo = bottomOpacity;
    ZipThreeRows(dst, top, middle, bottom, count, [to, mo, bo](Pel t, Pel m, Pel b) {
        return CompositPel(CompositPelWithOpacity(t, m, to, mo), FadeUnlessOpaque(b, bo));
    });
}
