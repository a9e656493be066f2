// Composite, mix and reverse routines against the model over every alpha pair,
// and the worked examples of their contract.
#include "RowHarness.h"
#include "StemModel.h"

#include "stem.h"

#include <string>
#include <vector>

namespace {

using rows::CheckRows;
using rows::Sources;
using rows::u32;

using TwoRows = void (*)(Pel* dst, const Pel* upper, const Pel* lower, int count);
using PelPair = u32 (*)(u32 upper, u32 lower);

constexpr int kPerPair = 4;

const rows::AlphaPairs& Pairs()
{
    static const rows::AlphaPairs pairs(kPerPair);
    return pairs;
}

unsigned char Byte(u32 v)
{
    return static_cast<unsigned char>(v);
}

// Compares got[j] with want(j) over n pels of the pair rows; reports the first miss.
template <class Want>
bool ExpectPels(const std::vector<u32>& got, int n, Want want, const std::string& what)
{
    const rows::AlphaPairs& p = Pairs();
    for (int j = 0; j < n; ++j) {
        const std::size_t i = std::size_t(j);
        const u32 expected = want(i);
        if (got[i] != expected) {
            ADD_FAILURE() << what << std::hex << ": upper 0x" << p.upper[i] << " lower 0x"
                          << p.lower[i] << " got 0x" << got[i] << " want 0x" << expected;
            return false;
        }
    }
    return true;
}

TEST(CompositRows, TwoRowRoutinesMatchModel)
{
    struct Case {
        const char* name;
        TwoRows run;
        PelPair want;
    };
    const Case cases[] = {{"Composit", Stem::CompositScanline, model::Over},
                          {"CompositOnOpaque", Stem::CompositOnOpaqueScanline, model::OverOpaque},
                          {"ReverseComposit", Stem::ReverseCompositScanline, model::Reverse},
                          {"Add", Stem::AddScanline, model::Add},
                          {"Max", Stem::MaxScanline, model::Max}};
    const rows::AlphaPairs& p = Pairs();
    std::vector<u32> got(std::size_t(p.count));
    for (const Case& c : cases) {
        c.run(got.data(), p.upper.data(), p.lower.data(), p.count);
        ExpectPels(
            got, p.count, [&](std::size_t i) { return c.want(p.upper[i], p.lower[i]); }, c.name);
        CheckRows<2>(
            c.name, [&](u32* d, Sources s, int n) { c.run(d, s[0], s[1], n); },
            [&](const u32* x) { return c.want(x[1], x[2]); });
    }
}

// The colour stands for a whole row; every colour alpha meets every row alpha.
TEST(CompositRows, ColourRoutinesMatchModel)
{
    struct Case {
        const char* name;
        void (*run)(Pel* dst, const Pel* row, int count, Pel colour);
        PelPair want; // (row pel, colour)
    };
    const Case cases[] = {{"CompositOnColour", Stem::CompositOnColourScanline,
                           [](u32 pel, u32 colour) { return model::Over(pel, colour); }},
                          {"CompositColourOn", Stem::CompositColourOnScanline,
                           [](u32 pel, u32 colour) { return model::Over(colour, pel); }},
                          {"CompositColourOnOpaque", Stem::CompositColourOnOpaqueScanline,
                           [](u32 pel, u32 colour) { return model::OverOpaque(colour, pel); }}};
    const rows::AlphaPairs& p = Pairs();
    const int n = 256 * kPerPair;
    std::vector<u32> got(static_cast<std::size_t>(n));
    support::Rng rng(3);
    for (const Case& c : cases) {
        for (u32 ca = 0; ca < 256; ++ca) {
            const u32 colour = ca << 24 | (rng.Next() & 0xFFFFFF);
            c.run(got.data(), p.lower.data(), n, colour);
            if (!ExpectPels(
                    got, n, [&](std::size_t i) { return c.want(p.lower[i], colour); },
                    std::string(c.name) + " colour alpha " + std::to_string(ca)))
                break;
        }
        for (u32 colour : {0x00FFFFFFu, 0x80C08040u, 0xFF102030u})
            CheckRows<1>(
                c.name, [&](u32* d, Sources s, int count) { c.run(d, s[0], count, colour); },
                [&](const u32* x) { return c.want(x[1], colour); });
    }
}

TEST(CompositRows, OpacityRoutinesMatchModel)
{
    const rows::AlphaPairs& p = Pairs();
    const u32 *t = p.upper.data(), *b = p.lower.data();
    std::vector<u32> got(std::size_t(p.count));
    auto expect = [&](u32 to, u32 bo, const std::string& what) {
        return ExpectPels(
            got, p.count,
            [&](std::size_t i) { return model::OverWithOpacity(p.upper[i], p.lower[i], to, bo); },
            what + " " + std::to_string(to) + "," + std::to_string(bo));
    };
    const u32 opacities[] = {0, 1, 127, 128, 254, 255};
    for (u32 o : opacities) {
        Stem::CompositWithTopOpacityScanline(got.data(), t, b, p.count, Byte(o));
        expect(o, 255, "TopOpacity");
        Stem::CompositWithBottomOpacityScanline(got.data(), t, b, p.count, Byte(o));
        expect(255, o, "BottomOpacity");
        for (u32 bo : opacities) {
            Stem::CompositWithOpacityScanline(got.data(), t, b, p.count, Byte(o), Byte(bo));
            expect(o, bo, "Opacity");
        }
    }
    CheckRows<2>(
        "CompositWithOpacity",
        [](u32* d, Sources s, int n) {
            Stem::CompositWithOpacityScanline(d, s[0], s[1], n, 128, 77);
        },
        [](const u32* x) { return model::OverWithOpacity(x[1], x[2], 128, 77); });
}

// Three-row variant v: 0 plain, 1 top, 2 middle, 3 bottom opacity, 4 all three.
void RunThree(int v, u32* d, Sources s, int n, const u32* o)
{
    switch (v) {
    case 0:
        return Stem::CompositThreeScanlines(d, s[0], s[1], s[2], n);
    case 1:
        return Stem::CompositThreeScanlinesWithTopOpacity(d, s[0], s[1], s[2], n, Byte(o[0]));
    case 2:
        return Stem::CompositThreeScanlinesWithMiddleOpacity(d, s[0], s[1], s[2], n, Byte(o[1]));
    case 3:
        return Stem::CompositThreeScanlinesWithBottomOpacity(d, s[0], s[1], s[2], n, Byte(o[2]));
    default:
        return Stem::CompositThreeScanlinesWithOpacity(d, s[0], s[1], s[2], n, Byte(o[0]),
                                                       Byte(o[1]), Byte(o[2]));
    }
}

// Every (top, middle) alpha pair over seeded bottoms.
TEST(CompositRows, ThreeRowRoutinesMatchModel)
{
    const u32 triples[][3] = {{255, 255, 255}, {0, 128, 254}, {128, 1, 127}, {254, 0, 128}};
    const rows::AlphaPairs& p = Pairs();
    support::Rng rng(9);
    const std::vector<u32> bottom = support::RandomRow(rng, p.count);
    const u32* const pairRows[3] = {p.upper.data(), p.lower.data(), bottom.data()};
    std::vector<u32> got(std::size_t(p.count));
    for (int v = 0; v < 5; ++v)
        for (const auto& o : triples) {
            auto want = [&](const u32* x) { // top, middle, bottom
                u32 f[3];
                for (int k = 0; k < 3; ++k)
                    f[k] = v == k + 1 || v == 4 ? model::Fade(x[k], o[k]) : x[k];
                return model::Over(model::Over(f[0], f[1]), f[2]);
            };
            const std::string name = "three-row variant " + std::to_string(v) + " opacities " +
                                     std::to_string(o[0]) + "," + std::to_string(o[1]) + "," +
                                     std::to_string(o[2]);
            RunThree(v, got.data(), pairRows, p.count, o);
            ExpectPels(
                got, p.count,
                [&](std::size_t i) {
                    const u32 x[3] = {p.upper[i], p.lower[i], bottom[i]};
                    return want(x);
                },
                name);
            CheckRows<3>(
                name, [&](u32* d, Sources s, int n) { RunThree(v, d, s, n, o); },
                [&](const u32* x) { return want(x + 1); });
        }
}

// Results a reader can check by hand, including both roundings of the composite.
TEST(CompositRows, WorkedExamples)
{
    struct Case {
        const char* what;
        TwoRows run;
        u32 upper, lower, want;
    };
    using S = TwoRows;
    const S blend0 = [](Pel* d, const Pel* a, const Pel* b, int n) {
        Stem::BlendScanline(d, a, b, n, 0);
    };
    const S redOn = [](Pel* d, const Pel*, const Pel* b, int n) {
        Stem::CompositColourOnScanline(d, b, n, 0x80FF0000);
    };
    const S topHalf = [](Pel* d, const Pel* t, const Pel* b, int n) {
        Stem::CompositWithTopOpacityScanline(d, t, b, n, 128);
    };
    const S fadeHalf = [](Pel* d, const Pel* a, const Pel*, int n) {
        Stem::FadeCopyScanline(d, a, n, 128);
    };
    const S over = Stem::CompositScanline, reverse = Stem::ReverseCompositScanline;
    const S add = Stem::AddScanline, max = Stem::MaxScanline;
    // clang-format off
    const Case cases[] = {
        {"transparent on transparent keeps top", over, 0x00123456, 0x00ABCDEF, 0x00123456},
        {"transparent top gives bottom", over, 0x00123456, 0x80ABCDEF, 0x80ABCDEF},
        {"opaque bottom rounds", over, 0x80102030, 0xFF405060, 0xFF283848},
        {"translucent bottom truncates", over, 0x80102030, 0x80405060, 0xC01F2F3F},
        {"on opaque keeps bottom alpha", Stem::CompositOnOpaqueScanline, 0x00FFFFFF, 0x40112233, 0x40112233},
        {"reverse of less opaque", reverse, 0x40FFFFFF, 0x80000000, 0x00FF00FF},
        {"reverse of equal alpha", reverse, 0x80FFFFFF, 0x80000000, 0},
        {"reverse over opaque", reverse, 0xFF808080, 0xFFFFFFFF, 0x7F000000},
        {"reverse of the bottom", reverse, 0xFFFFFFFF, 0xFFFFFFFF, 0},
        {"add wraps white", add, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFDFDFD},
        {"add wraps alpha 200", add, 0xC8FFFFFF, 0xC8FFFFFF, 0xFF8F8F8F},
        {"add of transparent", add, 0, 0, 0},
        {"add truncates", add, 0xFF804000, 0, 0xFF7F3F00},
        {"max tie takes first", max, 0x0A000001, 0x0A000002, 0x0A000001},
        {"max takes larger", max, 0x0A000001, 0x0B000002, 0x0B000002},
        {"blend level 0 truncates", blend0, 0xFF804000, 0xFFFFFFFF, 0xFF7F3F00},
        {"colour on opaque black", redOn, 0, 0xFF000000, 0xFF800000},
        {"top opacity 128 on opaque", topHalf, 0xFF102030, 0xFF405060, 0xFF283848},
        {"fade 128 of alpha 1", fadeHalf, 0x01FFFFFF, 0, 0x01FFFFFF}};
    // clang-format on
    for (const Case& c : cases) {
        u32 got = rows::kGuard;
        c.run(&got, &c.upper, &c.lower, 1);
        EXPECT_EQ(got, c.want) << std::hex << c.what << ": got 0x" << got;
    }
}

} // namespace
