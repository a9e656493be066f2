// The thin vector layer beneath every family's generic vector source.
//
// Included only by a family's `<Family>Vector.cpp`, which is compiled once per
// target with that target's flags and FLOWER_KERNEL_TARGET naming it (sse2,
// avx2, avx512, neon). Everything here lives in Kernels::<target>, and no
// header with inline functions of external linkage is included after the
// intrinsics: a wider copy of an inline function could otherwise be the one
// the linker keeps for every caller.
//
// `V` is one register of 32-bit lanes, `F` of floats, kPels lanes each. The
// arithmetic operators of the compilers' vector extensions work on them
// directly (wrapping, lane by lane); the helpers below add what the operators
// lack, named by their lane shape (...8, ...16, ...32). Most are written once
// over those extensions; intrinsics remain where the compilers' generic code is
// slower or the operation has no generic form. Byte and 16-bit shuffles,
// unpacks and packs work within each 128-bit block, as x86 defines them: an
// unpack and the matching pack restore the pel order.
#ifndef FLOWER_SOURCE_LANES_H
#define FLOWER_SOURCE_LANES_H

#ifndef FLOWER_KERNEL_TARGET
#error "Lanes.h belongs to a family's vector source, compiled per target"
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#if defined(__AVX512BW__) || defined(__AVX2__) || defined(__SSE2__)
#include <immintrin.h>
#define FLOWER_LANES_X86 1
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#define FLOWER_LANES_NEON 1
#else
#error "no vector target"
#endif

// SSE2 has no byte shuffle (pshufb is SSSE3), and GCC builds most constant
// shuffles there from single words.
#if defined(FLOWER_LANES_X86) && !defined(__AVX2__)
#define FLOWER_LANES_SSE2 1
#endif

// For the per-block functions of the vector sources: a block's registers stay
// registers only when the whole block is inlined into its row loop, which
// GCC's size heuristics do not always choose by themselves.
#define FLOWER_BLOCK inline __attribute__((always_inline))

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

#if defined(__AVX512BW__)
constexpr int kBytes = 64;
#elif defined(__AVX2__)
constexpr int kBytes = 32;
#else
constexpr int kBytes = 16;
#endif
constexpr int kPels = kBytes / 4;
// Whether a float division costs less than a reciprocal estimate, a product and a
// correction: on AVX-512 machines it takes several times as long.
constexpr bool kFastDivideF = kBytes < 64;
// Whether 32-bit lane products are one instruction; SSE2 builds them from
// several, which loses to the scalar loop where that returns early.
#if defined(FLOWER_LANES_SSE2)
constexpr bool kFastProducts32 = false;
#else
constexpr bool kFastProducts32 = true;
#endif

typedef u32 V __attribute__((vector_size(kBytes)));
typedef std::int32_t I __attribute__((vector_size(kBytes)));
typedef u16 W __attribute__((vector_size(kBytes)));
typedef u8 B __attribute__((vector_size(kBytes)));
typedef float F __attribute__((vector_size(kBytes)));

// --- memory and constants ------------------------------------------------------

template <class Byte> FLOWER_BLOCK Byte* At(Byte* row, int index)
{
    static_assert(sizeof(Byte) == 1, "rows are addressed by byte");
    return row + std::ptrdiff_t(index) * 4;
}

// Pels index..index + kPels - 1 of a row with no alignment promise.
FLOWER_BLOCK V Load(const char* row, int index)
{
    V v;
    std::memcpy(&v, At(row, index), sizeof v);
    return v;
}

FLOWER_BLOCK void Store(char* row, int index, V pels)
{
    std::memcpy(At(row, index), &pels, sizeof pels);
}

// Byte `byte` (0..3) of every lane, kPels bytes.
FLOWER_BLOCK void StorePelBytes(u8* dst, V pels, int byte);

// The same for byte 0 of lanes that hold 0..255, which SSE2 packs unmasked.
FLOWER_BLOCK void StoreLowBytes(u8* dst, V v)
{
#if defined(FLOWER_LANES_SSE2)
    const __m128i words = _mm_packs_epi32(__m128i(v), __m128i(v));
    const int four = _mm_cvtsi128_si32(_mm_packus_epi16(words, __m128i{}));
    std::memcpy(dst, &four, 4);
#else
    StorePelBytes(dst, v, 0);
#endif
}

