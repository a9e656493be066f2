// A C++ host: owns layers through unique_ptr, composites a scaled copy of the
// sample picture over a background at an offset with an opacity, and prints
// what it made.
#include <flower.h>

#include <cstdio>
#include <memory>

namespace {

struct LayerRelease {
    void operator()(FlowerLayer* layer) const { DeleteLayer(layer); }
};
using Layer = std::unique_ptr<FlowerLayer, LayerRelease>;

// Ends an access when it goes out of scope; `open` says whether it began.
struct Access {
    LayerAccess record{};
    bool open;
    Access(FlowerLayer* layer, const LayerRegion& region)
        : open(BeginRegionAccessLayer(&record, layer, &region)) {}
    ~Access() { if (open) EndAccessLayer(&record); }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;
};

// Composites `top` over `dst` with its top-left corner at (x, y) and its alpha
// scaled by `opacity` (0..255): the overlap opened on both layers and handed
// to the buffer routine, the destination's update functions told.
bool CompositeAt(FlowerLayer* dst, FlowerLayer* top, int x, int y, int opacity)
{
    LayerRegion bottomArea, placed;
    if (!GetValidLayerRegion(dst, &bottomArea) || !GetValidLayerRegion(top, &placed))
        return false;
    placed.x += x;
    placed.y += y;
    const LayerRegion area = IntersectLayerRegions(bottomArea, placed);
    if (IsEmptyLayerRegion(area))
        return true; // nothing overlaps
    const LayerRegion source = {area.x - x, area.y - y, area.width, area.height};
    Access bottom(dst, area);
    Access over(top, source);
    if (!bottom.open || !over.open || bottom.record.region != area ||
        over.record.region != source)
        return false;
    CompositWithOpacity(reinterpret_cast<char*>(bottom.record.pixels), bottom.record.rowBytes,
                        reinterpret_cast<const char*>(bottom.record.pixels), bottom.record.rowBytes,
                        reinterpret_cast<const char*>(over.record.pixels), over.record.rowBytes,
                        area.width, area.height, 255, opacity);
    UpdateLayer(dst, &bottom.record.region);
    return true;
}

Pel PelAt(FlowerLayer* layer, int x, int y)
{
    Access access(layer, {x, y, 1, 1});
    return access.open && !IsEmptyLayerRegion(access.record.region)
               ? *reinterpret_cast<const Pel*>(access.record.pixels)
               : 0;
}

} // namespace

int main()
{
    std::printf("libflower %s\n", GetFlowerVersion(nullptr, nullptr, nullptr));
    FlowerInit();

    Layer frame(CreateLayer(64, 48));
    Layer sample(CreateFlower());
    Layer thumbnail(CreateLayer(32, 24));
    if (!frame || !sample || !thumbnail || !FillLayer(frame.get(), 0xFF202020u) ||
        !ResizeLayer(thumbnail.get(), sample.get(), false) ||
        !CompositeAt(frame.get(), thumbnail.get(), 40, 30, 192)) {
        std::puts("a libflower call failed");
        return 1;
    }
    std::printf("frame (10, 10): %08X\n", static_cast<unsigned>(PelAt(frame.get(), 10, 10)));
    std::printf("frame (40, 30): %08X\n", static_cast<unsigned>(PelAt(frame.get(), 40, 30)));
    std::printf("frame (63, 47): %08X\n", static_cast<unsigned>(PelAt(frame.get(), 63, 47)));
    return 0;
}
