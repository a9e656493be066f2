// The CRC-32 of zip and PNG, bit by bit: pins of whole outputs.
#ifndef FLOWER_TESTS_SUPPORT_CRC32_H
#define FLOWER_TESTS_SUPPORT_CRC32_H

#include <cstddef>
#include <cstdint>

namespace support {

inline std::uint32_t Crc32(const void* data, std::size_t bytes, std::uint32_t crc = 0)
{
    const auto* p = static_cast<const unsigned char*>(data);
    crc = ~crc;
    for (std::size_t i = 0; i < bytes; ++i) {
        crc ^= p[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

} // namespace support

#endif
