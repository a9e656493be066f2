// The one intersection rule every clip in the library applies.
#include <gtest/gtest.h>

#include "seed.h"

#include <climits>

namespace {

TEST(LayerRegion, EmptyIntersectionsAreAllZero)
{
    const LayerRegion none = {0, 0, 0, 0};
    EXPECT_EQ(IntersectLayerRegions({0, 0, 10, 10}, {10, 0, 5, 5}), none); // touching edges
    EXPECT_EQ(IntersectLayerRegions({0, 0, 10, 10}, {3, 3, 0, 4}), none);  // zero width inside
    EXPECT_EQ(IntersectLayerRegions({0, 0, 10, 10}, {3, 3, 4, -1}), none);
    EXPECT_EQ(IntersectLayerRegions({0, 0, 10, 10}, {2, 10, 4, 4}), none);
}

TEST(LayerRegion, OverlapTakesInnerEdges)
{
    const LayerRegion want = {5, 5, 3, 10};
    EXPECT_EQ(IntersectLayerRegions({5, 5, 10, 10}, {0, 0, 8, 20}), want);
    EXPECT_EQ(IntersectLayerRegions({0, 0, 8, 20}, {5, 5, 10, 10}), want);
    const LayerRegion negative = {-4, -3, 2, 1};
    EXPECT_EQ(IntersectLayerRegions({-4, -3, 10, 10}, {-10, -10, 8, 8}), negative);
}

// Edges are summed in 32 bits without a check; the wrapped right edge lies
// left of everything, so the result is empty rather than undefined.
TEST(LayerRegion, OverflowingEdgeWrapsToEmpty)
{
    const LayerRegion none = {0, 0, 0, 0};
    EXPECT_EQ(IntersectLayerRegions({INT_MAX - 1, 0, 10, 10}, {0, 0, INT_MAX, 10}), none);
}

} // namespace
