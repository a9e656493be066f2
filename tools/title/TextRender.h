// UTF-8 text to glyph images: a single line for a crawl, a block of centred
// lines for a roll. Shaping, bidi order and font fallback happen here, once
// per text; the frames only move the result.
#ifndef FLOWER_TITLE_TEXTRENDER_H
#define FLOWER_TITLE_TEXTRENDER_H

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "FontSet.h"
#include "Image.h"
#include "Shaper.h"

namespace title {

struct TextSettings {
    TextDirection direction = TextDirection::Auto;
    bool wrap = true;
    int tabWidth = 8;                   // tab stops, in spaces of the font
    std::string separator = " \u2022 "; // between the items (lines) of a crawl
};

// The glyphs drawn in the text colour as coverage, and colour glyphs (emoji)
// in their own colours, straight alpha, in `colour`: empty when there are none.
struct TextBitmap {
    Coverage coverage;
    Image colour;
    int baseline = 0; // row of the first line's baseline
    bool HasColour() const { return !colour.pels.empty(); }
};

// The largest text picture, in pixels: its layer takes 256 MB.
constexpr long kMaxTextPixels = 1L << 26;

class Font {
  public:
    // `pathOrPattern` is a font file or a fontconfig pattern ("DejaVu Serif:bold").
    // Throws ToolError naming the font when it cannot be found or read.
    Font(const std::string& pathOrPattern, int pixelSize, const TextSettings& settings = {});
    ~Font();
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;

    int LineHeight() const;
    int Ascender() const;

    // Whether a crawl of this text reads right to left: its items then run
    // right to left too, and it moves to the right.
    bool RightToLeft(const std::string& utf8);

    // One line, `margin` transparent pixels on every side. The text's lines
    // are items joined by the separator, each in its own direction. Throws
    // ToolError for text that is not UTF-8 or too large.
    TextBitmap RenderLine(const std::string& utf8, int margin);

    // Lines centred on the widest, one LineHeight apart (empty lines too).
    // With wrapping on and `wrapWidth` > 0, a line wider than that many
    // pixels breaks at line-break opportunities.
    TextBitmap RenderBlock(const std::vector<std::string>& lines, int margin, int wrapWidth = 0);

  private:
    struct Glyph;
    const Glyph& GlyphImage(const PlacedGlyph& g);
    void Draw(const ShapedLine& line, int originX, int baseline, TextBitmap& out);
    TextBitmap RenderBlockOf(const std::vector<ShapedLine>& lines, int margin);

    TextSettings settings;
    FontSet fonts;
    Shaper shaper;
    std::map<std::tuple<FT_Face, unsigned, int>, std::unique_ptr<Glyph>> glyphs;
};

// Decodes UTF-8, rejecting overlong forms, surrogates and stray bytes.
bool DecodeUtf8(const std::string& text, std::vector<char32_t>& out);

} // namespace title

#endif
