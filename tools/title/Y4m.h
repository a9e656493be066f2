// YUV4MPEG2 output: 4:2:0, BT.709 limited range, the tags a player needs.
#ifndef FLOWER_TITLE_Y4M_H
#define FLOWER_TITLE_Y4M_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Image.h"
#include "Options.h"

namespace title {

struct YuvPixel {
    std::uint8_t y, cb, cr;
};

// BT.709 limited range from 8-bit R'G'B'; alpha is ignored.
YuvPixel Bt709Limited(std::uint32_t pel);

class Y4mWriter {
  public:
    Y4mWriter(int width, int height, FrameRate rate, Interlace interlace);

    std::string Header() const;
    // Appends "FRAME\n" and the three planes. Interlaced frames take chroma
    // from each field's own rows, as broadcast 4:2:0 does.
    bool WriteFrame(const Image& frame, std::FILE* file);

  private:
    int width;
    int height;
    FrameRate rate;
    Interlace interlace;
    std::vector<std::uint8_t> planes;
};

} // namespace title

#endif
