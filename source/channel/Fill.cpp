// Filling and tiling channels, and filling layers with one Pel.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "channel.h"
#include "channel/ChannelInternal.h"
#include "stem.h"

using ChannelInternal::ChannelRow;
using ChannelInternal::HasSamples;

namespace {

// The remainder in 0..divisor-1 whatever the sign of value (divisor >= 1).
i32 PositiveModulo(std::int64_t value, i32 divisor)
{
    const std::int64_t r = value % divisor;
    return i32(r < 0 ? r + divisor : r);
}

// One destination row: source samples from column `first` onwards, wrapping.
// memmove, because a destination may view its own source.
void TileRow(u8* dst, const u8* src, i32 count, i32 sourceWidth, i32 first)
{
    i32 column = first;
    while (count > 0) {
        const i32 run = std::min(count, sourceWidth - column);
        std::memmove(dst, src + column, std::size_t(run));
        dst += run;
        count -= run;
        column = 0;
    }
}

} // namespace

bool FillChannel(Channel* channel, i32 value)
{
    if (channel == nullptr || channel->data == nullptr)
        return false;
    if (!HasSamples(*channel))
        return true;
    const int byte = int(u32(value) & 0xFFu);
    if (channel->rowBytes == channel->width) {
        std::memset(channel->data, byte,
                    std::size_t(channel->width) * std::size_t(channel->height));
        return true;
    }
    for (i32 y = 0; y < channel->height; ++y)
        std::memset(ChannelRow(*channel, y), byte, std::size_t(channel->width));
    return true;
}

bool TileChannel(Channel* destination, Channel* source, i32 x, i32 y)
{
    if (destination == nullptr || source == nullptr)
        return false;
    if (destination->data == nullptr || source->data == nullptr)
        return false;
    if (destination->width == 0 || destination->height == 0 || !HasSamples(*source))
        return false;
    // A view beyond its parent's edge has a negative size: nothing to write.
    if (destination->width < 0 || destination->height < 0)
        return true;
    const i32 firstColumn = PositiveModulo(-std::int64_t(x), source->width);
    for (i32 r = 0; r < destination->height; ++r) {
        const i32 sourceRow = PositiveModulo(std::int64_t(r) - y, source->height);
        TileRow(ChannelRow(*destination, r), ChannelRow(*source, sourceRow), destination->width,
                source->width, firstColumn);
    }
    return true;
}

bool FillLayer(Marrow::StubLayer* layer, Pel value)
{
    if (layer == nullptr)
        return false;
    ChannelInternal::LayerReader reader(layer);
    if (!reader.IsOpen())
        return true;
    const LayerAccess& access = reader.Access();
    const i32 width = access.region.width;
    const i32 height = access.region.height;
    if (width < 1 || height < 1)
        return true;
    const SetScanlineRoutine set = GetSetScanline();
    if (std::int64_t(access.rowBytes) == std::int64_t(width) * 4 &&
        std::int64_t(width) * height <= std::numeric_limits<int>::max()) {
        set(reinterpret_cast<Pel*>(access.pixels), width * height, value);
        return true;
    }
    for (i32 y = 0; y < height; ++y)
        set(reinterpret_cast<Pel*>(reader.Row(y)), width, value);
    return true;
}
