// Styled text layers: glyph coverage coloured, outlined and shadowed with the
// library's own channel, shift and composite operations.
#ifndef FLOWER_TITLE_TEXTLAYER_H
#define FLOWER_TITLE_TEXTLAYER_H

#include <cstdint>

#include "Image.h"
#include "Layers.h"
#include "TextRender.h"

namespace title {

struct TextStyle {
    std::uint32_t colour = 0xFFFFFFFFu;
    int outline = 0; // pixels
    std::uint32_t outlineColour = 0xFF000000u;
    int shadowX = 0; // offset in pixels, any direction
    int shadowY = 0;
    std::uint32_t shadowColour = 0xA0000000u;
};

// Transparent margin the coverage needs around the glyphs for the style.
int StyleMargin(const TextStyle& style);

// A straight-alpha layer the size of the text's picture. Colour glyphs keep
// their colours (at the text colour's opacity); the outline and the shadow
// follow every glyph's alpha.
Layer MakeTextLayer(const TextBitmap& text, const TextStyle& style);

} // namespace title

#endif
