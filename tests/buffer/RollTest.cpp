// The three roll routines against a reference written from their formulas,
// over random strips, start lines on both sides of the period, line steps,
// fractions, filter strengths and fade zones clipped at either edge.
#include <gtest/gtest.h>

#include "BufferModel.h"
#include "support/RowHarness.h"

#include "PixelRoutinesLite.h"

namespace {

using model::Pel;
using support::Buffer;

struct Roll {
    int width, height, startLine, lineStep, fraction, period, strength;
    int topFadeEnd, topFadeWidth, bottomFadeStart, bottomFadeWidth;
};

int ReduceLine(int line, int period)
{
    line -= period;
    while (line < 0)
        line += period;
    while (line >= period)
        line -= period;
    return line;
}

int FadeFactor(const Roll& r, int i, bool inclusive)
{
    int f = 256;
    if (i < r.topFadeEnd) {
        const int start = r.topFadeEnd - r.topFadeWidth;
        f = (inclusive ? i >= start : i > start) ? (i - start) * 256 / r.topFadeWidth : 0;
    }
    if (i > r.bottomFadeStart) {
        const int end = r.bottomFadeStart + r.bottomFadeWidth;
        f = (inclusive ? end >= i : end > i) ? std::min(f, (end - i) * 256 / r.bottomFadeWidth) : 0;
    }
    return f;
}

int Eased(int f)
{
    return 256 - (256 - f) * (256 - f) / 256;
}

void ModelCopy(Buffer& dst, const Buffer& src, const Roll& r)
{
    int line = ReduceLine(r.startLine, r.period);
    for (int i = 0; i < r.height; ++i) {
        line = ReduceLine(line, r.period);
        const int f = FadeFactor(r, i, false);
        for (int x = 0; x < r.width; ++x) {
            const Pel p = src.Get(x, line);
            dst.Set(x, i,
                    (256 - f) * (256 - f) < 256
                        ? p
                        : model::Pack(p, p >> 8, p >> 16, model::Ch(p, 24) * Eased(f) / 256));
        }
        line += r.lineStep;
    }
}

// The sub-line rolls; srcPitch is the byte pitch the routine is given.
void ModelSubLine(Buffer& dst, const Buffer& src, int srcPitch, const Roll& r, bool filtered)
{
    int line = ReduceLine(r.startLine, r.period);
    const int f = r.fraction, k = r.strength;
    std::vector<int> w;
    if (!filtered)
        w = {256 - f, f};
    else if (f < 128)
        w = {(128 - f) * k / 128, 256 - f - 2 * ((128 - f) * k / 128), f + (128 - f) * k / 128};
    else {
        const int d = (f - 128) * k / 128;
        w = {256 - f + d, f - 2 * d, d};
        ++line;
    }
    const bool fades = r.topFadeEnd > 0 || r.bottomFadeStart < r.height;
    for (int i = 0; i < r.height; ++i) {
        for (int& weight : w)
            weight = fades ? weight * Eased(FadeFactor(r, i, true)) / 256 : weight;
        std::vector<support::Rows> rows;
        auto source = [&](int index) {
            const std::ptrdiff_t at = std::ptrdiff_t(index) * srcPitch;
            return support::Rows{src.View().base + (filtered ? at : at / 4), 0};
        };
        if (filtered)
            rows.push_back(source((r.period - 1 + line) % r.period));
        rows.push_back(source(line % r.period));
        rows.push_back(source((line + 1) % r.period));
        for (int x = 0; x < r.width; ++x) {
            std::vector<Pel> pels;
            for (const support::Rows& row : rows)
                pels.push_back(row.Get(x, 0));
            dst.Set(x, i, model::Mix(pels, w));
        }
        line += r.lineStep;
    }
}

Roll RandomRoll(support::Rng& rng)
{
    Roll r{};
    r.width = rng.Pick({0, 1}, 1, 9);
    r.height = rng.Pick({0, 1}, 1, 18);
    r.period = 1 + int(rng.Below(12));
    r.startLine = rng.Pick({r.period + 2, 2 - r.period, -3 * r.period - 1, 4 * r.period}, -40, 40);
    r.lineStep = rng.Pick({1}, 0, 3);
    r.fraction = rng.Pick({0, 127, 128, 255}, 0, 255);
    r.strength = rng.Pick({0, 128}, 0, 128);
    const int h = r.height;
    const bool fades = rng.Below(3) != 0;
    r.topFadeEnd = fades ? rng.Pick({0, 1, h}, -2, h + 2) : 0;
    r.topFadeWidth = rng.Pick({0, 1, 16, 20}, 0, h + 3);
    r.bottomFadeStart = fades ? rng.Pick({-1, h - 1, h}, -2, h + 2) : h;
    r.bottomFadeWidth = rng.Pick({0, 1, 16, 20}, 0, h + 3);
    return r;
}

} // namespace

TEST(Roll, AllThreeMatchTheReference)
{
    SelectCEEFunctions();
    support::Rng rng(99);
    for (int trial = 0; trial < 3000; ++trial) {
        const Roll r = RandomRoll(rng);
        Buffer src(rng, r.width, 2 * r.period + 2);
        // The unfiltered roll reads at (line * srcPitch) / 4: a pitch that is
        // not a multiple of four shifts later lines by a few bytes.
        const int skew = src.pitch > 0 && trial % 3 == 2 ? int(rng.Below(4)) : 0;
        Buffer got(rng, r.width, r.height);
        Buffer want = got;
        switch (trial % 3) {
        case 0:
            ModelCopy(want, src, r);
            EXPECT_EQ(1, RollCopyData(got.Base(), src.Base(), r.width, r.height, got.pitch,
                                      src.pitch, r.startLine, r.lineStep, r.period, r.topFadeEnd,
                                      r.topFadeWidth, r.bottomFadeStart, r.bottomFadeWidth));
            break;
        case 1:
            ModelSubLine(want, src, src.pitch, r, true);
            EXPECT_EQ(1, RollBlastDataSubPix(got.Base(), src.Base(), r.width, r.height, got.pitch,
                                             src.pitch, r.startLine, r.lineStep, r.fraction,
                                             r.period, r.strength, r.topFadeEnd, r.topFadeWidth,
                                             r.bottomFadeStart, r.bottomFadeWidth));
            break;
        default:
            ModelSubLine(want, src, 4 * src.pitch + skew, r, false);
            EXPECT_EQ(1, RollBlastDataSubPixNoFilter(
                             got.Base(), src.Base(), r.width, r.height, got.pitch,
                             4 * src.pitch + skew, r.startLine, r.lineStep, r.fraction, r.period,
                             r.topFadeEnd, r.topFadeWidth, r.bottomFadeStart, r.bottomFadeWidth));
        }
        ASSERT_EQ(want.bytes, got.bytes)
            << "trial " << trial << ": " << r.width << "x" << r.height << " start " << r.startLine
            << " step " << r.lineStep << " fraction " << r.fraction << " period " << r.period
            << " strength " << r.strength << " fades " << r.topFadeEnd << "/" << r.topFadeWidth
            << " " << r.bottomFadeStart << "/" << r.bottomFadeWidth;
    }
}
