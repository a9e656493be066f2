// AVX-512 composite kernels. Only kCompositAVX512 is visible outside.
//
// Sixteen pels per step. Per-pel tests become mask bits; channel arithmetic
// runs in 16-bit lanes on the two unpacked halves, and packus restores the
// pel order. CompositPel's ordered tests are applied lowest priority first, so
// the first test of the reference is applied last and wins.
//
// One blend serves both weighted branches. With w = DivideBy255(ba * (255 - ta))
// an opaque bottom gets w = 255 - ta and A = 255, whose table entry is 257, so
// its DivideBy255(sum) = ((sum + 128) * 257) >> 16 differs from the translucent
// (sum * adt[A]) >> 16 only by the 128 added first. The entries come by a
// gather: a lookup by permutes over the table held in eight registers measured
// slower on translucent frames.
#include "kernels/composite/CompositKernels.h"

#include "AlphaDivide.h"

#include <cstddef>
#include <immintrin.h>

namespace {

using V = __m512i;
using Mask = __mmask16; // one bit per pel
constexpr int kPels = 16;
constexpr Mask kAll = 0xFFFF;

V Load(const char* row, int index)
{
    return _mm512_loadu_si512(row + std::ptrdiff_t(index) * 4);
}

void Store(char* row, int index, V pels, Mask which)
{
    _mm512_mask_storeu_epi32(row + std::ptrdiff_t(index) * 4, which, pels);
}

V Alphas(V pels)
{
    return _mm512_srli_epi32(pels, 24);
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
V DivideBy255x32(V x)
{
    return _mm512_mulhi_epu16(_mm512_add_epi16(x, _mm512_set1_epi16(128)), _mm512_set1_epi16(257));
}

// Each pel's 16-bit alpha (or any word 3 of a pel) into its four lanes.
V SpreadWord3(V pels16)
{
    return _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(pels16, 0xFF), 0xFF);
}

V Low(V pels)
{
    return _mm512_unpacklo_epi8(pels, _mm512_setzero_si512());
}

V High(V pels)
{
    return _mm512_unpackhi_epi8(pels, _mm512_setzero_si512());
}

// Colour bytes of `colour`, alpha bytes of `alpha32 << 24`.
V WithAlphas(V colour, V alpha32)
{
    return _mm512_mask_blend_epi8(0x8888888888888888ull, colour, _mm512_slli_epi32(alpha32, 24));
}

// (tc * ta + bc * w) then the table or the rounding, per 16-bit lane. The sum
// is at most 255 * A, so the 16-bit mulhi is exact for A >= 2; adt[1] = 65536
// is 0 in 16 bits, and A = 1 keeps the sum.
V WeightedHalf(V top16, V bottom16, V adt16)
{
    const V ta = SpreadWord3(top16);
    const V ba = SpreadWord3(bottom16);
    const V w =
        DivideBy255x32(_mm512_mullo_epi16(ba, _mm512_sub_epi16(_mm512_set1_epi16(255), ta)));
    V sum = _mm512_add_epi16(_mm512_mullo_epi16(top16, ta), _mm512_mullo_epi16(bottom16, w));
    const __mmask32 opaqueBottom = _mm512_cmpeq_epi16_mask(ba, _mm512_set1_epi16(255));
    sum = _mm512_mask_add_epi16(sum, opaqueBottom, sum, _mm512_set1_epi16(128));
    const __mmask32 alphaIsOne =
        _mm512_cmpeq_epi16_mask(_mm512_add_epi16(ta, w), _mm512_set1_epi16(1));
    return _mm512_mask_mov_epi16(_mm512_mulhi_epu16(sum, adt16), alphaIsOne, sum);
}

// ta + DivideBy255(ba * (255 - ta)) per pel, never above 255. The high 16 bits
// of each 32-bit lane stay 0 through the 16-bit arithmetic.
V CompositAlphas(V ta, V ba)
{
    const V w =
        DivideBy255x32(_mm512_mullo_epi16(ba, _mm512_sub_epi32(_mm512_set1_epi32(255), ta)));
    return _mm512_add_epi32(ta, _mm512_and_si512(w, _mm512_set1_epi32(0xFFFF)));
}

// tc * ta + bc * (255 - ta) rounded by DivideBy255, alpha 255: the opaque
// bottom's branch alone, when no pel needs the table.
V BlendOnOpaque(V top, V bottom)
{
    const auto half = [](V top16, V bottom16) {
        const V tw = SpreadWord3(top16);
        const V bw = _mm512_sub_epi16(_mm512_set1_epi16(255), tw);
        return DivideBy255x32(
            _mm512_add_epi16(_mm512_mullo_epi16(top16, tw), _mm512_mullo_epi16(bottom16, bw)));
    };
    const V colour =
        _mm512_packus_epi16(half(Low(top), Low(bottom)), half(High(top), High(bottom)));
    return WithAlphas(colour, _mm512_set1_epi32(255));
}

// Both weighted branches of CompositPel on every pel.
V Weighted(V top, V bottom, V ta, V ba)
{
    const V alpha = CompositAlphas(ta, ba);
    const V adt32 = _mm512_i32gather_epi32(alpha, global_adt, 4);
    // Entry of pel k of each 128-bit lane into the four lanes of that pel.
    const V toLow = _mm512_set4_epi32(0x05040504, 0x05040504, 0x01000100, 0x01000100);
    const V toHigh = _mm512_set4_epi32(0x0D0C0D0C, 0x0D0C0D0C, 0x09080908, 0x09080908);
    const V lo = WeightedHalf(Low(top), Low(bottom), _mm512_shuffle_epi8(adt32, toLow));
    const V hi = WeightedHalf(High(top), High(bottom), _mm512_shuffle_epi8(adt32, toHigh));
    return WithAlphas(_mm512_packus_epi16(lo, hi), alpha);
}

// The pels of a block's result that are a source pel as it stands.
struct Unchanged {
    Mask top = 0, bottom = 0;
};

V Composit(V top, V bottom, Unchanged& same)
{
    const V full = _mm512_set1_epi32(255);
    const V ta = Alphas(top);
    const V ba = Alphas(bottom);
    const Mask topOpaque = _mm512_cmpeq_epi32_mask(ta, full);
    same.top = topOpaque | _mm512_testn_epi32_mask(ba, ba);
    if (same.top == kAll) // opaque text, and clear over clear
        return top;
    same.bottom = _mm512_testn_epi32_mask(ta, ta) & Mask(~same.top);
    const Mask weighted = Mask(~(same.top | same.bottom));
    V out = bottom;
    if (weighted != 0) {
        const Mask translucent = weighted & Mask(~_mm512_cmpeq_epi32_mask(ba, full));
        const V mixed = translucent ? Weighted(top, bottom, ta, ba) : BlendOnOpaque(top, bottom);
        out = _mm512_mask_mov_epi32(mixed, same.bottom, bottom);
    }
    return _mm512_mask_mov_epi32(out, same.top, top);
}

V Composit(V top, V bottom)
{
    Unchanged same;
    return Composit(top, bottom, same);
}

// Top alpha 0 keeps the bottom, 255 the top; the rest blends with alpha 255.
V OnOpaque(V top, V bottom, Unchanged& same)
{
    const V ta = Alphas(top);
    same.top = _mm512_cmpeq_epi32_mask(ta, _mm512_set1_epi32(255));
    if (same.top == kAll)
        return top;
    same.bottom = _mm512_testn_epi32_mask(ta, ta);
    V out = bottom;
    if ((same.top | same.bottom) != kAll) {
        out = _mm512_mask_mov_epi32(BlendOnOpaque(top, bottom), same.bottom, bottom);
    }
    return _mm512_mask_mov_epi32(out, same.top, top);
}

// FadePelAlpha: alpha * opacity <= 65025 fits the low 16 bits of each lane.
V Fade(V pels, V opacity)
{
    return WithAlphas(pels, DivideBy255x32(_mm512_mullo_epi16(Alphas(pels), opacity)));
}

// (alpha * opacity) / 255 truncated, for opacities 0..255: (x * 0x8081) >> 23
// is x / 255 for every 16-bit x.
V ScaleAlphas(V pels, V opacity)
{
    const V product = _mm512_mullo_epi16(Alphas(pels), opacity);
    return WithAlphas(pels,
                      _mm512_srli_epi16(_mm512_mulhi_epu16(product, _mm512_set1_epi16(-32639)), 7));
}

// Whole blocks through `block(i)`, the rest through the scalar routine from
// pel i on.
template <class Block, class Tail> void ForBlocks(int count, Block block, Tail tail)
{
    int i = 0;
    for (; i + kPels <= count; i += kPels)
        block(i);
    if (i < count)
        tail(std::ptrdiff_t(i) * 4, count - i);
}

// Pels equal to the destination row's own are not stored again.
Mask Changed(const char* dst, const char* bottom, const char* top, Unchanged same)
{
    return dst == bottom ? Mask(~same.bottom) : dst == top ? Mask(~same.top) : kAll;
}

void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            Unchanged same;
            const V out = Composit(Load(top, i), Load(bottom, i), same);
            Store(dst, i, out, Changed(dst, bottom, top, same));
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::Composit(dst + at, bottom + at, top + at, n);
        });
}

void OnOpaqueRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            Unchanged same;
            const V out = OnOpaque(Load(top, i), Load(bottom, i), same);
            Store(dst, i, out, Changed(dst, bottom, top, same));
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositOnOpaque(dst + at, bottom + at, top + at, n);
        });
}

void OnColourRow(char* dst, const char* top, int count, u32 colour)
{
    const V bottom = _mm512_set1_epi32(int(colour));
    ForBlocks(
        count, [=](int i) { Store(dst, i, Composit(Load(top, i), bottom), kAll); },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositOnColour(dst + at, top + at, n, colour);
        });
}

void ColourOnRow(char* dst, const char* bottom, int count, u32 colour)
{
    const V top = _mm512_set1_epi32(int(colour));
    ForBlocks(
        count, [=](int i) { Store(dst, i, Composit(top, Load(bottom, i)), kAll); },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositColourOn(dst + at, bottom + at, n, colour);
        });
}

// The colour's share of every channel, cc * ca, is the same in every block.
void ColourOnOpaqueRow(char* dst, const char* bottom, int count, u32 colour)
{
    const u32 ca = colour >> 24;
    if (ca == 0u || ca == 255u) {
        const V top = _mm512_set1_epi32(int(colour));
        return ForBlocks(
            count,
            [=](int i) {
                const V out = ca == 0u ? Load(bottom, i) : top;
                Store(dst, i, out, kAll);
            },
            [=](std::ptrdiff_t at, int n) {
                Kernels::Scalar::CompositColourOnOpaque(dst + at, bottom + at, n, colour);
            });
    }
    const V share =
        _mm512_mullo_epi16(Low(_mm512_set1_epi32(int(colour))), _mm512_set1_epi16(short(ca)));
    const V weight = _mm512_set1_epi16(short(255u - ca));
    const V opaque = _mm512_set1_epi32(int(0xFF000000u));
    ForBlocks(
        count,
        [=](int i) {
            const V pels = Load(bottom, i);
            const V lo =
                DivideBy255x32(_mm512_add_epi16(share, _mm512_mullo_epi16(Low(pels), weight)));
            const V hi =
                DivideBy255x32(_mm512_add_epi16(share, _mm512_mullo_epi16(High(pels), weight)));
            const V out = _mm512_or_si512(_mm512_packus_epi16(lo, hi), opaque);
            Store(dst, i, out, kAll);
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositColourOnOpaque(dst + at, bottom + at, n, colour);
        });
}