FLOWER_BLOCK V Splat32(u32 x)
{
    return V{} + x;
}

FLOWER_BLOCK V Splat16(u16 x)
{
    return V(W{} + x);
}

FLOWER_BLOCK F SplatF(float x)
{
    return F{} + x;
}

// 0, 1, 2, ... kPels - 1.
FLOWER_BLOCK V Ramp32()
{
    V v{};
    for (int i = 0; i < kPels; ++i)
        v[i] = u32(i);
    return v;
}

// Whole blocks of a row of `count` pels, `block(i)` for the one from pel i;
// returns the first pel left, the scalar set's.
template <class Block> FLOWER_BLOCK int ForBlocks(int count, Block block)
{
    int i = 0;
    for (; i + kPels <= count; i += kPels)
        block(i);
    return i;
}

// The same, then `tail(at, n)` on the n pels left from byte `at`, if any.
template <class Block, class Tail> FLOWER_BLOCK void ForBlocks(int count, Block block, Tail tail)
{
    const int i = ForBlocks(count, block);
    if (i < count)
        tail(std::ptrdiff_t(i) * 4, count - i);
}

// --- 32-bit lanes -------------------------------------------------------------

FLOWER_BLOCK V Sar32(V v, int n)
{
    return V(I(v) >> n);
}

// Selects of the compared operands, in one type, are what the compilers turn
// into min and max instructions.
FLOWER_BLOCK V MinSigned32(V a, V b)
{
    return V(I(a) < I(b) ? I(a) : I(b));
}

FLOWER_BLOCK V MinUnsigned32(V a, V b)
{
    return a < b ? a : b;
}

FLOWER_BLOCK V MaxUnsigned32(V a, V b)
{
    return a > b ? a : b;
}

FLOWER_BLOCK F ToFloat(V v)
{
    return __builtin_convertvector(I(v), F);
}

// Truncating, for values that fit a signed 32-bit lane.
FLOWER_BLOCK V Truncate(F f)
{
    return V(__builtin_convertvector(f, I));
}

// Pel (alpha) byte of each lane, and its colour bytes with another alpha.
FLOWER_BLOCK V Alphas(V pels)
{
    return pels >> 24;
}

FLOWER_BLOCK V WithAlphas(V colour, V alpha)
{
    return (colour & 0x00FFFFFFu) | alpha << 24;
}

// --- 16-bit lanes -------------------------------------------------------------

FLOWER_BLOCK V Add16(V a, V b)
{
    return V(W(a) + W(b));
}

FLOWER_BLOCK V Sub16(V a, V b)
{
    return V(W(a) - W(b));
}

FLOWER_BLOCK V Mul16(V a, V b)
{
    return V(W(a) * W(b));
}

FLOWER_BLOCK V Shr16(V v, int n)
{
    return V(W(v) >> n);
}

// DivideBy255 in 16-bit lanes, x <= 65025: ((x + 128) * 257) >> 16.
FLOWER_BLOCK V MulHigh16(V a, V b);
FLOWER_BLOCK V DivideBy255x16(V x)
{
    return MulHigh16(Add16(x, Splat16(128)), Splat16(257));
}

// --- shuffles within each block -----------------------------------------------
//
// Lane i of a Shuffle comes from lane Rule::From(i) of a, or of b for indices
// past a's lanes; the compilers find the instructions for each constant rule.

template <class Rule, class T, std::size_t... i>
FLOWER_BLOCK T Shuffle(T a, T b, std::index_sequence<i...>)
{
    return __builtin_shufflevector(a, b, Rule::From(int(i))...);
}

template <class Rule, class T> FLOWER_BLOCK T Shuffle(T a, T b)
{
    return Shuffle<Rule>(a, b, std::make_index_sequence<sizeof(T) / sizeof(a[0])>());
}

// The even 16-bit lanes of `even` with the odd ones of `odd`.
struct OddWordsRule {
    static constexpr int From(int i) { return i & 1 ? i + kBytes / 2 : i; }
};

FLOWER_BLOCK V WithOddWords(V even, V odd)
{
#if defined(FLOWER_LANES_SSE2)
    return (even & 0xFFFFu) | (odd & 0xFFFF0000u);
#else
    return V(Shuffle<OddWordsRule>(W(even), W(odd)));
#endif
}

