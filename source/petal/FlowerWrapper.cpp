// The sample picture as a layer: a wrapper over the compiled-in pixels, made
// at load time, and independent copies of it for clients.
#include "florist.h"
#include "florist/LayerRows.h"

namespace {

const i32 kWidth = 768;
const i32 kHeight = 512;

// Holds a layer over the picture in place (no copy, no free function).
class FlowerWrapper {
  public:
    FlowerWrapper()
        : layer(
              CreateCompatibleLayer(GetFlowerData(), kWidth, kHeight, kWidth * 4, nullptr, nullptr))
    {
    }
    ~FlowerWrapper()
    {
        DeleteLayer(layer);
        layer = nullptr;
    }
    FlowerWrapper(const FlowerWrapper&) = delete;
    FlowerWrapper& operator=(const FlowerWrapper&) = delete;

    Marrow::StubLayer* layer;
};

// After the stock registry (priority 65000), before any unprioritised
// initialiser; destroyed before the registry.
FlowerWrapper fw __attribute__((init_priority(65001)));

} // namespace

extern "C" Marrow::StubLayer* CreateFlower(void)
{
    if (!fw.layer)
        return nullptr;
    Marrow::StubLayer* flower = CreateLayer(kWidth, kHeight);
    if (!flower)
        return nullptr;
    LayerRegion flowerRegion, pictureRegion;
    if (!GetLayerRegion(flower, &flowerRegion) || !GetLayerRegion(fw.layer, &pictureRegion))
        return flower;
    const LayerRegion common = IntersectLayerRegions(flowerRegion, pictureRegion);
    Florist::ScopedAccess dst, src;
    if (!dst.Begin(flower, common))
        return flower;
    if (src.Begin(fw.layer, common))
        Florist::CopyAccessRows(*dst, *src);
    else
        Florist::ClearAccessRows(*dst);
    src.End();
    dst.Notify();
    return flower;
}
