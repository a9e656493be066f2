// Scale lists for the scaler's row kernels, built once.
#include "ScaleLists.h"

#include <cstdint>
#include <map>
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

// A set's column layout for the whole run, prepared once as the scaler does.
void* ColumnsFor(const Kernels::ScaleSet& set, const Kernels::ScaleRowJob& job)
{
    constexpr std::size_t kAlign = 64;
    static std::map<const Kernels::ScaleSet*, std::vector<char>> layouts;
    const std::size_t bytes = set.columnBytes ? set.columnBytes(job.count, kWidth) : 0;
    if (!bytes || !set.prepareColumns)
        return nullptr;
    std::vector<char>& room = layouts[&set];
    const bool fresh = room.empty();
    if (fresh)
        room.resize(bytes + kAlign);
    const auto at = reinterpret_cast<std::uintptr_t>(room.data());
    void* layout = room.data() + (kAlign - at % kAlign) % kAlign;
    if (fresh)
        set.prepareColumns(layout, job);
    return layout;
}

} // namespace

const Kernels::ScaleRowJob& DownscaleJob(const Kernels::ScaleSet& set, const Rows& r)
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
    job.columns = nullptr;
    job.columns = ColumnsFor(set, job);
    return job;
}

} // namespace speed
