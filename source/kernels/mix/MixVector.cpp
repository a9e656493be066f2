// Fade, mix, channel and fill kernels on whole vectors; the tail of every row is
// the scalar set's.
#include "kernels/Lanes.h"
#include "kernels/mix/MixKernels.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

bool FitsInt16(int w)
{
    return w >= -32768 && w <= 32767;
}

// alpha * level <= 65025 fits the low 16 bits of each lane, and DivideBy255x16
// leaves the upper ones 0.
void FadeRow(char* dst, const char* src, int count, u32 level)
{
    const V l = Splat32(level);
    const int i = ForBlocks(count, [=](int x) {
        const V p = Load(src, x);
        Store(dst, x, WithAlphas(p, DivideBy255x16(Mul16(Alphas(p), l))));
    });
    kMixScalar.fade(At(dst, i), At(src, i), count - i, level);
}

void MaxRow(char* dst, const char* src1, const char* src2, int count)
{
    const int i = ForBlocks(count, [=](int x) {
        const V p1 = Load(src1, x), p2 = Load(src2, x);
        Store(dst, x, Select(GreaterSigned32(Alphas(p2), Alphas(p1)), p2, p1));
    });
    kMixScalar.max(At(dst, i), At(src1, i), At(src2, i), count - i);
}

void SetBitsRow(char* dst, int count, u32 keep, u32 bits)
{
    const int i = ForBlocks(count, [=](int x) { Store(dst, x, (Load(dst, x) & keep) | bits); });
    kMixScalar.setBits(At(dst, i), count - i, keep, bits);
}

void FillRow(char* dst, int count, u32 colour)
{
    const V c = Splat32(colour);
    const int i = ForBlocks(count, [=](int x) { Store(dst, x, c); });
    kMixScalar.fill(At(dst, i), count - i, colour);
}

// Signed division by 256 truncates toward zero: a negative sum gets 255 added
// before the arithmetic shift.
FLOWER_BLOCK V DivideBy256(V sum)
{
    return Sar32(sum + (Sar32(sum, 31) >> 24), 8);
}

// A level that fits 16 signed bits multiplies by pairs, one cheap step: the
// upper half of each alpha lane is 0. Others wrap through the 32-bit product,
// as the scalar u32 one does.
void LevelFadeRow(char* dst, const char* src, int count, int level)
{
    const V l16 = Splat32(u32(level) & 0xFFFFu), l = Splat32(u32(level));
    const auto fade = [=](auto product) {
        return ForBlocks(count, [=](int x) {
            const V p = Load(src, x);
            Store(dst, x, WithAlphas(p, DivideBy256(product(Alphas(p)))));
        });
    };
    const int i = FitsInt16(level) ? fade([=](V a) { return MulAddPairs16(a, l16); })
                                   : fade([=](V a) { return a * l; });
    kMixScalar.levelFade(At(dst, i), At(src, i), count - i, level);
}

// [b g r a] x2 per block half, multiplied by [a a a 255]: DivideBy255(a * 255)
// = a. As a <= 255, a | 255 = 255 puts the 255 in.
FLOWER_BLOCK V PreMultHalf(V pels16)
{
    const V word3 = (Ramp32() & 1u) * 0x00FF0000u; // 255 in word 3 of each pel
    return DivideBy255x16(Mul16(pels16, V(Spread<3>(W(pels16))) | word3));
}

void PreMultAlphaRow(char* dst, const char* src, int count)
{
    const int i = ForBlocks(count, [=](int x) {
        const V p = Load(src, x);
        Store(dst, x, Pack16(PreMultHalf(LowBytes(p)), PreMultHalf(HighBytes(p))));
    });
    kMixScalar.preMultAlpha(At(dst, i), At(src, i), count - i);
}

