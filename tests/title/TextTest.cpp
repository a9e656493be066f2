// The text engine through its own interface: bidi order, shaping, font
// fallback and names, line structure and the colour glyph path. Renders are
// compared with renders of the same glyphs reached another way.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "TextLayer.h"
#include "TextRender.h"
#include "ToolError.h"
#include "seed.h"

using namespace title;

namespace {

const char kSans[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
const char kSerif[] = "/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf";

TextBitmap Line(const std::string& text, const TextSettings& settings = {},
                const std::string& font = kSans, int size = 32)
{
    Font f(font, size, settings);
    return f.RenderLine(text, 2);
}

bool Same(const TextBitmap& a, const TextBitmap& b)
{
    return a.coverage.width == b.coverage.width && a.coverage.height == b.coverage.height &&
           a.coverage.samples == b.coverage.samples && a.colour.pels == b.colour.pels;
}

long Inked(const TextBitmap& t)
{
    long n = std::count_if(t.coverage.samples.begin(), t.coverage.samples.end(),
                           [](std::uint8_t s) { return s != 0; });
    for (std::uint32_t p : t.colour.pels)
        n += (p >> 24) != 0;
    return n;
}

// Columns of the picture, from the left, that hold no ink at all.
std::vector<bool> EmptyColumns(const Coverage& c)
{
    std::vector<bool> empty(std::size_t(c.width), true);
    for (int y = 0; y < c.height; ++y)
        for (int x = 0; x < c.width; ++x)
            if (c.Row(y)[x] != 0)
                empty[std::size_t(x)] = false;
    return empty;
}

std::string ErrorOf(const std::function<void()>& f)
{
    try {
        f();
    } catch (const ToolError& e) {
        return e.what();
    }
    return "";
}

} // namespace

// Hebrew letters typed in logical order show right to left: the same picture
// as the letters typed in visual order under a left-to-right override.
TEST(TextBidi, RightToLeftRunsMatchVisualOrderUnderOverride)
{
    const TextBitmap logical = Line("\u05E9\u05DC\u05D5\u05DD");                // shalom
    const TextBitmap visual = Line("\u202D\u05DD\u05D5\u05DC\u05E9\u202C");     // reversed, LRO
    const TextBitmap typedOrder = Line("\u202D\u05E9\u05DC\u05D5\u05DD\u202C"); // forced LTR
    EXPECT_TRUE(Same(logical, visual));
    EXPECT_FALSE(Same(logical, typedOrder));
    // A mixed line keeps its English runs in order.
    const std::string mixed = "Alpha \u05E2\u05D1\u05E8\u05D9\u05EA Omega";
    EXPECT_TRUE(Same(Line(mixed), Line("Alpha \u202D\u05EA\u05D9\u05E8\u05D1\u05E2\u202C Omega")));
    // A right-to-left paragraph puts the first run on the right.
    TextSettings rtl;
    rtl.direction = TextDirection::RightToLeft;
    EXPECT_TRUE(
        Same(Line(mixed, rtl), Line("\u202DOmega \u05EA\u05D9\u05E8\u05D1\u05E2 Alpha\u202C")));
}

// Lam then alef form one ligature; a zero-width non-joiner leaves two isolated forms.
TEST(TextShaping, JoinedFormsDifferFromLettersKeptApart)
{
    const TextBitmap joined = Line("\u0644\u0627"), apart = Line("\u0644\u200C\u0627");
    EXPECT_FALSE(Same(joined, apart));
    EXPECT_LT(joined.coverage.width, apart.coverage.width);
    // KA + virama + SSA is the conjunct KSSA; the non-joiner shows a half form and SSA.
    const TextBitmap conjunct = Line("\u0915\u094D\u0937"),
                     halves = Line("\u0915\u094D\u200C\u0937");
    EXPECT_GT(Inked(conjunct), 0);
    EXPECT_FALSE(Same(conjunct, halves));
}

// U+0378 is unassigned and not ignorable: every font draws its missing-glyph box.
TEST(TextFallback, CjkAndEmojiDrawInkThatIsNotTheMissingGlyphBox)
{
    const TextBitmap box = Line("\u0378");
    ASSERT_GT(Inked(box), 0);
    for (const char* text : {"\u4E2D", "\U0001F389", "\U0001F600"}) {
        const TextBitmap t = Line(text);
        EXPECT_GT(Inked(t), 0) << text;
        EXPECT_FALSE(Same(t, box)) << text;
    }
    // Emoji come in colour, even where the font has a plain glyph for them
    // (DejaVu Sans draws U+1F600): some pels are far from grey.
    EXPECT_TRUE(Line("\U0001F600").HasColour());
    const TextBitmap emoji = Line("\U0001F389");
    ASSERT_TRUE(emoji.HasColour());
    EXPECT_GT(
        std::count_if(emoji.colour.pels.begin(), emoji.colour.pels.end(),
                      [](std::uint32_t p) {
                          const int r = p >> 16 & 255, g = p >> 8 & 255, b = p & 255;
                          return (p >> 24) > 128 && std::max({r, g, b}) - std::min({r, g, b}) > 64;
                      }),
        20);
}

TEST(TextFonts, NameAndPatternFindTheInstalledFiles)
{
    const std::string text = "Hamburgefonstiv";
    EXPECT_TRUE(Same(Line(text, {}, "DejaVu Serif"), Line(text, {}, kSerif)));
    EXPECT_TRUE(Same(Line(text, {}, "dejavu serif:bold"),
                     Line(text, {}, "/usr/share/fonts/truetype/dejavu/DejaVuSerif-Bold.ttf")));
    EXPECT_FALSE(Same(Line(text, {}, "DejaVu Serif"), Line(text, {}, kSans)));
}

TEST(TextStructure, NewlinesJoinCrawlItemsWithTheSeparator)
{
    EXPECT_TRUE(Same(Line("one\ntwo"), Line("one \u2022 two")));
    TextSettings bar;
    bar.separator = " | ";
    EXPECT_TRUE(Same(Line("one\n\ntwo\n", bar), Line("one | two")));
}

// A right-to-left crawl reads right to left item by item too.
TEST(TextStructure, RightToLeftCrawlRunsItsItemsRightToLeft)
{
    Font f(kSans, 32);
    EXPECT_TRUE(f.RightToLeft("\u05E9\u05DC\u05D5\u05DD\nabc"));
    EXPECT_FALSE(f.RightToLeft("abc\n\u05E9\u05DC\u05D5\u05DD"));
    EXPECT_TRUE(Same(Line("\u05E9\u05DC\u05D5\u05DD\nabc"),
                     Line("\u202Dabc \u2022 \u05DD\u05D5\u05DC\u05E9\u202C")));
}

TEST(TextStructure, TabsAdvanceToTabStops)
{
    TextSettings four, eight;
    four.tabWidth = 4;
    eight.tabWidth = 8;
    const TextBitmap narrow = Line("W\tI", four), wide = Line("W\tI", eight);
    const double space = (Line("W     I").coverage.width - Line("W I").coverage.width) / 4.0;
    // "W" is about three spaces wide: the next stops lie 4 and 8 spaces out.
    EXPECT_NEAR(wide.coverage.width - narrow.coverage.width, 4 * space, 1.5);
    // No box where the tab is: blank columns from W to the stop.
    const std::vector<bool> empty = EmptyColumns(wide.coverage);
    int run = 0, longest = 0;
    for (bool blank : empty) {
        run = blank ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    EXPECT_GT(longest, 4 * space);
}

// Right to left, the text before a tab is the rightmost: the left part of the
// picture is the text after it, drawn exactly as alone.
TEST(TextStructure, RightToLeftTabSegmentsRunFromTheRight)
{
    TextSettings rtl;
    rtl.direction = TextDirection::RightToLeft;
    const TextBitmap both = Line("abc\tdef", rtl), after = Line("def", rtl);
    ASSERT_EQ(both.coverage.height, after.coverage.height);
    ASSERT_GT(both.coverage.width, after.coverage.width + 20);
    for (int y = 0; y < after.coverage.height; ++y)
        for (int x = 0; x < after.coverage.width - 3; ++x)
            ASSERT_EQ(both.coverage.Row(y)[x], after.coverage.Row(y)[x]) << x << "," << y;
}

TEST(TextStructure, RollLinesWrapAtBreakOpportunities)
{
    const std::vector<std::string> words = {"the quick brown fox jumps over the lazy dog twice"};
    TextSettings off;
    off.wrap = false;
    Font wrapping(kSans, 20), single(kSans, 20, off);
    const int lineHeight = wrapping.LineHeight();
    const TextBitmap wrapped = wrapping.RenderBlock(words, 2, 160);
    const TextBitmap whole = single.RenderBlock(words, 2, 160);
    EXPECT_GE(wrapped.coverage.height, 3 * lineHeight);
    EXPECT_LE(wrapped.coverage.width, 160 + 4 + 2);
    EXPECT_EQ(whole.coverage.height, lineHeight + 4);
    EXPECT_GT(whole.coverage.width, 300);
    // Ideographs break between characters (UAX #14), with no spaces to find.
    const TextBitmap cjk = wrapping.RenderBlock(
        {"\u4E2D\u6587\u5B57\u7B26\u4E2D\u6587\u5B57\u7B26\u4E2D\u6587"}, 2, 60);
    EXPECT_GE(cjk.coverage.height, 3 * lineHeight);
    EXPECT_LE(cjk.coverage.width, 60 + 4 + 2);
    // A newline inside a roll line starts a new line.
    EXPECT_TRUE(Same(single.RenderBlock({"one\ntwo"}, 2), single.RenderBlock({"one", "two"}, 2)));
}

TEST(TextLimits, OversizedTextFailsStatingTheLimit)
{
    const std::string huge(100000, 'x');
    const std::string error = ErrorOf([&] { Line(huge); });
    EXPECT_NE(error.find(std::to_string(kMaxTextPixels)), std::string::npos) << error;
    EXPECT_NE(ErrorOf([] { Line("\xC3\x28"); }).find("UTF-8"), std::string::npos);
}

// Colour glyphs keep their colours in the text layer; the outline follows them.
TEST(TextLayerColour, EmojiKeepColourAndGetOutlined)
{
    ASSERT_TRUE(FlowerInit());
    const TextBitmap emoji = Line("\U0001F389");
    TextStyle plain, outlined;
    outlined.outline = 2;
    const Layer flat = MakeTextLayer(emoji, plain), ringed = MakeTextLayer(emoji, outlined);
    Pixels f(flat.get()), r(ringed.get());
    long colourful = 0, shown = 0, shownOutlined = 0;
    for (int y = 0; y < f.Height(); ++y) {
        for (int x = 0; x < f.Width(); ++x) {
            const std::uint32_t p = f.Row(y)[x], q = r.Row(y)[x];
            colourful += (p >> 24) > 128 && (p >> 16 & 255) != (p & 255);
            shown += (p >> 24) != 0;
            shownOutlined += (q >> 24) != 0;
            EXPECT_EQ(p, emoji.colour.Row(y)[x]) << x << "," << y;
        }
    }
    EXPECT_GT(colourful, 20);
    EXPECT_GT(shownOutlined, shown);
}
