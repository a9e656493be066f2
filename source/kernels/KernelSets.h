// The one dispatch shape of every kernel family.
//
// A family (composite, mix, crawl, roll, channel, scale) is a struct of row
// kernels, `<Family>Set`, and one table of its sets indexed by Target:
//
//     extern const SetTable<CompositSet> kCompositSets; // [kScalar] always set
//
// The scalar set is the reference; every other set returns exactly its
// results. An entry is null where the build holds no set for that target.
// Callers reach a family only through these templates:
//
//     Active(kCompositSets)                    the best set this CPU runs
//     ActiveFor(kCompositSets, dst, count, s)  the same, or the scalar set when
//                                              dst partly overlaps a source
//     Runnable(kCompositSets, out)             every set this CPU runs
//
// The choice is made once per set type on first use, which may be a load-time
// static initialiser long before FlowerInit: a function-local static is safe
// there and race-free.
#ifndef FLOWER_SOURCE_KERNELSETS_H
#define FLOWER_SOURCE_KERNELSETS_H

#include <cstddef>
#include <cstdint>

namespace Kernels {

// In order of preference: a later runnable target beats an earlier one.
enum Target { kScalar, kSSE2, kAVX2, kAVX512, kNEON, kTargetCount };

template <class Set> using SetTable = const Set* const[kTargetCount];

// Whether this build holds `target` and this CPU runs it.
bool TargetRuns(Target target);

// Fills `out` with the sets this build holds and this CPU runs, scalar first
// and best last; returns how many.
template <class Set> int Runnable(const SetTable<Set>& sets, const Set* out[kTargetCount])
{
    int n = 0;
    for (int t = 0; t < kTargetCount; ++t)
        if (sets[t] && TargetRuns(Target(t)))
            out[n++] = sets[t];
    return n;
}

template <class Set> const Set& Active(const SetTable<Set>& sets)
{
    static const Set* const best = [&sets] {
        const Set* runnable[kTargetCount];
        return runnable[Runnable(sets, runnable) - 1];
    }();
    return *best;
}

// True when dst's `bytes` share bytes with `source` without starting at the
// same place. A null source overlaps nothing.
inline bool OverlapsPartially(const void* dst, const void* source, std::size_t bytes)
{
    const std::uintptr_t x = reinterpret_cast<std::uintptr_t>(dst);
    const std::uintptr_t y = reinterpret_cast<std::uintptr_t>(source);
    return source != nullptr && x != y && x < y + bytes && y < x + bytes;
}

// Where dst partly overlaps a source, the pel-by-pel order of the scalar set
// is the result, and a vector block would read pels the row already rewrote.
template <class Set>
const Set& ActiveFor(const SetTable<Set>& sets, const void* dst, int count, const void* source1,
                     const void* source2 = nullptr, const void* source3 = nullptr)
{
    const std::size_t bytes = count > 0 ? std::size_t(count) * 4 : 0;
    const bool smear = OverlapsPartially(dst, source1, bytes) ||
                       OverlapsPartially(dst, source2, bytes) ||
                       OverlapsPartially(dst, source3, bytes);
    return smear ? *sets[kScalar] : Active(sets);
}

} // namespace Kernels

// Declares a family's set `name` in the namespace of every vector target, where
// its vector source defines it for the targets the build holds.
#define FLOWER_DECLARE_VECTOR_SETS(Set, name)                                                      \
    namespace sse2 {                                                                               \
    extern const Set name;                                                                         \
    }                                                                                              \
    namespace avx2 {                                                                               \
    extern const Set name;                                                                         \
    }                                                                                              \
    namespace avx512 {                                                                             \
    extern const Set name;                                                                         \
    }                                                                                              \
    namespace neon {                                                                               \
    extern const Set name;                                                                         \
    }

// A table's entries after the scalar set: the vector targets this build holds.
#if defined(FLOWER_X86_KERNELS)
#define FLOWER_VECTOR_SETS(name) &sse2::name, &avx2::name, &avx512::name, nullptr
#elif defined(FLOWER_NEON_KERNELS)
#define FLOWER_VECTOR_SETS(name) nullptr, nullptr, nullptr, &neon::name
#else
#define FLOWER_VECTOR_SETS(name) nullptr, nullptr, nullptr, nullptr
#endif

// Stringified target name, for a set's `name`.
#define FLOWER_STRING(x) FLOWER_STRING_(x)
#define FLOWER_STRING_(x) #x

#endif
