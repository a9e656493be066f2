// Portable buffer composite rows. Rows are raw bytes with no alignment promise.
#include "PixelRoutinesLite.h"
#include "PixelRoutinesLite/BufferTable.h"
#include "kernels/composite/CompositKernels.h"

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
    if (count > 0)
        Kernels::ActiveFor(Kernels::kCompositSets, dst, count, bottom, top)
            .compositWithScaledAlphas(dst, bottom, top, count, bottomOpacity, topOpacity);
    return 1;
}

} // extern "C"
