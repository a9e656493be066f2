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
struct tagMMXState {
    u32 words[16];
};

extern "C" {

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
FLOWER_API extern RollBlitDataSubPixRoutine RollBlastDataSubPix;
FLOWER_API extern RollBlitDataSubPixNoFilterRoutine RollBlastDataSubPixNoFilter;
FLOWER_API extern RollCopyDataRoutine RollCopyData;

FLOWER_API void ResetFunctions(void);
FLOWER_API int SelectCEEFunctions(void);
FLOWER_API int InitCPUSpecificFunctions(int flag);

// --- Blits, fades and cross-fades ---------------------------------------------

// --- Crawls --------------------------------------------------------------------


} // extern "C"

#endif
