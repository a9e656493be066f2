// Every row kernel of every family against its family's scalar set, bit for bit.
//
// One table row per routine: how to call it, and the passes it needs (a layout of
// rows and the arguments to sweep). Each row becomes one test that runs every set
// this CPU runs against the scalar one, so a new family or routine is a new row
// and a new target is checked by the rows already there.
#include "PixelRoutinesLite.h"
#include "kernels/channel/ChannelKernels.h"
#include "kernels/composite/CompositKernels.h"
#include "kernels/crawl/CrawlKernels.h"
#include "kernels/mix/MixKernels.h"
#include "kernels/roll/RollKernels.h"
#include "kernels/scale/ScaleKernels.h"
#include "stem.h"
#include "support/RowHarness.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace {

using R = const support::Rows*;
using support::u32;
using Args = std::array<int, 6>;
using Call = std::function<void(R rows, int count, const Args&)>;

enum class Layout {
    kEveryOffset, // seeded rows, counts -1..67 at every pel of a 64-byte line,
                  // aliasing each source, guard bytes around every row
    kSeeded,      // the same at one random offset: cheap, for long sweeps
    kLongRow,     // seeded rows of 251 pels, a tail at every width
    kAlphaPairs,  // rows[1] and rows[2] meet every pair of alphas
    kAlphaRun,    // rows[1] runs through every alpha over 4 * 1024 + 13 pels
    kEveryColour, // rows[1] holds every blue, green, red triple
    kNeighbours,  // every pair of alphas side by side: pels 2j and 2j + 1
    kTitleText,   // one-colour glyphs with soft edges between clear gaps of junk colour
    kTitleOver,   // the title text over a picture with translucent and clear patches,
                  // a[4] pels short
    kFootprint,   // the source rows a scale list reads, exactly sized (see ScaleRows)
};

struct Pass {
    Layout layout;
    std::vector<Args> args;
};

// rows[0] is the destination, rows[1 ..] the sources.
struct Routine {
    std::string name;
    int sources;
    std::vector<Pass> passes;
    std::vector<std::pair<std::string, Call>> sets; // scalar first
};

// Names the row in test listings, which would otherwise dump its bytes.
void PrintTo(const Routine& routine, std::ostream* out)
{
    *out << routine.name;
}

template <class Set, class Run>
Routine Row(const Kernels::SetTable<Set>& table, std::string name, int sources, Run run,
            std::vector<Pass> passes)
{
    const Set* sets[Kernels::kTargetCount];
    Routine routine{std::move(name), sources, std::move(passes), {}};
    for (int i = 0, n = Kernels::Runnable(table, sets); i < n; ++i) {
        const Set* set = sets[i];
        routine.sets.push_back(
            {set->name, [set, run](R r, int count, const Args& a) { run(*set, r, count, a); }});
    }
    return routine;
}

std::vector<Args> Sweep(int first, int last, Args with = {}, int at = 0)
{
    std::vector<Args> all;
    for (int v = first; v <= last; ++v) {
        with[std::size_t(at)] = v;
        all.push_back(with);
    }
    return all;
}

// --- layouts ---------------------------------------------------------------------

std::vector<u32> Prefix(const std::vector<u32>& row, int count)
{
    return {row.begin(), row.begin() + count};
}

// The scaler's rows. Arguments: input and output width, input and output
// height, content, and the pels of one destination row at a column and row the
// arguments pick, or 0 for the whole picture row by row as the scaler streams
// it. A positive run is written with the set's prepared memory, then without
// it; a negative one and a picture only with it, prepared once for every row.
enum Content { kRandom, kFlat, kPalette, kTranslucent, kClear, kBlocks, kSparse };

std::vector<tagScaleList> ScaleList(int in, int out)
{
    std::vector<tagScaleList> list(std::size_t(out) + 1);
    EXPECT_TRUE(ScaleGenScaleList(list.data(), in, out));
    return list;
}

// Pels one entry reads along its axis: the first, the whole middle ones, and
// the last when it carries weight.
int Reads(const tagScaleList& e)
{
    return e.count == -1 ? 1 : 1 + e.count + (e.lastWeight > 0 ? 1 : 0);
}

struct Footprint {
    std::vector<tagScaleList> h, v;
    int column = 1, run = 0;             // the first output column's entry, pels per row
    int row = 1, rows = 1;               // the first output row's entry, rows
    int width = 0, height = 0, kept = 0; // source columns and rows read, rows stored
};

u32 Seed(const Args& a)
{
    u32 seed = 0;
    for (int v : a)
        seed = seed * 1000003u + u32(v);
    return seed;
}

