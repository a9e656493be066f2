// Crawl kernels on whole vectors; the tail of every row is the scalar set's.
//
// The straight filter divides per channel: (C1*e1 + C0*e0) / sum with sum <= 65280 and a
// numerator <= 255*sum, both below 2^24, so floats hold every product, sum and remainder
// exactly. Where the target divides floats fast, the rounded quotient truncates to the
// integer one: a quotient k + r/sum with r >= 1 lies at least 1/sum below k + 1, beyond the
// rounding error (k + 1)*2^-24 < 1/sum. Elsewhere one reciprocal per pel, a little below
// 1/sum, serves the three channels: the product then undershoots the quotient by less than
// 1, its truncation is the quotient or one less, and the remainder num - q*sum tells which.
//
// Gradient levels run in 32-bit lanes where Kernels::GradientFitsLanes allows: lane k of a
// block holds min(L + k*step, 0x10000), which is the running level once L is at most the
// ceiling (a rising level then stays there, a falling one never reaches it).
#include "kernels/Lanes.h"
#include "kernels/crawl/CrawlKernels.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

constexpr int kCeiling = 0x10000;

bool FractionInRange(int fraction)
{
    return fraction >= 0 && fraction <= 256;
}

// The divisors of a block's pels, with the reciprocals where the target needs them.
struct Divisor {
    FLOWER_BLOCK explicit Divisor(F divisors)
        : sum(divisors), reciprocal(kFastDivideF ? divisors : ReciprocalBelow(divisors))
    {
    }
    F sum, reciprocal;
};

// (C1*e1 + C0*e0) / sum for one colour channel; sum is never 0 here.
template <int kByte> FLOWER_BLOCK V Quotient(V s0, V s1, F e0, F e1, const Divisor& d)
{
    const F num = ToFloat(PelByte<kByte>(s1)) * e1 + ToFloat(PelByte<kByte>(s0)) * e0;
    if (kFastDivideF)
        return Truncate(num / d.sum);
    const V q = Truncate(num * d.reciprocal);
    return AddOneWhere(GreaterEqualF(num - ToFloat(q) * d.sum, d.sum), q);
}

// The alpha-weighted terms of a pair: e0 = A0*w0, e1 = A1*w1 and their sum. A*w is at most
// 65280, so a 16-bit multiply of the low halves gives it whole.
struct Terms {
    FLOWER_BLOCK Terms(V a0, V a1, V w0, V w1) : e0(Mul16(a0, w0)), e1(Mul16(a1, w1)), sum(e0 + e1)
    {
    }
    V e0, e1, sum;
};

// The filtered alpha, (sum >> 8) & 255, over `colour`; all zero where the sum is.
FLOWER_BLOCK V WithFilteredAlpha(V colour, V sum)
{
    return Select(Eq32(sum, V{}), V{}, WithAlphas(colour, sum >> 8));
}

// The straight filter with in-range weights, dividing in every lane. A lane whose sum is
// 0 has weights 0 and a numerator 0: divided by 1, it comes out clear by itself.
FLOWER_BLOCK V Straight(V s0, V s1, const Terms& t)
{
    const Divisor d(ToFloat(MaxUnsigned32(t.sum, Splat32(1))));
    const F fe0 = ToFloat(t.e0), fe1 = ToFloat(t.e1);
    const V b = Quotient<0>(s0, s1, fe0, fe1, d);
    const V g = Quotient<1>(s0, s1, fe0, fe1, d);
    const V r = Quotient<2>(s0, s1, fe0, fe1, d);
    return b | g << 8 | r << 16 | (t.sum >> 8) << 24;
}

