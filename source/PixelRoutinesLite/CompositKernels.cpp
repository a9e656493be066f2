// Composite row kernels: the scalar reference set and the family's one selector.
#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/PelIO.h"
#include "thorn/CpuFeatures.h"

#include "inlinepelops.h"

#include <cstddef>
#include <cstdint>

namespace {

// The reference is CompositPel itself, pel by pel: the vector sets are proven
// against this loop, so it stays free of shortcuts.
void ScalarCompositRow(char* dst, const char* bottom, const char* top, int count)
{
    for (int i = 0; i < count; ++i)
        PelIO::StorePel(dst, i, CompositPel(PelIO::LoadPel(top, i), PelIO::LoadPel(bottom, i)));
}

// True when the byte ranges share bytes without starting at the same place.
bool OverlapsPartially(const char* a, const char* b, std::size_t bytes)
{
    const std::uintptr_t x = reinterpret_cast<std::uintptr_t>(a);
    const std::uintptr_t y = reinterpret_cast<std::uintptr_t>(b);
    return x != y && x < y + bytes && y < x + bytes;
}

} // namespace

const Kernels::CompositSet Kernels::kCompositScalar = {"scalar", ScalarCompositRow};

void Kernels::CompositScalarTail(char* dst, const char* bottom, const char* top, int first,
                                 int count)
{
    const std::ptrdiff_t done = std::ptrdiff_t(first) * 4;
    ScalarCompositRow(dst + done, bottom + done, top + done, count - first);
}

int Kernels::RunnableCompositSets(const CompositSet* out[3])
{
    int n = 0;
    out[n++] = &kCompositScalar;
#if defined(FLOWER_X86_KERNELS)
    out[n++] = &kCompositSSE2; // the x86-64 baseline
    if (CpuFeatures::HasAVX2())
        out[n++] = &kCompositAVX2;
#endif
    return n;
}

// Chosen on first use, which may be a load-time static initialiser long before
// FlowerInit; a function-local static is safe there and race-free.
const Kernels::CompositSet& Kernels::ActiveCompositSet()
{
    static const CompositSet* const active = [] {
        const CompositSet* sets[3];
        return sets[RunnableCompositSets(sets) - 1];
    }();
    return *active;
}

void Kernels::RunComposit(char* dst, const char* bottom, const char* top, int count)
{
    if (count < 1)
        return;
    const std::size_t bytes = std::size_t(count) * 4;
    const bool smear = OverlapsPartially(dst, top, bytes) || OverlapsPartially(dst, bottom, bytes);
    (smear ? kCompositScalar : ActiveCompositSet()).composit(dst, bottom, top, count);
}
