// Composite kernels on whole vectors; the tail of every row is the scalar set's.
//
// Per-pel tests become masks; channel arithmetic runs in 16-bit lanes on the
// two unpacked halves of each block, and the pack restores the pel order.
// CompositPel's ordered tests are applied lowest priority first, so the first
// test of the reference is applied last and wins.
//
// One blend serves both weighted branches. With w = DivideBy255(ba * (255 - ta))
// an opaque bottom gets w = 255 - ta and A = 255, whose table entry is 257, so
// its DivideBy255(sum) = ((sum + 128) * 257) >> 16 differs from the translucent
// (sum * adt[A]) >> 16 only by the 128 added first. The entries are computed, not
// gathered: gathers are slow on some CPUs.
#include "kernels/Lanes.h"
#include "kernels/composite/CompositKernels.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

// (tc * ta + bc * w + bias) * adt[A] >> 16 per 16-bit lane; the pel's
// weights come spread over its four lanes. The sum is at most 255 * A + 128,
// and A >= 2 on every pel the composite keeps (A = 1 needs one alpha 0, and
// those pels are a source pel as it stands), so the 16-bit mulhi is exact.
FLOWER_BLOCK V WeightedHalf(V top16, V bottom16, V ta16, V w16, V bias16, V adt16)
{
    const V sum = Add16(Add16(Mul16(top16, ta16), Mul16(bottom16, w16)), bias16);
    return MulHigh16(sum, adt16);
}

// tc * ta + bc * (255 - ta) rounded by DivideBy255, alpha 255: the opaque
// bottom's branch alone, when no pel needs the table.
FLOWER_BLOCK V BlendOnOpaque(V top, V bottom)
{
    const auto half = [](V top16, V bottom16) {
        const V tw = SpreadWord3(top16);
        const V bw = Sub16(Splat16(255), tw);
        return DivideBy255x16(Add16(Mul16(top16, tw), Mul16(bottom16, bw)));
    };
    const V colour =
        Pack16(half(LowBytes(top), LowBytes(bottom)), half(HighBytes(top), HighBytes(bottom)));
    return colour | 0xFF000000u;
}

// The same blend with one top colour whose share cc * ca of every channel,
// and weight 255 - ca, come precomputed in 16-bit lanes.
FLOWER_BLOCK V BlendColourOnOpaque(V share, V weight, V bottom)
{
    const V lo = DivideBy255x16(Add16(share, Mul16(LowBytes(bottom), weight)));
    const V hi = DivideBy255x16(Add16(share, Mul16(HighBytes(bottom), weight)));
    return Pack16(lo, hi) | 0xFF000000u;
}

// global_adt[a] = 65536 / a truncated, for a = 1..255. The quotient in single
// precision is correctly rounded, within 2^-9 of 65536 / a for a >= 2, while a
// quotient that is not an integer lies at least 1 / 255 above the one below:
// truncation gives the table's entry.
FLOWER_BLOCK V AlphaDivideEntries(V alpha)
{
    const F a = ToFloat(MaxUnsigned32(alpha, Splat32(1)));
    return Truncate(SplatF(65536.0f) / a);
}

// Both weighted branches of CompositPel on every pel; with no opaque bottom
// in the block (kOpaqueBottoms false) the rounding term is left out. The
// weights are formed once per pel in 32-bit lanes whose high 16 bits stay 0:
// DivideBy255x16 takes 0 + 128 there to 0.
template <bool kOpaqueBottoms> FLOWER_BLOCK V Weighted(V top, V bottom, V ta, V ba)
{
    const V w = DivideBy255x16(Mul16(ba, Splat32(255) - ta));
    const V alpha = ta + w;
    const V adt = AlphaDivideEntries(alpha);
    V lo = Add16(Mul16(LowBytes(top), LowPelWords(ta)), Mul16(LowBytes(bottom), LowPelWords(w)));
    V hi =
        Add16(Mul16(HighBytes(top), HighPelWords(ta)), Mul16(HighBytes(bottom), HighPelWords(w)));
    if (kOpaqueBottoms) {
        const V bias = Keep(Eq32(ba, Splat32(255)), Splat32(128));
        lo = Add16(lo, LowPelWords(bias));
        hi = Add16(hi, HighPelWords(bias));
    }
    const V colour = Pack16(MulHigh16(lo, LowPelWords(adt)), MulHigh16(hi, HighPelWords(adt)));
    return WithAlphas(colour, alpha);
}

// The pels of a block's result that are a source pel as it stands.
struct Unchanged {
    PelMask top{}, bottom{};
};

