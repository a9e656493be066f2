// The scaler against a model written from the filter's definition: lists from
// closed forms of the per-axis recurrences, pixels from whole-picture
// footprints (no ring, no streaming).
#include <gtest/gtest.h>

#include "Support.h"

using namespace florist_test;

namespace {

struct Entry {
    int count, advance;
    double first, last;
};
struct List {
    double ratio;
    std::vector<Entry> entries;
};

// Shrinking: output pixel k starts at remainder r_k = k * in mod out.
// Enlarging: the phase after k steps is p0 + k * in less out per step taken.
List ModelList(int64_t in, int64_t out)
{
    List list{in >= out ? double(out) / double(in) : 0.0, {}};
    const int64_t p0 = (in - out) / 2;
    auto steps = [&](int64_t k) {
        const int64_t t = p0 + k * in;
        return t < 0 ? 0 : t / out;
    };
    for (int64_t k = 0; k < out; ++k) {
        Entry e;
        if (in >= out) {
            const int64_t r = k * in % out, next = (k + 1) * in % out;
            e.count = int((r + in - out) / out);
            e.first = double(out - r) / double(in);
            e.last = double(next) / double(in);
            e.advance = e.count + 1;
        } else {
            const int64_t s = steps(k), p = p0 + k * in - s * out;
            e.advance = int(steps(k + 1) - s);
            if (p < 1 || s == in - 1) {
                e = {-1, e.advance, 1.0, 0.0};
            } else {
                e.first = double(out - p) / double(out);
                e.last = double(p) / double(out);
                e.count = e.last > 0 ? 0 : -1;
            }
        }
        list.entries.push_back(e);
    }
    return list;
}

void ExpectListsEqual(const List& model, const tagScaleList* got, int out)
{
    ASSERT_EQ(model.ratio, got[0].ratio);
    for (int k = 0; k < out; ++k) {
        const Entry& e = model.entries[size_t(k)];
        const tagScaleList& g = got[k + 1];
        ASSERT_EQ(e.count, g.count) << "entry " << k;
        ASSERT_EQ(e.advance, g.advance) << "entry " << k;
        ASSERT_EQ(e.first, g.firstWeight) << "entry " << k;
        ASSERT_EQ(e.last, g.lastWeight) << "entry " << k;
    }
}

// Taps of one axis: (offset from the footprint start, weight, is the last one).
struct Tap {
    int offset;
    double weight;
    bool last;
};
std::vector<Tap> Taps(const Entry& e, double ratio)
{
    std::vector<Tap> taps = {{0, e.first, false}};
    if (e.count == -1)
        return taps;
    for (int i = 1; i <= e.count; ++i)
        taps.push_back({i, ratio, false});
    if (e.last > 0)
        taps.push_back({e.count + 1, e.last, true});
    return taps;
}

u32 Clamp(double v)
{
    return v >= 255.0 ? 255u : v < 1.0 ? 0u : u32(v);
}

Pels ModelScale(const Pels& src, int inW, int inH, int outW, int outH)
{
    const List h = ModelList(inW, outW), v = ModelList(inH, outH);
    Pels out;
    int rowStart = 0;
    for (int y = 0; y < outH; ++y) {
        const std::vector<Tap> rows = Taps(v.entries[size_t(y)], v.ratio);
        int columnStart = 0;
        for (int x = 0; x < outW; ++x) {
            const std::vector<Tap> columns = Taps(h.entries[size_t(x)], h.ratio);
            double sa = 0, sb = 0, sg = 0, sr = 0, rest = 1.0;
            Pel p = 0;
            auto add = [&](double w) {
                const double a = PelAlpha(p);
                sa += a * w;
                sb += double(PelBlue(p)) * a * w;
                sg += double(PelGreen(p)) * a * w;
                sr += double(PelRed(p)) * a * w;
            };
            for (const Tap& row : rows)
                for (const Tap& column : columns) {
                    p = src[size_t(rowStart + row.offset) * inW +
                            size_t(columnStart + column.offset)];
                    if (row.last && column.last)
                        continue; // the corner is read, not added
                    const double w = row.weight * column.weight;
                    add(w);
                    rest -= w;
                }
            add(rest);
            const u32 a = Clamp(sa);
            out.push_back(a == 0 ? 0u : MakePel(Clamp(sb / a), Clamp(sg / a), Clamp(sr / a), a));
            columnStart += h.entries[size_t(x)].advance;
        }
        rowStart += v.entries[size_t(y)].advance;
    }
    return out;
}

} // namespace