Footprint Plan(const Args& a)
{
    Footprint f;
    f.h = ScaleList(a[0], a[1]);
    f.v = ScaleList(a[2], a[3]);
    f.run = a[5] ? std::abs(a[5]) : a[1];
    if (a[5]) {
        support::Rng rng(Seed(a));
        f.column += int(rng.Below(u32(a[1] - f.run + 1)));
        f.row += int(rng.Below(u32(a[3])));
    } else {
        f.rows = a[3];
    }
    for (int j = 0, x = 0; j < f.run; x += f.h[std::size_t(f.column + j++)].advance)
        f.width = std::max(f.width, x + Reads(f.h[std::size_t(f.column + j)]));
    for (int i = 0, y = 0; i < f.rows; y += f.v[std::size_t(f.row + i++)].advance)
        f.height = std::max(f.height, y + Reads(f.v[std::size_t(f.row + i)]));
    // Big footprints of one row repeat a few distinct rows.
    f.kept = f.rows == 1 && f.width * f.height > 1 << 16 ? 4 : f.height;
    return f;
}

// Random pels make quotients that are rarely near an integer; flat and
// few-coloured pictures make them near or on one, where a kernel that takes a
// shortcut for the division must still truncate as the division does.
// Translucent and clear footprints give sums of alpha near and below 1; clear
// pictures with a few pels of odd alpha give long clear stretches, with a pel
// that is not clear anywhere in a footprint now and then.
u32 MakePel(int content, const u32 palette[4], support::Rng& rng, int x, int y)
{
    switch (content) {
    case kRandom:
        return rng.Pel();
    case kFlat:
        return palette[0];
    case kTranslucent:
        return (rng.Next() & 0xFFFFFF) | (1 + rng.Below(254)) << 24;
    case kClear:
        return rng.Next() & 0xFFFFFF;
    case kBlocks: {
        // 37 x 29 blocks, opaque or clear
        u32 h = (u32(x / 37) * 0x9E3779B1u + u32(y / 29)) * 0x85EBCA77u;
        h ^= h >> 13;
        return h >> 8 | (h & 1 ? 0xFF000000u : 0);
    }
    case kSparse:
        if (rng.Below(700))
            return rng.Next() & 0xFFFFFF;
        return rng.Pel() | 0x01000000u;
    default:
        return palette[rng.Below(4)];
    }
}

std::vector<std::vector<u32>> FootprintRows(const Args& a)
{
    const Footprint f = Plan(a);
    support::Rng rng(Seed(a));
    // Opaque, translucent, clear and one channel at 0 or 255 among them.
    const u32 palette[4] = {rng.Pel() | 0xFF000000u, rng.Pel() & 0x80FF00FFu, 0x00123456u,
                            0xFF00FF00u | (rng.Pel() & 0xFFu)};
    std::vector<std::vector<u32>> rows(std::size_t(f.kept) + 1);
    rows[0].resize(std::size_t(f.run) * std::size_t(a[5] > 0 ? 2 : f.rows));
    for (u32& p : rows[0])
        p = rng.Pel();
    for (int y = 0; y < f.kept; ++y) {
        std::vector<u32>& row = rows[std::size_t(y) + 1];
        row.resize(std::size_t(f.width));
        for (int x = 0; x < f.width; ++x)
            row[std::size_t(x)] = MakePel(a[4], palette, rng, x, y);
    }
    return rows;
}

// The rows of the whole-row layouts, part `part` of Parts(layout).
int Parts(Layout layout)
{
    return layout == Layout::kEveryColour ? 64 : 1;
}

