// The per-pel vocabulary of inlinepelops.h and the alpha-division table.
#include "RowHarness.h"
#include "support/PelModel.h"

#include "AlphaDivide.h"
#include "inlinepelops.h"

namespace {

using rows::u32;

TEST(PelOps, DivideBy255AndTableAreExactOverTheirDomains)
{
    for (u32 x = 0; x <= 65025; ++x)
        ASSERT_EQ(DivideBy255(x), model::DivideBy255(x)) << "x=" << x;
    ASSERT_EQ(sizeof global_adt / sizeof global_adt[0], 256u);
    for (u32 a = 0; a < 256; ++a)
        ASSERT_EQ(global_adt[a], model::Adt(a)) << "a=" << a;
}

TEST(PelOps, CompositAndFadeMatchModelOverAllAlphaPairs)
{
    const rows::AlphaPairs pairs(8);
    for (int j = 0; j < pairs.count; ++j) {
        const u32 t = pairs.upper[std::size_t(j)], b = pairs.lower[std::size_t(j)];
        ASSERT_EQ(CompositPel(t, b), model::Over(t, b)) << std::hex << t << " over " << b;
        ASSERT_EQ(FadePelAlpha(t, b >> 24), model::Fade(t, b >> 24)) << std::hex << t;
    }
}

} // namespace
