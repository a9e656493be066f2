// Roll kernels on whole vectors; the tail of every row is the scalar set's.
//
// With weights in 0..256 summing to at most 256, s <= 65280 and each colour sum
// <= 255*s: below 2^24, so floats hold every product and sum exactly whatever the
// order, and the rounded quotient truncates to the integer one (k + r/s with r >= 1
// lies 1/s or more below k + 1, beyond the rounding error (k + 1)*2^-24 < 1/s).
// Other weights wrap in 32 bits and take the scalar set.
#include "kernels/Lanes.h"
#include "kernels/roll/RollKernels.h"

namespace Kernels {
namespace FLOWER_KERNEL_TARGET {
namespace {

template <int kShift> FLOWER_BLOCK F ChannelF(V pels)
{
    return ToFloat((pels >> kShift) & 0xFFu);
}

template <int N> bool WeightsFitFloats(const int weights[N])
{
    int total = 0;
    for (int k = 0; k < N; ++k) {
        if (weights[k] < 0 || weights[k] > 256)
            return false;
        total += weights[k];
    }
    return total <= 256;
}

template <int N, int kShift> FLOWER_BLOCK V Quotient(const V (&p)[N], const F (&e)[N], F s)
{
    F num = ChannelF<kShift>(p[0]) * e[0];
    for (int k = 1; k < N; ++k)
        num = num + ChannelF<kShift>(p[k]) * e[k];
    return Truncate(num / s);
}

// Pels x.. of the N-line mix; A*w <= 65280 comes whole from a 16-bit multiply.
template <int N> FLOWER_BLOCK V Mix(const char* const lines[N], const V (&w)[N], int x)
{
    V p[N];
    F e[N];
    V s{};
    for (int k = 0; k < N; ++k) {
        p[k] = Load(lines[k], x);
        const V ek = Mul16(Alphas(p[k]), w[k]);
        e[k] = ToFloat(ek);
        s += ek;
    }
    // Lanes with s = 0 divide by 1 and are cleared below.
    const PelMask dead = Eq32(s, V{});
    const F fs = ToFloat(AddOneWhere(dead, s));
    const V b = Quotient<N, 0>(p, e, fs), g = Quotient<N, 8>(p, e, fs);
    const V r = Quotient<N, 16>(p, e, fs);
    return Select(dead, V{}, b | g << 8 | r << 16 | (s >> 8) << 24);
}

template <int N> void MixRow(char* dst, const char* const lines[N], const int weights[N], int width)
{
    V w[N];
    for (int k = 0; k < N; ++k)
        w[k] = Splat32(u32(weights[k]));
    int x = 0;
    if (WeightsFitFloats<N>(weights))
        x = ForBlocks(width, [&](int i) { Store(dst, i, Mix<N>(lines, w, i)); });
    const char* rest[N];
    for (int k = 0; k < N; ++k)
        rest[k] = At(lines[k], x);
    (N == 2 ? kRollScalar.mix2 : kRollScalar.mix3)(At(dst, x), rest, weights, width - x);
}

// A*scale wraps in 32 bits as the scalar product does.
void CopyRowScaledAlpha(char* dst, const char* src, int width, u32 scale)
{
    const int x = ForBlocks(width, [=](int i) {
        const V p = Load(src, i);
        Store(dst, i, WithAlphas(p, (Alphas(p) * scale) >> 8));
    });
    kRollScalar.copyScaledAlpha(At(dst, x), At(src, x), width - x, scale);
}

} // namespace

const RollSet kRoll = {FLOWER_STRING(FLOWER_KERNEL_TARGET), CopyRowScaledAlpha, MixRow<2>,
                       MixRow<3>};

} // namespace FLOWER_KERNEL_TARGET
} // namespace Kernels
