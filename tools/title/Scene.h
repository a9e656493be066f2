// One title scene: a crawl in its band and a roll on its panel, rendered at
// any time through the library into overlay patches, and optionally a
// background they go over.
#ifndef FLOWER_TITLE_SCENE_H
#define FLOWER_TITLE_SCENE_H

#include <cstdint>
#include <memory>
#include <vector>

#include "LayerRegion.h"
#include "Layers.h"
#include "Overlay.h"
#include "Ticker.h"

namespace title {

struct CrawlSetup {
    Layer text;                     // the styled line, or
    std::unique_ptr<Ticker> ticker; // a looping crawl of items
    LayerRegion band{};             // drawn under the text; may be empty
    int y = 0;                      // frame row of the strip's top
    double speed = 0;
    int fade = 0;
};

struct RollSetup {
    Layer text;         // the styled block
    LayerRegion region; // where it rolls in the frame
    LayerRegion panel;  // drawn under it
    double speed = 0;
    int fade = 0;
    int filter = 0;
};

// Sub-pixel positions: whole pixels reduced into 0..period-1 and 1/256ths.
struct SubPosition {
    int whole;
    int fraction;
};
SubPosition PositionAt(double pixels, int period);

class Scene {
  public:
    // An element without text (and without ticker) is left out.
    Scene(int width, int height, std::uint32_t bandColour, CrawlSetup crawl, RollSetup roll);
    ~Scene();

    int Width() const { return width; }
    int Height() const { return height; }

    // The titles at `seconds`; the patches stay valid until the next call.
    const std::vector<OverlayPatch>& RenderTitles(double seconds);
    // Interlaced frames: each field's rows from its own time; the field shown
    // first (top for tff) is the earlier.
    const std::vector<OverlayPatch>& RenderTitles(double early, double late, bool topFieldFirst);

    struct Element; // one title part and its patch

  private:
    struct Crawl;
    struct Roll;
    void RenderAt(double seconds);
    const std::vector<OverlayPatch>& CollectPatches();

    int width;
    int height;
    std::unique_ptr<Crawl> crawl;
    std::unique_ptr<Roll> roll;
    std::vector<Element*> elements;
    std::vector<OverlayPatch> patches;
};

} // namespace title

#endif
