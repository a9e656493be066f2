// Platform routines give what the buffer routines give for the same rows,
// called the buffer way round: bottom before top, bottom opacity first.
#include <gtest/gtest.h>

#include "PixelRoutinesLite.h"
#include "seed.h"
#include "stem.h"
#include "support/Rng.h"

#include <vector>

namespace {

using support::u32;

char* B(u32* p)
{
    return reinterpret_cast<char*>(p);
}
const char* B(const u32* p)
{
    return reinterpret_cast<const char*>(p);
}

// Each case runs the platform routine on `got` and the buffer routine on
// `want`, from the same top and bottom rows, level and opacity.
struct Case {
    const char* name;
    void (*platform)(u32* got, const u32* top, const u32* bottom, int n, int level, int opacity);
    void (*buffer)(u32* want, const u32* top, const u32* bottom, int n, int level, int opacity);
};

unsigned char Byte(int v)
{
    return static_cast<unsigned char>(v);
}

// clang-format off
const Case kCases[] = {
    {"Clear", [](u32* g, const u32*, const u32*, int n, int, int) { GetClearScanline()(g, n); },
              [](u32* w, const u32*, const u32*, int n, int, int) { ScanlineBlitColour(B(w), n, 0); }},
    {"Set", [](u32* g, const u32*, const u32*, int n, int, int) { GetSetScanline()(g, n, 0x80FF0000u); },
            [](u32* w, const u32*, const u32*, int n, int, int) { ScanlineBlitColour(B(w), n, int(0x80FF0000u - 0x100000000ll)); }},
    {"Copy", [](u32* g, const u32* t, const u32*, int n, int, int) { GetCopyScanline()(g, t, n); },
             [](u32* w, const u32* t, const u32*, int n, int, int) { ScanlineBlit(B(w), B(t), n); }},
    {"Composit", [](u32* g, const u32* t, const u32* b, int n, int, int) { GetCompositScanline()(g, t, b, n); },
                 [](u32* w, const u32* t, const u32* b, int n, int, int) { ScanlineComposit(B(w), B(b), B(t), n); }},
    {"Fade", [](u32* g, const u32*, const u32*, int n, int l, int) { PixelRoutines::FadeScanline(g, n, Byte(l)); },
             [](u32* w, const u32*, const u32*, int n, int l, int) { ScanlineFade(B(w), B(w), n, l); }},
    {"FadeCopy", [](u32* g, const u32* t, const u32*, int n, int l, int) { PixelRoutines::FadeCopyScanline(g, t, n, Byte(l)); },
                 [](u32* w, const u32* t, const u32*, int n, int l, int) { ScanlineFade(B(w), B(t), n, l); }},
    {"Blend", [](u32* g, const u32* t, const u32* b, int n, int l, int) { PixelRoutines::BlendScanline(g, t, b, n, Byte(l)); },
              [](u32* w, const u32* t, const u32* b, int n, int l, int) { ScanlineCrossFade(B(w), B(t), B(b), n, 256 - l, l); }},
    {"TopOpacity", [](u32* g, const u32* t, const u32* b, int n, int, int o) { PixelRoutines::CompositWithTopOpacityScanline(g, t, b, n, Byte(o)); },
                   [](u32* w, const u32* t, const u32* b, int n, int, int o) { ScanlineCompositWithOpacity(B(w), B(b), B(t), n, 255, o); }},
    {"BottomOpacity", [](u32* g, const u32* t, const u32* b, int n, int, int o) { PixelRoutines::CompositWithBottomOpacityScanline(g, t, b, n, Byte(o)); },
                      [](u32* w, const u32* t, const u32* b, int n, int, int o) { ScanlineCompositWithOpacity(B(w), B(b), B(t), n, o, 255); }},
    {"Opacity", [](u32* g, const u32* t, const u32* b, int n, int l, int o) { PixelRoutines::CompositWithOpacityScanline(g, t, b, n, Byte(l), Byte(o)); },
                [](u32* w, const u32* t, const u32* b, int n, int l, int o) { ScanlineCompositWithOpacity(B(w), B(b), B(t), n, o, l); }}};
// clang-format on

TEST(PlatformRoutines, MatchBufferRoutinesWithSwappedArguments)
{
    ASSERT_TRUE(FlowerInit());
    support::Rng rng(1234);
    for (int n : {0, 1, 3, 8, 17, 1920}) {
        // One spare pel past the row that must survive.
        const std::vector<u32> top = support::RandomRow(rng, n + 1),
                               bottom = support::RandomRow(rng, n + 1),
                               start = support::RandomRow(rng, n + 1);
        const int level = int(rng.Below(256)), opacity = int(rng.Below(256));
        for (const Case& c : kCases) {
            std::vector<u32> got = start, want = start;
            c.platform(got.data(), top.data(), bottom.data(), n, level, opacity);
            c.buffer(want.data(), top.data(), bottom.data(), n, level, opacity);
            EXPECT_EQ(got, want) << c.name << " count " << n;
        }
    }
}

} // namespace
