// The scaler against a model written from the filter's definition: lists from
// closed forms of the per-axis recurrences, pels from whole-picture footprints
// (no ring, no streaming).
#include <algorithm>
#include <climits>

#include "Support.h"

using namespace florist_test;

namespace {

using List = std::vector<tagScaleList>;

// Shrinking: output pel k starts at remainder k * in mod out. Enlarging: after
// k steps the phase is p0 + k * in, less out for each source pel taken.
List ModelList(int64_t in, int64_t out)
{
    List list(size_t(out) + 1, tagScaleList{});
    list[0].ratio = in >= out ? double(out) / double(in) : 0.0;
    const int64_t p0 = (in - out) / 2;
    auto taken = [&](int64_t k) { return std::max<int64_t>(p0 + k * in, 0) / out; };
    for (int64_t k = 0; k < out; ++k) {
        tagScaleList& e = list[size_t(k) + 1];
        if (in >= out) {
            const int64_t r = k * in % out;
            e.count = int((r + in - out) / out);
            e.advance = e.count + 1;
            e.firstWeight = double(out - r) / double(in);
            e.lastWeight = double((k + 1) * in % out) / double(in);
        } else {
            const int64_t s = taken(k), p = p0 + k * in - s * out;
            const bool single = p < 1 || s == in - 1;
            e.advance = int(taken(k + 1) - s);
            e.firstWeight = single ? 1.0 : double(out - p) / double(out);
            e.lastWeight = single ? 0.0 : double(p) / double(out);
            e.count = e.lastWeight > 0 ? 0 : -1;
        }
    }
    return list;
}

void ExpectListsEqual(const List& want, const tagScaleList* got)
{
    ASSERT_EQ(want[0].ratio, got[0].ratio);
    for (size_t k = 1; k < want.size(); ++k)
        ASSERT_TRUE(want[k].count == got[k].count && want[k].advance == got[k].advance &&
                    want[k].firstWeight == got[k].firstWeight &&
                    want[k].lastWeight == got[k].lastWeight)
            << "entry " << k - 1 << ": " << got[k].count << " " << got[k].advance << " "
            << got[k].firstWeight << " " << got[k].lastWeight;
}

// Taps of one axis, in order: (offset from the footprint start, weight); the
// last partial pel, when there is one, is marked by a negative offset - 1.
std::vector<std::pair<int, double>> Taps(const tagScaleList& e, double ratio)
{
    std::vector<std::pair<int, double>> taps = {{0, e.firstWeight}};
    for (int i = 1; i <= e.count; ++i)
        taps.push_back({i, ratio});
    if (e.count != -1 && e.lastWeight > 0)
        taps.push_back({-e.count - 2, e.lastWeight});
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
    for (int y = 0, top = 0; y < outH; top += v[size_t(y++) + 1].advance)
        for (int x = 0, left = 0; x < outW; left += h[size_t(x++) + 1].advance) {
            double sa = 0, sb = 0, sg = 0, sr = 0, rest = 1.0;
            Pel p = 0;
            auto add = [&](double w) {
                const double a = PelAlpha(p);
                sa += a * w, sb += PelBlue(p) * a * w, sg += PelGreen(p) * a * w;
                sr += PelRed(p) * a * w;
            };
            for (auto row : Taps(v[size_t(y) + 1], v[0].ratio))
                for (auto column : Taps(h[size_t(x) + 1], h[0].ratio)) {
                    const int dy = row.first < 0 ? -row.first - 1 : row.first;
                    const int dx = column.first < 0 ? -column.first - 1 : column.first;
                    p = src[size_t(top + dy) * size_t(inW) + size_t(left + dx)];
                    if (row.first < 0 && column.first < 0)
                        continue; // the corner is read, not added
                    add(row.second * column.second);
                    rest -= row.second * column.second;
                }
            add(rest);
            const u32 a = Clamp(sa);
            out.push_back(a ? MakePel(Clamp(sb / a), Clamp(sg / a), Clamp(sr / a), a) : 0u);
        }
    return out;
}

} // namespace

