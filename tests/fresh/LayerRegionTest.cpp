// The one intersection rule every clip in the library applies.
#include <gtest/gtest.h>

#include "seed.h"

#include <climits>

namespace {

// Edges are summed in 32 bits without a check: a wrapped right edge lies left
// of everything, so the result is empty rather than undefined.
TEST(LayerRegion, IntersectionTakesInnerEdgesOrIsAllZero)
{
    const LayerRegion cases[][3] = {{{0, 0, 10, 10}, {10, 0, 5, 5}, {}}, // touching edges
                                    {{0, 0, 10, 10}, {3, 3, 0, 4}, {}},  // zero width inside
                                    {{0, 0, 10, 10}, {3, 3, 4, -1}, {}},
                                    {{0, 0, 10, 10}, {2, 10, 4, 4}, {}},
                                    {{5, 5, 10, 10}, {0, 0, 8, 20}, {5, 5, 3, 10}},
                                    {{-4, -3, 10, 10}, {-10, -10, 8, 8}, {-4, -3, 2, 1}},
                                    {{INT_MAX - 1, 0, 10, 10}, {0, 0, INT_MAX, 10}, {}}};
    for (const auto& c : cases) {
        EXPECT_EQ(IntersectLayerRegions(c[0], c[1]), c[2]) << c[0].x << "," << c[1].x;
        EXPECT_EQ(IntersectLayerRegions(c[1], c[0]), c[2]) << c[1].x << "," << c[0].x;
    }
}

} // namespace