// (X1*wNext + X0*wCur) >> 8 per channel in 16-bit lanes, where the two products sum to at
// most 0xFF00.
FLOWER_BLOCK V Lerp(V p0, V p1, V wCur, V wNext)
{
    const V lo = Add16(Mul16(LowBytes(p0), wCur), Mul16(LowBytes(p1), wNext));
    const V hi = Add16(Mul16(HighBytes(p0), wCur), Mul16(HighBytes(p1), wNext));
    return Pack16(Shr16(lo, 8), Shr16(hi, 8));
}

// A row's straight filter: weights in 32-bit lanes (w0 = 256 - f, w1 = f) and in 16-bit
// lanes for the lerp (cur = 256 - f, next = f), and whether unequal blocks divide unsorted.
struct RowFilter {
    explicit RowFilter(int fraction)
        : w0(Splat32(u32(256 - fraction))), w1(Splat32(u32(fraction))),
          cur(Splat16(u16(256 - fraction))), next(Splat16(u16(fraction)))
    {
    }
    V w0, w1, cur, next;
    bool dividing = false;
};

// Blocks by kind, cheapest first; only blocks with a pair of each kind's exception pay
// for the division.
//  - Equal alphas a: the filter is a*N / (256*a), the plain lerp N / 256 (clear pairs give
//    clear pels). This covers the inside of glyphs, the gaps between them, opaque pictures.
//  - One pel clear, or both of one colour C: C*e / e and (C*e0 + C*e1) / sum are C, so the
//    colour is a copy. This covers the anti-aliased edges of single-colour text.
// Once a block divides, the row's next blocks of unequal alphas divide unsorted, exact for
// every pair (sorting never pays in a translucent strip), until a covered equal block.
FLOWER_BLOCK V StraightFilter(V s0, V s1, RowFilter& filter)
{
    const V a0 = Alphas(s0), a1 = Alphas(s1);
    const PelMask equalAlphas = Eq32(a0, a1);
    if (All(equalAlphas)) {
        // The block's pels and the one after share one alpha: all clear, or none.
        if (a0[0] == 0u)
            return V{};
        filter.dividing = false;
        return Lerp(s0, s1, filter.cur, filter.next);
    }
    const Terms terms(a0, a1, filter.w0, filter.w1);
    if (!filter.dividing) {
        const PelMask copies = Or(Eq32(Mul16(a0, a1), V{}), Eq32((s0 ^ s1) << 8, V{}));
        const V copied = Select(Eq32(a0, V{}), s1, s0);
        if (All(copies))
            return WithFilteredAlpha(copied, terms.sum);
        filter.dividing = !All(Or(copies, equalAlphas));
        if (!filter.dividing)
            return WithFilteredAlpha(
                Select(equalAlphas, Lerp(s0, s1, filter.cur, filter.next), copied), terms.sum);
    }
    return Straight(s0, s1, terms);
}

// v / 256, truncating toward zero.
FLOWER_BLOCK V DivideBy256(V v)
{
    return Sar32(v + (Sar32(v, 31) & 255u), 8);
}

// Low 8 bits of ((L / 256)*X) / 256 given m = L / 256; the product fits 32 bits.
FLOWER_BLOCK V Fade(V m, V x)
{
    return DivideBy256(m * x) & 0xFFu;
}

FLOWER_BLOCK V FadeAlpha(V levels, V pels)
{
    return WithAlphas(pels, Fade(DivideBy256(levels), Alphas(pels)));
}

FLOWER_BLOCK V FadeAllChannels(V levels, V pels)
{
    const V m = DivideBy256(levels);
    const V b = Fade(m, PelByte<0>(pels)), g = Fade(m, PelByte<1>(pels));
    const V r = Fade(m, PelByte<2>(pels)), a = Fade(m, Alphas(pels));
    return b | g << 8 | r << 16 | a << 24;
}

