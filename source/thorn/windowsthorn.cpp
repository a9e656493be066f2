// Platform row routines: scanline slots served by the buffer routine table.
//
// The buffer routines take the bottom row before the top and the bottom
// opacity before the top's; this is the one place where the order swaps.
#include "stem.h"

#include "PixelRoutinesLite/BufferTable.h"

namespace {

char* Bytes(Pel* row)
{
    return reinterpret_cast<char*>(row);
}

const char* Bytes(const Pel* row)
{
    return reinterpret_cast<const char*>(row);
}

// One buffer row call between PreOp and PostOp, with the hooks' state on
// this frame. Slots still unselected are skipped, as their no-op would be.
template <class F, class... A> void BracketedCall(F slot, A... args)
{
    tagMMXState state{};
    BufferTable::CallSlot(PreOp, &state);
    BufferTable::CallSlot(slot, args...);
    BufferTable::CallSlot(PostOp, &state);
}

} // namespace

void PixelRoutines::ClearScanline(Pel* dst, int count)
{
    BracketedCall(ScanlineBlitColour, Bytes(dst), count, 0);
}

void PixelRoutines::SetScanline(Pel* dst, int count, Pel colour)
{
    BracketedCall(ScanlineBlitColour, Bytes(dst), count, static_cast<int>(colour));
}

void PixelRoutines::CopyScanline(Pel* dst, const Pel* src, int count)
{
    BracketedCall(ScanlineBlit, Bytes(dst), Bytes(src), count);
}

void PixelRoutines::FadeScanline(Pel* dst, int count, unsigned char level)
{
    BracketedCall(ScanlineFade, Bytes(dst), Bytes(static_cast<const Pel*>(dst)), count, int(level));
}

void PixelRoutines::FadeCopyScanline(Pel* dst, const Pel* src, int count, unsigned char level)
{
    BracketedCall(ScanlineFade, Bytes(dst), Bytes(src), count, int(level));
}

// Weights 256 - level and level sum to 256, not 255 as in Stem::BlendScanline.
void PixelRoutines::BlendScanline(Pel* dst, const Pel* src1, const Pel* src2, int count,
                                  unsigned char level)
{
    BracketedCall(ScanlineCrossFade, Bytes(dst), Bytes(src1), Bytes(src2), count, 256 - int(level),
                  int(level));
}

void PixelRoutines::CompositScanline(Pel* dst, const Pel* top, const Pel* bottom, int count)
{
    BracketedCall(ScanlineComposit, Bytes(dst), Bytes(bottom), Bytes(top), count);
}

void PixelRoutines::CompositWithTopOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                                   int count, unsigned char opacity)
{
    BracketedCall(ScanlineCompositWithOpacity, Bytes(dst), Bytes(bottom), Bytes(top), count, 255,
                  int(opacity));
}

void PixelRoutines::CompositWithBottomOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                                      int count, unsigned char opacity)
{
    BracketedCall(ScanlineCompositWithOpacity, Bytes(dst), Bytes(bottom), Bytes(top), count,
                  int(opacity), 255);
}

void PixelRoutines::CompositWithOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                                int count, unsigned char topOpacity,
                                                unsigned char bottomOpacity)
{
    BracketedCall(ScanlineCompositWithOpacity, Bytes(dst), Bytes(bottom), Bytes(top), count,
                  int(bottomOpacity), int(topOpacity));
}

bool ThornInit(void)
{
    InitCPUSpecificFunctions(1);
    SetClearScanline(PixelRoutines::ClearScanline);
    SetSetScanline(PixelRoutines::SetScanline);
    SetCopyScanline(PixelRoutines::CopyScanline);
    SetCompositScanline(PixelRoutines::CompositScanline);
    return true;
}
