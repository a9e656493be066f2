// Centring one picture in another.
#include "florist.h"
#include "florist/LayerRows.h"

using Florist::i64;
using Florist::ScopedAccess;

extern "C" int CenterLayer(Marrow::StubLayer* dst, Marrow::StubLayer* src, bool update)
{
    LayerRegion d, s;
    if (!GetLayerRegion(dst, &d) || !GetLayerRegion(src, &s))
        return 0;
    // Offsets truncate toward zero: a larger source starts at -(excess / 2).
    const LayerRegion target = {i32((i64(d.width) - s.width) / 2 + d.x),
                                i32((i64(d.height) - s.height) / 2 + d.y), s.width, s.height};
    Florist::ScopedLayer view(CreateClippedLayer(dst));
    if (!view.get())
        return 0;
    ClipLayer(view.get(), &target);

    LayerRegion viewRegion;
    if (!GetLayerRegion(view.get(), &viewRegion))
        return 0;
    const LayerRegion common = IntersectLayerRegions(viewRegion, s);
    ScopedAccess out, in;
    if (!out.Begin(view.get(), common))
        return 0;
    if (in.Begin(src, common))
        Florist::CopyAccessRows(*out, *in);
    else
        Florist::ClearAccessRows(*out);
    in.End();
    if (update)
        out.Notify();
    return 1;
}
