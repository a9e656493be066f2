// Whole-frame operations through the public entry points, their portable
// twins, pixman's peers on the same frames, and the bandwidth baselines.
// All are named frame/<operation>/<variant>/<content>/<mode>, or
// baseline/<pass>/-/any/<mode>.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "PixelRoutinesLite.h"
#include "Registry.h"
#include "florist.h"
#include "kernels/composite/CompositKernels.h"
#include "kernels/crawl/CrawlKernels.h"
#include "petal.h"
#include "seed.h"

#if defined(FLOWER_BENCH_PIXMAN)
#include <pixman.h>
#endif

namespace speed {

namespace {

constexpr std::size_t kFrameBytes = std::size_t(kPitch) * kHeight;
constexpr int kFraction = 77;
constexpr int kOutWidth = 1280;
constexpr int kOutHeight = 720;

void Register(const std::string& name, void (*fn)(benchmark::State&, Content), Content content)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { fn(state, content); })
        ->MinTime(kFrameMinTime)
        ->Repetitions(kFrameRepetitions)
        ->Unit(benchmark::kMillisecond);
}

std::string FrameName(const char* op, const char* variant, Content content)
{
    return std::string("frame/") + op + "/" + variant + "/" + Name(content) + "/warm";
}

void CountFrame(benchmark::State& state, std::int64_t pels = std::int64_t(kWidth) * kHeight)
{
    state.SetItemsProcessed(state.iterations() * pels);
}

// ============================================================================
// Composite in place over a bottom
// ============================================================================

// The portable twin goes through the same public path with the scalar set's
// row in the slot.
const Kernels::CompositSet* ScalarCompositSet()
{
    const Kernels::CompositSet* sets[8] = {};
    Kernels::Runnable(Kernels::kCompositSets, sets);
    return sets[0];
}

int ScalarCompositRow(char* dst, const char* bottom, const char* top, int count)
{
    static const Kernels::CompositSet* set = ScalarCompositSet();
    set->composit(dst, bottom, top, count);
    return 1;
}

const Frame& BottomFor(bool translucentBottom)
{
    return translucentBottom ? Second(Content::kTranslucent) : Picture();
}

// In place drifts the bottom towards opaque, so each frame starts again from
// the same bottom, restored off the clock (pixman gets the same).
void FlowerComposit(benchmark::State& state, Content content, bool translucentBottom, bool portable)
{
    FlowerInit();
    const Frame& top = First(content);
    const Frame& source = BottomFor(translucentBottom);
    Frame bottom = source;
    const ScanlineCompositRoutine active = ScanlineComposit;
    if (portable)
        ScanlineComposit = ScalarCompositRow;
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(bottom.Bytes(), source.Bytes(), kFrameBytes);
        state.ResumeTiming();
        Composit(bottom.Bytes(), kPitch, bottom.Bytes(), kPitch, top.Bytes(), kPitch, kWidth,
                 kHeight);
        benchmark::ClobberMemory();
    }
    ScanlineComposit = active;
    CountFrame(state);
}

void CompositFlower(benchmark::State& s, Content c)
{
    FlowerComposit(s, c, false, false);
}
void CompositPortable(benchmark::State& s, Content c)
{
    FlowerComposit(s, c, false, true);
}
void CompositOnTranslucentFlower(benchmark::State& s, Content c)
{
    FlowerComposit(s, c, true, false);
}
void CompositOnTranslucentPortable(benchmark::State& s, Content c)
{
    FlowerComposit(s, c, true, true);
}

// ============================================================================
// Sub-pixel crawl of a whole frame
// ============================================================================

const Kernels::CrawlSet* ScalarCrawlSet()
{
    const Kernels::CrawlSet* sets[8] = {};
    Kernels::Runnable(Kernels::kCrawlSets, sets);
    return sets[0];
}

int ScalarSubpixRow(char* dst, const char* src, int count, int fraction)
{
    static const Kernels::CrawlSet* set = ScalarCrawlSet();
    set->subpix(dst, src, count, fraction);
    return 1;
}

