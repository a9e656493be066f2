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

} // namespace PelIO

#endif
