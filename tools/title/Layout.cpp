#include "Layout.h"

#include <algorithm>

#include "ImageIo.h"
#include "PixelRoutinesLite.h"
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

// fit: the whole picture, centred on black; fill: the frame covered, the
// picture's middle kept; stretch: the frame's shape whatever the picture's.
Layer FittedPicture(Marrow::StubLayer* picture, int width, int height, BackgroundFit fit,
                    const std::string& path)
{
    const int pw = GetLayerWidth(picture), ph = GetLayerHeight(picture);
    int sw = width, sh = height;
    if (fit != BackgroundFit::Stretch) {
        const bool widthLimits = (long long)pw * height > (long long)ph * width;
        if (widthLimits == (fit == BackgroundFit::Fit))
            sh = std::max(1, int((long long)ph * width / pw));
        else
            sw = std::max(1, int((long long)pw * height / ph));
    }
    Layer scaled = NewLayer(sw, sh, "background");
    if (!ResizeLayer(scaled.get(), picture, false))
        throw ToolError("cannot scale picture '" + path + "'");
    if (sw == width && sh == height)
        return scaled;
    Layer out = NewLayer(width, height, "background");
    FillLayer(out.get(), Pel(0xFF000000u));
    Pixels o(out.get()), s(scaled.get());
    const int cw = std::min(sw, width), ch = std::min(sh, height);
    Blit(o.At((width - cw) / 2, (height - ch) / 2), o.Pitch(), s.At((sw - cw) / 2, (sh - ch) / 2),
         s.Pitch(), cw, ch);
    return out;
}

Layer PictureBackground(const Options& o)
{
    Image image = ReadPng(o.backgroundPath);
    // The layer borrows the image's pixels (no free function): it dies first.
    Layer picture(CreateCompatibleLayer(reinterpret_cast<u8*>(image.pels.data()), image.width,
                                        image.height, image.width * 4, nullptr, nullptr));
    if (!picture)
        throw ToolError("out of memory for picture '" + o.backgroundPath + "'");
    return FittedPicture(picture.get(), o.width, o.height, o.backgroundFit, o.backgroundPath);
}

Layer MakeBackground(const Options& o)
{
    switch (o.background) {
    case BackgroundKind::Sample:
        return SampleBackground(o.width, o.height);
    case BackgroundKind::Picture:
        return PictureBackground(o);
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
    s.shadowX = o.shadowX;
    s.shadowY = o.shadowY;
    s.shadowColour = o.shadowColour;
    return s;
}

int FontSize(const Options& o)
{
    return o.fontSize > 0 ? o.fontSize : std::max(12, o.height / 15);
}

} // namespace

Production Produce(const Options& o, ItemFeed* items)
{
    const int w = o.width, h = o.height;
    const TextStyle style = StyleOf(o);
    const int margin = StyleMargin(style);
    auto font = std::make_unique<Font>(o.fontPath, FontSize(o), TextSettingsOf(o));
    Production p;
    if (o.input == InputKind::None)
        p.background = MakeBackground(o);

    CrawlSetup crawl;
    RollSetup roll;
    const int pad = std::max(2, h / 90);
    int rollTop = h / 12, rollBottom = h - h / 12;
    if (o.crawl) {
        const int bandHeight = o.bandHeight > 0 ? o.bandHeight : font->LineHeight() + 2 * pad;
        const int bandY = o.crawlY >= 0 ? o.crawlY : std::max(0, h - h / 12 - bandHeight);
        if (bandY >= h)
            throw UsageError("--crawl-y " + std::to_string(bandY) + " is below the frame");
        crawl.band = {0, bandY, w, bandHeight};
        // Where a line of the font centred in the band has its baseline.
        const int baseline = bandY + (bandHeight - font->LineHeight()) / 2 + font->Ascender();
        crawl.speed = o.crawlSpeed != 0 ? o.crawlSpeed : w / 6.0;
        if (!o.itemsPath.empty()) {
            crawl.y = baseline - margin - font->Ascender(); // the ticker's window
        } else {
            const TextBitmap line = font->RenderLine(o.crawlText, margin);
            crawl.text = MakeTextLayer(line, style);
            crawl.y = baseline - line.baseline;
            // Speeds are in the reading direction: right-to-left text moves right.
            if (font->RightToLeft(o.crawlText))
                crawl.speed = -crawl.speed;
        }
        crawl.fade = o.fade >= 0 ? o.fade : w / 24;
        // The roll keeps clear of the band, on the side with more room.
        if (bandY + bandHeight / 2 >= h / 2)
            rollBottom = std::min(rollBottom, bandY - h / 30);
        else
            rollTop = std::max(rollTop, bandY + bandHeight + h / 30);
    }
    if (o.roll) {
        const int wrapWidth = w - 2 * (margin + w / 20);
        const TextBitmap block = font->RenderBlock(o.rollLines, margin, wrapWidth);
        const int regionHeight = rollBottom - rollTop;
        if (regionHeight < 16)
            throw ToolError("the frame is too small for a roll at this font size");
        const int regionWidth = std::min(block.coverage.width, w);
        roll.region = {(w - regionWidth) / 2, rollTop, regionWidth, regionHeight};
        roll.text = MakeTextLayer(block, style);
        roll.speed = o.rollSpeed != 0 ? o.rollSpeed : h / 8.0;
        roll.fade = o.fade >= 0 ? o.fade : h / 16;
        roll.filter = o.filter;
        const int panelX = std::max(0, roll.region.x + margin - 2 * pad);
        roll.panel = {panelX, rollTop, w - 2 * panelX, regionHeight};
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
    if (o.crawl && !o.itemsPath.empty())
        crawl.ticker = std::make_unique<Ticker>(std::move(font), style, o.separator, *items, w);
    p.scene = std::make_unique<Scene>(w, h, o.band, std::move(crawl), std::move(roll));
    return p;
}

} // namespace title
