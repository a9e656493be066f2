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

// global_adt[a] = 65536 / a truncated, for a = 1..255. One Newton step takes the
// estimate r of 1/a (relative error e below 2^-9) to (1 - e^2) / a, and with the
// rounding of four float operations 65536.5 * r lies within 0.27 / a of
// (65536 + 0.5) / a. That is above 65536 / a and below the next multiple of 1 / a,
// the least step to an integer: its truncation is the table's entry.
FLOWER_BLOCK V AlphaDivideEntries(V alpha)
{
    const F a = ToFloat(MaxUnsigned32(alpha, Splat32(1)));
    const F r = ReciprocalBelow(a);
    return Truncate(r * (SplatF(2.0f) - a * r) * SplatF(65536.5f));
}

// Both weighted branches of CompositPel on every pel. The weights are formed
// once per pel in 32-bit lanes, their high 16 bits 0. Kept out of line: its
// registers and constants would otherwise weigh on the opaque and clear blocks.
__attribute__((noinline)) V Weighted(V top, V bottom, V ta, V ba)
{
    const V w = DivideBy255x16(Mul16(ba, Splat32(255) - ta)) & 0xFFFFu;
    const V alpha = ta + w;
    const V adt = AlphaDivideEntries(alpha);
    const V bias = Keep(Eq32(ba, Splat32(255)), Splat32(128));
    const V lo = WeightedHalf(LowBytes(top), LowBytes(bottom), LowPelWords(ta), LowPelWords(w),
                              LowPelWords(bias), LowPelWords(adt));
    const V hi = WeightedHalf(HighBytes(top), HighBytes(bottom), HighPelWords(ta),
                              HighPelWords(w), HighPelWords(bias), HighPelWords(adt));
    return WithAlphas(Pack16(lo, hi), alpha);
}

// The pels of a block's result that are a source pel as it stands.
struct Unchanged {
    PelMask top{}, bottom{};
};

FLOWER_BLOCK V Composit(V top, V bottom, Unchanged& same)
{
    const V ta = Alphas(top);
    const V ba = Alphas(bottom);
    same.top = Or(Eq32(ta, Splat32(255)), Eq32(ba, V{}));
    if (All(same.top)) // opaque text, and clear over clear
        return top;
    same.bottom = AndNot(same.top, Eq32(ta, V{})); // gaps between glyphs over a picture
    V out = bottom;
    const PelMask unchanged = Or(same.top, same.bottom);
    if (!All(unchanged)) {
        const bool translucent = !All(Or(unchanged, Eq32(ba, Splat32(255))));
        const V mixed = translucent ? Weighted(top, bottom, ta, ba) : BlendOnOpaque(top, bottom);
        out = Select(same.bottom, bottom, mixed);
    }
    return Select(same.top, top, out);
}

FLOWER_BLOCK V Composit(V top, V bottom)
{
    Unchanged same;
    return Composit(top, bottom, same);
}

// Top alpha 0 keeps the bottom, 255 the top; the rest blends with alpha 255.
FLOWER_BLOCK V OnOpaque(V top, V bottom, Unchanged& same)
{
    const V ta = Alphas(top);
    same.top = Eq32(ta, Splat32(255));
    if (All(same.top))
        return top;
    same.bottom = Eq32(ta, V{});
    V out = bottom;
    if (!All(Or(same.top, same.bottom)))
        out = Select(same.bottom, bottom, BlendOnOpaque(top, bottom));
    return Select(same.top, top, out);
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

void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    const auto tail = [=](std::ptrdiff_t at, int n) {
        Scalar::Composit(dst + at, bottom + at, top + at, n);
    };
    if (dst != bottom && dst != top)
        return ForBlocks(
            count, [=](int i) { Store(dst, i, Composit(Load(top, i), Load(bottom, i))); }, tail);
    ForBlocks(
        count,
        [=](int i) {
            Unchanged same;
            const V out = Composit(Load(top, i), Load(bottom, i), same);
            StoreWhere(dst, i, out, Changed(dst, bottom, top, same));
        },
        tail);
}

void OnOpaqueRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            Unchanged same;
            const V out = OnOpaque(Load(top, i), Load(bottom, i), same);
            StoreWhere(dst, i, out, Changed(dst, bottom, top, same));
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

void ColourOnRow(char* dst, const char* bottom, int count, u32 colour)
{
    const V top = Splat32(colour);
    ForBlocks(
        count, [=](int i) { Store(dst, i, Composit(top, Load(bottom, i))); },
        [=](std::ptrdiff_t at, int n) {
            Scalar::CompositColourOn(dst + at, bottom + at, n, colour);
        });
}

// The colour's share of every channel, cc * ca, is the same in every block.
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
    const V share = Mul16(LowBytes(Splat32(colour)), Splat16(u16(ca)));
    const V weight = Splat16(u16(255u - ca));
    ForBlocks(
        count,
        [=](int i) {
            const V pels = Load(bottom, i);
            const V lo = DivideBy255x16(Add16(share, Mul16(LowBytes(pels), weight)));
            const V hi = DivideBy255x16(Add16(share, Mul16(HighBytes(pels), weight)));
            Store(dst, i, Pack16(lo, hi) | 0xFF000000u);
        },
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
