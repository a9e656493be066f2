// Seeded pels and rows for tests. A third of the alphas are 0 and a third 255,
// so the opaque and transparent branches of every routine run as often as the
// general one.
#ifndef FLOWER_TESTS_SUPPORT_RNG_H
#define FLOWER_TESTS_SUPPORT_RNG_H

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace support {

using u32 = std::uint32_t;

class Rng {
  public:
    explicit Rng(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}

    u32 Next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return u32(state_ >> 16);
    }
    // 0 .. n - 1, for n >= 1.
    u32 Below(u32 n) { return Next() % n; }
    // Half the time one of the edge values, otherwise anything in lo .. hi.
    int Pick(std::initializer_list<int> edges, int lo, int hi)
    {
        if (Next() & 1)
            return edges.begin()[Below(u32(edges.size()))];
        return lo + int(Below(u32(hi - lo + 1)));
    }
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

  private:
    std::uint64_t state_;
};

inline std::vector<u32> RandomRow(Rng& rng, int count)
{
    std::vector<u32> row(count > 0 ? std::size_t(count) : 0);
    for (u32& p : row)
        p = rng.Pel();
    return row;
}

} // namespace support

#endif
