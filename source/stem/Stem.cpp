// Portable row routines: fills, copies, channel setters, fades and mixes, the
// defaults of their slots in the scanline table. Composites are in StemComposit.cpp;
// the arithmetic of fades, mixes, channels and fills is the MixKernels family.
#include "stem.h"
#include "kernels/mix/MixKernels.h"

#include <cstring>
#include <utility>

namespace {

// The kernels take byte rows; a Pel row is one.
char* Bytes(Pel* row)
{
    return reinterpret_cast<char*>(row);
}

const char* Bytes(const Pel* row)
{
    return reinterpret_cast<const char*>(row);
}

} // namespace

// =============================================================================
// Fill, copy, channels, fades
// =============================================================================
// Clear, Copy and Move are the C library's; a count below 1 writes nothing.

void Stem::ClearScanline(Pel* dst, int count)
{
    if (count > 0)
        std::memset(dst, 0, static_cast<std::size_t>(count) * sizeof(Pel));
}

void Stem::SetScanline(Pel* dst, int count, Pel colour)
{
    Kernels::Active(Kernels::kMixSets).fill(Bytes(dst), count, colour);
}

void Stem::CopyScanline(Pel* dst, const Pel* src, int count)
{
    if (count > 0)
        std::memcpy(dst, src, static_cast<std::size_t>(count) * sizeof(Pel));
}

void Stem::MoveScanline(Pel* dst, const Pel* src, int count)
{
    if (count > 0)
        std::memmove(dst, src, static_cast<std::size_t>(count) * sizeof(Pel));
}

// The channel setters keep three channels and overwrite the fourth.
void Stem::SetAlphaScanline(Pel* dst, int count, unsigned char value)
{
    Kernels::Active(Kernels::kMixSets).setBits(Bytes(dst), count, 0x00FFFFFFu, u32(value) << 24);
}

void Stem::SetRedScanline(Pel* dst, int count, unsigned char value)
{
    Kernels::Active(Kernels::kMixSets).setBits(Bytes(dst), count, 0xFF00FFFFu, u32(value) << 16);
}

void Stem::SetGreenScanline(Pel* dst, int count, unsigned char value)
{
    Kernels::Active(Kernels::kMixSets).setBits(Bytes(dst), count, 0xFFFF00FFu, u32(value) << 8);
}

void Stem::SetBlueScanline(Pel* dst, int count, unsigned char value)
{
    Kernels::Active(Kernels::kMixSets).setBits(Bytes(dst), count, 0xFFFFFF00u, u32(value));
}

void Stem::FadeScanline(Pel* dst, int count, unsigned char level)
{
    if (level != 255)
        Kernels::Active(Kernels::kMixSets).fade(Bytes(dst), Bytes(dst), count, level);
}

// Rows that overlap otherwise than exactly are faded first pel to last.
void Stem::FadeCopyScanline(Pel* dst, const Pel* src, int count, unsigned char level)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, src, nullptr)
        .fade(Bytes(dst), Bytes(src), count, level);
}

// =============================================================================
// Swap, mirror, mix
// =============================================================================

void Stem::SwapScanline(Pel* row1, Pel* row2, int count)
{
    for (int i = 0; i < count; ++i)
        std::swap(row1[i], row2[i]);
}

void Stem::HorizontalFlipScanline(Pel* row, int count)
{
    for (int i = 0, j = count - 1; i < j; ++i, --j)
        std::swap(row[i], row[j]);
}

// The quotient exceeds 255 once the alphas sum past 255; it is stored modulo
// 256, never clamped.
void Stem::AddScanline(Pel* dst, const Pel* src1, const Pel* src2, int count)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, src1, src2)
        .add(Bytes(dst), Bytes(src1), Bytes(src2), count);
}

// No shortcut at the end levels: even level 0 goes through the truncating
// table and takes one off every non-zero channel of an opaque src1.
void Stem::BlendScanline(Pel* dst, const Pel* src1, const Pel* src2, int count, unsigned char level)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, src1, src2)
        .blend(Bytes(dst), Bytes(src1), Bytes(src2), count, level);
}

void Stem::MaxScanline(Pel* dst, const Pel* src1, const Pel* src2, int count)
{
    Kernels::ActiveFor(Kernels::kMixSets, dst, count, src1, src2)
        .max(Bytes(dst), Bytes(src1), Bytes(src2), count);
}
