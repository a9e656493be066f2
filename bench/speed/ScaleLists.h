// The scaler's row job for 1920x1080 -> 1280x720, over the rows a benchmark walks.
#ifndef FLOWER_BENCH_SPEED_SCALELISTS_H
#define FLOWER_BENCH_SPEED_SCALELISTS_H

#include "Registry.h"
#include "kernels/scale/ScaleKernels.h"

namespace speed {

// Output row r.y of the downscale (its vertical entry, wrapping), reading its
// footprint from r's content rows, with the set's column layout prepared once
// as the scaler does. Valid until the next call on this thread.
const Kernels::ScaleRowJob& DownscaleJob(const Kernels::ScaleSet& set, const Rows& r);

} // namespace speed

#endif