std::vector<std::vector<u32>> Contents(Layout layout, const Args& a, int part)
{
    const support::AlphaPairs& pairs = support::Pairs();
    switch (layout) {
    case Layout::kAlphaPairs:
        return {pairs.third, pairs.upper, pairs.lower, pairs.third};
    case Layout::kAlphaRun: {
        const int n = 4 * 1024 + 13;
        return {Prefix(pairs.third, n), Prefix(pairs.lower, n), Prefix(pairs.third, n),
                Prefix(pairs.upper, n)};
    }
    case Layout::kEveryColour: {
        // alphas run through 0..255 against the colours
        std::vector<u32> pels(1u << 18);
        for (u32 i = 0; i < pels.size(); ++i) {
            const u32 c = u32(part) << 18 | i;
            pels[i] = ((c * 2654435761u) >> 24) << 24 | c;
        }
        return {std::vector<u32>(pels.size()), pels};
    }
    case Layout::kTitleText: {
        // Now and then a run of one alpha in many colours, or a new text
        // colour: every kind of crawl block meets every other.
        support::Rng rng(17);
        std::vector<u32> src;
        u32 colour = 0xF0F0F0;
        while (src.size() < 4001) {
            const u32 kind = rng.Below(16), run = 1 + rng.Below(kind < 8 ? 24 : 3);
            if (kind == 15)
                colour = rng.Next() & 0xFFFFFF;
            const u32 alpha = kind < 4                 ? 0
                              : kind < 8 || kind == 14 ? 255
                              : kind < 14              ? 1 + rng.Below(254)
                                                       : rng.Next();
            for (u32 i = 0; i < run; ++i) {
                const u32 rgb = kind < 4 || kind == 14 ? rng.Next() : colour;
                src.push_back((alpha & 0xFF) << 24 | (rgb & 0xFFFFFF));
            }
        }
        return {std::vector<u32>(src.size() - 1), src};
    }
    case Layout::kTitleOver: {
        std::vector<u32> top = Contents(Layout::kTitleText, a, 0)[1];
        top.resize(top.size() - std::size_t(a[4]));
        support::Rng rng(23);
        std::vector<u32> bottom;
        for (u32 kind = 2; bottom.size() < top.size(); kind = rng.Below(8)) {
            const u32 alpha = kind == 0 ? rng.Next() : kind == 1 ? 0 : 255;
            for (u32 run = 1 + rng.Below(kind < 2 ? 12 : 60); run > 0; --run)
                bottom.push_back((alpha & 0xFF) << 24 | (rng.Next() & 0xFFFFFF));
        }
        bottom.resize(top.size());
        return {std::vector<u32>(top.size()), top, bottom};
    }
    case Layout::kFootprint:
        return FootprintRows(a);
    default: {
        // extreme colours every third fraction
        support::Rng rng{u32(a[0])};
        std::vector<u32> src(2 * 65536 + 1);
        for (u32 i = 0; i < src.size(); ++i) {
            const u32 j = i / 2, alpha = i % 2 ? j & 255 : j >> 8;
            const u32 colour = a[0] % 3 ? rng.Next() : (rng.Next() & 1 ? 0xFFFFFFu : 0u);
            src[i] = alpha << 24 | (colour & 0xFFFFFF);
        }
        return {std::vector<u32>(src.size() - 1), src};
    }
    }
}

// `run` against `want` on copies of `start` with guard pels after each row, or
// after the destination only: sources sized exactly trip the sanitizers when
// read past.
void CheckWhole(const std::string& label, std::vector<std::vector<u32>> start, const Call& run,
                const Call& want, const Args& a, bool guardSources = true)
{
    const int count = int(start[0].size());
    support::Rng rng(9);
    for (std::size_t k = 0; k < (guardSources ? start.size() : 1); ++k)
        for (int g = 0; g < 16; ++g)
            start[k].push_back(rng.Pel());
    std::vector<std::vector<u32>> got = start, expected = std::move(start);
    const auto call = [&](const Call& f, std::vector<std::vector<u32>>& rows) {
        std::vector<support::Rows> r;
        for (std::vector<u32>& row : rows)
            r.push_back({reinterpret_cast<char*>(row.data()), 0});
        f(r.data(), count, a);
    };
    call(run, got);
    call(want, expected);
    for (std::size_t k = 0; k < got.size(); ++k) {
        const auto miss = std::mismatch(got[k].begin(), got[k].end(), expected[k].begin());
        if (miss.first != got[k].end()) {
            ADD_FAILURE() << label << std::hex << ": row " << k << " pel "
                          << (miss.first - got[k].begin()) << " got 0x" << *miss.first << " want 0x"
                          << *miss.second;
            return;
        }
    }
}

void Check(Layout layout, const std::string& label, int sources, const Call& run, const Call& want,
           const Args& a)
{
    const auto with = [&a](const Call& f) { return [&f, &a](R r, int n, int) { f(r, n, a); }; };
    support::RowChecks checks = {1, true, true, false, 16, true};
    switch (layout) {
    case Layout::kSeeded:
        checks.rounds = 1;
        checks.everyPelOffset = false;
        [[fallthrough]];
    case Layout::kEveryOffset:
        return support::CheckRows(label, sources, with(run), with(want), checks);
    case Layout::kLongRow: {
        support::Rng rng(std::hash<std::string>()(label));
        std::vector<std::vector<u32>> start;
        for (int k = 0; k < 4; ++k)
            start.push_back(support::RandomRow(rng, 251));
        return CheckWhole(label, start, run, want, a);
    }
    default:
        for (int part = 0; part < Parts(layout); ++part)
            CheckWhole(label + " part " + std::to_string(part), Contents(layout, a, part), run,
                       want, a, layout != Layout::kFootprint);
    }
}

// --- the table ---------------------------------------------------------------------

using Kernels::ChannelSet;
using Kernels::CompositSet;
using Kernels::CrawlSet;
using Kernels::MixSet;
using Kernels::RollSet;
constexpr Layout kEveryOffset = Layout::kEveryOffset, kSeeded = Layout::kSeeded,
                 kLongRow = Layout::kLongRow, kAlphaPairs = Layout::kAlphaPairs,
                 kAlphaRun = Layout::kAlphaRun;

u8* Bytes(R r, int k)
{
    return reinterpret_cast<u8*>(r[k].base);
}

