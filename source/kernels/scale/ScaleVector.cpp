// The scaler's vector sets: the reference sums of each output pel, the four of
// a pel (b.a, g.a, r.a, a) in the lanes of one D4.
//
// A pel's sums take its footprint's terms in the reference order, so while
// summing, lanes never mix pels and only the channels share an instruction.
// The run is cut into chunks of pels. A chunk whose footprints are clear is
// written as zero bytes without sums, as the scalar set writes every pel whose
// alpha sums to less than 1: there every term is 0, whatever the weights.
// Each stretch of other chunks is taken through its footprint rows one at a
// time: each source pel of the row is turned into its four terms once
// (products of two bytes, exact in a double), whichever output pels read it,
// and the sums wait in the working memory between bands of rows. The
// horizontal taps of the run are worked out once, before its first row. The
// quotients, where the pels are independent, take four pels at a time.
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

// One output pel's horizontal taps. Adding a term with weight +0 leaves the
// sums, which are never -0, as they are.
struct PelTaps {
    i32 column; // its first column
    i32 middle; // whole middle columns
    i32 hasLast;
    i32 total;  // columns read
    i32 second; // the second column read, from the first, or 0
    double first, last;
    double next, nextBelow; // the second column's weight, and in a last row
};

constexpr std::size_t kAlign = 64;

// Output pels per chunk: a multiple of the four that StoreResults takes, and
// few enough for the clear gaps between the words of a title.
constexpr i32 kChunk = 32;

std::size_t Chunks(std::size_t count)
{
    return (count + kChunk - 1) / kChunk;
}

std::size_t Rounded(std::size_t bytes)
{
    return (bytes + kAlign - 1) / kAlign * kAlign;
}

// Footprint rows whose terms are held at once: the sums of a pel wait in
// memory only between bands of this many rows.
constexpr i32 kBand = 4;

// The working memory of a run: the widest footprint, the taps, the end of each
// chunk's columns, each pel's sums and remaining weight between bands, and the
// terms of a band's rows.
struct Work {
    i32* widest; // columns the widest pel reads
    PelTaps* taps;
    i32* ends;
    D4* sums;
    double* rest;
    D4* terms;

