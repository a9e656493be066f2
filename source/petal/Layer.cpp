// The layer classes: reference counting, free pairs, update lists, and the
// basic and clipped layers.
#include <cstdint>
#include <cstring>

#include "petal.h"
#include "petal/RegionMath.h"

using Petal::MoveRegion;
using Petal::RegionInside;
using Petal::WrapMul;
using Petal::WrapSub;

Marrow::StubLayer::~StubLayer() = default;

LayerInterface::~LayerInterface() = default;

// ===========================================================================
// LayerCommon
// ===========================================================================

LayerCommon::LayerCommon()
    : refCount(0), objectFree(nullptr), objectFreeData(nullptr), updates(nullptr), updateCount(0),
      updateCapacity(0), updatesFree(nullptr), updatesFreeData(nullptr)
{
    i32 expected = refCount.load();
    while (!refCount.compare_exchange_weak(expected, 1)) {
    }
}

LayerCommon::~LayerCommon()
{
    if (updates && updatesFree)
        updatesFree(reinterpret_cast<u8*>(updates), updatesFreeData);
    updates = nullptr;
    updateCount = 0;
    updateCapacity = 0;
}

bool LayerCommon::AddRef()
{
    if (refCount.fetch_add(1) >= 1)
        return true;
    // The count was 0: the layer is being destroyed and stays dead.
    refCount.fetch_sub(1);
    return false;
}

bool LayerCommon::RemoveRef()
{
    return refCount.fetch_sub(1) > 1;
}

void LayerCommon::AttachFreeFunction(FreeFunction freeFunction, void* data)
{
    objectFree = freeFunction;
    objectFreeData = data;
}

void LayerCommon::GetFreeFunction(FreeFunction* freeFunction, void** data)
{
    if (freeFunction)
        *freeFunction = objectFree;
    if (data)
        *data = objectFreeData;
}

// Room for one more entry; false (list unchanged) when memory runs out.
bool LayerCommon::ReserveUpdateEntry()
{
    if (updateCount < updateCapacity)
        return true;
    const i32 kMaxEntries = 1 << 24;
    if (updateCapacity >= kMaxEntries)
        return false;
    const i32 capacity = updateCapacity ? updateCapacity * 2 : 4;
    FreeFunction blockFree = nullptr;
    void* blockFreeData = nullptr;
    u8* block =
        alloc_buffer(capacity * static_cast<i32>(sizeof(UpdateEntry)), &blockFree, &blockFreeData);
    if (!block)
        return false;
    UpdateEntry* entries = reinterpret_cast<UpdateEntry*>(block);
    if (updateCount)
        std::memcpy(entries, updates, sizeof(UpdateEntry) * static_cast<std::size_t>(updateCount));
    if (updates && updatesFree)
        updatesFree(reinterpret_cast<u8*>(updates), updatesFreeData);
    updates = entries;
    updateCapacity = capacity;
    updatesFree = blockFree;
    updatesFreeData = blockFreeData;
    return true;
}

void LayerCommon::RemoveUpdateEntries(UpdateFunction function, void* data)
{
    i32 kept = 0;
    for (i32 i = 0; i < updateCount; ++i) {
        if (updates[i].function == function && updates[i].data == data)
            continue;
        updates[kept++] = updates[i];
    }
    updateCount = kept;
}

bool LayerCommon::AttachUpdateFunction(UpdateFunction function, void* data)
{
    if (!function)
        return false;
    if (!ReserveUpdateEntry())
        return false;
    RemoveUpdateEntries(function, data);
    updates[updateCount++] = {function, data};
    return true;
}

bool LayerCommon::DetachUpdateFunction(UpdateFunction function, void* data)
{
    const i32 before = updateCount;
    RemoveUpdateEntries(function, data);
    // The result compares the counts the wrong way round and so is always
    // false; hosts know it, so it stays.
    return before < updateCount;
}

bool LayerCommon::NotifyUpdateFunctions(const LayerRegion& region)
{
    bool all = true;
    // Indexed afresh each time: a function may attach or detach as it runs.
    for (i32 i = 0; i < updateCount; ++i) {
        const UpdateEntry entry = updates[i];
        const bool done = entry.function ? entry.function(this, &region, entry.data) : false;
        all = all && done;
    }
    return all;
}

bool LayerCommon::UpdateRegion(const LayerRegion& region)
{
    return NotifyUpdateFunctions(region);
}

bool LayerCommon::TranslateValidLayerRegion(i32 /*dx*/, i32 /*dy*/)
{
    return false;
}

// ===========================================================================
// BasicLayer
// ===========================================================================

