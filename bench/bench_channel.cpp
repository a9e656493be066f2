// Channel extraction and contour tracing over a full HD title: lines of
// anti-aliased glyph-like shapes (stems, bars, bowls, diagonals) on clear pels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "channel.h"
#include "petal.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

// Coverage of a stroke of half-width `half` at distance `d` from its spine,
// with a one-pel ramp.
double Coverage(double d, double half)
{
    return std::clamp(half + 0.5 - d, 0.0, 1.0);
}

// One glyph cell: the union of a few strokes picked by `shape`.
double GlyphCoverage(int shape, double x, double y, double w, double h)
{
    const double stroke = std::max(1.5, w / 9);
    double c = 0;
    if (shape & 1) // left stem
        c = std::max(c, Coverage(std::fabs(x - w * 0.2), stroke));
    if (shape & 2) // bowl
        c = std::max(c, Coverage(std::fabs(std::hypot((x - w * 0.55) / (w * 0.35),
                                                      (y - h * 0.6) / (h * 0.3)) -
                                           1) *
                                     w * 0.35,
                                 stroke));
    if (shape & 4) // crossbar
        c = std::max(c, Coverage(std::fabs(y - h * 0.45), stroke) * (x > w * 0.1 && x < w * 0.9));
    if (shape & 8) // diagonal
        c = std::max(c, Coverage(std::fabs((x - w * 0.1) * h - (y - h * 0.05) * w * 0.8) /
                                     std::hypot(h, w * 0.8),
                                 stroke));
    if (shape == 0) // dot
        c = Coverage(std::hypot(x - w * 0.5, y - h * 0.85), stroke * 1.2);
    return y < 0 || y >= h ? 0 : c;
}

Marrow::StubLayer* MakeTitleLayer()
{
    Marrow::StubLayer* layer = CreateLayer(kWidth, kHeight);
    LayerAccess a{};
    if (layer == nullptr || !BeginAccessLayer(&a, layer))
        return layer;
    std::mt19937 rng(1);
    const int lineHeight = 72, glyphHeight = 48;
    for (int top = 40; top + lineHeight <= kHeight; top += lineHeight) {
        for (int left = 60; left < kWidth - 100;) {
            const int w = 22 + int(rng() % 18);
            const int shape = int(rng() % 16);
            for (int y = 0; y < glyphHeight; ++y) {
                Pel* row = reinterpret_cast<Pel*>(a.pixels + (top + y) * a.rowBytes);
                for (int x = 0; x < w; ++x) {
                    const double c = GlyphCoverage(shape, x + 0.5, y + 0.5, w, glyphHeight);
                    const u32 alpha = u32(std::lround(c * 255));
                    if (alpha > (row[left + x] >> 24))
                        row[left + x] = alpha << 24 | 0xFFFFFFu;
                }
            }
            left += w + 6 + (rng() % 7 == 0 ? 24 : 0);
        }
    }
    EndAccessLayer(&a);
    return layer;
}

struct Title {
    Marrow::StubLayer* layer = MakeTitleLayer();
    Channel* alpha = CreateSizedChannel(layer);
    Title() { GetAlphaChannel(alpha, layer); }
    ~Title()
    {
        DeleteChannel(alpha);
        DeleteLayer(layer);
    }
};

const Title& SharedTitle()
{
    static const Title title;
    return title;
}

void BM_GetAlphaChannelFullHD(benchmark::State& state)
{
    const Title& title = SharedTitle();
    for (auto _ : state) {
        GetAlphaChannel(title.alpha, title.layer);
        benchmark::DoNotOptimize(title.alpha->data);
    }
    state.SetItemsProcessed(state.iterations() * int64_t(kWidth) * kHeight);
}
BENCHMARK(BM_GetAlphaChannelFullHD);

void BM_TraceTitleAlphaFullHD(benchmark::State& state)
{
    const Title& title = SharedTitle();
    int length = 0;
    for (auto _ : state) {
        Contour* contour = CreateContourFromChannel(title.alpha, 128);
        benchmark::DoNotOptimize(GetContourData(contour, &length));
        DeleteContour(contour);
    }
    Contour* contour = CreateContourFromChannel(title.alpha, 128);
    state.counters["loops"] = GetContourData(contour, &length)[0];
    state.counters["ints"] = length;
    DeleteContour(contour);
    state.SetItemsProcessed(state.iterations() * int64_t(kWidth) * kHeight);
}
BENCHMARK(BM_TraceTitleAlphaFullHD)->Unit(benchmark::kMillisecond);

} // namespace
