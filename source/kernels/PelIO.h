// Pel loads and stores on unaligned byte rows. memcpy keeps them free of
// alignment and aliasing trouble and compiles to plain moves.
#ifndef FLOWER_SOURCE_PELIO_H
#define FLOWER_SOURCE_PELIO_H

#include <cstddef>
#include <cstring>

#include "inlinepelops.h"

namespace PelIO {

inline Pel LoadPel(const char* row, std::ptrdiff_t index)
{
    Pel p;
    std::memcpy(&p, row + index * 4, sizeof p);
    return p;
}

inline void StorePel(char* row, std::ptrdiff_t index, Pel p)
{
    std::memcpy(row + index * 4, &p, sizeof p);
}

// The scalar sets' row loops: pel by pel, first to last. Every source pel is
// read before the result is written, so dst may be any one source row.
template <class PelOp> void MapRow(char* dst, const char* row, int count, PelOp op)
{
    for (int i = 0; i < count; ++i)
        StorePel(dst, i, op(LoadPel(row, i)));
}

template <class PelOp>
void ZipRows(char* dst, const char* first, const char* second, int count, PelOp op)
{
    for (int i = 0; i < count; ++i) {
        const Pel a = LoadPel(first, i);
        const Pel b = LoadPel(second, i);
        StorePel(dst, i, op(a, b));
    }
}

} // namespace PelIO

#endif
