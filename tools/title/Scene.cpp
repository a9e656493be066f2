// Frame rendering. Each element (the crawl in its band, the roll on its
// panel) owns a patch: a transparent layer over its part of the frame. The
// band or panel is composited into a backdrop once; each frame is one copy of
// the backdrop, a sub-pixel crawl or a sub-line roll into scratch layers, and
// one composite.
#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "PixelRoutinesLite.h"

namespace title {

struct Scene::Element {
    LayerRegion rect{}; // in the frame
    Layer backdrop;     // band or panel over transparency
    Layer patch;        // what the frame gets
    Layer late;         // the second field's patch, for interlaced frames

    void Begin()
    {
        Pixels b(backdrop.get()), p(patch.get());
        Blit(p.At(0, 0), p.Pitch(), b.At(0, 0), b.Pitch(), p.Width(), p.Height());
    }
    // `content` (its row `contentRow` at patch row `row`) over the patch.
    void Add(Marrow::StubLayer* content, int x, int row, int contentRow, int columns, int rows)
    {
        Pixels c(content), p(patch.get());
        Composit(p.At(x, row), p.Pitch(), p.At(x, row), p.Pitch(), c.At(0, contentRow), c.Pitch(),
                 columns, rows);
    }
};

struct Scene::Crawl : Element {
    Layer strip;   // [width transparent][text][width + 1 transparent]
    Layer scratch; // the blit's output, frame width x text height
    std::unique_ptr<Ticker> ticker;
    int y = 0;
    int height = 0;
    int period = 0; // frame width + text width: the text re-enters once gone
    double speed = 0;
    int fade = 0;
};

struct Scene::Roll : Element {
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

LayerRegion Union(const LayerRegion& a, const LayerRegion& b)
{
    if (IsEmptyLayerRegion(a))
        return b;
    if (IsEmptyLayerRegion(b))
        return a;
    const int x0 = std::min(a.x, b.x), y0 = std::min(a.y, b.y);
    const int x1 = std::max(a.x + a.width, b.x + b.width);
    const int y1 = std::max(a.y + a.height, b.y + b.height);
    return {x0, y0, x1 - x0, y1 - y0};
}

// A transparent layer over `rect` with `colour` composited over `fill`.
void MakeBackdrop(Scene::Element& e, const LayerRegion& rect, const LayerRegion& fill,
                  std::uint32_t colour)
{
    e.rect = rect;
    e.backdrop = NewLayer(rect.width, rect.height, "title backdrop");
    e.patch = NewLayer(rect.width, rect.height, "title patch");
    const LayerRegion r = IntersectLayerRegions(fill, rect);
    if (IsEmptyLayerRegion(r))
        return;
    Pixels b(e.backdrop.get());
    // A pitch of 0 reads the one colour row for every row.
    const std::vector<Pel> row(std::size_t(r.width), Pel(colour));
    char* dst = b.At(r.x - rect.x, r.y - rect.y);
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

Scene::Scene(int w, int h, std::uint32_t bandColour, CrawlSetup crawlSetup, RollSetup rollSetup)
    : width(w), height(h)
{
    const LayerRegion frame{0, 0, w, h};
    if (crawlSetup.text || crawlSetup.ticker) {
        crawl = std::make_unique<Crawl>();
        crawl->ticker = std::move(crawlSetup.ticker);
        crawl->height = crawl->ticker ? crawl->ticker->Height() : LayerHeight(crawlSetup.text);
        crawl->y = crawlSetup.y;
        crawl->speed = crawlSetup.speed;
        crawl->fade = crawlSetup.fade;
        if (crawl->ticker) {
            crawl->strip = NewLayer(crawl->ticker->WindowWidth(), crawl->height, "crawl window");
        } else {
            const int textWidth = LayerWidth(crawlSetup.text);
            crawl->period = width + textWidth;
            crawl->strip = NewLayer(crawl->period + width + 1, crawl->height, "crawl strip");
            PasteColumns(crawl->strip.get(), crawlSetup.text.get(), width, 0, 0, 0, textWidth,
                         crawl->height);
        }
        crawl->scratch = NewLayer(width, crawl->height, "crawl");
        const LayerRegion strip{0, crawl->y, w, crawl->height};
        const LayerRegion rect = IntersectLayerRegions(Union(crawlSetup.band, strip), frame);
        if (IsEmptyLayerRegion(rect))
            throw ToolError("the crawl lies outside the frame");
        MakeBackdrop(*crawl, rect, crawlSetup.band, bandColour);
        elements.push_back(crawl.get());
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
        MakeBackdrop(*roll, IntersectLayerRegions(Union(rollSetup.panel, r), frame),
                     rollSetup.panel, bandColour);
        elements.push_back(roll.get());
    }
}

Scene::~Scene() = default;

void Scene::RenderAt(double seconds)
{
    if (crawl) {
        crawl->Begin();
        Pixels out(crawl->scratch.get());
        const int fade = crawl->fade;
        if (crawl->ticker) {
            // Tape column of the frame's left edge; the text enters at the right.
            const long long q = std::llround((crawl->speed * seconds - width) * 256.0);
            const long long column = q >= 0 ? q / 256 : -((-q + 255) / 256);
            crawl->ticker->Window(column, crawl->strip.get());
            Pixels strip(crawl->strip.get());
            SubpixCrawlBlit(out.At(0, 0), out.Pitch(), strip.At(0, 0), strip.Pitch(), width,
                            crawl->height, 0, int(q - column * 256), strip.Width(), fade, fade,
                            width - fade, fade);
        } else {
            Pixels strip(crawl->strip.get());
            const SubPosition at = PositionAt(crawl->speed * seconds, crawl->period);
            SubpixCrawlBlit(out.At(0, 0), out.Pitch(), strip.At(0, 0), strip.Pitch(), width,
                            crawl->height, at.whole, at.fraction, crawl->period, fade, fade,
                            width - fade, fade);
        }
        const LayerRegion& rect = crawl->rect;
        const int top = std::max(rect.y, crawl->y);
        const int bottom = std::min(rect.y + rect.height, crawl->y + crawl->height);
        if (bottom > top)
            crawl->Add(crawl->scratch.get(), 0, top - rect.y, top - crawl->y, width, bottom - top);
    }
    if (roll) {
        roll->Begin();
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
        // The region may reach outside the frame; only the part inside is kept.
        const LayerRegion& rect = roll->rect;
        const LayerRegion shown = IntersectLayerRegions(r, rect);
        if (!IsEmptyLayerRegion(shown))
            roll->Add(roll->scratch.get(), shown.x - rect.x, shown.y - rect.y, shown.y - r.y,
                      shown.width, shown.height);
    }
}

const std::vector<OverlayPatch>& Scene::RenderTitles(double seconds)
{
    RenderAt(seconds);
    return CollectPatches();
}

const std::vector<OverlayPatch>& Scene::CollectPatches()
{
    patches.clear();
    for (Element* e : elements) {
        Pixels p(e->patch.get());
        patches.push_back({e->rect.x, e->rect.y, e->rect.width, e->rect.height,
                           reinterpret_cast<const std::uint32_t*>(p.At(0, 0)), p.Pitch() / 4});
    }
    return patches;
}

const std::vector<OverlayPatch>& Scene::RenderTitles(double early, double late, bool topFieldFirst)
{
    RenderAt(late);
    for (Element* e : elements) {
        if (!e->late)
            e->late = NewLayer(e->rect.width, e->rect.height, "field patch");
        std::swap(e->late, e->patch);
    }
    RenderAt(early);
    for (Element* e : elements) {
        Pixels p(e->patch.get()), l(e->late.get());
        // Frame rows of the later field: odd rows for tff, even for bff.
        for (int row = 0; row < p.Height(); ++row)
            if (((e->rect.y + row) % 2 == 1) == topFieldFirst)
                std::memcpy(p.At(0, row), l.At(0, row), std::size_t(p.Width()) * 4);
    }
    return CollectPatches();
}

} // namespace title
