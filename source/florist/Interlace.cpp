// Weaving two pictures into one interlaced frame: even rows from one source,
// odd rows from the other.
#include "florist.h"
#include "florist/LayerRows.h"

using Florist::RowAt;
using Florist::ScopedAccess;

namespace {

enum class Source { Frames, Fields };

bool Interlace(Marrow::StubLayer* dst, Marrow::StubLayer* even, Marrow::StubLayer* odd, bool update,
               Source kind)
{
    if (!dst || !even || !odd)
        return false;
    ScopedAccess d, e, o;
    const bool dstOpen = d.Begin(dst);
    const bool evenOpen = e.Begin(even);
    const bool oddOpen = o.Begin(odd);
    const bool ready = dstOpen && evenOpen && oddOpen;
    if (ready) {
        for (i32 i = 0; i < d->region.height; ++i) {
            const i32 y = d->region.y + i;
            // Two's-complement parity: row -1 counts as odd.
            const LayerAccess& src = (u32(y) & 1u) ? *o : *e;
            const i32 from = kind == Source::Frames ? y : y / 2;
            const bool held = Florist::HoldsRow(src, from);
            Florist::CopyRowClearingOutside(*d, RowAt(*d, y), src,
                                            held ? RowAt(src, from) : nullptr);
        }
        if (update)
            d.Notify();
    }
    d.End();
    e.End();
    o.End();
    return ready;
}

} // namespace

extern "C" {

bool InterlaceFrameLayers(Marrow::StubLayer* dst, Marrow::StubLayer* even, Marrow::StubLayer* odd,
                          bool update)
{
    return Interlace(dst, even, odd, update, Source::Frames);
}

bool InterlaceFieldLayers(Marrow::StubLayer* dst, Marrow::StubLayer* even, Marrow::StubLayer* odd,
                          bool update)
{
    return Interlace(dst, even, odd, update, Source::Fields);
}

} // extern "C"
