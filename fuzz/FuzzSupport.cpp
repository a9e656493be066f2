#include "FuzzSupport.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace Fuzz {

std::uint32_t Input::U32()
{
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v = (v << 8) | Byte();
    return v;
}

int Input::Range(int lo, int hi)
{
    const std::uint32_t span = std::uint32_t(std::int64_t(hi) - lo + 1);
    const std::uint32_t raw = span <= 256 ? Byte() : U32();
    return int(std::int64_t(lo) + raw % span);
}

int Input::Size()
{
    // Products of two sizes are either small (at most 300 x 300 pels) or past
    // what any allocator accepts.
    static const int kOdd[] = {-7, -1, 0, 1, 300, 1 << 30, INT_MAX, INT_MIN};
    const std::uint8_t b = Byte();
    if (b < 248)
        return b % 41; // 0..40
    return kOdd[b % 8];
}

int Input::Coordinate()
{
    static const int kOdd[] = {INT_MIN, INT_MIN + 1, -65536, -1, 65536, INT_MAX - 1, INT_MAX, 0};
    const std::uint8_t b = Byte();
    if (b < 240)
        return int(b % 97) - 48; // -48..48
    return kOdd[b % 8];
}

std::uint32_t Input::Pel()
{
    const std::uint8_t kind = Byte();
    std::uint32_t colour = U32() & 0x00FFFFFFu;
    if (kind < 96)
        return colour | 0xFF000000u;
    if (kind < 160)
        return colour;
    return colour | (std::uint32_t(Byte()) << 24);
}

void Fail(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
    std::abort();
}

void DumpBytes(const char* label, const void* bytes, std::size_t count)
{
    const auto* p = static_cast<const std::uint8_t*>(bytes);
    std::fprintf(stderr, "%s (%zu bytes):", label, count);
    for (std::size_t i = 0; i < count; ++i)
        std::fprintf(stderr, "%s%02x", i % 32 == 0 ? "\n  " : " ", p[i]);
    std::fputc('\n', stderr);
}

} // namespace Fuzz
