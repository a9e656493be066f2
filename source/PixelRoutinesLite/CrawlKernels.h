// Sub-pixel crawl row kernels. Every set returns exactly what kCrawlScalar
// returns, for any fraction; only speed differs. dst may be src, but may not
// overlap it partially. src holds count + 1 pels.
#ifndef FLOWER_SOURCE_CRAWLKERNELS_H
#define FLOWER_SOURCE_CRAWLKERNELS_H

namespace Kernels {

struct CrawlSet {
    const char* name; // "scalar", "sse2"
    // The straight two-tap filter: the current pel weighs 256 - fraction.
    void (*subpix)(char* dst, const char* src, int count, int fraction);
    // The shaped linear filter: the current pel weighs fraction.
    void (*shapedSubpix)(char* dst, const char* src, int count, int fraction);
};

extern const CrawlSet kCrawlScalar, kCrawlSSE2;

// Scalar first, best last; returns how many.
int RunnableCrawlSets(const CrawlSet* out[2]);

// The one dispatch point: the best runnable set, chosen on first use.
const CrawlSet& ActiveCrawlSet();

} // namespace Kernels

#endif
