// Exported change notification: forwards to the layer's update list.
#include "petal.h"

bool AttachUpdateFunction(Marrow::StubLayer* layer, UpdateFunction function, void* data)
{
    return layer ? layer->AttachUpdateFunction(function, data) : false;
}

bool DetachUpdateFunction(Marrow::StubLayer* layer, UpdateFunction function, void* data)
{
    return layer ? layer->DetachUpdateFunction(function, data) : false;
}

bool UpdateLayer(Marrow::StubLayer* layer, const LayerRegion* region)
{
    if (!layer)
        return false;
    if (region)
        return layer->UpdateRegion(*region);
    LayerRegion whole = {0, 0, 0, 0};
    if (!GetLayerRegion(layer, &whole))
        whole = {0, 0, 0, 0};
    return layer->UpdateRegion(whole);
}

bool UpdateLayerEx(Marrow::StubLayer* layer)
{
    LayerRegion whole;
    if (!layer || !GetLayerRegion(layer, &whole))
        return false;
    return layer->UpdateRegion(whole);
}
