#include "Titler.h"

namespace title {

FrameTitler::FrameTitler(Scene& s, const VideoFormat& f, Matrix matrix)
    : scene(s), format(f), planar(LayoutOf(f), matrix)
{
}

void FrameTitler::Title(std::uint8_t* frame, double seconds, double frameSeconds)
{
    const std::vector<OverlayPatch>& patches =
        format.interlace == Interlace::None
            ? scene.RenderTitles(seconds)
            : scene.RenderTitles(seconds, seconds + frameSeconds / 2,
                                 format.interlace == Interlace::TopFieldFirst);
    for (const OverlayPatch& patch : patches) {
        if (format.bgra)
            CompositOverlay(reinterpret_cast<std::uint32_t*>(frame), format.width, format.height,
                            patch);
        else
            planar.Composit(frame, patch);
    }
}

} // namespace title
