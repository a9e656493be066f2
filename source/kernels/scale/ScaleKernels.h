// Scaler row kernels. Every set returns exactly what kScaleScalar returns; only
// speed differs. A set sums the doubles of each output pel in the reference
// order, so sets may differ in how many pels they work on at once, never in the
// order of one pel's terms.
#ifndef FLOWER_SOURCE_SCALEKERNELS_H
#define FLOWER_SOURCE_SCALEKERNELS_H

#include <cstddef>

#include "florist.h"
#include "kernels/KernelSets.h"

namespace Kernels {

// One destination row: its footprint of source rows and the list entries that
// say how to read them. Every read position starts at column 0 of the rows.
struct ScaleRowJob {
    const Pel* const* rows;         // the footprint's rows, first to last
    const tagScaleList* vertical;   // the destination row's entry
    double vRatio;                  // weight of the middle rows
    const tagScaleList* horizontal; // the first output column's entry, then one per pel
    double hRatio;                  // weight of the middle columns
    i32 count;                      // output pels
    void* columns;                  // the set's working memory for this run, or null
};

struct ScaleSet {
    const char* name; // "scalar" or the vector target
    void (*produceRow)(Pel* dst, const ScaleRowJob& job);
    // Sets that work out the horizontal taps of a run once, for every row of
    // it, and keep working rows beside them: bytes needed for `count` output
    // pels read from rows `width` pels wide (0: the set needs none), and the
    // filling of `columns` (64-byte aligned) from the job's horizontal part.
    // The rows of a job must hold every column the run reads. Without
    // `columns` a set returns the scalar set's row the scalar way.
    std::size_t (*columnBytes)(i32 count, i32 width);
    void (*prepareColumns)(void* columns, const ScaleRowJob& job);
};

extern const ScaleSet kScaleScalar;
FLOWER_DECLARE_VECTOR_SETS(ScaleSet, kScale)

extern const SetTable<ScaleSet> kScaleSets;

} // namespace Kernels

#endif
