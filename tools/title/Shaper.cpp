// Shaping through libraqm, which itemises by bidi level, script and font and
// hands each run to HarfBuzz. Tabs are segment separators: each segment is
// shaped on its own at the paragraph's direction and the segments sit at tab
// stops, left to right or right to left.
#include "Shaper.h"

#include <algorithm>
#include <cmath>
#include <fribidi.h>
#include <hb.h>
#include <linebreak.h>
#include <memory>
#include <raqm.h>

#include "ToolError.h"
#include FT_ADVANCES_H

namespace title {
namespace {

struct RaqmDeleter {
    void operator()(raqm_t* r) const { raqm_destroy(r); }
};

// Default_Ignorable_Code_Point: invisible, and drawn by whichever font the
// characters around them use, so that joiners and bidi controls never split a
// run between fonts.
bool DefaultIgnorable(char32_t c)
{
    static const char32_t kRanges[][2] = {
        {0x00AD, 0x00AD},   {0x034F, 0x034F}, {0x061C, 0x061C},   {0x115F, 0x1160},
        {0x17B4, 0x17B5},   {0x180B, 0x180F}, {0x200B, 0x200F},   {0x202A, 0x202E},
        {0x2060, 0x206F},   {0x3164, 0x3164}, {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},
        {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFF8}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
        {0xE0000, 0xE0FFF},
    };
    for (const auto& r : kRanges)
        if (c >= r[0] && c <= r[1])
            return true;
    return false;
}

bool IsMark(char32_t c)
{
    switch (hb_unicode_general_category(hb_unicode_funcs_get_default(), hb_codepoint_t(c))) {
    case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
        return true;
    default:
        return false;
    }
}

// Pictographs show as emoji by default, and anything followed by the emoji
// variation selector asks to.
bool WantsEmoji(const std::u32string& text, std::size_t i)
{
    const char32_t c = text[i];
    return (c >= 0x1F000 && c <= 0x1FAFF) || (i + 1 < text.size() && text[i + 1] == 0xFE0F);
}

// A mark stays with its base's font when that font has it; an ignorable
// character always does (the first ones take the font of what follows).
std::vector<const SizedFace*> FacesFor(FontSet& fonts, const std::u32string& text)
{
    const std::size_t n = text.size();
    std::vector<const SizedFace*> faces(n, nullptr);
    for (std::size_t i = 0; i < n; ++i) {
        const char32_t c = text[i];
        const SizedFace* previous = i > 0 ? faces[i - 1] : nullptr;
        if (DefaultIgnorable(c))
            faces[i] = previous;
        else if (previous && IsMark(c) && FT_Get_Char_Index(previous->face, FT_ULong(c)) != 0)
            faces[i] = previous;
        else
            faces[i] = WantsEmoji(text, i) ? &fonts.EmojiFaceFor(c) : &fonts.FaceFor(c);
    }
    const SizedFace* next = &fonts.Primary();
    for (std::size_t i = n; i-- > 0;) {
        if (faces[i])
            next = faces[i];
        else
            faces[i] = next;
    }
    return faces;
}

// Bitmap-only faces have no scale HarfBuzz can use; their advances come from
// the strike itself (such fonts carry no kerning to lose).
long StrikeAdvance(const SizedFace& face, unsigned index)
{
    FT_Fixed advance = 0;
    if (FT_Get_Advance(face.face, index, face.colour ? FT_LOAD_COLOR : FT_LOAD_DEFAULT, &advance) !=
        0)
        return 0;
    return long(std::lround((advance >> 10) * face.scale));
}

} // namespace

Shaper::Shaper(FontSet& fontSet, TextDirection textDirection, int tabWidth)
    : fonts(fontSet), direction(textDirection)
{
    const SizedFace& primary = fonts.Primary();
    const FT_UInt space = FT_Get_Char_Index(primary.face, ' ');
    FT_Fixed advance = 0;
    long spaceWidth =
        space != 0 && FT_Get_Advance(primary.face, space, FT_LOAD_DEFAULT, &advance) == 0
            ? long(std::lround((advance >> 10) * primary.scale))
            : 0;
    if (spaceWidth <= 0)
        spaceWidth = long(fonts.LineHeight()) << 4; // a quarter of the line height
    tabStep = spaceWidth * std::max(1, tabWidth);
    static const bool breaksReady = (init_linebreak(), true);
    (void)breaksReady;
}

bool Shaper::RightToLeft(const std::u32string& paragraph) const
{
    if (direction != TextDirection::Auto)
        return direction == TextDirection::RightToLeft;
    std::vector<FriBidiCharType> types(paragraph.size());
    fribidi_get_bidi_types(reinterpret_cast<const FriBidiChar*>(paragraph.data()),
                           FriBidiStrIndex(paragraph.size()), types.data());
    return fribidi_get_par_direction(types.data(), FriBidiStrIndex(paragraph.size())) ==
           FRIBIDI_PAR_RTL;
}

long Shaper::NextTabStop(long pen) const
{
    return (pen / tabStep + 1) * tabStep;
}

ShapedLine Shaper::Segment(const std::u32string& text, bool rightToLeft)
{
    ShapedLine line;
    if (text.empty())
        return line;
    std::unique_ptr<raqm_t, RaqmDeleter> rq(raqm_create());
    if (!rq ||
        !raqm_set_text(rq.get(), reinterpret_cast<const std::uint32_t*>(text.data()),
                       text.size()) ||
        !raqm_set_par_direction(rq.get(), rightToLeft ? RAQM_DIRECTION_RTL : RAQM_DIRECTION_LTR))
        throw ToolError("cannot shape the text");
    const std::vector<const SizedFace*> faces = FacesFor(fonts, text);
    for (std::size_t start = 0; start < faces.size();) {
        std::size_t end = start + 1;
        while (end < faces.size() && faces[end] == faces[start])
            ++end;
        if (!raqm_set_freetype_face_range(rq.get(), faces[start]->face, start, end - start))
            throw ToolError("cannot shape the text");
        start = end;
    }
    if (!raqm_layout(rq.get()))
        throw ToolError("cannot shape the text");
    std::size_t count = 0;
    const raqm_glyph_t* glyphs = raqm_get_glyphs(rq.get(), &count);
    line.glyphs.reserve(count);
    long pen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const raqm_glyph_t& g = glyphs[i];
        const SizedFace* face = fonts.Find(g.ftface);
        if (!face)
            throw ToolError("cannot shape the text");
        const bool strike = face->scale != 1;
        const long advance = strike ? StrikeAdvance(*face, g.index) : g.x_advance;
        line.glyphs.push_back({face, g.index, pen + (strike ? 0 : g.x_offset),
                               strike ? 0 : g.y_offset, g.cluster, advance});
        pen += advance;
    }
    line.width = pen;
    return line;
}

