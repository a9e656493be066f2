// The built-in picture: its size, its grey first row, its bytes, and copies.
#include <gtest/gtest.h>

#include "Support.h"

using namespace florist_test;

namespace {

uint32_t Crc32(const u8* data, size_t size)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

const size_t kBytes = 768 * 512 * 4;

} // namespace

TEST(SamplePicture, DataIsTheDecodedPhotograph)
{
    const u8* data = GetFlowerData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(Crc32(data, kBytes), 0x0B3214D5u);
    for (size_t i = 0; i < 3072; i += 4)
        ASSERT_EQ(0, std::memcmp(data + i, "\x63\x63\x63\xFF", 4)) << i;
    for (size_t i = 3; i < kBytes; i += 4)
        ASSERT_EQ(data[i], 255) << i;
    EXPECT_EQ(GetFlowerData(), data);
    EXPECT_EQ(Crc32(data, kBytes), 0x0B3214D5u); // unchanged by repeated calls
}

TEST(SamplePicture, CreateFlowerGivesIndependentCopies)
{
    Marrow::StubLayer* a = CreateFlower();
    Marrow::StubLayer* b = CreateFlower();
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(GetLayerWidth(a), 768);
    EXPECT_EQ(GetLayerHeight(a), 512);
    const Pels pa = ReadLayer(a);
    ASSERT_EQ(pa.size() * 4, kBytes);
    EXPECT_EQ(0, std::memcmp(pa.data(), GetFlowerData(), kBytes));
    EXPECT_EQ(pa[0], 0xFF636363u);

    ASSERT_TRUE(HorizontalShiftLayer(a, 100, false)); // changes a only
    EXPECT_EQ(ReadLayer(b), pa);
    EXPECT_EQ(Crc32(GetFlowerData(), kBytes), 0x0B3214D5u);
    DeleteLayer(a);
    DeleteLayer(b);
}