std::vector<Routine> ChannelRows()
{
    const Pass everyColour = {Layout::kEveryColour, {{}}};
    return {
        Row(Kernels::kChannelSets, "byteRow", 1,
            [](const ChannelSet& s, R r, int n, const Args& a) {
                s.byteRow(Bytes(r, 0), Bytes(r, 1), n, a[0]);
            },
            {{kEveryOffset, Sweep(0, 3)}}),
        Row(Kernels::kChannelSets, "coveredLuminance", 1,
            [](const ChannelSet& s, R r, int n, const Args&) {
                s.coveredLuminance(Bytes(r, 0), Bytes(r, 1), n);
            },
            {{kEveryOffset, {{}}}, everyColour}),
        Row(Kernels::kChannelSets, "luminance", 1,
            [](const ChannelSet& s, R r, int n, const Args&) {
                s.luminance(Bytes(r, 0), Bytes(r, 1), n);
            },
            {{kEveryOffset, {{}}}, everyColour}),
    };
}

// Arguments are opacities bottom, middle, top, or a colour; rows[1] is the top
// (or only) row, rows[2] the bottom, rows[3] the middle.
std::vector<Routine> CompositRows()
{
    const Pass pairs = {kAlphaPairs, {{255, 128, 255}}};
    // Every colour alpha over every row alpha.
    std::vector<Args> colours;
    for (u32 ca = 0; ca < 256; ++ca)
        colours.push_back({int(ca << 24 | (ca * 0x010307u & 0xFFFFFF))});
    const std::vector<Pass> colour = {
        {kEveryOffset, {{0x00123456}, {int(0x80FF7F01u)}, {int(0xFF998877u)}}},
        {kAlphaRun, colours}};
    // Every opacity of each row in turn, the next row's 77.
    std::vector<Args> opacities;
    for (std::size_t row = 0; row < 3; ++row)
        for (int o = 0; o < 256; ++o) {
            Args a = {255, 255, 255};
            a[row] = o;
            a[(row + 1) % 3] = 77;
            opacities.push_back(a);
        }
    const Pass everyOpacity = {kAlphaRun, opacities};
    // a[3] = 1 or 2 writes over the bottom or the top row.
    const auto two = [](auto member) {
        return [member](const CompositSet& s, R r, int n, const Args& a) {
            (s.*member)(r[a[3] == 1 ? 2 : a[3] == 2 ? 1 : 0].base, r[2].base, r[1].base, n);
        };
    };
    std::vector<Args> titles;
    for (int into = 0; into < 3; ++into)
        for (int shorter = 0; shorter < 34; ++shorter)
            titles.push_back({0, 0, 0, into, shorter});
    const Pass title = {Layout::kTitleOver, titles};
    const auto on = [](auto member) {
        return [member](const CompositSet& s, R r, int n, const Args& a) {
            (s.*member)(r[0].base, r[1].base, n, u32(a[0]));
        };
    };
    const auto& t = Kernels::kCompositSets;
    return {
        Row(t, "composit", 2, two(&CompositSet::composit), {{kEveryOffset, {{}}}, pairs, title}),
        Row(t, "compositOnOpaque", 2, two(&CompositSet::compositOnOpaque),
            {{kEveryOffset, {{}}}, pairs, title}),
        Row(t, "compositOnColour", 1, on(&CompositSet::compositOnColour), colour),
        Row(t, "compositColourOn", 1, on(&CompositSet::compositColourOn), colour),
        Row(t, "compositColourOnOpaque", 1, on(&CompositSet::compositColourOnOpaque), colour),
        Row(t, "compositWithOpacity", 2,
            [](const CompositSet& s, R r, int n, const Args& a) {
                s.compositWithOpacity(r[0].base, r[2].base, r[1].base, n, u32(a[0]), u32(a[2]));
            },
            {{kEveryOffset, {{255, 255, 255}, {128, 1, 0}}}, pairs, everyOpacity}),
        Row(t, "compositThree", 3,
            [](const CompositSet& s, R r, int n, const Args& a) {
                s.compositThree(r[0].base, r[2].base, r[3].base, r[1].base, n, u32(a[0]), u32(a[1]),
                                u32(a[2]));
            },
            {{kEveryOffset, {{255, 255, 255}, {128, 1, 0}}}, pairs, everyOpacity}),
        // opacities outside 0..255 too
        Row(t, "compositWithScaledAlphas", 2,
            [](const CompositSet& s, R r, int n, const Args& a) {
                s.compositWithScaledAlphas(r[0].base, r[2].base, r[1].base, n, a[0], a[2]);
            },
            {{kEveryOffset,
              {{0, 0, 128}, {-1, 0, 256}, {1000, 0, -300}, {128, 0, 1000}, {0, 0, -1}}},
             pairs,
             everyOpacity}),
    };
}

