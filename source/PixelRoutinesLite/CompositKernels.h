// Composite row kernels. Every set returns exactly what kCompositScalar returns;
// only speed differs. Rows are raw bytes with no alignment promise; a set's dst
// may be the very row of top or of bottom, but may not overlap either partially
// (RunComposit below sorts that out).
#ifndef FLOWER_SOURCE_COMPOSITKERNELS_H
#define FLOWER_SOURCE_COMPOSITKERNELS_H

namespace Kernels {

struct CompositSet {
    const char* name; // "scalar", "sse2", "avx2"
    // CompositPel(top[i], bottom[i]) for i in 0..count-1; nothing for count < 1.
    void (*composit)(char* dst, const char* bottom, const char* top, int count);
};

extern const CompositSet kCompositScalar, kCompositSSE2, kCompositAVX2;

// The scalar reference on pels first..count-1: the tail of every vector set,
// so a set's last few pels cannot drift from the reference.
void CompositScalarTail(char* dst, const char* bottom, const char* top, int first, int count);

// Fills `out` with the sets this build holds and this CPU runs, scalar first and
// best last; returns how many.
int RunnableCompositSets(const CompositSet* out[3]);

// The one dispatch point: the best runnable set, chosen on first use.
const CompositSet& ActiveCompositSet();

// Composites one row with the active set. Rows that overlap a source without
// being that very row go through the scalar set: its pel-by-pel order is the
// result there, and a vector block would read pels the row already rewrote.
void RunComposit(char* dst, const char* bottom, const char* top, int count);

} // namespace Kernels

#endif
