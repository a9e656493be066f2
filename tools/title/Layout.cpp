#include "Layout.h"

#include <algorithm>

#include "ImageIo.h"
#include "TextRender.h"
#include "channel.h"
#include "florist.h"

namespace title {
namespace {

Layer SampleBackground(int width, int height)
{
    Layer picture(CreateFlower());
    Layer out = NewLayer(width, height, "background");
    if (!picture || !ResizeLayer(out.get(), picture.get(), false))
        throw ToolError("cannot scale the sample picture");
    return out;
}

Layer PictureBackground(const std::string& path, int width, int height)
{
    Image image = ReadPng(path);
    // The layer borrows the image's pixels (no free function): it dies first.
    Layer picture(CreateCompatibleLayer(reinterpret_cast<u8*>(image.pels.data()), image.width,
                                        image.height, image.width * 4, nullptr, nullptr));
    Layer out = NewLayer(width, height, "background");
    if (!picture || !ResizeLayer(out.get(), picture.get(), false))
        throw ToolError("cannot scale picture '" + path + "'");
    return out;
}

Layer MakeBackground(const Options& o)
{
    switch (o.background) {
    case BackgroundKind::Sample:
        return SampleBackground(o.width, o.height);
    case BackgroundKind::Picture:
        return PictureBackground(o.backgroundPath, o.width, o.height);
    case BackgroundKind::Checker: {
        Layer out = NewLayer(o.width, o.height, "background");
        TileLayer(out.get(), GetDefaultBackground(), 0, 0, false);
        return out;
    }
    case BackgroundKind::Colour:
        break;
    }
    Layer out = NewLayer(o.width, o.height, "background");
    FillLayer(out.get(), Pel(o.backgroundColour));
    return out;
}

TextSettings TextSettingsOf(const Options& o)
{
    TextSettings t;
    t.direction = o.direction;
    t.wrap = o.wrap;
    t.tabWidth = o.tabWidth;
    t.separator = o.separator;
    return t;
}

TextStyle StyleOf(const Options& o)
{
    TextStyle s;
    s.colour = o.colour;
    s.outline = o.outline;
    s.outlineColour = o.outlineColour;
    s.shadow = o.shadow;
    s.shadowColour = o.shadowColour;
    return s;
}

} // namespace

Production Produce(const Options& o)
{
    const int w = o.width, h = o.height;
    const TextStyle style = StyleOf(o);
    const int margin = StyleMargin(style);
    const int fontSize = o.fontSize > 0 ? o.fontSize : std::max(12, h / 15);
    Font font(o.fontPath, fontSize, TextSettingsOf(o));
    Layer background = MakeBackground(o);

    std::vector<LayerRegion> bands;
    CrawlSetup crawl;
    RollSetup roll;
    const int pad = std::max(2, h / 90);
    int rollBottom = h - h / 12;
    if (o.crawl) {
        const TextBitmap line = font.RenderLine(o.crawlText, margin);
        crawl.text = MakeTextLayer(line, style);
        const int bandHeight = font.LineHeight() + 2 * pad;
        const int bandY = std::max(0, h - h / 12 - bandHeight);
        bands.push_back({0, bandY, w, bandHeight});
        crawl.y = bandY + pad + font.Ascender() - line.baseline;
        // Speeds are in the reading direction: right-to-left text moves right.
        crawl.speed =
            (o.crawlSpeed != 0 ? o.crawlSpeed : w / 6.0) * (font.RightToLeft(o.crawlText) ? -1 : 1);
        crawl.fade = o.fade >= 0 ? o.fade : w / 24;
        rollBottom = bandY - h / 30;
    }
    Production p;
    if (o.roll) {
        const int wrapWidth = w - 2 * (margin + w / 20);
        const TextBitmap block = font.RenderBlock(o.rollLines, margin, wrapWidth);
        const int top = h / 12;
        const int regionHeight = rollBottom - top;
        if (regionHeight < 16)
            throw ToolError("the frame is too small for a roll at this font size");
        const int regionWidth = std::min(block.coverage.width, w);
        roll.region = {(w - regionWidth) / 2, top, regionWidth, regionHeight};
        roll.text = MakeTextLayer(block, style);
        roll.speed = o.rollSpeed != 0 ? o.rollSpeed : h / 8.0;
        roll.fade = o.fade >= 0 ? o.fade : h / 16;
        roll.filter = o.filter;
        const int panelX = std::max(0, roll.region.x + margin - 2 * pad);
        bands.push_back({panelX, top, w - 2 * panelX, regionHeight});
        // Source line L shows at region row L - (roll position), and the block
        // starts at line regionHeight: a short block is centred, a tall one
        // shows its first lines just below the top fade.
        const int shownFade = std::min(roll.fade, regionHeight / 4);
        const double position = block.coverage.height <= regionHeight
                                    ? regionHeight / 2.0 + block.coverage.height / 2.0
                                    : double(regionHeight - shownFade);
        const double period = regionHeight + block.coverage.height;
        p.showcaseTime = (roll.speed > 0 ? position : position - period) / roll.speed;
    }
    p.scene = std::make_unique<Scene>(std::move(background), bands, o.band, std::move(crawl),
                                      std::move(roll));
    return p;
}

} // namespace title
