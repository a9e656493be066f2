// Composite row kernels: the scalar reference set and the family's one selector.
#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/PelIO.h"
#include "PixelRoutinesLite/PelMix.h"
#include "stem/StemRows.h"
#include "thorn/CpuFeatures.h"

#include "inlinepelops.h"

#include <cstddef>
#include <cstdint>

using PelIO::LoadPel;
using PelIO::StorePel;

namespace {

// Every source pel is read before the result is written, so dst may be any
// one source row.
template <class PelOp>
void ZipRows(char* dst, const char* bottom, const char* top, int count, PelOp op)
{
    for (int i = 0; i < count; ++i) {
        const Pel t = LoadPel(top, i);
        const Pel b = LoadPel(bottom, i);
        StorePel(dst, i, op(t, b));
    }
}

template <class PelOp> void MapRow(char* dst, const char* row, int count, PelOp op)
{
    for (int i = 0; i < count; ++i)
        StorePel(dst, i, op(LoadPel(row, i)));
}

Pel OnOpaque(Pel top, Pel bottom)
{
    const u32 ta = PelAlpha(top);
    if (ta == 0u)
        return bottom;
    if (ta == 255u)
        return top;
    return StemRows::BlendOnOpaque(top, bottom, ta);
}

u32 ScaledAlpha(Pel p, int opacity)
{
    return static_cast<u32>(SignedScale(PelAlpha(p), opacity, 255)) & 0xFFu;
}

// True when the byte ranges share bytes without starting at the same place.
bool OverlapsPartially(const void* a, const void* b, std::size_t bytes)
{
    const std::uintptr_t x = reinterpret_cast<std::uintptr_t>(a);
    const std::uintptr_t y = reinterpret_cast<std::uintptr_t>(b);
    return b != nullptr && x != y && x < y + bytes && y < x + bytes;
}

} // namespace

// The references are the per-pel definitions themselves: the vector sets are
// proven against these loops, so they stay free of shortcuts.
void Kernels::Scalar::Composit(char* dst, const char* bottom, const char* top, int count)
{
    ZipRows(dst, bottom, top, count, CompositPel);
}

void Kernels::Scalar::CompositOnOpaque(char* dst, const char* bottom, const char* top, int count)
{
    ZipRows(dst, bottom, top, count, OnOpaque);
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
    ZipRows(dst, bottom, top, count, [bottomOpacity, topOpacity](Pel t, Pel b) {
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
    ZipRows(dst, bottom, top, count, [bottomOpacity, topOpacity](Pel t, Pel b) {
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

int Kernels::RunnableCompositSets(const CompositSet* out[4])
{
    int n = 0;
    out[n++] = &kCompositScalar;
#if defined(FLOWER_X86_KERNELS)
    out[n++] = &kCompositSSE2; // the x86-64 baseline
    if (CpuFeatures::HasAVX2())
        out[n++] = &kCompositAVX2;
    if (CpuFeatures::HasAVX512())
        out[n++] = &kCompositAVX512;
#endif
    return n;
}

// Chosen on first use, which may be a load-time static initialiser long before
// FlowerInit; a function-local static is safe there and race-free.
const Kernels::CompositSet& Kernels::ActiveCompositSet()
{
    static const CompositSet* const active = [] {
        const CompositSet* sets[4];
        return sets[RunnableCompositSets(sets) - 1];
    }();
    return *active;
}

const Kernels::CompositSet& Kernels::CompositSetFor(const void* dst, int count, const void* source1,
                                                    const void* source2, const void* source3)
{
    const std::size_t bytes = count > 0 ? std::size_t(count) * 4 : 0;
    const bool smear = OverlapsPartially(dst, source1, bytes) ||
                       OverlapsPartially(dst, source2, bytes) ||
                       OverlapsPartially(dst, source3, bytes);
    return smear ? kCompositScalar : ActiveCompositSet();
}

void Kernels::RunComposit(char* dst, const char* bottom, const char* top, int count)
{
    if (count > 0)
        CompositSetFor(dst, count, bottom, top).composit(dst, bottom, top, count);
}