std::vector<Routine> MixRows()
{
    // In range (wa + wb = 256 and below), then outside: negative, past 2^15,
    // sums that wrap.
    const std::vector<Args> inRange = {{0, 256}, {1, 255}, {77, 179}, {128, 128},
                                       {255, 1}, {256, 0}, {0, 0},    {100, 100}};
    std::vector<Args> weights = inRange;
    for (Args w : std::vector<Args>{{256, 256},
                                    {300, -44},
                                    {-1, 257},
                                    {-300, -5},
                                    {32767, -32768},
                                    {32768, 0},
                                    {65536, 3},
                                    {1 << 24, 1 << 23},
                                    {INT_MIN, INT_MAX},
                                    {-7, 0}})
        weights.push_back(w);
    std::vector<Args> levels = Sweep(-2, 258);
    for (int l : {-256, -300, 32767, 32768, -32768, -32769, 65536, 1 << 23, INT_MAX, INT_MIN})
        levels.push_back({l});
    const auto zip = [](auto member) {
        return [member](const MixSet& s, R r, int n, const Args&) {
            (s.*member)(r[0].base, r[1].base, r[2].base, n);
        };
    };
    const auto& t = Kernels::kMixSets;
    return {
        Row(t, "fade", 1,
            [](const MixSet& s, R r, int n, const Args& a) {
                s.fade(r[0].base, r[1].base, n, u32(a[0]));
            },
            {{kEveryOffset, {{128}}}, {kLongRow, Sweep(0, 255)}}),
        Row(t, "add", 2, zip(&MixSet::add), {{kEveryOffset, {{}}}, {kAlphaPairs, {{}}}}),
        Row(t, "blend", 2,
            [](const MixSet& s, R r, int n, const Args& a) {
                s.blend(r[0].base, r[1].base, r[2].base, n, u32(a[0]));
            },
            {{kEveryOffset, {{77}}},
             {kLongRow, Sweep(0, 255)},
             {kAlphaPairs, {{0}, {1}, {64}, {127}, {128}, {200}, {254}, {255}}}}),
        Row(t, "max", 2, zip(&MixSet::max), {{kEveryOffset, {{}}}}),
        // a byte of the pel, replaced: byte a / 256, value a % 256
        Row(t, "setBits", 0,
            [](const MixSet& s, R r, int n, const Args& a) {
                const int shift = 8 * (a[0] >> 8);
                s.setBits(r[0].base, n, ~(0xFFu << shift), u32(a[0] & 255) << shift);
            },
            {{kEveryOffset, {{0x2AB}}}, {kLongRow, Sweep(0, 1023)}}),
        Row(t, "fill", 0,
            [](const MixSet& s, R r, int n, const Args& a) { s.fill(r[0].base, n, u32(a[0])); },
            {{kEveryOffset, {{0x12345678}}}}),
        Row(t, "levelFade", 1,
            [](const MixSet& s, R r, int n, const Args& a) {
                s.levelFade(r[0].base, r[1].base, n, a[0]);
            },
            {{kEveryOffset, {{-129}}}, {kLongRow, levels}}),
        Row(t, "crossFade", 2,
            [](const MixSet& s, R r, int n, const Args& a) {
                s.crossFade(r[0].base, r[1].base, r[2].base, n, a[0], a[1]);
            },
            {{kEveryOffset, {inRange[2]}}, {kLongRow, weights}, {kAlphaPairs, inRange}}),
        Row(t, "shapedCrossFade", 2,
            [](const MixSet& s, R r, int n, const Args& a) {
                s.shapedCrossFade(r[0].base, r[1].base, r[2].base, n, a[0], a[1]);
            },
            {{kEveryOffset, {inRange[2]}}, {kLongRow, weights}}),
        Row(t, "preMultAlpha", 1,
            [](const MixSet& s, R r, int n, const Args&) {
                s.preMultAlpha(r[0].base, r[1].base, n);
            },
            {{kEveryOffset, {{}}}}),
    };
}