ShapedLine Shaper::Line(const std::u32string& paragraph)
{
    return Line(paragraph, RightToLeft(paragraph));
}

ShapedLine Shaper::Line(const std::u32string& paragraph, bool rightToLeft)
{
    std::vector<ShapedLine> segments;
    std::vector<long> starts;
    long pen = 0;
    for (std::size_t from = 0;;) {
        const std::size_t tab = std::min(paragraph.find(U'\t', from), paragraph.size());
        segments.push_back(Segment(paragraph.substr(from, tab - from), rightToLeft));
        for (PlacedGlyph& g : segments.back().glyphs)
            g.cluster += from;
        starts.push_back(pen);
        pen += segments.back().width;
        if (tab == paragraph.size())
            break;
        pen = NextTabStop(pen);
        from = tab + 1;
    }
    ShapedLine line;
    line.width = pen;
    // Right to left, the first segment is the rightmost: visual order reverses.
    for (std::size_t k = 0; k < segments.size(); ++k) {
        const std::size_t s = rightToLeft ? segments.size() - 1 - k : k;
        const long x = rightToLeft ? pen - starts[s] - segments[s].width : starts[s];
        for (PlacedGlyph g : segments[s].glyphs) {
            g.x += x;
            line.glyphs.push_back(g);
        }
    }
    return line;
}

std::vector<ShapedLine> Shaper::Wrapped(const std::u32string& paragraph, long maxWidth)
{
    const bool rightToLeft = RightToLeft(paragraph);
    ShapedLine whole = Line(paragraph, rightToLeft);
    if (whole.width <= maxWidth || paragraph.size() < 2)
        return {std::move(whole)};

    // Advance per character in logical order (a cluster's on its first character).
    std::vector<long> advance(paragraph.size(), 0);
    for (const PlacedGlyph& g : whole.glyphs)
        if (g.cluster < advance.size())
            advance[g.cluster] += g.advance;
    std::vector<char> breaks(paragraph.size());
    set_linebreaks_utf32(reinterpret_cast<const utf32_t*>(paragraph.data()), paragraph.size(),
                         nullptr, breaks.data());

    auto isSpace = [](char32_t c) { return c == U' ' || c == U'\t' || c == U'\u3000'; };
    std::vector<ShapedLine> lines;
    std::size_t start = 0;
    while (start < paragraph.size()) {
        std::size_t cut = paragraph.size(); // a break after which the line ends
        long pen = 0;
        for (std::size_t i = start, lastBreak = start; i < paragraph.size(); ++i) {
            pen = paragraph[i] == U'\t' ? NextTabStop(pen) : pen + advance[i];
            // Spaces may hang past the edge; anything else past it breaks the line.
            if (pen > maxWidth && !isSpace(paragraph[i]) && lastBreak > start) {
                cut = lastBreak;
                break;
            }
            if (breaks[i] == LINEBREAK_ALLOWBREAK || breaks[i] == LINEBREAK_MUSTBREAK)
                lastBreak = i + 1;
        }
        std::size_t end = cut;
        while (end > start && isSpace(paragraph[end - 1]))
            --end;
        lines.push_back(Line(paragraph.substr(start, end - start), rightToLeft));
        start = cut;
    }
    return lines;
}

} // namespace title
