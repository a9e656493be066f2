// Making, sharing and releasing layers. Objects live in memory from the
// allocator hooks: built with placement new, torn down by an explicit
// destructor call followed by the object's own free pair.
#include <cstddef>
#include <new>

#include "petal.h"
#include "stem.h"

namespace {

template <typename Layer, typename... Args> Marrow::StubLayer* ConstructLayer(Args... args)
{
    FreeFunction objectFree = nullptr;
    void* objectFreeData = nullptr;
    u8* memory = alloc_buffer_zero(static_cast<i32>(sizeof(Layer)), &objectFree, &objectFreeData);
    if (!memory)
        return nullptr;
    Layer* layer = new (memory) Layer(args...);
    layer->AttachFreeFunction(objectFree, objectFreeData);
    return layer;
}

using PelChain = u8* (*)(u32, u32, u32*, FreeFunction*, void**);

Marrow::StubLayer* CreateBasicLayer(PelChain allocPels, i32 width, i32 height)
{
    u32 rowBytes = 0;
    FreeFunction pixelFree = nullptr;
    void* pixelFreeData = nullptr;
    u8* pixels = allocPels(static_cast<u32>(width), static_cast<u32>(height), &rowBytes, &pixelFree,
                           &pixelFreeData);
    if (!pixels || !pixelFree)
        return nullptr;
    Marrow::StubLayer* layer = ConstructLayer<BasicLayer>(
        pixels, width, height, static_cast<i32>(rowBytes), pixelFree, pixelFreeData);
    if (!layer)
        pixelFree(pixels, pixelFreeData);
    return layer;
}

Pel* RowPels(const LayerAccess& access, i32 row, i32 column)
{
    return reinterpret_cast<Pel*>(access.pixels + std::ptrdiff_t(row) * access.rowBytes) + column;
}

bool PackedAccess(const LayerAccess& access)
{
    return std::ptrdiff_t(access.rowBytes) == std::ptrdiff_t(access.region.width) * 4;
}

bool SameRegion(const LayerRegion& a, const LayerRegion& b)
{
    return a.x == b.x && a.y == b.y &&
           std::ptrdiff_t(a.x) + a.width == std::ptrdiff_t(b.x) + b.width &&
           std::ptrdiff_t(a.y) + a.height == std::ptrdiff_t(b.y) + b.height;
}

void ClearAccess(const LayerAccess& dst, ClearScanlineRoutine clear)
{
    for (i32 row = 0; row < dst.region.height; ++row)
        clear(RowPels(dst, row, 0), dst.region.width);
}

// Copies the rows and columns `src` covers, clearing the rest of `dst`.
// `src` lies within `dst`: both are clipped from the same rectangle.
void CopyCoveredRows(const LayerAccess& dst, const LayerAccess& src, CopyScanlineRoutine copy,
                     ClearScanlineRoutine clear)
{
    const i32 left = src.region.x - dst.region.x;
    const i32 right = dst.region.width - left - src.region.width;
    for (i32 row = 0; row < dst.region.height; ++row) {
        Pel* out = RowPels(dst, row, 0);
        const i32 srcRow = dst.region.y + row - src.region.y;
        if (srcRow < 0 || srcRow >= src.region.height || src.region.width <= 0) {
            clear(out, dst.region.width);
            continue;
        }
        if (left > 0)
            clear(out, left);
        copy(out + left, RowPels(src, srcRow, 0), src.region.width);
        if (right > 0)
            clear(out + left + src.region.width, right);
    }
}

} // namespace

Marrow::StubLayer* CreateLayer(i32 width, i32 height)
{
    return CreateBasicLayer(alloc_zero_pels, width, height);
}

Marrow::StubLayer* CreateLayerRaw(i32 width, i32 height)
{
    return CreateBasicLayer(alloc_raw_pels, width, height);
}

Marrow::StubLayer* CreateCompatibleLayer(u8* pixels, i32 width, i32 height, i32 rowBytes,
                                         FreeFunction freeFunction, void* data)
{
    if (!pixels)
        return nullptr;
    // On failure the buffer stays the caller's: its free function is not called.
    return ConstructLayer<BasicLayer>(pixels, width, height, rowBytes, freeFunction, data);
}

void DeleteLayer(Marrow::StubLayer* layer)
{
    if (!layer)
        return;
    if (layer->RemoveRef())
        return;
    FreeFunction objectFree = nullptr;
    void* objectFreeData = nullptr;
    layer->GetFreeFunction(&objectFree, &objectFreeData);
    layer->~StubLayer();
    if (objectFree)
        objectFree(reinterpret_cast<u8*>(layer), objectFreeData);
}

Marrow::StubLayer* AddRefCountLayer(Marrow::StubLayer* layer)
{
    if (!layer)
        return nullptr;
    return layer->AddRef() ? layer : nullptr;
}

Marrow::StubLayer* CreateSimilarLayer(Marrow::StubLayer* layer)
{
    i32 width = 0;
    i32 height = 0;
    if (!layer || !GetLayerWidthAndHeight(layer, &width, &height) || width == 0 || height == 0)
        return nullptr;
    return CreateLayer(width, height);
}

Marrow::StubLayer* DuplicateLayer(Marrow::StubLayer* layer)
{
    i32 width = 0;
    i32 height = 0;
    if (!layer || !GetLayerWidthAndHeight(layer, &width, &height) || width == 0 || height == 0)
        return nullptr;
    Marrow::StubLayer* duplicate = CreateLayer(width, height);
    if (!duplicate)
        return nullptr;
    const CopyScanlineRoutine copy = GetCopyScanline();
    const ClearScanlineRoutine clear = GetClearScanline();
    const LayerRegion whole = {0, 0, width, height};
    const LayerRegion common = IntersectLayerRegions(whole, whole);

    LayerAccess dst = {};
    if (!BeginRegionAccessLayer(&dst, duplicate, &common)) {
        DeleteLayer(duplicate);
        return nullptr;
    }
    LayerAccess src = {};
    if (!BeginRegionAccessLayer(&src, layer, &common)) {
        // An unreadable layer duplicates as a cleared one of its size.
        ClearAccess(dst, clear);
    } else {
        if (SameRegion(src.region, dst.region) && PackedAccess(src) && PackedAccess(dst))
            copy(RowPels(dst, 0, 0), RowPels(src, 0, 0), dst.region.width * dst.region.height);
        else
            CopyCoveredRows(dst, src, copy, clear);
        EndAccessLayer(&src);
    }
    UpdateLayer(duplicate, &dst.region);
    EndAccessLayer(&dst);
    return duplicate;
}
