// Row plumbing shared by the layer operations.
#include "florist/LayerRows.h"

#include <algorithm>
#include <climits>

#include "stem.h"

namespace Florist {

void CopyRowClearingOutside(const LayerAccess& dst, Pel* dstRow, const LayerAccess& src,
                            const Pel* srcRow)
{
    const ClearScanlineRoutine clear = GetClearScanline();
    const i64 width = dst.region.width;
    if (!srcRow || IsEmpty(src)) {
        clear(dstRow, int(width));
        return;
    }
    const i64 dstX = dst.region.x;
    const i64 srcX = src.region.x;
    const i64 left = std::clamp<i64>(srcX - dstX, 0, width);
    const i64 right = std::clamp<i64>(srcX + src.region.width - dstX, left, width);
    if (left > 0)
        clear(dstRow, int(left));
    if (right > left)
        GetCopyScanline()(dstRow + left, srcRow + (dstX + left - srcX), int(right - left));
    if (width > right)
        clear(dstRow + right, int(width - right));
}

void CopyAccessRows(const LayerAccess& dst, const LayerAccess& src)
{
    if (IsEmpty(dst))
        return;
    const i64 width = dst.region.width;
    const i64 height = dst.region.height;
    const bool packed = dst.rowBytes == width * 4 && src.rowBytes == width * 4;
    if (dst.region == src.region && packed && width * height <= INT_MAX / 4) {
        GetCopyScanline()(reinterpret_cast<Pel*>(dst.pixels),
                          reinterpret_cast<const Pel*>(src.pixels), int(width * height));
        return;
    }
    for (i64 i = 0; i < height; ++i) {
        const i32 y = i32(dst.region.y + i);
        CopyRowClearingOutside(dst, RowAt(dst, y), src, HoldsRow(src, y) ? RowAt(src, y) : nullptr);
    }
}

void ClearAccessRows(const LayerAccess& dst)
{
    if (IsEmpty(dst))
        return;
    const ClearScanlineRoutine clear = GetClearScanline();
    for (i32 i = 0; i < dst.region.height; ++i)
        clear(RowAt(dst, dst.region.y + i), dst.region.width);
}

} // namespace Florist
