// The twenty slots of the buffer routine table, as plain addresses, in the
// order the header declares them.
#ifndef FLOWER_TESTS_SUPPORT_BUFFERSLOTS_H
#define FLOWER_TESTS_SUPPORT_BUFFERSLOTS_H

#include "PixelRoutinesLite.h"

#include <array>

namespace support {

using AnySlot = void (*)();

// ScanlineShapedCrawlGradientBlit: no selection ever fills it.
constexpr int kNeverSelectedSlot = 14;

inline AnySlot Unselected()
{
    return &UninitializedFunctionPointer;
}

template <class F> AnySlot Slot(F f)
{
    return reinterpret_cast<AnySlot>(f);
}

inline std::array<AnySlot, 20> BufferSlots()
{
    return {Slot(ScanlineBlit),
            Slot(ScanlineBlitColour),
            Slot(ScanlineCrossFade),
            Slot(ScanlineComposit),
            Slot(ScanlineCompositWithOpacity),
            Slot(ScanlineCrawlGradientBlit),
            Slot(ScanlineFade),
            Slot(ScanlinePreMultAlpha),
            Slot(ScanlineSubpixCrawlBlit),
            Slot(ScanlineSubpixCrawlGradientBlit),
            Slot(PreOp),
            Slot(PostOp),
            Slot(CheckTimeSlice),
            Slot(ScanlineShapedCrossFade),
            Slot(ScanlineShapedCrawlGradientBlit),
            Slot(ScanlineShapedSubpixCrawlBlit),
            Slot(ScanlineShapedSubpixCrawlGradientBlit),
            Slot(RollBlastDataSubPix),
            Slot(RollBlastDataSubPixNoFilter),
            Slot(RollCopyData)};
}

} // namespace support

#endif
