// Row routines over Pels, and the table of replaceable routine slots.
//
// A Pel is 0xAARRGGBB with straight alpha (inlinepelops.h). A row routine takes
// the destination row first, then the source rows from the top down, then the
// count of pels (signed), then 8-bit levels, colours or opacities, the top's
// first. Routines do nothing for a count below 1, except Clear, Copy and Move,
// which hand count * 4 bytes to memset, memcpy and memmove.
//
// Products of two 8-bit values come back through DivideBy255 (round to
// nearest); divisions by an alpha go through global_adt and truncate; alpha
// sums saturate at 255; colour channels keep their low 8 bits.
//
// Layer operations fetch every routine through its Get accessor at each call,
// so a host may install its own with the Set accessors. The slots are plain
// unsynchronised pointers: install routines before rendering.
#ifndef FLOWER_STEM_H
#define FLOWER_STEM_H

#include "inlinepelops.h"
#include "local_system.h"

// --- Slot routine types -------------------------------------------------------

typedef void (*ClearScanlineRoutine)(Pel* dst, int count);
typedef void (*SetScanlineRoutine)(Pel* dst, int count, Pel colour);
typedef void (*CopyScanlineRoutine)(Pel* dst, const Pel* src, int count);
typedef void (*MoveScanlineRoutine)(Pel* dst, const Pel* src, int count);
typedef void (*SetAlphaScanlineRoutine)(Pel* dst, int count, unsigned char value);
typedef void (*SetRedScanlineRoutine)(Pel* dst, int count, unsigned char value);
typedef void (*SetGreenScanlineRoutine)(Pel* dst, int count, unsigned char value);
typedef void (*SetBlueScanlineRoutine)(Pel* dst, int count, unsigned char value);
typedef void (*FadeScanlineRoutine)(Pel* dst, int count, unsigned char level);
typedef void (*FadeCopyScanlineRoutine)(Pel* dst, const Pel* src, int count, unsigned char level);
typedef void (*CompositScanlineRoutine)(Pel* dst, const Pel* top, const Pel* bottom, int count);
typedef void (*CompositOnOpaqueScanlineRoutine)(Pel* dst, const Pel* top, const Pel* bottom,
                                                int count);
typedef void (*CompositOnColourScanlineRoutine)(Pel* dst, const Pel* top, int count, Pel colour);
typedef void (*CompositColourOnScanlineRoutine)(Pel* dst, const Pel* bottom, int count, Pel colour);
typedef void (*CompositColourOnOpaqueScanlineRoutine)(Pel* dst, const Pel* bottom, int count,
                                                      Pel colour);
typedef void (*ReverseCompositScanlineRoutine)(Pel* dst, const Pel* composite, const Pel* bottom,
                                               int count);
typedef void (*AddScanlineRoutine)(Pel* dst, const Pel* src1, const Pel* src2, int count);
typedef void (*BlendScanlineRoutine)(Pel* dst, const Pel* src1, const Pel* src2, int count,
                                     unsigned char level);
typedef void (*CompositWithTopOpacityScanlineRoutine)(Pel* dst, const Pel* top, const Pel* bottom,
                                                      int count, unsigned char opacity);
typedef void (*CompositWithBottomOpacityScanlineRoutine)(Pel* dst, const Pel* top,
                                                         const Pel* bottom, int count,
                                                         unsigned char opacity);
typedef void (*CompositWithOpacityScanlineRoutine)(Pel* dst, const Pel* top, const Pel* bottom,
                                                   int count, unsigned char topOpacity,
                                                   unsigned char bottomOpacity);
typedef void (*CompositThreeScanlinesRoutine)(Pel* dst, const Pel* top, const Pel* middle,
                                              const Pel* bottom, int count);
typedef void (*CompositThreeScanlinesWithTopOpacityRoutine)(Pel* dst, const Pel* top,
                                                            const Pel* middle, const Pel* bottom,
                                                            int count, unsigned char opacity);
typedef void (*CompositThreeScanlinesWithMiddleOpacityRoutine)(Pel* dst, const Pel* top,
                                                               const Pel* middle, const Pel* bottom,
                                                               int count, unsigned char opacity);
typedef void (*CompositThreeScanlinesWithBottomOpacityRoutine)(Pel* dst, const Pel* top,
                                                               const Pel* middle, const Pel* bottom,
                                                               int count, unsigned char opacity);
typedef void (*CompositThreeScanlinesWithOpacityRoutine)(Pel* dst, const Pel* top,
                                                         const Pel* middle, const Pel* bottom,
                                                         int count, unsigned char topOpacity,
                                                         unsigned char middleOpacity,
                                                         unsigned char bottomOpacity);
