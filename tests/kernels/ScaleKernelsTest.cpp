// Every scaler set this CPU runs against the scalar set, bit for bit, on real
// scale lists: each job reads exactly the footprint it is given, so a kernel
// reading past it trips the sanitizers, and a pel written past the run shows.
#include "kernels/scale/ScaleKernels.h"
#include "support/Rng.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

using Kernels::ScaleSet;
using support::u32;

struct Axis {
    int in, out;
};

// Rows of random pels sized to what one destination row reads.
struct Footprint {
    std::vector<std::vector<Pel>> rows;
    std::vector<const Pel*> pointers;
};

std::vector<tagScaleList> MakeList(Axis axis)
{
    std::vector<tagScaleList> list(std::size_t(axis.out) + 1);
    EXPECT_TRUE(ScaleGenScaleList(list.data(), axis.in, axis.out));
    return list;
}

// Pels one entry reads along its axis: the first, the whole middle ones, and
// the last when it carries weight.
int Reads(const tagScaleList& e)
{
    if (e.count == -1)
        return 1;
    return 1 + e.count + (e.lastWeight > 0 ? 1 : 0);
}

// Random pels make quotients that are rarely near an integer; flat and
// few-coloured pictures make them near or on one, where a kernel that takes a
// shortcut for the division must still truncate as the division does.
enum class Content { random, flat, palette };

Pel MakePel(Content content, const Pel palette[4], support::Rng& rng)
{
    switch (content) {
    case Content::random:
        return rng.Pel();
    case Content::flat:
        return palette[0];
    case Content::palette:
        break;
    }
    return palette[rng.Below(4)];
}

Footprint RandomFootprint(const tagScaleList& vEntry, const tagScaleList* hEntry, int count,
                          Content content, support::Rng& rng)
{
    // Opaque, translucent, clear and one channel at 0 or 255 among them.
    const Pel palette[4] = {rng.Pel() | 0xFF000000u, rng.Pel() & 0x80FF00FFu, 0x00123456u,
                            0xFF00FF00u | (rng.Pel() & 0xFFu)};
    long width = 0, column = 0;
    for (int j = 0; j < count; ++j) {
        width = std::max(width, column + Reads(hEntry[j]));
        column += hEntry[j].advance;
    }
    Footprint f;
    for (int i = 0; i < Reads(vEntry); ++i) {
        f.rows.push_back(std::vector<Pel>(std::size_t(width)));
        for (Pel& p : f.rows.back())
            p = MakePel(content, palette, rng);
    }
    for (const auto& row : f.rows)
        f.pointers.push_back(row.data());
    return f;
}

// A set's prepared column layout for a job's run, or null when it has none.
class Layout {
  public:
    Layout(const ScaleSet& set, const Kernels::ScaleRowJob& job)
    {
        if (!set.prepareColumns)
            return;
        bytes_.resize(set.columnBytes(job.count) + 64);
        void* at = bytes_.data();
        std::size_t room = bytes_.size();
        columns_ = std::align(64, room - 64, at, room);
        set.prepareColumns(columns_, job);
    }
    const void* get() const { return columns_; }

  private:
    std::vector<unsigned char> bytes_;
    void* columns_ = nullptr;
};

// Shrinks by integer and odd ratios, enlarges, equal sizes and 1-pixel axes.
const Axis kAxes[] = {{1, 1},   {1, 7},   {7, 1},   {5, 5},   {2, 3},    {3, 2},
                      {10, 3},  {64, 67}, {67, 64}, {99, 13}, {13, 99},  {200, 67},
                      {48, 96}, {96, 48}, {37, 36}, {36, 37}, {300, 41}, {1, 70}};

