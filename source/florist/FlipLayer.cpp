// Mirroring a layer in place, left to right or top to bottom.
#include "florist.h"
#include "florist/LayerRows.h"
#include "stem.h"

using Florist::RowAt;
using Florist::ScopedAccess;

extern "C" {

bool HorizontalFlipLayer(Marrow::StubLayer* layer, bool update)
{
    ScopedAccess a;
    if (!a.Begin(layer))
        return false;
    const HorizontalFlipScanlineRoutine flip = GetHorizontalFlipScanline();
    for (i32 i = 0; i < a->region.height; ++i)
        flip(RowAt(*a, a->region.y + i), a->region.width);
    if (update)
        a.Notify();
    return true;
}

bool VerticalFlipLayer(Marrow::StubLayer* layer, bool update)
{
    ScopedAccess a;
    if (!a.Begin(layer))
        return false;
    const SwapScanlineRoutine swap = GetSwapScanline();
    // The middle row of an odd height stays where it is.
    for (i32 upper = 0, lower = a->region.height - 1; upper < lower; ++upper, --lower)
        swap(RowAt(*a, a->region.y + upper), RowAt(*a, a->region.y + lower), a->region.width);
    if (update)
        a.Notify();
    return true;
}

} // extern "C"
