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
// Translucent and clear footprints give sums of alpha near and below 1.
enum class Content { random, flat, palette, translucent, clear, kinds };

Pel MakePel(Content content, const Pel palette[4], support::Rng& rng)
{
    switch (content) {
    case Content::random:
        return rng.Pel();
    case Content::flat:
        return palette[0];
    case Content::translucent:
        return (rng.Next() & 0x00FFFFFFu) | (1 + rng.Below(254)) << 24;
    case Content::clear:
        return rng.Next() & 0x00FFFFFFu;
    default:
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
    Layout(const ScaleSet& set, const Kernels::ScaleRowJob& job, int width)
    {
        if (!set.prepareColumns)
            return;
        bytes_.resize(set.columnBytes(job.count, width) + 64);
        void* at = bytes_.data();
        std::size_t room = bytes_.size();
        columns_ = std::align(64, room - 64, at, room);
        set.prepareColumns(columns_, job);
    }
    void* get() const { return columns_; }

  private:
    std::vector<unsigned char> bytes_;
    void* columns_ = nullptr;
};

// Shrinks by integer and odd ratios, enlarges, equal sizes and 1-pixel axes.
const Axis kAxes[] = {{1, 1},   {1, 7},   {7, 1},   {5, 5},   {2, 3},    {3, 2},
                      {10, 3},  {64, 67}, {67, 64}, {99, 13}, {13, 99},  {200, 67},
                      {48, 96}, {96, 48}, {37, 36}, {36, 37}, {300, 41}, {1, 70}};

// Every runnable set's row against the scalar set's, with its prepared
// working memory and without; a pel written past the run shows in the guard.
void ExpectSetsMatch(const Kernels::ScaleRowJob& job, int width, const std::string& what)
{
    const ScaleSet* sets[Kernels::kTargetCount];
    const int n = Kernels::Runnable(Kernels::kScaleSets, sets);
    const Pel guard = 0xDEADBEEF;
    std::vector<Pel> want(std::size_t(job.count) + 1, guard);
    Kernels::kScaleScalar.produceRow(want.data(), job);
    ASSERT_EQ(want.back(), guard);
    for (int i = 1; i < n; ++i) {
        const Layout layout(*sets[i], job, width);
        for (void* columns : {static_cast<void*>(nullptr), layout.get()}) {
            Kernels::ScaleRowJob own = job;
            own.columns = columns;
            std::vector<Pel> got(std::size_t(job.count) + 1, guard);
            sets[i]->produceRow(got.data(), own);
            ASSERT_EQ(want, got) << sets[i]->name << (columns ? " prepared " : " ") << what;
        }
    }
}

TEST(ScaleKernels, EveryVariantMatchesScalarOnSeededFootprints)
{
    support::Rng rng(2024);
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
                ExpectSetsMatch(job, int(f.rows[0].size()),
                                std::to_string(wide.in) + "->" + std::to_string(wide.out) + " x " +
                                    std::to_string(v.in) + "->" + std::to_string(v.out) + " row " +
                                    std::to_string(row) + " first column " +
                                    std::to_string(firstColumn) + " run " + std::to_string(run));
            }
}

// Sizes from 1 to 4096 on each axis, shrinking and enlarging by any ratio up
// to 4096: a row of a random run of each, of every kind of content. Tall
// footprints repeat a few distinct rows.
TEST(ScaleKernels, EveryVariantMatchesScalarOnRandomSizes)
{
    support::Rng rng(4096);
    // Half the sizes small, so that ratios reach 4096 both ways.
    const auto size = [&rng] {
        return rng.Below(2) ? 1 + int(rng.Below(4096)) : 1 + int(rng.Below(8));
    };
    for (int trial = 0; trial < 400; ++trial) {
        const Axis h{size(), size()}, v{size(), size()};
        const std::vector<tagScaleList> hList = MakeList(h), vList = MakeList(v);
        const int firstColumn = int(rng.Below(u32(h.out)));
        const int run = 1 + int(rng.Below(u32(std::min(h.out - firstColumn, 300))));
        const int row = 1 + int(rng.Below(u32(v.out)));
        const Content content = Content(trial % int(Content::kinds));
        tagScaleList oneRow = vList[row];
        oneRow.count = -1; // a footprint of one row: a few become the rows of a tall one
        Footprint f = RandomFootprint(oneRow, hList.data() + firstColumn + 1, run, content, rng);
        for (int i = 0; i < 3; ++i)
            f.rows.push_back(
                RandomFootprint(oneRow, hList.data() + firstColumn + 1, run, content, rng).rows[0]);
        f.pointers.clear();
        for (int i = 0; i < Reads(vList[row]); ++i)
            f.pointers.push_back(f.rows[std::size_t(i) % f.rows.size()].data());
        const Kernels::ScaleRowJob job{
            f.pointers.data(), &vList[row], vList[0].ratio, hList.data() + firstColumn + 1,
            hList[0].ratio,    run,         nullptr};
        ExpectSetsMatch(job, int(f.rows[0].size()),
                        std::to_string(h.in) + "->" + std::to_string(h.out) + " x " +
                            std::to_string(v.in) + "->" + std::to_string(v.out) + " row " +
                            std::to_string(row) + " first column " + std::to_string(firstColumn) +
                            " run " + std::to_string(run) + " content " +
                            std::to_string(int(content)));
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
                    layouts.emplace_back(*sets[i], job, frame.h.in);
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