typedef void (*SwapScanlineRoutine)(Pel* row1, Pel* row2, int count);
typedef void (*HorizontalFlipScanlineRoutine)(Pel* row, int count);
typedef void (*MaxScanlineRoutine)(Pel* dst, const Pel* src1, const Pel* src2, int count);

// --- Portable routines: the slots' defaults ----------------------------------
// C++ linkage: C hosts reach them through the Get accessors below.

#ifdef __cplusplus

namespace Stem {

// Every byte set to 0 (transparent black).
FLOWER_API void ClearScanline(Pel* dst, int count);
FLOWER_API void SetScanline(Pel* dst, int count, Pel colour);
// The rows must not overlap; Move allows them to.
FLOWER_API void CopyScanline(Pel* dst, const Pel* src, int count);
FLOWER_API void MoveScanline(Pel* dst, const Pel* src, int count);

// Replace one channel of every pel, leaving the other three.
FLOWER_API void SetAlphaScanline(Pel* dst, int count, unsigned char value);
FLOWER_API void SetRedScanline(Pel* dst, int count, unsigned char value);
FLOWER_API void SetGreenScanline(Pel* dst, int count, unsigned char value);
FLOWER_API void SetBlueScanline(Pel* dst, int count, unsigned char value);

// Alpha becomes DivideBy255(alpha * level); colour is kept. FadeCopy accepts
// dst == src; other overlaps run first pel to last.
FLOWER_API void FadeScanline(Pel* dst, int count, unsigned char level);
FLOWER_API void FadeCopyScanline(Pel* dst, const Pel* src, int count, unsigned char level);

// Exchanges the two rows pel for pel.
FLOWER_API void SwapScanline(Pel* row1, Pel* row2, int count);
// Reversed in place; does nothing below 2 pels.
FLOWER_API void HorizontalFlipScanline(Pel* row, int count);

// A = min(a1 + a2, 255), channels ((c1 a1 + c2 a2) * global_adt[A]) >> 16 stored
// modulo 256: alphas summing past 255 wrap the colour, by design.
FLOWER_API void AddScanline(Pel* dst, const Pel* src1, const Pel* src2, int count);
// Cross-fade from src1 (level 0) to src2 (level 255) through the truncating
// table at every level, the ends included.
FLOWER_API void BlendScanline(Pel* dst, const Pel* src1, const Pel* src2, int count,
                              unsigned char level);
// The pel of larger alpha; src1 on a tie.
FLOWER_API void MaxScanline(Pel* dst, const Pel* src1, const Pel* src2, int count);

// CompositPel(top[i], bottom[i]). dst may be either source.
FLOWER_API void CompositScanline(Pel* dst, const Pel* top, const Pel* bottom, int count);
// Top over a bottom taken as opaque; a transparent top passes the bottom as is.
FLOWER_API void CompositOnOpaqueScanline(Pel* dst, const Pel* top, const Pel* bottom, int count);
// CompositPel(top[i], colour).
FLOWER_API void CompositOnColourScanline(Pel* dst, const Pel* top, int count, Pel colour);
// CompositPel(colour, bottom[i]).
FLOWER_API void CompositColourOnScanline(Pel* dst, const Pel* bottom, int count, Pel colour);
// The colour over a row taken as opaque; a transparent colour passes the row.
FLOWER_API void CompositColourOnOpaqueScanline(Pel* dst, const Pel* bottom, int count, Pel colour);
// The top that, laid over bottom[i], gives composite[i]; 0x00FF00FF where the
// composite is less opaque than the bottom.
FLOWER_API void ReverseCompositScanline(Pel* dst, const Pel* composite, const Pel* bottom,
                                        int count);

// Fade the named rows by their opacities, then composite (three rows: top over
// middle first, that over the bottom).
FLOWER_API void CompositWithTopOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                               int count, unsigned char opacity);
FLOWER_API void CompositWithBottomOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                                  int count, unsigned char opacity);
FLOWER_API void CompositWithOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom, int count,
                                            unsigned char topOpacity, unsigned char bottomOpacity);
FLOWER_API void CompositThreeScanlines(Pel* dst, const Pel* top, const Pel* middle,
                                       const Pel* bottom, int count);
FLOWER_API void CompositThreeScanlinesWithTopOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                     const Pel* bottom, int count,
                                                     unsigned char opacity);
FLOWER_API void CompositThreeScanlinesWithMiddleOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                        const Pel* bottom, int count,
                                                        unsigned char opacity);
FLOWER_API void CompositThreeScanlinesWithBottomOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                        const Pel* bottom, int count,
                                                        unsigned char opacity);
