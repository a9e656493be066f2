// The schedule of the scaler's vector sets. A run's horizontal taps are worked
// out once, before its first row. Each row is cut into chunks of pels: a chunk
// whose footprints are clear is written as zero bytes without sums, as the
// scalar set writes every pel whose alpha sums to less than 1 (there every term
// is 0, whatever the weights). Other chunks are summed together, a stretch at a
// time, so that pictures with no clear stretch run as one long chunk.
#include "kernels/scale/ScaleSchedule.h"
#include "kernels/scale/ScaleTaps.h"

#include <cstring>

namespace Kernels {
namespace ScaleSchedule {
namespace {

constexpr std::size_t kAlign = 64;

// Output pels per chunk: a multiple of the four pels a target's results take
// at once, and few enough for the clear gaps between the words of a title.
constexpr i32 kChunk = 32;

std::size_t Chunks(std::size_t count)
{
    return (count + kChunk - 1) / kChunk;
}

std::size_t Rounded(std::size_t bytes)
{
    return (bytes + kAlign - 1) / kAlign * kAlign;
}

// Every part starts on a 64-byte boundary.
Work Layout(void* columns, std::size_t count)
{
    char* at = static_cast<char*>(columns);
    Work work;
    work.widest = reinterpret_cast<i32*>(at);
    at += kAlign;
    work.taps = reinterpret_cast<PelTaps*>(at);
    at += Rounded(count * sizeof(PelTaps));
    work.ends = reinterpret_cast<i32*>(at);
    at += Rounded(Chunks(count) * sizeof(i32));
    work.sums = reinterpret_cast<Doubles4*>(at);
    at += Rounded(count * sizeof(Doubles4));
    work.rest = reinterpret_cast<double*>(at);
    at += Rounded(count * sizeof(double));
    work.terms = reinterpret_cast<Doubles4*>(at);
    return work;
}

Band MakeBand(const ScaleRowJob& job, const Taps& v, i32 first)
{
    Band band;
    band.first = first;
    band.rows = v.Total() - first < kBand ? v.Total() - first : kBand;
    band.last = first + band.rows == v.Total();
    band.lastSkipsCorner = v.hasLast && band.last;
    for (i32 b = 0; b < band.rows; ++b) {
        const i32 i = first + b;
        band.weight[b] = i == 0 ? v.first : i <= v.middle ? job.vRatio : v.last;
        band.middleWeight[b] = band.weight[b] * job.hRatio;
    }
    return band;
}

// Whether every pel a chunk reads, in every row of the footprint, is clear.
bool ClearChunk(const ScaleRowJob& job, i32 rows, const Chunk& chunk)
{
    // Most chunks that are not clear tell at their first pel.
    if (job.rows[0][chunk.start] >> 24)
        return false;
    for (i32 i = 0; i < rows; ++i) {
        const Pel* row = job.rows[i] + chunk.start;
        u32 alphas = 0;
        for (i32 x = 0; x < chunk.width; ++x)
            alphas |= row[x];
        if (alphas >> 24)
            return false;
    }
    return true;
}

// Chunks `k` up to `end`: their pels and the columns these read.
Chunk ChunksFrom(const Work& work, i32 count, i32 k, i32 end)
{
    Chunk chunk;
    chunk.first = k * kChunk;
    chunk.end = end * kChunk < count ? end * kChunk : count;
    chunk.start = work.taps[chunk.first].column;
    chunk.width = 0;
    for (; k < end; ++k)
        if (work.ends[k] - chunk.start > chunk.width)
            chunk.width = work.ends[k] - chunk.start;
    return chunk;
}

} // namespace

std::size_t ColumnBytes(i32 count, i32 width)
{
    if (count < 1 || width < 1)
        return 0;
    const std::size_t n = std::size_t(count);
    return kAlign + Rounded(n * sizeof(PelTaps)) + Rounded(Chunks(n) * sizeof(i32)) +
           Rounded(n * sizeof(Doubles4)) + Rounded(n * sizeof(double)) +
           std::size_t(kBand) * std::size_t(width) * sizeof(Doubles4);
}

void PrepareColumns(void* columns, const ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    const Work work = Layout(columns, std::size_t(job.count));
    i32 column = 0;
    *work.widest = 0;
    for (i32 j = 0; j < job.count; ++j) {
        const Taps h(job.horizontal[j]);
        const bool two = h.Total() == 2;
        const double next = !two ? 0.0 : h.middle == 1 ? job.hRatio : h.last;
        work.taps[j] = PelTaps{column,    h.middle,    h.hasLast,
                               h.Total(), two ? 1 : 0, h.first,
                               h.last,    next,        h.hasLast ? 0.0 : next};
        i32& end = work.ends[j / kChunk];
        if (j % kChunk == 0 || column + h.Total() > end)
            end = column + h.Total();
        if (h.Total() > *work.widest)
            *work.widest = h.Total();
        column += job.horizontal[j].advance;
    }
}

void ProduceRow(Pel* dst, const ScaleRowJob& job, const StretchKernels& kernels)
{
    if (job.count < 1)
        return;
    if (!job.columns)
        return kScaleScalar.produceRow(dst, job);
    const Work work = Layout(job.columns, std::size_t(job.count));
    const Taps v(*job.vertical);
    const i32 chunks = i32(Chunks(std::size_t(job.count)));
    i32 open = 0; // the first chunk of the stretch
    for (i32 k = 0; k <= chunks; ++k) {
        const bool clear =
            k < chunks && ClearChunk(job, v.Total(), ChunksFrom(work, job.count, k, k + 1));
        if (k < chunks && !clear)
            continue;
        if (open < k) {
            const Chunk chunk = ChunksFrom(work, job.count, open, k);
            for (i32 first = 0; first < v.Total(); first += kBand)
                kernels.sumBand(work, job, chunk, MakeBand(job, v, first));
            kernels.store(dst, work, chunk);
        }
        if (clear) {
            const i32 first = k * kChunk,
                      end = first + kChunk < job.count ? first + kChunk : job.count;
            std::memset(dst + first, 0, std::size_t(end - first) * sizeof(Pel));
        }
        open = k + 1;
    }
}

} // namespace ScaleSchedule
} // namespace Kernels