TEST(ScaleList, WorkedExamplesAndClosedFormsForRandomSizes)
{
    tagScaleList list[5] = {};
    ASSERT_TRUE(ScaleGenScaleList(list, 3, 2));
    ExpectListsEqual({{0, 0, {2.0 / 3}, 0}, {0, 1, {2.0 / 3}, 1.0 / 3}, {1, 2, {1.0 / 3}, 0}},
                     list);
    ASSERT_TRUE(ScaleGenScaleList(list, 2, 4));
    ExpectListsEqual({{0, 0, {0.0}, 0},
                      {-1, 0, {1.0}, 0},
                      {0, 0, {0.75}, 0.25},
                      {0, 1, {0.25}, 0.75},
                      {-1, 0, {1.0}, 0}},
                     list);
    EXPECT_FALSE(ScaleGenScaleList(list, 0, 2) || ScaleGenScaleList(list, 2, 0));

    Rng rng(7);
    for (int n = 0; n < 400; ++n) {
        const int in = 1 + int(rng.Below(n < 200 ? 40 : 3000));
        const int out = 1 + int(rng.Below(n < 200 ? 40 : 3000));
        List random(size_t(out) + 1);
        ASSERT_TRUE(ScaleGenScaleList(random.data(), in, out));
        SCOPED_TRACE(testing::Message() << in << " -> " << out);
        ExpectListsEqual(ModelList(in, out), random.data());
    }
}

// Shrinking, enlarging and mixed axes over translucent pels with a transparent
// block, into plain layers and into views reaching past their parents: the
// valid part gets its window of the whole scaling and nothing else is touched.
TEST(ResizeLayer, MatchesFootprintModel)
{
    const int cases[][8] = {// in, out, and for a view: its place and its parent's size
                            {37, 23, 10, 7},
                            {16, 16, 8, 8},
                            {5, 4, 17, 13},
                            {2, 2, 9, 5},
                            {30, 5, 7, 19},
                            {6, 40, 25, 3},
                            {13, 1, 4, 1},
                            {1, 1, 6, 6},
                            {9, 9, 9, 4},
                            {64, 48, 61, 50},
                            {20, 14, 31, 19, -4, -3, 30, 30},
                            {9, 12, 20, 6, 5, 2, 22, 7}};
    Rng rng(11);
    for (const auto& c : cases) {
        const int inW = c[0], inH = c[1], outW = c[2], outH = c[3], cx = c[4], cy = c[5];
        SCOPED_TRACE(testing::Message() << inW << "x" << inH << " -> " << outW << "x" << outH);
        Pels pels = RandomRow(rng, inW * inH);
        for (int y = 0; y < inH / 2; ++y) // a fully transparent block
            for (int x = 0; x < inW / 2; ++x)
                pels[size_t(y * inW + x)] &= 0x00FFFFFFu;
        Marrow::StubLayer* src = MakeLayer(inW, inH, pels);
        Marrow::StubLayer* parent = MakeFilled(c[6] ? c[6] : outW, c[6] ? c[7] : outH, 0x1234u);
        Marrow::StubLayer* dst = c[6] ? MakeView(parent, {cx, cy, outW, outH}) : parent;
        UpdateLog log;
        AttachUpdateFunction(dst, UpdateLog::Record, &log);
        ASSERT_TRUE(ResizeLayer(dst, src, true));
        const Pels whole = ModelScale(pels, inW, inH, outW, outH);
        ExpectLayer(parent, [&](int x, int y) {
            const int vx = x - cx, vy = y - cy;
            return vx >= 0 && vy >= 0 && vx < outW && vy < outH ? whole[size_t(vy * outW + vx)]
                                                                : 0x1234u;
        });
        LayerRegion valid = {};
        EXPECT_TRUE(GetValidLayerRegion(dst, &valid) && log.calls == 1 && log.last == valid);
        if (dst != parent)
            DeleteLayer(dst);
        DeleteLayer(src);
        DeleteLayer(parent);
    }
}

