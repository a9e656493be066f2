// One frame of a 1920 x 80 title crawl: the plain segment's sub-pixel filter dominates.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "PixelRoutinesLite.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 80;
constexpr int kPeriod = 4096;
constexpr int kStripWidth = kPeriod + kWidth + 1;

// Title-like rows: runs of opaque glyph pixels and clear gaps, one anti-aliased pixel at each
// change, so most filter pairs share an alpha and a few straddle an edge.
std::vector<std::uint32_t> TitleStrip()
{
    std::mt19937 rng(42);
    std::vector<std::uint32_t> strip(std::size_t(kStripWidth) * kHeight);
    for (int y = 0; y < kHeight; ++y) {
        bool ink = false;
        int run = 0;
        for (int x = 0; x < kStripWidth; ++x) {
            std::uint32_t alpha = ink ? 255u : 0u;
            if (run-- <= 0) {
                ink = !ink;
                run = 2 + int(rng() % 9);
                alpha = 1 + rng() % 254;
            }
            strip[std::size_t(y) * kStripWidth + std::size_t(x)] =
                alpha << 24 | (rng() & 0xFFFFFFu);
        }
    }
    return strip;
}

template <class Crawl> void RunCrawlFrames(benchmark::State& state, Crawl crawl)
{
    SelectCEEFunctions();
    const std::vector<std::uint32_t> strip = TitleStrip();
    std::vector<std::uint32_t> frame(std::size_t(kWidth) * kHeight);
    int position = 0;
    for (auto _ : state) {
        const int fraction = 37 + position % 200;
        crawl(reinterpret_cast<char*>(frame.data()), reinterpret_cast<const char*>(strip.data()),
              position++, fraction);
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(kWidth) * kHeight);
}

void BM_SubpixCrawlBlit(benchmark::State& state)
{
    RunCrawlFrames(state, [](char* dst, const char* src, int position, int fraction) {
        SubpixCrawlBlit(dst, kWidth * 4, src, kStripWidth * 4, kWidth, kHeight, position, fraction,
                        kPeriod, 96, 64, kWidth - 96, 64);
    });
}
BENCHMARK(BM_SubpixCrawlBlit);

void BM_ShapedSubpixCrawlBlit(benchmark::State& state)
{
    RunCrawlFrames(state, [](char* dst, const char* src, int position, int fraction) {
        ShapedSubpixCrawlBlit(dst, kWidth * 4, src, kStripWidth * 4, kWidth, kHeight, position,
                              fraction, kPeriod, 96, 64, kWidth - 96, 64);
    });
}
BENCHMARK(BM_ShapedSubpixCrawlBlit);

void BM_CrawlBlit(benchmark::State& state)
{
    RunCrawlFrames(state, [](char* dst, const char* src, int position, int) {
        CrawlBlit(dst, kWidth * 4, src, kStripWidth * 4, kWidth, kHeight, position, kPeriod, 96, 64,
                  kWidth - 96, 64);
    });
}
BENCHMARK(BM_CrawlBlit);

} // namespace
