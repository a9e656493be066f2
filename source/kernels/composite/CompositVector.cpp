// Composite kernels on whole vectors; the tail of every row is the scalar set's.
// Per-pel tests become masks, applied lowest priority first so that the first
// test of CompositPel wins; channels run in 16-bit lanes on unpacked halves.
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

// tc * ta + bc * (255 - ta) rounded by DivideBy255, alpha 255: the opaque
// bottom's branch alone, when no pel needs the table.
FLOWER_BLOCK V BlendOnOpaque(V top, V bottom, V ta)
{
    const auto half = [](V top16, V bottom16, V tw) {
        const V bw = Sub16(Splat16(255), tw);
        return DivideBy255x16(Add16(Mul16(top16, tw), Mul16(bottom16, bw)));
    };
    const V colour = Pack16(half(LowBytes(top), LowBytes(bottom), LowPelWords(ta)),
                            half(HighBytes(top), HighBytes(bottom), HighPelWords(ta)));
    return colour | 0xFF000000u;
}

// The same blend with one top colour: its share cc * ca + 128 of every
// channel (DivideBy255's rounding term taken in once) in 16-bit lanes.
FLOWER_BLOCK V ColourShare(u32 colour)
{
    return Add16(Mul16(LowBytes(Splat32(colour)), Splat16(u16(colour >> 24))), Splat16(128));
}

FLOWER_BLOCK V BlendColourOnOpaque(V share, V weight, V bottom)
{
    const V lo = MulHigh16(Add16(share, Mul16(LowBytes(bottom), weight)), Splat16(257));
    const V hi = MulHigh16(Add16(share, Mul16(HighBytes(bottom), weight)), Splat16(257));
    return Pack16(lo, hi) | 0xFF000000u;
}

// global_adt[a] = 65536 / a truncated, for a = 1..255. The quotient in single
// precision is correctly rounded, within 2^-9 of 65536 / a for a >= 2, while a
// quotient that is not an integer lies at least 1 / 255 above the one below:
// truncation gives the table's entry.
FLOWER_BLOCK V AlphaDivideEntries(V alpha)
{
    return Truncate(SplatF(65536.0f) / ToFloat(alpha));
}

// (tc * ta + bc * w + bias) * adt[A] >> 16 per 16-bit lane, the bias 128 on
// opaque bottoms: both weighted branches of CompositPel on every pel. The sum
// is at most 255 * A + 128, and A >= 2 on every pel the composite keeps (A = 1
// needs one alpha 0, and those pels are a source pel as it stands), so the
// 16-bit mulhi is exact. With no opaque bottom in the block (kOpaqueBottoms
// false) the bias is left out and no alpha is below 2; otherwise clear pels,
// replaced later, may have alpha 0, which the divisor is kept from. Weights
// are formed in 32-bit lanes whose high 16 bits stay 0, as DivideBy255x16
// leaves them; the reciprocals' alpha lanes are 0, leaving the alpha free.
template <bool kOpaqueBottoms> FLOWER_BLOCK V Weighted(V top, V bottom, V ta, V ba)
{
    const V w = DivideBy255x16(Mul16(ba, Splat32(255) - ta));
    const V alpha = ta + w;
    const V adt = AlphaDivideEntries(kOpaqueBottoms ? MaxUnsigned32(alpha, Splat32(1)) : alpha);
    V lo = Add16(Mul16(LowBytes(top), LowPelWords(ta)), Mul16(LowBytes(bottom), LowPelWords(w)));
    V hi =
        Add16(Mul16(HighBytes(top), HighPelWords(ta)), Mul16(HighBytes(bottom), HighPelWords(w)));
    if (kOpaqueBottoms) {
        const V bias = Keep(Eq32(ba, Splat32(255)), Splat32(128));
        lo = Add16(lo, LowPelWords(bias));
        hi = Add16(hi, HighPelWords(bias));
    }
    const V colour =
        Pack16(MulHigh16(lo, LowPelColourWords(adt)), MulHigh16(hi, HighPelColourWords(adt)));
    return colour | alpha << 24;
}

// Word k of each pel in both of its 16-bit lanes.
template <int k> FLOWER_BLOCK V BothWords(V v)
{
    struct Rule {
        static constexpr int From(int i) { return (i & ~1) + k; }
    };
    return V(Shuffle<Rule>(W(v), W(v)));
}

