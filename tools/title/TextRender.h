// UTF-8 text to glyph coverage with FreeType: a single line for a crawl, a
// block of centred lines for a roll.
#ifndef FLOWER_TITLE_TEXTRENDER_H
#define FLOWER_TITLE_TEXTRENDER_H

#include <memory>
#include <string>
#include <vector>

#include "Image.h"

namespace title {

class Font {
  public:
    // Throws ToolError when the file cannot be opened as a font.
    Font(const std::string& path, int pixelSize);
    ~Font();
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;

    int LineHeight() const;

    // One line, `margin` transparent pixels on every side. Throws ToolError
    // for text that is not UTF-8.
    Coverage RenderLine(const std::string& utf8, int margin) const;

    // Lines centred on the widest, one LineHeight apart (empty lines too).
    Coverage RenderBlock(const std::vector<std::string>& lines, int margin) const;

  private:
    struct Face;
    std::unique_ptr<Face> face;
};

// Decodes UTF-8, rejecting overlong forms, surrogates and stray bytes.
bool DecodeUtf8(const std::string& text, std::vector<char32_t>& out);

} // namespace title

#endif
