// Composite row kernels: the scalar reference set and the family's table.
#include "kernels/composite/CompositKernels.h"
#include "kernels/PelIO.h"
#include "kernels/PelMix.h"

#include "inlinepelops.h"

using PelIO::LoadPel;
using PelIO::MapRow;
using PelIO::StorePel;
using PelIO::ZipRows;

namespace {

Pel OnOpaque(Pel top, Pel bottom)
{
    const u32 ta = PelAlpha(top);
    if (ta == 0u)
        return bottom;
    if (ta == 255u)
        return top;
    return BlendOnOpaque(top, bottom, ta);
}

u32 ScaledAlpha(Pel p, int opacity)
{
    return static_cast<u32>(SignedScale(PelAlpha(p), opacity, 255)) & 0xFFu;
}

} // namespace

// The references are the per-pel definitions themselves: the vector sets are
// proven against these loops, so they stay free of shortcuts.
void Kernels::Scalar::Composit(char* dst, const char* bottom, const char* top, int count)
{
    ZipRows(dst, top, bottom, count, CompositPel);
}

void Kernels::Scalar::CompositOnOpaque(char* dst, const char* bottom, const char* top, int count)
{
    ZipRows(dst, top, bottom, count, OnOpaque);
}

void Kernels::Scalar::CompositOnColour(char* dst, const char* top, int count, u32 colour)
{
    MapRow(dst, top, count, [colour](Pel t) { return CompositPel(t, colour); });
}

void Kernels::Scalar::CompositColourOn(char* dst, const char* bottom, int count, u32 colour)
{
    MapRow(dst, bottom, count, [colour](Pel b) { return CompositPel(colour, b); });
}

void Kernels::Scalar::CompositColourOnOpaque(char* dst, const char* bottom, int count, u32 colour)
{
    MapRow(dst, bottom, count, [colour](Pel b) { return OnOpaque(colour, b); });
}

void Kernels::Scalar::CompositWithOpacity(char* dst, const char* bottom, const char* top, int count,
                                          u32 bottomOpacity, u32 topOpacity)
{
    ZipRows(dst, top, bottom, count, [bottomOpacity, topOpacity](Pel t, Pel b) {
        return CompositPel(FadePelAlpha(t, topOpacity), FadePelAlpha(b, bottomOpacity));
    });
}

void Kernels::Scalar::CompositThree(char* dst, const char* bottom, const char* middle,
                                    const char* top, int count, u32 bottomOpacity,
                                    u32 middleOpacity, u32 topOpacity)
{
    for (int i = 0; i < count; ++i) {
        const Pel t = FadePelAlpha(LoadPel(top, i), topOpacity);
        const Pel m = FadePelAlpha(LoadPel(middle, i), middleOpacity);
        const Pel b = FadePelAlpha(LoadPel(bottom, i), bottomOpacity);
        StorePel(dst, i, CompositPel(CompositPel(t, m), b));
    }
}

// With both alphas replaced, CompositPel's tests and roundings are this
// routine's: its sum ta + DivideBy255(ba * (255 - ta)) never passes 255.
void Kernels::Scalar::CompositWithScaledAlphas(char* dst, const char* bottom, const char* top,
                                               int count, int bottomOpacity, int topOpacity)
{
    ZipRows(dst, top, bottom, count, [bottomOpacity, topOpacity](Pel t, Pel b) {
        return CompositPel(WithAlpha(t, ScaledAlpha(t, topOpacity)),
                           WithAlpha(b, ScaledAlpha(b, bottomOpacity)));
    });
}

const Kernels::CompositSet Kernels::kCompositScalar = {
    "scalar",
    Scalar::Composit,
    Scalar::CompositOnOpaque,
    Scalar::CompositOnColour,
    Scalar::CompositColourOn,
    Scalar::CompositColourOnOpaque,
    Scalar::CompositWithOpacity,
    Scalar::CompositThree,
    Scalar::CompositWithScaledAlphas,
};

const Kernels::SetTable<Kernels::CompositSet> Kernels::kCompositSets = {
    &kCompositScalar, FLOWER_VECTOR_SETS(kComposit)};

void Kernels::RunComposit(char* dst, const char* bottom, const char* top, int count)
{
    if (count > 0)
        ActiveFor(kCompositSets, dst, count, bottom, top).composit(dst, bottom, top, count);
}
