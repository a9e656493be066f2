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

bool PlanarCompositor::Covered(const OverlayPatch& p, int row, int x0, int x1) const
{
    if (row < p.y || row >= p.y + p.height)
        return false;
    for (int x = std::max(x0, p.x); x < std::min(x1, p.x + p.width); ++x)
        if (p.At(x - p.x, row - p.y) >> 24)
            return true;
    return false;
}

void PlanarCompositor::Composit(std::uint8_t* planes, const OverlayPatch& patch)
{
    const Span s = Clip(patch, layout.width, layout.height);
    if (s.Empty())
        return;
    // Whole chroma blocks: the span widened to block edges.
    const int blockX0 = (s.x0 >> layout.shiftX) << layout.shiftX;
    const int blockX1 = std::min(layout.width, (((s.x1 - 1) >> layout.shiftX) + 1) << layout.shiftX);
    const int firstRow = ChromaRowOf(s.y0, layout.shiftY, layout.fieldChroma);
    const int lastRow = ChromaRowOf(s.y1 - 1, layout.shiftY, layout.fieldChroma);
    // Interlaced chroma rows interleave: the rows of the span's chroma rows run
    // from the lower of the two fields' first rows to the higher of their last.
    const int from = layout.fieldChroma ? std::max(0, firstRow - 1) : firstRow;
    const int to = layout.fieldChroma ? std::min(layout.ChromaHeight() - 1, lastRow + 1) : lastRow;
    for (int j = from; j <= to; ++j)
        CompositChromaRow(planes, patch, j, blockX0, blockX1);
}

void PlanarCompositor::CompositChromaRow(std::uint8_t* planes, const OverlayPatch& patch, int j,
                                         int x0, int x1)
{
    int rows[2];
    const int n = LumaRowsOf(j, layout.shiftY, layout.fieldChroma, layout.height, rows);
    bool any = false;
    for (int k = 0; k < n; ++k)
        any = any || Covered(patch, rows[k], x0, x1);
    if (!any)
        return;
    const int cw = layout.ChromaWidth(), count = x1 - x0;
    std::uint8_t* luma = planes;
    std::uint8_t* cb = planes + std::size_t(layout.width) * layout.height + std::size_t(j) * cw;
    std::uint8_t* cr = cb + std::size_t(cw) * layout.ChromaHeight();
    const Span s = Clip(patch, layout.width, layout.height);
    for (int k = 0; k < n; ++k) {
        std::vector<std::uint32_t>& rgb = scratch[k];
        rgb.resize(std::size_t(count));
        const std::uint8_t* y = luma + std::size_t(rows[k]) * layout.width;
        for (int x = x0; x < x1; ++x) {
            const int c = x >> layout.shiftX;
            rgb[std::size_t(x - x0)] = yuv.ToPel(y[x], cb[c], cr[c]);
        }
        if (rows[k] < s.y0 || rows[k] >= s.y1)
            continue;
        const std::uint32_t* top = patch.Row(rows[k] - patch.y) + (s.x0 - patch.x);
        char* dst = Bytes(rgb.data() + (s.x0 - x0));
        ::Composit(dst, 0, dst, 0, Bytes(top), 0, s.x1 - s.x0, 1);
        std::uint8_t* out = luma + std::size_t(rows[k]) * layout.width;
        for (int x = s.x0; x < s.x1; ++x)
            if (top[x - s.x0] >> 24)
                out[x] = yuv.Luma(rgb[std::size_t(x - x0)]);
    }
    const int blockWidth = 1 << layout.shiftX;
    for (int bx = x0; bx < x1; bx += blockWidth) {
        const int bx1 = std::min(bx + blockWidth, x1);
        bool covered = false;
        for (int k = 0; k < n && !covered; ++k)
            covered = Covered(patch, rows[k], bx, bx1);
        if (!covered)
            continue;
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
