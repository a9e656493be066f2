// Frame rendering. Everything that does not move is composited once into the
// base; each frame is then one copy of the base, a sub-pixel crawl and a
// sub-line roll into scratch layers, and two composites.
#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "PixelRoutinesLite.h"

namespace title {

struct Scene::Crawl {
    Layer strip;   // [width transparent][text][width + 1 transparent]
    Layer scratch; // the blit's output, frame width x text height
    int y = 0;
    int height = 0;
    int period = 0; // frame width + text width: the text re-enters once gone
    double speed = 0;
    int fade = 0;
};

struct Scene::Roll {
    Layer strip;   // region height transparent lines, then the block
    Layer scratch; // region size
    LayerRegion region{};
    int period = 0;
    double speed = 0;
    int fade = 0;
    int filter = 0;
};

namespace {

int LayerWidth(const Layer& l)
{
    return GetLayerWidth(l.get());
}
int LayerHeight(const Layer& l)
{
    return GetLayerHeight(l.get());
}

void CompositBand(Marrow::StubLayer* base, const LayerRegion& band, std::uint32_t colour)
{
    Pixels b(base);
    const LayerRegion r = IntersectLayerRegions(band, LayerRegion{0, 0, b.Width(), b.Height()});
    if (IsEmptyLayerRegion(r))
        return;
    // A pitch of 0 reads the one colour row for every row.
    const std::vector<Pel> row(std::size_t(r.width), Pel(colour));
    char* dst = b.At(r.x, r.y);
    Composit(dst, b.Pitch(), dst, b.Pitch(), reinterpret_cast<const char*>(row.data()), 0, r.width,
             r.height);
}

// Copies width x height pixels from (srcX, srcY) of `src` to (x, dstY) of `dst`.
void PasteColumns(Marrow::StubLayer* dst, Marrow::StubLayer* src, int x, int srcX, int srcY,
                  int dstY, int width, int height)
{
    Pixels d(dst), s(src);
    Blit(d.At(x, dstY), d.Pitch(), s.At(srcX, srcY), s.Pitch(), width, height);
}

} // namespace

SubPosition PositionAt(double pixels, int period)
{
    const long long q = std::llround(pixels * 256.0);
    const long long whole = q >= 0 ? q / 256 : -((-q + 255) / 256);
    long long reduced = whole % period;
    if (reduced < 0)
        reduced += period;
    return {int(reduced), int(q - whole * 256)};
}

Scene::Scene(Layer background, const std::vector<LayerRegion>& bands, std::uint32_t bandColour,
             CrawlSetup crawlSetup, RollSetup rollSetup)
    : width(LayerWidth(background)), height(LayerHeight(background)), base(std::move(background))
{
    for (const LayerRegion& band : bands)
        CompositBand(base.get(), band, bandColour);

    if (crawlSetup.text) {
        crawl = std::make_unique<Crawl>();
        const int textWidth = LayerWidth(crawlSetup.text);
        crawl->height = LayerHeight(crawlSetup.text);
        crawl->y = crawlSetup.y;
        crawl->period = width + textWidth;
        crawl->speed = crawlSetup.speed;
        crawl->fade = crawlSetup.fade;
        crawl->strip = NewLayer(crawl->period + width + 1, crawl->height, "crawl strip");
        PasteColumns(crawl->strip.get(), crawlSetup.text.get(), width, 0, 0, 0, textWidth,
                     crawl->height);
        crawl->scratch = NewLayer(width, crawl->height, "crawl");
    }
    if (rollSetup.text) {
        roll = std::make_unique<Roll>();
        const LayerRegion r = rollSetup.region;
        const int blockWidth = LayerWidth(rollSetup.text);
        const int blockHeight = LayerHeight(rollSetup.text);
        roll->region = r;
        roll->period = r.height + blockHeight;
        roll->speed = rollSetup.speed;
        roll->fade = std::min(rollSetup.fade, r.height / 4);
        roll->filter = rollSetup.filter;
        roll->strip = NewLayer(r.width, roll->period, "roll strip");
        // A block wider than the region keeps its middle.
        const int srcX = std::max(0, (blockWidth - r.width) / 2);
        const int dstX = std::max(0, (r.width - blockWidth) / 2);
        PasteColumns(roll->strip.get(), rollSetup.text.get(), dstX, srcX, 0, r.height,
                     std::min(blockWidth, r.width), blockHeight);
        roll->scratch = NewLayer(r.width, r.height, "roll");
    }
}

Scene::~Scene() = default;

void Scene::Render(Marrow::StubLayer* frame, double seconds)
{
    Pixels f(frame);
    {
        Pixels b(base.get());
        Blit(f.At(0, 0), f.Pitch(), b.At(0, 0), b.Pitch(), width, height);
    }
    if (crawl) {
        Pixels strip(crawl->strip.get()), out(crawl->scratch.get());
        const SubPosition at = PositionAt(crawl->speed * seconds, crawl->period);
        const int fade = crawl->fade;
        SubpixCrawlBlit(out.At(0, 0), out.Pitch(), strip.At(0, 0), strip.Pitch(), width,
                        crawl->height, at.whole, at.fraction, crawl->period, fade, fade,
                        width - fade, fade);
        const int top = std::max(0, crawl->y);
        const int bottom = std::min(height, crawl->y + crawl->height);
        if (bottom > top)
            Composit(f.At(0, top), f.Pitch(), f.At(0, top), f.Pitch(), out.At(0, top - crawl->y),
                     out.Pitch(), width, bottom - top);
    }
    if (roll) {
        Pixels strip(roll->strip.get()), out(roll->scratch.get());
        const LayerRegion& r = roll->region;
        SubPosition at = PositionAt(roll->speed * seconds, roll->period);
        const int fade = roll->fade;
        // The roll scales its weights row after row once a fade starts, so a
        // top fade run in one call would darken every row below it: each
        // top-fade row gets a call of its own, its fade factor
        // (row + 1) * 256 / (fade + 1), and the rest one call with the
        // bottom fade alone.
        for (int row = 0; row < fade; ++row)
            RollBlastDataSubPix(out.At(0, row), strip.At(0, 0), r.width, 1, out.Pitch(),
                                strip.Pitch(), (at.whole + row) % roll->period, 1, at.fraction,
                                roll->period, roll->filter, fade - row, fade + 1, 1, 1);
        const int rest = r.height - fade;
        RollBlastDataSubPix(out.At(0, fade), strip.At(0, 0), r.width, rest, out.Pitch(),
                            strip.Pitch(), (at.whole + fade) % roll->period, 1, at.fraction,
                            roll->period, roll->filter, 0, 0, fade > 0 ? rest - 1 - fade : rest,
                            fade);
        Composit(f.At(r.x, r.y), f.Pitch(), f.At(r.x, r.y), f.Pitch(), out.At(0, 0), out.Pitch(),
                 r.width, r.height);
    }
}

} // namespace title
