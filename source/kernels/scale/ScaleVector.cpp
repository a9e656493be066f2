// The scaler's vector sets: the reference sums of each output pel, the four of
// a pel (b.a, g.a, r.a, a) in the lanes of one D4.
//
// A pel's sums take its footprint's terms in the reference order, so lanes
// never mix pels and only the channels share an instruction. The rows of a
// footprint are taken one at a time for the whole run: each source pel of the
// row is turned into its four terms once (products of two bytes, exact in a
// double), whichever output pels read it, and the sums wait in the working
// memory for the next row. The horizontal taps of the run are worked out once,
// before its first row.
//
// Only the sets' own functions are defined here and nothing inline of the
// library is called: a copy built with wider instructions must not be the one
// the linker keeps for everybody.
#include "kernels/scale/ScaleKernels.h"
#include "kernels/scale/ScaleTaps.h"

#include "kernels/Lanes.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

// One output pel's horizontal taps.
struct PelTaps {
    i32 column; // its first column
    i32 middle; // whole middle columns
    i32 hasLast;
    i32 total; // columns read
    double first, last;
};

constexpr std::size_t kAlign = 64;

std::size_t Rounded(std::size_t bytes)
{
    return (bytes + kAlign - 1) / kAlign * kAlign;
}

// The working memory of a run: the columns it reads, the taps, each pel's sums
// and remaining weight between rows, and the terms of the row being read.
struct Work {
    i32* width;
    PelTaps* taps;
    D4* sums;
    double* rest;
    D4* terms;

    Work(void* columns, std::size_t count)
    {
        char* at = static_cast<char*>(columns);
        width = reinterpret_cast<i32*>(at);
        at += kAlign;
        taps = reinterpret_cast<PelTaps*>(at);
        at += Rounded(count * sizeof(PelTaps));
        sums = reinterpret_cast<D4*>(at);
        at += Rounded(count * sizeof(D4));
        rest = reinterpret_cast<double*>(at);
        at += Rounded(count * sizeof(double));
        terms = reinterpret_cast<D4*>(at);
    }
};

std::size_t ColumnBytes(i32 count, i32 width)
{
    if (count < 1 || width < 1)
        return 0;
    const std::size_t n = std::size_t(count);
    return kAlign + Rounded(n * sizeof(PelTaps)) + Rounded(n * sizeof(D4)) + Rounded(n * sizeof(double)) +
           std::size_t(width) * sizeof(D4);
}

void PrepareColumns(void* columns, const ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    const Work work(columns, std::size_t(job.count));
    i32 column = 0;
    *work.width = 0;
    for (i32 j = 0; j < job.count; ++j) {
        const Taps h(job.horizontal[j]);
        work.taps[j] = PelTaps{column, h.middle, h.hasLast, h.Total(), h.first, h.last};
        if (column + h.Total() > *work.width)
            *work.width = column + h.Total();
        column += job.horizontal[j].advance;
    }
}

// b.a, g.a, r.a and a: each colour byte times alpha.
FLOWER_BLOCK D4 PelTerms(u32 pel)
{
    const D4 bytes = PelBytesD4(pel);
    return WithLane3D4(bytes * SpreadD4<3>(bytes), bytes);
}

void ReadRow(D4* terms, const Pel* row, i32 count)
{
    for (i32 x = 0; x < count; ++x)
        terms[x] = PelTerms(row[x]);
}

// The reference clamp: at least 255 gives 255, below 1 gives 0, else truncate.
u32 ClampChannel(double v)
{
    if (v >= 255.0)
        return 255;
    if (v < 1.0)
        return 0;
    return u32(v);
}

FLOWER_BLOCK Pel Result(D4 sums)
{
    const u32 alpha = ClampChannel(sums[3]);
    if (alpha == 0)
        return 0;
    const D4 quotients = sums / double(alpha);
    const u32 colour = LowBytesI4(TruncateD4(MinD4(MaxD4(quotients, SplatD4(0.0)), SplatD4(255.0))));
    return (colour & 0x00FFFFFFu) | alpha << 24;
}

// One footprint row of one pel; each weight is rowWeight x column weight.
FLOWER_BLOCK void AddRow(D4& sums, double& rest, const D4* terms, double rowWeight,
                         double middleWeight, const PelTaps& h, bool withCorner)
{
    double w = rowWeight * h.first;
    sums += terms[0] * w;
    rest -= w;
    for (i32 k = 1; k <= h.middle; ++k) {
        sums += terms[k] * middleWeight;
        rest -= middleWeight;
    }
    if (h.hasLast && withCorner) {
        w = rowWeight * h.last;
        sums += terms[h.middle + 1] * w;
        rest -= w;
    }
}

// Every pel of the run through one footprint row: the first row starts the
// sums, the last one adds the last pixel read once more and writes the pels.
template <bool kFirst, bool kLast>
void AddRowToRun(Pel* dst, const Work& work, i32 count, double rowWeight, double middleWeight,
                 bool withCorner)
{
    for (i32 j = 0; j < count; ++j) {
        const PelTaps& h = work.taps[j];
        const D4* terms = work.terms + h.column;
        D4 sums = kFirst ? SplatD4(0.0) : work.sums[j];
        double rest = kFirst ? 1.0 : work.rest[j];
        AddRow(sums, rest, terms, rowWeight, middleWeight, h, withCorner);
        if (kLast) {
            sums += terms[h.total - 1] * rest;
            dst[j] = Result(sums);
        } else {
            work.sums[j] = sums;
            work.rest[j] = rest;
        }
    }
}

void ProduceRow(Pel* dst, const ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    if (!job.columns)
        return kScaleScalar.produceRow(dst, job);
    const i32 count = job.count;
    const Work work(job.columns, std::size_t(count));
    const i32 width = *work.width;
    const Taps v(*job.vertical);
    const i32 rows = v.Total();
    for (i32 i = 0; i < rows; ++i) {
        const double rowWeight = i == 0 ? v.first : i <= v.middle ? job.vRatio : v.last;
        const double middleWeight = rowWeight * job.hRatio;
        const bool last = i + 1 == rows;
        const bool withCorner = !(v.hasLast && last);
        ReadRow(work.terms, job.rows[i], width);
        if (i == 0 && last)
            AddRowToRun<true, true>(dst, work, count, rowWeight, middleWeight, withCorner);
        else if (i == 0)
            AddRowToRun<true, false>(dst, work, count, rowWeight, middleWeight, withCorner);
        else if (last)
            AddRowToRun<false, true>(dst, work, count, rowWeight, middleWeight, withCorner);
        else
            AddRowToRun<false, false>(dst, work, count, rowWeight, middleWeight, withCorner);
    }
}

} // namespace

const ScaleSet kScale = {FLOWER_STRING(FLOWER_KERNEL_TARGET), ProduceRow, ColumnBytes,
                         PrepareColumns};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
