// Compositing rendered titles onto video frames. A title arrives as patches:
// rectangles of straight-alpha pixels, transparent wherever nothing is drawn.
// Only pixels a patch covers (alpha above 0) change; every other sample of the
// frame keeps its bytes.
#ifndef FLOWER_TITLE_OVERLAY_H
#define FLOWER_TITLE_OVERLAY_H

#include <cstdint>
#include <vector>

#include "Yuv.h"

namespace title {

struct OverlayPatch {
    int x = 0, y = 0, width = 0, height = 0; // in frame pixels; may reach outside
    const std::uint32_t* pels = nullptr;     // row 0 of the patch
    int pitch = 0;                           // in pixels
    const std::uint32_t* Row(int py) const { return pels + std::ptrdiff_t(py) * pitch; }
    std::uint32_t At(int px, int py) const { return Row(py)[px]; }
};

// BGRA frames: the patch over the frame with the library's Composit.
void CompositOverlay(std::uint32_t* frame, int width, int height, const OverlayPatch& patch);

// Planar Y'CbCr frames. A chroma block with a covered pixel is decoded to
// R'G'B' (each pixel with the block's chroma), the patch is composited over
// it, and the covered pixels' luma and the block's chroma (the mean of its
// pixels) are encoded again; uncovered luma and untouched blocks stay as they
// are.
class PlanarCompositor {
  public:
    PlanarCompositor(const PlanarLayout& frameLayout, Matrix matrix)
        : layout(frameLayout), yuv(matrix)
    {
    }
    void Composit(std::uint8_t* planes, const OverlayPatch& patch);

  private:
    void CompositChromaRow(std::uint8_t* planes, const OverlayPatch& patch, int chromaRow);
    void MarkCovered(const std::uint32_t* top, int x0, int x1);
    void CompositRun(std::uint8_t* planes, const OverlayPatch& patch, int chromaRow,
                     const int* rows, int rowCount, int firstBlock, int endBlock);

    PlanarLayout layout;
    YuvConverter yuv;
    std::vector<std::uint8_t> coveredBlocks; // per chroma column of the current row
    std::vector<std::uint32_t> scratch[2];
};

} // namespace title

#endif