namespace {
void* const kBasicToken = reinterpret_cast<void*>(std::uintptr_t{1});
}

BasicLayer::BasicLayer(u8* pixels, i32 width, i32 height, i32 rowBytes, FreeFunction pixelFree,
                       void* pixelFreeData)
    : buffer(pixels), bufferWidth(width), bufferHeight(height), bufferRowBytes(rowBytes),
      bufferFree(pixelFree), bufferFreeData(pixelFreeData)
{
}

BasicLayer::~BasicLayer()
{
    if (bufferFree)
        bufferFree(buffer, bufferFreeData);
    buffer = nullptr;
    bufferWidth = 0;
    bufferHeight = 0;
    bufferRowBytes = 0;
    bufferFree = nullptr;
    bufferFreeData = nullptr;
}

bool BasicLayer::Access(u8*& pixels, i32& rowBytes)
{
    pixels = buffer;
    rowBytes = bufferRowBytes;
    return true;
}

void* BasicLayer::AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes)
{
    LayerRegion valid;
    if (!GetValidRegion(valid) || !RegionInside(region, valid))
        return nullptr;
    // The row offset is a 32-bit product. The default allocators refuse
    // buffers past 2^31 - 1 bytes, so it cannot wrap for library-made layers.
    const std::ptrdiff_t rowOffset = WrapMul(region.y, bufferRowBytes);
    pixels = buffer + rowOffset + std::ptrdiff_t(region.x) * 4;
    rowBytes = bufferRowBytes;
    return kBasicToken;
}

bool BasicLayer::EndAccess(void* token)
{
    return token != nullptr;
}

bool BasicLayer::GetRegion(LayerRegion& region) const
{
    region = {0, 0, bufferWidth, bufferHeight};
    return true;
}

bool BasicLayer::GetValidRegion(LayerRegion& region) const
{
    return GetRegion(region);
}

i32 BasicLayer::Type() const
{
    return 0;
}

// ===========================================================================
// ClippedLayer
// ===========================================================================

ClippedLayer::ClippedLayer(Marrow::StubLayer* parent) : parentLayer(parent), clipRegion{0, 0, 0, 0}
{
    // Kept even if the parent is already dying: the destructor releases it anyway.
    AddRefCountLayer(parent);
    LayerRegion whole;
    if (parent && parent->GetRegion(whole))
        clipRegion = whole;
}

ClippedLayer::~ClippedLayer()
{
    DeleteLayer(parentLayer);
    parentLayer = nullptr;
}

bool ClippedLayer::Access(u8*& pixels, i32& rowBytes)
{
    if (!parentLayer)
        return false;
    LayerRegion valid;
    if (!GetValidRegion(valid))
        return false;
    // The parent's token is dropped: whole-layer access has no end call.
    return parentLayer->AccessRegion(MoveRegion(valid, clipRegion.x, clipRegion.y), pixels,
                                     rowBytes) != nullptr;
}

void* ClippedLayer::AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes)
{
    LayerRegion valid;
    if (!GetValidRegion(valid) || !RegionInside(region, valid))
        return nullptr;
    return parentLayer->AccessRegion(MoveRegion(region, clipRegion.x, clipRegion.y), pixels,
                                     rowBytes);
}

bool ClippedLayer::EndAccess(void* token)
{
    return parentLayer ? parentLayer->EndAccess(token) : false;
}

bool ClippedLayer::GetRegion(LayerRegion& region) const
{
    region = {0, 0, clipRegion.width, clipRegion.height};
    return true;
}

bool ClippedLayer::GetValidRegion(LayerRegion& region) const
{
    LayerRegion parentValid;
    if (!parentLayer || !parentLayer->GetValidRegion(parentValid))
        return false;
    // A view that misses the parent keeps its offset with a zero size.
    const LayerRegion seen = IntersectLayerRegions(clipRegion, parentValid);
    region = {WrapSub(seen.x, clipRegion.x), WrapSub(seen.y, clipRegion.y), seen.width,
              seen.height};
    return true;
}

i32 ClippedLayer::Type() const
{
    return 10;
}

bool ClippedLayer::UpdateRegion(const LayerRegion& region)
{
    LayerRegion valid;
    if (!parentLayer || !GetValidRegion(valid) || !RegionInside(region, valid))
        return false;
    const bool own = NotifyUpdateFunctions(region);
    const bool parents = parentLayer->UpdateRegion(MoveRegion(region, clipRegion.x, clipRegion.y));
    return own && parents;
}

bool ClippedLayer::Clip(const LayerRegion& region)
{
    clipRegion = region;
    return true;
}
