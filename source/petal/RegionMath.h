// Rectangle arithmetic shared by the layer classes. Edges are summed in 32 bits
// with no overflow check; the sums wrap through unsigned so the wrap is defined.
#ifndef FLOWER_PETAL_REGIONMATH_H
#define FLOWER_PETAL_REGIONMATH_H

#include "LayerRegion.h"

namespace Petal {

inline i32 WrapAdd(i32 a, i32 b)
{
    return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
}

inline i32 WrapSub(i32 a, i32 b)
{
    return static_cast<i32>(static_cast<u32>(a) - static_cast<u32>(b));
}

inline i32 WrapMul(i32 a, i32 b)
{
    return static_cast<i32>(static_cast<u32>(a) * static_cast<u32>(b));
}

// Whether `inner` lies within `outer`; an empty `inner` inside it counts.
inline bool RegionInside(const LayerRegion& inner, const LayerRegion& outer)
{
    return inner.x >= outer.x && WrapAdd(inner.x, inner.width) <= WrapAdd(outer.x, outer.width) &&
           inner.y >= outer.y && WrapAdd(inner.y, inner.height) <= WrapAdd(outer.y, outer.height);
}

inline LayerRegion MoveRegion(const LayerRegion& r, i32 dx, i32 dy)
{
    return {WrapAdd(r.x, dx), WrapAdd(r.y, dy), r.width, r.height};
}

} // namespace Petal

#endif
