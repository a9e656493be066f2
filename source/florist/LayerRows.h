// Row plumbing shared by the layer operations: an access that ends itself,
// row addressing, and the copy that clears what its source does not cover.
#ifndef FLOWER_FLORIST_LAYERROWS_H
#define FLOWER_FLORIST_LAYERROWS_H

#include <cstddef>
#include <cstdint>

#include "petal.h"

namespace Florist {

typedef std::int64_t i64;

// An access ended on every path: explicitly where the order matters, by the
// destructor on early returns.
class ScopedAccess {
  public:
    ScopedAccess() : access(), open(false) {}
    ScopedAccess(const ScopedAccess&) = delete;
    ScopedAccess& operator=(const ScopedAccess&) = delete;
    ~ScopedAccess() { End(); }

    bool Begin(Marrow::StubLayer* layer)
    {
        open = BeginAccessLayer(&access, layer);
        return open;
    }
    bool Begin(Marrow::StubLayer* layer, const LayerRegion& region)
    {
        open = BeginRegionAccessLayer(&access, layer, &region);
        return open;
    }
    void End()
    {
        if (open)
            EndAccessLayer(&access);
        open = false;
    }
    // Tells the layer's update functions that the accessed region was written.
    void Notify() const { UpdateLayer(access.layer, &access.region); }

    const LayerAccess& operator*() const { return access; }
    const LayerAccess* operator->() const { return &access; }

  private:
    LayerAccess access;
    bool open;
};

// A clipped view that is deleted on every path.
class ScopedLayer {
  public:
    explicit ScopedLayer(Marrow::StubLayer* l) : layer(l) {}
    ScopedLayer(const ScopedLayer&) = delete;
    ScopedLayer& operator=(const ScopedLayer&) = delete;
    ~ScopedLayer() { DeleteLayer(layer); }
    Marrow::StubLayer* get() const { return layer; }

  private:
    Marrow::StubLayer* layer;
};

inline bool IsEmpty(const LayerAccess& a)
{
    return a.region.width <= 0 || a.region.height <= 0;
}

// Row `y` (layer coordinates) of an access; the caller has checked it is held.
inline Pel* RowAt(const LayerAccess& a, i32 y)
{
    const std::ptrdiff_t offset = std::ptrdiff_t(y) - a.region.y;
    return reinterpret_cast<Pel*>(a.pixels + offset * a.rowBytes);
}

inline bool HoldsRow(const LayerAccess& a, i32 y)
{
    return !IsEmpty(a) && y >= a.region.y &&
           std::ptrdiff_t(y) < std::ptrdiff_t(a.region.y) + a.region.height;
}

// Runs `rows(access)` over the whole of `layer`, then notifies if `update`
// asks; false, with nothing run, when the layer cannot be accessed.
template <class Rows> bool RewriteLayer(Marrow::StubLayer* layer, bool update, Rows rows)
{
    ScopedAccess a;
    if (!a.Begin(layer))
        return false;
    rows(*a);
    if (update)
        a.Notify();
    return true;
}

// Writes one row of `dst` (its row y) from row `srcRow` of `src`, which sits at
// the same columns: columns left and right of the source are cleared, the
// overlap copied. A null srcRow clears the whole row.
void CopyRowClearingOutside(const LayerAccess& dst, Pel* dstRow, const LayerAccess& src,
                            const Pel* srcRow);

// Copies every row of `dst` from the same rows of `src`, clearing what `src`
// does not hold; one call for the whole block when both are the same packed
// rectangle.
void CopyAccessRows(const LayerAccess& dst, const LayerAccess& src);

// Clears every row of an access.
void ClearAccessRows(const LayerAccess& dst);

} // namespace Florist

#endif