// Equal valid regions are copied: a source whose region is larger than its
// valid part would otherwise be filtered.
TEST(ResizeLayer, IdenticalValidRegionsCopyWithoutFiltering)
{
    Rng rng(5);
    const Pels pels = RandomRow(rng, 8 * 6);
    Marrow::StubLayer* parent = MakeLayer(8, 6, pels);
    Marrow::StubLayer* src = MakeView(parent, {0, 0, 12, 9});
    Marrow::StubLayer* dst = MakeFilled(8, 6, 0x01020304u);
    ASSERT_TRUE(ResizeLayer(dst, src, false));
    EXPECT_EQ(ReadLayer(dst), pels);
    for (Marrow::StubLayer* layer : {src, parent, dst})
        DeleteLayer(layer);
}

// The copy intake with a caller-kept source row gives the model's rows too;
// the offset and region checks take the documented bounds.
TEST(ScaleScanline, CopyIntakeAndBounds)
{
    Rng rng(9);
    const int inW = 11, inH = 7, outW = 5, outH = 3;
    const Pels pels = RandomRow(rng, inW * inH);
    ScanlineControl* ctl = BeginScaleScanline(inW, inH, outW, outH);
    ASSERT_NE(ctl, nullptr);
    Pels out = Pels(size_t(outW * outH)), row = Pels(size_t(inW));
    for (int next = 0; ctl->row < ctl->height;) {
        std::copy_n(pels.begin() + next * inW, inW, row.begin());
        ASSERT_EQ(ScaleScanline(&out[size_t(ctl->row * outW)], row.data(), ctl), 1);
        next += ctl->needInput || !ctl->outputReady;
    }
    EXPECT_EQ(ScaleScanline(out.data(), row.data(), ctl), 0);
    EXPECT_EQ(out, ModelScale(pels, inW, inH, outW, outH));
    EXPECT_TRUE(EndScaleScanline(ctl));

    EXPECT_EQ(BeginScaleScanline(0, 1, 1, 1), nullptr);
    // Blocks past 2^31 - 1 bytes are refused before anything is allocated.
    EXPECT_EQ(BeginScaleScanline(1 << 29, 1, 1, 1), nullptr);
    EXPECT_EQ(BeginScaleScanline(1, 1, INT_MAX / 16, 1), nullptr);
    EXPECT_EQ(BeginScaleScanline(1, 1, 1, INT_MAX / 16), nullptr);
    EXPECT_EQ(BeginScaleScanline(2, 1 << 30, 2, 1), nullptr); // a ring of 2^30 rows
    ctl = BeginScaleScanline(10, 10, 4, 4);
    EXPECT_EQ(OffsetScaleScanline(ctl, 4, 0, 0), 1); // x == width with width 0
    const int refused[][3] = {{5, 0, 0}, {1, 0, 4}, {0, 5, 1}, {-1, 0, 1}, {0, -1, 1}};
    for (const auto& r : refused)
        EXPECT_EQ(OffsetScaleScanline(ctl, r[0], r[1], r[2]), 0);
    LayerRegion r = {1, 2, 2, 1}; // advances 2, 3, 2, 3
    EXPECT_TRUE(ConvertRegionScaleScanline(ctl, &r));
    EXPECT_EQ(r, (LayerRegion{2, 5, 6, 3}));
    EndScaleScanline(ctl);
}

