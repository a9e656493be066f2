// Operations on raw pixel buffers (a first-pixel address and a signed row pitch
// in bytes per buffer), and the table of replaceable row routines behind them.
// Buffer operations neither clip nor notify: the caller keeps the rectangle
// inside its buffers and tells any layer it wrote (UpdateLayer).
#ifndef FLOWER_PIXELROUTINESLITE_H
#define FLOWER_PIXELROUTINESLITE_H

#include "local_system.h"

// Scratch record handed to the PreOp / CheckTimeSlice / PostOp hooks. The
// portable routine set uses none of it; a processor-specific set may keep
// saved state or time-slice counters here.
typedef struct tagMMXState {
    u32 words[16];
} tagMMXState;

#ifdef __cplusplus
extern "C" {
#endif

typedef int (*ScanlineBlitRoutine)(char* dst, const char* src, int count);
typedef int (*ScanlineBlitColourRoutine)(char* dst, int count, int colour);
typedef int (*ScanlineCrossFadeRoutine)(char* dst, const char* srcA, const char* srcB, int count,
                                        int weightA, int weightB);
typedef int (*ScanlineCompositRoutine)(char* dst, const char* bottom, const char* top, int count);
typedef int (*ScanlineCompositWithOpacityRoutine)(char* dst, const char* bottom, const char* top,
                                                  int count, int bottomOpacity, int topOpacity);
typedef int (*ScanlineCrawlGradientBlitRoutine)(char* dst, const char* src, int count, int level,
                                                int levelStep);
typedef int (*ScanlineFadeRoutine)(char* dst, const char* src, int count, int level);
typedef int (*ScanlinePreMultAlphaRoutine)(char* dst, const char* src, int count);
typedef int (*ScanlineSubpixCrawlBlitRoutine)(char* dst, const char* src, int count, int fraction);
typedef int (*ScanlineSubpixCrawlGradientBlitRoutine)(char* dst, const char* src, int count,
                                                      int fraction, int level, int levelStep);
typedef void (*BufferOpHook)(tagMMXState* state);
typedef int (*RollBlitDataSubPixRoutine)(char* dst, const char* src, int width, int height,
                                         int dstPitch, int srcPitch, int startLine, int lineStep,
                                         int fraction, int period, int filterStrength,
                                         int topFadeEnd, int topFadeWidth, int bottomFadeStart,
                                         int bottomFadeWidth);
typedef int (*RollBlitDataSubPixNoFilterRoutine)(char* dst, const char* src, int width, int height,
                                                 int dstPitch, int srcPitch, int startLine,
                                                 int lineStep, int fraction, int period,
                                                 int topFadeEnd, int topFadeWidth,
                                                 int bottomFadeStart, int bottomFadeWidth);
typedef int (*RollCopyDataRoutine)(char* dst, const char* src, int width, int height, int dstPitch,
                                   int srcPitch, int startLine, int lineStep, int period,
                                   int topFadeEnd, int topFadeWidth, int bottomFadeStart,
                                   int bottomFadeWidth);

// Load-time value of every slot: takes nothing, does nothing. Callers inside
// the library recognise it and skip the call, so an unselected table leaves
// rows untouched.
FLOWER_API void UninitializedFunctionPointer(void);

// The routine table. Each slot holds UninitializedFunctionPointer until
// SelectCEEFunctions or InitCPUSpecificFunctions fills it.
FLOWER_API extern ScanlineBlitRoutine ScanlineBlit;
FLOWER_API extern ScanlineBlitColourRoutine ScanlineBlitColour;
FLOWER_API extern ScanlineCrossFadeRoutine ScanlineCrossFade;
FLOWER_API extern ScanlineCompositRoutine ScanlineComposit;
FLOWER_API extern ScanlineCompositWithOpacityRoutine ScanlineCompositWithOpacity;
FLOWER_API extern ScanlineCrawlGradientBlitRoutine ScanlineCrawlGradientBlit;
FLOWER_API extern ScanlineFadeRoutine ScanlineFade;
FLOWER_API extern ScanlinePreMultAlphaRoutine ScanlinePreMultAlpha;
FLOWER_API extern ScanlineSubpixCrawlBlitRoutine ScanlineSubpixCrawlBlit;
FLOWER_API extern ScanlineSubpixCrawlGradientBlitRoutine ScanlineSubpixCrawlGradientBlit;
FLOWER_API extern BufferOpHook PreOp;
FLOWER_API extern BufferOpHook PostOp;
FLOWER_API extern BufferOpHook CheckTimeSlice;
FLOWER_API extern ScanlineCrossFadeRoutine ScanlineShapedCrossFade;
FLOWER_API extern ScanlineCrawlGradientBlitRoutine ScanlineShapedCrawlGradientBlit;
FLOWER_API extern ScanlineSubpixCrawlBlitRoutine ScanlineShapedSubpixCrawlBlit;
FLOWER_API extern ScanlineSubpixCrawlGradientBlitRoutine ScanlineShapedSubpixCrawlGradientBlit;

// Rolls build a destination rectangle from the lines of a source strip that
// repeats every `period` lines (period >= 1). Row i takes source line
// startLine + i * lineStep (startLine reduced into 0..period-1 first); rows
// above topFadeEnd fade in over the topFadeWidth rows ending there, rows below
// bottomFadeStart fade out over bottomFadeWidth rows, and alpha follows the
// eased scale 256 - (256 - F)^2 / 256 of the fade factor F (0..256). A zone
// width of 0 or less has no ramp: the whole zone is transparent. Each roll
// calls PreOp and PostOp and returns 1. A period below 1 is a caller error
// that would loop for ever: the roll returns 1 at once and touches nothing.
// Lines must stay inside the source. A sub-line roll whose negative lineStep
// would make some row read before `src` (a line below 0 that the period does
// not bring back to 0) is refused whole: it returns 1 at once and touches nothing.
//
// Sub-line roll at `fraction`/256 of a line (0..255) through a three-line
// filter of blur `filterStrength` (0..128): weights (d, 256 - f - 2d, f + d)
// for the lines above, at and below the current one, d = (128 - f) k / 128,
// or past half a line (256 - f + d, f - 2d, d) about the next line, d = (f -
// 128) k / 128. Each colour is the alpha-weighted mean of the three lines and
// alpha the weighted sum >> 8. Where fades apply (topFadeEnd > 0 or
// bottomFadeStart < height) each row scales the weights left by the previous
// row, so fades accumulate down the rectangle. Zone ends count as inside.
FLOWER_API extern RollBlitDataSubPixRoutine RollBlastDataSubPix;

// As RollBlastDataSubPix with plain weights (256 - fraction, fraction) for the
// current and the next line. Here `srcPitch` is four times the byte pitch: a
// line starts (line * srcPitch) / 4 bytes after `src`.
FLOWER_API extern RollBlitDataSubPixNoFilterRoutine RollBlastDataSubPixNoFilter;

// Whole-line roll: rows are copied, and a faded row gets alpha (A * Q) / 256
// (rows whose fade factor is 241 or more are copied as they are). Zone ends
// count as outside. Returns 0 with nothing touched if dst is null.
FLOWER_API extern RollCopyDataRoutine RollCopyData;

// Puts UninitializedFunctionPointer into every slot but
// ScanlineShapedCrawlGradientBlit, which nothing ever selects.
FLOWER_API void ResetFunctions(void);

// Puts the portable routine of each slot (but ScanlineShapedCrawlGradientBlit)
// into it. Returns 1. Not synchronised: select before any buffer operation.
FLOWER_API int SelectCEEFunctions(void);

// The same as SelectCEEFunctions; `flag` is ignored. Returns 1.
FLOWER_API int InitCPUSpecificFunctions(int flag);

// --- Blits, fades and cross-fades ---------------------------------------------

// Each operation calls PreOp, then the routine in its slot once per row (top
// row first, every buffer stepped by its own pitch, so a negative pitch walks
// upwards), then PostOp, and returns 1. Composit, CompositWithOpacity,
// CrossFade and ShapedCrossFade also call CheckTimeSlice after every row. A
// width or height below 1 runs no row; an unselected slot leaves rows as they
// are. A destination may be its own source with the same pitch. Pels are
// 0xAARRGGBB with straight alpha; nothing is checked or clipped.

// Copies width x height pels.
FLOWER_API int Blit(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height);

// Fills the rectangle with `colour` (a Pel).
FLOWER_API int BlitColour(char* dst, int dstPitch, int width, int height, int colour);

// dst = top over bottom, per pel as CompositPel (inlinepelops.h).
FLOWER_API int Composit(char* dst, int dstPitch, const char* bottom, int bottomPitch,
                        const char* top, int topPitch, int width, int height);

// Top over bottom after scaling each alpha by its opacity, (A * opacity) / 255
// truncating (opacities 0..255). A transparent scaled bottom or an opaque
// scaled top yields the top with its scaled alpha. Opacities of 255 hand each
// row to the routine in the ScanlineComposit slot.
FLOWER_API int CompositWithOpacity(char* dst, int dstPitch, const char* bottom, int bottomPitch,
                                   const char* top, int topPitch, int width, int height,
                                   int bottomOpacity, int topOpacity);

// Alpha-weighted mix of straight-colour pels (weights 0..256 summing to 256):
// with ea = Aa.weightA, eb = Ab.weightB, colour (Cb.eb + Ca.ea) / (ea + eb),
// alpha (ea + eb) >> 8, truncating; 0 where ea + eb is 0. Equal pels pass.
FLOWER_API int CrossFade(char* dst, int dstPitch, const char* srcA, int srcAPitch, const char* srcB,
                         int srcBPitch, int width, int height, int weightA, int weightB);

// Linear mix of all four channels, (Xb.weightB + Xa.weightA) / 256 truncating,
// for pels whose colour is already weighted by their shape. Equal pels pass.
FLOWER_API int ShapedCrossFade(char* dst, int dstPitch, const char* srcA, int srcAPitch,
                               const char* srcB, int srcBPitch, int width, int height, int weightA,
                               int weightB);

// Colour copied, alpha (A * level) / 256 truncating toward zero (level 0..256;
// 256 keeps alpha).
FLOWER_API int Fade(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height,
                    int level);

// Colour channels become DivideBy255(C * A); alpha is kept.
FLOWER_API int PreMultAlpha(char* dst, int dstPitch, const char* src, int srcPitch, int width,
                            int height);

// --- Crawls --------------------------------------------------------------------

// A crawl copies the visible part of a source strip into the destination at a
// horizontal scroll position: transparent black left of leftEdge - leftFadeWidth,
// a fade-in ending at leftEdge, the strip unchanged up to rightEdge, a fade-out of
// rightFadeWidth columns, transparent black after it. Column x of each row comes
// from source column p + x, where p is position reduced into 0..period-1; the
// strip must hold p + width pixels per row (one more for the sub-pixel forms).
// When leftEdge <= 0 and rightEdge >= width - 1 every row goes whole through the
// plain copy (or filter) and the fades are ignored. Edges that cross (leftEdge >
// rightEdge) both move to leftEdge + (leftEdge - rightEdge) / 2. Fade widths below
// 0 count as 0. Gradient levels run in 1/256 steps of an 8-bit factor, 0 to
// 0xFF00 across a fade; a fade-in that starts left of the picture starts 256
// times too high, so its first column's alpha wraps, and a fade-out that starts
// left of the picture starts below 0: both are kept as hosts know them.
// Calls PreOp and PostOp once each and never CheckTimeSlice; a span entirely
// outside the picture clears the rectangle through BlitColour (which brackets
// itself with its own PreOp/PostOp). Always returns 1.
// Left to the caller, unchecked beyond what keeps memory safe:
// - period must be at least 1; a smaller period writes nothing.
// - a null src with a span inside the picture writes nothing.
// - fraction is meant as 0..256 (the weight of the next source pixel); other
//   values follow the same formulas in wrapping 32-bit weights.
// - a fade width of 0 on a side whose fade zone lies inside the picture gives
//   that side a hard edge (the gradient is skipped), never a division by zero.
FLOWER_API int CrawlBlit(char* dst, int dstPitch, const char* src, int srcPitch, int width,
                         int height, int position, int period, int leftEdge, int leftFadeWidth,
                         int rightEdge, int rightFadeWidth);

// CrawlBlit at position + fraction / 256, each pixel an alpha-weighted mix of
// source pixels x (weight 256 - fraction) and x + 1 (weight fraction).
FLOWER_API int SubpixCrawlBlit(char* dst, int dstPitch, const char* src, int srcPitch, int width,
                               int height, int position, int fraction, int period, int leftEdge,
                               int leftFadeWidth, int rightEdge, int rightFadeWidth);

// SubpixCrawlBlit for shaped pixels (colour already weighted by alpha): all four
// channels are mixed linearly and faded alike. In the fully visible span the
// current pixel takes weight fraction and the next 256 - fraction, the reverse of
// the fades and of SubpixCrawlBlit; hosts rely on that.
FLOWER_API int ShapedSubpixCrawlBlit(char* dst, int dstPitch, const char* src, int srcPitch,
                                     int width, int height, int position, int fraction, int period,
                                     int leftEdge, int leftFadeWidth, int rightEdge,
                                     int rightFadeWidth);

// --- The portable routine set ------------------------------------------------
// What SelectCEEFunctions puts in the table. Hosts may call them directly, or
// put them back into the table after installing routines of their own.

FLOWER_API void CEE_PreOp(tagMMXState* state);
FLOWER_API void CEE_PostOp(tagMMXState* state);
FLOWER_API void CEE_CheckTimeSlice(tagMMXState* state);

FLOWER_API int CEE_ScanlineBlit(char* dst, const char* src, int count);
FLOWER_API int CEE_ScanlineBlitColour(char* dst, int count, int colour);
FLOWER_API int CEE_ScanlineCrossFade(char* dst, const char* srcA, const char* srcB, int count,
                                     int weightA, int weightB);
FLOWER_API int CEE_ScanlineShapedCrossFade(char* dst, const char* srcA, const char* srcB, int count,
                                           int weightA, int weightB);
FLOWER_API int CEE_ScanlineComposit(char* dst, const char* bottom, const char* top, int count);
FLOWER_API int CEE_ScanlineCompositWithOpacity(char* dst, const char* bottom, const char* top,
                                               int count, int bottomOpacity, int topOpacity);
FLOWER_API int CEE_ScanlineFade(char* dst, const char* src, int count, int level);
FLOWER_API int CEE_ScanlinePreMultAlpha(char* dst, const char* src, int count);

// Crawls.
FLOWER_API int CEE_ScanlineCrawlGradientBlit(char* dst, const char* src, int count, int level,
                                             int levelStep);
FLOWER_API int CEE_ScanlineSubpixCrawlBlit(char* dst, const char* src, int count, int fraction);
FLOWER_API int CEE_ScanlineSubpixCrawlGradientBlit(char* dst, const char* src, int count,
                                                   int fraction, int level, int levelStep);
FLOWER_API int CEE_ScanlineShapedSubpixCrawlBlit(char* dst, const char* src, int count,
                                                 int fraction);
FLOWER_API int CEE_ScanlineShapedSubpixCrawlGradientBlit(char* dst, const char* src, int count,
                                                         int fraction, int level, int levelStep);

// Rolls.
FLOWER_API int CEE_RollCopyData(char* dst, const char* src, int width, int height, int dstPitch,
                                int srcPitch, int startLine, int lineStep, int period,
                                int topFadeEnd, int topFadeWidth, int bottomFadeStart,
                                int bottomFadeWidth);
FLOWER_API int CEE_RollBlitDataSubPix(char* dst, const char* src, int width, int height,
                                      int dstPitch, int srcPitch, int startLine, int lineStep,
                                      int fraction, int period, int filterStrength, int topFadeEnd,
                                      int topFadeWidth, int bottomFadeStart, int bottomFadeWidth);
FLOWER_API int CEE_RollBlitDataSubPixNoFilter(char* dst, const char* src, int width, int height,
                                              int dstPitch, int srcPitch, int startLine,
                                              int lineStep, int fraction, int period,
                                              int topFadeEnd, int topFadeWidth, int bottomFadeStart,
                                              int bottomFadeWidth);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
