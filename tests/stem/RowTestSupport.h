// Seeded rows and row comparisons shared by the row-routine tests.
#ifndef FLOWER_TESTS_ROWTESTSUPPORT_H
#define FLOWER_TESTS_ROWTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace rows {

using u32 = std::uint32_t;

struct Rng {
    std::uint64_t s;
    explicit Rng(std::uint64_t seed) : s(seed * 0x9E3779B97F4A7C15ull + 1) {}
    u32 Next()
    {
        s ^= s << 13;
        s ^= s >> 7;
        s ^= s << 17;
        return u32(s >> 16);
    }
    // Alphas are a third 0, a third 255 and a third anything, so every branch runs.
    u32 Pel()
    {
        const u32 p = Next();
        switch (p % 3) {
        case 0:
            return p & 0x00FFFFFF;
        case 1:
            return p | 0xFF000000;
        default:
            return p;
        }
    }
};

inline std::vector<u32> RandomRow(Rng& rng, int count)
{
    std::vector<u32> row(count > 0 ? std::size_t(count) : 0);
    for (u32& p : row)
        p = rng.Pel();
    return row;
}

// Counts that cover empty rows, single pels and every tail of a 4- or 8-pel body.
inline const std::vector<int>& TestCounts()
{
    static const std::vector<int> counts = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 67};
    return counts;
}

constexpr u32 kGuard = 0xA5C3E1F7u;

// Space for `count` pels followed by guard pels that no routine may touch.
struct GuardedRow {
    std::vector<u32> buf;
    int count;
    GuardedRow(const std::vector<u32>& init, int n) : buf(init), count(n)
    {
        buf.resize(init.size() + 4, kGuard);
    }
    u32* data() { return buf.data(); }
    void ExpectGuardsIntact() const
    {
        for (std::size_t i = std::size_t(count); i < buf.size(); ++i)
            ASSERT_EQ(buf[i], kGuard) << "written past the row end at " << i;
    }
};

// First mismatch only, with its inputs, so a broken routine reports one line.
#define EXPECT_ROW_EQ(got, want, n, context)                                                       \
    do {                                                                                           \
        for (int i_ = 0; i_ < (n); ++i_) {                                                         \
            if ((got)[i_] != (want)[i_]) {                                                         \
                ADD_FAILURE() << std::hex << "pel " << std::dec << i_ << std::hex << ": got 0x"    \
                              << (got)[i_] << " want 0x" << (want)[i_] << " " << context;          \
                break;                                                                             \
            }                                                                                      \
        }                                                                                          \
    } while (0)

} // namespace rows

#endif
