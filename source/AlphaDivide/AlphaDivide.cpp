// The alpha reciprocal table, built at compile time.
#include "AlphaDivide.h"

#include <array>

namespace {

constexpr std::array<u32, 256> MakeAlphaDivideTable()
{
    std::array<u32, 256> table{};
    for (u32 a = 1; a < 256; ++a)
        table[a] = 65536u / a;
    return table;
}

constexpr std::array<u32, 256> kAlphaDivide = MakeAlphaDivideTable();

} // namespace

// Spelled out element by element from the constexpr table so that the exported
// array is plain constant data in .rodata, with no load-time initialiser.
#define FLOWER_ADT4(n) kAlphaDivide[n], kAlphaDivide[n + 1], kAlphaDivide[n + 2], kAlphaDivide[n + 3]
#define FLOWER_ADT16(n) FLOWER_ADT4(n), FLOWER_ADT4(n + 4), FLOWER_ADT4(n + 8), FLOWER_ADT4(n + 12)
#define FLOWER_ADT64(n) FLOWER_ADT16(n), FLOWER_ADT16(n + 16), FLOWER_ADT16(n + 32), FLOWER_ADT16(n + 48)

extern "C" FLOWER_API const u32 global_adt[256] = {
    FLOWER_ADT64(0), FLOWER_ADT64(64), FLOWER_ADT64(128), FLOWER_ADT64(192)};