void WithOpacityRow(char* dst, const char* bottom, const char* top, int count, u32 bottomOpacity,
                    u32 topOpacity)
{
    const V bo = _mm512_set1_epi32(int(bottomOpacity)), to = _mm512_set1_epi32(int(topOpacity));
    ForBlocks(
        count,
        [=](int i) {
            Store(dst, i, Composit(Fade(Load(top, i), to), Fade(Load(bottom, i), bo)), kAll);
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositWithOpacity(dst + at, bottom + at, top + at, n, bottomOpacity,
                                                 topOpacity);
        });
}

void ThreeRows(char* dst, const char* bottom, const char* middle, const char* top, int count,
               u32 bottomOpacity, u32 middleOpacity, u32 topOpacity)
{
    const V bo = _mm512_set1_epi32(int(bottomOpacity)), mo = _mm512_set1_epi32(int(middleOpacity)),
            to = _mm512_set1_epi32(int(topOpacity));
    ForBlocks(
        count,
        [=](int i) {
            const V upper = Composit(Fade(Load(top, i), to), Fade(Load(middle, i), mo));
            Store(dst, i, Composit(upper, Fade(Load(bottom, i), bo)), kAll);
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositThree(dst + at, bottom + at, middle + at, top + at, n,
                                           bottomOpacity, middleOpacity, topOpacity);
        });
}

// Opacities outside 0..255 wrap and go negative: the scalar routine has them.
void WithScaledAlphasRow(char* dst, const char* bottom, const char* top, int count,
                         int bottomOpacity, int topOpacity)
{
    if (u32(bottomOpacity) > 255u || u32(topOpacity) > 255u)
        return Kernels::Scalar::CompositWithScaledAlphas(dst, bottom, top, count, bottomOpacity,
                                                         topOpacity);
    const V bo = _mm512_set1_epi32(bottomOpacity), to = _mm512_set1_epi32(topOpacity);
    ForBlocks(
        count,
        [=](int i) {
            Store(dst, i, Composit(ScaleAlphas(Load(top, i), to), ScaleAlphas(Load(bottom, i), bo)),
                  kAll);
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositWithScaledAlphas(dst + at, bottom + at, top + at, n,
                                                      bottomOpacity, topOpacity);
        });
}

} // namespace

const Kernels::CompositSet Kernels::kCompositAVX512 = {
    "avx512",          CompositRow,    OnOpaqueRow, OnColourRow,         ColourOnRow,
    ColourOnOpaqueRow, WithOpacityRow, ThreeRows,   WithScaledAlphasRow,
};
