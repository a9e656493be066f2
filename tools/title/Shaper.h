// Paragraphs of text to positioned glyphs: bidirectional order (FriBidi),
// shaping per script, direction and font run (HarfBuzz, both through libraqm),
// tab stops, and line breaking at UAX #14 opportunities (libunibreak).
#ifndef FLOWER_TITLE_SHAPER_H
#define FLOWER_TITLE_SHAPER_H

#include <string>
#include <vector>

#include "FontSet.h"
#include "TextDirection.h"

namespace title {

struct PlacedGlyph {
    const SizedFace* face;
    unsigned index;      // glyph index in the face
    long x;              // 26.6 pixels from the line's left edge
    long y;              // 26.6 pixels above the baseline
    std::size_t cluster; // first character of the glyph's cluster in the text shaped
    long advance;        // 26.6
};

// One line in visual order, left to right.
struct ShapedLine {
    std::vector<PlacedGlyph> glyphs;
    long width = 0; // 26.6 advance
};

class Shaper {
  public:
    // Tab stops fall every `tabWidth` advances of the primary font's space.
    Shaper(FontSet& fonts, TextDirection direction, int tabWidth);

    // The paragraph's base direction: the one given, or for Auto the first
    // strong character's (left to right when there is none).
    bool RightToLeft(const std::u32string& paragraph) const;

    // A paragraph (no line breaks in it) as one line.
    ShapedLine Line(const std::u32string& paragraph);

    // The paragraph in lines no wider than `maxWidth` (26.6) where break
    // opportunities allow; a word wider than that keeps a line of its own.
    std::vector<ShapedLine> Wrapped(const std::u32string& paragraph, long maxWidth);

  private:
    ShapedLine Line(const std::u32string& paragraph, bool rightToLeft);
    ShapedLine Segment(const std::u32string& text, bool rightToLeft);
    long NextTabStop(long pen) const;

    FontSet& fonts;
    TextDirection direction;
    long tabStep; // 26.6
};

} // namespace title

#endif
