// Every crawl kernel set this CPU runs against the scalar set, bit for bit,
// including the bytes around the row and rows that alias their sources.
#include "kernels/crawl/CrawlKernels.h"
#include "support/RowHarness.h"

#include <climits>
#include <cmath>
#include <string>

namespace {

using R = const support::Rows*;
using Kernels::CrawlSet;
using support::u32;

// Every pel offset within a 64-byte line for every count: every tail meets
// every alignment.
const support::RowChecks kRows = {1, true, true, false, 16, true};

support::RowChecks Once()
{
    support::RowChecks once = kRows;
    once.rounds = 1;
    once.everyPelOffset = false;
    return once;
}

std::vector<const CrawlSet*> Sets()
{
    const CrawlSet* sets[Kernels::kTargetCount];
    return {sets, sets + Kernels::Runnable(Kernels::kCrawlSets, sets)};
}

// The vector sets divide in floats: for every divisor s up to 65280 and quotient k up to
// 255, numerators k*s and (k + 1)*s - 1 truncate to k. Division is monotonic in the
// numerator, so every numerator between them does too.
TEST(CrawlKernels, FloatQuotientsTruncateExactlyBelow2To24)
{
    for (int s = 1; s <= 65280; ++s)
        for (int k = 0; k < 256; ++k) {
            const float fs = float(s);
            ASSERT_EQ(int(float(k * s) / fs), k) << "s " << s;
            ASSERT_EQ(int(float((k + 1) * s - 1) / fs), k) << "s " << s << " k " << k;
        }
}

// Fractions at both ends, a sweep between, and beyond the range, where a block could
// wrap; the seeded rows meet every tail, alignment and aliasing.
TEST(CrawlKernels, EveryVariantMatchesScalarOnSeededRows)
{
    const std::vector<const CrawlSet*> sets = Sets();
    std::vector<int> fractions = {-1, 257, 300, -256, INT_MIN, INT_MAX, 1, 2, 127, 129, 254, 255};
    for (int f = 0; f <= 256; f += 16)
        fractions.push_back(f);
    for (std::size_t i = 1; i < sets.size(); ++i)
        for (auto row : {&CrawlSet::subpix, &CrawlSet::shapedSubpix})
            for (int f : fractions) {
                auto runner = [&](const CrawlSet* set) {
                    return [set, row, f](R r, int count, int) {
                        (set->*row)(r[0].base, r[1].base, count, f);
                    };
                };
                support::CheckRows(std::string(sets[i]->name) + " fraction " + std::to_string(f) +
                                       (row == &CrawlSet::subpix ? " straight" : " shaped"),
                                   1, runner(sets[i]), runner(sets[0]), f % 64 ? Once() : kRows);
            }
}

// Every (A0, A1) pair side by side at every fraction 0..256: pel 2j has alpha j >> 8 and
// pel 2j + 1 alpha j & 255, with seeded colours, extreme ones every third fraction.
TEST(CrawlKernels, EveryVariantMatchesScalarForEveryAlphaPairAndFraction)
{
    const std::vector<const CrawlSet*> sets = Sets();
    const int count = 2 * 65536;
    std::vector<u32> src(std::size_t(count) + 1), want(src.size() - 1), got = want;
    support::Rng rng(11);
    const char* in = reinterpret_cast<const char*>(src.data());
    for (int f = 0; f <= 256; ++f) {
        for (int i = 0; i <= count; ++i) {
            const u32 j = u32(i / 2), alpha = i % 2 ? j & 255 : j >> 8;
            const u32 colour = f % 3 ? rng.Next() : (rng.Next() & 1 ? 0xFFFFFFu : 0u);
            src[std::size_t(i)] = alpha << 24 | (colour & 0xFFFFFF);
        }
        for (auto row : {&CrawlSet::subpix, &CrawlSet::shapedSubpix}) {
            (sets[0]->*row)(reinterpret_cast<char*>(want.data()), in, count, f);
            for (std::size_t i = 1; i < sets.size(); ++i) {
                (sets[i]->*row)(reinterpret_cast<char*>(got.data()), in, count, f);
                ASSERT_TRUE(want == got) << sets[i]->name << " fraction " << f;
            }
        }
    }
}

// Lines of title text: glyphs of one colour with anti-aliased edges between clear gaps of
// junk colour, now and then a run of one alpha in many colours, and a new text colour.
// Every block kind meets every other at every fraction, both ends included.
TEST(CrawlKernels, EveryVariantMatchesScalarOnTitleText)
{
    const std::vector<const CrawlSet*> sets = Sets();
    support::Rng rng(17);
    std::vector<u32> src;
    u32 colour = 0xF0F0F0;
    while (src.size() < 4001) {
        const u32 kind = rng.Below(16), run = 1 + rng.Below(kind < 8 ? 24 : 3);
        if (kind == 15)
            colour = rng.Next() & 0xFFFFFF;
        const u32 alpha = kind < 4                 ? 0
                          : kind < 8 || kind == 14 ? 255
                          : kind < 14              ? 1 + rng.Below(254)
                                                   : rng.Next();
        for (u32 i = 0; i < run; ++i) {
            const u32 rgb = kind < 4 || kind == 14 ? rng.Next() : colour;
            src.push_back((alpha & 0xFF) << 24 | (rgb & 0xFFFFFF));
        }
    }
    const int count = int(src.size()) - 1;
    std::vector<u32> want(std::size_t(count) + 0), got = want;
    const char* in = reinterpret_cast<const char*>(src.data());
    for (int f : {0, 1, 77, 128, 255, 256})
        for (std::size_t i = 1; i < sets.size(); ++i) {
            sets[0]->subpix(reinterpret_cast<char*>(want.data()), in, count, f);
            sets[i]->subpix(reinterpret_cast<char*>(got.data()), in, count, f);
            ASSERT_TRUE(want == got) << sets[i]->name << " fraction " << f;
            sets[0]->subpixGradient(reinterpret_cast<char*>(want.data()), in, count, f, 0, 16);
            sets[i]->subpixGradient(reinterpret_cast<char*>(got.data()), in, count, f, 0, 16);
            ASSERT_TRUE(want == got) << sets[i]->name << " gradient, fraction " << f;
        }
}

// Levels and steps: the ceiling reached mid-row and from above, negative levels and
// steps, levels falling past the 32-bit lanes' floor and past int itself.
struct Gradient {
    int level, step;
};
const Gradient kGradients[] = {
    {0, 16320},         {0xFF00, -16320},   {0x10000, 0},       {0x10000, 7},
    {-5000, 300},       {0x8000, 5000},     {0xFF00, 1},        {INT_MAX, 1},
    {INT_MAX, INT_MIN}, {0x10001, -3},      {INT_MIN, INT_MIN}, {100, -(1 << 24)},
    {0, 1 << 24},       {0, (1 << 24) + 1}, {-(1 << 30), -1},   {-(1 << 30) - 1, 5},
    {-20000, -999},     {INT_MIN, INT_MAX}, {0x7F80, 0},        {1 << 20, -(1 << 16)},
};

TEST(CrawlKernels, GradientVariantsMatchScalarAtEveryLevelAndStep)
{
    const std::vector<const CrawlSet*> sets = Sets();
    for (std::size_t i = 1; i < sets.size(); ++i)
        for (const Gradient& g : kGradients)
            for (int f : {0, 77, 256, 257}) {
                const std::string name = std::string(sets[i]->name) + " level " +
                                         std::to_string(g.level) + " step " +
                                         std::to_string(g.step) + " fraction " + std::to_string(f);
                const support::RowChecks& checks = f == 77 ? kRows : Once();
                auto plain = [&g](const CrawlSet* set) {
                    return [set, g](R r, int n, int) {
                        set->gradient(r[0].base, r[1].base, n, g.level, g.step);
                    };
                };
                if (f == 0)
                    support::CheckRows(name + " plain", 1, plain(sets[i]), plain(sets[0]), checks);
                for (auto row : {&CrawlSet::subpixGradient, &CrawlSet::shapedSubpixGradient}) {
                    auto runner = [&](const CrawlSet* set) {
                        return [set, row, f, g](R r, int n, int) {
                            (set->*row)(r[0].base, r[1].base, n, f, g.level, g.step);
                        };
                    };
                    support::CheckRows(
                        name + (row == &CrawlSet::subpixGradient ? " straight" : " shaped"), 1,
                        runner(sets[i]), runner(sets[0]), checks);
                }
            }
}

// The lanes take a row only where its levels stay in 32-bit reach.
TEST(CrawlKernels, GradientFitsLanesBoundsTheRowsLevels)
{
    EXPECT_TRUE(Kernels::GradientFitsLanes(0, 16320, 1000));
    EXPECT_TRUE(Kernels::GradientFitsLanes(0x10000, 1 << 24, INT_MAX));
    EXPECT_FALSE(Kernels::GradientFitsLanes(0x10001, 0, 10));
    EXPECT_FALSE(Kernels::GradientFitsLanes(0, (1 << 24) + 1, 10));
    EXPECT_TRUE(Kernels::GradientFitsLanes(0, -(1 << 24), 65));
    EXPECT_FALSE(Kernels::GradientFitsLanes(0, -(1 << 24), 66));
    EXPECT_FALSE(Kernels::GradientFitsLanes(-(1 << 30) - 1, 0, 1));
}

} // namespace
