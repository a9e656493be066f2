// Glyph rasterisation. FreeType's anti-aliased coverage becomes alpha; glyphs
// that overlap keep the larger coverage, so kerned pairs never darken. Colour
// bitmaps (CBDT emoji) are scaled from their strike with the library's scaler
// and composited with its composite routine into a colour plane of their own.
#include "TextRender.h"

#include <algorithm>
#include <cmath>
#include FT_BITMAP_H
#include FT_OUTLINE_H

#include "Layers.h"
#include "PixelRoutinesLite.h"
#include "ToolError.h"
#include "florist.h"
#include "seed.h"

namespace title {

// A rasterised glyph: top-left at (pen + left, baseline - top).
struct Font::Glyph {
    int left = 0;
    int top = 0;
    int width = 0;
    int rows = 0;
    std::vector<std::uint8_t> coverage; // width x rows, or empty for a colour glyph
    std::vector<Pel> pels;              // width x rows straight alpha, colour glyphs only
};

namespace {

constexpr std::size_t kGlyphCacheLimit = 20000;

// Horizontal ink and vertical extent of one shaped line, in whole pixels.
struct LineInk {
    long left = 0;  // relative to the line's pen origin
    long right = 0; // exclusive
    int above = 0;  // rows above the baseline
    int below = 0;  // rows from the baseline down
};

std::vector<std::u32string> SplitLines(const std::u32string& text)
{
    std::vector<std::u32string> lines(1);
    for (char32_t c : text) {
        if (c == U'\n')
            lines.emplace_back();
        else if (c != U'\r')
            lines.back().push_back(c);
    }
    return lines;
}

std::u32string Decode(const std::string& utf8)
{
    std::vector<char32_t> codepoints;
    if (!DecodeUtf8(utf8, codepoints))
        throw ToolError("text is not valid UTF-8");
    return std::u32string(codepoints.begin(), codepoints.end());
}

Pel Unpremultiplied(std::uint32_t bgra)
{
    const std::uint32_t a = bgra >> 24;
    if (a == 0)
        return 0;
    auto channel = [a](std::uint32_t c) { return std::min(255u, (c * 255 + a / 2) / a); };
    return a << 24 | channel(bgra >> 16 & 255) << 16 | channel(bgra >> 8 & 255) << 8 |
           channel(bgra & 255);
}

// The strike's pixels at the text size, through the library's alpha-weighted scaler.
std::vector<Pel> Scaled(std::vector<Pel>& pels, int width, int rows, int toWidth, int toRows)
{
    Layer source(CreateCompatibleLayer(reinterpret_cast<u8*>(pels.data()), width, rows, width * 4,
                                       nullptr, nullptr));
    Layer target = NewLayer(toWidth, toRows, "colour glyph");
    if (!source || !ResizeLayer(target.get(), source.get(), false))
        throw ToolError("cannot scale a colour glyph");
    Pixels px(target.get());
    std::vector<Pel> out(std::size_t(toWidth) * std::size_t(toRows));
    for (int y = 0; y < toRows; ++y)
        std::copy_n(px.Row(y), toWidth, out.begin() + std::ptrdiff_t(y) * toWidth);
    return out;
}

void ReadCoverage(FT_GlyphSlot slot, std::vector<std::uint8_t>& out)
{
    FT_Bitmap gray;
    FT_Bitmap_Init(&gray);
    const FT_Bitmap* bm = &slot->bitmap;
    int levels = 256;
    if (bm->pixel_mode != FT_PIXEL_MODE_GRAY) {
        if (FT_Bitmap_Convert(slot->library, bm, &gray, 1) != 0) {
            FT_Bitmap_Done(slot->library, &gray);
            return;
        }
        bm = &gray;
        levels = std::max(2, int(gray.num_grays));
    }
    out.resize(std::size_t(bm->width) * bm->rows);
    for (unsigned r = 0; r < bm->rows; ++r) {
        const unsigned char* src = bm->buffer + std::ptrdiff_t(r) * bm->pitch;
        for (unsigned c = 0; c < bm->width; ++c)
            out[std::size_t(r) * bm->width + c] =
                std::uint8_t(std::min(255, src[c] * 255 / (levels - 1)));
    }
    FT_Bitmap_Done(slot->library, &gray);
}

} // namespace

bool DecodeUtf8(const std::string& text, std::vector<char32_t>& out)
{
    out.clear();
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    for (std::size_t i = 0; i < n;) {
        const unsigned c = s[i];
        int extra = c < 0x80                ? 0
                    : c >= 0xC2 && c < 0xE0 ? 1
                    : c >= 0xE0 && c < 0xF0 ? 2
                    : c >= 0xF0 && c < 0xF5 ? 3
                                            : -1;
        if (extra < 0 || n - i <= std::size_t(extra))
            return false;
        char32_t cp = extra == 0 ? c : c & (0x3Fu >> extra);
        for (int k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xC0) != 0x80)
                return false;
            cp = cp << 6 | (s[i + k] & 0x3Fu);
        }
        const char32_t minimum[] = {0, 0x80, 0x800, 0x10000};
        if (cp < minimum[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        out.push_back(cp);
        i += std::size_t(extra) + 1;
    }
    return true;
}

Font::Font(const std::string& pathOrPattern, int pixelSize, const TextSettings& textSettings)
    : settings(textSettings), fonts(pathOrPattern, pixelSize),
      shaper(fonts, textSettings.direction, textSettings.tabWidth)
{
    // Colour glyphs go through the library's scaler and composites.
    if (!FlowerInit())
        throw ToolError("libflower failed to initialise");
}

Font::~Font() = default;

int Font::LineHeight() const
{
    return fonts.LineHeight();
}

int Font::Ascender() const
{
    return fonts.Ascender();
}

// Outline glyphs are rasterised at their sub-pixel pen position, which keeps
// the spacing the font designed; bitmaps sit on whole pixels.
const Font::Glyph& Font::GlyphImage(const PlacedGlyph& g)
{
    const SizedFace& f = *g.face;
    const bool outline = FT_IS_SCALABLE(f.face);
    const auto key = std::make_tuple(f.face, g.index, outline ? int(g.x & 63) : 0);
    if (auto it = glyphs.find(key); it != glyphs.end())
        return *it->second;
    if (glyphs.size() >= kGlyphCacheLimit)
        glyphs.clear();
    auto glyph = std::make_unique<Glyph>();
    FT_GlyphSlot slot = f.face->glyph;
    const bool loaded =
        FT_Load_Glyph(f.face, g.index, f.colour ? FT_LOAD_COLOR : FT_LOAD_DEFAULT) == 0;
    if (loaded && slot->format == FT_GLYPH_FORMAT_OUTLINE)
        FT_Outline_Translate(&slot->outline, g.x & 63, 0);
    if (loaded && (slot->format == FT_GLYPH_FORMAT_BITMAP ||
                   FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) == 0)) {
        const FT_Bitmap& bm = slot->bitmap;
        glyph->left = slot->bitmap_left;
        glyph->top = slot->bitmap_top;
        glyph->width = int(bm.width);
        glyph->rows = int(bm.rows);
        if (bm.pixel_mode == FT_PIXEL_MODE_BGRA) {
            glyph->pels.resize(std::size_t(bm.width) * bm.rows);
            for (unsigned r = 0; r < bm.rows; ++r) {
                const auto* src = reinterpret_cast<const std::uint32_t*>(
                    bm.buffer + std::ptrdiff_t(r) * bm.pitch);
                for (unsigned c = 0; c < bm.width; ++c)
                    glyph->pels[std::size_t(r) * bm.width + c] = Unpremultiplied(src[c]);
            }
            if (f.scale != 1 && !glyph->pels.empty()) {
                const int w = std::max(1, int(std::lround(glyph->width * f.scale)));
                const int h = std::max(1, int(std::lround(glyph->rows * f.scale)));
                glyph->pels = Scaled(glyph->pels, glyph->width, glyph->rows, w, h);
                glyph->left = int(std::lround(glyph->left * f.scale));
                glyph->top = int(std::lround(glyph->top * f.scale));
                glyph->width = w;
                glyph->rows = h;
            }
        } else {
            ReadCoverage(slot, glyph->coverage);
            if (glyph->coverage.empty())
                glyph->width = glyph->rows = 0;
        }
    }
    return *glyphs.emplace(key, std::move(glyph)).first->second;
}