// Arguments are fraction, level, step.
std::vector<Routine> CrawlRows()
{
    // Fractions at both ends, a sweep between, and beyond the range, where a
    // block could wrap: multiples of 64 at every offset.
    std::vector<Args> fractions = {{-1}, {257}, {300}, {-256}, {INT_MIN}, {INT_MAX},
                                   {1},  {2},   {127}, {129},  {254},     {255}};
    for (int f = 0; f <= 256; f += 16)
        fractions.push_back({f});
    std::vector<Args> offsetFractions, seededFractions;
    for (const Args& f : fractions)
        (f[0] % 64 ? seededFractions : offsetFractions).push_back(f);
    const std::vector<Pass> subpix = {{kEveryOffset, offsetFractions},
                                      {kSeeded, seededFractions},
                                      {Layout::kNeighbours, Sweep(0, 256)},
                                      {Layout::kTitleText, {{0}, {1}, {77}, {128}, {255}, {256}}}};
    // The ceiling reached mid-row and from above, negative levels and steps,
    // levels falling past the 32-bit lanes' floor and past int itself.
    const std::vector<std::array<int, 2>> gradients = {
        {0, 16320},         {0xFF00, -16320},   {0x10000, 0},       {0x10000, 7},
        {-5000, 300},       {0x8000, 5000},     {0xFF00, 1},        {INT_MAX, 1},
        {INT_MAX, INT_MIN}, {0x10001, -3},      {INT_MIN, INT_MIN}, {100, -(1 << 24)},
        {0, 1 << 24},       {0, (1 << 24) + 1}, {-(1 << 30), -1},   {-(1 << 30) - 1, 5},
        {-20000, -999},     {INT_MIN, INT_MAX}, {0x7F80, 0},        {1 << 20, -(1 << 16)}};
    std::vector<Args> plain, atOffsets, seeded;
    for (const auto& g : gradients) {
        plain.push_back({0, g[0], g[1]});
        atOffsets.push_back({77, g[0], g[1]});
        for (int f : {0, 256, 257})
            seeded.push_back({f, g[0], g[1]});
    }
    std::vector<Args> titleGradients;
    for (int f : {0, 1, 77, 128, 255, 256})
        titleGradients.push_back({f, 0, 16});
    const std::vector<Pass> gradient = {
        {kEveryOffset, atOffsets}, {kSeeded, seeded}, {Layout::kTitleText, titleGradients}};
    const auto filter = [](auto member) {
        return [member](const CrawlSet& s, R r, int n, const Args& a) {
            (s.*member)(r[0].base, r[1].base, n, a[0]);
        };
    };
    const auto faded = [](auto member) {
        return [member](const CrawlSet& s, R r, int n, const Args& a) {
            (s.*member)(r[0].base, r[1].base, n, a[0], a[1], a[2]);
        };
    };
    const auto& t = Kernels::kCrawlSets;
    return {
        Row(t, "gradient", 1,
            [](const CrawlSet& s, R r, int n, const Args& a) {
                s.gradient(r[0].base, r[1].base, n, a[1], a[2]);
            },
            {{kSeeded, plain}}),
        Row(t, "subpix", 1, filter(&CrawlSet::subpix), subpix),
        Row(t, "shapedSubpix", 1, filter(&CrawlSet::shapedSubpix), subpix),
        Row(t, "subpixGradient", 1, faded(&CrawlSet::subpixGradient), gradient),
        Row(t, "shapedSubpixGradient", 1, faded(&CrawlSet::shapedSubpixGradient), gradient),
    };
}

// Arguments are a scale, or weights top line first; out-of-range weights
// leave the floats' exact domain and wrap 32-bit sums.
std::vector<Routine> RollRows()
{
    std::vector<Args> scales;
    for (u32 scale : {0u, 1u, 112u, 192u, 240u, 255u, 256u, 257u, 0x1000003u, 0xFFFFFFFFu})
        scales.push_back({int(scale)});
    const std::vector<Args> two = {{256, 0},     {0, 256}, {128, 128}, {179, 77},
                                   {0, 0},       {50, 30}, {-1, 257},  {300, 0},
                                   {INT_MIN, 5}, {255, 2}, {256, 256}, {255, 200}};
    const std::vector<Args> three = {
        {0, 256, 0},     {64, 128, 64},   {128, 0, 128},    {10, 20, 30},   {0, 0, 0},
        {-5, 200, 61},   {100, 100, 100}, {200, -100, 156}, {1, 255, 0},    {0, 0, 256},
        {INT_MAX, 1, 1}, {85, 85, 86},    {256, 256, 0},    {200, 200, 112}};
    const auto& t = Kernels::kRollSets;
    return {
        Row(t, "copyScaledAlpha", 1,
            [](const RollSet& s, R r, int n, const Args& a) {
                s.copyScaledAlpha(r[0].base, r[1].base, n, u32(a[0]));
            },
            {{kEveryOffset, scales}}),
        Row(t, "mix2", 2,
            [](const RollSet& s, R r, int n, const Args& a) {
                const char* lines[2] = {r[1].base, r[2].base};
                s.mix2(r[0].base, lines, a.data(), n);
            },
            {{kEveryOffset, two}}),
        Row(t, "mix3", 3,
            [](const RollSet& s, R r, int n, const Args& a) {
                const char* lines[3] = {r[1].base, r[2].base, r[3].base};
                s.mix3(r[0].base, lines, a.data(), n);
            },
            {{kEveryOffset, three}}),
    };
}

