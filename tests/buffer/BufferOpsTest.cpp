// The eight buffer operations against the reference, pel for pel and byte
// for byte (slack bytes between rows included).
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "BufferModel.h"
#include "PixelRoutinesLite.h"

namespace {

using model::Buffer;
using model::Pel;

using Params = std::array<int, 2>;
struct Rows {
    const char* base;
    int pitch;
};
using Operation = std::function<void(char* dst, int dstPitch, const Rows* sources, int width,
                                     int height, const Params&)>;
using PelModel = std::function<Pel(const Pel* in, const Params&)>;
using ParamSource = std::function<Params(std::mt19937&)>;

// Random rectangles of every awkward shape (empty, one pel, one row, one
// column, odd widths), random pitches, and one case in four writing over its
// first source.
void CheckOperation(int sourceCount, const Operation& op, const PelModel& pelModel,
                    const ParamSource& params)
{
    SelectCEEFunctions();
    std::mt19937 rng(1234u + unsigned(sourceCount));
    const int shapes[][2] = {{0, 3}, {3, 0}, {0, 0}, {1, 1}, {1, 5}, {7, 1}, {-1, 2}};
    for (int trial = 0; trial < 400; ++trial) {
        const bool fixedShape = trial < int(std::size(shapes));
        const int width = fixedShape ? shapes[trial][0] : 1 + int(rng() % 41);
        const int height = fixedShape ? shapes[trial][1] : 1 + int(rng() % 6);
        std::vector<Buffer> sources;
        for (int k = 0; k < sourceCount; ++k)
            sources.emplace_back(rng, width, height);
        for (int y = 0; y < height && sourceCount == 2; ++y)
            for (int x = 0; x < width; ++x)
                if (rng() % 4 == 0)
                    sources[1].Set(x, y, sources[0].Get(x, y));
        const Params p = params(rng);
        const bool inPlace = sourceCount > 0 && trial % 4 == 1;
        Buffer got = inPlace ? sources[0] : Buffer(rng, width, height);
        Buffer want = got;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                Pel in[2] = {};
                for (int k = 0; k < sourceCount; ++k)
                    in[k] = sources[k].Get(x, y);
                want.Set(x, y, pelModel(in, p));
            }
        Rows rows[2] = {};
        for (int k = 0; k < sourceCount; ++k)
            rows[k] = {sources[k].Base(), sources[k].pitch};
        if (inPlace)
            rows[0] = {got.Base(), got.pitch};
        op(got.Base(), got.pitch, rows, width, height, p);
        ASSERT_EQ(want.bytes, got.bytes) << "trial " << trial << " " << width << "x" << height
                                         << " params " << p[0] << "," << p[1];
    }
}

} // namespace

namespace {

int Pick(std::mt19937& rng, std::initializer_list<int> edges, int lo, int hi)
{
    if (rng() % 2)
        return edges.begin()[rng() % edges.size()];
    return lo + int(rng() % unsigned(hi - lo + 1));
}

Params Opacities(std::mt19937& rng)
{
    return {Pick(rng, {0, 1, 254, 255}, 0, 255), Pick(rng, {0, 1, 254, 255}, 0, 255)};
}

Params Weights(std::mt19937& rng)
{
    const int a = Pick(rng, {0, 1, 128, 255, 256}, 0, 256);
    return {a, rng() % 4 ? 256 - a : Pick(rng, {0, 256}, 0, 256)};
}

Params NoParams(std::mt19937&)
{
    return {0, 0};
}

} // namespace

TEST(BufferOps, BlitAndBlitColourMatchTheReference)
{
    CheckOperation(
        1,
        [](char* d, int dp, const Rows* s, int w, int h, const Params&) {
            EXPECT_EQ(1, Blit(d, dp, s[0].base, s[0].pitch, w, h));
        },
        [](const Pel* in, const Params&) { return in[0]; }, NoParams);
    CheckOperation(
        0,
        [](char* d, int dp, const Rows*, int w, int h, const Params& p) {
            EXPECT_EQ(1, BlitColour(d, dp, w, h, p[0]));
        },
        [](const Pel*, const Params& p) { return Pel(p[0]); },
        [](std::mt19937& rng) {
            return Params{int(rng()), 0};
        });
}

