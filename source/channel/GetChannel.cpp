// Extracting one channel of a layer into a Channel, top-left aligned.
#include <algorithm>
#include <cstring>

#include "channel.h"
#include "channel/ChannelInternal.h"
#include "kernels/channel/ChannelKernels.h"

using ChannelInternal::ChannelRow;

namespace {

// Pels are read as bytes B, G, R, A, so any pixel alignment works.
enum : int { kBlue, kGreen, kRed, kAlpha, kCoveredLuminance, kLuminance };

void ExtractRow(u8* dst, const u8* pels, i32 count, i32 which)
{
    switch (which) {
    case kBlue:
    case kGreen:
    case kRed:
    case kAlpha:
        return Kernels::Active(Kernels::kChannelSets).byteRow(dst, pels, count, which);
    case kCoveredLuminance:
        return Kernels::Active(Kernels::kChannelSets).coveredLuminance(dst, pels, count);
    case kLuminance:
        return Kernels::Active(Kernels::kChannelSets).luminance(dst, pels, count);
    default:
        std::memset(dst, 0, std::size_t(count));
    }
}

} // namespace

bool GetChannel(Channel* channel, Marrow::StubLayer* layer, i32 which)
{
    if (channel == nullptr || channel->data == nullptr)
        return false;
    if (layer == nullptr)
        return true;
    ChannelInternal::LayerReader reader(layer);
    if (!reader.IsOpen())
        return true;
    const LayerRegion& region = reader.Access().region;
    // Negative sizes (clipped views past their parent) are empty.
    const i32 width = std::max(channel->width, 0);
    const i32 height = std::max(channel->height, 0);
    const i32 rows = std::clamp(region.height, 0, height);
    const i32 columns = std::clamp(region.width, 0, width);
    for (i32 y = 0; y < rows; ++y) {
        u8* dst = ChannelRow(*channel, y);
        ExtractRow(dst, reader.Row(y), columns, which);
        std::memset(dst + columns, 0, std::size_t(width - columns));
    }
    for (i32 y = rows; y < height; ++y)
        std::memset(ChannelRow(*channel, y), 0, std::size_t(width));
    return true;
}

namespace {

// The single-channel forms report success even where GetChannel refuses, and
// leave the channel as GetChannel left it.
bool GetChannelAlwaysTrue(Channel* channel, Marrow::StubLayer* layer, i32 which)
{
    GetChannel(channel, layer, which);
    return true;
}

} // namespace

bool GetBlueChannel(Channel* channel, Marrow::StubLayer* layer)
{
    return GetChannelAlwaysTrue(channel, layer, kBlue);
}

bool GetGreenChannel(Channel* channel, Marrow::StubLayer* layer)
{
    return GetChannelAlwaysTrue(channel, layer, kGreen);
}

bool GetRedChannel(Channel* channel, Marrow::StubLayer* layer)
{
    return GetChannelAlwaysTrue(channel, layer, kRed);
}

bool GetAlphaChannel(Channel* channel, Marrow::StubLayer* layer)
{
    return GetChannelAlwaysTrue(channel, layer, kAlpha);
}
