// Fade, mix, channel and fill row kernels: the scalar reference set and the
// family's table.
#include "kernels/mix/MixKernels.h"
#include "kernels/PelIO.h"
#include "kernels/PelMix.h"

using PelIO::LoadPel;
using PelIO::MapRow;
using PelIO::StorePel;
using PelIO::ZipRows;

namespace {

// The references are the per-pel formulas, pel by pel, first to last: the
// vector sets are proven against these loops, so they stay free of shortcuts.

void FadeRow(char* dst, const char* src, int count, u32 level)
{
    MapRow(dst, src, count, [level](Pel p) { return FadePelAlpha(p, level); });
}

void AddRow(char* dst, const char* src1, const char* src2, int count)
{
    ZipRows(dst, src1, src2, count, [](Pel p1, Pel p2) {
        const u32 a1 = PelAlpha(p1), a2 = PelAlpha(p2);
        return WeightedMean(p1, a1, p2, a2, SaturatedAlpha(a1 + a2));
    });
}

void BlendRow(char* dst, const char* src1, const char* src2, int count, u32 level)
{
    const u32 l2 = level, l1 = 255u - l2;
    ZipRows(dst, src1, src2, count, [l1, l2](Pel p1, Pel p2) {
        const u32 w1 = DivideBy255(PelAlpha(p1) * l1), w2 = DivideBy255(PelAlpha(p2) * l2);
        return WeightedMean(p1, w1, p2, w2, SaturatedAlpha(w1 + w2));
    });
}

void MaxRow(char* dst, const char* src1, const char* src2, int count)
{
    ZipRows(dst, src1, src2, count,
            [](Pel p1, Pel p2) { return PelAlpha(p1) < PelAlpha(p2) ? p2 : p1; });
}

void SetBitsRow(char* dst, int count, u32 keep, u32 bits)
{
    MapRow(dst, dst, count, [keep, bits](Pel p) { return (p & keep) | bits; });
}

void FillRow(char* dst, int count, u32 colour)
{
    for (int i = 0; i < count; ++i)
        StorePel(dst, i, colour);
}

void LevelFadeRow(char* dst, const char* src, int count, int level)
{
    MapRow(dst, src, count, [level](Pel p) {
        return WithAlpha(p, static_cast<u32>(SignedScale(PelAlpha(p), level, 256)));
    });
}

// Equal pels are their own mix at any weights, so they skip the arithmetic.
template <class Mix>
void EqualOrMixed(char* dst, const char* srcA, const char* srcB, int count, Mix mix)
{
    ZipRows(dst, srcA, srcB, count, [mix](Pel a, Pel b) { return a == b ? a : mix(a, b); });
}

void CrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                  int weightB)
{
    const u32 wa = static_cast<u32>(weightA), wb = static_cast<u32>(weightB);
    EqualOrMixed(dst, srcA, srcB, count,
                 [wa, wb](Pel a, Pel b) { return AlphaWeightedMix(a, b, wa, wb); });
}

// X = (Xb.wb + Xa.wa) / 256, signed and truncating, products wrapping in 32 bits.
u32 ShapedMix(u32 xa, u32 xb, u32 weightA, u32 weightB)
{
    return static_cast<u32>(static_cast<i32>(xb * weightB + xa * weightA) / 256);
}

void ShapedCrossFadeRow(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                        int weightB)
{
    const u32 wa = static_cast<u32>(weightA), wb = static_cast<u32>(weightB);
    EqualOrMixed(dst, srcA, srcB, count, [wa, wb](Pel a, Pel b) {
        return MakePel(
            ShapedMix(PelBlue(a), PelBlue(b), wa, wb), ShapedMix(PelGreen(a), PelGreen(b), wa, wb),
            ShapedMix(PelRed(a), PelRed(b), wa, wb), ShapedMix(PelAlpha(a), PelAlpha(b), wa, wb));
    });
}

void PreMultAlphaRow(char* dst, const char* src, int count)
{
    MapRow(dst, src, count, [](Pel p) {
        const u32 a = PelAlpha(p);
        return MakePel(DivideBy255(PelBlue(p) * a), DivideBy255(PelGreen(p) * a),
                       DivideBy255(PelRed(p) * a), a);
    });
}

} // namespace

const Kernels::MixSet Kernels::kMixScalar = {
    "scalar", FadeRow,      AddRow,       BlendRow,           MaxRow,         SetBitsRow,
    FillRow,  LevelFadeRow, CrossFadeRow, ShapedCrossFadeRow, PreMultAlphaRow};

const Kernels::SetTable<Kernels::MixSet> Kernels::kMixSets = {&kMixScalar,
                                                              FLOWER_VECTOR_SETS(kMix)};
