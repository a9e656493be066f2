// The row kernel families and their members. Adding a member is one line:
// its label and how it takes a set and the rows.
#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/CrawlKernels.h"
#include "Registry.h"
#include "ScaleLists.h"
#include "florist/ScaleKernels.h"

namespace speed {

namespace {

// Fractions and levels away from the values a kernel may shortcut.
constexpr int kFraction = 77;

void RegisterComposit()
{
    using S = Kernels::CompositSet;
    RegisterFamily<S>(
        "composit", Kernels::RunnableCompositSets,
        {
            {"composit",
             [](const S& s, const Rows& r) { s.composit(r.dst, r.picture, r.a, r.count); },
             kAlsoWarm},
        });
}

void RegisterCrawl()
{
    using S = Kernels::CrawlSet;
    RegisterFamily<S>(
        "crawl", Kernels::RunnableCrawlSets,
        {
            {"subpix", [](const S& s, const Rows& r) { s.subpix(r.dst, r.a, r.count, kFraction); },
             kAlsoWarm},
            {"shapedSubpix",
             [](const S& s, const Rows& r) { s.shapedSubpix(r.dst, r.a, r.count, kFraction); }},
        });
}

void RegisterScale()
{
    using S = Kernels::ScaleSet;
    RegisterFamily<S>("scale", Kernels::RunnableScaleSets,
                      {
                          {"produceRow",
                           [](const S& s, const Rows& r) {
                               s.produceRow(reinterpret_cast<Pel*>(r.dst), DownscaleJob(r));
                           },
                           kAlsoWarm},
                      });
}

} // namespace

void RegisterKernelFamilies()
{
    RegisterComposit();
    RegisterCrawl();
    RegisterScale();
}

} // namespace speed
