// Outlines checked against an independent model: flood-fill region counts,
// the set of unit boundary edges, and the layout rules of the flat buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "channel.h"

namespace {

struct Point {
    int x, y;
};
using Loop = std::vector<Point>;

// Parses the flat buffer, failing the test on any framing error.
std::vector<Loop> Loops(const Contour* contour)
{
    int length = -1;
    const int* data = GetContourData(contour, &length);
    std::vector<Loop> loops;
    if (data == nullptr || length < 1) {
        ADD_FAILURE() << "no data";
        return loops;
    }
    int at = 1;
    for (int i = 0; i < data[0]; ++i) {
        if (at >= length) {
            ADD_FAILURE() << "loop " << i << " beyond the buffer";
            return loops;
        }
        const int points = data[at++];
        if (points < 4 || at + 2 * points > length) {
            ADD_FAILURE() << "loop " << i << " has bad point count " << points;
            return loops;
        }
        Loop loop;
        for (int k = 0; k < points; ++k, at += 2)
            loop.push_back({data[at], data[at + 1]});
        loops.push_back(loop);
    }
    EXPECT_EQ(at, length) << "trailing ints";
    return loops;
}

std::vector<Loop> Trace(const std::vector<int>& samples, int width, int height, int threshold)
{
    std::vector<unsigned char> bytes(samples.begin(), samples.end());
    Contour* contour =
        CreateContourFromChannelAccess(bytes.data(), width, height, width, threshold);
    EXPECT_NE(contour, nullptr);
    std::vector<Loop> loops = contour ? Loops(contour) : std::vector<Loop>{};
    DeleteContour(contour);
    return loops;
}

std::vector<int> Flat(const std::vector<Loop>& loops)
{
    std::vector<int> flat{int(loops.size())};
    for (const Loop& loop : loops) {
        flat.push_back(int(loop.size()));
        for (const Point& p : loop) {
            flat.push_back(p.x);
            flat.push_back(p.y);
        }
    }
    return flat;
}

long long TwiceArea(const Loop& loop)
{
    long long sum = 0;
    for (size_t i = 0; i < loop.size(); ++i) {
        const Point& a = loop[i];
        const Point& b = loop[(i + 1) % loop.size()];
        sum += (long long)a.x * b.y - (long long)b.x * a.y;
    }
    return sum;
}

struct Mask {
    int width, height;
    std::vector<bool> in;
    bool At(int x, int y) const
    {
        return x >= 0 && y >= 0 && x < width && y < height && in[size_t(y) * width + x];
    }
};

// Counts the regions of samples whose inside-ness equals `inside`, joined through
// 4 or 8 neighbours; with `skipEdgeRegions`, regions touching the border are not counted.
int CountRegions(const Mask& m, bool inside, bool eight, bool skipEdgeRegions)
{
    std::vector<bool> seen(m.in.size(), false);
    int regions = 0;
    std::vector<std::pair<int, int>> stack;
    for (int y0 = 0; y0 < m.height; ++y0)
        for (int x0 = 0; x0 < m.width; ++x0) {
            if (m.At(x0, y0) != inside || seen[size_t(y0) * m.width + x0])
                continue;
            bool touchesEdge = false;
            stack.assign(1, {x0, y0});
            seen[size_t(y0) * m.width + x0] = true;
            while (!stack.empty()) {
                auto [x, y] = stack.back();
                stack.pop_back();
                touchesEdge |= x == 0 || y == 0 || x == m.width - 1 || y == m.height - 1;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        if ((dx == 0 && dy == 0) || (!eight && dx != 0 && dy != 0))
                            continue;
                        const int nx = x + dx, ny = y + dy;
                        if (nx < 0 || ny < 0 || nx >= m.width || ny >= m.height)
                            continue;
                        const size_t i = size_t(ny) * m.width + nx;
                        if (m.in[i] == inside && !seen[i]) {
                            seen[i] = true;
                            stack.push_back({nx, ny});
                        }
                    }
            }
            if (!(skipEdgeRegions && touchesEdge))
                ++regions;
        }
    return regions;
}

using Edge = std::tuple<int, int, int, int>; // from x, y, to x, y

// Every unit edge between an inside and an outside sample, directed with the
// inside on the right-hand side when drawn with y downwards.
std::multiset<Edge> BoundaryEdges(const Mask& m)
{
    std::multiset<Edge> edges;
    for (int y = 0; y <= m.height; ++y)
        for (int x = 0; x <= m.width; ++x) {
            const bool here = m.At(x, y);
            if (x < m.width && here != m.At(x, y - 1))
                edges.insert(here ? Edge{x, y, x + 1, y} : Edge{x + 1, y, x, y});
            if (y < m.height && here != m.At(x - 1, y))
                edges.insert(here ? Edge{x, y + 1, x, y} : Edge{x, y, x, y + 1});
        }
    return edges;
}

