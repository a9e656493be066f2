// From options to a scene: loads the font and the background, renders the
// text, and places the crawl band and the roll region in the frame.
#ifndef FLOWER_TITLE_LAYOUT_H
#define FLOWER_TITLE_LAYOUT_H

#include <memory>

#include "Options.h"
#include "Scene.h"

namespace title {

struct Production {
    std::unique_ptr<Scene> scene;
    Layer background; // none when the frames come from an input
    // A time at which the roll shows its text (the still's default), rather
    // than the empty region a roll starts with.
    double showcaseTime = 0;
};

// Frames of options.width x options.height. `items` feeds the crawl when
// options.itemsPath is set. Throws ToolError for unreadable fonts or
// pictures, or text that will not fit.
Production Produce(const Options& options, ItemFeed* items);

} // namespace title

#endif
