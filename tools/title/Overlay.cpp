#include "Overlay.h"
#include "Image.h"

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
        const std::uint32_t* top = patch.Row(rows[k] - patch.y) + (s.x0 - patch.x);
        MarkCovered(top, s.x0, s.x1);
        any = true;
    }
    if (!any)
        return;
    std::uint8_t anyCovered = 0;
    for (int block = firstBlock; block < endBlock; ++block)
        anyCovered |= coveredBlocks[std::size_t(block)];
    if (!anyCovered)
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

// Flags the blocks of pixels x0 .. x1 - 1 whose `top` (pixel x0 first) is not
// transparent.
void PlanarCompositor::MarkCovered(const std::uint32_t* top, int x0, int x1)
{
    std::uint8_t* flags = coveredBlocks.data();
    if (layout.shiftX == 0) {
        for (int x = x0; x < x1; ++x)
            flags[x] |= std::uint8_t(top[x - x0] > 0xFFFFFFu);
        return;
    }
    int x = x0;
    if (x & 1) {
        flags[x >> 1] |= std::uint8_t(top[0] > 0xFFFFFFu);
        ++x;
    }
    const int pairs = (x1 - x) / 2;
    yuv.Kernels().markCoveredPairs(top + (x - x0), pairs, flags + (x >> 1));
    for (x += 2 * pairs; x < x1; ++x)
        flags[x >> 1] |= std::uint8_t(top[x - x0] > 0xFFFFFFu);
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
        const std::uint32_t* top = patch.Row(rows[k] - patch.y) + (cx0 - patch.x);
        std::uint32_t* dst = rgb.data() + (cx0 - x0);
        ::Composit(Bytes(dst), 0, Bytes(dst), 0, Bytes(top), 0, cx1 - cx0, 1);
        yuv.Kernels().encodeCoveredLuma(yuv.Coefficients(), dst, top, cx1 - cx0, luma + cx0);
    }
    // Every block of the run holds a covered pixel: its chroma is the mean of
    // its pixels as they now are. Whole pairs go to the kernel.
    const int blockWidth = 1 << layout.shiftX;
    int bx = x0;
    if (layout.shiftX == 1) {
        const int pairs = (x1 - x0) / 2;
        yuv.Kernels().encodePairChroma(yuv.Coefficients(), scratch[0].data(), scratch[n - 1].data(),
                                       n, pairs, cb + (x0 >> 1), cr + (x0 >> 1));
        bx += 2 * pairs;
    }
    for (; bx < x1; bx += blockWidth) {
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
