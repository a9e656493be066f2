// Layers: reference-counted rectangles of Pels (see inlinepelops.h), reached
// only through FlowerLayer handles (Marrow::StubLayer in C++, local_system.h).
//
// Ownership. A new layer holds one reference, owned by its creator.
// AddRefCountLayer adds one, DeleteLayer releases one and destroys the layer
// on the last. Open accesses and clipped layers hold references of their own,
// so a layer outlives every access and every clipped view made of it.
//
// Memory. Layer objects and pixel buffers come from the replaceable allocator
// hooks below; every block is returned with the FreeFunction and datum that
// release it, and whoever holds the block keeps that pair.
//
// Access. An access asks a layer for a rectangle and receives the address of
// its top-left pixel and the row pitch in bytes; the rectangle is clipped to
// the layer's valid region first, so callers look at the region's size before
// touching memory. End every access you begin, in reverse order.
//
// Threads. Reference counts are atomic; nothing else is locked. Set the
// allocator hooks before creating layers, and serialise work on one layer.
// Every function accepts null handles and records and then fails.
#ifndef FLOWER_PETAL_H
#define FLOWER_PETAL_H

#include "LayerRegion.h"
#include "inlinepelops.h"
#include "local_system.h"

#ifdef __cplusplus
#  include <atomic>
#endif

#ifdef __cplusplus
extern "C" {
#endif

// Releases one block; `data` is the datum returned with the block.
typedef void (*FreeFunction)(u8* block, void* data);

// Returns `size` bytes and stores their free pair, or null. `data` is the hook's datum.
typedef u8* (*BufferAllocFunction)(i32 size, FreeFunction* outFree, void** outFreeData, void* data);

// Returns width x height pixels and stores the row pitch in bytes and the free pair, or null.
typedef u8* (*PelAllocFunction)(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                                void** outFreeData, void* data);

// Told that `changed` (in the layer's own coordinates) was written.
typedef bool (*UpdateFunction)(FlowerLayer* layer, const LayerRegion* changed, void* data);

// ===========================================================================
// Allocator hooks
// ===========================================================================

// Installs the buffer allocators; a null allocator restores its C-library default
// (and a null `alloc` clears the datum). Unsynchronised: call before creating layers.
FLOWER_API void SetAllocator(BufferAllocFunction alloc, void* data, BufferAllocFunction allocZero);

// Installs the pixel allocators; each null allocator restores its default and clears its datum.
FLOWER_API void SetPelAllocator(PelAllocFunction pelAlloc, void* pelData,
                                PelAllocFunction pelAllocZero, void* pelZeroData);

// `size` bytes through the buffer hooks, falling back to malloc and then calloc.
// Null when size < 1, an out-pointer is null, or memory is exhausted.
FLOWER_API u8* alloc_buffer(i32 size, FreeFunction* outFree, void** outFreeData);

// Zero-filled `size` bytes through the zeroing hook, falling back to calloc; null on failure.
FLOWER_API u8* alloc_buffer_zero(i32 size, FreeFunction* outFree, void** outFreeData);

// Uninitialised packed pixels (pitch = width x 4) through the pixel hook, falling back to
// the default when the hook fails. Null, with nothing stored through outRowBytes, on
// failure or a null outRowBytes; the defaults refuse sizes past 2^31 - 1 bytes.
FLOWER_API u8* alloc_raw_pels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                              void** outFreeData);

// As alloc_raw_pels, zero-filled, through the zeroing pixel hook.
FLOWER_API u8* alloc_zero_pels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                               void** outFreeData);

// The default hooks. They ignore `data` and hand out free_wrapper with a null datum.
FLOWER_API u8* malloc_wrapper(i32 size, FreeFunction* outFree, void** outFreeData, void* data);
FLOWER_API u8* calloc_wrapper(i32 size, FreeFunction* outFree, void** outFreeData, void* data);
FLOWER_API u8* raw_pel_alloc(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                             void** outFreeData, void* data);
FLOWER_API u8* zero_pel_alloc(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                              void** outFreeData, void* data);

// Frees a block from the C library; a null block is ignored.
FLOWER_API void free_wrapper(u8* block, void* data);

#ifdef __cplusplus
} // extern "C"
#endif

#ifdef __cplusplus

// ===========================================================================
// The layer classes
// ===========================================================================

namespace Marrow {

// The handle type. Its virtual operations are the whole layer protocol; hosts
// normally use the exported functions below instead of calling them.
class FLOWER_API StubLayer {
  public:
    StubLayer() = default;
    StubLayer(const StubLayer&) = delete;
    StubLayer& operator=(const StubLayer&) = delete;
    virtual ~StubLayer();