// Checks every rule a contour of `m` must obey.
void ExpectValidOutline(const Mask& m, const std::vector<Loop>& loops, const std::string& what)
{
    SCOPED_TRACE(what);
    long long area2 = 0;
    int positive = 0, negative = 0;
    std::multiset<Edge> traced;
    Point previousStart{-1, -1};
    for (size_t l = 0; l < loops.size(); ++l) {
        const Loop& loop = loops[l];
        ASSERT_EQ(loop.size() % 2, 0u) << "loop " << l;
        const Point start = *std::min_element(loop.begin(), loop.end(), [](Point a, Point b) {
            return std::tie(a.y, a.x) < std::tie(b.y, b.x);
        });
        EXPECT_TRUE(loop[0].x == start.x && loop[0].y == start.y) << "loop " << l;
        EXPECT_LT(std::tie(previousStart.y, previousStart.x), std::tie(start.y, start.x))
            << "loop " << l << " out of order";
        previousStart = start;
        for (size_t i = 0; i < loop.size(); ++i) {
            const Point a = loop[i], b = loop[(i + 1) % loop.size()];
            const Point c = loop[(i + 2) % loop.size()];
            ASSERT_TRUE((a.x == b.x) != (a.y == b.y)) << "loop " << l << " point " << i;
            EXPECT_NE(a.x == b.x, b.x == c.x)
                << "corner " << i + 1 << " of loop " << l << " does not turn";
            ASSERT_TRUE(b.x >= 0 && b.y >= 0 && b.x <= m.width && b.y <= m.height);
            const int sx = (b.x > a.x) - (b.x < a.x), sy = (b.y > a.y) - (b.y < a.y);
            for (int x = a.x, y = a.y; x != b.x || y != b.y; x += sx, y += sy)
                traced.insert(Edge{x, y, x + sx, y + sy});
        }
        const long long a2 = TwiceArea(loop);
        area2 += a2;
        (a2 > 0 ? positive : negative) += 1;
    }
    const long long insideCount = std::count(m.in.begin(), m.in.end(), true);
    EXPECT_EQ(area2, 2 * insideCount);
    EXPECT_EQ(positive, CountRegions(m, true, true, false));
    EXPECT_EQ(negative, CountRegions(m, false, false, true));
    EXPECT_TRUE(traced == BoundaryEdges(m)) << "edges traced do not match the boundary";
}

Mask MaskOf(const std::vector<int>& samples, int width, int height, int threshold)
{
    const int t = std::clamp(threshold, 1, 255);
    Mask m{width, height, std::vector<bool>(samples.size())};
    for (size_t i = 0; i < samples.size(); ++i)
        m.in[i] = samples[i] >= t;
    return m;
}

TEST(Contour, WorkedShapesGiveExactLoops)
{
    EXPECT_EQ(Flat(Trace({9}, 1, 1, 1)), (std::vector<int>{1, 4, 0, 0, 1, 0, 1, 1, 0, 1}));
    // A 3x2 block inside a 5x4 channel.
    std::vector<int> rect(20, 0);
    for (int y = 1; y < 3; ++y)
        for (int x = 1; x < 4; ++x)
            rect[y * 5 + x] = 200;
    EXPECT_EQ(Flat(Trace(rect, 5, 4, 128)), (std::vector<int>{1, 4, 1, 1, 4, 1, 4, 3, 1, 3}));
    // A ring: the hole's loop runs the other way, down first from its corner.
    EXPECT_EQ(Flat(Trace({1, 1, 1, 1, 0, 1, 1, 1, 1}, 3, 3, 1)),
              (std::vector<int>{2, 4, 0, 0, 3, 0, 3, 3, 0, 3, 4, 1, 1, 1, 2, 2, 2, 2, 1}));
    // Diagonal neighbours form one region through their shared corner, both ways round.
    EXPECT_EQ(Flat(Trace({5, 0, 0, 5}, 2, 2, 5)),
              (std::vector<int>{1, 8, 0, 0, 1, 0, 1, 1, 2, 1, 2, 2, 1, 2, 1, 1, 0, 1}));
    EXPECT_EQ(Flat(Trace({0, 5, 5, 0}, 2, 2, 5)),
              (std::vector<int>{1, 8, 1, 0, 2, 0, 2, 1, 1, 1, 1, 2, 0, 2, 0, 1, 1, 1}));
}

TEST(Contour, ThresholdIsClampedAndEmptyChannelHasNoLoops)
{
    EXPECT_EQ(Flat(Trace({0, 0, 0, 0}, 2, 2, -7)), (std::vector<int>{0}));
    EXPECT_EQ(Flat(Trace({0, 1, 0, 0}, 2, 2, -7)),
              (std::vector<int>{1, 4, 1, 0, 2, 0, 2, 1, 1, 1}));
    EXPECT_EQ(Flat(Trace({254, 0, 0, 255}, 2, 2, 1000)),
              (std::vector<int>{1, 4, 1, 1, 2, 1, 2, 2, 1, 2}));
}

