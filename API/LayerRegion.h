// The rectangle every layer operation speaks in, and its one intersection rule.
#ifndef FLOWER_LAYERREGION_H
#define FLOWER_LAYERREGION_H

#include "local_system.h"

typedef struct LayerRegion {
    i32 x;
    i32 y;
    i32 width;
    i32 height;
} LayerRegion;

#ifdef __cplusplus

// Empty results are always {0, 0, 0, 0}, never a positioned zero-size region.
FLOWER_API LayerRegion IntersectLayerRegions(const LayerRegion& a, const LayerRegion& b);

inline bool IsEmptyLayerRegion(const LayerRegion& r)
{
    return r.width <= 0 || r.height <= 0;
}

inline bool operator==(const LayerRegion& a, const LayerRegion& b)
{
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

inline bool operator!=(const LayerRegion& a, const LayerRegion& b)
{
    return !(a == b);
}

#endif // __cplusplus

#endif
