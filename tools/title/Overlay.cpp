#include "Overlay.h"

#include <algorithm>

#include "PixelRoutinesLite.h"

namespace title {
namespace {

struct Span {
    int x0, y0, x1, y1;
    bool Empty() const { return x0 >= x1 || y0 >= y1; }
};

Span Clip(const OverlayPatch& p, int width, int height)
{
    return {std::max(0, p.x), std::max(0, p.y), std::min(width, p.x + p.width),
            std::min(height, p.y + p.height)};
}

const char* Bytes(const std::uint32_t* p)
{
    return reinterpret_cast<const char*>(p);
}
char* Bytes(std::uint32_t* p)
{
    return reinterpret_cast<char*>(p);
}

int Red(std::uint32_t p)
{
    return int(p >> 16 & 0xFF);
}
int Green(std::uint32_t p)
{
    return int(p >> 8 & 0xFF);
}
int Blue(std::uint32_t p)
{
    return int(p & 0xFF);
}

} // namespace

void CompositOverlay(std::uint32_t* frame, int width, int height, const OverlayPatch& patch)
{
    const Span s = Clip(patch, width, height);
    if (s.Empty())
        return;
    std::uint32_t* dst = frame + std::ptrdiff_t(s.y0) * width + s.x0;
    const std::uint32_t* top = patch.Row(s.y0 - patch.y) + (s.x0 - patch.x);
    // A transparent top leaves an opaque bottom exactly as it was.
    ::Composit(Bytes(dst), width * 4, Bytes(dst), width * 4, Bytes(top), patch.pitch * 4,
               s.x1 - s.x0, s.y1 - s.y0);
}

void PlanarCompositor::Composit(std::uint8_t* planes, const OverlayPatch& patch)
{
    const Span s = Clip(patch, layout.width, layout.height);
    if (s.Empty())
        return;
    const int firstRow = ChromaRowOf(s.y0, layout.shiftY, layout.fieldChroma);
    const int lastRow = ChromaRowOf(s.y1 - 1, layout.shiftY, layout.fieldChroma);
    // Interlaced chroma rows interleave: the span's chroma rows run from the
    // lower of the two fields' first rows to the higher of their last.
    const int from = layout.fieldChroma ? std::max(0, firstRow - 1) : firstRow;
    const int to = layout.fieldChroma ? std::min(layout.ChromaHeight() - 1, lastRow + 1) : lastRow;
    coveredBlocks.assign(std::size_t(layout.ChromaWidth()) + 1, 0);
    for (int j = from; j <= to; ++j)
        CompositChromaRow(planes, patch, j);
}

// Marks the chroma blocks holding a covered pixel, then works run by run, so
// the cost follows what the titles cover, not the patch's size.
void PlanarCompositor::CompositChromaRow(std::uint8_t* planes, const OverlayPatch& patch, int j)
{
    const Span s = Clip(patch, layout.width, layout.height);
    int rows[2];
    const int n = LumaRowsOf(j, layout.shiftY, layout.fieldChroma, layout.height, rows);
    const int firstBlock = s.x0 >> layout.shiftX, endBlock = ((s.x1 - 1) >> layout.shiftX) + 1;
    bool any = false;
    for (int k = 0; k < n; ++k) {
        if (rows[k] < s.y0 || rows[k] >= s.y1)
            continue;
        const std::uint32_t* top = patch.Row(rows[k] - patch.y) - patch.x;
        for (int x = s.x0; x < s.x1; ++x)
            if (top[x] >> 24) {
                coveredBlocks[std::size_t(x >> layout.shiftX)] = 1;
                any = true;
            }
    }
    if (!any)
        return;
    for (int block = firstBlock; block < endBlock;) {
        if (!coveredBlocks[std::size_t(block)]) {
            ++block;
            continue;
        }
        int runEnd = block;
        while (runEnd < endBlock && coveredBlocks[std::size_t(runEnd)])
            coveredBlocks[std::size_t(runEnd++)] = 0;
        CompositRun(planes, patch, j, rows, n, block, runEnd);
        block = runEnd;
    }
}

void PlanarCompositor::CompositRun(std::uint8_t* planes, const OverlayPatch& patch, int j,
                                   const int* rows, int n, int firstBlock, int endBlock)
{
    const Span s = Clip(patch, layout.width, layout.height);
    const int x0 = firstBlock << layout.shiftX;
    const int x1 = std::min(layout.width, endBlock << layout.shiftX);
    const int cw = layout.ChromaWidth();
    std::uint8_t* cb = planes + std::size_t(layout.width) * layout.height + std::size_t(j) * cw;
    std::uint8_t* cr = cb + std::size_t(cw) * layout.ChromaHeight();
    const int cx0 = std::max(x0, s.x0), cx1 = std::min(x1, s.x1);
    for (int k = 0; k < n; ++k) {
        std::vector<std::uint32_t>& rgb = scratch[k];
        if (rgb.size() < std::size_t(layout.width))
            rgb.resize(std::size_t(layout.width));
        std::uint8_t* luma = planes + std::size_t(rows[k]) * layout.width;
        yuv.DecodeRow(luma, cb, cr, layout.shiftX, x0, x1 - x0, rgb.data());
        if (rows[k] < s.y0 || rows[k] >= s.y1 || cx0 >= cx1)
            continue;
        const std::uint32_t* top = patch.Row(rows[k] - patch.y) - patch.x;
        std::uint32_t* dst = rgb.data() - x0;
        ::Composit(Bytes(dst + cx0), 0, Bytes(dst + cx0), 0, Bytes(top + cx0), 0, cx1 - cx0, 1);
        for (int x = cx0; x < cx1; ++x)
            if (top[x] >> 24)
                luma[x] = yuv.Luma(dst[x]);
    }
    // Every block of the run holds a covered pixel: its chroma is the mean of
    // its pixels as they now are.
    const int blockWidth = 1 << layout.shiftX;
    for (int bx = x0; bx < x1; bx += blockWidth) {
        const int bx1 = std::min(bx + blockWidth, x1);
        int r = 0, g = 0, b = 0, pixels = 0;
        for (int k = 0; k < n; ++k)
            for (int x = bx; x < bx1; ++x, ++pixels) {
                const std::uint32_t p = scratch[k][std::size_t(x - x0)];
                r += Red(p), g += Green(p), b += Blue(p);
            }
        const int log2Count = pixels == 4 ? 2 : pixels == 2 ? 1 : 0;
        const int c = bx >> layout.shiftX;
        yuv.Chroma(r, g, b, log2Count, cb[c], cr[c]);
    }
}

} // namespace title
