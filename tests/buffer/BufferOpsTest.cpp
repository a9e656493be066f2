// The eight buffer operations against the model, pel for pel and byte for byte
// (slack bytes between rows included).
#include "BufferModel.h"
#include "support/RowHarness.h"

#include "PixelRoutinesLite.h"

#include <array>
#include <string>

namespace {

using model::Pel;
using support::Rng;
using R = const support::Rows*;
using Params = std::array<int, 2>;

// rows[0] is the destination; in[0] its pel, in[1 ..] the sources' pels.
struct Operation {
    const char* name;
    int sources;
    int (*run)(R rows, int width, int height, const Params&);
    Pel (*model)(const Pel* in, const Params&);
    Params (*params)(Rng&);
};

Params None(Rng&)
{
    return {0, 0};
}
Params Opacities(Rng& rng)
{
    return {rng.Pick({0, 1, 254, 255}, 0, 255), rng.Pick({0, 1, 254, 255}, 0, 255)};
}
Params Weights(Rng& rng)
{
    const int a = rng.Pick({0, 1, 128, 255, 256}, 0, 256);
    return {a, rng.Below(4) ? 256 - a : rng.Pick({0, 256}, 0, 256)};
}

// Composites take the bottom first.
const Operation kOperations[] = {
    {"Blit", 1,
     [](R r, int w, int h, const Params&) {
         return Blit(r[0].base, r[0].pitch, r[1].base, r[1].pitch, w, h);
     },
     [](const Pel* in, const Params&) { return in[1]; }, None},
    {"BlitColour", 0,
     [](R r, int w, int h, const Params& p) {
         return BlitColour(r[0].base, r[0].pitch, w, h, p[0]);
     },
     [](const Pel*, const Params& p) { return Pel(p[0]); },
     [](Rng& rng) {
         return Params{int(rng.Next()), 0};
     }},
    {"Composit", 2,
     [](R r, int w, int h, const Params&) {
         return Composit(r[0].base, r[0].pitch, r[1].base, r[1].pitch, r[2].base, r[2].pitch, w, h);
     },
     [](const Pel* in, const Params&) { return model::Over(in[2], in[1]); }, None},
    {"CompositWithOpacity", 2,
     [](R r, int w, int h, const Params& p) {
         return CompositWithOpacity(r[0].base, r[0].pitch, r[1].base, r[1].pitch, r[2].base,
                                    r[2].pitch, w, h, p[0], p[1]);
     },
     [](const Pel* in, const Params& p) {
         return p[0] == 255 && p[1] == 255
                    ? model::Over(in[2], in[1])
                    : model::OverWithOpacityTruncated(in[2], in[1], p[0], p[1]);
     },
     Opacities},
    {"CrossFade", 2,
     [](R r, int w, int h, const Params& p) {
         return CrossFade(r[0].base, r[0].pitch, r[1].base, r[1].pitch, r[2].base, r[2].pitch, w, h,
                          p[0], p[1]);
     },
     [](const Pel* in, const Params& p) { return model::CrossFade(in[1], in[2], p[0], p[1]); },
     Weights},
    {"ShapedCrossFade", 2,
     [](R r, int w, int h, const Params& p) {
         return ShapedCrossFade(r[0].base, r[0].pitch, r[1].base, r[1].pitch, r[2].base, r[2].pitch,
                                w, h, p[0], p[1]);
     },
     [](const Pel* in, const Params& p) {
         return model::ShapedCrossFade(in[1], in[2], p[0], p[1]);
     },
     Weights},
    {"Fade", 1,
     [](R r, int w, int h, const Params& p) {
         return Fade(r[0].base, r[0].pitch, r[1].base, r[1].pitch, w, h, p[0]);
     },
     [](const Pel* in, const Params& p) { return model::FadeBy256(in[1], p[0]); },
     [](Rng& rng) {
         return Params{rng.Pick({0, 128, 256, -1, -256}, -300, 300), 0};
     }},
    {"PreMultAlpha", 1,
     [](R r, int w, int h, const Params&) {
         return PreMultAlpha(r[0].base, r[0].pitch, r[1].base, r[1].pitch, w, h);
     },
     [](const Pel* in, const Params&) { return model::PreMult(in[1]); }, None}};

template <class Check> void ForEachDraw(const Operation& op, int draws, Check check)
{
    Rng rng(std::hash<std::string>()(op.name));
    for (int draw = 0; draw < draws; ++draw) {
        const Params p = draw == 0 ? Params{255, 255} : op.params(rng);
        check(
            op.name + (" params " + std::to_string(p[0]) + "," + std::to_string(p[1])),
            [&](R r, int w, int h) { EXPECT_EQ(1, op.run(r, w, h, p)); },
            support::Pelwise(op.sources, [&](const Pel* in) { return op.model(in, p); }));
    }
}

// Blocks of every width to 67 and up to six rows, empty and negative sizes,
// pitches with slack or negative, writing over each source in turn.
TEST(BufferOps, RectanglesMatchTheModel)
{
    SelectCEEFunctions();
    for (const Operation& op : kOperations)
        ForEachDraw(op, 12, [&](const std::string& name, auto run, auto want) {
            support::CheckRows(name, op.sources, run, want, {6, true, true, false, 1});
        });
}

TEST(BufferOps, EveryAlphaPairMatchesTheModel)
{
    SelectCEEFunctions();
    for (const Operation& op : kOperations)
        ForEachDraw(op, 8, [](const std::string& name, auto run, auto want) {
            support::CheckAlphaPairs(name, run, want);
        });
}

} // namespace