// The same for blocks with both alphas of every pel in 1..254, in fewer steps:
// blue and red take the even bytes' words, green and alpha the odd ones, the
// alpha's reciprocal word 0. Alphas and weights fill both words of a lane:
// 65536 * 65537 / (A * 65537), both exact, is the quotient above. Only the
// composite's own block loop takes it: inlined into the routines that share
// Composit(), it made their loops slower than Weighted does.
FLOWER_BLOCK V WeightedTranslucent(V top, V bottom)
{
    const V oddTop = Shr16(top, 8), oddBottom = Shr16(bottom, 8);
    const V ta = BothWords<1>(oddTop), ba = BothWords<1>(oddBottom);
    const V w = DivideBy255x16(Mul16(ba, Sub16(Splat16(255), ta)));
    const V alpha = Add16(ta, w);
    const V adt = Truncate(SplatF(65536.0f * 65537.0f) / ToFloat(alpha));
    const V even = Add16(Mul16(top & 0x00FF00FFu, ta), Mul16(bottom & 0x00FF00FFu, w));
    const V odd = Add16(Mul16(oddTop, ta), Mul16(oddBottom, w));
    return MulHigh16(even, BothWords<0>(adt)) | WithOddWords(MulHigh16(odd, adt), alpha) << 8;
}

// The pels of a block's result that are a source pel as it stands.
struct Unchanged {
    PelMask top{}, bottom{};
};

// CompositPel on a block, by kinds of blocks. An opaque top is the result
// whatever lies beneath: `bottomOf()` is not read. A clear top leaves the
// bottom but where that is clear too. With no pel opaque or clear on either
// side, the bulk of translucent layers, every pel takes the division.
template <class Bottom> FLOWER_BLOCK V Composit(V top, Bottom bottomOf, Unchanged& same)
{
    const V ta = Alphas(top);
    const PelMask opaqueTop = Eq32(ta, Splat32(255));
    if (All(opaqueTop)) {
        same.top = AllPels();
        return top;
    }
    const V bottom = bottomOf();
    const V ba = Alphas(bottom);
    const PelMask clearTop = Eq32(ta, V{});
    const PelMask clearBottom = Eq32(ba, V{});
    if (All(clearTop)) {
        same.top = clearBottom;
        same.bottom = AndNot(clearBottom, AllPels());
        return Select(clearBottom, top, bottom);
    }
    const PelMask opaqueBottom = Eq32(ba, Splat32(255));
    if (None(Or(Or(opaqueTop, clearBottom), Or(clearTop, opaqueBottom))))
        return Weighted<false>(top, bottom, ta, ba);
    if (All(opaqueBottom))
        return BlendOnOpaque(top, bottom, ta);
    same.top = Or(opaqueTop, clearBottom);
    same.bottom = AndNot(same.top, clearTop);
    const PelMask unchanged = Or(same.top, same.bottom);
    if (All(same.top)) // clear over clear
        return top;
    V out = bottom;
    if (!All(unchanged)) {
        const bool translucent = !All(Or(unchanged, opaqueBottom));
        const V mixed =
            translucent ? Weighted<true>(top, bottom, ta, ba) : BlendOnOpaque(top, bottom, ta);
        out = Select(same.bottom, bottom, mixed);
    }
    return Select(same.top, top, out);
}