// global_adt[a] without a table: gathers are slow where the CPU guards them.
// 65536 / a in floats is exact where it is an integer, and elsewhere lies at
// least 1/255 below the next integer, more than half an ulp (2^-9 below 2^16):
// truncating it gives the entry. a = 0 gives 65536, whose low 16 bits are 0,
// and multiplies sums that are 0 there.
FLOWER_BLOCK V AlphaReciprocals(V alpha)
{
    return Truncate(SplatF(65536.0f) / ToFloat(MaxUnsigned32(alpha, Splat32(1))));
}

// ((c1 * w1 + c2 * w2) * adt[A]) >> 16 for two pels a block half, w1 + w2 = A.
// The sum is at most 255 * A, so it and adt[A] (A >= 2) fit 16 bits and mulhi
// is the exact quotient; adt[1] = 65536 is 0 in 16 bits and A = 1 keeps the sum.
// The weights' lanes keep their upper halves 0, as in FadeRow.
FLOWER_BLOCK V Blend(V p1, V p2, V l1, V l2)
{
    const V w1 = DivideBy255x16(Mul16(Alphas(p1), l1));
    const V w2 = DivideBy255x16(Mul16(Alphas(p2), l2));
    const V alpha = MinUnsigned32(w1 + w2, Splat32(255));
    const V adt = AlphaReciprocals(alpha);
    const V one = V(alpha == 1u);
    const auto half = [=](V c1, V c2, auto words) {
        const V sum = Add16(Mul16(c1, words(w1)), Mul16(c2, words(w2)));
        return MulHigh16(sum, words(adt)) | (sum & words(one));
    };
    const V lo = half(LowBytes(p1), LowBytes(p2), [](V v) { return LowPelWords(v); });
    const V hi = half(HighBytes(p1), HighBytes(p2), [](V v) { return HighPelWords(v); });
    return WithAlphas(Pack16(lo, hi), alpha);
}

void BlendRow(char* dst, const char* src1, const char* src2, int count, u32 level)
{
    const V l1 = Splat32(255 - level), l2 = Splat32(level);
    const int i = ForBlocks(
        count, [=](int x) { Store(dst, x, Blend(Load(src1, x), Load(src2, x), l1, l2)); });
    kMixScalar.blend(At(dst, i), At(src1, i), At(src2, i), count - i, level);
}

// One pel a block quarter: [c1 c2] 16-bit pairs times the pair [a1 a2], summed
// per channel, times adt[A] in 32 bits. Past A = 255 the sum reaches
// 2 * 255 * 255 and the quotient 509: only its low 8 bits are kept.
FLOWER_BLOCK V AddPel(V pairs16, V adt)
{
    const V sums = MulAddPairs16(pairs16, Spread<3>(pairs16));
    return ((sums * adt) >> 16) & 0xFFu;
}

FLOWER_BLOCK V Add(V p1, V p2)
{
    const V alpha = MinUnsigned32(Alphas(p1) + Alphas(p2), Splat32(255));
    const V adt = AlphaReciprocals(alpha);
    // [b1 b2 g1 g2 r1 r2 a1 a2] 16-bit lanes, one pel a block quarter
    const V lo = InterleaveLow8(p1, p2), hi = InterleaveHigh8(p1, p2);
    const V q0 = AddPel(LowBytes(lo), Spread<0>(adt));
    const V q1 = AddPel(HighBytes(lo), Spread<1>(adt));
    const V q2 = AddPel(LowBytes(hi), Spread<2>(adt));
    const V q3 = AddPel(HighBytes(hi), Spread<3>(adt));
    return WithAlphas(Pack16(Pack32(q0, q1), Pack32(q2, q3)), alpha);
}

void AddRow(char* dst, const char* src1, const char* src2, int count)
{
    const int i =
        ForBlocks(count, [=](int x) { Store(dst, x, Add(Load(src1, x), Load(src2, x))); });
    kMixScalar.add(At(dst, i), At(src1, i), At(src2, i), count - i);
}

