// Fill, copy, channel, fade, mix and reorder routines against the model.
#include "RowHarness.h"
#include "StemModel.h"

#include "stem.h"

#include <algorithm>
#include <vector>

namespace {

using rows::CheckRows;
using rows::Sources;
using rows::u32;

TEST(BasicRows, FillsAndChannelSettersMatchModel)
{
    CheckRows<0>(
        "Clear", [](u32* d, Sources, int n) { Stem::ClearScanline(d, n); },
        [](const u32*) { return 0u; }, rows::kNoNegativeCount);
    CheckRows<0>(
        "Set", [](u32* d, Sources, int n) { Stem::SetScanline(d, n, 0x80FF0000); },
        [](const u32*) { return 0x80FF0000u; });
    struct Setter {
        const char* name;
        void (*run)(Pel*, int, unsigned char);
        int shift;
    };
    const Setter setters[] = {{"SetAlpha", Stem::SetAlphaScanline, 24},
                              {"SetRed", Stem::SetRedScanline, 16},
                              {"SetGreen", Stem::SetGreenScanline, 8},
                              {"SetBlue", Stem::SetBlueScanline, 0}};
    for (const Setter& s : setters)
        for (u32 v : {0x00u, 0x12u, 0xFFu})
            CheckRows<0>(
                s.name, [&](u32* d, Sources, int n) { s.run(d, n, static_cast<unsigned char>(v)); },
                [&](const u32* p) { return (p[0] & ~(255u << s.shift)) | v << s.shift; });
}

TEST(BasicRows, FadesMatchModelAtEveryLevel)
{
    for (u32 level = 0; level < 256; ++level) {
        const auto l = static_cast<unsigned char>(level);
        CheckRows<0>(
            "Fade " + std::to_string(level),
            [l](u32* d, Sources, int n) { Stem::FadeScanline(d, n, l); },
            [level](const u32* p) { return model::Fade(p[0], level); });
        CheckRows<1>(
            "FadeCopy " + std::to_string(level),
            [l](u32* d, Sources s, int n) { Stem::FadeCopyScanline(d, s[0], n, l); },
            [level](const u32* p) { return model::Fade(p[1], level); });
    }
    // Overlapping rows are faded first pel to last, so a shifted copy smears.
    std::vector<u32> row = {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004, 0xFF000005};
    Stem::FadeCopyScanline(row.data() + 1, row.data(), 4, 255);
    EXPECT_EQ(row, std::vector<u32>(5, 0xFF000001));
}

TEST(BasicRows, CopiesAndBlendsMatchModel)
{
    CheckRows<1>(
        "Copy", [](u32* d, Sources s, int n) { Stem::CopyScanline(d, s[0], n); },
        [](const u32* p) { return p[1]; }, rows::kNoAlias | rows::kNoNegativeCount);
    CheckRows<1>(
        "Move", [](u32* d, Sources s, int n) { Stem::MoveScanline(d, s[0], n); },
        [](const u32* p) { return p[1]; }, rows::kNoNegativeCount);
    for (u32 level : {0u, 1u, 127u, 128u, 254u, 255u})
        CheckRows<2>(
            "Blend " + std::to_string(level),
            [level](u32* d, Sources s, int n) {
                Stem::BlendScanline(d, s[0], s[1], n, static_cast<unsigned char>(level));
            },
            [level](const u32* p) { return model::Blend(p[1], p[2], level); });
}

TEST(BasicRows, SwapAndFlipReorderPels)
{
    support::Rng rng(5);
    for (int n = -1; n <= rows::kMaxCount; ++n) {
        const std::vector<u32> a = support::RandomRow(rng, n + 4),
                               b = support::RandomRow(rng, n + 4);
        std::vector<u32> gotA = a, gotB = b, flip = a, wantA = a, wantB = b, wantFlip = a;
        Stem::SwapScanline(gotA.data(), gotB.data(), n);
        Stem::HorizontalFlipScanline(flip.data(), n);
        if (n > 0) {
            std::swap_ranges(wantA.begin(), wantA.begin() + n, wantB.begin());
            std::reverse(wantFlip.begin(), wantFlip.begin() + n);
        }
        EXPECT_TRUE(gotA == wantA && gotB == wantB) << "Swap count " << n;
        EXPECT_EQ(flip, wantFlip) << "Flip count " << n;
    }
}

} // namespace
