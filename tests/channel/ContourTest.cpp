// Outlines checked against an independent model: flood-fill region counts, the
// set of unit boundary edges, and the layout rules of the flat buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

#include "channel.h"
#include "support/Rng.h"

namespace {

using Ints = std::vector<int>;
using Point = std::pair<int, int>; // x, y
using Loop = std::vector<Point>;
using Edge = std::tuple<int, int, int, int>; // from x, y, to x, y

Ints Flat(Contour* contour)
{
    int length = 0;
    const int* data = GetContourData(contour, &length);
    Ints flat = data ? Ints(data, data + length) : Ints{};
    DeleteContour(contour);
    return flat;
}

Ints Trace(const Ints& samples, int width, int height, int threshold)
{
    std::vector<unsigned char> bytes(samples.begin(), samples.end());
    return Flat(CreateContourFromChannelAccess(bytes.data(), width, height, width, threshold));
}

long long TwiceArea(const Loop& loop)
{
    long long sum = 0;
    for (size_t i = 0; i < loop.size(); ++i) {
        const Point a = loop[i], b = loop[(i + 1) % loop.size()];
        sum += (long long)a.first * b.second - (long long)b.first * a.second;
    }
    return sum;
}

struct Mask {
    int width, height;
    std::vector<bool> in;
    bool At(int x, int y) const
    {
        return x >= 0 && y >= 0 && x < width && y < height && in[size_t(y * width + x)];
    }
    // Regions of samples equal to `inside`, joined through 4 or 8 neighbours;
    // `holesOnly` leaves out the regions that touch the border.
    int Regions(bool inside, bool eight, bool holesOnly) const
    {
        std::vector<bool> seen(in.size());
        int regions = 0;
        for (int start = 0; start < int(in.size()); ++start) {
            if (in[size_t(start)] != inside || seen[size_t(start)])
                continue;
            bool border = false;
            std::vector<int> stack{start};
            seen[size_t(start)] = true;
            while (!stack.empty()) {
                const int x = stack.back() % width, y = stack.back() / width;
                stack.pop_back();
                border |= x == 0 || y == 0 || x == width - 1 || y == height - 1;
                for (int n = 0; n < 9; ++n) {
                    const int nx = x + n % 3 - 1, ny = y + n / 3 - 1, i = ny * width + nx;
                    if ((eight || nx == x || ny == y) && nx >= 0 && ny >= 0 && nx < width &&
                        ny < height && in[size_t(i)] == inside && !seen[size_t(i)])
                        seen[size_t(i)] = true, stack.push_back(i);
                }
            }
            regions += !(holesOnly && border);
        }
        return regions;
    }
    // Every unit edge between inside and outside, directed so that the inside
    // lies on its right-hand side when drawn with y downwards.
    std::multiset<Edge> BoundaryEdges() const
    {
        std::multiset<Edge> edges;
        for (int y = 0; y <= height; ++y)
            for (int x = 0; x <= width; ++x) {
                if (x < width && At(x, y) != At(x, y - 1))
                    edges.insert(At(x, y) ? Edge{x, y, x + 1, y} : Edge{x + 1, y, x, y});
                if (y < height && At(x, y) != At(x - 1, y))
                    edges.insert(At(x, y) ? Edge{x, y + 1, x, y} : Edge{x, y, x, y + 1});
            }
        return edges;
    }
};

// Traces `samples` and checks every rule of the outline against the mask;
// returns the loops for further checks.
std::vector<Loop> ExpectValidOutline(const Ints& samples, int width, int height, int threshold)
{
    Mask m = {width, height, {}};
    for (int s : samples)
        m.in.push_back(s >= std::clamp(threshold, 1, 255));
    const Ints flat = Trace(samples, width, height, threshold);
    std::vector<Loop> loops(flat.empty() ? 0 : size_t(std::max(flat[0], 0)));
    size_t at = 1;
    for (Loop& loop : loops) {
        const size_t points = at < flat.size() ? size_t(flat[at++]) : 0;
        if (points < 4 || at + 2 * points > flat.size())
            return ADD_FAILURE() << "loop " << &loop - loops.data() << " is framed badly", loops;
        for (; points > loop.size(); at += 2)
            loop.push_back({flat[at], flat[at + 1]});
    }
    EXPECT_EQ(at, flat.size()) << "length";
    long long area2 = 0;
    int positive = 0, negative = 0;
    std::multiset<Edge> traced;
    Point previousStart{-1, -1};
    for (const Loop& loop : loops) {
        const auto yx = [](Point p) { return Point{p.second, p.first}; };
        const Point start = yx(loop[0]);
        EXPECT_TRUE(std::all_of(loop.begin(), loop.end(), [&](Point p) { return start <= yx(p); }))
            << "the smallest corner comes first";
        EXPECT_LT(previousStart, start) << "loops out of order";
        previousStart = start;
        for (size_t i = 0; i < loop.size(); ++i) {
            const Point a = loop[i], b = loop[(i + 1) % loop.size()],
                        c = loop[(i + 2) % loop.size()];
            EXPECT_TRUE((a.first == b.first) != (a.second == b.second))
                << "not axis-aligned at " << i;
            EXPECT_NE(a.first == b.first, b.first == c.first) << "no turn after " << i;
            const int sx = (b.first > a.first) - (b.first < a.first);
            const int sy = (b.second > a.second) - (b.second < a.second);
            for (int x = a.first, y = a.second; (x != b.first || y != b.second) && (sx || sy);
                 x += sx, y += sy)
                traced.insert(Edge{x, y, x + sx, y + sy});
        }
        area2 += TwiceArea(loop);
        ++(TwiceArea(loop) > 0 ? positive : negative);
    }
    EXPECT_EQ(area2, 2 * std::count(m.in.begin(), m.in.end(), true));
    EXPECT_EQ(positive, m.Regions(true, true, false));
    EXPECT_EQ(negative, m.Regions(false, false, true));
    EXPECT_TRUE(traced == m.BoundaryEdges()) << "the loops do not cover the boundary once";
    return loops;
}

// What the random model leaves open: which way a loop turns where two inside
// samples meet only at a corner, and thresholds outside 1..255.
TEST(Contour, CornerJoinsAndClampedThresholdsGiveExactLoops)
{
    const struct {
        Ints samples;
        int threshold;
        Ints flat;
    } cases[] = {
        // Diagonal neighbours stay one region through their shared corner.
        {{5, 0, 0, 5}, 5, {1, 8, 0, 0, 1, 0, 1, 1, 2, 1, 2, 2, 1, 2, 1, 1, 0, 1}},
        {{0, 5, 5, 0}, 5, {1, 8, 1, 0, 2, 0, 2, 1, 1, 1, 1, 2, 0, 2, 0, 1, 1, 1}},
        // Thresholds clamp to 1..255; nothing inside is no loops, not a failure.
        {{0, 0, 0, 0}, -7, {0}},
        {{0, 1, 0, 0}, -7, {1, 4, 1, 0, 2, 0, 2, 1, 1, 1}},
        {{0, 1, 0, 0}, 0, {1, 4, 1, 0, 2, 0, 2, 1, 1, 1}},
        {{254, 0, 0, 255}, 999, {1, 4, 1, 1, 2, 1, 2, 2, 1, 2}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Trace(c.samples, 2, 2, c.threshold), c.flat);
    unsigned char one = 1;
    EXPECT_EQ(CreateContourFromChannelAccess(&one, 0, 1, 1, 1), nullptr);
    EXPECT_EQ(CreateContourFromChannelAccess(&one, 1, -1, 1, 1), nullptr);
    Channel* noData = CreateCompatibleChannel(4, 4, nullptr);
    EXPECT_EQ(CreateContourFromChannel(noData, 1), nullptr);
    DeleteChannel(noData);
}

TEST(Contour, RandomChannelsOfManySizesAndDensities)
{
    support::Rng rng(20240611);
    for (int trial = 0; trial < 600 && !HasFailure(); ++trial) {
        const u32 limit = trial < 300 ? 6 : 48;
        const int width = 1 + int(rng.Below(limit)), height = 1 + int(rng.Below(limit));
        const u32 density = rng.Below(101); // percent of samples at 128 or more
        Ints samples(size_t(width * height));
        for (int& s : samples)
            s = int(rng.Below(128) + (rng.Below(100) < density ? 128 : 0));
        SCOPED_TRACE(trial);
        ExpectValidOutline(samples, width, height, 127 + int(rng.Below(3)));
    }
}

// Bottom-up rows walked with a negative pitch, and the same samples framed by
// inside ones and seen through a clipped view, trace alike.
TEST(Contour, PitchesAndClippedViewsTraceTheirOwnSamples)
{
    support::Rng rng(7);
    const int width = 23, height = 17, pitch = width + 5;
    std::vector<unsigned char> flipped(size_t(pitch * height), 0xEE);
    Channel* parent = CreateChannel(width + 6, height + 4);
    FillChannel(parent, 255);
    Ints samples;
    for (int i = 0; i < width * height; ++i) {
        samples.push_back(int(rng.Below(2)) * 255);
        const int x = i % width, y = i / width;
        flipped[size_t((height - 1 - y) * pitch + x)] = (unsigned char)samples.back();
        parent->data[(y + 3) * parent->rowBytes + x + 2] = (unsigned char)samples.back();
    }
    const Ints expected = Trace(samples, width, height, 1);
    EXPECT_EQ(Flat(CreateContourFromChannelAccess(&flipped[size_t((height - 1) * pitch)], width,
                                                  height, -pitch, 1)),
              expected);
    Channel* view = CreateClippedChannel(parent);
    ClipChannel(view, 2 + width, 3 + height, 2, 3);
    EXPECT_EQ(Flat(CreateContourFromChannel(view, 1)), expected);
    ClipChannel(view, width + 7, 0, width + 9, 5); // past the right edge: empty
    EXPECT_EQ(CreateContourFromChannel(view, 1), nullptr);
    DeleteChannel(view);
    DeleteChannel(parent);
}

} // namespace