// A gradient row: `block`(src, x, levels) gives the block at x from its levels, `scalar`(dst,
// src, count, level) the reference on the rest. Only the first pel can sit above the ceiling.
template <class Scalar, class Block>
void RunGradient(char* dst, const char* src, int count, int level, int levelStep, Scalar scalar,
                 Block block)
{
    if (count > 0 && level > kCeiling) {
        scalar(dst, src, 1, level);
        dst = At(dst, 1);
        src = At(src, 1);
        --count;
        const long long next = static_cast<long long>(level) + levelStep;
        level = static_cast<int>(next < kCeiling ? next : kCeiling);
    }
    int x = 0;
    if (GradientFitsLanes(level, levelStep, count)) {
        const V ceiling = Splat32(kCeiling), blockStep = Splat32(u32(kPels * levelStep));
        const V ramp = Ramp32() * u32(levelStep);
        V base = Splat32(u32(level));
        for (; x + kPels <= count; x += kPels) {
            Store(dst, x, block(src, x, MinSigned32(base + ramp, ceiling)));
            base = MinSigned32(base + blockStep, ceiling);
        }
        level = int(base[0]);
    }
    scalar(At(dst, x), At(src, x), count - x, level);
}

void GradientRow(char* dst, const char* src, int count, int level, int levelStep)
{
    RunGradient(
        dst, src, count, level, levelStep,
        [levelStep](char* d, const char* s, int n, int l) {
            kCrawlScalar.gradient(d, s, n, l, levelStep);
        },
        [](const char* row, int x, V levels) { return FadeAlpha(levels, Load(row, x)); });
}

void SubpixRow(char* dst, const char* src, int count, int fraction)
{
    int x = 0;
    if (FractionInRange(fraction)) {
        RowFilter filter(fraction);
        for (; x + kPels <= count; x += kPels)
            Store(dst, x, StraightFilter(Load(src, x), Load(src, x + 1), filter));
    }
    kCrawlScalar.subpix(At(dst, x), At(src, x), count - x, fraction);
}

void SubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                       int levelStep)
{
    auto scalar = [fraction, levelStep](char* d, const char* s, int n, int l) {
        kCrawlScalar.subpixGradient(d, s, n, fraction, l, levelStep);
    };
    if (!FractionInRange(fraction))
        return scalar(dst, src, count, level);
    RowFilter filter(fraction);
    RunGradient(dst, src, count, level, levelStep, scalar, [&](const char* row, int x, V levels) {
        return FadeAlpha(levels, StraightFilter(Load(row, x), Load(row, x + 1), filter));
    });
}

void ShapedSubpixRow(char* dst, const char* src, int count, int fraction)
{
    int x = 0;
    if (FractionInRange(fraction)) {
        const V wCur = Splat16(u16(fraction)), wNext = Splat16(u16(256 - fraction));
        for (; x + kPels <= count; x += kPels)
            Store(dst, x, Lerp(Load(src, x), Load(src, x + 1), wCur, wNext));
    }
    kCrawlScalar.shapedSubpix(At(dst, x), At(src, x), count - x, fraction);
}

// Here the current pel weighs 256 - fraction, as in the straight filter.
void ShapedSubpixGradientRow(char* dst, const char* src, int count, int fraction, int level,
                             int levelStep)
{
    auto scalar = [fraction, levelStep](char* d, const char* s, int n, int l) {
        kCrawlScalar.shapedSubpixGradient(d, s, n, fraction, l, levelStep);
    };
    if (!FractionInRange(fraction))
        return scalar(dst, src, count, level);
    const V wCur = Splat16(u16(256 - fraction)), wNext = Splat16(u16(fraction));
    RunGradient(dst, src, count, level, levelStep, scalar, [&](const char* row, int x, V levels) {
        return FadeAllChannels(levels, Lerp(Load(row, x), Load(row, x + 1), wCur, wNext));
    });
}

} // namespace

const CrawlSet kCrawl = {FLOWER_STRING(FLOWER_KERNEL_TARGET),
                         GradientRow,
                         SubpixRow,
                         SubpixGradientRow,
                         ShapedSubpixRow,
                         ShapedSubpixGradientRow};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
