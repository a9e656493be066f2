// The fonts a title draws with: the one the user names (a file, or a
// fontconfig pattern such as "DejaVu Serif:bold") and, for each character it
// lacks, the installed font fontconfig ranks best that has it.
#ifndef FLOWER_TITLE_FONTSET_H
#define FLOWER_TITLE_FONTSET_H

#include <memory>
#include <string>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace title {

// A FreeType face set to the text size. Fixed-size bitmap fonts (colour
// emoji) keep their nearest strike; `scale` takes its pixels to the text size.
struct SizedFace {
    FT_Face face = nullptr;
    double scale = 1;
    bool colour = false; // has colour bitmaps to load with FT_LOAD_COLOR
};

class FontSet {
  public:
    // Throws ToolError naming the font that cannot be found or read.
    FontSet(const std::string& pathOrPattern, int pixelSize);
    ~FontSet();
    FontSet(const FontSet&) = delete;
    FontSet& operator=(const FontSet&) = delete;

    const SizedFace& Primary() const;

    // The face to draw `c` with: the primary one when it has the character or
    // no installed font does (the primary's missing-glyph box).
    const SizedFace& FaceFor(char32_t c);

    // For a character shown as emoji: the first colour font that has it, else FaceFor.
    const SizedFace& EmojiFaceFor(char32_t c);

    // The face record of a face this set opened; null for any other.
    const SizedFace* Find(FT_Face face) const;

    int LineHeight() const; // whole pixels, from the primary face
    int Ascender() const;

  private:
    struct State;
    std::unique_ptr<State> state;
};

// True when `spec` names a font file rather than a fontconfig pattern.
bool LooksLikeFontPath(const std::string& spec);

} // namespace title

#endif
