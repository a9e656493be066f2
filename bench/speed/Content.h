// The frames every speed benchmark reads: three contents at 1920x1080, built
// once, and the two ways a benchmark walks them.
#ifndef FLOWER_BENCH_SPEED_CONTENT_H
#define FLOWER_BENCH_SPEED_CONTENT_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace speed {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
// Room past the last pel: sub-pixel filters read one pel beyond the row.
constexpr int kStride = kWidth + 16;
constexpr int kPitch = kStride * 4;
// Rows cycled by the cached mode: distinct, yet all in the core's own cache.
constexpr int kCachedRows = 60;

enum class Content { kTranslucent, kTitle, kOpaque };
enum class Mode { kWarm, kCached };

constexpr Content kContents[] = {Content::kTranslucent, Content::kTitle, Content::kOpaque};

const char* Name(Content content);
const char* Name(Mode mode);
// Rows one iteration of a mode processes.
int RowsOf(Mode mode);

struct Frame {
    std::vector<std::uint32_t> pels; // kHeight rows of kStride pels

    Frame() : pels(std::size_t(kStride) * kHeight) {}
    char* Row(int y) { return reinterpret_cast<char*>(&pels[std::size_t(y) * kStride]); }
    const char* Row(int y) const
    {
        return reinterpret_cast<const char*>(&pels[std::size_t(y) * kStride]);
    }
    char* Bytes() { return Row(0); }
    const char* Bytes() const { return Row(0); }
};

// Two independent frames of each content (a top and a second source) and an
// opaque picture to composite onto; built on first use, never changed.
const Frame& First(Content content);
const Frame& Second(Content content);
const Frame& Picture();

// Straight alpha to premultiplied a8r8g8b8, for the pixman side.
std::uint32_t Premultiplied(std::uint32_t pel);
void Premultiply(Frame& frame);

} // namespace speed

#endif
