// Every fade, mix, channel and fill kernel set this CPU runs against the scalar
// set, bit for bit, over each routine's whole parameter range, including the
// bytes around the row and rows that alias their sources.
#include "kernels/mix/MixKernels.h"
#include "PixelRoutinesLite.h"
#include "stem.h"
#include "support/RowHarness.h"

#include <climits>
#include <functional>
#include <string>

namespace {

using R = const support::Rows*;
using Kernels::MixSet;

// Every pel offset within a 64-byte line for every count: every tail meets
// every alignment.
const support::RowChecks kRows = {1, true, true, false, 16, true};

std::vector<const MixSet*> Sets()
{
    const MixSet* sets[Kernels::kTargetCount];
    return {sets, sets + Kernels::Runnable(Kernels::kMixSets, sets)};
}

std::vector<int> Range(int first, int last)
{
    std::vector<int> all;
    for (int v = first; v <= last; ++v)
        all.push_back(v);
    return all;
}

// `run` against `want` (as for CheckRows) on one long seeded row at an odd
// count and offset: a cheap pass for each value of a swept parameter.
template <class Run, class Want> void CheckLongRow(const std::string& name, Run run, Want want)
{
    support::Rng rng(std::hash<std::string>()(name));
    constexpr int kCount = 251;
    std::vector<std::vector<support::u32>> got, expected;
    for (int k = 0; k < 3; ++k)
        got.push_back(support::RandomRow(rng, kCount + 3));
    expected = got;
    support::Rows gotRows[3], wantRows[3];
    for (std::size_t k = 0; k < 3; ++k) {
        gotRows[k] = {reinterpret_cast<char*>(got[k].data() + 1), 0};
        wantRows[k] = {reinterpret_cast<char*>(expected[k].data() + 1), 0};
    }
    run(gotRows, kCount, 1);
    want(wantRows, kCount, 1);
    EXPECT_EQ(got, expected) << name;
}

// A routine of the family run with one parameter; pairs of weights are coded
// as an index into kWeights.
struct Member {
    const char* name;
    int sources;
    std::function<void(const MixSet&, R, int count, int param)> run;
    std::vector<int> params;      // swept one round each
    std::vector<int> everyOffset; // and run at every pel offset and count
};

// In range (wa + wb = 256 and below), then outside: negative, past 2^15, sums that wrap.
const std::pair<int, int> kWeights[] = {
    {0, 256},        {1, 255},   {77, 179},  {128, 128},         {255, 1},           {256, 0},
    {0, 0},          {100, 100}, {256, 256}, {300, -44},         {-1, 257},          {-300, -5},
    {32767, -32768}, {32768, 0}, {65536, 3}, {1 << 24, 1 << 23}, {INT_MIN, INT_MAX}, {-7, 0}};
constexpr int kInRangeWeights = 8;

const std::vector<int> kLevelFadeLevels = [] {
    std::vector<int> levels = Range(-2, 258);
    for (int l : {-256, -300, 32767, 32768, -32768, -32769, 65536, 1 << 23, INT_MAX, INT_MIN})
        levels.push_back(l);
    return levels;
}();

const std::vector<Member>& Members()
{
    static const std::vector<Member> members = {
        {"fade",
         1,
         [](const MixSet& s, R r, int n, int l) { s.fade(r[0].base, r[1].base, n, u32(l)); },
         Range(0, 255),
         {128}},
        {"add",
         2,
         [](const MixSet& s, R r, int n, int) { s.add(r[0].base, r[1].base, r[2].base, n); },
         {},
         {0}},
        {"blend",
         2,
         [](const MixSet& s, R r, int n, int l) {
             s.blend(r[0].base, r[1].base, r[2].base, n, u32(l));
         },
         Range(0, 255),
         {77}},
        {"max",
         2,
         [](const MixSet& s, R r, int n, int) { s.max(r[0].base, r[1].base, r[2].base, n); },
         {},
         {0}},
        {"setBits",
         0,
         [](const MixSet& s, R r, int n, int v) {
             const int shift = 8 * (v >> 8);
             s.setBits(r[0].base, n, ~(0xFFu << shift), u32(v & 255) << shift);
         },
         Range(0, 1023),
         {0x2AB}},
        {"fill",
         0,
         [](const MixSet& s, R r, int n, int c) { s.fill(r[0].base, n, u32(c)); },
         {},
         {0x12345678}},
        {"levelFade",
         1,
         [](const MixSet& s, R r, int n, int l) { s.levelFade(r[0].base, r[1].base, n, l); },
         kLevelFadeLevels,
         {-129}},
        {"crossFade",
         2,
         [](const MixSet& s, R r, int n, int w) {
             s.crossFade(r[0].base, r[1].base, r[2].base, n, kWeights[w].first, kWeights[w].second);
         },
         Range(0, int(std::size(kWeights)) - 1),
         {2}},
        {"shapedCrossFade",
         2,
         [](const MixSet& s, R r, int n, int w) {
             s.shapedCrossFade(r[0].base, r[1].base, r[2].base, n, kWeights[w].first,
                               kWeights[w].second);
         },
         Range(0, int(std::size(kWeights)) - 1),
         {2}},
        {"preMultAlpha",
         1,
         [](const MixSet& s, R r, int n, int) { s.preMultAlpha(r[0].base, r[1].base, n); },
         {},
         {0}},
    };
    return members;
}

TEST(MixKernels, EveryVariantMatchesScalarOverItsParameters)
{
    const std::vector<const MixSet*> sets = Sets();
    for (std::size_t k = 1; k < sets.size(); ++k)
        for (const Member& m : Members()) {
            auto with = [&m](const MixSet* set, int param) {
                return [&m, set, param](R r, int count, int) { m.run(*set, r, count, param); };
            };
            for (int p : m.everyOffset) {
                const std::string name = std::string(sets[k]->name) + " " + m.name + " " +
                                         std::to_string(p) + " every offset";
                support::CheckRows(name, m.sources, with(sets[k], p), with(sets[0], p), kRows);
            }
            for (int p : m.params) {
                const std::string name =
                    std::string(sets[k]->name) + " " + m.name + " " + std::to_string(p);
                CheckLongRow(name, with(sets[k], p), with(sets[0], p));
            }
        }
}

// Add and Blend divide by the alpha they make, the cross-fades by the weighted
// alpha sum: every pair of alphas meets each of them.
TEST(MixKernels, EveryVariantMatchesScalarOnEveryAlphaPair)
{
    const std::vector<const MixSet*> sets = Sets();
    for (std::size_t k = 1; k < sets.size(); ++k) {
        const MixSet* set = sets[k];
        const MixSet* ref = sets[0];
        auto add = [](const MixSet* s) {
            return [s](R r, int n, int) { s->add(r[0].base, r[1].base, r[2].base, n); };
        };
        support::CheckAlphaPairs(std::string(set->name) + " add", add(set), add(ref));
        for (int level : {0, 1, 64, 127, 128, 200, 254, 255}) {
            auto blend = [level](const MixSet* s) {
                return [s, level](R r, int n, int) {
                    s->blend(r[0].base, r[1].base, r[2].base, n, u32(level));
                };
            };
            support::CheckAlphaPairs(std::string(set->name) + " blend " + std::to_string(level),
                                     blend(set), blend(ref));
        }
        for (int w = 0; w < kInRangeWeights; ++w) {
            auto cross = [w](const MixSet* s) {
                return [s, w](R r, int n, int) {
                    s->crossFade(r[0].base, r[1].base, r[2].base, n, kWeights[w].first,
                                 kWeights[w].second);
                };
            };
            support::CheckAlphaPairs(std::string(set->name) + " crossFade " + std::to_string(w),
                                     cross(set), cross(ref));
        }
    }
}

// The public routines with a destination shifted a few pels against a source:
// their result is the pel-by-pel order of the scalar set, never a block's.
TEST(MixKernels, PartlyOverlappingRowsTakeThePelByPelResult)
{
    using Run = std::function<void(const MixSet&, char*, char*, char*, int)>;
    auto pels = [](char* row) { return reinterpret_cast<Pel*>(row); };
    const std::pair<Run, Run> routines[] = {
        {[&](const MixSet&, char* d, char* a, char*, int n) {
             Stem::FadeCopyScanline(pels(d), pels(a), n, 99);
         },
         [](const MixSet& s, char* d, char* a, char*, int n) { s.fade(d, a, n, 99); }},
        {[&](const MixSet&, char* d, char* a, char* b, int n) {
             Stem::AddScanline(pels(d), pels(a), pels(b), n);
         },
         [](const MixSet& s, char* d, char* a, char* b, int n) { s.add(d, a, b, n); }},
        {[&](const MixSet&, char* d, char* a, char* b, int n) {
             Stem::BlendScanline(pels(d), pels(a), pels(b), n, 40);
         },
         [](const MixSet& s, char* d, char* a, char* b, int n) { s.blend(d, a, b, n, 40); }},
        {[&](const MixSet&, char* d, char* a, char* b, int n) {
             Stem::MaxScanline(pels(d), pels(a), pels(b), n);
         },
         [](const MixSet& s, char* d, char* a, char* b, int n) { s.max(d, a, b, n); }},
        {[](const MixSet&, char* d, char* a, char*, int n) { CEE_ScanlineFade(d, a, n, 130); },
         [](const MixSet& s, char* d, char* a, char*, int n) { s.levelFade(d, a, n, 130); }},
        {[](const MixSet&, char* d, char* a, char* b, int n) {
             CEE_ScanlineCrossFade(d, a, b, n, 100, 156);
         },
         [](const MixSet& s, char* d, char* a, char* b, int n) {
             s.crossFade(d, a, b, n, 100, 156);
         }},
        {[](const MixSet&, char* d, char* a, char* b, int n) {
             CEE_ScanlineShapedCrossFade(d, a, b, n, 100, 156);
         },
         [](const MixSet& s, char* d, char* a, char* b, int n) {
             s.shapedCrossFade(d, a, b, n, 100, 156);
         }},
        {[](const MixSet&, char* d, char* a, char*, int n) { CEE_ScanlinePreMultAlpha(d, a, n); },
         [](const MixSet& s, char* d, char* a, char*, int n) { s.preMultAlpha(d, a, n); }},
    };
    support::Rng rng(11);
    int index = 0;
    for (const auto& routine : routines) {
        ++index;
        for (int count : {1, 7, 8, 9, 17, 33, 40})
            for (int shift = -3; shift <= 3; ++shift)
                for (int which = 0; which < 2; ++which) {
                    // [4 guard][dst, count][4 guard][other source, count][4 guard]
                    const std::vector<support::u32> start = support::RandomRow(rng, 2 * count + 12);
                    std::vector<support::u32> want = start, got = start;
                    const auto run = [&](std::vector<support::u32>& mem, const Run& f) {
                        char* dst = reinterpret_cast<char*>(mem.data() + 4);
                        char* moved = dst + shift * 4;
                        char* other = reinterpret_cast<char*>(mem.data() + count + 8);
                        f(Kernels::kMixScalar, dst, which ? other : moved, which ? moved : other,
                          count);
                    };
                    run(want, routine.second);
                    run(got, routine.first);
                    ASSERT_EQ(want, got) << "routine " << index << " count " << count << " shift "
                                         << shift << " source " << which;
                }
    }
}

} // namespace