// Bytes of a and b interleaved, a0 b0 a1 b1 ..., from byte kHalf on in each block.
template <int kHalf> struct Interleave8Rule {
    static constexpr int From(int i) { return (i & ~15) + kHalf + (i & 15) / 2 + (i & 1) * kBytes; }
};

FLOWER_BLOCK V InterleaveLow8(V a, V b)
{
    return V(Shuffle<Interleave8Rule<0>>(B(a), B(b)));
}

FLOWER_BLOCK V InterleaveHigh8(V a, V b)
{
    return V(Shuffle<Interleave8Rule<8>>(B(a), B(b)));
}

// Bytes 0-7 (LowBytes) or 8-15 (HighBytes) of each block, widened to 16 bits.
FLOWER_BLOCK V LowBytes(V v)
{
    return InterleaveLow8(v, V{});
}

FLOWER_BLOCK V HighBytes(V v)
{
    return InterleaveHigh8(v, V{});
}

// Lane k of each group of four, in all four: pel k of each block in all its
// 32-bit lanes, or word k of each pel in all its 16-bit lanes.
template <int k> struct SpreadRule {
    static constexpr int From(int i) { return (i & ~3) + k; }
};

template <int k, class T> FLOWER_BLOCK T Spread(T v)
{
    return Shuffle<SpreadRule<k>>(v, v);
}

// Low words of the first (LowPelWords) or last (HighPelWords) two pels of each
// block, each in four 16-bit lanes: the layout of LowBytes and HighBytes. The
// ColourWords forms hold 0 in each pel's alpha lane (word 3): a product with
// them leaves the alpha free for another value.
FLOWER_BLOCK V LowPelWords(V v);
FLOWER_BLOCK V HighPelWords(V v);

#if defined(FLOWER_LANES_SSE2)
// Lanes 1 and 3 of each block hold words 2 and 3 of a pel.
FLOWER_BLOCK V WithoutWord3(V words)
{
    return words & ~((Ramp32() & 1u) * 0xFFFF0000u);
}

FLOWER_BLOCK V LowPelColourWords(V v)
{
    return WithoutWord3(LowPelWords(v));
}

FLOWER_BLOCK V HighPelColourWords(V v)
{
    return WithoutWord3(HighPelWords(v));
}

// Byte k of every pel, zero-extended.
template <int k> FLOWER_BLOCK V PelByte(V pels)
{
    return (pels >> (8 * k)) & 0xFFu;
}
#else
// Bytes of each block picked by index; an index with its top bit set picks 0.
FLOWER_BLOCK V PickBytes(V v, V pick);

// Four lanes of byte indices, repeated in every block.
FLOWER_BLOCK V PerBlock(u32 l0, u32 l1, u32 l2, u32 l3)
{
    const u32 lanes[4] = {l0, l1, l2, l3};
    V v{};
    for (int i = 0; i < kPels; ++i)
        v[i] = lanes[i & 3];
    return v;
}

FLOWER_BLOCK V LowPelWords(V v)
{
    return PickBytes(v, PerBlock(0x01000100u, 0x01000100u, 0x05040504u, 0x05040504u));
}

FLOWER_BLOCK V HighPelWords(V v)
{
    return PickBytes(v, PerBlock(0x09080908u, 0x09080908u, 0x0D0C0D0Cu, 0x0D0C0D0Cu));
}

FLOWER_BLOCK V LowPelColourWords(V v)
{
    return PickBytes(v, PerBlock(0x01000100u, 0x80800100u, 0x05040504u, 0x80800504u));
}

FLOWER_BLOCK V HighPelColourWords(V v)
{
    return PickBytes(v, PerBlock(0x09080908u, 0x80800908u, 0x0D0C0D0Cu, 0x80800D0Cu));
}

template <int k> FLOWER_BLOCK V PelByte(V pels)
{
    return PickBytes(pels, PerBlock(0x80808000u, 0x80808004u, 0x80808008u, 0x8080800Cu) + u32(k));
}
#endif

// --- per-pel masks --------------------------------------------------------------
//
// A PelMask holds one flag per 32-bit lane: mask bits on AVX-512, lanes of all
// ones elsewhere (as lanes there, every test and select of a compare would
// convert it to mask bits and back). Combine them with Or and AndNot.

