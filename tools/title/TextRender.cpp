// Glyph rasterisation. FreeType's anti-aliased coverage becomes alpha; glyphs
// that overlap keep the larger coverage, so kerned pairs never darken.
#include "TextRender.h"

#include <algorithm>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include "ToolError.h"

namespace title {

struct Font::Face {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    ~Face()
    {
        if (face)
            FT_Done_Face(face);
        if (library)
            FT_Done_FreeType(library);
    }
};

namespace {

struct PlacedGlyph {
    FT_UInt index;
    long penX; // 26.6 fixed point
};

struct LineLayout {
    std::vector<PlacedGlyph> glyphs;
    int left = 0;  // ink extent in whole pixels relative to the pen origin
    int right = 0; // exclusive
};

constexpr int kMaxTextPixels = 1 << 26; // a 256 MB layer once coloured

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

Font::Font(const std::string& path, int pixelSize) : face(std::make_unique<Face>())
{
    if (FT_Init_FreeType(&face->library) != 0)
        throw ToolError("cannot start FreeType");
    if (FT_New_Face(face->library, path.c_str(), 0, &face->face) != 0)
        throw ToolError("cannot read font '" + path + "'");
    if (FT_Set_Pixel_Sizes(face->face, 0, FT_UInt(pixelSize)) != 0)
        throw ToolError("font '" + path + "' cannot be scaled to " + std::to_string(pixelSize) +
                        " pixels");
}

Font::~Font() = default;

int Font::LineHeight() const
{
    return int((face->face->size->metrics.height + 63) >> 6);
}

namespace {

int Ascender(FT_Face f)
{
    return int((f->size->metrics.ascender + 63) >> 6);
}

LineLayout LayOut(FT_Face f, const std::string& utf8)
{
    std::vector<char32_t> codepoints;
    if (!DecodeUtf8(utf8, codepoints))
        throw ToolError("text is not valid UTF-8");
    LineLayout layout;
    long pen = 0;
    FT_UInt previous = 0;
    bool inked = false;
    for (char32_t cp : codepoints) {
        const FT_UInt index = FT_Get_Char_Index(f, FT_ULong(cp));
        if (previous && index && FT_HAS_KERNING(f)) {
            FT_Vector kern;
            if (FT_Get_Kerning(f, previous, index, FT_KERNING_DEFAULT, &kern) == 0)
                pen += kern.x;
        }
        if (FT_Load_Glyph(f, index, FT_LOAD_DEFAULT) != 0)
            throw ToolError("font cannot load the glyph for U+" + std::to_string(unsigned(cp)));
        FT_BBox box;
        FT_Outline_Get_CBox(&f->glyph->outline, &box);
        if (f->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
            box = FT_BBox{0, 0, f->glyph->advance.x, 0};
        const int left = int((pen + box.xMin) >> 6) - 1;
        const int right = int((pen + box.xMax + 63) >> 6) + 1;
        layout.left = inked ? std::min(layout.left, left) : left;
        layout.right = inked ? std::max(layout.right, right) : right;
        inked = true;
        layout.glyphs.push_back({index, pen});
        pen += f->glyph->advance.x;
        previous = index;
        if (pen > (long(kMaxTextPixels) << 6))
            throw ToolError("text is too long to render");
    }
    layout.right = std::max(layout.right, int((pen + 63) >> 6));
    return layout;
}

// Draws at (originX + pen, baseline); pixels outside `out` are dropped.
void Draw(FT_Face f, const LineLayout& layout, int originX, int baseline, Coverage& out)
{
    for (const PlacedGlyph& g : layout.glyphs) {
        if (FT_Load_Glyph(f, g.index, FT_LOAD_DEFAULT) != 0)
            continue;
        // Sub-pixel pen positions keep the spacing the font designed.
        FT_Vector shift{g.penX & 63, 0};
        if (f->glyph->format == FT_GLYPH_FORMAT_OUTLINE)
            FT_Outline_Translate(&f->glyph->outline, shift.x, 0);
        if (FT_Render_Glyph(f->glyph, FT_RENDER_MODE_NORMAL) != 0)
            continue;
        const FT_Bitmap& bm = f->glyph->bitmap;
        if (bm.pixel_mode != FT_PIXEL_MODE_GRAY)
            continue;
        const int x0 = originX + int(g.penX >> 6) + f->glyph->bitmap_left;
        const int y0 = baseline - f->glyph->bitmap_top;
        for (unsigned r = 0; r < bm.rows; ++r) {
            const int y = y0 + int(r);
            if (y < 0 || y >= out.height)
                continue;
            const unsigned char* src = bm.buffer + std::ptrdiff_t(r) * bm.pitch;
            std::uint8_t* dst = out.Row(y);
            for (unsigned c = 0; c < bm.width; ++c) {
                const int x = x0 + int(c);
                if (x >= 0 && x < out.width)
                    dst[x] = std::max(dst[x], src[c]);
            }
        }
    }
}

Coverage Blank(long width, long height)
{
    if (width < 1 || height < 1 || width * height > kMaxTextPixels)
        throw ToolError("text is too large to render");
    Coverage c;
    c.width = int(width);
    c.height = int(height);
    c.samples.assign(std::size_t(width) * std::size_t(height), 0);
    return c;
}

} // namespace

Coverage Font::RenderLine(const std::string& utf8, int margin) const
{
    FT_Face f = face->face;
    const LineLayout layout = LayOut(f, utf8);
    Coverage out =
        Blank(long(layout.right) - layout.left + 2L * margin, long(LineHeight()) + 2L * margin);
    Draw(f, layout, margin - layout.left, margin + Ascender(f), out);
    return out;
}

Coverage Font::RenderBlock(const std::vector<std::string>& lines, int margin) const
{
    FT_Face f = face->face;
    std::vector<LineLayout> layouts;
    int widest = 1;
    for (const std::string& line : lines) {
        layouts.push_back(LayOut(f, line));
        widest = std::max(widest, layouts.back().right - layouts.back().left);
    }
    const int lineHeight = LineHeight();
    Coverage out =
        Blank(long(widest) + 2L * margin, long(lineHeight) * long(lines.size()) + 2L * margin);
    for (std::size_t i = 0; i < layouts.size(); ++i) {
        const LineLayout& l = layouts[i];
        const int inkWidth = l.right - l.left;
        const int originX = margin + (widest - inkWidth) / 2 - l.left;
        const int baseline = margin + int(i) * lineHeight + Ascender(f);
        Draw(f, l, originX, baseline, out);
    }
    return out;
}

} // namespace title
