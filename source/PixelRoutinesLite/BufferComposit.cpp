// Portable buffer composite rows. Rows are raw bytes with no alignment promise.
#include "PixelRoutinesLite/BufferTable.h"
#include "PixelRoutinesLite.h"
#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/PelIO.h"
#include "PixelRoutinesLite/PelMix.h"

#include "inlinepelops.h"

using PelIO::LoadPel;
using PelIO::StorePel;

extern "C" {

int CEE_ScanlineComposit(char* dst, const char* bottom, const char* top, int count)
{
    Kernels::RunComposit(dst, bottom, top, count);
    return 1;
}

int CEE_ScanlineCompositWithOpacity(char* dst, const char* bottom, const char* top, int count,
                                    int bottomOpacity, int topOpacity)
{
    // Full opacities are the plain composite, whichever routine the host put
    // in its slot.
    if (bottomOpacity == 255 && topOpacity == 255)
        return BufferTable::CallSlotResult(1, ScanlineComposit, dst, bottom, top, count);
    for (int i = 0; i < count; ++i) {
        const Pel t = LoadPel(top, i);
        const Pel b = LoadPel(bottom, i);
        const u32 topAlpha = static_cast<u32>(SignedScale(PelAlpha(t), topOpacity, 255)) & 0xFFu;
        const u32 bottomAlpha =
            static_cast<u32>(SignedScale(PelAlpha(b), bottomOpacity, 255)) & 0xFFu;
        // With both alphas replaced, CompositPel's tests and roundings are this
        // routine's: its sum ta + DivideBy255(ba * (255 - ta)) never passes 255.
        StorePel(dst, i, CompositPel(WithAlpha(t, topAlpha), WithAlpha(b, bottomAlpha)));
    }
    return 1;
}

} // extern "C"
