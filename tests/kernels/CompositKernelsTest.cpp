// Every composite kernel set this CPU runs against the scalar set, bit for bit,
// including the bytes around the row and rows that alias their sources.
#include "PixelRoutinesLite/CompositKernels.h"
#include "support/RowHarness.h"

namespace {

using R = const support::Rows*;

// Every pel offset within a 64-byte line for every count: every tail meets
// every alignment.
const support::RowChecks kRows = {1, true, true, false, 16, true};

using Kernels::CompositSet;

// The variants this machine can run are built: an x86-64 build missing them is misconfigured.
TEST(CompositKernels, BestRunnableSetIsActive)
{
    const CompositSet* composit[4];
    const int nComposit = Kernels::RunnableCompositSets(composit);
    EXPECT_EQ(composit[0], &Kernels::kCompositScalar);
    EXPECT_EQ(&Kernels::ActiveCompositSet(), composit[nComposit - 1]);
#if defined(__x86_64__) && !defined(FLOWER_SCALAR_KERNELS_ONLY)
    __builtin_cpu_init();
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
    EXPECT_EQ(nComposit, __builtin_cpu_supports("avx2") ? (avx512 ? 4 : 3) : 2);
#endif
}

TEST(CompositKernels, EveryVariantMatchesScalarOnSeededRowsAndEveryAlphaPair)
{
    const CompositSet* sets[4];
    const int n = Kernels::RunnableCompositSets(sets);
    auto runner = [](const CompositSet* set) {
        return
            [set](R r, int count, int) { set->composit(r[0].base, r[2].base, r[1].base, count); };
    };
    for (int i = 1; i < n; ++i) {
        support::CheckRows(sets[i]->name, 2, runner(sets[i]), runner(sets[0]), kRows);
        support::CheckAlphaPairs(sets[i]->name, runner(sets[i]), runner(sets[0]));
    }
}

// A destination shifted a few pels against a source rewrites pels before they
// are read: the result is the pel-by-pel order of the scalar set, never a block's.
TEST(CompositKernels, PartlyOverlappingRowsTakeThePelByPelResult)
{
    support::Rng rng(7);
    for (int count = 1; count <= 40; ++count)
        for (int shift = -3; shift <= 3; ++shift)
            for (int which = 0; which < 2; ++which) {
                // [4 guard][dst, count][4 guard][other source, count]
                const std::vector<support::u32> start = support::RandomRow(rng, 2 * count + 8);
                std::vector<support::u32> want = start, got = start;
                const auto run = [&](std::vector<support::u32>& mem, auto composit) {
                    char* dst = reinterpret_cast<char*>(mem.data() + 4);
                    const char* moved = dst + shift * 4;
                    const char* other = reinterpret_cast<char*>(mem.data() + count + 8);
                    composit(dst, which ? moved : other, which ? other : moved, count);
                };
                run(want, Kernels::kCompositScalar.composit);
                run(got, Kernels::RunComposit);
                ASSERT_EQ(want, got) << "count " << count << " shift " << shift;
            }
}

} // namespace
