// Making and clipping channels. Records and samples come from the C heap and
// go back there in DeleteChannel.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "channel.h"
#include "channel/ChannelInternal.h"

namespace {

Channel* NewRecord()
{
    return static_cast<Channel*>(std::malloc(sizeof(Channel)));
}

// Clipping may move a view past its parent; the address is then never read
// (the size is empty), so it is formed without pointer arithmetic.
u8* OffsetAddress(u8* base, std::int64_t offset)
{
    if (base == nullptr)
        return nullptr;
    return reinterpret_cast<u8*>(reinterpret_cast<std::uintptr_t>(base) +
                                 static_cast<std::uintptr_t>(offset));
}

i32 ClampToI32(std::int64_t v)
{
    return i32(std::clamp<std::int64_t>(v, std::numeric_limits<i32>::min(),
                                        std::numeric_limits<i32>::max()));
}

} // namespace

Channel* ChannelInternal::MakeOwningChannel(i32 width, i32 height)
{
    if (width < 1 || height < 1)
        return nullptr;
    // The byte count must fit a signed 32-bit product; larger requests are refused
    // rather than wrapped.
    const std::int64_t bytes = std::int64_t(width) * height;
    if (bytes > std::numeric_limits<i32>::max())
        return nullptr;
    Channel* channel = NewRecord();
    if (channel == nullptr)
        return nullptr;
    channel->data = static_cast<u8*>(std::malloc(std::size_t(bytes)));
    channel->width = width;
    channel->height = height;
    channel->rowBytes = width;
    channel->parent = nullptr;
    channel->ownsData = true;
    FillChannel(channel, 0);
    return channel;
}

Channel* CreateChannel(i32 width, i32 height)
{
    return ChannelInternal::MakeOwningChannel(width, height);
}

Channel* CreateSimilarChannel(Channel* channel)
{
    if (channel == nullptr)
        return nullptr;
    return ChannelInternal::MakeOwningChannel(channel->width, channel->height);
}

Channel* CreateCompatibleChannel(i32 width, i32 height, u8* data)
{
    if (width < 1 || height < 1)
        return nullptr;
    Channel* channel = NewRecord();
    if (channel == nullptr)
        return nullptr;
    *channel = Channel{data, width, height, width, nullptr, false};
    return channel;
}

Channel* CreateClippedChannel(Channel* parent)
{
    if (parent == nullptr)
        return nullptr;
    Channel* channel = NewRecord();
    if (channel == nullptr)
        return nullptr;
    *channel =
        Channel{parent->data, parent->width, parent->height, parent->rowBytes, parent, false};
    return channel;
}

Channel* CreateSizedChannel(Marrow::StubLayer* layer)
{
    if (layer == nullptr)
        return nullptr;
    ChannelInternal::LayerReader reader(layer);
    if (!reader.IsOpen())
        return nullptr;
    const LayerRegion& region = reader.Access().region;
    if (region.width < 1 || region.height < 1)
        return nullptr;
    return ChannelInternal::MakeOwningChannel(region.width, region.height);
}

void ClipChannel(Channel* channel, i32 x1, i32 y1, i32 x2, i32 y2)
{
    if (channel == nullptr || channel->parent == nullptr)
        return;
    const Channel& parent = *channel->parent;
    if (x2 < x1)
        std::swap(x1, x2);
    if (y2 < y1)
        std::swap(y1, y2);
    const i32 left = std::max(x1, 0);
    const i32 top = std::max(y1, 0);
    const i32 right = std::min(std::max(x2, 0), parent.width);
    const i32 bottom = std::min(std::max(y2, 0), parent.height);
    channel->width = ClampToI32(std::int64_t(right) - left);
    channel->height = ClampToI32(std::int64_t(bottom) - top);
    channel->data = OffsetAddress(parent.data, std::int64_t(top) * parent.rowBytes + left);
}
