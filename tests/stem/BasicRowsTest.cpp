// Fill, copy, channel, fade, mix and reorder routines on seeded rows.
#include "PelModel.h"
#include "RowTestSupport.h"

#include "stem.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace {

using rows::GuardedRow;
using rows::Rng;
using rows::u32;

using Want = std::function<u32(u32)>;

// A routine that rewrites its row in place, over every test count, compared
// with a per-pel model; the guard pels catch writes past the end.
void CheckInPlace(const char* name, const std::function<void(u32*, int)>& run, const Want& want)
{
    Rng rng(11);
    for (int n : rows::TestCounts()) {
        const std::vector<u32> before = rows::RandomRow(rng, n);
        GuardedRow row(before, n);
        run(row.data(), n);
        std::vector<u32> expected(before.size());
        std::transform(before.begin(), before.end(), expected.begin(), want);
        EXPECT_ROW_EQ(row.data(), expected, n, name << " count " << n);
        row.ExpectGuardsIntact();
    }
}

using Mix = std::function<u32(u32, u32)>;
using MixRoutine = std::function<void(u32*, const u32*, const u32*, int)>;

// A two-source routine into a fresh row, into src1 and into src2.
void CheckMix(const char* name, const MixRoutine& run, const Mix& want)
{
    Rng rng(23);
    for (int n : rows::TestCounts()) {
        const std::vector<u32> s1 = rows::RandomRow(rng, n), s2 = rows::RandomRow(rng, n);
        std::vector<u32> expected(s1.size());
        for (int i = 0; i < n; ++i)
            expected[i] = want(s1[i], s2[i]);
        GuardedRow fresh(std::vector<u32>(s1.size(), 0), n);
        run(fresh.data(), s1.data(), s2.data(), n);
        EXPECT_ROW_EQ(fresh.data(), expected, n, name << " count " << n);
        fresh.ExpectGuardsIntact();
        std::vector<u32> a1 = s1, a2 = s2;
        run(a1.data(), a1.data(), s2.data(), n);
        EXPECT_ROW_EQ(a1, expected, n, name << " into src1, count " << n);
        run(a2.data(), s1.data(), a2.data(), n);
        EXPECT_ROW_EQ(a2, expected, n, name << " into src2, count " << n);
    }
}

TEST(BasicRows, FillsAndChannelSettersMatchModel)
{
    CheckInPlace("Clear", Stem::ClearScanline, [](u32) { return 0u; });
    CheckInPlace(
        "Set", [](u32* d, int n) { Stem::SetScanline(d, n, 0x80FF0000); },
        [](u32) { return 0x80FF0000u; });
    CheckInPlace(
        "SetAlpha", [](u32* d, int n) { Stem::SetAlphaScanline(d, n, 0x12); },
        [](u32 p) { return (p & 0x00FFFFFF) | 0x12000000u; });
    CheckInPlace(
        "SetRed", [](u32* d, int n) { Stem::SetRedScanline(d, n, 0x12); },
        [](u32 p) { return (p & 0xFF00FFFF) | 0x120000u; });
    CheckInPlace(
        "SetGreen", [](u32* d, int n) { Stem::SetGreenScanline(d, n, 0x12); },
        [](u32 p) { return (p & 0xFFFF00FF) | 0x1200u; });
    CheckInPlace(
        "SetBlue", [](u32* d, int n) { Stem::SetBlueScanline(d, n, 0x12); },
        [](u32 p) { return (p & 0xFFFFFF00) | 0x12u; });
}

