// AVX2 composite kernels. Only kCompositAVX2 is visible outside.
//
// Eight pels per step. Channel arithmetic runs in 16-bit lanes on the two
// unpacked halves; every 16-bit shuffle and unpack works within a 128-bit
// half, and packus restores the pel order. CompositPel's ordered tests become
// selects applied lowest priority first, so the first test wins.
//
// One blend serves both weighted branches. With w = DivideBy255(ba * (255 - ta))
// an opaque bottom gets w = 255 - ta and A = 255, whose table entry is 257, so
// its DivideBy255(sum) = ((sum + 128) * 257) >> 16 differs from the translucent
// (sum * adt[A]) >> 16 only by the 128 added first.
#include "kernels/composite/CompositKernels.h"

#include "AlphaDivide.h"

#include <cstddef>
#include <immintrin.h>

namespace {

using V = __m256i;
constexpr int kPels = 8;

V Load(const char* row, int index)
{
    return _mm256_loadu_si256(reinterpret_cast<const V*>(row + std::ptrdiff_t(index) * 4));
}

void Store(char* row, int index, V pels)
{
    _mm256_storeu_si256(reinterpret_cast<V*>(row + std::ptrdiff_t(index) * 4), pels);
}

V Select(V mask, V ifSet, V ifClear)
{
    return _mm256_blendv_epi8(ifClear, ifSet, mask);
}

bool All(V mask)
{
    return _mm256_movemask_epi8(mask) == -1;
}

bool None(V mask)
{
    return _mm256_testz_si256(mask, mask) != 0;
}

V Alphas(V pels)
{
    return _mm256_srli_epi32(pels, 24);
}

V Is(V alphas, int value)
{
    return _mm256_cmpeq_epi32(alphas, _mm256_set1_epi32(value));
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
V DivideBy255x16(V x)
{
    return _mm256_mulhi_epu16(_mm256_add_epi16(x, _mm256_set1_epi16(128)), _mm256_set1_epi16(257));
}

// Each pel's 16-bit alpha into its four lanes.
V SpreadAlpha(V pels16)
{
    return _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(pels16, 0xFF), 0xFF);
}

V Low(V pels)
{
    return _mm256_unpacklo_epi8(pels, _mm256_setzero_si256());
}

V High(V pels)
{
    return _mm256_unpackhi_epi8(pels, _mm256_setzero_si256());
}

// Colour bytes of `colour`, alpha bytes of `alpha32 << 24`.
V WithAlphas(V colour, V alpha32)
{
    return _mm256_or_si256(_mm256_and_si256(colour, _mm256_set1_epi32(0x00FFFFFF)),
                           _mm256_slli_epi32(alpha32, 24));
}

// (tc * ta + bc * w) then the table or the rounding, per 16-bit lane. The sum
// is at most 255 * A, so the 16-bit mulhi is exact for A >= 2; adt[1] = 65536
// is 0 in 16 bits, and A = 1 keeps the sum.
V WeightedHalf(V top16, V bottom16, V adt16)
{
    const V ta = SpreadAlpha(top16);
    const V ba = SpreadAlpha(bottom16);
    const V w =
        DivideBy255x16(_mm256_mullo_epi16(ba, _mm256_sub_epi16(_mm256_set1_epi16(255), ta)));
    V sum = _mm256_add_epi16(_mm256_mullo_epi16(top16, ta), _mm256_mullo_epi16(bottom16, w));
    const V opaqueBottom = _mm256_cmpeq_epi16(ba, _mm256_set1_epi16(255));
    sum = _mm256_add_epi16(sum, _mm256_and_si256(opaqueBottom, _mm256_set1_epi16(128)));
    const V alphaIsOne = _mm256_cmpeq_epi16(_mm256_add_epi16(ta, w), _mm256_set1_epi16(1));
    return Select(alphaIsOne, sum, _mm256_mulhi_epu16(sum, adt16));
}

// ta + DivideBy255(ba * (255 - ta)) per pel, never above 255. The high 16 bits
// of each 32-bit lane stay 0 through the 16-bit arithmetic.
V CompositAlphas(V ta, V ba)
{
    const V w =
        DivideBy255x16(_mm256_mullo_epi16(ba, _mm256_sub_epi32(_mm256_set1_epi32(255), ta)));
    return _mm256_add_epi32(ta, _mm256_and_si256(w, _mm256_set1_epi32(0xFFFF)));
}

// tc * ta + bc * (255 - ta) rounded by DivideBy255, alpha 255: the opaque
// bottom's branch alone, when no pel needs the table.
V BlendOnOpaque(V top, V bottom)
{
    const auto half = [](V top16, V bottom16) {
        const V tw = SpreadAlpha(top16);
        const V bw = _mm256_sub_epi16(_mm256_set1_epi16(255), tw);
        return DivideBy255x16(
            _mm256_add_epi16(_mm256_mullo_epi16(top16, tw), _mm256_mullo_epi16(bottom16, bw)));
    };
    const V colour =
        _mm256_packus_epi16(half(Low(top), Low(bottom)), half(High(top), High(bottom)));
    return WithAlphas(colour, _mm256_set1_epi32(255));
}

// Both weighted branches of CompositPel on every pel.
V Weighted(V top, V bottom, V ta, V ba)
{
    const V alpha = CompositAlphas(ta, ba);
    const V adt32 = _mm256_i32gather_epi32(reinterpret_cast<const int*>(global_adt), alpha, 4);
    // Entry of pel k of each 128-bit half into the four lanes of that pel.
    const V toLow = _mm256_setr_epi32(0x01000100, 0x01000100, 0x05040504, 0x05040504, 0x01000100,
                                      0x01000100, 0x05040504, 0x05040504);
    const V toHigh = _mm256_setr_epi32(0x09080908, 0x09080908, 0x0D0C0D0C, 0x0D0C0D0C, 0x09080908,
                                       0x09080908, 0x0D0C0D0C, 0x0D0C0D0C);
    const V lo = WeightedHalf(Low(top), Low(bottom), _mm256_shuffle_epi8(adt32, toLow));
    const V hi = WeightedHalf(High(top), High(bottom), _mm256_shuffle_epi8(adt32, toHigh));
    return WithAlphas(_mm256_packus_epi16(lo, hi), alpha);
}

// Whether a whole block's result is one source as it stands.
struct Unchanged {
    bool top = false, bottom = false;
};

V Composit(V top, V bottom, Unchanged& same)
{
    const V ta = Alphas(top);
    const V ba = Alphas(bottom);
    const V takeTop = _mm256_or_si256(Is(ta, 255), Is(ba, 0));
    if ((same.top = All(takeTop))) // opaque text, and clear over clear
        return top;
    const V keepBottom = _mm256_andnot_si256(takeTop, Is(ta, 0));
    same.bottom = All(keepBottom); // gaps between glyphs over a picture
    const V plain = Select(takeTop, top, bottom);
    const V unchanged = _mm256_or_si256(takeTop, keepBottom);
    if (All(unchanged))
        return plain;
    const V translucent =
        _mm256_andnot_si256(_mm256_or_si256(unchanged, Is(ba, 255)), _mm256_set1_epi32(-1));
    const V mixed = None(translucent) ? BlendOnOpaque(top, bottom) : Weighted(top, bottom, ta, ba);
    return Select(unchanged, plain, mixed);
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
    const V opaque = Is(ta, 255);
    if ((same.top = All(opaque)))
        return top;
    const V clear = Is(ta, 0);
    same.bottom = All(clear);
    const V plain = Select(opaque, top, bottom);
    const V unchanged = _mm256_or_si256(opaque, clear);
    if (All(unchanged))
        return plain;
    return Select(unchanged, plain, BlendOnOpaque(top, bottom));
}

// FadePelAlpha: alpha * opacity <= 65025 fits the low 16 bits of each lane.
V Fade(V pels, V opacity)
{
    return WithAlphas(pels, DivideBy255x16(_mm256_mullo_epi16(Alphas(pels), opacity)));
}

// (alpha * opacity) / 255 truncated, for opacities 0..255: (x * 0x8081) >> 23
// is x / 255 for every 16-bit x.
V ScaleAlphas(V pels, V opacity)
{
    const V product = _mm256_mullo_epi16(Alphas(pels), opacity);
    return WithAlphas(pels,
                      _mm256_srli_epi16(_mm256_mulhi_epu16(product, _mm256_set1_epi16(-32639)), 7));
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

// A block that is the destination row's own pels is not stored again.
bool Changed(const char* dst, const char* bottom, const char* top, Unchanged same)
{
    return !(dst == bottom && same.bottom) && !(dst == top && same.top);
}

void CompositRow(char* dst, const char* bottom, const char* top, int count)
{
    ForBlocks(
        count,
        [=](int i) {
            Unchanged same;
            const V out = Composit(Load(top, i), Load(bottom, i), same);
            if (Changed(dst, bottom, top, same))
                Store(dst, i, out);
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
            if (Changed(dst, bottom, top, same))
                Store(dst, i, out);
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositOnOpaque(dst + at, bottom + at, top + at, n);
        });
}

void OnColourRow(char* dst, const char* top, int count, u32 colour)
{
    const V bottom = _mm256_set1_epi32(int(colour));
    ForBlocks(
        count, [=](int i) { Store(dst, i, Composit(Load(top, i), bottom)); },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositOnColour(dst + at, top + at, n, colour);
        });
}

void ColourOnRow(char* dst, const char* bottom, int count, u32 colour)
{
    const V top = _mm256_set1_epi32(int(colour));
    ForBlocks(
        count, [=](int i) { Store(dst, i, Composit(top, Load(bottom, i))); },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositColourOn(dst + at, bottom + at, n, colour);
        });
}

