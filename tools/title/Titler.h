// One frame of video in, the same frame with titles out: the scene's patches
// composited over BGRA or planar Y'CbCr frames in place.
#ifndef FLOWER_TITLE_TITLER_H
#define FLOWER_TITLE_TITLER_H

#include <cstdint>

#include "Overlay.h"
#include "Scene.h"
#include "Video.h"

namespace title {

class FrameTitler {
  public:
    FrameTitler(Scene& scene, const VideoFormat& format, Matrix matrix);

    // Titles as they stand at `seconds` over `frame` (format.FrameBytes());
    // interlaced frames take each field's titles half a frame apart.
    void Title(std::uint8_t* frame, double seconds, double frameSeconds);

  private:
    Scene& scene;
    VideoFormat format;
    PlanarCompositor planar;
};

} // namespace title

#endif
