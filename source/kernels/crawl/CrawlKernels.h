// Crawl row kernels. Every set returns exactly what kCrawlScalar returns, for any
// fraction, level and step; only speed differs. dst may be src, but may not overlap
// it partially. The sub-pixel members read count + 1 source pels, the others count.
#ifndef FLOWER_SOURCE_CRAWLKERNELS_H
#define FLOWER_SOURCE_CRAWLKERNELS_H

#include "kernels/KernelSets.h"

namespace Kernels {

struct CrawlSet {
    const char* name; // "scalar" or the target's
    // Colour copied, alpha faded by the running level (CEE_ScanlineCrawlGradientBlit).
    void (*gradient)(char* dst, const char* src, int count, int level, int levelStep);
    // The straight two-tap filter: the current pel weighs 256 - fraction.
    void (*subpix)(char* dst, const char* src, int count, int fraction);
    // The straight filter, then alpha faded by the running level.
    void (*subpixGradient)(char* dst, const char* src, int count, int fraction, int level,
                           int levelStep);
    // The shaped linear filter: the current pel weighs fraction.
    void (*shapedSubpix)(char* dst, const char* src, int count, int fraction);
    // The shaped filter with the current pel weighing 256 - fraction, then all four
    // channels faded by the running level.
    void (*shapedSubpixGradient)(char* dst, const char* src, int count, int fraction, int level,
                                 int levelStep);
};

extern const CrawlSet kCrawlScalar;
FLOWER_DECLARE_VECTOR_SETS(CrawlSet, kCrawl)

extern const SetTable<CrawlSet> kCrawlSets;

// True when a gradient row's levels after its first pel, and every partial sum
// level + k*levelStep for k < 16, fit 32-bit lanes: level at most 0x10000, |levelStep|
// at most 2^24, no level of the row below -2^30. Other rows take the scalar set.
bool GradientFitsLanes(int level, int levelStep, int count);

} // namespace Kernels

#endif
