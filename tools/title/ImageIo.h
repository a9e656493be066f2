// PNG pictures in and out, through libpng.
#ifndef FLOWER_TITLE_IMAGEIO_H
#define FLOWER_TITLE_IMAGEIO_H

#include <cstdio>
#include <string>

#include "Image.h"

namespace title {

// Any PNG (palette, grey, 16-bit, with or without alpha) as straight-alpha
// 0xAARRGGBB. Throws ToolError naming the file when it cannot be read.
Image ReadPng(const std::string& path);

// 8-bit RGBA. Returns false when libpng or the stream fails.
bool WritePng(const Image& image, std::FILE* file);

} // namespace title

#endif