// Edges outside the picture: every row goes whole through the filter slot.
void Crawl(benchmark::State& state, Content content, bool portable)
{
    FlowerInit();
    const Frame& src = First(content);
    Frame dst;
    const ScanlineSubpixCrawlBlitRoutine active = ScanlineSubpixCrawlBlit;
    if (portable)
        ScanlineSubpixCrawlBlit = ScalarSubpixRow;
    for (auto _ : state) {
        SubpixCrawlBlit(dst.Bytes(), kPitch, src.Bytes(), kPitch, kWidth, kHeight, 0, kFraction,
                        kWidth, 0, 0, kWidth - 1, 0);
        benchmark::ClobberMemory();
    }
    ScanlineSubpixCrawlBlit = active;
    CountFrame(state);
}

void CrawlFlower(benchmark::State& s, Content c)
{
    Crawl(s, c, false);
}
void CrawlPortable(benchmark::State& s, Content c)
{
    Crawl(s, c, true);
}

// ============================================================================
// Scaling, copy and fill
// ============================================================================

// The layer borrows the frame's pels and frees nothing.
void Resize(benchmark::State& state, Frame& frame, int inWidth, int inHeight, int outWidth,
            int outHeight)
{
    FlowerInit();
    Marrow::StubLayer* src = CreateCompatibleLayer(reinterpret_cast<u8*>(frame.Bytes()), inWidth,
                                                   inHeight, kPitch, nullptr, nullptr);
    Marrow::StubLayer* dst = CreateLayer(outWidth, outHeight);
    if (!src || !dst)
        state.SkipWithError("no layers");
    else
        for (auto _ : state)
            benchmark::DoNotOptimize(ResizeLayer(dst, src, false));
    DeleteLayer(dst);
    DeleteLayer(src);
    CountFrame(state, std::int64_t(outWidth) * outHeight);
}

void ResizeDownFlower(benchmark::State& state, Content content)
{
    Frame frame = First(content);
    Resize(state, frame, kWidth, kHeight, kOutWidth, kOutHeight);
}

constexpr int kSmallWidth = 768;
constexpr int kSmallHeight = 512;

void ResizeUpFlower(benchmark::State& state, Content content)
{
    Frame frame = First(content);
    Resize(state, frame, kSmallWidth, kSmallHeight, kWidth, kHeight);
}

constexpr int kLargeWidth = 3840;
constexpr int kLargeHeight = 2160;

void ResizeTo4KFlower(benchmark::State& state, Content content)
{
    Frame frame = First(content);
    Resize(state, frame, kWidth, kHeight, kLargeWidth, kLargeHeight);
}