TEST(ScaleKernels, EveryVariantMatchesScalarOnSeededFootprints)
{
    const ScaleSet* sets[Kernels::kTargetCount];
    const int n = Kernels::Runnable(Kernels::kScaleSets, sets);
    support::Rng rng(2024);
    const Pel guard = 0xDEADBEEF;
    const Content contents[] = {Content::random, Content::flat, Content::palette};
    for (const Axis h : kAxes)
        for (const Axis v : kAxes)
            for (int run = 1; run <= 67; ++run) {
                const Content content = contents[run % 3];
                // A list long enough for the run, entered at a random column.
                const int times = (run + h.out - 1) / h.out;
                const Axis wide{h.in * times, h.out * times};
                const std::vector<tagScaleList> hList = MakeList(wide);
                const std::vector<tagScaleList> vList = MakeList(v);
                const int firstColumn = int(rng.Below(u32(wide.out - run + 1)));
                const int row = 1 + int(rng.Below(u32(v.out)));
                const Footprint f =
                    RandomFootprint(vList[row], hList.data() + firstColumn + 1, run, content, rng);
                const Kernels::ScaleRowJob job{
                    f.pointers.data(), &vList[row], vList[0].ratio, hList.data() + firstColumn + 1,
                    hList[0].ratio,    run,         nullptr};
                std::vector<Pel> want(std::size_t(run) + 1, guard);
                Kernels::kScaleScalar.produceRow(want.data(), job);
                ASSERT_EQ(want[std::size_t(run)], guard);
                for (int i = 1; i < n; ++i) {
                    const Layout layout(*sets[i], job);
                    // Taps worked out per call, then prepared once for the run.
                    for (const void* columns : {static_cast<const void*>(nullptr), layout.get()}) {
                        Kernels::ScaleRowJob withColumns = job;
                        withColumns.columns = columns;
                        std::vector<Pel> got(std::size_t(run) + 1, guard);
                        sets[i]->produceRow(got.data(), withColumns);
                        ASSERT_EQ(want, got)
                            << sets[i]->name << (columns ? " prepared " : " ") << wide.in << "->"
                            << wide.out << " x " << v.in << "->" << v.out << " row " << row
                            << " first column " << firstColumn << " run " << run;
                    }
                }
            }
}

// A whole 1920x1080 frame to 1280x720 and 768x512 back up to 1920x1080, row
// by row as the scaler streams it: a random picture, then one of flat blocks.
TEST(ScaleKernels, WholeFramesMatchScalar)
{
    const ScaleSet* sets[Kernels::kTargetCount];
    const int n = Kernels::Runnable(Kernels::kScaleSets, sets);
    support::Rng rng(77);
    struct Frame {
        Axis h, v;
        bool blocks;
    };
    for (const Frame frame :
         {Frame{{1920, 1280}, {1080, 720}, false}, Frame{{1920, 1280}, {1080, 720}, true},
          Frame{{768, 1920}, {512, 1080}, false}}) {
        std::vector<Pel> picture(std::size_t(frame.h.in) * std::size_t(frame.v.in));
        Pel block = 0;
        for (std::size_t i = 0; i < picture.size(); ++i) {
            const std::size_t x = i % std::size_t(frame.h.in), y = i / std::size_t(frame.h.in);
            if (x % 37 == 0 && (y % 29 == 0 || x == 0))
                block = rng.Pel() | (rng.Below(2) ? 0xFF000000u : 0);
            picture[i] = frame.blocks ? block : rng.Pel();
        }
        const std::vector<tagScaleList> hList = MakeList(frame.h), vList = MakeList(frame.v);
        std::vector<std::vector<Pel>> out(std::size_t(n),
                                          std::vector<Pel>(std::size_t(frame.h.out) * frame.v.out));
        std::vector<Layout> layouts;
        std::vector<const Pel*> rows;
        long first = 0;
        for (int y = 0; y < frame.v.out; ++y) {
            const tagScaleList& e = vList[std::size_t(y) + 1];
            rows.clear();
            for (int i = 0; i < Reads(e); ++i)
                rows.push_back(&picture[std::size_t(first + i) * std::size_t(frame.h.in)]);
            const Kernels::ScaleRowJob job{
                rows.data(),    &e,          vList[0].ratio, hList.data() + 1,
                hList[0].ratio, frame.h.out, nullptr};
            for (int i = 0; i < n; ++i) {
                if (layouts.size() < std::size_t(n))
                    layouts.emplace_back(*sets[i], job);
                Kernels::ScaleRowJob prepared = job;
                prepared.columns = layouts[std::size_t(i)].get();
                sets[i]->produceRow(&out[std::size_t(i)][std::size_t(y) * frame.h.out], prepared);
            }
            first += e.advance;
        }
        for (int i = 1; i < n; ++i)
            EXPECT_TRUE(out[0] == out[std::size_t(i)]) << sets[i]->name << " " << frame.h.in << "x"
                                                       << frame.v.in << " blocks " << frame.blocks;
    }
}

} // namespace
