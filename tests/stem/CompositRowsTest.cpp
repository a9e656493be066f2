// Composite, mix and reverse routines against the model: seeded rows, and one
// row over every alpha pair.
#include "StemModel.h"
#include "support/RowHarness.h"

#include "inlinepelops.h"
#include "stem.h"

#include <string>

namespace {

using support::Pelwise;
using support::u32;
using R = const support::Rows*;

using stemtest::Byte;
using stemtest::kRows;

// `run` and `model` (rows[0] the destination, the sources after it) over
// seeded rows and over every alpha pair of the first two sources.
template <class Run, class Model>
void Check(const std::string& name, int sources, Run run, Model model)
{
    support::CheckRows(name, sources, run, Pelwise(sources, model), kRows);
    support::CheckAlphaPairs(name, run, Pelwise(sources, model));
}

TEST(CompositRows, TwoRowRoutinesMatchModel)
{
    struct Case {
        const char* name;
        void (*run)(Pel* dst, const Pel* upper, const Pel* lower, int count);
        u32 (*model)(u32 upper, u32 lower);
    };
    const Case cases[] = {{"Composit", Stem::CompositScanline, model::Over},
                          {"CompositOnOpaque", Stem::CompositOnOpaqueScanline, model::OverOpaque},
                          {"ReverseComposit", Stem::ReverseCompositScanline, model::Reverse},
                          {"Add", Stem::AddScanline, model::Add},
                          {"Max", Stem::MaxScanline, model::Max},
                          {"CompositPel",
                           [](Pel* d, const Pel* t, const Pel* b, int n) {
                               for (int i = 0; i < n; ++i)
                                   d[i] = CompositPel(t[i], b[i]);
                           },
                           model::Over}};
    for (const Case& c : cases)
        Check(
            c.name, 2, [&](R r, int n, int) { c.run(r[0].Pels(), r[1].Pels(), r[2].Pels(), n); },
            [&](const u32* p) { return c.model(p[1], p[2]); });
}

// Over the pair row each pel is its own call, the upper pel its colour, so
// every colour alpha meets every row alpha.
TEST(CompositRows, ColourRoutinesMatchModel)
{
    struct Case {
        const char* name;
        void (*run)(Pel* dst, const Pel* row, int count, Pel colour);
        u32 (*model)(u32 pel, u32 colour);
    };
    const Case cases[] = {{"CompositOnColour", Stem::CompositOnColourScanline,
                           [](u32 pel, u32 colour) { return model::Over(pel, colour); }},
                          {"CompositColourOn", Stem::CompositColourOnScanline,
                           [](u32 pel, u32 colour) { return model::Over(colour, pel); }},
                          {"CompositColourOnOpaque", Stem::CompositColourOnOpaqueScanline,
                           [](u32 pel, u32 colour) { return model::OverOpaque(colour, pel); }}};
    for (const Case& c : cases) {
        for (u32 colour : {0x00FFFFFFu, 0x80C08040u, 0xFF102030u})
            support::CheckRows(
                c.name, 1, [&](R r, int n, int) { c.run(r[0].Pels(), r[1].Pels(), n, colour); },
                Pelwise(1, [&](const u32* p) { return c.model(p[1], colour); }), kRows);
        support::CheckAlphaPairs(
            c.name,
            [&](R r, int n, int) {
                for (int i = 0; i < n; ++i)
                    c.run(r[0].Pels() + i, r[2].Pels() + i, 1, r[1].Pels()[i]);
            },
            Pelwise(2, [&](const u32* p) { return c.model(p[2], p[1]); }));
    }
}

TEST(CompositRows, OpacityRoutinesMatchModel)
{
    const u32 opacities[] = {0, 1, 127, 128, 254, 255};
    for (u32 o : opacities) {
        const std::string at = " " + std::to_string(o);
        Check(
            "TopOpacity" + at, 2,
            [&](R r, int n, int) {
                Stem::CompositWithTopOpacityScanline(r[0].Pels(), r[1].Pels(), r[2].Pels(), n,
                                                     Byte(o));
            },
            [&](const u32* p) { return model::OverWithOpacity(p[1], p[2], o, 255); });
        Check(
            "BottomOpacity" + at, 2,
            [&](R r, int n, int) {
                Stem::CompositWithBottomOpacityScanline(r[0].Pels(), r[1].Pels(), r[2].Pels(), n,
                                                        Byte(o));
            },
            [&](const u32* p) { return model::OverWithOpacity(p[1], p[2], 255, o); });
        for (u32 bo : opacities)
            Check(
                "Opacity" + at + " " + std::to_string(bo), 2,
                [&](R r, int n, int) {
                    Stem::CompositWithOpacityScanline(r[0].Pels(), r[1].Pels(), r[2].Pels(), n,
                                                      Byte(o), Byte(bo));
                },
                [&](const u32* p) { return model::OverWithOpacity(p[1], p[2], o, bo); });
    }
}

// Three-row variant v: 0 plain, 1 top, 2 middle, 3 bottom opacity, 4 all three.
void RunThree(int v, R r, int n, const u32* o)
{
    Pel *d = r[0].Pels(), *t = r[1].Pels(), *m = r[2].Pels(), *b = r[3].Pels();
    switch (v) {
    case 0:
        return Stem::CompositThreeScanlines(d, t, m, b, n);
    case 1:
        return Stem::CompositThreeScanlinesWithTopOpacity(d, t, m, b, n, Byte(o[0]));
    case 2:
        return Stem::CompositThreeScanlinesWithMiddleOpacity(d, t, m, b, n, Byte(o[1]));
    case 3:
        return Stem::CompositThreeScanlinesWithBottomOpacity(d, t, m, b, n, Byte(o[2]));
    default:
        return Stem::CompositThreeScanlinesWithOpacity(d, t, m, b, n, Byte(o[0]), Byte(o[1]),
                                                       Byte(o[2]));
    }
}

// Every (top, middle) alpha pair over seeded bottoms.
TEST(CompositRows, ThreeRowRoutinesMatchModel)
{
    const u32 triples[][3] = {{255, 255, 255}, {0, 128, 254}, {128, 1, 127}, {254, 0, 128}};
    for (int v = 0; v < 5; ++v)
        for (const auto& o : triples)
            Check(
                "three-row " + std::to_string(v) + " " + std::to_string(o[0]) + "," +
                    std::to_string(o[1]) + "," + std::to_string(o[2]),
                3, [&](R r, int n, int) { RunThree(v, r, n, o); },
                [&](const u32* p) {
                    u32 f[3];
                    for (int k = 0; k < 3; ++k)
                        f[k] = v == k + 1 || v == 4 ? model::Fade(p[k + 1], o[k]) : p[k + 1];
                    return model::Over(model::Over(f[0], f[1]), f[2]);
                });
}

} // namespace
