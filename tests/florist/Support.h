// Helpers for the layer-operation tests: seeded pixels, layers made from and
// read back into plain vectors, and layers that count (or refuse) accesses.
#ifndef FLORIST_TEST_SUPPORT_H
#define FLORIST_TEST_SUPPORT_H

#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <vector>

#include "florist.h"
#include "petal.h"

namespace florist_test {

typedef std::vector<Pel> Pels;

// A third transparent, a third opaque, the rest translucent; colours random.
inline Pels RandomPels(int count, std::mt19937& rng)
{
    Pels p(static_cast<size_t>(count));
    for (Pel& v : p) {
        const u32 pick = rng() % 3;
        const u32 alpha = pick == 0 ? 0u : pick == 1 ? 255u : 1u + rng() % 254;
        v = (rng() & 0x00FFFFFFu) | alpha << 24;
    }
    return p;
}

inline Marrow::StubLayer* MakeLayer(int width, int height, const Pels& pels)
{
    Marrow::StubLayer* layer = CreateLayer(width, height);
    LayerAccess a{};
    if (layer && BeginAccessLayer(&a, layer)) {
        for (int y = 0; y < height; ++y)
            std::memcpy(a.pixels + y * a.rowBytes, &pels[size_t(y) * width], size_t(width) * 4);
        EndAccessLayer(&a);
    }
    return layer;
}

inline Marrow::StubLayer* MakeFilled(int width, int height, Pel value)
{
    return MakeLayer(width, height, Pels(size_t(width) * height, value));
}

// The whole buffer of a BasicLayer, row by row.
inline Pels ReadLayer(Marrow::StubLayer* layer)
{
    LayerAccess a{};
    Pels out;
    if (!BeginAccessLayer(&a, layer))
        return out;
    for (int y = 0; y < a.region.height; ++y) {
        const Pel* row = reinterpret_cast<const Pel*>(a.pixels + y * a.rowBytes);
        out.insert(out.end(), row, row + a.region.width);
    }
    EndAccessLayer(&a);
    return out;
}

// A BasicLayer that counts its open accesses and refuses every access after
// the first `budget` ones. Its memory is released through its object free pair.
class CountingLayer : public BasicLayer {
  public:
    static CountingLayer* Create(int width, int height, int budget)
    {
        Pels* pixels = new Pels(size_t(width) * height, 0xFF102030u);
        void* memory = ::operator new(sizeof(CountingLayer));
        auto* layer = new (memory) CountingLayer(pixels, width, height, budget);
        layer->AttachFreeFunction(
            [](u8* block, void*) { ::operator delete(static_cast<void*>(block)); }, nullptr);
        return layer;
    }
    void* AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes) override
    {
        if (budget-- <= 0)
            return nullptr;
        void* token = BasicLayer::AccessRegion(region, pixels, rowBytes);
        if (token)
            ++open;
        return token;
    }
    bool EndAccess(void* token) override
    {
        --open;
        return BasicLayer::EndAccess(token);
    }
    int open = 0;

  private:
    CountingLayer(Pels* pixels, int width, int height, int allowed)
        : BasicLayer(
              reinterpret_cast<u8*>(pixels->data()), width, height, width * 4,
              [](u8*, void* data) { delete static_cast<Pels*>(data); }, pixels),
          budget(allowed)
    {
    }
    int budget;
};

// Counts update notifications and remembers the last region.
struct UpdateLog {
    int calls = 0;
    LayerRegion last = {0, 0, 0, 0};
    static bool Record(Marrow::StubLayer*, const LayerRegion* r, void* data)
    {
        auto* log = static_cast<UpdateLog*>(data);
        ++log->calls;
        log->last = *r;
        return true;
    }
};

} // namespace florist_test

#endif
