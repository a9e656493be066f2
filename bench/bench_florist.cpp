// Layer operations at video sizes.
#include <benchmark/benchmark.h>

#include "florist.h"

namespace {

void BM_ResizeSampleToHD(benchmark::State& state)
{
    Marrow::StubLayer* src = CreateFlower();
    Marrow::StubLayer* dst = CreateLayer(1920, 1080);
    for (auto _ : state)
        benchmark::DoNotOptimize(ResizeLayer(dst, src, false));
    state.SetItemsProcessed(state.iterations() * 1920 * 1080);
    DeleteLayer(dst);
    DeleteLayer(src);
}
BENCHMARK(BM_ResizeSampleToHD)->Unit(benchmark::kMillisecond);

void BM_ResizeHDToSample(benchmark::State& state)
{
    Marrow::StubLayer* small = CreateFlower();
    Marrow::StubLayer* src = CreateLayer(1920, 1080);
    ResizeLayer(src, small, false);
    for (auto _ : state)
        benchmark::DoNotOptimize(ResizeLayer(small, src, false));
    state.SetItemsProcessed(state.iterations() * 768 * 512);
    DeleteLayer(src);
    DeleteLayer(small);
}
BENCHMARK(BM_ResizeHDToSample)->Unit(benchmark::kMillisecond);

} // namespace
