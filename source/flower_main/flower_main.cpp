#include "LayerRegion.h"

LayerRegion IntersectLayerRegions(const LayerRegion& a, const LayerRegion& b)
{
    const LayerRegion none = {0, 0, 0, 0};
    if (IsEmptyLayerRegion(a) || IsEmptyLayerRegion(b))
        return none;
    // Edges are summed in 32 bits without an overflow check; do it unsigned so
    // the wrap is defined, then read it back as signed.
    const i32 aRight = static_cast<i32>(static_cast<u32>(a.x) + static_cast<u32>(a.width));
    const i32 bRight = static_cast<i32>(static_cast<u32>(b.x) + static_cast<u32>(b.width));
    const i32 left = a.x > b.x ? a.x : b.x;
    const i32 right = aRight < bRight ? aRight : bRight;
    if (right <= left)
        return none;
    const i32 aBottom = static_cast<i32>(static_cast<u32>(a.y) + static_cast<u32>(a.height));
    const i32 bBottom = static_cast<i32>(static_cast<u32>(b.y) + static_cast<u32>(b.height));
    const i32 top = a.y > b.y ? a.y : b.y;
    const i32 bottom = aBottom < bBottom ? aBottom : bBottom;
    if (bottom <= top)
        return none;
    return {left, top, static_cast<i32>(static_cast<u32>(right) - static_cast<u32>(left)),
            static_cast<i32>(static_cast<u32>(bottom) - static_cast<u32>(top))};
}
