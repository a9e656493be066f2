// Results a reader can check by hand, including both roundings of the
// composite: they anchor the model the other tests compare against.
#include <gtest/gtest.h>

#include "stem.h"

namespace {

using TwoRows = void (*)(Pel* dst, const Pel* upper, const Pel* lower, int count);

TEST(RowRoutines, WorkedExamples)
{
    const TwoRows blend0 = [](Pel* d, const Pel* a, const Pel* b, int n) {
        Stem::BlendScanline(d, a, b, n, 0);
    };
    const TwoRows redOn = [](Pel* d, const Pel*, const Pel* b, int n) {
        Stem::CompositColourOnScanline(d, b, n, 0x80FF0000);
    };
    const TwoRows topHalf = [](Pel* d, const Pel* t, const Pel* b, int n) {
        Stem::CompositWithTopOpacityScanline(d, t, b, n, 128);
    };
    const TwoRows fadeHalf = [](Pel* d, const Pel* a, const Pel*, int n) {
        Stem::FadeCopyScanline(d, a, n, 128);
    };
    const TwoRows over = Stem::CompositScanline, reverse = Stem::ReverseCompositScanline;
    const TwoRows add = Stem::AddScanline, max = Stem::MaxScanline;
    const TwoRows onOpaque = Stem::CompositOnOpaqueScanline;
    const struct {
        const char* what;
        TwoRows run;
        Pel upper, lower, want;
    } cases[] = {
        {"transparent on transparent keeps top", over, 0x00123456, 0x00ABCDEF, 0x00123456},
        {"transparent top gives bottom", over, 0x00123456, 0x80ABCDEF, 0x80ABCDEF},
        {"opaque bottom rounds", over, 0x80102030, 0xFF405060, 0xFF283848},
        {"translucent bottom truncates", over, 0x80102030, 0x80405060, 0xC01F2F3F},
        {"on opaque keeps bottom alpha", onOpaque, 0x00FFFFFF, 0x40112233, 0x40112233},
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
        {"fade 128 of alpha 1", fadeHalf, 0x01FFFFFF, 0, 0x01FFFFFF},
    };
    for (const auto& c : cases) {
        Pel got = 0xDEADBEEF;
        c.run(&got, &c.upper, &c.lower, 1);
        EXPECT_EQ(got, c.want) << std::hex << c.what << ": got 0x" << got;
    }
}

} // namespace