FLOWER_BLOCK V Composit(V top, V bottom)
{
    Unchanged same;
    return Composit(top, [bottom] { return bottom; }, same);
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

// Which source row, if any, is the destination row.
enum class Into { kNew, kBottom, kTop };

// Pels i..end - 1, the last few by the scalar routine; pels the destination holds
// already are not stored again. Out of line, its registers are its own. Pairs
// of blocks with all alphas in 1..254 take the division with no other test:
// 0x81 added to a lane's alpha byte takes 1..254 to -126..127, 0 and 255 below.
template <Into kInto>
__attribute__((noinline)) void CompositBlocks(char* dst, const char* bottom, const char* top, int i,
                                              int end)
{
    const V shift = Splat32(0x81000000u);
    while (i + kPels <= end) {
        for (; i + 2 * kPels <= end; i += 2 * kPels) {
            const V t0 = Load(top, i), b0 = Load(bottom, i);
            const V t1 = Load(top, i + kPels), b1 = Load(bottom, i + kPels);
            const V least = MinSigned32(MinSigned32(t0 + shift, b0 + shift),
                                        MinSigned32(t1 + shift, b1 + shift));
            if (!None(GreaterSigned32(Splat32(0x82000000u), least)))
                break;
            Store(dst, i, WeightedTranslucent(t0, b0));
            Store(dst, i + kPels, WeightedTranslucent(t1, b1));
        }
        if (i + kPels <= end) {
            Unchanged same;
            const V out = Composit(Load(top, i), [=] { return Load(bottom, i); }, same);
            const PelMask kept = kInto == Into::kBottom ? same.bottom
                                 : kInto == Into::kTop  ? same.top
                                                        : PelMask{};
            StoreWhere(dst, i, out, AndNot(kept, AllPels()));
            i += kPels;
        }
    }
    if (i < end)
        Scalar::Composit(At(dst, i), At(bottom, i), At(top, i), end - i);
}

// Rows that start over a picture go two blocks at a time, with no test that
// text rows mispredict as blocks of 8 change kind: all tops opaque (glyphs are
// shorter), else opaque bottoms, which every top blends with exactly (clear
// tops over the bottom itself change nothing). Other pairs take the blocks.
template <Into kInto> void CompositInto(char* dst, const char* bottom, const char* top, int count)
{
    const auto opaque = [](V a, V b) { return All(Eq32(Alphas(a & b), Splat32(255))); };
    const auto store = [=](int at, V first, V second) {
        Store(dst, at, first);
        Store(dst, at + kPels, second);
    };
    int i = 0;
    if (count >= 2 * kPels && opaque(Load(bottom, 0), Load(bottom, kPels)))
        for (; i + 2 * kPels <= count; i += 2 * kPels) {
            const V t0 = Load(top, i), t1 = Load(top, i + kPels);
            if (opaque(t0, t1)) {
                store(i, t0, t1);
                continue;
            }
            const V b0 = Load(bottom, i), b1 = Load(bottom, i + kPels);
            if (!opaque(b0, b1))
                CompositBlocks<kInto>(dst, bottom, top, i, i + 2 * kPels);
            else if (!None(NonZero32(Alphas(t0 | t1))))
                store(i, BlendOnOpaque(t0, b0, Alphas(t0)), BlendOnOpaque(t1, b1, Alphas(t1)));
            else if (kInto != Into::kBottom)
                store(i, b0, b1);
        }
    CompositBlocks<kInto>(dst, bottom, top, i, count);
}

void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    if (dst == bottom)
        return CompositInto<Into::kBottom>(dst, bottom, top, count);
    if (dst == top)
        return CompositInto<Into::kTop>(dst, bottom, top, count);
    CompositInto<Into::kNew>(dst, bottom, top, count);
}

// Top alpha 0 keeps the bottom, 255 the top; the rest blends with alpha 255,
// which gives the top for 255 too. Opaque tops need no bottom read.
void OnOpaqueRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            const V t = Load(top, i), ta = Alphas(t);
            if (All(Eq32(ta, Splat32(255))))
                return Store(dst, i, t);
            const V b = Load(bottom, i);
            const PelMask clearTop = Eq32(ta, V{});
            Store(dst, i, All(clearTop) ? b : Select(clearTop, b, BlendOnOpaque(t, b, ta)));
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
    ForBlocks(
        count,
        [=](int i) {
            const V b = Load(bottom, i);
            if (All(Eq32(Alphas(b), Splat32(255))))
                return Store(dst, i, BlendColourOnOpaque(share, weight, b));
            Store(dst, i, Composit(top, b));
        },
        tail);
}

void ColourOnOpaqueRow(char* dst, const char* bottom, int count, u32 colour)
{
    const auto tail = [=](std::ptrdiff_t at, int n) {
        Scalar::CompositColourOnOpaque(dst + at, bottom + at, n, colour);
    };
    if (colour >> 24 == 0u)
        return ForBlocks(
            count, [=](int i) { Store(dst, i, Load(bottom, i)); }, tail);
    const V share = ColourShare(colour);
    const V weight = Splat16(u16(255u - (colour >> 24)));
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