void BlitFlower(benchmark::State& state, Content content)
{
    FlowerInit();
    const Frame& src = First(content);
    Frame dst;
    for (auto _ : state) {
        Blit(dst.Bytes(), kPitch, src.Bytes(), kPitch, kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    CountFrame(state);
}

constexpr std::uint32_t kFillColour = 0xFF2040C0u;

void FillFlower(benchmark::State& state, Content)
{
    FlowerInit();
    Frame dst;
    for (auto _ : state) {
        BlitColour(dst.Bytes(), kPitch, kWidth, kHeight, int(kFillColour));
        benchmark::ClobberMemory();
    }
    CountFrame(state);
}

// ============================================================================
// pixman on the same frames, premultiplied once off the clock
// ============================================================================

#if defined(FLOWER_BENCH_PIXMAN)

class PixmanImage {
  public:
    PixmanImage(Frame& frame, int width, int height)
        : PixmanImage(frame.pels.data(), width, height, kPitch)
    {
    }
    PixmanImage(std::uint32_t* pels, int width, int height, int pitch)
        : image_(pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height, pels, pitch))
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

// Largest channel difference between Flower's straight result, premultiplied,
// and pixman's: both round at different steps, a few units apart at most.
int Disagreement(const Frame& flower, const Frame& pixman)
{
    int worst = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const std::size_t i = std::size_t(y) * kStride + std::size_t(x);
            const std::uint32_t f = Premultiplied(flower.pels[i]), p = pixman.pels[i];
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

void PixmanComposit(benchmark::State& state, Content content, bool translucentBottom)
{
    const Frame& straightBottom = BottomFor(translucentBottom);
    Frame flower;
    FlowerInit();
    Composit(flower.Bytes(), kPitch, straightBottom.Bytes(), kPitch, First(content).Bytes(), kPitch,
             kWidth, kHeight);

    Frame source = straightBottom, top = First(content);
    Premultiply(source);
    Premultiply(top);
    Frame bottom = source;
    PixmanImage dst(bottom, kWidth, kHeight), src(top, kWidth, kHeight);
    if (!dst.get() || !src.get()) {
        state.SkipWithError("pixman_image_create_bits failed");
        return;
    }
    PixmanOver(dst.get(), src.get());
    if (Disagreement(flower, bottom) > kAgreement) {
        state.SkipWithError("pixman and Flower disagree");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(bottom.Bytes(), source.Bytes(), kFrameBytes);
        state.ResumeTiming();
        PixmanOver(dst.get(), src.get());
        benchmark::ClobberMemory();
    }
    CountFrame(state);
}

void CompositPixman(benchmark::State& s, Content c)
{
    PixmanComposit(s, c, false);
}
void CompositOnTranslucentPixman(benchmark::State& s, Content c)
{
    PixmanComposit(s, c, true);
}

void PixmanScale(benchmark::State& state, Content content, int inWidth, int inHeight, int outWidth,
                 int outHeight)
{
    Frame in = First(content);
    Premultiply(in);
    // Destinations larger than a frame get pels of their own.
    std::vector<std::uint32_t> out(std::size_t(outWidth) * std::size_t(outHeight));
    PixmanImage src(in, inWidth, inHeight), dst(out.data(), outWidth, outHeight, outWidth * 4);
    if (!src.get() || !dst.get()) {
        state.SkipWithError("pixman_image_create_bits failed");
        return;
    }
    // The transform maps destination to source coordinates.
    pixman_transform_t toSource;
    pixman_transform_init_scale(&toSource, pixman_int_to_fixed(inWidth) / outWidth,
                                pixman_int_to_fixed(inHeight) / outHeight);
    pixman_image_set_transform(src.get(), &toSource);
    pixman_image_set_filter(src.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0);
    pixman_image_set_repeat(src.get(), PIXMAN_REPEAT_PAD);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, src.get(), nullptr, dst.get(), 0, 0, 0, 0, 0, 0,
                                 outWidth, outHeight);
        benchmark::ClobberMemory();
    }
    CountFrame(state, std::int64_t(outWidth) * outHeight);
}

void ResizeDownPixman(benchmark::State& s, Content c)
{
    PixmanScale(s, c, kWidth, kHeight, kOutWidth, kOutHeight);
}

void ResizeUpPixman(benchmark::State& s, Content c)
{
    PixmanScale(s, c, kSmallWidth, kSmallHeight, kWidth, kHeight);
}

void ResizeTo4KPixman(benchmark::State& s, Content c)
{
    PixmanScale(s, c, kWidth, kHeight, kLargeWidth, kLargeHeight);
}

void BlitPixman(benchmark::State& state, Content content)
{
    Frame in = First(content), out;
    PixmanImage src(in, kWidth, kHeight), dst(out, kWidth, kHeight);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, src.get(), nullptr, dst.get(), 0, 0, 0, 0, 0, 0,
                                 kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    CountFrame(state);
}

void FillPixman(benchmark::State& state, Content)
{
    Frame out;
    PixmanImage dst(out, kWidth, kHeight);
    // 16 bits a channel; an opaque colour needs no premultiplying.
    const pixman_color_t colour = {0x2020, 0x4040, 0xC0C0, 0xFFFF};
    const pixman_rectangle16_t whole = {0, 0, kWidth, kHeight};
    for (auto _ : state) {
        pixman_image_fill_rectangles(PIXMAN_OP_SRC, dst.get(), &colour, 1, &whole);
        benchmark::ClobberMemory();
    }
    if (out.pels[0] != kFillColour)
        state.SkipWithError("pixman fill gave another colour");
    CountFrame(state);
}

#endif

// ============================================================================
// Bandwidth baselines
// ============================================================================

void Memcpy(benchmark::State& state, Mode mode)
{
    const Frame& src = Picture();
    static Frame dst;
    const int rows = RowsOf(mode);
    for (auto _ : state) {
        if (mode == Mode::kWarm)
            std::memcpy(dst.Bytes(), src.Bytes(), kFrameBytes);
        else
            for (int y = 0; y < rows; ++y)
                std::memcpy(dst.Row(y), src.Row(y), std::size_t(kWidth) * 4);
        benchmark::ClobberMemory();
    }
    CountFrame(state, std::int64_t(rows) * kWidth);
}

// Read one buffer, write another: the least any row routine can cost.
void TwoBuffer(benchmark::State& state, Mode mode)
{
    const Frame& src = Picture();
    static Frame dst;
    const int rows = RowsOf(mode);
    for (auto _ : state) {
        for (int y = 0; y < rows; ++y) {
            const auto* in = reinterpret_cast<const std::uint32_t*>(src.Row(y));
            auto* out = reinterpret_cast<std::uint32_t*>(dst.Row(y));
            for (int x = 0; x < kWidth; ++x)
                out[x] = in[x] + 1;
        }
        benchmark::ClobberMemory();
    }
    CountFrame(state, std::int64_t(rows) * kWidth);
}

struct Operation {
    const char* name;
    const char* variant;
    void (*run)(benchmark::State&, Content);
    bool everyContent; // else the opaque frame alone
};

const Operation kOperations[] = {
    {"Composit", "flower", CompositFlower, true},
    {"Composit", "portable", CompositPortable, true},
    {"CompositOnTranslucent", "flower", CompositOnTranslucentFlower, false},
    {"CompositOnTranslucent", "portable", CompositOnTranslucentPortable, false},
    {"SubpixCrawlBlit", "flower", CrawlFlower, true},
    {"SubpixCrawlBlit", "portable", CrawlPortable, true},
    {"ResizeLayer", "flower", ResizeDownFlower, true},
    {"ResizeLayerUp", "flower", ResizeUpFlower, false},
    {"ResizeLayerTo4K", "flower", ResizeTo4KFlower, false},
    {"Blit", "flower", BlitFlower, false},
    {"BlitColour", "flower", FillFlower, false},
#if defined(FLOWER_BENCH_PIXMAN)
    {"Composit", "pixman", CompositPixman, true},
    {"CompositOnTranslucent", "pixman", CompositOnTranslucentPixman, false},
    {"ResizeLayer", "pixman", ResizeDownPixman, true},
    {"ResizeLayerUp", "pixman", ResizeUpPixman, false},
    {"ResizeLayerTo4K", "pixman", ResizeTo4KPixman, false},
    {"Blit", "pixman", BlitPixman, false},
    {"BlitColour", "pixman", FillPixman, false},
#endif
};

// Composites onto a translucent bottom use a translucent top.
Content OnlyContentOf(const Operation& op)
{
    return std::strcmp(op.name, "CompositOnTranslucent") == 0 ? Content::kTranslucent
                                                              : Content::kOpaque;
}

} // namespace

