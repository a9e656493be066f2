// Portable buffer row routines: blits, fills, fades and cross-fades.
//
// Rows are raw bytes with no alignment promise, so pels go through memcpy.
// Every routine reads pel i before it writes pel i and never looks back, so a
// destination may be its own source.
//
// Where a formula is stated in signed 32-bit arithmetic, parameters outside
// their intended ranges wrap as the 32-bit machine arithmetic would: products
// are formed in u32 and converted back before the signed division.
#include "PixelRoutinesLite/BufferTable.h"
#include "PixelRoutinesLite.h"
#include "PixelRoutinesLite/PelIO.h"
#include "PixelRoutinesLite/PelMix.h"

#include <cstring>

#include "inlinepelops.h"

namespace {

using PelIO::LoadPel;
using PelIO::StorePel;

// X = (Xb.wb + Xa.wa) / 256 on all four channels, signed and truncating.
u32 ShapedMix(u32 xa, u32 xb, u32 weightA, u32 weightB)
{
    return static_cast<u32>(static_cast<i32>(xb * weightB + xa * weightA) / 256);
}

Pel ShapedCrossFadePel(Pel a, Pel b, u32 weightA, u32 weightB)
{
    return MakePel(ShapedMix(PelBlue(a), PelBlue(b), weightA, weightB),
                   ShapedMix(PelGreen(a), PelGreen(b), weightA, weightB),
                   ShapedMix(PelRed(a), PelRed(b), weightA, weightB),
                   ShapedMix(PelAlpha(a), PelAlpha(b), weightA, weightB));
}

// Equal pels are their own mix at any weights, so they skip the arithmetic.
template <class Mix>
void CrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, Mix mix)
{
    for (int i = 0; i < count; ++i) {
        const Pel a = LoadPel(srcA, i);
        const Pel b = LoadPel(srcB, i);
        StorePel(dst, i, a == b ? a : mix(a, b));
    }
}

} // namespace

extern "C" {

int CEE_ScanlineBlit(char* dst, const char* src, int count)
{
    // A row blitted onto itself is already the result.
    if (count > 0 && dst != src)
        std::memmove(dst, src, static_cast<std::size_t>(count) * 4u);
    return 1;
}

int CEE_ScanlineBlitColour(char* dst, int count, int colour)
{
    const Pel pel = static_cast<Pel>(colour);
    for (int i = 0; i < count; ++i)
        StorePel(dst, i, pel);
    return 1;
}

int CEE_ScanlineCrossFade(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                          int weightB)
{
    const u32 wa = static_cast<u32>(weightA);
    const u32 wb = static_cast<u32>(weightB);
    CrossFadeRow(dst, srcA, srcB, count,
                 [wa, wb](Pel a, Pel b) { return AlphaWeightedMix(a, b, wa, wb); });
    return 1;
}

int CEE_ScanlineShapedCrossFade(char* dst, const char* srcA, const char* srcB, int count,
                                int weightA, int weightB)
{
    const u32 wa = static_cast<u32>(weightA);
    const u32 wb = static_cast<u32>(weightB);
    CrossFadeRow(dst, srcA, srcB, count,
                 [wa, wb](Pel a, Pel b) { return ShapedCrossFadePel(a, b, wa, wb); });
    return 1;
}

// One pel per step is also what a four-pel body must reproduce on rows that
// overlap, so the plain loop is the whole definition.
int CEE_ScanlineFade(char* dst, const char* src, int count, int level)
{
    for (int i = 0; i < count; ++i) {
        const Pel p = LoadPel(src, i);
        StorePel(dst, i, WithAlpha(p, static_cast<u32>(SignedScale(PelAlpha(p), level, 256))));
    }
    return 1;
}

int CEE_ScanlinePreMultAlpha(char* dst, const char* src, int count)
{
    for (int i = 0; i < count; ++i) {
        const Pel p = LoadPel(src, i);
        const u32 a = PelAlpha(p);
        StorePel(dst, i,
                 MakePel(DivideBy255(PelBlue(p) * a), DivideBy255(PelGreen(p) * a),
                         DivideBy255(PelRed(p) * a), a));
    }
    return 1;
}

} // extern "C"
