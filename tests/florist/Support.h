// Helpers for the layer-operation tests: layers made from and compared with
// pel models, clipped views, and layers that count (or refuse) accesses.
#ifndef FLORIST_TEST_SUPPORT_H
#define FLORIST_TEST_SUPPORT_H

#include <cstring>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "florist.h"
#include "petal.h"
#include "support/PelModel.h"
#include "support/Rng.h"

namespace florist_test {

using Pels = std::vector<Pel>;
using support::RandomRow;
using support::Rng;

inline Marrow::StubLayer* MakeLayer(int width, int height, const Pels& pels)
{
    Marrow::StubLayer* layer = CreateLayer(width, height);
    LayerAccess a{};
    if (BeginAccessLayer(&a, layer)) {
        std::memcpy(a.pixels, pels.data(), pels.size() * 4);
        EndAccessLayer(&a);
    }
    return layer;
}

inline Marrow::StubLayer* MakeFilled(int width, int height, Pel value)
{
    return MakeLayer(width, height, Pels(size_t(width) * size_t(height), value));
}

// A view of `parent` at `clip`; the view holds the parent's only other reference.
inline Marrow::StubLayer* MakeView(Marrow::StubLayer* parent, LayerRegion clip)
{
    Marrow::StubLayer* view = CreateClippedLayer(parent);
    ClipLayer(view, &clip);
    return view;
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

// Every pel of a BasicLayer against want(x, y); reports the first difference.
template <typename Model> void ExpectLayer(Marrow::StubLayer* layer, Model want)
{
    const Pels got = ReadLayer(layer);
    const int width = GetLayerWidth(layer);
    ASSERT_EQ(got.size(), size_t(width) * size_t(GetLayerHeight(layer)));
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], Pel(want(int(i % size_t(width)), int(i / size_t(width)))))
            << "at " << i % size_t(width) << "," << i / size_t(width);
}

// A BasicLayer that counts its open accesses and refuses every access after
// the first `budget` ones. Its memory is released through its object free pair.
class CountingLayer : public BasicLayer {
  public:
    static CountingLayer* Create(int width, int height, int budget)
    {
        Pels* pixels = new Pels(size_t(width) * height, 0xFF102030u);
        auto* layer = new (::operator new(sizeof(CountingLayer)))
            CountingLayer(pixels, width, height, budget);
        layer->AttachFreeFunction([](u8* block, void*) { ::operator delete(block); }, nullptr);
        return layer;
    }
    void* AccessRegion(const LayerRegion& region, u8*& pixels, i32& rowBytes) override
    {
        void* token = budget-- > 0 ? BasicLayer::AccessRegion(region, pixels, rowBytes) : nullptr;
        open += token != nullptr;
        return token;
    }
    bool EndAccess(void* token) override { return --open, BasicLayer::EndAccess(token); }
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
        return ++log->calls, log->last = *r, true;
    }
};

} // namespace florist_test

#endif