#if defined(__AVX512BW__)
typedef __mmask16 PelMask;

FLOWER_BLOCK PelMask Eq32(V a, V b)
{
    return _mm512_cmpeq_epi32_mask(__m512i(a), __m512i(b));
}

FLOWER_BLOCK PelMask GreaterSigned32(V a, V b)
{
    return _mm512_cmpgt_epi32_mask(__m512i(a), __m512i(b));
}

FLOWER_BLOCK PelMask NonZero32(V a)
{
    return _mm512_test_epi32_mask(__m512i(a), __m512i(a));
}

FLOWER_BLOCK PelMask GreaterEqualF(F a, F b)
{
    return _mm512_cmp_ps_mask(__m512(a), __m512(b), _CMP_GE_OQ);
}

FLOWER_BLOCK bool All(PelMask m)
{
    return m == 0xFFFF;
}

FLOWER_BLOCK bool None(PelMask m)
{
    return m == 0;
}

FLOWER_BLOCK V Select(PelMask m, V ifSet, V ifClear)
{
    return V(_mm512_mask_blend_epi32(m, __m512i(ifClear), __m512i(ifSet)));
}

// ifSet where m, 0 elsewhere.
FLOWER_BLOCK V Keep(PelMask m, V ifSet)
{
    return V(_mm512_maskz_mov_epi32(m, __m512i(ifSet)));
}

// v + 1 where m is set.
FLOWER_BLOCK V AddOneWhere(PelMask m, V v)
{
    return V(_mm512_mask_add_epi32(__m512i(v), m, __m512i(v), _mm512_set1_epi32(1)));
}

// Stores the pels of m; the others may be rewritten with what the row holds.
FLOWER_BLOCK void StoreWhere(char* row, int index, V pels, PelMask m)
{
    _mm512_mask_storeu_epi32(At(row, index), m, __m512i(pels));
}
#else
typedef V PelMask;

FLOWER_BLOCK PelMask Eq32(V a, V b)
{
    return V(a == b);
}

FLOWER_BLOCK PelMask GreaterSigned32(V a, V b)
{
    return V(I(a) > I(b));
}

FLOWER_BLOCK PelMask NonZero32(V a)
{
    return V(a != 0u);
}

FLOWER_BLOCK PelMask GreaterEqualF(F a, F b)
{
    return V(a >= b);
}

FLOWER_BLOCK bool All(PelMask m);
FLOWER_BLOCK bool None(PelMask m);

FLOWER_BLOCK V Select(PelMask m, V ifSet, V ifClear)
{
    return I(m) != 0 ? ifSet : ifClear;
}

FLOWER_BLOCK V Keep(PelMask m, V ifSet)
{
    return m & ifSet;
}

// A set lane is all ones, which is -1.
FLOWER_BLOCK V AddOneWhere(PelMask m, V v)
{
    return v - m;
}

FLOWER_BLOCK void StoreWhere(char* row, int index, V pels, PelMask m)
{
    if (!None(m))
        Store(row, index, pels);
}
#endif

FLOWER_BLOCK PelMask Or(PelMask a, PelMask b)
{
    return PelMask(a | b);
}

// ~a & b.
FLOWER_BLOCK PelMask AndNot(PelMask a, PelMask b)
{
    return PelMask(~a & b);
}

FLOWER_BLOCK PelMask AllPels()
{
    return PelMask(~PelMask{});
}

// --- four doubles --------------------------------------------------------------
//
// `D4` holds four doubles on every target: one register with AVX2 and
// AVX-512, two elsewhere. Its operators round each lane as the scalar ones do
// (the vector sources are built without contraction, so a product and a sum
// stay two roundings).

typedef double D4 __attribute__((vector_size(32)));
typedef std::int32_t I4 __attribute__((vector_size(16)));

// Two pels' products of each colour byte with alpha, then alpha, lowest byte
// first: exact in 16 bits and in a double.
FLOWER_BLOCK void PelTermsD4(D4 terms[2], const u32 pels[2]);

// --- target operations ------------------------------------------------------------

#if defined(FLOWER_LANES_X86)

