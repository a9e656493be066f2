// The portable buffer row routines. They are internal: hosts and the rest of
// the library reach them through the routine table in PixelRoutinesLite.h.
#ifndef FLOWER_SOURCE_CEE_H
#define FLOWER_SOURCE_CEE_H

#include "PixelRoutinesLite.h"

extern "C" {

void CEE_PreOp(tagMMXState* state);
void CEE_PostOp(tagMMXState* state);
void CEE_CheckTimeSlice(tagMMXState* state);

int CEE_ScanlineBlit(char* dst, const char* src, int count);
int CEE_ScanlineBlitColour(char* dst, int count, int colour);
int CEE_ScanlineCrossFade(char* dst, const char* srcA, const char* srcB, int count, int weightA,
                          int weightB);
int CEE_ScanlineShapedCrossFade(char* dst, const char* srcA, const char* srcB, int count,
                                int weightA, int weightB);
int CEE_ScanlineComposit(char* dst, const char* bottom, const char* top, int count);
int CEE_ScanlineCompositWithOpacity(char* dst, const char* bottom, const char* top, int count,
                                    int bottomOpacity, int topOpacity);
int CEE_ScanlineFade(char* dst, const char* src, int count, int level);
int CEE_ScanlinePreMultAlpha(char* dst, const char* src, int count);

// Crawls.
int CEE_ScanlineCrawlGradientBlit(char* dst, const char* src, int count, int level, int levelStep);
int CEE_ScanlineSubpixCrawlBlit(char* dst, const char* src, int count, int fraction);
int CEE_ScanlineSubpixCrawlGradientBlit(char* dst, const char* src, int count, int fraction,
                                        int level, int levelStep);
int CEE_ScanlineShapedSubpixCrawlBlit(char* dst, const char* src, int count, int fraction);
int CEE_ScanlineShapedSubpixCrawlGradientBlit(char* dst, const char* src, int count, int fraction,
                                              int level, int levelStep);

// Rolls.
int CEE_RollCopyData(char* dst, const char* src, int width, int height, int dstPitch, int srcPitch,
                     int startLine, int lineStep, int period, int topFadeEnd, int topFadeWidth,
                     int bottomFadeStart, int bottomFadeWidth);
int CEE_RollBlitDataSubPix(char* dst, const char* src, int width, int height, int dstPitch,
                           int srcPitch, int startLine, int lineStep, int fraction, int period,
                           int filterStrength, int topFadeEnd, int topFadeWidth,
                           int bottomFadeStart, int bottomFadeWidth);
int CEE_RollBlitDataSubPixNoFilter(char* dst, const char* src, int width, int height,
                                   int dstPitch, int srcPitch, int startLine, int lineStep,
                                   int fraction, int period, int topFadeEnd, int topFadeWidth,
                                   int bottomFadeStart, int bottomFadeWidth);

} // extern "C"

#endif
