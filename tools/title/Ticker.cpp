#include "Ticker.h"

#include "PixelRoutinesLite.h"

namespace title {

Ticker::Ticker(std::unique_ptr<Font> f, const TextStyle& s, std::string sep, ItemFeed& itemFeed,
               int width)
    : font(std::move(f)), style(s), margin(StyleMargin(s)), height(font->LineHeight() + 2 * margin),
      separator(std::move(sep)), feed(itemFeed), windowWidth(width),
      clear(NewLayer(width + 2, height, "crawl window"))
{
}

Ticker::~Ticker() = default;

Ticker::Piece Ticker::Set(const std::string& text)
{
    const TextBitmap line = font->RenderLine(text, margin);
    Piece p;
    p.top = margin + font->Ascender() - line.baseline;
    p.text = std::make_shared<Layer>(MakeTextLayer(line, style));
    // Neighbouring pieces overlap by their margins, so the pen positions join up.
    p.advance = std::max(1, GetLayerWidth(p.text->get()) - 2 * margin);
    return p;
}

// Items and the separator are set apart, so each item reads in its own
// direction and the separator stays between items whatever their scripts. A
// line's picture starts at its first ink, so the separator's leading spaces
// are measured after a letter and become an offset.
const Ticker::Piece& Ticker::Separator()
{
    if (!separatorPiece.text && !separator.empty()) {
        separatorPiece = Set(separator);
        const int withSpaces = Set("x" + separator).advance - Set("x").advance;
        separatorPiece.offset = std::max(0, withSpaces - separatorPiece.advance);
        separatorPiece.advance = std::max(separatorPiece.advance, withSpaces);
    }
    return separatorPiece;
}

// An item and the separator after it.
int Ticker::Advance(int index)
{
    if (advances[std::size_t(index)] < 0)
        advances[std::size_t(index)] = Set(items[std::size_t(index)]).advance;
    return advances[std::size_t(index)] + (separator.empty() ? 0 : Separator().advance);
}

void Ticker::Append(const Piece& piece)
{
    tape.push_back(
        {tapeEnd + piece.offset - margin, piece.top, piece.text, GetLayerWidth(piece.text->get())});
    tapeEnd += piece.advance;
}

bool Ticker::TakeNewItems()
{
    std::vector<std::string> fresh;
    if (!feed.Poll(fresh))
        return false;
    items = std::move(fresh);
    advances.assign(items.size(), -1);
    next = 0;
    return true;
}

// The first window: the loop as if it had run since time 0, where the first
// item started at tape column 0, so a render starting late shows what a
// render from the start would.
void Ticker::Restart(long long column)
{
    TakeNewItems();
    tapeEnd = 0;
    if (items.empty() || column <= 0)
        return;
    long long loop = 0;
    for (int i = 0; i < int(items.size()); ++i)
        loop += Advance(i);
    tapeEnd = column / loop * loop;
}

void Ticker::Extend(long long column)
{
    const long long needed = column + WindowWidth() + margin;
    while (tapeEnd < needed) {
        // An item boundary: the one moment a new list may take over.
        if (TakeNewItems() || items.empty()) {
            if (items.empty()) {
                // Nothing to show: the next items enter at the frame's edge.
                tapeEnd = std::max(tapeEnd, needed);
                return;
            }
        }
        const Piece item = Set(items[std::size_t(next)]);
        advances[std::size_t(next)] = item.advance;
        Append(item);
        if (!separator.empty())
            Append(Separator());
        next = (next + 1) % int(items.size());
    }
}

void Ticker::Window(long long column, Marrow::StubLayer* window)
{
    if (!started) {
        Restart(column);
        started = true;
    }
    Extend(column);
    // A window's worth of slack: interlaced frames look half a frame back.
    while (!tape.empty() && tape.front().start + tape.front().width <= column - WindowWidth())
        tape.pop_front();
    Pixels out(window), blank(clear.get());
    Blit(out.At(0, 0), out.Pitch(), blank.At(0, 0), blank.Pitch(), out.Width(), height);
    const long long windowEnd = column + WindowWidth();
    for (const Segment& s : tape) {
        Pixels text(s.text->get());
        const long long from = std::max(s.start, column);
        const long long to = std::min(s.start + text.Width(), windowEnd);
        // A taller fallback glyph may reach past the window: it is cut.
        const int top = std::max(0, s.top), bottom = std::min(height, s.top + text.Height());
        if (from >= to || top >= bottom)
            continue;
        char* dst = out.At(int(from - column), top);
        Composit(dst, out.Pitch(), dst, out.Pitch(), text.At(int(from - s.start), top - s.top),
                 text.Pitch(), int(to - from), bottom - top);
    }
}

} // namespace title
