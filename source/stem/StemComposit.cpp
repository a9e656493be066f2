// Portable composite row routines: the defaults of the compositing slots.
#include "stem/StemRows.h"

#include "kernels/composite/CompositKernels.h"

using namespace StemRows;

namespace {

char* Bytes(Pel* row)
{
    return reinterpret_cast<char*>(row);
}

const char* Bytes(const Pel* row)
{
    return reinterpret_cast<const char*>(row);
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
// Two-row and colour composites
// =============================================================================
// All are CompositPel's ordered branches; an opaque bottom rounds through
// DivideBy255, a translucent one truncates through global_adt.

// The same per-pel contract as the buffer composite, so both slots share its
// fastest kernel set.
void Stem::CompositScanline(Pel* dst, const Pel* top, const Pel* bottom, int count)
{
    Kernels::RunComposit(Bytes(dst), Bytes(bottom), Bytes(top), count);
}

// The bottom's alpha is never consulted, only passed on under a clear top.
void Stem::CompositOnOpaqueScanline(Pel* dst, const Pel* top, const Pel* bottom, int count)
{
    if (count > 0)
        Kernels::ActiveFor(Kernels::kCompositSets, dst, count, top, bottom)
            .compositOnOpaque(Bytes(dst), Bytes(bottom), Bytes(top), count);
}

// A clear colour leaves the top row as it is: a move keeps that true of
// overlapping rows too.
void Stem::CompositOnColourScanline(Pel* dst, const Pel* top, int count, Pel colour)
{
    if (count < 1)
        return;
    if (PelAlpha(colour) == 0u)
        return Stem::MoveScanline(dst, top, count);
    Kernels::ActiveFor(Kernels::kCompositSets, dst, count, top)
        .compositOnColour(Bytes(dst), Bytes(top), count, colour);
}

void Stem::CompositColourOnScanline(Pel* dst, const Pel* bottom, int count, Pel colour)
{
    if (count < 1)
        return;
    if (PelAlpha(colour) == 255u)
        return Stem::SetScanline(dst, count, colour);
    Kernels::ActiveFor(Kernels::kCompositSets, dst, count, bottom)
        .compositColourOn(Bytes(dst), Bytes(bottom), count, colour);
}

void Stem::CompositColourOnOpaqueScanline(Pel* dst, const Pel* bottom, int count, Pel colour)
{
    if (count < 1)
        return;
    if (PelAlpha(colour) == 255u)
        return Stem::SetScanline(dst, count, colour);
    Kernels::ActiveFor(Kernels::kCompositSets, dst, count, bottom)
        .compositColourOnOpaque(Bytes(dst), Bytes(bottom), count, colour);
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
    if (count > 0)
        Kernels::ActiveFor(Kernels::kCompositSets, dst, count, top, bottom)
            .compositWithOpacity(Bytes(dst), Bytes(bottom), Bytes(top), count, bottomOpacity,
                                 topOpacity);
}

void Stem::CompositThreeScanlines(Pel* dst, const Pel* top, const Pel* middle, const Pel* bottom,
                                  int count)
{
    Stem::CompositThreeScanlinesWithOpacity(dst, top, middle, bottom, count, 255, 255, 255);
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
    if (count > 0)
        Kernels::ActiveFor(Kernels::kCompositSets, dst, count, top, middle, bottom)
            .compositThree(Bytes(dst), Bytes(bottom), Bytes(middle), Bytes(top), count,
                           bottomOpacity, middleOpacity, topOpacity);
}