void ProduceRows(const Kernels::ScaleSet& s, R r, const Args& a)
{
    const Footprint f = Plan(a);
    Pel* dst = r[0].Pels();
    std::vector<unsigned char> memory;
    void* columns = nullptr;
    std::vector<const Pel*> rows;
    for (int i = 0, first = 0; i < f.rows; ++i) {
        const tagScaleList& e = f.v[std::size_t(f.row + i)];
        rows.clear();
        for (int k = 0; k < Reads(e); ++k)
            rows.push_back(r[1 + (first + k) % f.kept].Pels());
        Kernels::ScaleRowJob job{rows.data(),  &e,    f.v[0].ratio, &f.h[std::size_t(f.column)],
                                 f.h[0].ratio, f.run, nullptr};
        if (!columns && s.prepareColumns) {
            memory.resize(s.columnBytes(f.run, f.width) + 64);
            void* at = memory.data();
            std::size_t room = memory.size();
            columns = std::align(64, room - 64, at, room);
            s.prepareColumns(columns, job);
        }
        job.columns = columns;
        s.produceRow(dst, job);
        dst += f.run;
        if (a[5] > 0) {
            // A set without prepared memory has but the one way.
            job.columns = nullptr;
            if (columns)
                s.produceRow(dst, job);
            else
                std::copy(dst - f.run, dst, dst);
            dst += f.run;
        }
        first += e.advance;
    }
}

std::vector<Routine> ScaleRows()
{
    // Shrinks by integer and odd ratios, enlarges, equal sizes and 1-pel axes.
    const std::array<int, 2> axes[] = {{1, 1},   {1, 7},   {7, 1},   {5, 5},   {2, 3},    {3, 2},
                                       {10, 3},  {64, 67}, {67, 64}, {99, 13}, {13, 99},  {200, 67},
                                       {48, 96}, {96, 48}, {37, 36}, {36, 37}, {300, 41}, {1, 70}};
    // Every run up to 67 on each pair, its list long enough for the run.
    std::vector<Args> runs;
    for (const auto& h : axes)
        for (const auto& v : axes)
            for (int run = 1; run <= 67; ++run) {
                const int times = (run + h[1] - 1) / h[1];
                runs.push_back({h[0] * times, h[1] * times, v[0], v[1], run % 3, run});
            }
    // Sizes from 1 to 4096 each way, half of them below 9 so that ratios reach
    // 4096 both ways; runs up to 300.
    support::Rng rng(7);
    const auto size = [&rng] {
        return rng.Below(2) ? 1 + int(rng.Below(4096)) : 1 + int(rng.Below(8));
    };
    std::vector<Args> sizes;
    for (int trial = 0; trial < 400; ++trial) {
        Args a = {size(), size(), size(), size(), trial % kBlocks};
        a[5] = -1 - int(rng.Below(u32(std::min(a[1], 300))));
        sizes.push_back(a);
    }
    const std::vector<Args> frames = {{1920, 1280, 1080, 720, kRandom},
                                      {1920, 1280, 1080, 720, kBlocks},
                                      {1920, 1280, 1080, 720, kSparse},
                                      {1280, 3840, 720, 2160, kSparse},
                                      {768, 1920, 512, 1080, kRandom}};
    return {Row(
        Kernels::kScaleSets, "produceRow", 0,
        [](const Kernels::ScaleSet& s, R r, int, const Args& a) { ProduceRows(s, r, a); },
        {{Layout::kFootprint, runs}, {Layout::kFootprint, sizes}, {Layout::kFootprint, frames}})};
}

std::vector<Routine> Routines()
{
    std::vector<Routine> all;
    const struct {
        const char* name;
        std::vector<Routine> (*rows)();
    } families[] = {{"channel", ChannelRows}, {"composite", CompositRows}, {"crawl", CrawlRows},
                    {"mix", MixRows},         {"roll", RollRows},          {"scale", ScaleRows}};
    for (const auto& family : families)
        for (Routine& r : family.rows()) {
            r.name = std::string(family.name) + "_" + r.name;
            all.push_back(std::move(r));
        }
    return all;
}

class RowKernels : public testing::TestWithParam<Routine> {};

TEST_P(RowKernels, EverySetMatchesScalar)
{
    const Routine& r = GetParam();
    for (std::size_t i = 1; i < r.sets.size(); ++i)
        for (const Pass& pass : r.passes)
            for (const Args& a : pass.args) {
                std::string label = r.sets[i].first + " " + r.name + " args";
                for (int v : a)
                    label += " " + std::to_string(v);
                Check(pass.layout, label, r.sources, r.sets[i].second, r.sets[0].second, a);
            }
}

INSTANTIATE_TEST_SUITE_P(Families, RowKernels, testing::ValuesIn(Routines()),
                         [](const testing::TestParamInfo<Routine>& row) { return row.param.name; });

// --- what the rows rest on -----------------------------------------------------------

