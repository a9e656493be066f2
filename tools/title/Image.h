// Plain pixel holders the tool passes between its stages before anything
// becomes a library layer.
#ifndef FLOWER_TITLE_IMAGE_H
#define FLOWER_TITLE_IMAGE_H

#include <cstdint>
#include <vector>

namespace title {

// 0xAARRGGBB, straight alpha: the library's pixel layout.
inline int Red(std::uint32_t p)
{
    return int(p >> 16 & 0xFF);
}
inline int Green(std::uint32_t p)
{
    return int(p >> 8 & 0xFF);
}
inline int Blue(std::uint32_t p)
{
    return int(p & 0xFF);
}

struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pels;

    std::uint32_t* Row(int y) { return pels.data() + static_cast<std::size_t>(y) * width; }
    const std::uint32_t* Row(int y) const
    {
        return pels.data() + static_cast<std::size_t>(y) * width;
    }
};

// One byte of glyph coverage per pixel, 0 outside and 255 fully inside.
struct Coverage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> samples;

    std::uint8_t* Row(int y) { return samples.data() + static_cast<std::size_t>(y) * width; }
    const std::uint8_t* Row(int y) const
    {
        return samples.data() + static_cast<std::size_t>(y) * width;
    }
};

} // namespace title

#endif
