// Text target: arbitrary bytes as title text through the whole text engine
// (UTF-8 decoding, items and lines, bidi, shaping with font fallback, tab
// stops, line breaking, rasterising, the styled layer). Bad text may only
// ever be refused with a ToolError; anything else is a finding.
#include "FuzzSupport.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "TextLayer.h"
#include "TextRender.h"
#include "ToolError.h"

namespace {

constexpr std::size_t kMaxText = 600; // bytes: keeps every picture small

// Fonts are slow to open and find fallbacks for: one per setting, kept.
title::Font& FontFor(const title::TextSettings& s)
{
    static std::map<std::tuple<int, bool, int>, std::unique_ptr<title::Font>> fonts;
    auto& font = fonts[{int(s.direction), s.wrap, s.tabWidth}];
    if (!font)
        font =
            std::make_unique<title::Font>("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", 14, s);
    return *font;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::Input in(data, size);
    title::TextSettings settings;
    const std::uint8_t flags = in.Byte();
    settings.direction = title::TextDirection(flags % 3);
    settings.wrap = (flags & 4) != 0;
    settings.tabWidth = 1 + (flags >> 3 & 3) * 3;
    const int wrapWidth = in.Range(0, 200);
    title::TextStyle style;
    style.outline = in.Range(0, 2);
    style.shadowX = style.shadowY = in.Range(0, 2);
    const std::size_t used = std::min(size, std::size_t(3));
    const std::string text(reinterpret_cast<const char*>(data) + used,
                           std::min(size - used, kMaxText));
    try {
        title::Font& font = FontFor(settings);
        const title::TextBitmap line = font.RenderLine(text, title::StyleMargin(style));
        if (line.coverage.samples.size() != std::size_t(line.coverage.width) * line.coverage.height)
            Fuzz::Fail("line picture of %d x %d holds %zu samples", line.coverage.width,
                       line.coverage.height, line.coverage.samples.size());
        title::MakeTextLayer(line, style);
        const title::TextBitmap block = font.RenderBlock({text, text}, 2, wrapWidth);
        if (wrapWidth > 0 && settings.wrap && block.coverage.height < 2 * font.LineHeight())
            Fuzz::Fail("two lines of text in a block %d rows high", block.coverage.height);
        title::MakeTextLayer(block, style);
    } catch (const title::ToolError&) {
        // Refused: text that is not UTF-8. Anything else escapes and aborts.
    }
    return 0;
}
