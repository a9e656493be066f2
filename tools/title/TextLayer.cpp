// The outline is the glyph shape grown one pixel per step by taking, pel by
// pel, the larger alpha of shifted copies: four neighbours and eight
// neighbours alternately, an octagon that stays close to a disc.
#include "TextLayer.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "PixelRoutinesLite.h"
#include "channel.h"
#include "florist.h"
#include "stem.h"

namespace title {
namespace {

struct ChannelDeleter {
    void operator()(Channel* c) const { DeleteChannel(c); }
};
using ChannelPtr = std::unique_ptr<Channel, ChannelDeleter>;

std::uint32_t Scale255(std::uint32_t a, std::uint32_t b)
{
    return (a * b + 127) / 255;
}

// colour's RGB everywhere, alpha = coverage scaled by colour's alpha.
Layer ShapeLayer(int width, int height, const std::uint8_t* samples, int samplePitch,
                 std::uint32_t colour)
{
    Layer layer = NewLayer(width, height, "text");
    Pixels px(layer.get());
    const std::uint32_t rgb = colour & 0x00FFFFFFu, alpha = colour >> 24;
    for (int y = 0; y < height; ++y) {
        Pel* row = px.Row(y);
        const std::uint8_t* s = samples + std::ptrdiff_t(y) * samplePitch;
        for (int x = 0; x < width; ++x)
            row[x] = rgb | Scale255(s[x], alpha) << 24;
    }
    return layer;
}

// The same shape in another colour, read back through the library's alpha channel.
Layer RecolouredShape(Marrow::StubLayer* source, std::uint32_t colour)
{
    ChannelPtr alpha(CreateSizedChannel(source));
    if (!alpha || !alpha->data || !GetAlphaChannel(alpha.get(), source))
        throw ToolError("out of memory for the text outline");
    return ShapeLayer(alpha->width, alpha->height, alpha->data, alpha->rowBytes, colour);
}

Layer Shifted(Marrow::StubLayer* source, int dx, int dy)
{
    Layer copy(DuplicateLayer(source));
    if (!copy)
        throw ToolError("out of memory for the text outline");
    if (dx != 0)
        HorizontalShiftLayer(copy.get(), dx, false);
    if (dy != 0)
        VerticalShiftLayer(copy.get(), dy, false);
    return copy;
}

void MaxInto(Marrow::StubLayer* accumulator, Marrow::StubLayer* other)
{
    Pixels a(accumulator), b(other);
    const MaxScanlineRoutine max = GetMaxScanline();
    for (int y = 0; y < a.Height(); ++y)
        max(a.Row(y), a.Row(y), b.Row(y), a.Width());
}

void Grow(Layer& shape, bool diagonals)
{
    static const int kOffsets[8][2] = {{1, 0}, {-1, 0}, {0, 1},  {0, -1},
                                       {1, 1}, {-1, 1}, {1, -1}, {-1, -1}};
    Layer grown(DuplicateLayer(shape.get()));
    if (!grown)
        throw ToolError("out of memory for the text outline");
    for (int i = 0; i < (diagonals ? 8 : 4); ++i)
        MaxInto(grown.get(), Shifted(shape.get(), kOffsets[i][0], kOffsets[i][1]).get());
    shape = std::move(grown);
}

// dst = top over bottom, written into bottom.
void CompositOver(Marrow::StubLayer* bottom, Marrow::StubLayer* top)
{
    Pixels b(bottom), t(top);
    Composit(b.At(0, 0), b.Pitch(), b.At(0, 0), b.Pitch(), t.At(0, 0), t.Pitch(), b.Width(),
             b.Height());
}

// The glyphs' whole shape: coverage and colour glyphs' alpha, the larger of the two.
Coverage Silhouette(const TextBitmap& text)
{
    Coverage all = text.coverage;
    for (std::size_t i = 0; i < all.samples.size(); ++i)
        all.samples[i] = std::max(all.samples[i], std::uint8_t(text.colour.pels[i] >> 24));
    return all;
}

// The colour glyphs over the coloured coverage, faded to the text colour's alpha.
void AddColourGlyphs(Marrow::StubLayer* textLayer, const TextBitmap& text, std::uint32_t colour)
{
    Image pels = text.colour;
    Layer glyphs(CreateCompatibleLayer(reinterpret_cast<u8*>(pels.pels.data()), pels.width,
                                       pels.height, pels.width * 4, nullptr, nullptr));
    if (!glyphs)
        throw ToolError("out of memory for the colour glyphs");
    Pixels g(glyphs.get());
    if ((colour >> 24) != 0xFF)
        Fade(g.At(0, 0), g.Pitch(), g.At(0, 0), g.Pitch(), g.Width(), g.Height(),
             int((colour >> 24) * 256 / 255));
    Pixels t(textLayer);
    Composit(t.At(0, 0), t.Pitch(), t.At(0, 0), t.Pitch(), g.At(0, 0), g.Pitch(), t.Width(),
             t.Height());
}

} // namespace

int StyleMargin(const TextStyle& style)
{
    return 2 + style.outline + std::max(std::abs(style.shadowX), std::abs(style.shadowY));
}

Layer MakeTextLayer(const TextBitmap& bitmap, const TextStyle& style)
{
    const Coverage& coverage = bitmap.coverage;
    Layer text = ShapeLayer(coverage.width, coverage.height, coverage.samples.data(),
                            coverage.width, style.colour);
    if (bitmap.HasColour())
        AddColourGlyphs(text.get(), bitmap, style.colour);
    if (style.outline > 0) {
        const Coverage shape = bitmap.HasColour() ? Silhouette(bitmap) : Coverage();
        const Coverage& outer = bitmap.HasColour() ? shape : coverage;
        Layer outline = ShapeLayer(outer.width, outer.height, outer.samples.data(), outer.width,
                                   style.outlineColour | 0xFF000000u);
        for (int step = 0; step < style.outline; ++step)
            Grow(outline, step % 2 == 1);
        // The outline's own alpha applies once, after growing, so overlaps
        // of shifted copies never build it up.
        if ((style.outlineColour >> 24) != 0xFF) {
            Pixels o(outline.get());
            Fade(o.At(0, 0), o.Pitch(), o.At(0, 0), o.Pitch(), o.Width(), o.Height(),
                 int((style.outlineColour >> 24) * 256 / 255));
        }
        CompositOver(outline.get(), text.get());
        text = std::move(outline);
    }
    if (style.shadowX != 0 || style.shadowY != 0) {
        Layer shadow = RecolouredShape(text.get(), style.shadowColour);
        if (style.shadowX != 0)
            HorizontalShiftLayer(shadow.get(), style.shadowX, false);
        if (style.shadowY != 0)
            VerticalShiftLayer(shadow.get(), style.shadowY, false);
        CompositOver(shadow.get(), text.get());
        text = std::move(shadow);
    }
    return text;
}

} // namespace title
