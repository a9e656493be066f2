// Flower's hottest frame operations against pixman, the general-purpose raster
// library a host would otherwise use, on the same 1920x1080 content.
//
// Flower works on straight-alpha pels; pixman works on premultiplied ones. Each
// pair therefore runs the same visual operation, not the same arithmetic: the
// pixman side gets the same content converted once to premultiplied
// PIXMAN_a8r8g8b8 (same byte order as a Pel) before any timing starts. The two
// composite pairs check, untimed, that both results agree once premultiplied.
#include <benchmark/benchmark.h>
#include <pixman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "../TitleContent.h"
#include "PixelRoutinesLite.h"
#include "florist.h"
#include "seed.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kPitch = kWidth * 4;
constexpr std::int64_t kFramePels = std::int64_t(kWidth) * kHeight;
constexpr std::size_t kFrameSize = std::size_t(kFramePels);

using Pels = std::vector<std::uint32_t>;

// --- content ------------------------------------------------------------------

Pels TextRow(std::mt19937& rng)
{
    return TitleTextRow(rng, std::size_t(kWidth));
}

// Text lines 48 rows tall every 120 rows, each line a few row patterns repeated
// as glyph stems are; everything else clear (with junk colour, as a renderer
// may leave). About four fifths of the frame is fully transparent.
Pels TitleFrame()
{
    std::mt19937 rng(1);
    Pels frame(kFrameSize), stems;
    for (int y = 0; y < kHeight; ++y) {
        std::uint32_t* out = &frame[std::size_t(y) * kWidth];
        const int inLine = y % 120;
        if (inLine < 36 || inLine >= 84) {
            for (int x = 0; x < kWidth; ++x)
                out[x] = rng() & 0xFFFFFFu;
            continue;
        }
        // New stems every 6 rows; the rows between repeat them.
        if ((inLine - 36) % 6 == 0)
            stems = TextRow(rng);
        std::copy(stems.begin(), stems.end(), out);
    }
    return frame;
}

Pels OpaquePicture(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Pels frame(kFrameSize);
    for (std::uint32_t& p : frame)
        p = 0xFF000000u | (rng() & 0xFFFFFFu);
    return frame;
}

// Every alpha equally likely.
Pels RandomFrame(std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Pels frame(kFrameSize);
    for (std::uint32_t& p : frame)
        p = rng();
    return frame;
}

std::uint32_t Premultiplied(std::uint32_t pel)
{
    const std::uint32_t a = pel >> 24;
    std::uint32_t out = pel & 0xFF000000u;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t c = (pel >> shift) & 0xFFu;
        out |= ((c * a + 127) / 255) << shift;
    }
    return out;
}

Pels PremultipliedCopy(const std::uint32_t* pels, std::size_t count)
{
    Pels out(count);
    std::transform(pels, pels + count, out.begin(), Premultiplied);
    return out;
}

char* Bytes(Pels& v)
{
    return reinterpret_cast<char*>(v.data());
}

const char* Bytes(const Pels& v)
{
    return reinterpret_cast<const char*>(v.data());
}

// --- pixman images ------------------------------------------------------------

// A pixman image over a caller-owned buffer, released with the holder.
class PixmanImage {
  public:
    PixmanImage(Pels& pels, int width, int height)
        : image_(pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height, pels.data(), width * 4))
    {
    }
    ~PixmanImage()
    {
        if (image_)
            pixman_image_unref(image_);
    }
    PixmanImage(const PixmanImage&) = delete;
    PixmanImage& operator=(const PixmanImage&) = delete;

    pixman_image_t* get() const { return image_; }

  private:
    pixman_image_t* image_;
};

// Largest channel difference between Flower's straight result (premultiplied
// here) and pixman's premultiplied one. Both round at different steps: 1 on
// title content and 3 on random translucent pels are expected.
int MaxPremultipliedDifference(const Pels& flower, const Pels& pixman)
{
    int worst = 0;
    for (std::size_t i = 0; i < flower.size(); ++i) {
        const std::uint32_t f = Premultiplied(flower[i]), p = pixman[i];
        for (int shift = 0; shift < 32; shift += 8) {
            const int d = int((f >> shift) & 0xFFu) - int((p >> shift) & 0xFFu);
            worst = std::max(worst, std::abs(d));
        }
    }
    return worst;
}

