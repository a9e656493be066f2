// The scaler's vector sets: the sums of a stretch of chunks (ScaleSchedule cuts
// the rows), a pel's four (b.a, g.a, r.a, a) in the lanes of one D4.
//
// A pel's sums take its footprint's terms in the reference order, so lanes
// never mix pels and only the channels share an instruction. Each source pel
// of a band's rows is turned into its four terms once (products of two bytes,
// exact in a double), whichever output pels read it; the sums wait in the
// working memory between bands. The quotients take four pels at a time.
//
// Only the sets' own functions are defined here and nothing inline of the
// library is called: a copy built with wider instructions must not be the one
// the linker keeps for everybody.
#include "kernels/scale/ScaleSchedule.h"

#include "kernels/Lanes.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

using namespace ScaleSchedule;

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

void ProduceRow(Pel* dst, const ScaleRowJob& job)
{
    ScaleSchedule::ProduceRow(dst, job, StretchKernels{SumBand, StoreChunk});
}

} // namespace

const ScaleSet kScale = {FLOWER_STRING(FLOWER_KERNEL_TARGET), ProduceRow,
                         ScaleSchedule::ColumnBytes, ScaleSchedule::PrepareColumns};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
