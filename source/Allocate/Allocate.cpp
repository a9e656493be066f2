// The replaceable allocator hooks and their C-library defaults.
#include <cstdlib>

#include "petal.h"

namespace {

// Constant-initialised, so the hooks work for load-time initialisers.
BufferAllocFunction alloc = malloc_wrapper;
BufferAllocFunction alloc_zero = calloc_wrapper;
PelAllocFunction pel_alloc = raw_pel_alloc;
PelAllocFunction pel_alloc_zero = zero_pel_alloc;
// Kept for the host's benefit only: the buffer hooks are always called with a
// null datum, and existing hosts rely on that.
void* alloc_data = nullptr;
void* pel_alloc_data = nullptr;
void* pel_alloc_zero_data = nullptr;

bool ValidRequest(i32 size, FreeFunction* outFree, void** outFreeData)
{
    return size > 0 && outFree && outFreeData;
}

u8* HandOut(void* block, FreeFunction* outFree, void** outFreeData)
{
    if (!block)
        return nullptr;
    *outFree = free_wrapper;
    *outFreeData = nullptr;
    return static_cast<u8*>(block);
}

u8* CallocBlock(i32 size, FreeFunction* outFree, void** outFreeData)
{
    if (!ValidRequest(size, outFree, outFreeData))
        return nullptr;
    return HandOut(std::calloc(static_cast<std::size_t>(size), 1), outFree, outFreeData);
}

// Hook, malloc, zeroing hook, calloc: the first block wins.
u8* AllocBufferChain(i32 size, FreeFunction* outFree, void** outFreeData)
{
    if (alloc) {
        if (u8* block = alloc(size, outFree, outFreeData, nullptr))
            return block;
    }
    const bool valid = ValidRequest(size, outFree, outFreeData);
    if (valid) {
        if (u8* block = HandOut(std::malloc(static_cast<std::size_t>(size)), outFree, outFreeData))
            return block;
    }
    if (alloc_zero) {
        if (u8* block = alloc_zero(size, outFree, outFreeData, nullptr))
            return block;
    }
    return CallocBlock(size, outFree, outFreeData);
}

u8* AllocBufferZeroChain(i32 size, FreeFunction* outFree, void** outFreeData)
{
    if (alloc_zero) {
        if (u8* block = alloc_zero(size, outFree, outFreeData, nullptr))
            return block;
    }
    return CallocBlock(size, outFree, outFreeData);
}

// Packed rows. A true byte count past 2^31 - 1 is refused: in 32 bits it could
// wrap to a small positive size smaller than the pixels the layer would claim.
// A zero size still goes down the chain, which refuses it.
bool PackedPelSize(u32 width, u32 height, u32& pitch, i32& size)
{
    const std::uint64_t bytes = std::uint64_t(width) * 4u * std::uint64_t(height);
    if (bytes > 0x7FFFFFFFu)
        return false;
    pitch = width * 4u;
    size = static_cast<i32>(bytes);
    return true;
}

using BufferChain = u8* (*)(i32, FreeFunction*, void**);

u8* AllocPels(BufferChain chain, u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
              void** outFreeData)
{
    if (!outRowBytes)
        return nullptr;
    u32 pitch = 0;
    i32 size = 0;
    if (!PackedPelSize(width, height, pitch, size))
        return nullptr;
    u8* block = chain(size, outFree, outFreeData);
    if (block)
        *outRowBytes = pitch;
    return block;
}

} // namespace

void SetAllocator(BufferAllocFunction allocator, void* data, BufferAllocFunction allocZero)
{
    alloc = allocator ? allocator : malloc_wrapper;
    alloc_data = allocator ? data : nullptr;
    alloc_zero = allocZero ? allocZero : calloc_wrapper;
}

void SetPelAllocator(PelAllocFunction pelAlloc, void* pelData, PelAllocFunction pelAllocZero,
                     void* pelZeroData)
{
    pel_alloc = pelAlloc ? pelAlloc : raw_pel_alloc;
    pel_alloc_data = pelAlloc ? pelData : nullptr;
    pel_alloc_zero = pelAllocZero ? pelAllocZero : zero_pel_alloc;
    pel_alloc_zero_data = pelAllocZero ? pelZeroData : nullptr;
}

u8* alloc_buffer(i32 size, FreeFunction* outFree, void** outFreeData)
{
    return AllocBufferChain(size, outFree, outFreeData);
}

u8* alloc_buffer_zero(i32 size, FreeFunction* outFree, void** outFreeData)
{
    return AllocBufferZeroChain(size, outFree, outFreeData);
}

// A null pitch pointer fails before any hook sees it, and a host's pixel hook
// that fails falls back to the default steps without the caller knowing.
u8* alloc_raw_pels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                   void** outFreeData)
{
    if (!outRowBytes)
        return nullptr;
    if (pel_alloc != raw_pel_alloc)
        if (u8* pels = pel_alloc(width, height, outRowBytes, outFree, outFreeData, pel_alloc_data))
            return pels;
    return raw_pel_alloc(width, height, outRowBytes, outFree, outFreeData, nullptr);
}

u8* alloc_zero_pels(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                    void** outFreeData)
{
    if (!outRowBytes)
        return nullptr;
    if (pel_alloc_zero != zero_pel_alloc)
        if (u8* pels = pel_alloc_zero(width, height, outRowBytes, outFree, outFreeData,
                                      pel_alloc_zero_data))
            return pels;
    return zero_pel_alloc(width, height, outRowBytes, outFree, outFreeData, nullptr);
}

u8* malloc_wrapper(i32 size, FreeFunction* outFree, void** outFreeData, void* /*data*/)
{
    if (!ValidRequest(size, outFree, outFreeData))
        return nullptr;
    return HandOut(std::malloc(static_cast<std::size_t>(size)), outFree, outFreeData);
}

u8* calloc_wrapper(i32 size, FreeFunction* outFree, void** outFreeData, void* /*data*/)
{
    return CallocBlock(size, outFree, outFreeData);
}

u8* raw_pel_alloc(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                  void** outFreeData, void* /*data*/)
{
    return AllocPels(AllocBufferChain, width, height, outRowBytes, outFree, outFreeData);
}

u8* zero_pel_alloc(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree,
                   void** outFreeData, void* /*data*/)
{
    return AllocPels(AllocBufferZeroChain, width, height, outRowBytes, outFree, outFreeData);
}

void free_wrapper(u8* block, void* /*data*/)
{
    std::free(block);
}