    Work(void* columns, std::size_t count)
    {
        char* at = static_cast<char*>(columns);
        widest = reinterpret_cast<i32*>(at);
        at += kAlign;
        taps = reinterpret_cast<PelTaps*>(at);
        at += Rounded(count * sizeof(PelTaps));
        ends = reinterpret_cast<i32*>(at);
        at += Rounded(Chunks(count) * sizeof(i32));
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
    return kAlign + Rounded(n * sizeof(PelTaps)) + Rounded(Chunks(n) * sizeof(i32)) +
           Rounded(n * sizeof(D4)) + Rounded(n * sizeof(double)) +
           std::size_t(kBand) * std::size_t(width) * sizeof(D4);
}

void PrepareColumns(void* columns, const ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    const Work work(columns, std::size_t(job.count));
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

void ReadRow(D4* terms, const Pel* row, i32 count)
{
    i32 x = 0;
    for (; x + 2 <= count; x += 2)
        PelTermsD4(terms + x, row + x);
    if (x < count) {
        const Pel pels[2] = {row[x], 0};
        D4 both[2];
        PelTermsD4(both, pels);
        terms[x] = both[0];
    }
}

// Each lane as ClampChannel gives it: 255 from 255 up, 0 below 1. Truncating
// first does both, as no sum reaches -1 or 2^31.
FLOWER_BLOCK I4 ClampedD4(D4 v)
{
    const I4 whole = __builtin_convertvector(v, I4);
    return whole < 255 ? whole : 255;
}

// The sums of four pels, lanes across channels, as lanes across pels: b, g, r
// and a of the four in turn.
FLOWER_BLOCK void Transpose(D4 s[4])
{
    const D4 bR01 = __builtin_shufflevector(s[0], s[1], 0, 4, 2, 6);
    const D4 gA01 = __builtin_shufflevector(s[0], s[1], 1, 5, 3, 7);
    const D4 bR23 = __builtin_shufflevector(s[2], s[3], 0, 4, 2, 6);
    const D4 gA23 = __builtin_shufflevector(s[2], s[3], 1, 5, 3, 7);
    s[0] = __builtin_shufflevector(bR01, bR23, 0, 1, 4, 5);
    s[1] = __builtin_shufflevector(gA01, gA23, 0, 1, 4, 5);
    s[2] = __builtin_shufflevector(bR01, bR23, 2, 3, 6, 7);
    s[3] = __builtin_shufflevector(gA01, gA23, 2, 3, 6, 7);
}

// Four pels from their sums. Each quotient is the scalar set's division; a
// clear pel divides by 1 and is dropped after. Clear areas, common in
// titles, skip the divisions.
FLOWER_BLOCK void StoreResults(Pel* dst, const D4* sums)
{
    D4 s[4] = {sums[0], sums[1], sums[2], sums[3]};
    Transpose(s);
    const I4 alpha = ClampedD4(s[3]);
    typedef u32 U4 __attribute__((vector_size(16)));
    U4 pels = {};
    if (alpha[0] | alpha[1] | alpha[2] | alpha[3]) {
        const D4 divisor = __builtin_convertvector(alpha > 0 ? alpha : 1, D4);
        pels = U4(alpha) << 24;
        for (int c = 0; c < 3; ++c)
            pels |= U4(ClampedD4(s[c] / divisor)) << (8 * c);
        pels = alpha > 0 ? pels : U4{};
    }
    std::memcpy(dst, &pels, sizeof pels);
}

// One footprint row of one pel; each weight is rowWeight x column weight.
FLOWER_BLOCK void AddFootprintRow(D4& sums, double& rest, const D4* terms, double rowWeight,
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

// The rows of one band and their weights.
struct Band {
    i32 first, rows;
    bool last;            // the footprint's last band
    bool lastSkipsCorner; // the band's last row is a last row with a last column
    double weight[kBand], middleWeight[kBand];
};

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

// The pels of one chunk, and the columns they read.
struct Chunk {
    i32 first, end;   // pels
    i32 start, width; // columns
};

// One pel's sums through the rows of one band: the first band starts the sums,
// the last one adds the last pixel read once more. Runs whose pels read at
// most two columns each (kNarrow) take the second from `second`, padded with
// weight 0: the same terms in the same order, with no branch on the shape of a
// footprint.
template <bool kFirst, bool kLast, bool kNarrow> struct PelSums {
    const PelTaps& h;
    const D4* terms;
    D4 sums;
    double rest;

    FLOWER_BLOCK PelSums(const Work& work, const Chunk& chunk, i32 j)
        : h(work.taps[j]), terms(work.terms + (h.column - chunk.start)),
          sums(kFirst ? D4{} : work.sums[j]), rest(kFirst ? 1.0 : work.rest[j])
    {
    }

    FLOWER_BLOCK void AddRow(const Band& band, i32 b, i32 width)
    {
        const bool withCorner = !(band.lastSkipsCorner && b + 1 == band.rows);
        if (!kNarrow) {
            AddFootprintRow(sums, rest, terms, band.weight[b], band.middleWeight[b], h, withCorner);
        } else {
            const double w0 = band.weight[b] * h.first;
            sums += terms[0] * w0;
            rest -= w0;
            const double w1 = band.weight[b] * (withCorner ? h.next : h.nextBelow);
            sums += terms[h.second] * w1;
            rest -= w1;
        }
        terms += width;
    }

    FLOWER_BLOCK void Finish(const Work& work, i32 j, i32 width)
    {
        if (kLast)
            sums += terms[(kNarrow ? h.second : h.total - 1) - width] * rest;
        else
            work.rest[j] = rest;
        work.sums[j] = sums;
    }
};

// Every pel of a chunk through the rows of one band, two pels side by side:
// the chains of additions of one pel are long, of two they overlap.
template <bool kFirst, bool kLast, bool kNarrow>
void AddBand(const Work& work, const Chunk& chunk, const Band& band)
{
    typedef PelSums<kFirst, kLast, kNarrow> Sums;
    const i32 width = chunk.width;
    i32 j = chunk.first;
    for (; j + 2 <= chunk.end; j += 2) {
        Sums one(work, chunk, j), two(work, chunk, j + 1);
        for (i32 b = 0; b < band.rows; ++b) {
            one.AddRow(band, b, width);
            two.AddRow(band, b, width);
        }
        one.Finish(work, j, width);
        two.Finish(work, j + 1, width);
    }
    if (j < chunk.end) {
        Sums one(work, chunk, j);
        for (i32 b = 0; b < band.rows; ++b)
            one.AddRow(band, b, width);
        one.Finish(work, j, width);
    }
}

// AddBand by [first band][last band][narrow run].
void (*const kAddBand[2][2][2])(const Work&, const Chunk&, const Band&) = {
    {{AddBand<false, false, false>, AddBand<false, false, true>},
     {AddBand<false, true, false>, AddBand<false, true, true>}},
    {{AddBand<true, false, false>, AddBand<true, false, true>},
     {AddBand<true, true, false>, AddBand<true, true, true>}}};

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

// A chunk's pels through one band of rows.
void SumBand(const Work& work, const ScaleRowJob& job, const Chunk& chunk, const Band& band)
{
    for (i32 b = 0; b < band.rows; ++b)
        ReadRow(work.terms + std::ptrdiff_t(b) * chunk.width,
                job.rows[band.first + b] + chunk.start, chunk.width);
    kAddBand[band.first == 0][band.last][*work.widest <= 2](work, chunk, band);
}

void StoreChunk(Pel* dst, const Work& work, const Chunk& chunk)
{
    i32 j = chunk.first;
    for (; j + 4 <= chunk.end; j += 4)
        StoreResults(dst + j, work.sums + j);
    if (j < chunk.end) {
        D4 sums[4] = {};
        Pel pels[4];
        std::memcpy(sums, work.sums + j, std::size_t(chunk.end - j) * sizeof(D4));
        StoreResults(pels, sums);
        std::memcpy(dst + j, pels, std::size_t(chunk.end - j) * sizeof(Pel));
    }
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

void ProduceRow(Pel* dst, const ScaleRowJob& job)
{
    if (job.count < 1)
        return;
    if (!job.columns)
        return kScaleScalar.produceRow(dst, job);
    const Work work(job.columns, std::size_t(job.count));
    const Taps v(*job.vertical);
    const i32 rows = v.Total();
    const Band firstBand = MakeBand(job, v, 0);
    const i32 chunks = i32(Chunks(std::size_t(job.count)));
    // Chunks that are not clear are summed together, from `open` on, so that
    // pictures with no clear stretch run as one long chunk.
    i32 open = 0;
    for (i32 k = 0; k <= chunks; ++k) {
        const bool clear =
            k < chunks && ClearChunk(job, rows, ChunksFrom(work, job.count, k, k + 1));
        if (k < chunks && !clear)
            continue;
        if (open < k) {
            const Chunk chunk = ChunksFrom(work, job.count, open, k);
            for (i32 first = 0; first < rows; first += kBand)
                SumBand(work, job, chunk, first == 0 ? firstBand : MakeBand(job, v, first));
            StoreChunk(dst, work, chunk);
        }
        if (clear) {
            const i32 first = k * kChunk,
                      end = first + kChunk < job.count ? first + kChunk : job.count;
            std::memset(dst + first, 0, std::size_t(end - first) * sizeof(Pel));
        }
        open = k + 1;
    }
}

} // namespace

const ScaleSet kScale = {FLOWER_STRING(FLOWER_KERNEL_TARGET), ProduceRow, ColumnBytes,
                         PrepareColumns};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