    // The whole valid buffer: its first pixel and pitch.
    virtual bool Access(u8*& pixels, i32& rowBytes) = 0;
    // A rectangle inside the valid region: its first pixel and pitch, and a
    // token for EndAccess (null on failure).
    virtual void* AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes) = 0;
    virtual bool EndAccess(void* token) = 0;
    // The layer's extent, {0, 0, width, height}.
    virtual bool GetRegion(LayerRegion& region) const = 0;
    // The part of the extent backed by pixels, in the layer's coordinates.
    virtual bool GetValidRegion(LayerRegion& region) const = 0;
    // 0 for BasicLayer, 10 for ClippedLayer.
    virtual i32 Type() const = 0;
    // False when the layer is already dying; the count is left as it was.
    virtual bool AddRef() = 0;
    // False when the count reached 0: the caller then destroys the object.
    virtual bool RemoveRef() = 0;
    // How to release the memory that holds this object.
    virtual void AttachFreeFunction(FreeFunction freeFunction, void* data) = 0;
    virtual void GetFreeFunction(FreeFunction* freeFunction, void** data) = 0;
    virtual bool AttachUpdateFunction(UpdateFunction function, void* data) = 0;
    virtual bool DetachUpdateFunction(UpdateFunction function, void* data) = 0;
    // Calls every update function with `region`; true when all of them returned true.
    virtual bool UpdateRegion(const LayerRegion& region) = 0;
    virtual bool TranslateValidLayerRegion(i32 dx, i32 dy) = 0;
};

} // namespace Marrow

// The root of the library's layer classes; its destructor is virtual, so a
// layer is destroyed through its handle.
class FLOWER_API LayerInterface : public Marrow::StubLayer {
  public:
    ~LayerInterface() override;
};

// Reference count, object free pair and update list, shared by every layer.
class FLOWER_API LayerCommon : public LayerInterface {
  public:
    LayerCommon();
    ~LayerCommon() override;

    bool AddRef() override;
    bool RemoveRef() override;
    void AttachFreeFunction(FreeFunction freeFunction, void* data) override;
    void GetFreeFunction(FreeFunction* freeFunction, void** data) override;
    // Re-attaching a (function, datum) pair moves it to the end of the list.
    bool AttachUpdateFunction(UpdateFunction function, void* data) override;
    // Removes the pair; returns false whether or not it was attached.
    bool DetachUpdateFunction(UpdateFunction function, void* data) override;
    bool UpdateRegion(const LayerRegion& region) override;
    bool TranslateValidLayerRegion(i32 dx, i32 dy) override;

  protected:
    // Calls this layer's own update functions only, in attachment order.
    bool NotifyUpdateFunctions(const LayerRegion& region);

  private:
    struct UpdateEntry {
        UpdateFunction function;
        void* data;
    };
    void RemoveUpdateEntries(UpdateFunction function, void* data);
    bool ReserveUpdateEntry();

    std::atomic<i32> refCount;
    FreeFunction objectFree;
    void* objectFreeData;
    // The update list, in attachment order, in a block from alloc_buffer.
    UpdateEntry* updates;
    i32 updateCount;
    i32 updateCapacity;
    FreeFunction updatesFree;
    void* updatesFreeData;
};

// A layer over one pixel buffer, which it releases through its pixel free pair.
class FLOWER_API BasicLayer : public LayerCommon {
  public:
    // Stores the arguments unchecked; the layer owns the buffer from now on.
    BasicLayer(u8* pixels, i32 width, i32 height, i32 rowBytes, FreeFunction pixelFree,
               void* pixelFreeData);
    ~BasicLayer() override;

    bool Access(u8*& pixels, i32& rowBytes) override;
    void* AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes) override;
    bool EndAccess(void* token) override;
    bool GetRegion(LayerRegion& region) const override;
    bool GetValidRegion(LayerRegion& region) const override;
    i32 Type() const override;

  protected:
    u8* buffer; // row 0
    i32 bufferWidth;
    i32 bufferHeight;
    i32 bufferRowBytes;
    FreeFunction bufferFree;
    void* bufferFreeData;
};

// A view of a rectangle of a parent layer, in coordinates starting at the
// rectangle's top-left corner. Holds a reference on the parent throughout.
class FLOWER_API ClippedLayer : public LayerCommon {
  public:
    explicit ClippedLayer(Marrow::StubLayer* parent);
    ~ClippedLayer() override;

    bool Access(u8*& pixels, i32& rowBytes) override;
    void* AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes) override;
    bool EndAccess(void* token) override;
    bool GetRegion(LayerRegion& region) const override;
    // Keeps the offset when the view misses the parent: {-clip.x, -clip.y, 0, 0}.
    bool GetValidRegion(LayerRegion& region) const override;
    i32 Type() const override;
    // Own update functions first, then the parent's, with the region moved.
    bool UpdateRegion(const LayerRegion& region) override;
    // Moves the view to `region`, in the parent's coordinates, unchecked.
    virtual bool Clip(const LayerRegion& region);

  private:
    Marrow::StubLayer* parentLayer;
    LayerRegion clipRegion;
};

#endif // __cplusplus

// ===========================================================================
// Access records
// ===========================================================================

