// The eight buffer operations against the model, pel for pel and byte for byte
// (slack bytes between rows included).
#include <gtest/gtest.h>

#include "BufferModel.h"
#include "PixelRoutinesLite.h"

#include <algorithm>
#include <array>
#include <string>

namespace {

using model::Buffer;
using model::Pel;
using support::Rng;

using Params = std::array<int, 2>;
struct Rows {
    const char* base;
    int pitch;
};

struct Operation {
    const char* name;
    int sources;
    int (*run)(char* dst, int dstPitch, const Rows* src, int width, int height, const Params&);
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

const Operation kOperations[] = {
    {"Blit", 1,
     [](char* d, int dp, const Rows* s, int w, int h, const Params&) {
         return Blit(d, dp, s[0].base, s[0].pitch, w, h);
     },
     [](const Pel* in, const Params&) { return in[0]; }, None},
    {"BlitColour", 0,
     [](char* d, int dp, const Rows*, int w, int h, const Params& p) {
         return BlitColour(d, dp, w, h, p[0]);
     },
     [](const Pel*, const Params& p) { return Pel(p[0]); },
     [](Rng& rng) {
         return Params{int(rng.Next()), 0};
     }},
    {"Composit", 2,
     [](char* d, int dp, const Rows* s, int w, int h, const Params&) {
         return Composit(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h);
     },
     [](const Pel* in, const Params&) { return model::Over(in[1], in[0]); }, None},
    {"CompositWithOpacity", 2,
     [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
         return CompositWithOpacity(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h, p[0],
                                    p[1]);
     },
     [](const Pel* in, const Params& p) {
         return p[0] == 255 && p[1] == 255
                    ? model::Over(in[1], in[0])
                    : model::OverWithOpacityTruncated(in[1], in[0], p[0], p[1]);
     },
     Opacities},
    {"CrossFade", 2,
     [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
         return CrossFade(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h, p[0], p[1]);
     },
     [](const Pel* in, const Params& p) { return model::CrossFade(in[0], in[1], p[0], p[1]); },
     Weights},
    {"ShapedCrossFade", 2,
     [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
         return ShapedCrossFade(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h, p[0],
                                p[1]);
     },
     [](const Pel* in, const Params& p) {
         return model::ShapedCrossFade(in[0], in[1], p[0], p[1]);
     },
     Weights},
    {"Fade", 1,
     [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
         return Fade(d, dp, s[0].base, s[0].pitch, w, h, p[0]);
     },
     [](const Pel* in, const Params& p) { return model::FadeBy256(in[0], p[0]); },
     [](Rng& rng) {
         return Params{rng.Pick({0, 128, 256, -1, -256}, -300, 300), 0};
     }},
    {"PreMultAlpha", 1,
     [](char* d, int dp, const Rows* s, int w, int h, const Params&) {
         return PreMultAlpha(d, dp, s[0].base, s[0].pitch, w, h);
     },
     [](const Pel* in, const Params&) { return model::PreMult(in[0]); }, None}};

// Random rectangles of every awkward shape (empty, one pel, one row, one
// column, odd widths), random pitches, one case in four writing over its first
// source, and sources that share a quarter of their pels (the cross-fades'
// equal-pel shortcut).
TEST(BufferOps, RectanglesMatchTheModel)
{
    SelectCEEFunctions();
    const int shapes[][2] = {{0, 3}, {3, 0}, {0, 0}, {1, 1}, {1, 5}, {7, 1}, {-1, 2}};
    for (const Operation& op : kOperations) {
        Rng rng(std::hash<std::string>()(op.name));
        for (int trial = 0; trial < 200; ++trial) {
            const bool fixed = trial < int(std::size(shapes));
            const int width = fixed ? shapes[trial][0] : 1 + int(rng.Below(41));
            const int height = fixed ? shapes[trial][1] : 1 + int(rng.Below(6));
            std::vector<Buffer> src;
            for (int k = 0; k < op.sources; ++k)
                src.emplace_back(rng, width, height);
            for (int y = 0; y < height && op.sources == 2; ++y)
                for (int x = 0; x < width; ++x)
                    if (rng.Below(4) == 0)
                        src[1].Set(x, y, src[0].Get(x, y));
            const Params p = op.params(rng);
            const bool inPlace = op.sources > 0 && trial % 4 == 1;
            Buffer got = inPlace ? src[0] : Buffer(rng, width, height), want = got;
            Rows rows[2] = {};
            for (int k = 0; k < op.sources; ++k)
                rows[k] = {k == 0 && inPlace ? got.Base() : src[std::size_t(k)].Base(),
                           src[std::size_t(k)].pitch};
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    Pel in[2] = {};
                    for (int k = 0; k < op.sources; ++k)
                        in[k] = src[std::size_t(k)].Get(x, y);
                    want.Set(x, y, op.model(in, p));
                }
            EXPECT_EQ(1, op.run(got.Base(), got.pitch, rows, width, height, p));
            ASSERT_EQ(want.bytes, got.bytes) << op.name << " trial " << trial << " " << width << "x"
                                             << height << " params " << p[0] << "," << p[1];
        }
    }
}

// One 256 x 256 call meets every (first, second) alpha pair; the parameters
// are drawn afresh for each call.
TEST(BufferOps, EveryAlphaPairMatchesTheModel)
{
    SelectCEEFunctions();
    Rng rng(77);
    std::vector<Pel> a(65536), b(65536), out(65536);
    for (std::size_t i = 0; i < 65536; ++i) {
        a[i] = (rng.Next() & 0xFFFFFF) | Pel(i >> 8) << 24;
        b[i] = (rng.Next() & 0xFFFFFF) | Pel(i & 255) << 24;
    }
    const Rows rows[2] = {{reinterpret_cast<const char*>(a.data()), 1024},
                          {reinterpret_cast<const char*>(b.data()), 1024}};
    for (const Operation& op : kOperations)
        for (int draw = 0; draw < 24; ++draw) {
            const Params p = draw == 0 ? Params{255, 255} : op.params(rng);
            op.run(reinterpret_cast<char*>(out.data()), 1024, rows, 256, 256, p);
            for (std::size_t i = 0; i < 65536; ++i) {
                const Pel in[2] = {a[i], b[i]};
                ASSERT_EQ(op.model(in, p), out[i]) << op.name << " params " << p[0] << "," << p[1]
                                                   << " alphas " << i / 256 << "," << i % 256;
            }
        }
}

// Values worked out by hand, to anchor the model itself.
TEST(BufferOps, HandWorkedPels)
{
    SelectCEEFunctions();
    struct Case {
        const char* what;
        const char* op;
        Pel first, second;
        Params p;
        Pel want;
    };
    // Composites take the bottom first.
    const Case cases[] = {
        // w = 64, A = 192, C = ((tc * 128 + bc * 64) * 341) >> 16
        {"alpha 128 over 128", "Composit", 0x80640000, 0x80C80000, {}, 0xC0A60000},
        {"transparent top", "Composit", 0x80C80000, 0x00112233, {}, 0x80C80000},
        {"transparent bottom", "Composit", 0x00C80000, 0x80112233, {}, 0x80112233},
        // (200 * 100) / 255 = 78; a scaled bottom of 0 keeps the top's colour
        {"top opacity 0", "CompositWithOpacity", 0xC8112233, 0xFF445566, {100, 0}, 0x4E112233},
        {"bottom scaled to 0", "CompositWithOpacity", 0x01112233, 0xFF445566, {100, 0}, 0x00445566},
        {"transparent pair", "CrossFade", 0x00112233, 0x00445566, {128, 128}, 0},
        {"equal pels", "CrossFade", 0x7F445566, 0x7F445566, {3, 5}, 0x7F445566},
        {"all of a", "CrossFade", 0x7F445566, 0x30112233, {256, 0}, 0x7F445566},
        {"all of a", "ShapedCrossFade", 0x7F445566, 0x30112233, {256, 0}, 0x7F445566},
        {"half alpha", "Fade", 0xFF102030, 0, {128, 0}, 0x7F102030},
        {"transparent", "PreMultAlpha", 0x00FFFFFF, 0, {}, 0},
        {"opaque", "PreMultAlpha", 0xFF123456, 0, {}, 0xFF123456}};
    for (const Case& c : cases) {
        const Operation* op =
            std::find_if(std::begin(kOperations), std::end(kOperations),
                         [&](const Operation& o) { return c.op == std::string(o.name); });
        Pel out = 0x12345678;
        const Rows rows[2] = {{reinterpret_cast<const char*>(&c.first), 4},
                              {reinterpret_cast<const char*>(&c.second), 4}};
        op->run(reinterpret_cast<char*>(&out), 4, rows, 1, 1, c.p);
        EXPECT_EQ(c.want, out) << c.op << ": " << c.what;
    }
}

} // namespace
