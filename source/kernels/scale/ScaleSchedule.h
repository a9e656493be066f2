// The part of the scaler's vector sets that is the same on every target, built
// once with the library's own flags. Only data structs and plain functions
// here, so that no target lends a copy built with wider instructions to others.
#ifndef FLOWER_SOURCE_SCALESCHEDULE_H
#define FLOWER_SOURCE_SCALESCHEDULE_H

#include "kernels/scale/ScaleKernels.h"

namespace Kernels {
namespace ScaleSchedule {

// Footprint rows whose terms are held at once: the sums of a pel wait in
// memory only between bands of this many rows.
constexpr i32 kBand = 4;

// A pel's four sums or terms, the targets' D4; the layout aligns them to 32.
typedef double Doubles4 __attribute__((vector_size(32)));

// One output pel's horizontal taps. Adding a term with weight +0 leaves the
// sums, which are never -0, as they are.
struct PelTaps {
    i32 column; // its first column
    i32 middle; // whole middle columns
    i32 hasLast;
    i32 total;  // columns read
    i32 second; // the second column read, from the first, or 0
    double first, last;
    double next, nextBelow; // the second column's weight, and in a last row
};

// The working memory of a run: the widest footprint, the taps, the end of each
// chunk's columns, each pel's sums and remaining weight between bands, and the
// terms of a band's rows, `width` per row.
struct Work {
    i32* widest; // columns the widest pel reads
    PelTaps* taps;
    i32* ends;
    Doubles4* sums;
    double* rest;
    Doubles4* terms;
};

// The rows of one band and their weights.
struct Band {
    i32 first, rows;
    bool last;            // the footprint's last band
    bool lastSkipsCorner; // the band's last row is a last row with a last column
    double weight[kBand], middleWeight[kBand];
};

// The pels of one or more chunks, and the columns they read.
struct Chunk {
    i32 first, end;   // pels
    i32 start, width; // columns
};

// A target's work on a stretch of chunks that are not clear: the sums of its
// pels through each band of rows in turn, then its pels from the sums.
struct StretchKernels {
    void (*sumBand)(const Work& work, const ScaleRowJob& job, const Chunk& chunk, const Band& band);
    void (*store)(Pel* dst, const Work& work, const Chunk& chunk);
};

// ScaleSet's columnBytes and prepareColumns, and the walk of its produceRow.
std::size_t ColumnBytes(i32 count, i32 width);
void PrepareColumns(void* columns, const ScaleRowJob& job);
void ProduceRow(Pel* dst, const ScaleRowJob& job, const StretchKernels& kernels);

} // namespace ScaleSchedule
} // namespace Kernels

#endif
