// Every family's table: the sets this machine runs are all built, scalar
// first, and the best of them is the active one.
#ifndef FLOWER_TESTS_KERNELS_BESTSET_H
#define FLOWER_TESTS_KERNELS_BESTSET_H

#include <gtest/gtest.h>

namespace kernels_test {

// `hasSSE2Set`: whether the family builds an SSE2 set beside the scalar one.
template <class Set>
void ExpectBestSetActive(const Set* const* sets, int count, const Set& scalar, const Set& active,
                         bool hasSSE2Set)
{
    ASSERT_GE(count, 1);
    EXPECT_EQ(sets[0], &scalar);
    EXPECT_EQ(&active, sets[count - 1]);
#if defined(__x86_64__) && !defined(FLOWER_SCALAR_KERNELS_ONLY)
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2");
    const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") &&
                        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512dq");
    EXPECT_EQ(count, 1 + int(hasSSE2Set) + int(avx2) + int(avx512));
#else
    (void)hasSSE2Set;
    EXPECT_EQ(count, 1);
#endif
}

} // namespace kernels_test

#endif
