// Composite row kernels. Every set returns exactly what kCompositScalar returns;
// only speed differs. Rows are raw bytes with no alignment promise; a set's dst
// may be the very row of any source, but may not overlap one partially
// (ActiveFor sends such rows to the scalar set). Rows are passed bottom first, and
// opacities in the order of their rows. Nothing is written for count < 1.
#ifndef FLOWER_SOURCE_COMPOSITKERNELS_H
#define FLOWER_SOURCE_COMPOSITKERNELS_H

#include "kernels/KernelSets.h"
#include "local_system.h"

namespace Kernels {

typedef void (*CompositRows)(char* dst, const char* bottom, const char* top, int count);
typedef void (*CompositColourRow)(char* dst, const char* row, int count, u32 colour);

struct CompositSet {
    const char* name; // "scalar" or the target's
    // CompositPel(top[i], bottom[i]).
    CompositRows composit;
    // Top over a bottom taken as opaque: top alpha 0 gives the bottom as it is,
    // 255 the top, anything else the rounded blend with alpha 255.
    CompositRows compositOnOpaque;
    // CompositPel(top[i], colour); row is the top.
    CompositColourRow compositOnColour;
    // CompositPel(colour, bottom[i]); row is the bottom.
    CompositColourRow compositColourOn;
    // The colour over a row taken as opaque, as compositOnOpaque; row is the bottom.
    CompositColourRow compositColourOnOpaque;
    // CompositPel(FadePelAlpha(top[i], topOpacity), FadePelAlpha(bottom[i], bottomOpacity)),
    // opacities 0..255.
    void (*compositWithOpacity)(char* dst, const char* bottom, const char* top, int count,
                                u32 bottomOpacity, u32 topOpacity);
    // CompositPel(CompositPel(fade(top[i]), fade(middle[i])), fade(bottom[i])), each
    // fade FadePelAlpha with that row's opacity 0..255.
    void (*compositThree)(char* dst, const char* bottom, const char* middle, const char* top,
                          int count, u32 bottomOpacity, u32 middleOpacity, u32 topOpacity);
    // The buffer routine's fade, any int opacity: each alpha becomes the low 8 bits
    // of (alpha * opacity) / 255, a wrapping 32-bit product and a signed truncating
    // division; then CompositPel.
    void (*compositWithScaledAlphas)(char* dst, const char* bottom, const char* top, int count,
                                     int bottomOpacity, int topOpacity);
};

extern const CompositSet kCompositScalar;
FLOWER_DECLARE_VECTOR_SETS(CompositSet, kComposit)

// The scalar reference routines, named so that any set can hold them as
// members it does not speed up and call them for its tails: a set's last few
// pels cannot drift from the reference.
namespace Scalar {
void Composit(char* dst, const char* bottom, const char* top, int count);
void CompositOnOpaque(char* dst, const char* bottom, const char* top, int count);
void CompositOnColour(char* dst, const char* top, int count, u32 colour);
void CompositColourOn(char* dst, const char* bottom, int count, u32 colour);
void CompositColourOnOpaque(char* dst, const char* bottom, int count, u32 colour);
void CompositWithOpacity(char* dst, const char* bottom, const char* top, int count,
                         u32 bottomOpacity, u32 topOpacity);
void CompositThree(char* dst, const char* bottom, const char* middle, const char* top, int count,
                   u32 bottomOpacity, u32 middleOpacity, u32 topOpacity);
void CompositWithScaledAlphas(char* dst, const char* bottom, const char* top, int count,
                              int bottomOpacity, int topOpacity);
} // namespace Scalar

extern const SetTable<CompositSet> kCompositSets;

// Composites one row with the set ActiveFor picks.
void RunComposit(char* dst, const char* bottom, const char* top, int count);

} // namespace Kernels

#endif
