// Moving a picture by whole rows or columns within its layer.
#include <algorithm>

#include "florist.h"
#include "florist/LayerRows.h"
#include "stem.h"

using Florist::i64;
using Florist::RowAt;
using Florist::ScopedAccess;

extern "C" {

// Rows are written away from the direction of travel, so every source row is
// read before it is overwritten.
bool VerticalShiftLayer(Marrow::StubLayer* layer, int dy, bool update)
{
    if (!layer || dy == 0)
        return false;
    ScopedAccess a;
    if (!a.Begin(layer))
        return false;
    const CopyScanlineRoutine copy = GetCopyScanline();
    const ClearScanlineRoutine clear = GetClearScanline();
    const i64 top = a->region.y;
    const i64 height = a->region.height;
    const i32 width = a->region.width;
    for (i64 i = 0; i < height; ++i) {
        const i64 y = dy > 0 ? top + height - 1 - i : top + i;
        const i64 from = y - dy;
        Pel* row = RowAt(*a, i32(y));
        if (from >= top && from < top + height)
            copy(row, RowAt(*a, i32(from)), width);
        else
            clear(row, width);
    }
    if (update)
        a.Notify();
    return true;
}

bool HorizontalShiftLayer(Marrow::StubLayer* layer, int dx, bool update)
{
    if (!layer || dx == 0)
        return false;
    ScopedAccess a;
    if (!a.Begin(layer))
        return false;
    const MoveScanlineRoutine move = GetMoveScanline();
    const ClearScanlineRoutine clear = GetClearScanline();
    const i64 width = a->region.width;
    const i64 n = dx < 0 ? -i64(dx) : i64(dx);
    const i64 keep = std::max<i64>(width - n, 0);
    const i64 cleared = width - keep;
    for (i32 i = 0; i < a->region.height; ++i) {
        Pel* row = RowAt(*a, a->region.y + i);
        if (dx < 0) {
            if (keep > 0)
                move(row, row + n, int(keep));
            clear(row + keep, int(cleared));
        } else {
            if (keep > 0)
                move(row + cleared, row, int(keep));
            clear(row, int(cleared));
        }
    }
    if (update)
        a.Notify();
    return true;
}

} // extern "C"