TEST(BufferOps, CompositsMatchTheReference)
{
    CheckOperation(
        2,
        [](char* d, int dp, const Rows* s, int w, int h, const Params&) {
            EXPECT_EQ(1, Composit(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h));
        },
        [](const Pel* in, const Params&) { return model::Over(in[1], in[0]); }, NoParams);
    CheckOperation(
        2,
        [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
            EXPECT_EQ(1, CompositWithOpacity(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w,
                                             h, p[0], p[1]));
        },
        [](const Pel* in, const Params& p) {
            return p[0] == 255 && p[1] == 255 ? model::Over(in[1], in[0])
                                              : model::OverWithOpacity(in[1], in[0], p[0], p[1]);
        },
        Opacities);
}

TEST(BufferOps, CrossFadesMatchTheReference)
{
    CheckOperation(
        2,
        [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
            EXPECT_EQ(1, CrossFade(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h, p[0],
                                   p[1]));
        },
        [](const Pel* in, const Params& p) { return model::CrossFade(in[0], in[1], p[0], p[1]); },
        Weights);
    CheckOperation(
        2,
        [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
            EXPECT_EQ(1, ShapedCrossFade(d, dp, s[0].base, s[0].pitch, s[1].base, s[1].pitch, w, h,
                                         p[0], p[1]));
        },
        [](const Pel* in, const Params& p) {
            return model::ShapedCrossFade(in[0], in[1], p[0], p[1]);
        },
        Weights);
}

TEST(BufferOps, FadeAndPreMultAlphaMatchTheReference)
{
    CheckOperation(
        1,
        [](char* d, int dp, const Rows* s, int w, int h, const Params& p) {
            EXPECT_EQ(1, Fade(d, dp, s[0].base, s[0].pitch, w, h, p[0]));
        },
        [](const Pel* in, const Params& p) { return model::Fade(in[0], p[0]); },
        [](std::mt19937& rng) {
            return Params{Pick(rng, {0, 128, 256, -1, -256}, -300, 300), 0};
        });
    CheckOperation(
        1,
        [](char* d, int dp, const Rows* s, int w, int h, const Params&) {
            EXPECT_EQ(1, PreMultAlpha(d, dp, s[0].base, s[0].pitch, w, h));
        },
        [](const Pel* in, const Params&) { return model::PreMult(in[0]); }, NoParams);
}

// Every (top alpha, bottom alpha) pair, or (alpha, level) and (channel,
// alpha) pair, in one 256 x 256 call per parameter.
class AlphaGrid : public ::testing::Test {
  protected:
    void SetUp() override
    {
        SelectCEEFunctions();
        std::mt19937 rng(77);
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x) {
                a[y * 256 + x] = (rng() & 0x00FFFFFFu) | Pel(y) << 24;
                b[y * 256 + x] = (rng() & 0x00FFFFFFu) | Pel(x) << 24;
            }
    }
    char* Out() { return reinterpret_cast<char*>(out.data()); }
    const char* A() const { return reinterpret_cast<const char*>(a.data()); }
    const char* B() const { return reinterpret_cast<const char*>(b.data()); }
    template <class F> void Expect(F pelModel, const char* what, int param)
    {
        for (int i = 0; i < 65536; ++i)
            ASSERT_EQ(pelModel(a[i], b[i]), out[i])
                << what << " " << param << " alphas " << i / 256 << "," << i % 256;
    }
    std::vector<Pel> a = std::vector<Pel>(65536), b = a, out = a;
};

TEST_F(AlphaGrid, CompositsOverEveryAlphaPair)
{
    Composit(Out(), 1024, B(), 1024, A(), 1024, 256, 256);
    Expect([](Pel t, Pel bt) { return model::Over(t, bt); }, "composit", 0);
    const int opacities[] = {0, 1, 100, 127, 128, 254, 255};
    for (int ob : opacities)
        for (int ot : opacities) {
            if (ob == 255 && ot == 255)
                continue;
            CompositWithOpacity(Out(), 1024, B(), 1024, A(), 1024, 256, 256, ob, ot);
            Expect([=](Pel t, Pel bt) { return model::OverWithOpacity(t, bt, ob, ot); },
                   "opacities", ob * 1000 + ot);
        }
}

