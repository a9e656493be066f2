// The built-in sample picture: 768 x 512 opaque pixels, B, G, R, A bytes, rows
// top to bottom, embedded from the file the build decodes.
#include <cstring>

#include "florist.h"

#ifndef FLOWER_SAMPLE_PICTURE_BGRA
#error "soil.cmake defines the path of the decoded picture"
#endif

// In writable data: GetFlowerData rewrites it in place.
__asm__(".pushsection .data\n"
        ".balign 64\n"
        ".hidden flower_sample_picture_bytes\n"
        ".globl flower_sample_picture_bytes\n"
        ".type flower_sample_picture_bytes, @object\n"
        "flower_sample_picture_bytes:\n"
        ".incbin \"" FLOWER_SAMPLE_PICTURE_BGRA "\"\n"
        ".size flower_sample_picture_bytes, . - flower_sample_picture_bytes\n"
        ".popsection\n");

extern "C" __attribute__((visibility("hidden"))) u8 flower_sample_picture_bytes[];

namespace {

const std::size_t kWords = 768 * 512;
u8* const f = flower_sample_picture_bytes;

// Stores v's bytes in little-endian order, writing only bytes that change:
// on a little-endian host nothing is written, so concurrent callers never race.
void StoreLittleEndian(u8* at, u32 v)
{
    const u8 bytes[4] = {u8(v & 0xFF), u8((v >> 8) & 0xFF), u8((v >> 16) & 0xFF), u8(v >> 24)};
    if (std::memcmp(at, bytes, 4) != 0)
        std::memcpy(at, bytes, 4);
}

u32 LoadNative(const u8* at)
{
    u32 v;
    std::memcpy(&v, at, 4);
    return v;
}

} // namespace

// Rewrites every word's native value in little-endian byte order, two words per
// step, at every call; on a little-endian host the picture stays as it is.
extern "C" u8* GetFlowerData(void)
{
    for (std::size_t i = 0; i < kWords; i += 2) {
        u8* at = f + i * 4;
        const u32 v0 = LoadNative(at);
        const u32 v1 = LoadNative(at + 4);
        StoreLittleEndian(at, v0);
        StoreLittleEndian(at + 4, v1);
    }
    return f;
}