// One control streams several runs through the zero-copy intake: the whole
// width, a window (the source placed from the window's first column on), and
// the same window again after the lists were regenerated for a narrower
// source. Each run must be the model's, whatever the scaler kept of the last.
TEST(ScaleScanline, RunsOfOneControlEachMatchTheModel)
{
    Rng rng(13);
    const int outW = 29, outH = 5;
    ScanlineControl* ctl = BeginScaleScanline(61, 9, outW, outH);
    ASSERT_NE(ctl, nullptr);
    struct Run {
        int inW, x, width;
    };
    for (const Run run : {Run{61, 0, outW}, Run{61, 3, 21}, Run{61, 3, 21}, Run{45, 3, 21}}) {
        SCOPED_TRACE(testing::Message() << run.inW << " from " << run.x << " for " << run.width);
        if (run.inW != ctl->scale->inWidth) {
            ctl->scale->inWidth = run.inW;
            ASSERT_TRUE(ScaleGenScale(ctl->scale));
        }
        const Pels pels = RandomRow(rng, run.inW * 9);
        ASSERT_EQ(OffsetScaleScanline(ctl, run.x, 0, run.width), 1);
        int shift = 0;
        for (int k = 1; k <= run.x; ++k)
            shift += ctl->scale->horizontal[k].advance;
        auto feed = [&](int k) {
            ASSERT_LT(k, 9) << "asked for a row past the picture";
            std::copy(pels.begin() + k * run.inW + shift, pels.begin() + (k + 1) * run.inW,
                      GetBufferScaleScanline(ctl));
        };
        Pels out(size_t(run.width) * outH);
        int k = 0;
        feed(k++);
        while (ctl->row < ctl->height) {
            ASSERT_EQ(ScaleScanline(&out[size_t(ctl->row) * size_t(run.width)], nullptr, ctl), 1);
            if (ctl->needInput)
                feed(k++);
        }
        const Pels whole = ModelScale(pels, run.inW, 9, outW, outH);
        for (int y = 0; y < outH; ++y)
            for (int x = 0; x < run.width; ++x)
                ASSERT_EQ(out[size_t(y * run.width + x)], whole[size_t(y * outW + run.x + x)])
                    << "at " << x << "," << y;
    }
    EXPECT_TRUE(EndScaleScanline(ctl));
}

// A destination over the source's own memory sees each source row as it was
// when the scaler took it, as a caller feeding the scanline interface row by
// row, writing each finished row in place, would: shrinking and enlarging,
// with the destination's rows above, on and below the source's.
TEST(ResizeLayer, DestinationOverTheSourceReadsRowsAsFed)
{
    const int w = 24;
    const int cases[][4] = {// source rows and first row, destination rows and first row
                            {30, 0, 20, 0}, {30, 0, 20, 3},  {20, 3, 7, 9}, {10, 0, 20, 0},
                            {10, 9, 20, 3}, {10, 17, 30, 9}, {30, 3, 7, 17}};
    Rng rng(17);
    for (const auto& c : cases) {
        const int inH = c[0], from = c[1], outH = c[2], to = c[3];
        SCOPED_TRACE(testing::Message()
                     << inH << " rows from row " << from << " -> " << outH << " from row " << to);
        const Pels start = RandomRow(rng, w * 48);
        Pels got = start, want = start;
        const auto view = [&](int row, int rows) {
            return CreateCompatibleLayer(reinterpret_cast<u8*>(got.data() + row * w), w, rows,
                                         w * 4, nullptr, nullptr);
        };
        Marrow::StubLayer *src = view(from, inH), *dst = view(to, outH);
        ASSERT_TRUE(src && dst);
        ASSERT_TRUE(ResizeLayer(dst, src, false));
        DeleteLayer(dst);
        DeleteLayer(src);

        ScanlineControl* ctl = BeginScaleScanline(w, inH, w, outH);
        ASSERT_NE(ctl, nullptr);
        int k = 0;
        auto feed = [&] { // rows past the source come in clear
            Pel* line = GetBufferScaleScanline(ctl);
            if (k < inH)
                std::copy_n(want.begin() + (from + k) * w, w, line);
            else
                std::fill_n(line, w, 0u);
            ++k;
        };
        feed();
        while (ctl->row < ctl->height) {
            ASSERT_EQ(ScaleScanline(&want[size_t((to + ctl->row) * w)], nullptr, ctl), 1);
            if (ctl->needInput)
                feed();
        }
        EndScaleScanline(ctl);
        EXPECT_EQ(got, want);
    }
}