// CompositPel on a block, its tests on the alphas given. A block with no pel
// opaque or clear on either side, the bulk of translucent layers, goes
// straight to the division.
FLOWER_BLOCK V Composit(V top, V bottom, V ta, V ba, PelMask opaqueTop, Unchanged& same)
{
    const PelMask clearBottom = Eq32(ba, V{});
    const PelMask clearTop = Eq32(ta, V{});
    const PelMask opaqueBottom = Eq32(ba, Splat32(255));
    same.top = Or(opaqueTop, clearBottom);
    same.bottom = AndNot(same.top, clearTop);
    const PelMask unchanged = Or(same.top, same.bottom);
    if (None(Or(unchanged, opaqueBottom)))
        return Weighted<false>(top, bottom, ta, ba);
    if (All(same.top)) // clear over clear
        return top;
    V out = bottom;
    if (!All(unchanged)) {
        const bool translucent = !All(Or(unchanged, opaqueBottom));
        const V mixed =
            translucent ? Weighted<true>(top, bottom, ta, ba) : BlendOnOpaque(top, bottom);
        out = Select(same.bottom, bottom, mixed);
    }
    return Select(same.top, top, out);
}

FLOWER_BLOCK V Composit(V top, V bottom)
{
    const V ta = Alphas(top);
    Unchanged same;
    return Composit(top, bottom, ta, Alphas(bottom), Eq32(ta, Splat32(255)), same);
}

// FadePelAlpha: alpha * opacity <= 65025 fits the low 16 bits of each lane.
FLOWER_BLOCK V Fade(V pels, V opacity)
{
    return WithAlphas(pels, DivideBy255x16(Mul16(Alphas(pels), opacity)));
}

// (alpha * opacity) / 255 truncated, for opacities 0..255: (x * 0x8081) >> 23
// is x / 255 for every 16-bit x.
FLOWER_BLOCK V ScaleAlphas(V pels, V opacity)
{
    const V product = Mul16(Alphas(pels), opacity);
    return WithAlphas(pels, Shr16(MulHigh16(product, Splat16(0x8081)), 7));
}

// Whole blocks through `block(i)`, the rest through the scalar routine from
// byte `at` on.
template <class Block, class Tail> void ForBlocks(int count, Block block, Tail tail)
{
    int i = 0;
    for (; i + kPels <= count; i += kPels)
        block(i);
    if (i < count)
        tail(std::ptrdiff_t(i) * 4, count - i);
}

// Pels equal to the destination row's own need not be stored again.
PelMask Changed(const char* dst, const char* bottom, const char* top, Unchanged same)
{
    return dst == bottom ? AndNot(same.bottom, AllPels())
           : dst == top  ? AndNot(same.top, AllPels())
                         : AllPels();
}

// An opaque top is the result whatever lies beneath, so its blocks never read
// the bottom: opaque text costs what a copy costs.
void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            const V t = Load(top, i);
            const V ta = Alphas(t);
            const PelMask opaqueTop = Eq32(ta, Splat32(255));
            if (All(opaqueTop)) {
                if (dst != top)
                    Store(dst, i, t);
                return;
            }
            const V b = Load(bottom, i);
            Unchanged same;
            const V out = Composit(t, b, ta, Alphas(b), opaqueTop, same);
            StoreWhere(dst, i, out, Changed(dst, bottom, top, same));
        },
        [=](std::ptrdiff_t at, int n) { Scalar::Composit(dst + at, bottom + at, top + at, n); });
}

// Top alpha 0 keeps the bottom, 255 the top; the rest blends with alpha 255.
// Neither kind of block needs the bottom read unless it is to be copied.
void OnOpaqueRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            const V t = Load(top, i);
            const V ta = Alphas(t);
            const PelMask opaqueTop = Eq32(ta, Splat32(255));
            if (All(opaqueTop)) {
                if (dst != top)
                    Store(dst, i, t);
                return;
            }
            const PelMask clearTop = Eq32(ta, V{});
            if (All(clearTop)) {
                if (dst != bottom)
                    Store(dst, i, Load(bottom, i));
                return;
            }
            const V b = Load(bottom, i);
            const V out = Select(opaqueTop, t, Select(clearTop, b, BlendOnOpaque(t, b)));
            Store(dst, i, out);
        },
        [=](std::ptrdiff_t at, int n) {
            Scalar::CompositOnOpaque(dst + at, bottom + at, top + at, n);
        });
}

void OnColourRow(char* dst, const char* top, int count, u32 colour)
{
    const V bottom = Splat32(colour);
    ForBlocks(
        count, [=](int i) { Store(dst, i, Composit(Load(top, i), bottom)); },
        [=](std::ptrdiff_t at, int n) { Scalar::CompositOnColour(dst + at, top + at, n, colour); });
}