FLOWER_API void CompositThreeScanlinesWithOpacity(Pel* dst, const Pel* top, const Pel* middle,
                                                  const Pel* bottom, int count,
                                                  unsigned char topOpacity,
                                                  unsigned char middleOpacity,
                                                  unsigned char bottomOpacity);

} // namespace Stem

// --- Platform routines over the buffer routine table -------------------------
// Same signatures as the Stem routines of the same name. Each makes one call
// of a buffer routine (PixelRoutinesLite.h), bracketed by PreOp and PostOp,
// swapping to the buffer order: bottom before top, bottom opacity first. Their
// results are the buffer routines', not the Stem ones'; a slot not yet selected
// leaves the row untouched. ThornInit installs the first four.

namespace PixelRoutines {

FLOWER_API void ClearScanline(Pel* dst, int count);
FLOWER_API void SetScanline(Pel* dst, int count, Pel colour);
FLOWER_API void CopyScanline(Pel* dst, const Pel* src, int count);
FLOWER_API void CompositScanline(Pel* dst, const Pel* top, const Pel* bottom, int count);
FLOWER_API void FadeScanline(Pel* dst, int count, unsigned char level);
FLOWER_API void FadeCopyScanline(Pel* dst, const Pel* src, int count, unsigned char level);
// Weights 256 - level and level: they sum to 256, unlike Stem::BlendScanline.
FLOWER_API void BlendScanline(Pel* dst, const Pel* src1, const Pel* src2, int count,
                              unsigned char level);
FLOWER_API void CompositWithTopOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                               int count, unsigned char opacity);
FLOWER_API void CompositWithBottomOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom,
                                                  int count, unsigned char opacity);
FLOWER_API void CompositWithOpacityScanline(Pel* dst, const Pel* top, const Pel* bottom, int count,
                                            unsigned char topOpacity, unsigned char bottomOpacity);

} // namespace PixelRoutines

#endif // __cplusplus

// --- Slot accessors -----------------------------------------------------------
// Get returns the routine in the slot, never null. Set stores `routine`; null
// restores the Stem default. Set returns the routine now in the slot. The
// three-row accessors have no trailing "Scanline". Unsynchronised: install
// routines before rendering.

