// Portable row routines: fills, copies, channel setters, fades and mixes, the
// defaults of their slots in the scanline table. Composites are in StemComposit.cpp.
#include "stem/StemRows.h"

#include <cstring>
#include <utility>

using namespace StemRows;

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
    for (int i = 0; i < count; ++i)
        dst[i] = colour;
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

void Stem::SetAlphaScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = u32(value) << 24;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0x00FFFFFFu) | v; });
}

void Stem::SetRedScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = u32(value) << 16;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0xFF00FFFFu) | v; });
}

void Stem::SetGreenScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = u32(value) << 8;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0xFFFF00FFu) | v; });
}

void Stem::SetBlueScanline(Pel* dst, int count, unsigned char value)
{
    const u32 v = value;
    ForEachPel(dst, count, [v](Pel p) { return (p & 0xFFFFFF00u) | v; });
}

void Stem::FadeScanline(Pel* dst, int count, unsigned char level)
{
    if (level == 255)
        return;
    const u32 l = level;
    ForEachPel(dst, count, [l](Pel p) { return FadePelAlpha(p, l); });
}

void Stem::FadeCopyScanline(Pel* dst, const Pel* src, int count, unsigned char level)
{
    const u32 l = level;
    MapRow(dst, src, count, [l](Pel p) { return FadePelAlpha(p, l); });
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
    ZipRows(dst, src1, src2, count, [](Pel p1, Pel p2) {
        const u32 a1 = PelAlpha(p1), a2 = PelAlpha(p2);
        return WeightedMean(p1, a1, p2, a2, SaturatedAlpha(a1 + a2));
    });
}

// No shortcut at the end levels: even level 0 goes through the truncating
// table and takes one off every non-zero channel of an opaque src1.
void Stem::BlendScanline(Pel* dst, const Pel* src1, const Pel* src2, int count, unsigned char level)
{
    const u32 l2 = level, l1 = 255u - l2;
    ZipRows(dst, src1, src2, count, [l1, l2](Pel p1, Pel p2) {
        const u32 w1 = DivideBy255(PelAlpha(p1) * l1), w2 = DivideBy255(PelAlpha(p2) * l2);
        return WeightedMean(p1, w1, p2, w2, SaturatedAlpha(w1 + w2));
    });
}

void Stem::MaxScanline(Pel* dst, const Pel* src1, const Pel* src2, int count)
{
    ZipRows(dst, src1, src2, count,
            [](Pel p1, Pel p2) { return PelAlpha(p1) < PelAlpha(p2) ? p2 : p1; });
}
