// Synthetic title content shared by the benchmark programs.
#ifndef FLOWER_BENCH_TITLECONTENT_H
#define FLOWER_BENCH_TITLECONTENT_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

// Glyph runs of 3..12 opaque pels between clear gaps of 2..20, each edge
// anti-aliased over one or two pels: what a rendered line of title text holds.
inline std::vector<std::uint32_t> TitleTextRow(std::mt19937& rng, std::size_t width)
{
    std::vector<std::uint32_t> row;
    while (row.size() < width) {
        for (std::uint32_t gap = 2 + rng() % 19; gap > 0; --gap)
            row.push_back(rng() & 0xFFFFFFu);
        for (std::uint32_t edge = 1 + rng() % 2; edge > 0; --edge)
            row.push_back((1 + rng() % 254) << 24 | 0xF0F0F0u);
        for (std::uint32_t glyph = 3 + rng() % 10; glyph > 0; --glyph)
            row.push_back(0xFFF0F0F0u);
        for (std::uint32_t edge = 1 + rng() % 2; edge > 0; --edge)
            row.push_back((1 + rng() % 254) << 24 | 0xF0F0F0u);
    }
    row.resize(width);
    return row;
}

#endif
