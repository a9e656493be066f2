// Hot composite rows at HD width, over rows of mixed alphas (a third clear,
// a third opaque, a third translucent) and over titling-like rows (mostly clear).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "stem.h"

namespace {

constexpr int kWidth = 1920;

std::vector<Pel> Row(std::uint32_t seed, int clearPercent, int opaquePercent)
{
    std::mt19937 rng(seed);
    std::vector<Pel> row(kWidth);
    for (Pel& p : row) {
        const std::uint32_t v = rng(), pick = rng() % 100;
        p = int(pick) < clearPercent                   ? v & 0x00FFFFFFu
            : int(pick) < clearPercent + opaquePercent ? v | 0xFF000000u
                                                       : v;
    }
    return row;
}

void Items(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * kWidth);
}

// Arg 0: mixed alphas; arg 1: titling-like, 85% clear tops over opaque video.
void BM_CompositScanline(benchmark::State& state)
{
    const bool titling = state.range(0) == 1;
    const auto top = titling ? Row(1, 85, 10) : Row(1, 33, 33);
    const auto bottom = titling ? Row(2, 0, 100) : Row(2, 33, 33);
    std::vector<Pel> dst(kWidth);
    for (auto _ : state) {
        Stem::CompositScanline(dst.data(), top.data(), bottom.data(), kWidth);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    Items(state);
}
BENCHMARK(BM_CompositScanline)->Arg(0)->Arg(1);

void BM_CompositOnColourScanline(benchmark::State& state)
{
    const auto top = Row(3, 33, 33);
    std::vector<Pel> dst(kWidth);
    const Pel colour = state.range(0) == 255 ? 0xFF204060u : 0x80204060u;
    for (auto _ : state) {
        Stem::CompositOnColourScanline(dst.data(), top.data(), kWidth, colour);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    Items(state);
}
BENCHMARK(BM_CompositOnColourScanline)->Arg(128)->Arg(255);

void BM_CompositWithOpacityScanline(benchmark::State& state)
{
    const auto top = Row(4, 33, 33), bottom = Row(5, 33, 33);
    std::vector<Pel> dst(kWidth);
    for (auto _ : state) {
        Stem::CompositWithOpacityScanline(dst.data(), top.data(), bottom.data(), kWidth, 200, 255);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    Items(state);
}
BENCHMARK(BM_CompositWithOpacityScanline);

void BM_CompositThreeScanlines(benchmark::State& state)
{
    const auto top = Row(6, 60, 20), middle = Row(7, 40, 20), bottom = Row(8, 0, 100);
    std::vector<Pel> dst(kWidth);
    for (auto _ : state) {
        Stem::CompositThreeScanlines(dst.data(), top.data(), middle.data(), bottom.data(), kWidth);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    Items(state);
}
BENCHMARK(BM_CompositThreeScanlines);

} // namespace
