// The scaler's scalar reference set: one destination row of area-averaging or
// two-tap linear scaling, and the family's table.
//
// Per output pixel, over its footprint (rows first to last, columns first to
// last; weight w = row weight x column weight):
//     sumA += a.w;  sumC += c.a.w (c = b, g, r);  rest -= w   (rest starts at 1)
// except that the bottom-right corner, when both a last row and a last column
// exist, is read but not added; then the last pixel read is added once more
// with weight `rest`. The order is the result: this file is built without
// floating-point contraction.
#include "kernels/scale/ScaleKernels.h"
#include "kernels/scale/ScaleTaps.h"

#include <cstdint>

namespace {

using i64 = std::int64_t;

struct Sums {
    double a = 0, b = 0, g = 0, r = 0;

    // b.a, g.a and r.a are products of 8-bit integers, exact in a double.
    void Add(Pel p, double w)
    {
        const u32 alpha = PelAlpha(p);
        a += double(alpha) * w;
        b += double(PelBlue(p) * alpha) * w;
        g += double(PelGreen(p) * alpha) * w;
        r += double(PelRed(p) * alpha) * w;
    }

    Pel Result() const
    {
        const u32 alpha = ClampChannel(a);
        if (alpha == 0)
            return 0;
        const double divisor = alpha;
        return MakePel(ClampChannel(b / divisor), ClampChannel(g / divisor),
                       ClampChannel(r / divisor), alpha);
    }
};

// One footprint row. Each weight is rowWeight x column weight, as in the
// reference order; hoisting the product out of the middle run changes nothing.
inline void AddRow(Sums& sums, double& rest, const Pel* p, double rowWeight, const Taps& h,
                   double hRatio, bool withCorner)
{
    double w = rowWeight * h.first;
    sums.Add(p[0], w);
    rest -= w;
    w = rowWeight * hRatio;
    for (i32 k = 1; k <= h.middle; ++k) {
        sums.Add(p[k], w);
        rest -= w;
    }
    if (h.hasLast && withCorner) {
        w = rowWeight * h.last;
        sums.Add(p[h.middle + 1], w);
        rest -= w;
    }
}

Pel FilterPel(const Kernels::ScaleRowJob& job, const Taps& v, i64 column, const Taps& h)
{
    Sums sums;
    double rest = 1.0;
    const double hRatio = job.hRatio;
    AddRow(sums, rest, job.rows[0] + column, v.first, h, hRatio, true);
    for (i32 i = 1; i <= v.middle; ++i)
        AddRow(sums, rest, job.rows[i] + column, job.vRatio, h, hRatio, true);
    if (v.hasLast)
        AddRow(sums, rest, job.rows[v.middle + 1] + column, v.last, h, hRatio, false);
    // The corner, when skipped, is still the last pixel read.
    sums.Add(job.rows[v.Total() - 1][column + h.Total() - 1], rest);
    return sums.Result();
}

// The reference: the vector sets are proven against this loop.
void ProduceScalarRow(Pel* dst, const Kernels::ScaleRowJob& job)
{
    const Taps v(*job.vertical);
    const tagScaleList* hEntry = job.horizontal;
    // Every read position starts at column 0 and moves on together.
    i64 column = 0;
    for (i32 j = 0; j < job.count; ++j) {
        dst[j] = FilterPel(job, v, column, Taps(hEntry[j]));
        column += hEntry[j].advance;
    }
}

} // namespace

const Kernels::ScaleSet Kernels::kScaleScalar = {"scalar", ProduceScalarRow, nullptr, nullptr};

const Kernels::SetTable<Kernels::ScaleSet> Kernels::kScaleSets = {
    &kScaleScalar, FLOWER_VECTOR_SETS(kScale)};