namespace {

int RowsUp(long y)
{
    return int((y + 32) >> 6);
}

TextBitmap Blank(long width, long height, bool colour)
{
    if (width < 1 || height < 1 || width > kMaxTextPixels || height > kMaxTextPixels ||
        width * height > kMaxTextPixels)
        throw ToolError("the text would be " + std::to_string(width) + "x" +
                        std::to_string(height) + " pixels, more than the " +
                        std::to_string(kMaxTextPixels) +
                        " a title may have: shorten it or lower --font-size");
    TextBitmap b;
    b.coverage.width = int(width);
    b.coverage.height = int(height);
    b.coverage.samples.assign(std::size_t(width) * std::size_t(height), 0);
    if (colour) {
        b.colour.width = int(width);
        b.colour.height = int(height);
        b.colour.pels.assign(std::size_t(width) * std::size_t(height), 0);
    }
    return b;
}

} // namespace

void Font::Draw(const ShapedLine& line, int originX, int baseline, TextBitmap& out)
{
    Coverage& cov = out.coverage;
    for (const PlacedGlyph& g : line.glyphs) {
        const Glyph& image = GlyphImage(g);
        const int x0 = originX + int(g.x >> 6) + image.left;
        const int y0 = baseline - RowsUp(g.y) - image.top;
        // Clipped to the picture: the rows and columns of the glyph that land in it.
        const int c0 = std::max(0, -x0), c1 = std::min(image.width, cov.width - x0);
        const int r0 = std::max(0, -y0), r1 = std::min(image.rows, cov.height - y0);
        if (c0 >= c1 || r0 >= r1)
            continue;
        if (!image.pels.empty()) {
            if (out.HasColour()) {
                char* dst = reinterpret_cast<char*>(out.colour.Row(y0 + r0) + x0 + c0);
                const char* top =
                    reinterpret_cast<const char*>(image.pels.data() + r0 * image.width + c0);
                Composit(dst, out.colour.width * 4, dst, out.colour.width * 4, top, image.width * 4,
                         c1 - c0, r1 - r0);
            }
            continue;
        }
        for (int r = r0; r < r1; ++r) {
            const std::uint8_t* src = image.coverage.data() + std::ptrdiff_t(r) * image.width;
            std::uint8_t* dst = cov.Row(y0 + r) + x0;
            for (int c = c0; c < c1; ++c)
                dst[c] = std::max(dst[c], src[c]);
        }
    }
}

