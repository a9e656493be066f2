// Every family's table, one row each: the sets this machine runs are all
// built, scalar first, and the best of them is the active one. The test log
// names the set each family chose.
#include <gtest/gtest.h>

#include <cstdio>

#include "kernels/channel/ChannelKernels.h"
#include "kernels/composite/CompositKernels.h"
#include "kernels/crawl/CrawlKernels.h"
#include "kernels/mix/MixKernels.h"
#include "kernels/roll/RollKernels.h"
#include "kernels/scale/ScaleKernels.h"

namespace {

// Whether this build holds `target` and this CPU runs it, found out apart from
// the library's own detection.
bool MachineRuns(Kernels::Target target)
{
#if defined(FLOWER_SCALAR_KERNELS_ONLY)
    return target == Kernels::kScalar;
#elif defined(__x86_64__)
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2");
    switch (target) {
    case Kernels::kScalar:
    case Kernels::kSSE2:
        return true;
    case Kernels::kAVX2:
        return avx2;
    case Kernels::kAVX512:
        return avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
    default:
        return false;
    }
#elif defined(__aarch64__)
    return target == Kernels::kScalar || target == Kernels::kNEON;
#else
    return target == Kernels::kScalar;
#endif
}

template <class Set>
void ExpectBestSetActive(const char* family, const Kernels::SetTable<Set>& table)
{
    SCOPED_TRACE(family);
    const Set* sets[Kernels::kTargetCount];
    const int count = Kernels::Runnable(table, sets);
    ASSERT_GE(count, 1);
    EXPECT_EQ(sets[0], table[Kernels::kScalar]);
    int expected = 0;
    for (int t = 0; t < Kernels::kTargetCount; ++t)
        expected += MachineRuns(Kernels::Target(t)) && table[t] != nullptr;
    EXPECT_EQ(count, expected);
    const Set& active = Kernels::Active(table);
    EXPECT_EQ(&active, sets[count - 1]);
    std::printf("%s kernels: %s\n", family, active.name);
}

TEST(KernelTables, BestRunnableSetIsActive)
{
    ExpectBestSetActive("channel", Kernels::kChannelSets);
    ExpectBestSetActive("composite", Kernels::kCompositSets);
    ExpectBestSetActive("crawl", Kernels::kCrawlSets);
    ExpectBestSetActive("mix", Kernels::kMixSets);
    ExpectBestSetActive("roll", Kernels::kRollSets);
    ExpectBestSetActive("scale", Kernels::kScaleSets);
}

} // namespace
