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
    const void* columns;            // the set's prepared column layout for this run, or null
};

struct ScaleSet {
    const char* name; // "scalar", "avx2", "avx512"
    void (*produceRow)(Pel* dst, const ScaleRowJob& job);
    // Sets that can work out the horizontal taps of a run once, for every row
    // of it: bytes needed for `count` output pels (0: the set has no layout),
    // and the filling of `columns` (64-byte aligned) from the job's horizontal
    // part. The rows of a job must hold every column the run reads.
    std::size_t (*columnBytes)(i32 count);
    void (*prepareColumns)(void* columns, const ScaleRowJob& job);
};

extern const ScaleSet kScaleScalar, kScaleAVX2, kScaleAVX512;

extern const SetTable<ScaleSet> kScaleSets;

} // namespace Kernels

#endif