TEST(Contour, CheckerboardAndGlyphFollowTheConnectivityRules)
{
    for (int size : {1, 2, 3, 4, 7, 8}) {
        std::vector<int> board(size_t(size) * size);
        for (int i = 0; i < size * size; ++i)
            board[i] = ((i / size + i % size) & 1) ? 0 : 255;
        const auto loops = Trace(board, size, size, 128);
        ExpectValidOutline(MaskOf(board, size, size, 128), loops, "board " + std::to_string(size));
        EXPECT_EQ(std::count_if(loops.begin(), loops.end(),
                                [](const Loop& l) { return TwiceArea(l) > 0; }),
                  1);
    }
    // A "B" with two counters and a diagonal serif.
    const char* glyph[] = {
        "#####..", "#....#.", "#....#.", "#####..", "#....#.",
        "#....#.", "#####..", ".......", "......#",
    };
    std::vector<int> samples;
    for (const char* row : glyph)
        for (int x = 0; x < 7; ++x)
            samples.push_back(row[x] == '#' ? 255 : 0);
    const auto loops = Trace(samples, 7, 9, 128);
    ExpectValidOutline(MaskOf(samples, 7, 9, 128), loops, "glyph");
    ASSERT_EQ(loops.size(), 4u); // outer, two counters, the lone serif
    EXPECT_GT(TwiceArea(loops[0]), 0);
    EXPECT_LT(TwiceArea(loops[1]), 0);
    EXPECT_LT(TwiceArea(loops[2]), 0);
    EXPECT_EQ(TwiceArea(loops[3]), 2);
}

TEST(Contour, RandomChannelsOfManySizesAndDensities)
{
    std::mt19937 rng(20240611);
    for (int trial = 0; trial < 600; ++trial) {
        const int width = 1 + int(rng() % (trial < 300 ? 6 : 48));
        const int height = 1 + int(rng() % (trial < 300 ? 6 : 48));
        const int density = int(rng() % 101); // percent of samples at or above 128
        std::vector<int> samples(size_t(width) * height);
        for (int& s : samples)
            s = int(rng() % 100) < density ? 128 + int(rng() % 128) : int(rng() % 128);
        const int threshold = 128 + int(rng() % 3) - 1;
        ExpectValidOutline(MaskOf(samples, width, height, threshold),
                           Trace(samples, width, height, threshold),
                           "trial " + std::to_string(trial));
        if (HasFailure())
            return;
    }
}

TEST(Contour, PitchAndClippedViewsTraceTheirOwnSamples)
{
    std::mt19937 rng(7);
    const int width = 23, height = 17;
    std::vector<int> samples(size_t(width) * height);
    for (int& s : samples)
        s = int(rng() % 2) * 255;
    const std::vector<int> expected = Flat(Trace(samples, width, height, 1));

    // Bottom-up storage, walked with a negative pitch.
    const int pitch = width + 5;
    std::vector<unsigned char> flipped(size_t(pitch) * height, 0xEE);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            flipped[size_t(height - 1 - y) * pitch + x] = (unsigned char)samples[y * width + x];
    Contour* c = CreateContourFromChannelAccess(flipped.data() + size_t(height - 1) * pitch, width,
                                                height, -pitch, 1);
    EXPECT_EQ(Flat(Loops(c)), expected);
    DeleteContour(c);

    // The same samples in the middle of a larger channel, seen through a clipped view.
    Channel* parent = CreateChannel(width + 6, height + 4);
    ASSERT_NE(parent, nullptr);
    FillChannel(parent, 255);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            parent->data[(y + 3) * parent->rowBytes + x + 2] =
                (unsigned char)samples[y * width + x];
    Channel* view = CreateClippedChannel(parent);
    ClipChannel(view, 2 + width, 3 + height, 2, 3);
    c = CreateContourFromChannel(view, 1);
    EXPECT_EQ(Flat(Loops(c)), expected);
    DeleteContour(c);

    ClipChannel(view, width + 7, 0, width + 9, 5); // beyond the right edge: negative width
    EXPECT_LT(view->width, 0);
    EXPECT_EQ(CreateContourFromChannel(view, 1), nullptr);
    DeleteChannel(view);
    DeleteChannel(parent);
}

TEST(Contour, BadArgumentsGiveNull)
{
    unsigned char one = 1;
    int length = 99;
    EXPECT_EQ(GetContourData(nullptr, &length), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(CreateContourFromChannel(nullptr, 1), nullptr);
    EXPECT_EQ(CreateContourFromChannelAccess(nullptr, 1, 1, 1, 1), nullptr);
    EXPECT_EQ(CreateContourFromChannelAccess(&one, 0, 1, 1, 1), nullptr);
    EXPECT_EQ(CreateContourFromChannelAccess(&one, 1, -1, 1, 1), nullptr);
    Channel* noData = CreateCompatibleChannel(4, 4, nullptr);
    EXPECT_EQ(CreateContourFromChannel(noData, 1), nullptr);
    DeleteChannel(noData);
    DeleteContour(nullptr);
}

} // namespace