#ifdef __cplusplus
extern "C" {
#endif

FLOWER_API ClearScanlineRoutine GetClearScanline(void);
FLOWER_API ClearScanlineRoutine SetClearScanline(ClearScanlineRoutine routine);
FLOWER_API SetScanlineRoutine GetSetScanline(void);
FLOWER_API SetScanlineRoutine SetSetScanline(SetScanlineRoutine routine);
FLOWER_API CopyScanlineRoutine GetCopyScanline(void);
FLOWER_API CopyScanlineRoutine SetCopyScanline(CopyScanlineRoutine routine);
FLOWER_API MoveScanlineRoutine GetMoveScanline(void);
FLOWER_API MoveScanlineRoutine SetMoveScanline(MoveScanlineRoutine routine);
FLOWER_API SetAlphaScanlineRoutine GetSetAlphaScanline(void);
FLOWER_API SetAlphaScanlineRoutine SetSetAlphaScanline(SetAlphaScanlineRoutine routine);
FLOWER_API SetRedScanlineRoutine GetSetRedScanline(void);
FLOWER_API SetRedScanlineRoutine SetSetRedScanline(SetRedScanlineRoutine routine);
FLOWER_API SetGreenScanlineRoutine GetSetGreenScanline(void);
FLOWER_API SetGreenScanlineRoutine SetSetGreenScanline(SetGreenScanlineRoutine routine);
FLOWER_API SetBlueScanlineRoutine GetSetBlueScanline(void);
FLOWER_API SetBlueScanlineRoutine SetSetBlueScanline(SetBlueScanlineRoutine routine);
FLOWER_API FadeScanlineRoutine GetFadeScanline(void);
FLOWER_API FadeScanlineRoutine SetFadeScanline(FadeScanlineRoutine routine);
FLOWER_API FadeCopyScanlineRoutine GetFadeCopyScanline(void);
FLOWER_API FadeCopyScanlineRoutine SetFadeCopyScanline(FadeCopyScanlineRoutine routine);
FLOWER_API CompositScanlineRoutine GetCompositScanline(void);
FLOWER_API CompositScanlineRoutine SetCompositScanline(CompositScanlineRoutine routine);
FLOWER_API CompositOnOpaqueScanlineRoutine GetCompositOnOpaqueScanline(void);
FLOWER_API CompositOnOpaqueScanlineRoutine
SetCompositOnOpaqueScanline(CompositOnOpaqueScanlineRoutine routine);
FLOWER_API CompositOnColourScanlineRoutine GetCompositOnColourScanline(void);
FLOWER_API CompositOnColourScanlineRoutine
SetCompositOnColourScanline(CompositOnColourScanlineRoutine routine);
FLOWER_API CompositColourOnScanlineRoutine GetCompositColourOnScanline(void);
FLOWER_API CompositColourOnScanlineRoutine
SetCompositColourOnScanline(CompositColourOnScanlineRoutine routine);
FLOWER_API CompositColourOnOpaqueScanlineRoutine GetCompositColourOnOpaqueScanline(void);
FLOWER_API CompositColourOnOpaqueScanlineRoutine
SetCompositColourOnOpaqueScanline(CompositColourOnOpaqueScanlineRoutine routine);
FLOWER_API ReverseCompositScanlineRoutine GetReverseCompositScanline(void);
FLOWER_API ReverseCompositScanlineRoutine
SetReverseCompositScanline(ReverseCompositScanlineRoutine routine);
FLOWER_API AddScanlineRoutine GetAddScanline(void);
FLOWER_API AddScanlineRoutine SetAddScanline(AddScanlineRoutine routine);
FLOWER_API BlendScanlineRoutine GetBlendScanline(void);
FLOWER_API BlendScanlineRoutine SetBlendScanline(BlendScanlineRoutine routine);
FLOWER_API CompositWithTopOpacityScanlineRoutine GetCompositWithTopOpacityScanline(void);
FLOWER_API CompositWithTopOpacityScanlineRoutine
SetCompositWithTopOpacityScanline(CompositWithTopOpacityScanlineRoutine routine);
FLOWER_API CompositWithBottomOpacityScanlineRoutine GetCompositWithBottomOpacityScanline(void);
FLOWER_API CompositWithBottomOpacityScanlineRoutine
SetCompositWithBottomOpacityScanline(CompositWithBottomOpacityScanlineRoutine routine);
FLOWER_API CompositWithOpacityScanlineRoutine GetCompositWithOpacityScanline(void);
FLOWER_API CompositWithOpacityScanlineRoutine
SetCompositWithOpacityScanline(CompositWithOpacityScanlineRoutine routine);
FLOWER_API CompositThreeScanlinesRoutine GetCompositThreeScanlines(void);
FLOWER_API CompositThreeScanlinesRoutine
SetCompositThreeScanlines(CompositThreeScanlinesRoutine routine);
FLOWER_API CompositThreeScanlinesWithTopOpacityRoutine
GetCompositThreeScanlinesWithTopOpacity(void);
FLOWER_API CompositThreeScanlinesWithTopOpacityRoutine
SetCompositThreeScanlinesWithTopOpacity(CompositThreeScanlinesWithTopOpacityRoutine routine);
FLOWER_API CompositThreeScanlinesWithMiddleOpacityRoutine
GetCompositThreeScanlinesWithMiddleOpacity(void);
FLOWER_API CompositThreeScanlinesWithMiddleOpacityRoutine
SetCompositThreeScanlinesWithMiddleOpacity(CompositThreeScanlinesWithMiddleOpacityRoutine routine);
FLOWER_API CompositThreeScanlinesWithBottomOpacityRoutine
GetCompositThreeScanlinesWithBottomOpacity(void);
FLOWER_API CompositThreeScanlinesWithBottomOpacityRoutine
SetCompositThreeScanlinesWithBottomOpacity(CompositThreeScanlinesWithBottomOpacityRoutine routine);
FLOWER_API CompositThreeScanlinesWithOpacityRoutine GetCompositThreeScanlinesWithOpacity(void);
FLOWER_API CompositThreeScanlinesWithOpacityRoutine
SetCompositThreeScanlinesWithOpacity(CompositThreeScanlinesWithOpacityRoutine routine);
FLOWER_API SwapScanlineRoutine GetSwapScanline(void);
FLOWER_API SwapScanlineRoutine SetSwapScanline(SwapScanlineRoutine routine);
FLOWER_API HorizontalFlipScanlineRoutine GetHorizontalFlipScanline(void);
FLOWER_API HorizontalFlipScanlineRoutine
SetHorizontalFlipScanline(HorizontalFlipScanlineRoutine routine);
FLOWER_API MaxScanlineRoutine GetMaxScanline(void);
FLOWER_API MaxScanlineRoutine SetMaxScanline(MaxScanlineRoutine routine);

// Points the buffer routine table at the portable routines, then installs the
// platform Clear, Set, Copy and Composit routines. Returns true. FlowerInit
// (seed.h) runs it once per process.
FLOWER_API bool ThornInit(void);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