// One open access. Filled by the Begin functions; a reference on `layer` is
// held until the matching End call.
typedef struct LayerAccess {
    u8* pixels;         // the top-left pixel of `region`
    i32 rowBytes;       // bytes from one row to the next
    LayerRegion region; // the rectangle accessed, in the layer's coordinates
    FlowerLayer* layer;
    void* token; // for the layer's EndAccess; never null while open
} LayerAccess;

// Two accesses over one common rectangle.
typedef struct LayerIntersectAccess {
    i32 width;
    i32 height;
    LayerAccess first;
    LayerAccess second;
} LayerIntersectAccess;

#ifdef __cplusplus
extern "C" {
#endif

// ===========================================================================
// Creation and lifetime
// ===========================================================================

// A new layer with zeroed pixels, holding one reference; null on failure.
FLOWER_API FlowerLayer* CreateLayer(i32 width, i32 height);

// As CreateLayer, with uninitialised pixels.
FLOWER_API FlowerLayer* CreateLayerRaw(i32 width, i32 height);

// A layer over the caller's buffer, unchecked. Once it exists it owns the buffer
// and calls freeFunction(pixels, data) when destroyed (if non-null); on failure
// (null result) the buffer stays the caller's.
FLOWER_API FlowerLayer* CreateCompatibleLayer(u8* pixels, i32 width, i32 height, i32 rowBytes,
                                                    FreeFunction freeFunction, void* data);

// Releases one reference; the last frees the pixels, then the object.
FLOWER_API void DeleteLayer(FlowerLayer* layer);

// The same layer with one more reference, or null (null layer, or already dying).
FLOWER_API FlowerLayer* AddRefCountLayer(FlowerLayer* layer);

// A new zeroed layer of the same size; null for a null or zero-sized layer.
FLOWER_API FlowerLayer* CreateSimilarLayer(FlowerLayer* layer);

// A new layer of the same size holding a copy of the valid pixels (zero
// elsewhere); null for a null or zero-sized layer or on failure.
FLOWER_API FlowerLayer* DuplicateLayer(FlowerLayer* layer);

// ===========================================================================
// Clipped layers
// ===========================================================================

// A new view showing the whole parent; null for a null parent or on failure.
FLOWER_API FlowerLayer* CreateClippedLayer(FlowerLayer* parent);

// Moves a clipped layer's view (parent coordinates); false for other layers.
FLOWER_API bool ClipLayer(FlowerLayer* layer, const LayerRegion* clip);

// ===========================================================================
// Access and region queries
// ===========================================================================

// Opens the part of `region` that is valid. False, with the record untouched,
// on failure. An empty result succeeds: check access->region before writing.
FLOWER_API bool BeginRegionAccessLayer(LayerAccess* access, FlowerLayer* layer,
                                       const LayerRegion* region);

// As BeginRegionAccessLayer over the layer's whole region.
FLOWER_API bool BeginAccessLayer(LayerAccess* access, FlowerLayer* layer);

// Ends the access and releases its reference (which may destroy the layer).
// The record is not cleared. False keeps the reference.
FLOWER_API bool EndAccessLayer(LayerAccess* access);

// The region's size through the non-null out-pointers. A null layer writes zeros and
// returns false.
FLOWER_API bool GetLayerWidthAndHeight(FlowerLayer* layer, i32* width, i32* height);
// The region's width or height; 0 for a null layer or on failure.
FLOWER_API i32 GetLayerWidth(FlowerLayer* layer);
FLOWER_API i32 GetLayerHeight(FlowerLayer* layer);

// The layer's extent / its valid part; false when either argument is null.
FLOWER_API bool GetLayerRegion(FlowerLayer* layer, LayerRegion* region);
FLOWER_API bool GetValidLayerRegion(FlowerLayer* layer, LayerRegion* region);

// Opens both layers over their common valid rectangle; false (nothing held) when it is empty.
FLOWER_API bool BeginIntersectAccessLayer(LayerIntersectAccess* access, FlowerLayer* first,
                                          FlowerLayer* second);

// As BeginIntersectAccessLayer, within `region`.
FLOWER_API bool BeginRegionIntersectAccessLayer(LayerIntersectAccess* access,
                                                FlowerLayer* first, FlowerLayer* second,
                                                const LayerRegion* region);

// Ends the first access, then the second; true when both ended.
FLOWER_API bool EndIntersectAccessLayer(LayerIntersectAccess* access);

// ===========================================================================
// Update notification
// ===========================================================================

// Appends (function, datum), or moves it to the end if attached; false for a null
// layer or function, or when memory runs out.
FLOWER_API bool AttachUpdateFunction(FlowerLayer* layer, UpdateFunction function, void* data);

// Removes (function, datum). Always returns false, found or not.
FLOWER_API bool DetachUpdateFunction(FlowerLayer* layer, UpdateFunction function, void* data);

// Notifies the layer's update functions of `region` (null: the whole layer).
// True when every function returned true; false for a null layer.
FLOWER_API bool UpdateLayer(FlowerLayer* layer, const LayerRegion* region);

// Notifies the whole layer; false for a null layer or a failed region query.
FLOWER_API bool UpdateLayerEx(FlowerLayer* layer);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