// A destination shifted a few pels against a source rewrites pels before they
// are read: the documented routines then give the pel-by-pel order of the
// scalar set, never a block's.
TEST(RowKernels, PartlyOverlappingRowsTakeThePelByPelResult)
{
    using Run = std::function<void(char*, char*, char*, int)>;
    const auto pels = [](char* row) { return reinterpret_cast<Pel*>(row); };
    const auto& mix = Kernels::kMixScalar;
    const std::pair<Run, Run> routines[] = {
        {Kernels::RunComposit, Kernels::kCompositScalar.composit},
        {[&](char* d, char* a, char*, int n) { Stem::FadeCopyScanline(pels(d), pels(a), n, 99); },
         [&](char* d, char* a, char*, int n) { mix.fade(d, a, n, 99); }},
        {[&](char* d, char* a, char* b, int n) { Stem::AddScanline(pels(d), pels(a), pels(b), n); },
         mix.add},
        {[&](char* d, char* a, char* b, int n) {
             Stem::BlendScanline(pels(d), pels(a), pels(b), n, 40);
         },
         [&](char* d, char* a, char* b, int n) { mix.blend(d, a, b, n, 40); }},
        {[&](char* d, char* a, char* b, int n) { Stem::MaxScanline(pels(d), pels(a), pels(b), n); },
         mix.max},
        {[](char* d, char* a, char*, int n) { CEE_ScanlineFade(d, a, n, 130); },
         [&](char* d, char* a, char*, int n) { mix.levelFade(d, a, n, 130); }},
        {[](char* d, char* a, char* b, int n) { CEE_ScanlineCrossFade(d, a, b, n, 100, 156); },
         [&](char* d, char* a, char* b, int n) { mix.crossFade(d, a, b, n, 100, 156); }},
        {[](char* d, char* a, char* b, int n) {
             CEE_ScanlineShapedCrossFade(d, a, b, n, 100, 156);
         },
         [&](char* d, char* a, char* b, int n) { mix.shapedCrossFade(d, a, b, n, 100, 156); }},
        {[](char* d, char* a, char*, int n) { CEE_ScanlinePreMultAlpha(d, a, n); },
         [&](char* d, char* a, char*, int n) { mix.preMultAlpha(d, a, n); }},
    };
    support::Rng rng(11);
    for (std::size_t index = 0; index < std::size(routines); ++index)
        for (int count : {1, 7, 8, 9, 17, 33, 40})
            for (int shift = -3; shift <= 3; ++shift)
                for (int which = 0; which < 2; ++which) {
                    // [4 guard][dst, count][4 guard][other source, count][4 guard]
                    const std::vector<u32> start = support::RandomRow(rng, 2 * count + 12);
                    std::vector<u32> want = start, got = start;
                    const auto run = [&](std::vector<u32>& mem, const Run& f) {
                        char* dst = reinterpret_cast<char*>(mem.data() + 4);
                        char* moved = dst + shift * 4;
                        char* other = reinterpret_cast<char*>(mem.data() + count + 8);
                        f(dst, which ? other : moved, which ? moved : other, count);
                    };
                    run(want, routines[index].second);
                    run(got, routines[index].first);
                    ASSERT_EQ(want, got) << "routine " << index << " count " << count << " shift "
                                         << shift << " source " << which;
                }
    // Any of three sources can be the one that smears.
    char row[64 * 4];
    for (int source = 0; source < 3; ++source)
        for (int shift = -16; shift <= 16; ++shift) {
            const char* s[3] = {row + 64, row + 64, row + 64};
            s[source] = row + 64 + shift * 4;
            const bool partial = shift != 0 && shift > -16 && shift < 16;
            EXPECT_EQ(&Kernels::ActiveFor(Kernels::kCompositSets, row + 64, 16, s[0], s[1], s[2]),
                      partial ? &Kernels::kCompositScalar
                              : &Kernels::Active(Kernels::kCompositSets))
                << "source " << source << " shift " << shift;
        }
}

// The crawl's vector sets divide in floats: for every divisor s up to 65280 and
// quotient k up to 255, numerators k*s and (k + 1)*s - 1 truncate to k. Division
// is monotonic in the numerator, so every numerator between them does too.
TEST(RowKernels, FloatQuotientsTruncateExactlyBelow2To24)
{
    for (int s = 1; s <= 65280; ++s)
        for (int k = 0; k < 256; ++k) {
            const float fs = float(s);
            ASSERT_EQ(int(float(k * s) / fs), k) << "s " << s;
            ASSERT_EQ(int(float((k + 1) * s - 1) / fs), k) << "s " << s << " k " << k;
        }
}

// The crawl's lanes take a row only where its levels stay in 32-bit reach.
TEST(RowKernels, GradientFitsLanesBoundsTheRowsLevels)
{
    EXPECT_TRUE(Kernels::GradientFitsLanes(0, 16320, 1000));
    EXPECT_TRUE(Kernels::GradientFitsLanes(0x10000, 1 << 24, INT_MAX));
    EXPECT_FALSE(Kernels::GradientFitsLanes(0x10001, 0, 10));
    EXPECT_FALSE(Kernels::GradientFitsLanes(0, (1 << 24) + 1, 10));
    EXPECT_TRUE(Kernels::GradientFitsLanes(0, -(1 << 24), 65));
    EXPECT_FALSE(Kernels::GradientFitsLanes(0, -(1 << 24), 66));
    EXPECT_FALSE(Kernels::GradientFitsLanes(-(1 << 30) - 1, 0, 1));
}

} // namespace
