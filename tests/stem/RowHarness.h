// Row routines against a per-pel model: seeded rows of every count up to 67,
// guard pels past the end, dst given as each source in turn, and rows that
// cover every pair of alphas.
#ifndef FLOWER_TESTS_STEM_ROWHARNESS_H
#define FLOWER_TESTS_STEM_ROWHARNESS_H

#include "support/Rng.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace rows {

using support::u32;
using Sources = const u32* const*;

constexpr u32 kGuard = 0xA5C3E1F7u;
constexpr int kGuards = 4, kMaxCount = 67;
enum Flags { kNoAlias = 1, kNoNegativeCount = 2 };

// Reports the first pel that differs, so a broken routine costs one line.
inline bool SamePels(const u32* got, const std::vector<u32>& want, int n, const std::string& what)
{
    for (int i = 0; i < n; ++i)
        if (got[i] != want[std::size_t(i)]) {
            ADD_FAILURE() << what << ": pel " << i << std::hex << " got 0x" << got[i] << " want 0x"
                          << want[std::size_t(i)];
            return false;
        }
    return true;
}

// `run(dst, sources, count)` must leave model(pels) in each dst pel, where
// pels[0] is that dst pel before the call and pels[1..kSources] the source pels.
template <int kSources, class Run, class Model>
void CheckRows(const std::string& name, Run run, Model model, int flags = 0)
{
    support::Rng rng(std::hash<std::string>()(name));
    for (int n = 0; n <= kMaxCount; ++n) {
        std::vector<u32> rows[kSources + 1], want(static_cast<std::size_t>(n));
        for (auto& row : rows) {
            row = support::RandomRow(rng, n);
            row.resize(std::size_t(n + kGuards), kGuard);
        }
        for (int i = 0; i < n; ++i) {
            u32 pels[kSources + 1];
            for (int k = 0; k <= kSources; ++k)
                pels[k] = rows[k][std::size_t(i)];
            want[std::size_t(i)] = model(pels);
        }
        const int lastInto = flags & kNoAlias ? 0 : kSources;
        for (int into = 0; into <= lastInto; ++into) {
            std::vector<u32> dst = rows[into];
            const u32* src[kSources + 1] = {};
            for (int k = 1; k <= kSources; ++k)
                src[k] = k == into ? dst.data() : rows[k].data();
            run(dst.data(), src + 1, n);
            const std::string what =
                name + " count " + std::to_string(n) + " into row " + std::to_string(into);
            if (!SamePels(dst.data(), want, n, what))
                return;
            for (int g = 0; g < kGuards; ++g)
                ASSERT_EQ(dst[std::size_t(n + g)], kGuard) << what << ": wrote past the end";
        }
    }
    if (!(flags & kNoNegativeCount)) {
        std::vector<u32> dst(kGuards, kGuard);
        const u32* src[kSources + 1] = {};
        for (int k = 1; k <= kSources; ++k)
            src[k] = dst.data();
        run(dst.data(), src + 1, -1);
        EXPECT_EQ(dst, std::vector<u32>(kGuards, kGuard)) << name << " wrote for count -1";
    }
}

// Pel j of `upper` has alpha (j / per) >> 8 and of `lower` (j / per) & 255,
// with seeded colours: one call over the whole row meets every alpha pair.
// The first 256 * per pels of `lower` hold every alpha.
struct AlphaPairs {
    std::vector<u32> upper, lower;
    int count;
    explicit AlphaPairs(int per) : count(65536 * per)
    {
        support::Rng rng(per);
        for (int j = 0; j < count; ++j) {
            const u32 pair = u32(j / per);
            upper.push_back((pair >> 8) << 24 | (rng.Next() & 0xFFFFFF));
            lower.push_back((pair & 255) << 24 | (rng.Next() & 0xFFFFFF));
        }
    }
};

} // namespace rows

#endif
