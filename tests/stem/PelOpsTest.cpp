// The per-pel vocabulary of inlinepelops.h and the alpha-division table.
#include "support/PelModel.h"
#include "support/RowHarness.h"

#include "AlphaDivide.h"
#include "inlinepelops.h"

namespace {

using support::u32;

TEST(PelOps, DivisionsAndFadeAreExactOverTheirDomains)
{
    for (u32 x = 0; x <= 65025; ++x)
        ASSERT_EQ(DivideBy255(x), model::DivideBy255(x)) << "x=" << x;
    ASSERT_EQ(sizeof global_adt / sizeof global_adt[0], 256u);
    for (u32 a = 0; a < 256; ++a)
        ASSERT_EQ(global_adt[a], model::Adt(a)) << "a=" << a;
    const support::AlphaPairs& pairs = support::Pairs();
    for (std::size_t j = 0; j < pairs.upper.size(); ++j)
        ASSERT_EQ(FadePelAlpha(pairs.upper[j], pairs.lower[j] >> 24),
                  model::Fade(pairs.upper[j], pairs.lower[j] >> 24));
}

} // namespace