// The variants of one operation on one content run one after the other, so
// that their ratios come from the same moments of a shared machine.
void RegisterFrameOperations()
{
    for (const Operation& first : kOperations) {
        const auto sameName = [&](const Operation& op) {
            return std::strcmp(op.name, first.name) == 0;
        };
        if (&first != std::find_if(std::begin(kOperations), std::end(kOperations), sameName))
            continue;
        for (Content content : kContents)
            for (const Operation& op : kOperations)
                if (sameName(op) && (op.everyContent || content == OnlyContentOf(op)))
                    Register(FrameName(op.name, op.variant, content), op.run, content);
    }
    for (Mode mode : {Mode::kWarm, Mode::kCached}) {
        const std::string suffix = std::string("/-/any/") + Name(mode);
        benchmark::RegisterBenchmark(("baseline/memcpy" + suffix).c_str(),
                                     [=](benchmark::State& s) { Memcpy(s, mode); })
            ->MinTime(kFrameMinTime)
            ->Repetitions(kBaselineRepetitions);
        benchmark::RegisterBenchmark(("baseline/two-buffer" + suffix).c_str(),
                                     [=](benchmark::State& s) { TwoBuffer(s, mode); })
            ->MinTime(kFrameMinTime)
            ->Repetitions(kBaselineRepetitions);
    }
}

} // namespace speed

namespace speed {

const char* PixmanVersion()
{
#if defined(FLOWER_BENCH_PIXMAN)
    return pixman_version_string();
#else
    return nullptr;
#endif
}

} // namespace speed
