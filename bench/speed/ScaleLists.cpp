// Scale lists for the scaler's row kernels, built once.
#include "ScaleLists.h"

#include <vector>

namespace speed {

namespace {

constexpr int kOutWidth = 1280;
constexpr int kOutHeight = 720;

struct Lists {
    std::vector<tagScaleList> horizontal, vertical;
    Lists() : horizontal(kOutWidth + 1), vertical(kOutHeight + 1)
    {
        ScaleGenScaleList(horizontal.data(), kWidth, kOutWidth);
        ScaleGenScaleList(vertical.data(), kHeight, kOutHeight);
    }
};

} // namespace

const Kernels::ScaleRowJob& DownscaleJob(const Rows& r)
{
    static const Lists lists;
    // Footprints span at most a few rows; four cover 1080 -> 720.
    thread_local const Pel* footprint[4];
    thread_local Kernels::ScaleRowJob job;
    for (int k = 0; k < 4; ++k)
        footprint[k] = reinterpret_cast<const Pel*>(r.ANeighbour(k));
    job.rows = footprint;
    job.vertical = &lists.vertical[1 + r.y % kOutHeight];
    job.vRatio = lists.vertical[0].ratio;
    job.horizontal = &lists.horizontal[1];
    job.hRatio = lists.horizontal[0].ratio;
    job.count = kOutWidth;
    return job;
}

} // namespace speed
