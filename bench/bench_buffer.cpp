// Buffer routines: the composite row and whole-frame rolls.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "PixelRoutinesLite.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kPitch = kWidth * 4;

// Alphas 0 and 255 a third of the time each, as title text mostly is.
std::vector<std::uint32_t> TitlePels(std::size_t count, std::uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<std::uint32_t> pels(count);
    for (std::uint32_t& p : pels) {
        p = rng();
        const std::uint32_t kind = rng() % 3;
        if (kind == 0)
            p &= 0x00FFFFFFu;
        else if (kind == 1)
            p |= 0xFF000000u;
    }
    return pels;
}

char* Bytes(std::vector<std::uint32_t>& v)
{
    return reinterpret_cast<char*>(v.data());
}

void BM_CompositRow(benchmark::State& state)
{
    SelectCEEFunctions();
    auto top = TitlePels(kWidth, 1), bottom = TitlePels(kWidth, 2), out = TitlePels(kWidth, 3);
    for (auto _ : state) {
        ScanlineComposit(Bytes(out), Bytes(bottom), Bytes(top), kWidth);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kWidth);
}
BENCHMARK(BM_CompositRow);

// A strip one frame and a half tall, rolled with fades at both edges.
void BM_RollFrame(benchmark::State& state)
{
    SelectCEEFunctions();
    const int period = kHeight * 3 / 2;
    auto strip = TitlePels(std::size_t(kWidth) * period, 4);
    std::vector<std::uint32_t> frame(std::size_t(kWidth) * kHeight);
    const int which = int(state.range(0));
    int start = 0;
    for (auto _ : state) {
        if (which == 0)
            RollCopyData(Bytes(frame), Bytes(strip), kWidth, kHeight, kPitch, kPitch, start, 1,
                         period, 100, 100, kHeight - 100, 100);
        else if (which == 1)
            RollBlastDataSubPix(Bytes(frame), Bytes(strip), kWidth, kHeight, kPitch, kPitch, start,
                                1, 77, period, 64, 100, 100, kHeight - 100, 100);
        else
            RollBlastDataSubPixNoFilter(Bytes(frame), Bytes(strip), kWidth, kHeight, kPitch,
                                        4 * kPitch, start, 1, 77, period, 100, 100, kHeight - 100,
                                        100);
        start += 3;
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_RollFrame)->Arg(0)->Arg(1)->Arg(2)->ArgName("copy0_filter1_nofilter2");

} // namespace
