// The crawl row routines of the buffer table. The arithmetic is the crawl kernel family's,
// whose active set runs beneath every entry.
#include "PixelRoutinesLite.h"
#include "kernels/crawl/CrawlKernels.h"

namespace {

bool RowIsEmpty(const char* dst, int count)
{
    return dst == nullptr || count < 1;
}

const Kernels::CrawlSet& Crawl()
{
    return Kernels::Active(Kernels::kCrawlSets);
}

} // namespace

extern "C" {

int CEE_ScanlineCrawlGradientBlit(char* dst, const char* src, int count, int level, int levelStep)
{
    if (RowIsEmpty(dst, count))
        return 0;
    Crawl().gradient(dst, src, count, level, levelStep);
    return 1;
}

int CEE_ScanlineSubpixCrawlBlit(char* dst, const char* src, int count, int fraction)
{
    if (RowIsEmpty(dst, count))
        return 0;
    Crawl().subpix(dst, src, count, fraction);
    return 1;
}

int CEE_ScanlineSubpixCrawlGradientBlit(char* dst, const char* src, int count, int fraction,
                                        int level, int levelStep)
{
    if (RowIsEmpty(dst, count))
        return 0;
    Crawl().subpixGradient(dst, src, count, fraction, level, levelStep);
    return 1;
}

int CEE_ScanlineShapedSubpixCrawlBlit(char* dst, const char* src, int count, int fraction)
{
    if (RowIsEmpty(dst, count))
        return 0;
    Crawl().shapedSubpix(dst, src, count, fraction);
    return 1;
}

int CEE_ScanlineShapedSubpixCrawlGradientBlit(char* dst, const char* src, int count, int fraction,
                                              int level, int levelStep)
{
    if (RowIsEmpty(dst, count))
        return 0;
    Crawl().shapedSubpixGradient(dst, src, count, fraction, level, levelStep);
    return 1;
}

} // extern "C"
