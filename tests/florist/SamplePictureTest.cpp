// The built-in picture: its bytes, and independent copies.
#include "Support.h"
#include "support/Crc32.h"

using namespace florist_test;

namespace {

const size_t kBytes = 768 * 512 * 4;

uint32_t Crc32(const void* data)
{
    return support::Crc32(data, kBytes);
}

} // namespace

TEST(SamplePicture, DataIsTheDecodedPhotographAndCopiesAreIndependent)
{
    const u8* data = GetFlowerData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(Crc32(data), 0x0B3214D5u);

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
