// The row kernel families and their members. Adding a member is one line:
// its label and how it takes a set and the rows.
#include "Registry.h"
#include "ScaleLists.h"
#include "kernels/channel/ChannelKernels.h"
#include "kernels/composite/CompositKernels.h"
#include "kernels/crawl/CrawlKernels.h"
#include "kernels/mix/MixKernels.h"
#include "kernels/roll/RollKernels.h"
#include "kernels/scale/ScaleKernels.h"

namespace speed {

namespace {

// Parameters away from the values a kernel may shortcut (0, 255, 256).
constexpr int kFraction = 77;
constexpr int kLevel = 100;
constexpr int kWeightA = 100, kWeightB = 156; // summing to 256
constexpr u32 kColour = 0x80306090u;          // a translucent colour
// A gradient across the whole row, as a crawl's fade zone runs.
constexpr int kGradientStep = 0xFF00 / kWidth;

u8* Bytes(const Rows& r)
{
    return reinterpret_cast<u8*>(r.dst);
}
const u8* BytesOfA(const Rows& r)
{
    return reinterpret_cast<const u8*>(r.a);
}

// One line per member reads as a table.
// clang-format off
void RegisterComposit()
{
    using S = Kernels::CompositSet;
    RegisterFamily<S>(
        "composit", Kernels::kCompositSets,
        {
            {"composit", [](const S& s, const Rows& r) { s.composit(r.dst, r.picture, r.a, r.count); }, kAlsoWarm},
            {"compositOnOpaque", [](const S& s, const Rows& r) { s.compositOnOpaque(r.dst, r.picture, r.a, r.count); }},
            {"compositOnColour", [](const S& s, const Rows& r) { s.compositOnColour(r.dst, r.a, r.count, kColour); }},
            {"compositColourOn", [](const S& s, const Rows& r) { s.compositColourOn(r.dst, r.a, r.count, kColour); }},
            {"compositColourOnOpaque", [](const S& s, const Rows& r) { s.compositColourOnOpaque(r.dst, r.a, r.count, kColour); }},
            {"compositWithOpacity", [](const S& s, const Rows& r) { s.compositWithOpacity(r.dst, r.picture, r.a, r.count, 200, 180); }},
            {"compositThree", [](const S& s, const Rows& r) { s.compositThree(r.dst, r.picture, r.b, r.a, r.count, 255, 200, 180); }},
            {"compositWithScaledAlphas", [](const S& s, const Rows& r) { s.compositWithScaledAlphas(r.dst, r.picture, r.a, r.count, 200, 180); }},
        });
}

void RegisterCrawl()
{
    using S = Kernels::CrawlSet;
    RegisterFamily<S>(
        "crawl", Kernels::kCrawlSets,
        {
            {"gradient", [](const S& s, const Rows& r) { s.gradient(r.dst, r.a, r.count, 0, kGradientStep); }},
            {"subpix", [](const S& s, const Rows& r) { s.subpix(r.dst, r.a, r.count, kFraction); }, kAlsoWarm},
            {"subpixGradient", [](const S& s, const Rows& r) { s.subpixGradient(r.dst, r.a, r.count, kFraction, 0, kGradientStep); }, kAlsoWarm},
            {"shapedSubpix", [](const S& s, const Rows& r) { s.shapedSubpix(r.dst, r.a, r.count, kFraction); }},
            {"shapedSubpixGradient", [](const S& s, const Rows& r) { s.shapedSubpixGradient(r.dst, r.a, r.count, kFraction, 0, kGradientStep); }},
        });
}

void RegisterMix()
{
    using S = Kernels::MixSet;
    RegisterFamily<S>(
        "mix", Kernels::kMixSets,
        {
            {"fade", [](const S& s, const Rows& r) { s.fade(r.dst, r.a, r.count, kLevel); }},
            {"add", [](const S& s, const Rows& r) { s.add(r.dst, r.a, r.b, r.count); }},
            {"blend", [](const S& s, const Rows& r) { s.blend(r.dst, r.a, r.b, r.count, kLevel); }},
            {"max", [](const S& s, const Rows& r) { s.max(r.dst, r.a, r.b, r.count); }},
            {"setBits", [](const S& s, const Rows& r) { s.setBits(r.dst, r.count, 0x00FFFFFFu, 0x80000000u); }},
            {"fill", [](const S& s, const Rows& r) { s.fill(r.dst, r.count, kColour); }},
            {"levelFade", [](const S& s, const Rows& r) { s.levelFade(r.dst, r.a, r.count, kLevel); }},
            {"crossFade", [](const S& s, const Rows& r) { s.crossFade(r.dst, r.a, r.b, r.count, kWeightA, kWeightB); }, kAlsoWarm},
            {"shapedCrossFade", [](const S& s, const Rows& r) { s.shapedCrossFade(r.dst, r.a, r.b, r.count, kWeightA, kWeightB); }},
            {"preMultAlpha", [](const S& s, const Rows& r) { s.preMultAlpha(r.dst, r.a, r.count); }},
        });
}

void RegisterRoll()
{
    using S = Kernels::RollSet;
    RegisterFamily<S>(
        "roll", Kernels::kRollSets,
        {
            {"copyScaledAlpha", [](const S& s, const Rows& r) { s.copyScaledAlpha(r.dst, r.a, r.count, 200); }},
            {"mix2", [](const S& s, const Rows& r) { const char* const lines[2] = {r.a, r.ANeighbour(1)}; const int weights[2] = {kWeightA, kWeightB}; s.mix2(r.dst, lines, weights, r.count); }},
            {"mix3", [](const S& s, const Rows& r) { const char* const lines[3] = {r.a, r.ANeighbour(1), r.ANeighbour(2)}; const int weights[3] = {64, 128, 64}; s.mix3(r.dst, lines, weights, r.count); }, kAlsoWarm},
        });
}

void RegisterChannel()
{
    using S = Kernels::ChannelSet;
    RegisterFamily<S>(
        "channel", Kernels::kChannelSets,
        {
            {"byteRow", [](const S& s, const Rows& r) { s.byteRow(Bytes(r), BytesOfA(r), r.count, 3); }},
            {"coveredLuminance", [](const S& s, const Rows& r) { s.coveredLuminance(Bytes(r), BytesOfA(r), r.count); }},
            {"luminance", [](const S& s, const Rows& r) { s.luminance(Bytes(r), BytesOfA(r), r.count); }, kAlsoWarm},
        });
}

void RegisterScale()
{
    using S = Kernels::ScaleSet;
    RegisterFamily<S>("scale", Kernels::kScaleSets,
                      {
                          {"produceRow", [](const S& s, const Rows& r) { s.produceRow(reinterpret_cast<Pel*>(r.dst), DownscaleJob(s, r)); }, kAlsoWarm},
                      });
}

// clang-format on

} // namespace

void RegisterKernelFamilies()
{
    RegisterComposit();
    RegisterCrawl();
    RegisterMix();
    RegisterRoll();
    RegisterChannel();
    RegisterScale();
}

} // namespace speed