TEST_F(AlphaGrid, CrossFadesOverEveryAlphaPair)
{
    for (int wa : {0, 1, 77, 128, 255, 256}) {
        CrossFade(Out(), 1024, A(), 1024, B(), 1024, 256, 256, wa, 256 - wa);
        Expect([=](Pel x, Pel y) { return model::CrossFade(x, y, wa, 256 - wa); }, "cross", wa);
        ShapedCrossFade(Out(), 1024, A(), 1024, B(), 1024, 256, 256, wa, 256 - wa);
        Expect([=](Pel x, Pel y) { return model::ShapedCrossFade(x, y, wa, 256 - wa); }, "shaped",
               wa);
    }
}

TEST_F(AlphaGrid, FadeAndPreMultAlphaOverEveryAlphaAndChannel)
{
    for (int level = -2; level <= 258; ++level) {
        Fade(Out(), 1024, A(), 1024, 256, 256, level);
        Expect([=](Pel x, Pel) { return model::Fade(x, level); }, "level", level);
    }
    // Channels 0..255 against every alpha.
    for (int i = 0; i < 65536; ++i)
        a[i] = Pel(i & 255) * 0x010101u | Pel(i >> 8) << 24;
    PreMultAlpha(Out(), 1024, A(), 1024, 256, 256);
    Expect([](Pel x, Pel) { return model::PreMult(x); }, "premult", 0);
}

// Values worked out by hand, to anchor the reference itself.
TEST(BufferOps, HandWorkedPels)
{
    SelectCEEFunctions();
    auto run2 = [](auto op, Pel x, Pel y, int p0 = 0, int p1 = 0) {
        Pel out = 0x12345678u;
        op(reinterpret_cast<char*>(&out), reinterpret_cast<const char*>(&x),
           reinterpret_cast<const char*>(&y), p0, p1);
        return out;
    };
    auto composit = [](char* d, const char* b, const char* t, int, int) {
        Composit(d, 4, b, 4, t, 4, 1, 1);
    };
    auto withOpacity = [](char* d, const char* b, const char* t, int ob, int ot) {
        CompositWithOpacity(d, 4, b, 4, t, 4, 1, 1, ob, ot);
    };
    auto cross = [](char* d, const char* a, const char* b, int wa, int wb) {
        CrossFade(d, 4, a, 4, b, 4, 1, 1, wa, wb);
    };
    auto shaped = [](char* d, const char* a, const char* b, int wa, int wb) {
        ShapedCrossFade(d, 4, a, 4, b, 4, 1, 1, wa, wb);
    };
    // Alpha 128 over alpha 128: w = 64, A = 192, C = ((tc*128 + bc*64) * 341) >> 16.
    EXPECT_EQ(0xC0A60000u, run2(composit, 0x80640000u, 0x80C80000u));
    EXPECT_EQ(0x80C80000u, run2(composit, 0x00112233u, 0x80C80000u)); // transparent bottom
    EXPECT_EQ(0x80112233u, run2(composit, 0x80112233u, 0x00C80000u)); // transparent top
    // Top opacity 0 leaves the bottom with alpha (200 * 100) / 255 = 78; a
    // scaled bottom of 0 gives the top's colour with alpha 0.
    EXPECT_EQ(0x4E112233u, run2(withOpacity, 0xC8112233u, 0xFF445566u, 100, 0));
    EXPECT_EQ(0x00445566u, run2(withOpacity, 0x01112233u, 0xFF445566u, 100, 0));
    EXPECT_EQ(0u, run2(cross, 0x00112233u, 0x00445566u, 128, 128));
    EXPECT_EQ(0x7F445566u, run2(cross, 0x7F445566u, 0x7F445566u, 3, 5));
    EXPECT_EQ(0x7F445566u, run2(cross, 0x7F445566u, 0x30112233u, 256, 0));
    EXPECT_EQ(0x7F445566u, run2(shaped, 0x7F445566u, 0x30112233u, 256, 0));
    Pel faded = 0xFF102030u;
    Fade(reinterpret_cast<char*>(&faded), 4, reinterpret_cast<const char*>(&faded), 4, 1, 1, 128);
    EXPECT_EQ(0x7F102030u, faded);
}