TEST(ScaleList, WorkedExamples)
{
    tagScaleList list[5] = {};
    ASSERT_TRUE(ScaleGenScaleList(list, 3, 2));
    EXPECT_EQ(list[0].ratio, 2.0 / 3.0);
    EXPECT_EQ(list[1].count, 0);
    EXPECT_EQ(list[1].advance, 1);
    EXPECT_EQ(list[1].firstWeight, 2.0 / 3.0);
    EXPECT_EQ(list[1].lastWeight, 1.0 / 3.0);
    EXPECT_EQ(list[2].count, 1);
    EXPECT_EQ(list[2].advance, 2);
    EXPECT_EQ(list[2].firstWeight, 1.0 / 3.0);
    EXPECT_EQ(list[2].lastWeight, 0.0);

    ASSERT_TRUE(ScaleGenScaleList(list, 2, 4));
    EXPECT_EQ(list[0].ratio, 0.0);
    const int counts[] = {-1, 0, 0, -1}, advances[] = {0, 0, 1, 0};
    const double firsts[] = {1.0, 0.75, 0.25, 1.0}, lasts[] = {0.0, 0.25, 0.75, 0.0};
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(list[k + 1].count, counts[k]) << k;
        EXPECT_EQ(list[k + 1].advance, advances[k]) << k;
        EXPECT_EQ(list[k + 1].firstWeight, firsts[k]) << k;
        EXPECT_EQ(list[k + 1].lastWeight, lasts[k]) << k;
    }
    EXPECT_FALSE(ScaleGenScaleList(nullptr, 3, 2));
    EXPECT_FALSE(ScaleGenScaleList(list, 0, 2));
    EXPECT_FALSE(ScaleGenScaleList(list, 2, 0));
    EXPECT_FALSE(ScaleGenScale(nullptr));
}

TEST(ScaleList, MatchesClosedFormsForRandomSizes)
{
    std::mt19937 rng(7);
    for (int n = 0; n < 400; ++n) {
        const int in = 1 + int(rng() % (n < 200 ? 40 : 3000));
        const int out = 1 + int(rng() % (n < 200 ? 40 : 3000));
        std::vector<tagScaleList> list(size_t(out) + 1);
        ASSERT_TRUE(ScaleGenScaleList(list.data(), in, out));
        SCOPED_TRACE(testing::Message() << in << " -> " << out);
        ExpectListsEqual(ModelList(in, out), list.data(), out);
    }
}

TEST(ResizeLayer, MatchesFootprintModel)
{
    struct Case {
        int inW, inH, outW, outH;
    } cases[] = {{37, 23, 10, 7}, {16, 16, 8, 8}, {5, 4, 17, 13}, {2, 2, 9, 5}, {30, 5, 7, 19},
                 {6, 40, 25, 3},  {13, 1, 4, 1},  {1, 1, 6, 6},   {9, 9, 9, 4}, {64, 48, 61, 50}};
    std::mt19937 rng(11);
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.inW << "x" << c.inH << " -> " << c.outW << "x" << c.outH);
        Pels pels = RandomPels(c.inW * c.inH, rng);
        // A fully transparent block: its footprints must come out as zero bytes.
        for (int y = 0; y < c.inH / 2; ++y)
            for (int x = 0; x < c.inW / 2; ++x)
                pels[size_t(y) * c.inW + x] = rng() & 0x00FFFFFFu;
        Marrow::StubLayer* src = MakeLayer(c.inW, c.inH, pels);
        Marrow::StubLayer* dst = MakeFilled(c.outW, c.outH, 0x12345678u);
        UpdateLog log;
        AttachUpdateFunction(dst, UpdateLog::Record, &log);
        ASSERT_TRUE(ResizeLayer(dst, src, true));
        EXPECT_EQ(ReadLayer(dst), ModelScale(pels, c.inW, c.inH, c.outW, c.outH));
        EXPECT_EQ(log.calls, 1);
        EXPECT_EQ(log.last, (LayerRegion{0, 0, c.outW, c.outH}));
        DeleteLayer(src);
        DeleteLayer(dst);
    }
}