// The colour's share of every channel, cc * ca, is the same in every block.
void ColourOnOpaqueRow(char* dst, const char* bottom, int count, u32 colour)
{
    const u32 ca = colour >> 24;
    if (ca == 0u || ca == 255u) {
        const V top = _mm256_set1_epi32(int(colour));
        return ForBlocks(
            count,
            [=](int i) {
                const V out = ca == 0u ? Load(bottom, i) : top;
                Store(dst, i, out);
            },
            [=](std::ptrdiff_t at, int n) {
                Kernels::Scalar::CompositColourOnOpaque(dst + at, bottom + at, n, colour);
            });
    }
    const V share =
        _mm256_mullo_epi16(Low(_mm256_set1_epi32(int(colour))), _mm256_set1_epi16(short(ca)));
    const V weight = _mm256_set1_epi16(short(255u - ca));
    const V opaque = _mm256_set1_epi32(int(0xFF000000u));
    ForBlocks(
        count,
        [=](int i) {
            const V pels = Load(bottom, i);
            const V lo =
                DivideBy255x16(_mm256_add_epi16(share, _mm256_mullo_epi16(Low(pels), weight)));
            const V hi =
                DivideBy255x16(_mm256_add_epi16(share, _mm256_mullo_epi16(High(pels), weight)));
            const V out = _mm256_or_si256(_mm256_packus_epi16(lo, hi), opaque);
            Store(dst, i, out);
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositColourOnOpaque(dst + at, bottom + at, n, colour);
        });
}

