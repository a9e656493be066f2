// Every access an operation begins is ended, whichever access fails: layers
// that refuse every access after the first N count what is left open.
#include <functional>

#include "Support.h"

using namespace florist_test;

namespace {

struct Operation {
    const char* name;
    std::function<void(Marrow::StubLayer*, Marrow::StubLayer*, Marrow::StubLayer*)> run;
};

const Operation kOperations[] = {
    {"ResizeLayer scaling", [](auto a, auto b, auto) { ResizeLayer(a, b, true); }},
    {"ResizeLayer copy", [](auto a, auto, auto c) { ResizeLayer(a, c, true); }},
    {"CenterLayer", [](auto a, auto b, auto) { CenterLayer(a, b, true); }},
    {"TileLayer", [](auto a, auto b, auto) { TileLayer(a, b, 1, -2, true); }},
    {"InterlaceFrameLayers", [](auto a, auto b, auto c) { InterlaceFrameLayers(a, b, c, true); }},
    {"InterlaceFieldLayers", [](auto a, auto b, auto c) { InterlaceFieldLayers(a, b, c, true); }},
    {"BackgroundLayer", [](auto a, auto b, auto c) { BackgroundLayer(a, b, c, true); }},
    {"Flips and shifts",
     [](auto a, auto, auto) {
         HorizontalFlipLayer(a, true);
         VerticalFlipLayer(a, true);
         VerticalShiftLayer(a, 2, true);
         HorizontalShiftLayer(a, -3, true);
     }},
    {"VisibleRegionLayer",
     [](auto a, auto, auto) {
         LayerRegion r;
         VisibleRegionLayer(a, &r);
     }},
    {"Stock layers",
     [](auto a, auto, auto c) {
         SetStockLayer(77, a);
         SetStockLayer(77, c);
         SetStockLayer(77, nullptr);
     }},
    {"Background lines",
     [](auto a, auto, auto) { EndBackgroundScanline(BeginBackgroundScanlineLayer(4, a)); }},
};

} // namespace

TEST(AccessBalance, EveryBegunAccessIsEndedWhateverFails)
{
    for (const Operation& op : kOperations)
        for (int budget = 0; budget <= 8; ++budget) {
            CountingLayer* a = CountingLayer::Create(8, 6, budget);
            CountingLayer* b = CountingLayer::Create(5, 4, budget);
            CountingLayer* c = CountingLayer::Create(8, 6, budget / 2);
            op.run(a, b, c);
            EXPECT_EQ(a->open | b->open | c->open, 0) << op.name << " budget " << budget;
            for (Marrow::StubLayer* layer : {a, b, c})
                DeleteLayer(layer);
        }
}