bool Font::RightToLeft(const std::string& utf8)
{
    for (const std::u32string& item : SplitLines(Decode(utf8)))
        if (!item.empty())
            return shaper.RightToLeft(item);
    return settings.direction == TextDirection::RightToLeft;
}

TextBitmap Font::RenderLine(const std::string& utf8, int margin)
{
    std::vector<ShapedLine> pieces;
    for (const std::u32string& item : SplitLines(Decode(utf8))) {
        if (item.empty())
            continue;
        if (!pieces.empty())
            pieces.push_back(shaper.Line(Decode(settings.separator)));
        pieces.push_back(shaper.Line(item));
    }
    if (RightToLeft(utf8))
        std::reverse(pieces.begin(), pieces.end());
    ShapedLine line;
    for (ShapedLine& piece : pieces) {
        for (PlacedGlyph g : piece.glyphs) {
            g.x += line.width;
            line.glyphs.push_back(g);
        }
        line.width += piece.width;
    }
    return RenderBlockOf({line}, margin);
}

TextBitmap Font::RenderBlock(const std::vector<std::string>& lines, int margin, int wrapWidth)
{
    std::vector<ShapedLine> shaped;
    for (const std::string& text : lines) {
        for (const std::u32string& paragraph : SplitLines(Decode(text))) {
            if (settings.wrap && wrapWidth > 0) {
                for (ShapedLine& l : shaper.Wrapped(paragraph, long(wrapWidth) << 6))
                    shaped.push_back(std::move(l));
            } else {
                shaped.push_back(shaper.Line(paragraph));
            }
        }
    }
    return RenderBlockOf(shaped, margin);
}

// Lines one LineHeight apart, centred on the widest; the picture grows past
// the primary font's ascender and descender where other fonts' ink reaches.
TextBitmap Font::RenderBlockOf(const std::vector<ShapedLine>& lines, int margin)
{
    std::vector<LineInk> inks;
    bool colour = false;
    long widest = 1;
    for (const ShapedLine& line : lines) {
        LineInk ink;
        bool inked = false;
        for (const PlacedGlyph& g : line.glyphs) {
            const Glyph& image = GlyphImage(g);
            if (image.width == 0 || image.rows == 0)
                continue;
            colour = colour || !image.pels.empty();
            const long left = (g.x >> 6) + image.left - 1;
            const long right = (g.x >> 6) + image.left + image.width + 1;
            ink.left = inked ? std::min(ink.left, left) : left;
            ink.right = inked ? std::max(ink.right, right) : right;
            ink.above = std::max(ink.above, image.top + RowsUp(g.y));
            ink.below = std::max(ink.below, image.rows - image.top - RowsUp(g.y));
            inked = true;
        }
        ink.right = std::max(ink.right, (line.width + 63) >> 6);
        widest = std::max(widest, ink.right - ink.left);
        inks.push_back(ink);
    }
    const int lineHeight = LineHeight(), ascender = Ascender();
    const int extraTop = inks.empty() ? 0 : std::max(0, inks.front().above - ascender);
    const int extraBottom =
        inks.empty() ? 0 : std::max(0, inks.back().below - (lineHeight - ascender));
    const long height =
        long(lineHeight) * long(std::max<std::size_t>(1, lines.size())) + extraTop + extraBottom;
    TextBitmap out = Blank(widest + 2L * margin, height + 2L * margin, colour);
    out.baseline = margin + extraTop + ascender;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const long inkWidth = inks[i].right - inks[i].left;
        const int originX = int(margin + (widest - inkWidth) / 2 - inks[i].left);
        Draw(lines[i], originX, out.baseline + int(i) * lineHeight, out);
    }
    return out;
}

} // namespace title