void WithOpacityRow(char* dst, const char* bottom, const char* top, int count, u32 bottomOpacity,
                    u32 topOpacity)
{
    const V bo = _mm256_set1_epi32(int(bottomOpacity)), to = _mm256_set1_epi32(int(topOpacity));
    ForBlocks(
        count,
        [=](int i) { Store(dst, i, Composit(Fade(Load(top, i), to), Fade(Load(bottom, i), bo))); },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositWithOpacity(dst + at, bottom + at, top + at, n, bottomOpacity,
                                                 topOpacity);
        });
}

void ThreeRows(char* dst, const char* bottom, const char* middle, const char* top, int count,
               u32 bottomOpacity, u32 middleOpacity, u32 topOpacity)
{
    const V bo = _mm256_set1_epi32(int(bottomOpacity)), mo = _mm256_set1_epi32(int(middleOpacity)),
            to = _mm256_set1_epi32(int(topOpacity));
    ForBlocks(
        count,
        [=](int i) {
            const V upper = Composit(Fade(Load(top, i), to), Fade(Load(middle, i), mo));
            Store(dst, i, Composit(upper, Fade(Load(bottom, i), bo)));
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
    const V bo = _mm256_set1_epi32(bottomOpacity), to = _mm256_set1_epi32(topOpacity);
    ForBlocks(
        count,
        [=](int i) {
            Store(dst, i,
                  Composit(ScaleAlphas(Load(top, i), to), ScaleAlphas(Load(bottom, i), bo)));
        },
        [=](std::ptrdiff_t at, int n) {
            Kernels::Scalar::CompositWithScaledAlphas(dst + at, bottom + at, top + at, n,
                                                      bottomOpacity, topOpacity);
        });
}

} // namespace

const Kernels::CompositSet Kernels::kCompositAVX2 = {
    "avx2",         CompositRow, OnOpaqueRow,         OnColourRow, ColourOnRow, ColourOnOpaqueRow,
    WithOpacityRow, ThreeRows,   WithScaledAlphasRow,
};
