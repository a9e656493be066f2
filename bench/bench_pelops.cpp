#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "inlinepelops.h"

namespace {

std::vector<Pel> RandomPels(std::size_t count, std::uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<Pel> pels(count);
    for (Pel& p : pels)
        p = rng();
    return pels;
}

void BM_CompositPel(benchmark::State& state)
{
    const auto top = RandomPels(1920, 1);
    const auto bottom = RandomPels(1920, 2);
    std::vector<Pel> out(1920);
    for (auto _ : state) {
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = CompositPel(top[i], bottom[i]);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(out.size()));
}
BENCHMARK(BM_CompositPel);

} // namespace
