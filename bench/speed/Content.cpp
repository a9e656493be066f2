// Frame contents: translucent everywhere, title text, opaque.
#include "Content.h"

#include <algorithm>
#include <random>

#include "../TitleContent.h"

namespace speed {

const char* Name(Content content)
{
    switch (content) {
    case Content::kTranslucent:
        return "translucent";
    case Content::kTitle:
        return "title";
    case Content::kOpaque:
        return "opaque";
    }
    return "?";
}

const char* Name(Mode mode)
{
    return mode == Mode::kWarm ? "warm" : "cached";
}

int RowsOf(Mode mode)
{
    return mode == Mode::kWarm ? kHeight : kCachedRows;
}

namespace {

// Alpha 1..254 on every pel: each takes the translucent path.
Frame TranslucentFrame(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Frame frame;
    for (std::uint32_t& p : frame.pels)
        p = (1 + rng() % 254) << 24 | (rng() & 0xFFFFFFu);
    return frame;
}

Frame OpaqueFrame(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Frame frame;
    for (std::uint32_t& p : frame.pels)
        p = 0xFF000000u | (rng() & 0xFFFFFFu);
    return frame;
}

// Text lines 48 rows tall every 120 rows, new glyph stems every 6 rows and
// repeated between, clear pels (with junk colour, as a renderer may leave)
// elsewhere: about four fifths of the frame is fully transparent.
Frame TitleFrame(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Frame frame;
    std::vector<std::uint32_t> stems;
    for (int y = 0; y < kHeight; ++y) {
        std::uint32_t* out = &frame.pels[std::size_t(y) * kStride];
        const int inLine = y % 120;
        if (inLine < 36 || inLine >= 84) {
            for (int x = 0; x < kStride; ++x)
                out[x] = rng() & 0xFFFFFFu;
            continue;
        }
        if ((inLine - 36) % 6 == 0)
            stems = TitleTextRow(rng, std::size_t(kStride));
        std::copy(stems.begin(), stems.end(), out);
    }
    return frame;
}

Frame Make(Content content, std::uint32_t seed)
{
    switch (content) {
    case Content::kTranslucent:
        return TranslucentFrame(seed);
    case Content::kTitle:
        return TitleFrame(seed);
    case Content::kOpaque:
        break;
    }
    return OpaqueFrame(seed);
}

} // namespace

const Frame& First(Content content)
{
    static const Frame frames[] = {Make(Content::kTranslucent, 11), Make(Content::kTitle, 12),
                                   Make(Content::kOpaque, 13)};
    return frames[int(content)];
}

const Frame& Second(Content content)
{
    static const Frame frames[] = {Make(Content::kTranslucent, 21), Make(Content::kTitle, 22),
                                   Make(Content::kOpaque, 23)};
    return frames[int(content)];
}

const Frame& Picture()
{
    static const Frame frame = OpaqueFrame(31);
    return frame;
}

std::uint32_t Premultiplied(std::uint32_t pel)
{
    const std::uint32_t a = pel >> 24;
    std::uint32_t out = pel & 0xFF000000u;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t c = (pel >> shift) & 0xFFu;
        out |= ((c * a + 127) / 255) << shift;
    }
    return out;
}

void Premultiply(Frame& frame)
{
    std::transform(frame.pels.begin(), frame.pels.end(), frame.pels.begin(), Premultiplied);
}

} // namespace speed