constexpr int kAgreement = 4;

void PixmanOver(pixman_image_t* dst, pixman_image_t* top)
{
    pixman_image_composite32(PIXMAN_OP_OVER, top, nullptr, dst, 0, 0, 0, 0, 0, 0, kWidth, kHeight);
}

// --- composite ----------------------------------------------------------------

// Flower writes the frame into a third buffer (its usual form, one more 8 MB
// stream) or, with range(0) == 1, over the bottom in place as pixman always
// does. In place is only steady when the bottom is opaque, so the random pair
// uses the third buffer.
void FlowerComposit(benchmark::State& state, const Pels& bottomIn, const Pels& top)
{
    FlowerInit();
    const bool inPlace = state.range(0) == 1;
    Pels bottom = bottomIn, frame(bottomIn.size());
    char* dst = inPlace ? Bytes(bottom) : Bytes(frame);
    for (auto _ : state) {
        Composit(dst, kPitch, Bytes(bottom), kPitch, Bytes(top), kPitch, kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kFramePels);
}

// pixman's OVER writes into its destination, which drifts towards opaque over
// repeated runs; its cost depends on the top's alpha only, so that is harmless.
void PixmanComposit(benchmark::State& state, const Pels& bottom, const Pels& top)
{
    Pels flowerFrame(bottom.size());
    FlowerInit();
    Composit(Bytes(flowerFrame), kPitch, Bytes(bottom), kPitch, Bytes(top), kPitch, kWidth,
             kHeight);

    Pels pmBottom = PremultipliedCopy(bottom.data(), bottom.size());
    Pels pmTop = PremultipliedCopy(top.data(), top.size());
    PixmanImage dst(pmBottom, kWidth, kHeight), src(pmTop, kWidth, kHeight);
    if (!dst.get() || !src.get()) {
        state.SkipWithError("pixman_image_create_bits failed");
        return;
    }
    PixmanOver(dst.get(), src.get());
    const int disagreement = MaxPremultipliedDifference(flowerFrame, pmBottom);
    if (disagreement > kAgreement) {
        state.SkipWithError("pixman and Flower disagree");
        return;
    }
    state.counters["max_channel_diff"] = disagreement;
    for (auto _ : state) {
        PixmanOver(dst.get(), src.get());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kFramePels);
}

const Pels& Title()
{
    static const Pels frame = TitleFrame();
    return frame;
}

const Pels& Picture()
{
    static const Pels frame = OpaquePicture(2);
    return frame;
}

void BM_CompositTitle_Flower(benchmark::State& state)
{
    FlowerComposit(state, Picture(), Title());
}
BENCHMARK(BM_CompositTitle_Flower)
    ->ArgName("in_place")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void BM_CompositTitle_Pixman(benchmark::State& state)
{
    PixmanComposit(state, Picture(), Title());
}
BENCHMARK(BM_CompositTitle_Pixman)->Unit(benchmark::kMillisecond);

const Pels& RandomTop()
{
    static const Pels frame = RandomFrame(3);
    return frame;
}

const Pels& RandomBottom()
{
    static const Pels frame = RandomFrame(4);
    return frame;
}

void BM_CompositRandom_Flower(benchmark::State& state)
{
    FlowerComposit(state, RandomBottom(), RandomTop());
}
BENCHMARK(BM_CompositRandom_Flower)->ArgName("in_place")->Arg(0)->Unit(benchmark::kMillisecond);

void BM_CompositRandom_Pixman(benchmark::State& state)
{
    PixmanComposit(state, RandomBottom(), RandomTop());
}
BENCHMARK(BM_CompositRandom_Pixman)->Unit(benchmark::kMillisecond);

// --- copy and fill ------------------------------------------------------------

void BM_Copy_Flower(benchmark::State& state)
{
    FlowerInit();
    const Pels& src = Picture();
    Pels dst(src.size());
    for (auto _ : state) {
        Blit(Bytes(dst), kPitch, Bytes(src), kPitch, kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kFramePels);
}
BENCHMARK(BM_Copy_Flower)->Unit(benchmark::kMillisecond);

void BM_Copy_Pixman(benchmark::State& state)
{
    Pels src = Picture(), dst(src.size());
    PixmanImage from(src, kWidth, kHeight), to(dst, kWidth, kHeight);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, from.get(), nullptr, to.get(), 0, 0, 0, 0, 0, 0,
                                 kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kFramePels);
}
BENCHMARK(BM_Copy_Pixman)->Unit(benchmark::kMillisecond);

constexpr std::uint32_t kFillColour = 0xFF2040C0u;

void BM_Fill_Flower(benchmark::State& state)
{
    FlowerInit();
    Pels dst(kFrameSize);
    for (auto _ : state) {
        BlitColour(Bytes(dst), kPitch, kWidth, kHeight, int(kFillColour));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kFramePels);
}
BENCHMARK(BM_Fill_Flower)->Unit(benchmark::kMillisecond);

void BM_Fill_Pixman(benchmark::State& state)
{
    Pels dst(kFrameSize);
    PixmanImage to(dst, kWidth, kHeight);
    // pixman colours are 16 bits a channel; an opaque colour needs no premultiplying.
    const pixman_color_t colour = {0x2020, 0x4040, 0xC0C0, 0xFFFF};
    const pixman_rectangle16_t whole = {0, 0, kWidth, kHeight};
    for (auto _ : state) {
        pixman_image_fill_rectangles(PIXMAN_OP_SRC, to.get(), &colour, 1, &whole);
        benchmark::ClobberMemory();
    }
    if (dst[0] != kFillColour)
        state.SkipWithError("pixman fill gave another colour");
    state.SetItemsProcessed(state.iterations() * kFramePels);
}
BENCHMARK(BM_Fill_Pixman)->Unit(benchmark::kMillisecond);

// --- scale --------------------------------------------------------------------

// The built-in 768x512 picture enlarged to the frame. The filters differ:
// Flower's two-tap linear filter runs in double precision on alpha-weighted
// colour and truncates; pixman's bilinear filter interpolates premultiplied
// pels with 7-bit fixed-point weights. Same job, not the same pixels.
constexpr int kSmallWidth = 768;
constexpr int kSmallHeight = 512;

void BM_ScaleUp_Flower(benchmark::State& state)
{
    FlowerInit();
    Marrow::StubLayer* src = CreateFlower();
    Marrow::StubLayer* dst = CreateLayer(kWidth, kHeight);
    if (!src || !dst)
        state.SkipWithError("no layers");
    else
        for (auto _ : state)
            benchmark::DoNotOptimize(ResizeLayer(dst, src, false));
    state.SetItemsProcessed(state.iterations() * kFramePels);
    DeleteLayer(dst);
    DeleteLayer(src);
}
BENCHMARK(BM_ScaleUp_Flower)->Unit(benchmark::kMillisecond);

void BM_ScaleUp_Pixman(benchmark::State& state)
{
    const auto* flowerPels = reinterpret_cast<const std::uint32_t*>(GetFlowerData());
    Pels small = PremultipliedCopy(flowerPels, std::size_t(kSmallWidth) * kSmallHeight);
    Pels frame(kFrameSize);
    PixmanImage src(small, kSmallWidth, kSmallHeight), dst(frame, kWidth, kHeight);

    // The transform maps destination to source coordinates.
    pixman_transform_t toSource;
    pixman_transform_init_scale(&toSource, pixman_int_to_fixed(kSmallWidth) / kWidth,
                                pixman_int_to_fixed(kSmallHeight) / kHeight);
    pixman_image_set_transform(src.get(), &toSource);
    pixman_image_set_filter(src.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0);
    pixman_image_set_repeat(src.get(), PIXMAN_REPEAT_PAD);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, src.get(), nullptr, dst.get(), 0, 0, 0, 0, 0, 0,
                                 kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kFramePels);
}
BENCHMARK(BM_ScaleUp_Pixman)->Unit(benchmark::kMillisecond);

} // namespace