#if defined(__AVX512BW__)
#define FLOWER_X(op) _mm512_##op
typedef __m512i X;
typedef __m512 XF;
#elif defined(__AVX2__)
#define FLOWER_X(op) _mm256_##op
typedef __m256i X;
typedef __m256 XF;
#else
#define FLOWER_X(op) _mm_##op
typedef __m128i X;
typedef __m128 XF;
#endif

FLOWER_BLOCK V MulHigh16(V a, V b)
{
    return V(FLOWER_X(mulhi_epu16)(X(a), X(b)));
}

// 16-bit lanes of 0..255 back to bytes: LowBytes and HighBytes undone.
FLOWER_BLOCK V Pack16(V low, V high)
{
    return V(FLOWER_X(packus_epi16)(X(low), X(high)));
}

// 32-bit lanes of 0..32767 to 16-bit lanes, low's pels before high's in each block.
FLOWER_BLOCK V Pack32(V low, V high)
{
    return V(FLOWER_X(packs_epi32)(X(low), X(high)));
}

// a0*b0 + a1*b1 of each pair of signed 16-bit lanes, in 32 bits.
FLOWER_BLOCK V MulAddPairs16(V a, V b)
{
    return V(FLOWER_X(madd_epi16)(X(a), X(b)));
}

#if defined(FLOWER_LANES_SSE2)
FLOWER_BLOCK V LowPelWords(V v)
{
    const X pairs = _mm_shufflelo_epi16(X(v), 0xA0);
    return V(_mm_unpacklo_epi16(pairs, pairs));
}

FLOWER_BLOCK V HighPelWords(V v)
{
    const X pairs = _mm_shufflehi_epi16(X(v), 0xA0);
    return V(_mm_unpackhi_epi16(pairs, pairs));
}
#else
FLOWER_BLOCK V PickBytes(V v, V pick)
{
    return V(FLOWER_X(shuffle_epi8)(X(v), X(pick)));
}
#endif

// Below 1/x by less than 2^-9 of it, for x >= 1.
FLOWER_BLOCK F ReciprocalBelow(F x)
{
#if defined(__AVX512BW__)
    // rcp14: error below 2^-14.
    return F(_mm512_rcp14_ps(XF(x))) * (1.0f - 1.0f / 8192.0f);
#else
    // rcp: error below 1.5 * 2^-12.
    return F(FLOWER_X(rcp_ps)(XF(x))) * (1.0f - 1.0f / 1024.0f);
#endif
}

FLOWER_BLOCK void StorePelBytes(u8* dst, V pels, int byte)
{
#if defined(__AVX512BW__)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm512_cvtepi32_epi8(X(pels >> (8 * byte))));
#elif defined(__AVX2__)
    // Each block gathers the byte of its four pels into its low dword; dwords 0
    // and 4 then make the eight bytes. Indices with the top bit set give zero.
    const X pick =
        _mm256_add_epi8(_mm256_set1_epi32(int(0x0C080400u)), _mm256_set1_epi8(char(byte)));
    const X bytes = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(X(pels), pick),
                                                _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(bytes));
#else
    StoreLowBytes(dst, (pels >> (8 * byte)) & 0xFFu);
#endif
}

#if !defined(__AVX512BW__)
FLOWER_BLOCK bool All(PelMask m)
{
    return FLOWER_X(movemask_epi8)(X(m)) == int((1ull << kBytes) - 1);
}

FLOWER_BLOCK bool None(PelMask m)
{
    return FLOWER_X(movemask_epi8)(X(m)) == 0;
}
#endif

FLOWER_BLOCK void PelTermsD4(D4 terms[2], const u32 pels[2])
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels));
#if defined(__AVX2__)
    const __m256i x = _mm256_cvtepu8_epi32(bytes);
    const __m256i alphaOrOne =
        _mm256_blend_epi32(_mm256_shuffle_epi32(x, 0xFF), _mm256_set1_epi32(1), 0x88);
    const __m256i products = _mm256_mullo_epi32(x, alphaOrOne);
    terms[0] = D4(_mm256_cvtepi32_pd(_mm256_castsi256_si128(products)));
    terms[1] = D4(_mm256_cvtepi32_pd(_mm256_extracti128_si256(products, 1)));