// The colour's share of every channel, cc * ca, is the same in every block.
FLOWER_BLOCK V ColourShare(u32 colour)
{
    return Mul16(LowBytes(Splat32(colour)), Splat16(u16(colour >> 24)));
}

// An opaque colour is the result everywhere; otherwise blocks of opaque
// bottoms, a colour over a picture, take the blend with the colour's share.
void ColourOnRow(char* dst, const char* bottom, int count, u32 colour)
{
    const auto tail = [=](std::ptrdiff_t at, int n) {
        Scalar::CompositColourOn(dst + at, bottom + at, n, colour);
    };
    const V top = Splat32(colour);
    const u32 ca = colour >> 24;
    if (ca == 255u)
        return ForBlocks(count, [=](int i) { Store(dst, i, top); }, tail);
    const V share = ColourShare(colour);
    const V weight = Splat16(u16(255u - ca));
    const V ta = Splat32(ca);
    ForBlocks(
        count,
        [=](int i) {
            const V b = Load(bottom, i);
            const V ba = Alphas(b);
            if (All(Eq32(ba, Splat32(255))))
                return Store(dst, i, BlendColourOnOpaque(share, weight, b));
            Unchanged same;
            Store(dst, i, Composit(top, b, ta, ba, PelMask{}, same));
        },
        tail);
}

void ColourOnOpaqueRow(char* dst, const char* bottom, int count, u32 colour)
{
    const auto tail = [=](std::ptrdiff_t at, int n) {
        Scalar::CompositColourOnOpaque(dst + at, bottom + at, n, colour);
    };
    const u32 ca = colour >> 24;
    if (ca == 0u || ca == 255u) {
        const V top = Splat32(colour);
        return ForBlocks(
            count, [=](int i) { Store(dst, i, ca == 0u ? Load(bottom, i) : top); }, tail);
    }
    const V share = ColourShare(colour);
    const V weight = Splat16(u16(255u - ca));
    ForBlocks(
        count, [=](int i) { Store(dst, i, BlendColourOnOpaque(share, weight, Load(bottom, i))); },
        tail);
}

void WithOpacityRow(char* dst, const char* bottom, const char* top, int count, u32 bottomOpacity,
                    u32 topOpacity)
{
    const V bo = Splat32(bottomOpacity), to = Splat32(topOpacity);
    ForBlocks(
        count,
        [=](int i) { Store(dst, i, Composit(Fade(Load(top, i), to), Fade(Load(bottom, i), bo))); },
        [=](std::ptrdiff_t at, int n) {
            Scalar::CompositWithOpacity(dst + at, bottom + at, top + at, n, bottomOpacity,
                                        topOpacity);
        });
}

void ThreeRows(char* dst, const char* bottom, const char* middle, const char* top, int count,
               u32 bottomOpacity, u32 middleOpacity, u32 topOpacity)
{
    const V bo = Splat32(bottomOpacity), mo = Splat32(middleOpacity), to = Splat32(topOpacity);
    ForBlocks(
        count,
        [=](int i) {
            const V upper = Composit(Fade(Load(top, i), to), Fade(Load(middle, i), mo));
            Store(dst, i, Composit(upper, Fade(Load(bottom, i), bo)));
        },
        [=](std::ptrdiff_t at, int n) {
            Scalar::CompositThree(dst + at, bottom + at, middle + at, top + at, n, bottomOpacity,
                                  middleOpacity, topOpacity);
        });
}

// Opacities outside 0..255 wrap and go negative: the scalar routine has them.
void WithScaledAlphasRow(char* dst, const char* bottom, const char* top, int count,
                         int bottomOpacity, int topOpacity)
{
    if (u32(bottomOpacity) > 255u || u32(topOpacity) > 255u)
        return Scalar::CompositWithScaledAlphas(dst, bottom, top, count, bottomOpacity, topOpacity);
    const V bo = Splat32(u32(bottomOpacity)), to = Splat32(u32(topOpacity));
    ForBlocks(
        count,
        [=](int i) {
            Store(dst, i,
                  Composit(ScaleAlphas(Load(top, i), to), ScaleAlphas(Load(bottom, i), bo)));
        },
        [=](std::ptrdiff_t at, int n) {
            Scalar::CompositWithScaledAlphas(dst + at, bottom + at, top + at, n, bottomOpacity,
                                             topOpacity);
        });
}

} // namespace

const CompositSet kComposit = {
    FLOWER_STRING(FLOWER_KERNEL_TARGET),
    CompositRow,
    OnOpaqueRow,
    OnColourRow,
    ColourOnRow,
    ColourOnOpaqueRow,
    WithOpacityRow,
    ThreeRows,
    WithScaledAlphasRow,
};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
