// Composite row routines against the model over every (upper, lower) alpha pair.
#include "PelModel.h"
#include "RowTestSupport.h"

#include "stem.h"

#include <vector>

namespace {

using rows::Rng;
using rows::u32;

constexpr int kPelsPerPair = 48;

// For every pair of alphas, a row of upper pels of alpha ua and lower pels of
// alpha la with seeded colours; `check(ua, la, upper, lower, rng)` runs one
// routine on them and compares. Stops at the first failing pair.
template <int pels = kPelsPerPair, class Check> void ForEveryAlphaPair(Check check)
{
    std::vector<u32> upper(pels), lower(pels);
    for (u32 ua = 0; ua < 256; ++ua) {
        for (u32 la = 0; la < 256; ++la) {
            Rng rng(ua << 8 | la);
            for (int i = 0; i < pels; ++i) {
                upper[i] = ua << 24 | (rng.Next() & 0xFFFFFF);
                lower[i] = la << 24 | (rng.Next() & 0xFFFFFF);
            }
            if (!check(ua, la, upper.data(), lower.data(), rng))
                return;
        }
    }
}

template <class Run, class Want>
bool CheckTwoRows(const u32* top, const u32* bottom, Run run, Want want)
{
    u32 got[kPelsPerPair];
    run(got, top, bottom);
    for (int i = 0; i < kPelsPerPair; ++i) {
        const u32 expected = want(top[i], bottom[i]);
        if (got[i] != expected) {
            ADD_FAILURE() << std::hex << "top 0x" << top[i] << " bottom 0x" << bottom[i]
                          << ": got 0x" << got[i] << " want 0x" << expected;
            return false;
        }
    }
    return true;
}

const u32 kOpacities[] = {0, 1, 2, 64, 127, 128, 200, 254, 255};
constexpr int kOpacityCount = int(sizeof kOpacities / sizeof kOpacities[0]);

TEST(CompositRows, TwoRowCompositesMatchModelOverAllAlphaPairs)
{
    ForEveryAlphaPair([](u32, u32, const u32* top, const u32* bottom, Rng&) {
        return CheckTwoRows(
                   top, bottom,
                   [](u32* d, const u32* t, const u32* b) {
                       Stem::CompositScanline(d, t, b, kPelsPerPair);
                   },
                   model::Over) &&
               CheckTwoRows(
                   top, bottom,
                   [](u32* d, const u32* t, const u32* b) {
                       Stem::CompositOnOpaqueScanline(d, t, b, kPelsPerPair);
                   },
                   model::OverOpaque) &&
               CheckTwoRows(
                   top, bottom,
                   [](u32* d, const u32* c, const u32* b) {
                       Stem::ReverseCompositScanline(d, c, b, kPelsPerPair);
                   },
                   model::Reverse);
    });
}

// The colour stands for a whole row: its alpha is the lower (or upper) one of the pair.
TEST(CompositRows, ColourCompositesMatchModelOverAllAlphaPairs)
{
    ForEveryAlphaPair([](u32, u32, const u32* upper, const u32* lower, Rng&) {
        const u32 lowerColour = lower[0], upperColour = upper[0];
        auto overColour = [&](u32* d, const u32* t, const u32*) {
            Stem::CompositOnColourScanline(d, t, kPelsPerPair, lowerColour);
        };
        auto colourOn = [&](u32* d, const u32*, const u32* b) {
            Stem::CompositColourOnScanline(d, b, kPelsPerPair, upperColour);
        };
        auto colourOnOpaque = [&](u32* d, const u32*, const u32* b) {
            Stem::CompositColourOnOpaqueScanline(d, b, kPelsPerPair, upperColour);
        };
        return CheckTwoRows(upper, lower, overColour,
                            [&](u32 t, u32) { return model::Over(t, lowerColour); }) &&
               CheckTwoRows(upper, lower, colourOn,
                            [&](u32, u32 b) { return model::Over(upperColour, b); }) &&
               CheckTwoRows(upper, lower, colourOnOpaque,
                            [&](u32, u32 b) { return model::OverOpaque(upperColour, b); });
    });
}

// Opacities cycle with the pair so that every alpha pair meets several of them.
TEST(CompositRows, OpacityCompositesMatchModelOverAllAlphaPairs)
{
    ForEveryAlphaPair([](u32 ua, u32 la, const u32* top, const u32* bottom, Rng&) {
        const u32 to = kOpacities[(ua + la) % kOpacityCount];
        const u32 bo = kOpacities[(ua * 7 + la * 3) % kOpacityCount];
        const auto o1 = static_cast<unsigned char>(to), o2 = static_cast<unsigned char>(bo);
        return CheckTwoRows(
                   top, bottom,
                   [o1](u32* d, const u32* t, const u32* b) {
                       Stem::CompositWithTopOpacityScanline(d, t, b, kPelsPerPair, o1);
                   },
                   [to](u32 t, u32 b) { return model::OverWithOpacity(t, b, to, 255); }) &&
               CheckTwoRows(
                   top, bottom,
                   [o2](u32* d, const u32* t, const u32* b) {
                       Stem::CompositWithBottomOpacityScanline(d, t, b, kPelsPerPair, o2);
                   },
                   [bo](u32 t, u32 b) { return model::OverWithOpacity(t, b, 255, bo); }) &&
               CheckTwoRows(
                   top, bottom,
                   [o1, o2](u32* d, const u32* t, const u32* b) {
                       Stem::CompositWithOpacityScanline(d, t, b, kPelsPerPair, o1, o2);
                   },
                   [to, bo](u32 t, u32 b) { return model::OverWithOpacity(t, b, to, bo); });
    });
}

// Every (top, middle) alpha pair over bottoms of seeded alphas, with each
// three-row variant given its own opacity.
TEST(CompositRows, ThreeRowCompositesMatchModelOverAllAlphaPairs)
{
    constexpr int kThreeRowPels = 16; // five variants per pair: fewer pels keep it quick
    ForEveryAlphaPair<kThreeRowPels>(
        [](u32 ta, u32 ma, const u32* top, const u32* middle, Rng& rng) {
            const std::vector<u32> bottom = rows::RandomRow(rng, kThreeRowPels);
            const u32 o[3] = {kOpacities[(ta + ma) % kOpacityCount],
                              kOpacities[(ta * 5 + ma) % kOpacityCount],
                              kOpacities[(ta + ma * 5) % kOpacityCount]};
            const auto o0 = static_cast<unsigned char>(o[0]), o1 = static_cast<unsigned char>(o[1]),
                       o2 = static_cast<unsigned char>(o[2]);
            u32 got[5][kThreeRowPels];
            Stem::CompositThreeScanlines(got[0], top, middle, bottom.data(), kThreeRowPels);
            Stem::CompositThreeScanlinesWithTopOpacity(got[1], top, middle, bottom.data(),
                                                       kThreeRowPels, o0);
            Stem::CompositThreeScanlinesWithMiddleOpacity(got[2], top, middle, bottom.data(),
                                                          kThreeRowPels, o1);
            Stem::CompositThreeScanlinesWithBottomOpacity(got[3], top, middle, bottom.data(),
                                                          kThreeRowPels, o2);
            Stem::CompositThreeScanlinesWithOpacity(got[4], top, middle, bottom.data(),
                                                    kThreeRowPels, o0, o1, o2);
            const u32 fades[5][3] = {{255, 255, 255},
                                     {o[0], 255, 255},
                                     {255, o[1], 255},
                                     {255, 255, o[2]},
                                     {o[0], o[1], o[2]}};
            for (int v = 0; v < 5; ++v) {
                for (int i = 0; i < kThreeRowPels; ++i) {
                    const u32 want = model::Over(model::Over(model::Fade(top[i], fades[v][0]),
                                                             model::Fade(middle[i], fades[v][1])),
                                                 model::Fade(bottom[i], fades[v][2]));
                    if (got[v][i] != want) {
                        ADD_FAILURE() << "variant " << v << std::hex << " top 0x" << top[i]
                                      << " middle 0x" << middle[i] << " bottom 0x" << bottom[i]
                                      << ": got 0x" << got[v][i] << " want 0x" << want;
                        return false;
                    }
                }
            }
            return true;
        });
}

// dst may be either source: every source pel is read before its result is written.
TEST(CompositRows, DestinationMayBeEitherSource)
{
    Rng rng(7);
    const int n = 67;
    const std::vector<u32> top = rows::RandomRow(rng, n), bottom = rows::RandomRow(rng, n);
    std::vector<u32> want(n);
    std::vector<u32> got;
    using Two = void (*)(u32*, const u32*, const u32*, int);
    const Two routines[] = {Stem::CompositScanline, Stem::CompositOnOpaqueScanline,
                            Stem::ReverseCompositScanline, Stem::AddScanline, Stem::MaxScanline};
    for (Two routine : routines) {
        routine(want.data(), top.data(), bottom.data(), n);
        got = top;
        routine(got.data(), got.data(), bottom.data(), n);
        EXPECT_ROW_EQ(got, want, n, "dst == first source");
        got = bottom;
        routine(got.data(), top.data(), got.data(), n);
        EXPECT_ROW_EQ(got, want, n, "dst == second source");
    }
}

// Results a reader can check by hand, including both roundings of the composite.
TEST(CompositRows, DocumentedCases)
{
    u32 d[1];
    const u32 t0 = 0x00123456, b0 = 0x00ABCDEF, b1 = 0x80ABCDEF;
    Stem::CompositScanline(d, &t0, &b0, 1);
    EXPECT_EQ(d[0], 0x00123456u);
    Stem::CompositScanline(d, &t0, &b1, 1);
    EXPECT_EQ(d[0], 0x80ABCDEFu);
    const u32 half = 0x80102030, opaqueBottom = 0xFF405060, halfBottom = 0x80405060;
    Stem::CompositScanline(d, &half, &opaqueBottom, 1); // (tc * 128 + bc * 127 + 127) / 255
    EXPECT_EQ(d[0], 0xFF283848u);
    Stem::CompositScanline(d, &half, &halfBottom, 1); // ((tc * 128 + bc * 64) * 341) >> 16
    EXPECT_EQ(d[0], 0xC01F2F3Fu);
    const u32 clear = 0x00FFFFFF, bottom40 = 0x40112233;
    Stem::CompositOnOpaqueScanline(d, &clear, &bottom40, 1);
    EXPECT_EQ(d[0], 0x40112233u);
    const u32 black = 0xFF000000;
    Stem::CompositColourOnScanline(d, &black, 1, 0x80FF0000);
    EXPECT_EQ(d[0], 0xFF800000u);
    const u32 c40 = 0x40FFFFFF, b80 = 0x80000000, c80 = 0x80FFFFFF;
    Stem::ReverseCompositScanline(d, &c40, &b80, 1);
    EXPECT_EQ(d[0], 0x00FF00FFu);
    Stem::ReverseCompositScanline(d, &c80, &b80, 1);
    EXPECT_EQ(d[0], 0u);
    const u32 grey = 0xFF808080, white = 0xFFFFFFFF;
    Stem::ReverseCompositScanline(d, &grey, &white, 1);
    EXPECT_EQ(d[0], 0x7F000000u);
    Stem::ReverseCompositScanline(d, &white, &white, 1);
    EXPECT_EQ(d[0], 0u);
}

TEST(CompositRows, ZeroAndNegativeCountsWriteNothing)
{
    u32 d = rows::kGuard;
    const u32 s = 0x80FFFFFF;
    for (int count : {0, -1}) {
        Stem::CompositScanline(&d, &s, &s, count);
        Stem::CompositOnColourScanline(&d, &s, count, 0);
        Stem::CompositColourOnScanline(&d, &s, count, 0xFF000000);
        Stem::CompositColourOnOpaqueScanline(&d, &s, count, 0xFF000000);
        Stem::CompositThreeScanlinesWithOpacity(&d, &s, &s, &s, count, 1, 2, 3);
        EXPECT_EQ(d, rows::kGuard);
    }
}

} // namespace
