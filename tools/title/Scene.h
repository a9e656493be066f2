// One title scene: a static base (background and bands) with a crawl and a
// roll moving over it, rendered at any time through the library.
#ifndef FLOWER_TITLE_SCENE_H
#define FLOWER_TITLE_SCENE_H

#include <cstdint>
#include <memory>

#include "Image.h"
#include "LayerRegion.h"
#include "Layers.h"
#include "Options.h"
#include "TextLayer.h"

namespace title {

struct CrawlSetup {
    Layer text; // the styled line
    int y = 0;  // frame row of the strip's top
    double speed = 0;
    int fade = 0;
};

struct RollSetup {
    Layer text;         // the styled block
    LayerRegion region; // where it rolls in the frame
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
    // `crawl` and `roll` may have empty text layers (the element is left out).
    // `bands` are drawn over the background, under the text.
    Scene(Layer background, const std::vector<LayerRegion>& bands, std::uint32_t bandColour,
          CrawlSetup crawl, RollSetup roll);
    ~Scene();

    int Width() const { return width; }
    int Height() const { return height; }

    // Renders the frame at `seconds` into `frame` (a layer of the scene's size).
    void Render(Marrow::StubLayer* frame, double seconds);

  private:
    struct Crawl;
    struct Roll;
    int width;
    int height;
    Layer base;
    std::unique_ptr<Crawl> crawl;
    std::unique_ptr<Roll> roll;
};

} // namespace title

#endif
