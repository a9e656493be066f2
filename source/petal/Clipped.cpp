// Exported construction and re-clipping of clipped layers.
#include <new>

#include "petal.h"

namespace {
const i32 kClippedLayerType = 10;
}

Marrow::StubLayer* CreateClippedLayer(Marrow::StubLayer* parent)
{
    if (!parent)
        return nullptr;
    FreeFunction objectFree = nullptr;
    void* objectFreeData = nullptr;
    u8* memory =
        alloc_buffer_zero(static_cast<i32>(sizeof(ClippedLayer)), &objectFree, &objectFreeData);
    if (!memory)
        return nullptr;
    ClippedLayer* layer = new (memory) ClippedLayer(parent);
    layer->AttachFreeFunction(objectFree, objectFreeData);
    return layer;
}

bool ClipLayer(Marrow::StubLayer* layer, const LayerRegion* clip)
{
    if (!layer || layer->Type() != kClippedLayerType || !clip)
        return false;
    return static_cast<ClippedLayer*>(layer)->Clip(*clip);
}
