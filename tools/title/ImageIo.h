// PNG pictures in and out, through libpng.
#ifndef FLOWER_TITLE_IMAGEIO_H
#define FLOWER_TITLE_IMAGEIO_H

#include <string>
#include <vector>

#include "Image.h"

namespace title {

// Any PNG (palette, grey, 16-bit, with or without alpha) as straight-alpha
// 0xAARRGGBB. Throws ToolError naming the file when it cannot be read.
Image ReadPng(const std::string& path);

// 8-bit RGBA into `bytes`. Returns false when libpng fails.
bool EncodePng(const Image& image, std::vector<unsigned char>& bytes);

} // namespace title

#endif
