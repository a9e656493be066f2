// The built-in picture: its bytes, its grey first row, and independent copies.
#include "Support.h"

using namespace florist_test;

namespace {

const size_t kBytes = 768 * 512 * 4;

uint32_t Crc32(const void* data)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < kBytes; ++i) {
        crc ^= static_cast<const u8*>(data)[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

} // namespace

TEST(SamplePicture, DataIsTheDecodedPhotographAndCopiesAreIndependent)
{
    const u8* data = GetFlowerData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(Crc32(data), 0x0B3214D5u);
    for (size_t i = 0; i < kBytes; i += 4)
        ASSERT_TRUE(data[i + 3] == 255 && (i >= 3072 || !std::memcmp(data + i, "\x63\x63\x63", 3)))
            << i;

    Marrow::StubLayer* a = CreateFlower();
    Marrow::StubLayer* b = CreateFlower();
    EXPECT_EQ(GetLayerWidth(a), 768);
    EXPECT_EQ(GetLayerHeight(a), 512);
    const Pels pa = ReadLayer(a);
    ASSERT_EQ(pa.size() * 4, kBytes);
    EXPECT_EQ(Crc32(pa.data()), 0x0B3214D5u);
    ASSERT_TRUE(HorizontalShiftLayer(a, 100, false)); // changes a only
    EXPECT_EQ(ReadLayer(b), pa);
    EXPECT_EQ(GetFlowerData(), data);
    EXPECT_EQ(Crc32(data), 0x0B3214D5u); // unchanged by repeated calls
    DeleteLayer(a);
    DeleteLayer(b);
}
