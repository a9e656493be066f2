// Crawl row routines and the crawl operations (work in progress).
#include "PixelRoutinesLite/CEE.h"

extern "C" {

int CEE_ScanlineCrawlGradientBlit(char*, const char*, int, int, int) { return 1; }
int CEE_ScanlineSubpixCrawlBlit(char*, const char*, int, int) { return 1; }
int CEE_ScanlineSubpixCrawlGradientBlit(char*, const char*, int, int, int, int) { return 1; }
int CEE_ScanlineShapedSubpixCrawlBlit(char*, const char*, int, int) { return 1; }
int CEE_ScanlineShapedSubpixCrawlGradientBlit(char*, const char*, int, int, int, int) { return 1; }

} // extern "C"
