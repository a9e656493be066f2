// Row kernel sets side by side: the scalar reference and every set this CPU runs,
// on 1920-pel rows of title-like content and of random content.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/CrawlKernels.h"
#include "TitleContent.h"

namespace {

constexpr int kWidth = 1920;

std::vector<std::uint32_t> TitleRow(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    return TitleTextRow(rng, kWidth + 1);
}

// An opaque picture under the text.
std::vector<std::uint32_t> PictureRow(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<std::uint32_t> row(kWidth + 1);
    for (std::uint32_t& p : row)
        p = 0xFF000000u | (rng() & 0xFFFFFFu);
    return row;
}

// Every alpha equally likely: nearly every pel takes the translucent branch.
std::vector<std::uint32_t> RandomRow(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<std::uint32_t> row(kWidth + 1);
    for (std::uint32_t& p : row)
        p = rng();
    return row;
}

const char* Bytes(const std::vector<std::uint32_t>& v)
{
    return reinterpret_cast<const char*>(v.data());
}

char* Bytes(std::vector<std::uint32_t>& v)
{
    return reinterpret_cast<char*>(v.data());
}

void CompositSets(benchmark::internal::Benchmark* b)
{
    const Kernels::CompositSet* sets[4];
    for (int i = 0, n = Kernels::RunnableCompositSets(sets); i < n; ++i)
        b->Arg(i);
}

void CrawlSets(benchmark::internal::Benchmark* b)
{
    const Kernels::CrawlSet* sets[4];
    for (int i = 0, n = Kernels::RunnableCrawlSets(sets); i < n; ++i)
        b->Arg(i);
}

void RunComposit(benchmark::State& state, const std::vector<std::uint32_t>& top,
                 const std::vector<std::uint32_t>& bottom)
{
    const Kernels::CompositSet* sets[4];
    Kernels::RunnableCompositSets(sets);
    const Kernels::CompositSet& set = *sets[state.range(0)];
    std::vector<std::uint32_t> out(kWidth);
    for (auto _ : state) {
        set.composit(Bytes(out), Bytes(bottom), Bytes(top), kWidth);
        benchmark::ClobberMemory();
    }
    state.SetLabel(set.name);
    state.SetItemsProcessed(state.iterations() * kWidth);
}

void BM_KernelCompositTitle(benchmark::State& state)
{
    RunComposit(state, TitleRow(1), PictureRow(2));
}
BENCHMARK(BM_KernelCompositTitle)->Apply(CompositSets);

void BM_KernelCompositRandom(benchmark::State& state)
{
    RunComposit(state, RandomRow(3), RandomRow(4));
}
BENCHMARK(BM_KernelCompositRandom)->Apply(CompositSets);

void BM_KernelSubpixCrawlTitle(benchmark::State& state)
{
    const Kernels::CrawlSet* sets[4];
    Kernels::RunnableCrawlSets(sets);
    const Kernels::CrawlSet& set = *sets[state.range(0)];
    const std::vector<std::uint32_t> src = TitleRow(5);
    std::vector<std::uint32_t> out(kWidth);
    for (auto _ : state) {
        set.subpix(Bytes(out), Bytes(src), kWidth, 77);
        benchmark::ClobberMemory();
    }
    state.SetLabel(set.name);
    state.SetItemsProcessed(state.iterations() * kWidth);
}
BENCHMARK(BM_KernelSubpixCrawlTitle)->Apply(CrawlSets);

} // namespace
