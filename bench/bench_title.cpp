// One title frame at 1920x1080 as flower-title renders it: copy the static
// base, sub-pixel crawl a text strip, roll a text block through the
// three-line filter, composite both. The text is synthetic glyph-like
// coverage (the program's FreeType text is not available here).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "PixelRoutinesLite.h"
#include "seed.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

struct Buffer {
    int width, height;
    std::vector<std::uint32_t> pels;
    Buffer(int w, int h, std::uint32_t fill = 0)
        : width(w), height(h), pels(std::size_t(w) * h, fill)
    {
    }
    char* At(int x, int y)
    {
        return reinterpret_cast<char*>(pels.data() + std::size_t(y) * width + x);
    }
    int Pitch() const { return width * 4; }
};

// Letter-sized blobs of white with anti-aliased edges on transparent black.
void FillWithText(Buffer& b, int x0, int x1, int y0, int y1, std::uint32_t seed)
{
    std::mt19937 rng(seed);
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) {
            const int cx = x % 28, cy = (y - y0) % 72;
            const bool ink =
                cx > 3 && cx < 24 && cy > 12 && cy < 60 && ((cx / 5 + cy / 9) % 3 != 0);
            const std::uint32_t a = ink ? 255u : (cx == 3 || cx == 24) ? rng() & 255u : 0u;
            b.pels[std::size_t(y) * b.width + x] = a << 24 | 0xFFFFFFu;
        }
}

void BM_TitleFrame1080(benchmark::State& state)
{
    FlowerInit();
    Buffer base(kWidth, kHeight, 0xFF406080u), frame(kWidth, kHeight);
    const int crawlHeight = 90, textWidth = 6000;
    const int crawlPeriod = kWidth + textWidth;
    Buffer crawlStrip(crawlPeriod + kWidth + 1, crawlHeight), crawlOut(kWidth, crawlHeight);
    FillWithText(crawlStrip, kWidth, kWidth + textWidth, 0, crawlHeight, 1);
    const int rollWidth = 1200, rollHeight = 760, blockHeight = 1400;
    const int rollPeriod = rollHeight + blockHeight;
    Buffer rollStrip(rollWidth, rollPeriod), rollOut(rollWidth, rollHeight);
    FillWithText(rollStrip, 0, rollWidth, rollHeight, rollPeriod, 2);
    const int fade = 64, rollX = (kWidth - rollWidth) / 2, rollY = 90, crawlY = 940;

    int n = 0;
    for (auto _ : state) {
        const int crawlPos = (3000 + 9 * n) % crawlPeriod, rollPos = (800 + 3 * n) % rollPeriod;
        const int fraction = (n * 37) & 255;
        Blit(frame.At(0, 0), frame.Pitch(), base.At(0, 0), base.Pitch(), kWidth, kHeight);
        SubpixCrawlBlit(crawlOut.At(0, 0), crawlOut.Pitch(), crawlStrip.At(0, 0),
                        crawlStrip.Pitch(), kWidth, crawlHeight, crawlPos, fraction, crawlPeriod,
                        fade, fade, kWidth - fade, fade);
        Composit(frame.At(0, crawlY), frame.Pitch(), frame.At(0, crawlY), frame.Pitch(),
                 crawlOut.At(0, 0), crawlOut.Pitch(), kWidth, crawlHeight);
        // As the program does: one call per top-fade row, one for the rest.
        for (int row = 0; row < fade; ++row)
            RollBlastDataSubPix(rollOut.At(0, row), rollStrip.At(0, 0), rollWidth, 1,
                                rollOut.Pitch(), rollStrip.Pitch(), (rollPos + row) % rollPeriod, 1,
                                fraction, rollPeriod, 32, fade - row, fade + 1, 1, 1);
        const int rest = rollHeight - fade;
        RollBlastDataSubPix(rollOut.At(0, fade), rollStrip.At(0, 0), rollWidth, rest,
                            rollOut.Pitch(), rollStrip.Pitch(), (rollPos + fade) % rollPeriod, 1,
                            fraction, rollPeriod, 32, 0, 0, rest - 1 - fade, fade);
        Composit(frame.At(rollX, rollY), frame.Pitch(), frame.At(rollX, rollY), frame.Pitch(),
                 rollOut.At(0, 0), rollOut.Pitch(), rollWidth, rollHeight);
        benchmark::DoNotOptimize(frame.pels.data());
        ++n;
    }
    state.counters["fps"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TitleFrame1080)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
