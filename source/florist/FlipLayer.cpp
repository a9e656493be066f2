// Mirroring a layer in place, left to right or top to bottom.
#include "florist.h"
#include "florist/LayerRows.h"
#include "stem.h"

using Florist::RewriteLayer;
using Florist::RowAt;

extern "C" {

bool HorizontalFlipLayer(Marrow::StubLayer* layer, bool update)
{
    return RewriteLayer(layer, update, [](const LayerAccess& a) {
        const HorizontalFlipScanlineRoutine flip = GetHorizontalFlipScanline();
        for (i32 i = 0; i < a.region.height; ++i)
            flip(RowAt(a, a.region.y + i), a.region.width);
    });
}

bool VerticalFlipLayer(Marrow::StubLayer* layer, bool update)
{
    return RewriteLayer(layer, update, [](const LayerAccess& a) {
        const SwapScanlineRoutine swap = GetSwapScanline();
        // The middle row of an odd height stays where it is.
        for (i32 upper = 0, lower = a.region.height - 1; upper < lower; ++upper, --lower)
            swap(RowAt(a, a.region.y + upper), RowAt(a, a.region.y + lower), a.region.width);
    });
}

} // extern "C"
