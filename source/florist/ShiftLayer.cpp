// Moving a picture by whole rows or columns within its layer.
#include <algorithm>

#include "florist.h"
#include "florist/LayerRows.h"
#include "stem.h"

using Florist::i64;
using Florist::RewriteLayer;
using Florist::RowAt;

extern "C" {

// Rows are written away from the direction of travel, so every source row is
// read before it is overwritten.
bool VerticalShiftLayer(Marrow::StubLayer* layer, int dy, bool update)
{
    if (!layer || dy == 0)
        return false;
    return RewriteLayer(layer, update, [dy](const LayerAccess& a) {
        const CopyScanlineRoutine copy = GetCopyScanline();
        const ClearScanlineRoutine clear = GetClearScanline();
        const i64 top = a.region.y;
        const i64 height = a.region.height;
        for (i64 i = 0; i < height; ++i) {
            const i64 y = dy > 0 ? top + height - 1 - i : top + i;
            const i64 from = y - dy;
            Pel* row = RowAt(a, i32(y));
            if (from >= top && from < top + height)
                copy(row, RowAt(a, i32(from)), a.region.width);
            else
                clear(row, a.region.width);
        }
    });
}

bool HorizontalShiftLayer(Marrow::StubLayer* layer, int dx, bool update)
{
    if (!layer || dx == 0)
        return false;
    return RewriteLayer(layer, update, [dx](const LayerAccess& a) {
        const MoveScanlineRoutine move = GetMoveScanline();
        const ClearScanlineRoutine clear = GetClearScanline();
        const i64 n = dx < 0 ? -i64(dx) : i64(dx);
        const i64 keep = std::max<i64>(i64(a.region.width) - n, 0);
        const i64 cleared = a.region.width - keep;
        // Kept pels slide towards the travel; the uncovered end is cleared.
        const i64 keptFrom = dx < 0 ? n : 0;
        const i64 keptTo = dx < 0 ? 0 : cleared;
        const i64 clearedFrom = dx < 0 ? keep : 0;
        for (i32 i = 0; i < a.region.height; ++i) {
            Pel* row = RowAt(a, a.region.y + i);
            if (keep > 0)
                move(row + keptTo, row + keptFrom, int(keep));
            clear(row + clearedFrom, int(cleared));
        }
    });
}

} // extern "C"
