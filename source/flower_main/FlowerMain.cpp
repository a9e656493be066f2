// Layer region intersection.
#include "LayerRegion.h"

#include <algorithm>

namespace {

// Edges wrap to 32 bits rather than fail: summed unsigned so the wrap is
// defined, then read back as signed.
i32 FarEdge(i32 start, i32 size)
{
    return static_cast<i32>(static_cast<u32>(start) + static_cast<u32>(size));
}

i32 Span(i32 from, i32 to)
{
    return static_cast<i32>(static_cast<u32>(to) - static_cast<u32>(from));
}

} // namespace

LayerRegion IntersectLayerRegions(const LayerRegion& a, const LayerRegion& b)
{
    const LayerRegion none = {0, 0, 0, 0};
    if (IsEmptyLayerRegion(a) || IsEmptyLayerRegion(b))
        return none;
    const i32 left = std::max(a.x, b.x);
    const i32 right = std::min(FarEdge(a.x, a.width), FarEdge(b.x, b.width));
    if (right <= left)
        return none;
    const i32 top = std::max(a.y, b.y);
    const i32 bottom = std::min(FarEdge(a.y, a.height), FarEdge(b.y, b.height));
    if (bottom <= top)
        return none;
    return {left, top, Span(left, right), Span(top, bottom)};
}
