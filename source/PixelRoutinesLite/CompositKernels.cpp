// Composite row kernels: the scalar reference set and the family's one selector.
#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/PelIO.h"
#include "thorn/CpuFeatures.h"

#include "inlinepelops.h"

#include <cstddef>

namespace {

// The reference is CompositPel itself, pel by pel: the vector sets are proven
// against this loop, so it stays free of shortcuts.
void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    for (int i = 0; i < count; ++i)
        PelIO::StorePel(dst, i, CompositPel(PelIO::LoadPel(top, i), PelIO::LoadPel(bottom, i)));
}

} // namespace

const Kernels::CompositSet Kernels::kCompositScalar = {"scalar", CompositRow};

void Kernels::CompositScalarTail(char* dst, const char* bottom, const char* top, int first,
                                 int count)
{
    const std::ptrdiff_t done = std::ptrdiff_t(first) * 4;
    CompositRow(dst + done, bottom + done, top + done, count - first);
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