#else
    const __m128i x = _mm_unpacklo_epi8(bytes, __m128i{});
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(x, 0xFF), 0xFF);
    const __m128i lane3 = _mm_set_epi16(-1, 0, 0, 0, -1, 0, 0, 0);
    const __m128i alphaOrOne =
        _mm_or_si128(_mm_andnot_si128(lane3, alpha), _mm_and_si128(lane3, _mm_set1_epi16(1)));
    const __m128i products = _mm_mullo_epi16(x, alphaOrOne);
    terms[0] = __builtin_convertvector(I4(_mm_unpacklo_epi16(products, __m128i{})), D4);
    terms[1] = __builtin_convertvector(I4(_mm_unpackhi_epi16(products, __m128i{})), D4);
#endif
}

#undef FLOWER_X

#endif // FLOWER_LANES_X86

#if defined(FLOWER_LANES_NEON)

// One 128-bit block: the x86 operations' results, lane for lane.

FLOWER_BLOCK V MulHigh16(V a, V b)
{
    const uint16x8_t x = (uint16x8_t)a, y = (uint16x8_t)b;
    const uint32x4_t lo = vmull_u16(vget_low_u16(x), vget_low_u16(y));
    const uint32x4_t hi = vmull_high_u16(x, y);
    return V(vuzp2q_u16((uint16x8_t)lo, (uint16x8_t)hi));
}

FLOWER_BLOCK V Pack16(V low, V high)
{
    return V(vqmovun_high_s16(vqmovun_s16((int16x8_t)low), (int16x8_t)high));
}

FLOWER_BLOCK V Pack32(V low, V high)
{
    return V(vqmovn_high_s32(vqmovn_s32((int32x4_t)low), (int32x4_t)high));
}

FLOWER_BLOCK V MulAddPairs16(V a, V b)
{
    const int16x8_t x = (int16x8_t)a, y = (int16x8_t)b;
    const int32x4_t lo = vmull_s16(vget_low_s16(x), vget_low_s16(y));
    return V(vpaddq_s32(lo, vmull_high_s16(x, y)));
}

// Indices past the block, as those with the top bit set, pick 0.
FLOWER_BLOCK V PickBytes(V v, V pick)
{
    return V(vqtbl1q_u8((uint8x16_t)v, (uint8x16_t)pick));
}

// The estimate (error below 2^-8) and one Newton step: error below 2^-15.
FLOWER_BLOCK F ReciprocalBelow(F x)
{
    const float32x4_t estimate = vrecpeq_f32((float32x4_t)x);
    const float32x4_t refined = vmulq_f32(estimate, vrecpsq_f32((float32x4_t)x, estimate));
    return F(refined) * (1.0f - 1.0f / 8192.0f);
}

// The narrowing moves keep the low byte of each lane whatever the rest.
FLOWER_BLOCK void StorePelBytes(u8* dst, V pels, int byte)
{
    const uint16x4_t words = vmovn_u32((uint32x4_t)(pels >> (8 * byte)));
    const uint8x8_t bytes = vmovn_u16(vcombine_u16(words, words));
    const u32 four = vget_lane_u32(vreinterpret_u32_u8(bytes), 0);
    std::memcpy(dst, &four, 4);
}

FLOWER_BLOCK bool All(PelMask m)
{
    return vminvq_u32((uint32x4_t)m) == 0xFFFFFFFFu;
}

FLOWER_BLOCK bool None(PelMask m)
{
    return vmaxvq_u32((uint32x4_t)m) == 0u;
}

FLOWER_BLOCK void PelTermsD4(D4 terms[2], const u32 pels[2])
{
    const uint16x8_t x = vmovl_u8(vld1_u8(reinterpret_cast<const u8*>(pels)));
    const uint16x8_t alphaOrOne =
        __builtin_shufflevector(x, vdupq_n_u16(1), 3, 3, 3, 8, 7, 7, 7, 8);
    const uint16x8_t products = vmulq_u16(x, alphaOrOne);
    for (int k = 0; k < 2; ++k) {
        const uint32x4_t lanes = vmovl_u16(k ? vget_high_u16(products) : vget_low_u16(products));
        const float64x2_t low = vcvtq_f64_u64(vmovl_u32(vget_low_u32(lanes)));
        const float64x2_t high = vcvtq_f64_u64(vmovl_high_u32(lanes));
        terms[k] = D4{low[0], low[1], high[0], high[1]};
    }
}

#endif // FLOWER_LANES_NEON

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels

#endif
