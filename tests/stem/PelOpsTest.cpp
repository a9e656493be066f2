// The per-pel vocabulary of inlinepelops.h and the alpha-division table.
#include "PelModel.h"
#include "RowTestSupport.h"

#include "AlphaDivide.h"
#include "inlinepelops.h"

namespace {

using rows::u32;

TEST(PelOps, DivideBy255RoundsToNearestOverItsWholeDomain)
{
    for (u32 x = 0; x <= 65025; ++x)
        ASSERT_EQ(DivideBy255(x), (x + 127) / 255) << "x=" << x;
}

TEST(PelOps, AlphaDivideTableIsTruncatedReciprocals)
{
    ASSERT_EQ(sizeof global_adt / sizeof global_adt[0], 256u);
    EXPECT_EQ(global_adt[0], 0u);
    for (u32 a = 1; a < 256; ++a)
        ASSERT_EQ(global_adt[a], 65536u / a) << "a=" << a;
}

// Every alpha pair, each with a spread of channels on both sides.
TEST(PelOps, CompositPelMatchesModelOverAllAlphaPairs)
{
    for (u32 ta = 0; ta < 256; ++ta)
        for (u32 ba = 0; ba < 256; ++ba) {
            rows::Rng rng(ta * 256 + ba);
            for (int i = 0; i < 16; ++i) {
                const u32 t = ta << 24 | (rng.Next() & 0xFFFFFF),
                          b = ba << 24 | (rng.Next() & 0xFFFFFF);
                ASSERT_EQ(CompositPel(t, b), model::Over(t, b)) << std::hex << t << " over " << b;
            }
        }
}

} // namespace
