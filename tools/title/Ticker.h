// A crawl of items that loops without a gap and takes new items while it
// runs: the items, each followed by the separator, are laid end to end on an
// endless tape, and a new list replaces the old one at the next item boundary.
#ifndef FLOWER_TITLE_TICKER_H
#define FLOWER_TITLE_TICKER_H

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "ItemFeed.h"
#include "Layers.h"
#include "TextLayer.h"
#include "TextRender.h"

namespace title {

class Ticker {
  public:
    // `windowWidth` is the frame width: each window holds it plus two columns,
    // and is a line of the font (and the style's margins) high, its baseline
    // margin + Ascender() rows down.
    Ticker(std::unique_ptr<Font> font, const TextStyle& style, std::string separator,
           ItemFeed& feed, int windowWidth);
    ~Ticker();

    int Height() const { return height; }
    int WindowWidth() const { return windowWidth + 2; }

    // Tape columns [column, column + WindowWidth()) into `window` (a layer of
    // WindowWidth() x Height()). Columns must not go back by more than a
    // window between calls: the tape keeps no more than what is in view.
    void Window(long long column, Marrow::StubLayer* window);

  private:
    // Segments keep their own layers: a new list must not pull the text out
    // from under items still in view.
    struct Segment {
        long long start; // tape column of the layer's first column
        int top;         // window row of the layer's first row: baselines line up
        std::shared_ptr<Layer> text;
        int width;
    };
    void Extend(long long column);
    void Restart(long long column);
    int Advance(int index);
    struct Piece {
        std::shared_ptr<Layer> text;
        int top = 0;     // window row of its first row
        int advance = 0; // pen advance, margins left out
        int offset = 0;  // from the pen to the first ink
    };
    Piece Set(const std::string& text);
    const Piece& Separator();
    void Append(const Piece& piece);
    bool TakeNewItems();

    std::unique_ptr<Font> font;
    TextStyle style;
    int margin;
    int height;
    std::string separator;
    ItemFeed& feed;
    int windowWidth;
    std::vector<std::string> items;
    // Per item, measured on first use. Layers live only while on the tape, so
    // a long list costs the memory of what is in view.
    std::vector<int> advances;
    Piece separatorPiece;
    std::deque<Segment> tape;
    long long tapeEnd = 0; // where the next item starts
    int next = 0;
    bool started = false;
    Layer clear;
};

} // namespace title

#endif
