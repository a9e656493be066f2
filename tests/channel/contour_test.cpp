// Outlines checked against an independent model: flood-fill region counts, the
// set of unit boundary edges, and the layout rules of the flat buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "channel.h"

namespace {

using Ints = std::vector<int>;
struct Point {
    int x, y;
};
using Loop = std::vector<Point>;

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

// Splits the flat buffer into loops, failing on any framing error.
std::vector<Loop> Loops(const Ints& flat)
{
    std::vector<Loop> loops;
    size_t at = 1;
    for (int i = 0; !flat.empty() && i < flat[0]; ++i) {
        const size_t points = at < flat.size() ? size_t(flat[at++]) : 0;
        if (points < 4 || at + 2 * points > flat.size()) {
            ADD_FAILURE() << "loop " << i << " is framed badly";
            return loops;
        }
        loops.emplace_back();
        for (; points > loops.back().size(); at += 2)
            loops.back().push_back({flat[at], flat[at + 1]});
    }
    EXPECT_EQ(at, flat.size()) << "length";
    return loops;
}

long long TwiceArea(const Loop& loop)
{
    long long sum = 0;
    for (size_t i = 0; i < loop.size(); ++i) {
        const Point a = loop[i], b = loop[(i + 1) % loop.size()];
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

Mask MaskOf(const Ints& samples, int width, int height, int threshold)
{
    Mask m{width, height, {}};
    for (int s : samples)
        m.in.push_back(s >= std::clamp(threshold, 1, 255));
    return m;
}

// Regions of samples equal to `inside`, joined through 4 or 8 neighbours;
// `holesOnly` leaves out the regions that touch the border.
int CountRegions(const Mask& m, bool inside, bool eight, bool holesOnly)
{
    std::vector<bool> seen(m.in.size());
    int regions = 0;
    for (int start = 0; start < int(m.in.size()); ++start) {
        if (m.in[start] != inside || seen[start])
            continue;
        bool border = false;
        std::vector<int> stack{start};
        seen[start] = true;
        while (!stack.empty()) {
            const int x = stack.back() % m.width, y = stack.back() / m.width;
            stack.pop_back();
            border |= x == 0 || y == 0 || x == m.width - 1 || y == m.height - 1;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = x + dx, ny = y + dy, n = ny * m.width + nx;
                    if ((eight || dx == 0 || dy == 0) && nx >= 0 && ny >= 0 && nx < m.width &&
                        ny < m.height && m.in[n] == inside && !seen[n]) {
                        seen[n] = true;
                        stack.push_back(n);
                    }
                }
        }
        regions += !(holesOnly && border);
    }
    return regions;
}

using Edge = std::tuple<int, int, int, int>; // from x, y, to x, y

// Every unit edge between inside and outside, directed so that the inside lies
// on its right-hand side when drawn with y downwards.
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

void ExpectValidOutline(const Mask& m, const std::vector<Loop>& loops, const std::string& what)
{
    SCOPED_TRACE(what);
    long long area2 = 0;
    int positive = 0, negative = 0;
    std::multiset<Edge> traced;
    std::pair<int, int> previousStart{-1, -1};
    for (const Loop& loop : loops) {
        const auto start = std::min_element(loop.begin(), loop.end(), [](Point a, Point b) {
            return std::tie(a.y, a.x) < std::tie(b.y, b.x);
        });
        EXPECT_EQ(start, loop.begin()) << "the smallest corner comes first";
        EXPECT_LT(previousStart, std::make_pair(start->y, start->x)) << "loops out of order";
        previousStart = {start->y, start->x};
        for (size_t i = 0; i < loop.size(); ++i) {
            const Point a = loop[i], b = loop[(i + 1) % loop.size()];
            const Point c = loop[(i + 2) % loop.size()];
            ASSERT_TRUE((a.x == b.x) != (a.y == b.y)) << "not axis-aligned at " << i;
            EXPECT_NE(a.x == b.x, b.x == c.x) << "no turn at " << (i + 1) % loop.size();
            const int sx = (b.x > a.x) - (b.x < a.x), sy = (b.y > a.y) - (b.y < a.y);
            for (int x = a.x, y = a.y; x != b.x || y != b.y; x += sx, y += sy)
                traced.insert(Edge{x, y, x + sx, y + sy});
        }
        area2 += TwiceArea(loop);
        ++(TwiceArea(loop) > 0 ? positive : negative);
    }
    EXPECT_EQ(area2, 2 * std::count(m.in.begin(), m.in.end(), true));
    EXPECT_EQ(positive, CountRegions(m, true, true, false));
    EXPECT_EQ(negative, CountRegions(m, false, false, true));
    EXPECT_TRUE(traced == BoundaryEdges(m)) << "the loops do not cover the boundary once";
}

TEST(Contour, WorkedShapesGiveExactLoops)
{
    EXPECT_EQ(Trace({9}, 1, 1, 1), (Ints{1, 4, 0, 0, 1, 0, 1, 1, 0, 1}));
    Ints block(20, 0); // 3x2 inside a 5x4 channel
    for (int i : {6, 7, 8, 11, 12, 13})
        block[i] = 200;
    EXPECT_EQ(Trace(block, 5, 4, 128), (Ints{1, 4, 1, 1, 4, 1, 4, 3, 1, 3}));
    // A ring: the hole runs the other way, down first from its smallest corner.
    EXPECT_EQ(Trace({1, 1, 1, 1, 0, 1, 1, 1, 1}, 3, 3, 1),
              (Ints{2, 4, 0, 0, 3, 0, 3, 3, 0, 3, 4, 1, 1, 1, 2, 2, 2, 2, 1}));
    // Diagonal neighbours stay one region through their shared corner.
    EXPECT_EQ(Trace({5, 0, 0, 5}, 2, 2, 5),
              (Ints{1, 8, 0, 0, 1, 0, 1, 1, 2, 1, 2, 2, 1, 2, 1, 1, 0, 1}));
    EXPECT_EQ(Trace({0, 5, 5, 0}, 2, 2, 5),
              (Ints{1, 8, 1, 0, 2, 0, 2, 1, 1, 1, 1, 2, 0, 2, 0, 1, 1, 1}));
    // Thresholds clamp to 1..255; nothing inside is no loops, not a failure.
    EXPECT_EQ(Trace({0, 0, 0, 0}, 2, 2, -7), (Ints{0}));
    EXPECT_EQ(Trace({0, 1, 0, 0}, 2, 2, -7), (Ints{1, 4, 1, 0, 2, 0, 2, 1, 1, 1}));
    EXPECT_EQ(Trace({254, 0, 0, 255}, 2, 2, 999), (Ints{1, 4, 1, 1, 2, 1, 2, 2, 1, 2}));
}

TEST(Contour, CheckerboardAndGlyphFollowTheConnectivityRules)
{
    for (int size : {2, 3, 4, 7, 8}) {
        Ints board;
        for (int i = 0; i < size * size; ++i)
            board.push_back((i / size + i % size) & 1 ? 0 : 255);
        const auto loops = Loops(Trace(board, size, size, 128));
        ExpectValidOutline(MaskOf(board, size, size, 128), loops, std::to_string(size));
        EXPECT_EQ(std::count_if(loops.begin(), loops.end(),
                                [](const Loop& l) { return TwiceArea(l) > 0; }),
                  1);
    }
    const char* glyph = "#####.."
                        "#....#."
                        "#....#."
                        "#####.."
                        "#....#."
                        "#....#."
                        "#####.."
                        "......."
                        "......#";
    Ints samples;
    for (const char* p = glyph; *p; ++p)
        samples.push_back(*p == '#' ? 255 : 0);
    const auto loops = Loops(Trace(samples, 7, 9, 128));
    ExpectValidOutline(MaskOf(samples, 7, 9, 128), loops, "glyph");
    ASSERT_EQ(loops.size(), 4u); // outline, two counters, the lone dot
    EXPECT_LT(TwiceArea(loops[1]), 0);
    EXPECT_LT(TwiceArea(loops[2]), 0);
    EXPECT_EQ(TwiceArea(loops[3]), 2);
}

TEST(Contour, RandomChannelsOfManySizesAndDensities)
{
    std::mt19937 rng(20240611);
    for (int trial = 0; trial < 600 && !HasFailure(); ++trial) {
        const int limit = trial < 300 ? 6 : 48;
        const int width = 1 + int(rng() % limit), height = 1 + int(rng() % limit);
        const int density = int(rng() % 101); // percent of samples at 128 or more
        Ints samples(size_t(width) * height);
        for (int& s : samples)
            s = int(rng() % 100) < density ? 128 + int(rng() % 128) : int(rng() % 128);
        const int threshold = 127 + int(rng() % 3);
        ExpectValidOutline(MaskOf(samples, width, height, threshold),
                           Loops(Trace(samples, width, height, threshold)),
                           "trial " + std::to_string(trial));
    }
}

TEST(Contour, PitchesAndClippedViewsTraceTheirOwnSamples)
{
    std::mt19937 rng(7);
    const int width = 23, height = 17, pitch = width + 5;
    Ints samples(size_t(width) * height);
    for (int& s : samples)
        s = int(rng() % 2) * 255;
    const Ints expected = Trace(samples, width, height, 1);

    // Bottom-up rows, walked with a negative pitch.
    std::vector<unsigned char> flipped(size_t(pitch) * height, 0xEE);
    for (int i = 0; i < width * height; ++i)
        flipped[size_t(height - 1 - i / width) * pitch + i % width] = (unsigned char)samples[i];
    EXPECT_EQ(Flat(CreateContourFromChannelAccess(flipped.data() + size_t(height - 1) * pitch,
                                                  width, height, -pitch, 1)),
              expected);

    // The same samples framed by inside ones, seen through a clipped view.
    Channel* parent = CreateChannel(width + 6, height + 4);
    FillChannel(parent, 255);
    for (int i = 0; i < width * height; ++i)
        parent->data[(i / width + 3) * parent->rowBytes + i % width + 2] =
            (unsigned char)samples[i];
    Channel* view = CreateClippedChannel(parent);
    ClipChannel(view, 2 + width, 3 + height, 2, 3);
    EXPECT_EQ(Flat(CreateContourFromChannel(view, 1)), expected);

    ClipChannel(view, width + 7, 0, width + 9, 5); // past the right edge: empty
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