// A destination that is a clipped view reaching past its parent scales into
// the valid part exactly as the whole picture would, and touches nothing else.
TEST(ResizeLayer, ClippedDestinationGetsItsWindowOfTheWholeScaling)
{
    std::mt19937 rng(3);
    const Pels pels = RandomPels(20 * 14, rng);
    Marrow::StubLayer* src = MakeLayer(20, 14, pels);
    Marrow::StubLayer* parent = MakeFilled(30, 30, 0xAABBCCDDu);
    Marrow::StubLayer* view = CreateClippedLayer(parent);
    const LayerRegion clip = {-4, -3, 31, 19}; // valid part {4, 3, 27, 16} of the view
    ASSERT_TRUE(ClipLayer(view, &clip));
    ASSERT_TRUE(ResizeLayer(view, src, false));

    const Pels whole = ModelScale(pels, 20, 14, 31, 19);
    const Pels got = ReadLayer(parent);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 30; ++x) {
            const int vx = x + 4, vy = y + 3;
            const bool inside = vx < 31 && vy < 19;
            const Pel want = inside ? whole[size_t(vy) * 31 + vx] : 0xAABBCCDDu;
            ASSERT_EQ(got[size_t(y) * 30 + x], want) << x << "," << y;
        }
    DeleteLayer(view);
    DeleteLayer(parent);
    DeleteLayer(src);
}

// Equal valid regions are copied: a source whose region is larger than its
// valid part would otherwise be filtered.
TEST(ResizeLayer, IdenticalValidRegionsCopyWithoutFiltering)
{
    std::mt19937 rng(5);
    const Pels pels = RandomPels(8 * 6, rng);
    Marrow::StubLayer* parent = MakeLayer(8, 6, pels);
    Marrow::StubLayer* src = CreateClippedLayer(parent);
    const LayerRegion clip = {0, 0, 12, 9};
    ASSERT_TRUE(ClipLayer(src, &clip));
    Marrow::StubLayer* dst = MakeFilled(8, 6, 0x01020304u);
    ASSERT_TRUE(ResizeLayer(dst, src, false));
    EXPECT_EQ(ReadLayer(dst), pels);
    DeleteLayer(src);
    DeleteLayer(parent);
    DeleteLayer(dst);
    EXPECT_FALSE(ResizeLayer(nullptr, dst, false));
}

// The copy intake with a caller-kept source row gives the same rows as the
// layer front end.
TEST(ScaleScanline, CopyIntakeMatchesModel)
{
    std::mt19937 rng(9);
    const int inW = 11, inH = 7, outW = 5, outH = 3;
    const Pels pels = RandomPels(inW * inH, rng);
    ScanlineControl* ctl = BeginScaleScanline(inW, inH, outW, outH);
    ASSERT_NE(ctl, nullptr);
    Pels out(static_cast<size_t>(outW * outH)), row(static_cast<size_t>(inW));
    int next = 0;
    while (ctl->row < ctl->height) {
        std::copy_n(pels.begin() + next * inW, inW, row.begin());
        const int y = ctl->row;
        ASSERT_EQ(ScaleScanline(&out[size_t(y) * outW], row.data(), ctl), 1);
        if (ctl->needInput || !ctl->outputReady)
            ++next;
    }
    EXPECT_EQ(ScaleScanline(out.data(), row.data(), ctl), 0);
    EXPECT_EQ(out, ModelScale(pels, inW, inH, outW, outH));
    EXPECT_TRUE(EndScaleScanline(ctl));
    EXPECT_FALSE(EndScaleScanline(nullptr));
}

TEST(ScaleScanline, OffsetAndConvertBounds)
{
    EXPECT_EQ(BeginScaleScanline(0, 1, 1, 1), nullptr);
    ScanlineControl* ctl = BeginScaleScanline(10, 10, 4, 4);
    ASSERT_NE(ctl, nullptr);
    EXPECT_EQ(OffsetScaleScanline(ctl, 4, 0, 0), 1); // x == width with width 0
    EXPECT_EQ(OffsetScaleScanline(ctl, 5, 0, 0), 0);
    EXPECT_EQ(OffsetScaleScanline(ctl, 1, 0, 4), 0);
    EXPECT_EQ(OffsetScaleScanline(ctl, 0, 5, 1), 0);
    EXPECT_EQ(OffsetScaleScanline(ctl, -1, 0, 1), 0);
    LayerRegion r = {1, 2, 2, 1}; // advances 2, 3, 2, 3
    EXPECT_TRUE(ConvertRegionScaleScanline(ctl, &r));
    EXPECT_EQ(r, (LayerRegion{2, 5, 6, 3}));
    EXPECT_FALSE(ConvertRegionScaleScanline(nullptr, &r));
    EndScaleScanline(ctl);
}