// With 0 <= wa, wb and wa + wb <= 256, s <= 255 * 256 and every numerator
// n <= 255 * s stay below 2^24, exact in floats. Rounding n / s to nearest
// cannot reach the next integer (it lies at least 1/s > half an ulp away), so
// truncating the float quotient is the integer division.
FLOWER_BLOCK V CrossFadeChannel(V a, V b, V ea, V eb, F s, int shift)
{
    const V n = ((b >> shift) & 0xFFu) * eb + ((a >> shift) & 0xFFu) * ea;
    return Truncate(ToFloat(n) / s) << shift;
}

FLOWER_BLOCK V CrossFade(V a, V b, V wa, V wb)
{
    const V ea = Alphas(a) * wa, eb = Alphas(b) * wb;
    const V sum = ea + eb;
    // Lanes with sum 0 divide by 1 and are cleared below.
    const F s = ToFloat(MaxUnsigned32(sum, Splat32(1)));
    V mixed = WithAlphas(CrossFadeChannel(a, b, ea, eb, s, 0), sum >> 8);
    mixed |= CrossFadeChannel(a, b, ea, eb, s, 8) | CrossFadeChannel(a, b, ea, eb, s, 16);
    return Select(Eq32(a, b), a, Keep(NonZero32(sum), mixed));
}

void CrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                  int weightB)
{
    const V wa = Splat32(u32(weightA)), wb = Splat32(u32(weightB));
    int i = 0;
    if (kFastProducts32 && weightA >= 0 && weightB >= 0 && weightA <= 256 - weightB)
        i = ForBlocks(
            count, [=](int x) { Store(dst, x, CrossFade(Load(srcA, x), Load(srcB, x), wa, wb)); });
    kMixScalar.crossFade(At(dst, i), At(srcA, i), At(srcB, i), count - i, weightA, weightB);
}

// One pel a block quarter: [xa xb] 16-bit pairs times [wa wb] summed; weights
// that fit 16 signed bits keep every sum exact in 32. Weights of 0 or more
// summing to 256 at most keep the sum in 0..255 * 256: a plain shift then,
// and nothing to mask.
template <bool kInRange> FLOWER_BLOCK V ShapedPel(V pairs16, V weights)
{
    const V sum = MulAddPairs16(pairs16, weights);
    return kInRange ? sum >> 8 : DivideBy256(sum) & 0xFFu;
}

template <bool kInRange> FLOWER_BLOCK V ShapedCrossFade(V a, V b, V weights)
{
    // [xa xb] per channel, 16-bit lanes, one pel a block quarter
    const V lo = InterleaveLow8(a, b), hi = InterleaveHigh8(a, b);
    const V q0 = ShapedPel<kInRange>(LowBytes(lo), weights);
    const V q1 = ShapedPel<kInRange>(HighBytes(lo), weights);
    const V q2 = ShapedPel<kInRange>(LowBytes(hi), weights);
    const V q3 = ShapedPel<kInRange>(HighBytes(hi), weights);
    return Select(Eq32(a, b), a, Pack16(Pack32(q0, q1), Pack32(q2, q3)));
}

void ShapedCrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                        int weightB)
{
    const V weights = Splat32((u32(weightB) & 0xFFFFu) << 16 | (u32(weightA) & 0xFFFFu));
    const auto fade = [=](auto inRange) {
        return ForBlocks(count, [=](int x) {
            Store(dst, x, ShapedCrossFade<inRange>(Load(srcA, x), Load(srcB, x), weights));
        });
    };
    int i = 0;
    if (weightA >= 0 && weightB >= 0 && weightA <= 256 - weightB)
        i = fade(std::true_type());
    else if (FitsInt16(weightA) && FitsInt16(weightB))
        i = fade(std::false_type());
    kMixScalar.shapedCrossFade(At(dst, i), At(srcA, i), At(srcB, i), count - i, weightA, weightB);
}

} // namespace

const MixSet kMix = {FLOWER_STRING(FLOWER_KERNEL_TARGET),
                     FadeRow,
                     AddRow,
                     BlendRow,
                     MaxRow,
                     SetBitsRow,
                     FillRow,
                     LevelFadeRow,
                     CrossFadeRow,
                     ShapedCrossFadeRow,
                     PreMultAlphaRow};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
