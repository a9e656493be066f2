// Helpers the channel files share; not exported.
#ifndef FLOWER_CHANNEL_INTERNAL_H
#define FLOWER_CHANNEL_INTERNAL_H

#include <cstddef>

#include "channel.h"
#include "petal.h"

namespace ChannelInternal {

// A zero-filled owning channel; null for sizes below 1, byte counts past 2^31 - 1
// or a failed record allocation. A failed sample allocation leaves data null.
Channel* MakeOwningChannel(i32 width, i32 height);

// The channel's view is non-empty and backed by samples.
inline bool HasSamples(const Channel& c)
{
    return c.data != nullptr && c.width >= 1 && c.height >= 1;
}

inline u8* ChannelRow(const Channel& c, i32 y)
{
    return c.data + std::ptrdiff_t(y) * c.rowBytes;
}

// A whole-layer access that ends itself on every path.
class LayerReader {
  public:
    explicit LayerReader(Marrow::StubLayer* layer)
        : access(), open(BeginAccessLayer(&access, layer))
    {
    }
    LayerReader(const LayerReader&) = delete;
    LayerReader& operator=(const LayerReader&) = delete;
    ~LayerReader()
    {
        if (open)
            EndAccessLayer(&access);
    }
    bool IsOpen() const { return open; }
    const LayerAccess& Access() const { return access; }
    u8* Row(i32 y) const { return access.pixels + std::ptrdiff_t(y) * access.rowBytes; }

  private:
    LayerAccess access;
    bool open;
};

} // namespace ChannelInternal

#endif
