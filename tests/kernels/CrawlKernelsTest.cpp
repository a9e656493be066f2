// Every crawl kernel set this CPU runs against the scalar set, bit for bit,
// including the bytes around the row and rows that alias their sources.
#include "PixelRoutinesLite/CrawlKernels.h"
#include "support/RowHarness.h"

#include <climits>
#include <string>

namespace {

using R = const support::Rows*;

// Every pel offset within a 64-byte line for every count: every tail meets
// every alignment.
const support::RowChecks kRows = {1, true, true, false, 16, true};

using Kernels::CrawlSet;

// The variants this machine can run are built: an x86-64 build missing them is misconfigured.
TEST(CrawlKernels, BestRunnableSetIsActive)
{
    const CrawlSet* crawl[4];
    const int nCrawl = Kernels::RunnableCrawlSets(crawl);
    EXPECT_EQ(crawl[0], &Kernels::kCrawlScalar);
    EXPECT_EQ(&Kernels::ActiveCrawlSet(), crawl[nCrawl - 1]);
#if defined(__x86_64__) && !defined(FLOWER_SCALAR_KERNELS_ONLY)
    __builtin_cpu_init();
    EXPECT_EQ(nCrawl, __builtin_cpu_supports("avx512bw") ? 4
                      : __builtin_cpu_supports("avx2")   ? 3
                                                         : 2);
#endif
}

// Every fraction 0..256, and fractions beyond the range, where a block could wrap.
TEST(CrawlKernels, EveryVariantMatchesScalarAtEveryFraction)
{
    const CrawlSet* sets[4];
    const int n = Kernels::RunnableCrawlSets(sets);
    std::vector<int> fractions = {-1, 257, 300, -256, INT_MIN, INT_MAX};
    for (int f = 0; f <= 256; ++f)
        fractions.push_back(f);
    support::RowChecks once = kRows;
    once.rounds = 1;
    once.everyPelOffset = false;
    for (int i = 1; i < n; ++i)
        for (auto row : {&CrawlSet::subpix, &CrawlSet::shapedSubpix})
            for (int f : fractions) {
                auto runner = [&](const CrawlSet* set) {
                    return [set, row, f](R r, int count, int) {
                        (set->*row)(r[0].base, r[1].base, count, f);
                    };
                };
                support::CheckRows(std::string(sets[i]->name) + " fraction " + std::to_string(f) +
                                       (row == &CrawlSet::subpix ? " straight" : " shaped"),
                                   1, runner(sets[i]), runner(sets[0]), f % 16 ? once : kRows);
            }
}

} // namespace