TEST(BasicRows, FadesMatchModelAtEveryLevel)
{
    for (u32 level = 0; level < 256; ++level) {
        const auto l = static_cast<unsigned char>(level);
        const Want want = [level](u32 p) { return model::Fade(p, level); };
        CheckInPlace(
            "Fade", [l](u32* d, int n) { Stem::FadeScanline(d, n, l); }, want);
        CheckInPlace(
            "FadeCopy onto itself", [l](u32* d, int n) { Stem::FadeCopyScanline(d, d, n, l); },
            want);
        Rng rng(level);
        const std::vector<u32> src = rows::RandomRow(rng, 67);
        std::vector<u32> dst(67), expected(67);
        Stem::FadeCopyScanline(dst.data(), src.data(), 67, l);
        std::transform(src.begin(), src.end(), expected.begin(), want);
        EXPECT_ROW_EQ(dst, expected, 67, "FadeCopy level " << level);
    }
}

// Overlapping rows are faded first pel to last, so a shifted copy smears.
TEST(BasicRows, FadeCopyRunsForwardOverOverlap)
{
    std::vector<u32> row = {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004, 0xFF000005};
    Stem::FadeCopyScanline(row.data() + 1, row.data(), 4, 255);
    EXPECT_EQ(row, std::vector<u32>(5, 0xFF000001));
}

TEST(BasicRows, MixesMatchModel)
{
    CheckMix("Add", Stem::AddScanline, model::Add);
    CheckMix("Max", Stem::MaxScanline, [](u32 a, u32 b) { return (a >> 24) < (b >> 24) ? b : a; });
    for (u32 level : {0u, 1u, 64u, 127u, 128u, 254u, 255u}) {
        const auto l = static_cast<unsigned char>(level);
        CheckMix(
            "Blend",
            [l](u32* d, const u32* a, const u32* b, int n) { Stem::BlendScanline(d, a, b, n, l); },
            [level](u32 a, u32 b) { return model::Blend(a, b, level); });
    }
}

// Add stores the channel modulo 256 once the alphas sum past 255, and Blend
// keeps the truncating table even at its end levels.
TEST(BasicRows, AddWrapsAndBlendTruncatesAtTheEnds)
{
    u32 d[1];
    const u32 white = 0xFFFFFFFF, a200 = 0xC8FFFFFF, clear = 0x00000000, p = 0xFF804000;
    Stem::AddScanline(d, &white, &white, 1);
    EXPECT_EQ(d[0], 0xFFFDFDFDu);
    Stem::AddScanline(d, &a200, &a200, 1);
    EXPECT_EQ(d[0], 0xFF8F8F8Fu);
    Stem::AddScanline(d, &clear, &clear, 1);
    EXPECT_EQ(d[0], 0u);
    Stem::BlendScanline(d, &p, &white, 1, 0);
    EXPECT_EQ(d[0], 0xFF7F3F00u);
    Stem::AddScanline(d, &p, &clear, 1);
    EXPECT_EQ(d[0], 0xFF7F3F00u);
}

TEST(BasicRows, CopySwapAndFlipReorderPels)
{
    Rng rng(5);
    for (int n : rows::TestCounts()) {
        const std::vector<u32> a = rows::RandomRow(rng, n), b = rows::RandomRow(rng, n);
        GuardedRow copy(std::vector<u32>(a.size(), 0), n);
        Stem::CopyScanline(copy.data(), a.data(), n);
        EXPECT_ROW_EQ(copy.data(), a, n, "Copy count " << n);
        copy.ExpectGuardsIntact();

        GuardedRow r1(a, n), r2(b, n);
        Stem::SwapScanline(r1.data(), r2.data(), n);
        EXPECT_ROW_EQ(r1.data(), b, n, "Swap count " << n);
        EXPECT_ROW_EQ(r2.data(), a, n, "Swap count " << n);
        r1.ExpectGuardsIntact();
        r2.ExpectGuardsIntact();

        GuardedRow flip(a, n);
        Stem::HorizontalFlipScanline(flip.data(), n);
        EXPECT_ROW_EQ(flip.data(), std::vector<u32>(a.rbegin(), a.rend()), n, "Flip count " << n);
        flip.ExpectGuardsIntact();
    }
}

} // namespace
