// Fill, copy, channel, fade, mix and reorder routines against the model.
#include "StemModel.h"
#include "support/RowHarness.h"

#include "stem.h"

#include <algorithm>
#include <vector>

namespace {

using support::CheckRows;
using support::Pelwise;
using support::u32;
using R = const support::Rows*;

using stemtest::Byte;
using stemtest::kRows;

TEST(BasicRows, FillsAndChannelSettersMatchModel)
{
    support::RowChecks noNegative = kRows;
    noNegative.negativeCount = false;
    CheckRows(
        "Clear", 0, [](R r, int n, int) { Stem::ClearScanline(r[0].Pels(), n); },
        Pelwise(0, [](const u32*) { return 0u; }), noNegative);
    CheckRows(
        "Set", 0, [](R r, int n, int) { Stem::SetScanline(r[0].Pels(), n, 0x80FF0000); },
        Pelwise(0, [](const u32*) { return 0x80FF0000u; }), kRows);
    using Setter = void (*)(Pel*, int, unsigned char);
    const Setter setters[] = {Stem::SetBlueScanline, Stem::SetGreenScanline, Stem::SetRedScanline,
                              Stem::SetAlphaScanline};
    for (int c = 0; c < 4; ++c)
        for (u32 v : {0x00u, 0x12u, 0xFFu})
            CheckRows(
                "channel " + std::to_string(c) + " " + std::to_string(v), 0,
                [&](R r, int n, int) { setters[c](r[0].Pels(), n, Byte(v)); },
                Pelwise(0, [&](const u32* p) { return (p[0] & ~(255u << 8 * c)) | v << 8 * c; }),
                kRows);
}

TEST(BasicRows, FadesMatchModelAtEveryLevel)
{
    support::RowChecks once = kRows;
    once.rounds = 1;
    for (u32 level = 0; level < 256; ++level) {
        CheckRows(
            "Fade " + std::to_string(level), 0,
            [&](R r, int n, int) { Stem::FadeScanline(r[0].Pels(), n, Byte(level)); },
            Pelwise(0, [&](const u32* p) { return model::Fade(p[0], level); }), once);
        CheckRows(
            "FadeCopy " + std::to_string(level), 1,
            [&](R r, int n, int) {
                Stem::FadeCopyScanline(r[0].Pels(), r[1].Pels(), n, Byte(level));
            },
            Pelwise(1, [&](const u32* p) { return model::Fade(p[1], level); }), once);
    }
    // Overlapping rows are faded first pel to last, so a shifted copy smears.
    std::vector<u32> row = {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004, 0xFF000005};
    Stem::FadeCopyScanline(row.data() + 1, row.data(), 4, 255);
    EXPECT_EQ(row, std::vector<u32>(5, 0xFF000001));
}

TEST(BasicRows, CopiesBlendsAndReordersMatchModel)
{
    support::RowChecks copy = kRows;
    copy.negativeCount = false;
    CheckRows(
        "Move", 1, [](R r, int n, int) { Stem::MoveScanline(r[0].Pels(), r[1].Pels(), n); },
        Pelwise(1, [](const u32* p) { return p[1]; }), copy);
    copy.alias = false;
    CheckRows(
        "Copy", 1, [](R r, int n, int) { Stem::CopyScanline(r[0].Pels(), r[1].Pels(), n); },
        Pelwise(1, [](const u32* p) { return p[1]; }), copy);
    for (u32 level : {0u, 1u, 127u, 128u, 254u, 255u})
        CheckRows(
            "Blend " + std::to_string(level), 2,
            [&](R r, int n, int) {
                Stem::BlendScanline(r[0].Pels(), r[1].Pels(), r[2].Pels(), n, Byte(level));
            },
            Pelwise(2, [&](const u32* p) { return model::Blend(p[1], p[2], level); }), kRows);
    CheckRows(
        "Swap", 1, [](R r, int n, int) { Stem::SwapScanline(r[0].Pels(), r[1].Pels(), n); },
        [](R r, int n, int) {
            std::swap_ranges(r[0].Pels(), r[0].Pels() + std::max(n, 0), r[1].Pels());
        },
        kRows);
    CheckRows(
        "Flip", 0, [](R r, int n, int) { Stem::HorizontalFlipScanline(r[0].Pels(), n); },
        [](R r, int n, int) { std::reverse(r[0].Pels(), r[0].Pels() + std::max(n, 0)); }, kRows);
}

} // namespace
