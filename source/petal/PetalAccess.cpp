// Access to a layer's pixels by region and by the intersection of two layers,
// and the size and region queries. An open access holds a layer reference.
#include "petal.h"

namespace {

// Ends the layer's access and, only if that worked, drops the access's
// reference: a failed end leaks the reference rather than the live access.
bool EndAndRelease(Marrow::StubLayer* layer, void* token)
{
    if (!layer || !layer->EndAccess(token))
        return false;
    DeleteLayer(layer);
    return true;
}

i32 Larger(i32 a, i32 b)
{
    return a > b ? a : b;
}

} // namespace

bool BeginRegionAccessLayer(LayerAccess* access, Marrow::StubLayer* layer,
                            const LayerRegion* region)
{
    if (!access || !layer || !region)
        return false;
    LayerRegion valid;
    if (!layer->GetValidRegion(valid))
        return false;
    const LayerRegion accessed = IntersectLayerRegions(*region, valid);
    u8* pixels = nullptr;
    i32 rowBytes = 0;
    void* token = layer->AccessRegion(accessed, pixels, rowBytes);
    if (!token)
        return false;
    access->pixels = pixels;
    access->rowBytes = rowBytes;
    access->region = accessed;
    access->layer = layer;
    access->token = token;
    layer->AddRef();
    return true;
}

bool BeginAccessLayer(LayerAccess* access, Marrow::StubLayer* layer)
{
    if (!access || !layer)
        return false;
    LayerRegion whole;
    if (!layer->GetRegion(whole))
        return false;
    return BeginRegionAccessLayer(access, layer, &whole);
}

bool EndAccessLayer(LayerAccess* access)
{
    if (!access)
        return false;
    return EndAndRelease(access->layer, access->token);
}

bool GetLayerWidthAndHeight(Marrow::StubLayer* layer, i32* width, i32* height)
{
    if (!layer) {
        if (width)
            *width = 0;
        if (height)
            *height = 0;
        return false;
    }
    LayerRegion whole;
    if (!layer->GetRegion(whole))
        return false;
    if (width)
        *width = whole.width;
    if (height)
        *height = whole.height;
    return true;
}

i32 GetLayerWidth(Marrow::StubLayer* layer)
{
    LayerRegion whole;
    return layer && layer->GetRegion(whole) ? whole.width : 0;
}

i32 GetLayerHeight(Marrow::StubLayer* layer)
{
    LayerRegion whole;
    return layer && layer->GetRegion(whole) ? whole.height : 0;
}

bool GetLayerRegion(Marrow::StubLayer* layer, LayerRegion* region)
{
    LayerRegion whole;
    if (!layer || !region || !layer->GetRegion(whole))
        return false;
    *region = whole;
    return true;
}

bool GetValidLayerRegion(Marrow::StubLayer* layer, LayerRegion* region)
{
    LayerRegion valid;
    if (!layer || !region || !layer->GetValidRegion(valid))
        return false;
    *region = valid;
    return true;
}

bool BeginIntersectAccessLayer(LayerIntersectAccess* access, Marrow::StubLayer* first,
                               Marrow::StubLayer* second)
{
    LayerRegion secondWhole;
    if (!second || !second->GetRegion(secondWhole))
        return false;
    LayerRegion firstWhole;
    if (!first || !first->GetRegion(firstWhole))
        return false;
    // The larger sizes on purpose: the valid regions clip them next.
    const LayerRegion both = {0, 0, Larger(firstWhole.width, secondWhole.width),
                              Larger(firstWhole.height, secondWhole.height)};
    return BeginRegionIntersectAccessLayer(access, first, second, &both);
}

bool BeginRegionIntersectAccessLayer(LayerIntersectAccess* access, Marrow::StubLayer* first,
                                     Marrow::StubLayer* second, const LayerRegion* region)
{
    if (!access || !first || !second || !region)
        return false;
    if (region->width <= 0 || region->height <= 0)
        return false;
    LayerRegion secondValid;
    if (!second->GetValidRegion(secondValid))
        return false;
    LayerRegion firstValid;
    if (!first->GetValidRegion(firstValid))
        return false;
    const LayerRegion common =
        IntersectLayerRegions(IntersectLayerRegions(secondValid, firstValid), *region);
    if (common.width < 1 || common.height < 1)
        return false;
    LayerAccess secondAccess = {};
    if (!BeginRegionAccessLayer(&secondAccess, second, &common))
        return false;
    LayerAccess firstAccess = {};
    if (!BeginRegionAccessLayer(&firstAccess, first, &common)) {
        EndAndRelease(second, secondAccess.token);
        return false;
    }
    access->width = common.width;
    access->height = common.height;
    access->first = firstAccess;
    access->second = secondAccess;
    return true;
}

bool EndIntersectAccessLayer(LayerIntersectAccess* access)
{
    if (!access)
        return false;
    const bool firstEnded = EndAndRelease(access->first.layer, access->first.token);
    const bool secondEnded = EndAndRelease(access->second.layer, access->second.token);
    return firstEnded && secondEnded;
}
