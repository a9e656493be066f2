// Every composite kernel set this CPU runs against the scalar set, member by
// member and bit for bit, including the bytes around the row and rows that
// alias their sources.
#include "kernels/composite/CompositKernels.h"
#include "support/RowHarness.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

using R = const support::Rows*;
using Kernels::CompositSet;
using support::u32;

// Every pel offset within a 64-byte line for every count: every tail meets
// every alignment.
const support::RowChecks kRows = {1, true, true, false, 16, true};

// What a member takes besides rows: a colour, or opacities bottom first.
struct Params {
    u32 colour;
    int opacity[3];
};

// One row of the table per member; rows[1] is the top (or only) row,
// rows[2] the bottom, rows[3] the middle.
struct Member {
    const char* name;
    int sources;
    enum Kind { kPlain, kColour, kOpacity, kScaled } kind;
    std::function<void(const CompositSet&, R, int, const Params&)> call;
};

const Member kMembers[] = {
    {"composit", 2, Member::kPlain,
     [](const CompositSet& s, R r, int n, const Params&) {
         s.composit(r[0].base, r[2].base, r[1].base, n);
     }},
    {"compositOnOpaque", 2, Member::kPlain,
     [](const CompositSet& s, R r, int n, const Params&) {
         s.compositOnOpaque(r[0].base, r[2].base, r[1].base, n);
     }},
    {"compositOnColour", 1, Member::kColour,
     [](const CompositSet& s, R r, int n, const Params& p) {
         s.compositOnColour(r[0].base, r[1].base, n, p.colour);
     }},
    {"compositColourOn", 1, Member::kColour,
     [](const CompositSet& s, R r, int n, const Params& p) {
         s.compositColourOn(r[0].base, r[1].base, n, p.colour);
     }},
    {"compositColourOnOpaque", 1, Member::kColour,
     [](const CompositSet& s, R r, int n, const Params& p) {
         s.compositColourOnOpaque(r[0].base, r[1].base, n, p.colour);
     }},
    {"compositWithOpacity", 2, Member::kOpacity,
     [](const CompositSet& s, R r, int n, const Params& p) {
         s.compositWithOpacity(r[0].base, r[2].base, r[1].base, n, u32(p.opacity[0]),
                               u32(p.opacity[2]));
     }},
    {"compositThree", 3, Member::kOpacity,
     [](const CompositSet& s, R r, int n, const Params& p) {
         s.compositThree(r[0].base, r[2].base, r[3].base, r[1].base, n, u32(p.opacity[0]),
                         u32(p.opacity[1]), u32(p.opacity[2]));
     }},
    {"compositWithScaledAlphas", 2, Member::kScaled,
     [](const CompositSet& s, R r, int n, const Params& p) {
         s.compositWithScaledAlphas(r[0].base, r[2].base, r[1].base, n, p.opacity[0], p.opacity[2]);
     }},
};

auto Runner(const CompositSet& set, const Member& m, Params p)
{
    return [&set, &m, p](R r, int count, int) { m.call(set, r, count, p); };
}

std::vector<const CompositSet*> Variants()
{
    const CompositSet* sets[Kernels::kTargetCount];
    const int n = Kernels::Runnable(Kernels::kCompositSets, sets);
    return std::vector<const CompositSet*>(sets + 1, sets + n);
}

// The parameters worth a full row check: colours at the alpha edges, and
// opacities at the ends, in the middle and (for the scaled alphas) out of range.
std::vector<Params> Sweep(Member::Kind kind)
{
    switch (kind) {
    case Member::kColour:
        return {{0x00123456, {}}, {0x80FF7F01, {}}, {0xFF998877, {}}};
    case Member::kOpacity:
        return {{0, {255, 255, 255}}, {0, {128, 1, 0}}};
    case Member::kScaled:
        return {{0, {0, 0, 128}}, {0, {-1, 0, 256}}, {0, {1000, 0, -300}}};
    default:
        return {{0, {}}};
    }
}

std::string Label(const CompositSet& set, const Member& m, const Params& p)
{
    return std::string(set.name) + " " + m.name + " colour " + std::to_string(p.colour) +
           " opacities " + std::to_string(p.opacity[0]) + "," + std::to_string(p.opacity[1]) + "," +
           std::to_string(p.opacity[2]);
}

// CheckAlphaPairs on the first `count` pels of its rows only: cheap enough to
// repeat for every colour or opacity.
template <class Run, class Want>
void CheckPairsPrefix(const std::string& name, int count, Run run, Want want)
{
    const support::AlphaPairs& pairs = support::Pairs();
    const auto prefix = [count](const std::vector<u32>& v) {
        return std::vector<u32>(v.begin(), v.begin() + count);
    };
    std::vector<u32> got[4] = {prefix(pairs.third), prefix(pairs.upper), prefix(pairs.lower),
                               prefix(pairs.third)};
    std::vector<u32> expected[4] = {got[0], got[1], got[2], got[3]};
    support::Rows gotRows[4], wantRows[4];
    for (int k = 0; k < 4; ++k) {
        gotRows[k] = {reinterpret_cast<char*>(got[k].data()), 0};
        wantRows[k] = {reinterpret_cast<char*>(expected[k].data()), 0};
    }
    run(gotRows, count, 1);
    want(wantRows, count, 1);
    const auto miss = std::mismatch(got[0].begin(), got[0].end(), expected[0].begin());
    if (miss.first != got[0].end())
        ADD_FAILURE() << name << std::hex << ": pel " << (miss.first - got[0].begin()) << " got 0x"
                      << *miss.first << " want 0x" << *miss.second;
}

TEST(CompositKernels, EveryMemberOfEveryVariantMatchesScalarOnSeededRows)
{
    for (const CompositSet* set : Variants())
        for (const Member& m : kMembers)
            for (const Params& p : Sweep(m.kind)) {
                const std::string name = Label(*set, m, p);
                support::CheckRows(name, m.sources, Runner(*set, m, p),
                                   Runner(Kernels::kCompositScalar, m, p), kRows);
            }
}

// Row pairs over every (upper alpha, lower alpha); the colour routines get
// every (colour alpha, row alpha) pair instead.
TEST(CompositKernels, EveryMemberOfEveryVariantMatchesScalarOnEveryAlphaPair)
{
    for (const CompositSet* set : Variants())
        for (const Member& m : kMembers) {
            if (m.kind != Member::kColour) {
                const Params p = {0, {255, 128, 255}};
                support::CheckAlphaPairs(Label(*set, m, p), Runner(*set, m, p),
                                         Runner(Kernels::kCompositScalar, m, p));
                continue;
            }
            for (u32 ca = 0; ca < 256; ++ca) {
                const Params p = {ca << 24 | (ca * 0x010307u & 0xFFFFFF), {}};
                // The lower row's first 1024 pels run through every alpha.
                const auto run = [&](const CompositSet& s) {
                    return [&s, &m, p](R r, int n, int) {
                        const support::Rows rows[2] = {r[0], r[2]};
                        m.call(s, rows, n, p);
                    };
                };
                CheckPairsPrefix(Label(*set, m, p), 4 * 256, run(*set),
                                 run(Kernels::kCompositScalar));
            }
        }
}

// Every opacity of each row in turn, at a count that leaves a tail.
TEST(CompositKernels, OpacityMembersMatchScalarAtEveryOpacity)
{
    for (const CompositSet* set : Variants())
        for (const Member& m : kMembers) {
            if (m.kind != Member::kOpacity && m.kind != Member::kScaled)
                continue;
            for (int row = 0; row < 3; ++row)
                for (int o = 0; o < 256; ++o) {
                    Params p = {0, {255, 255, 255}};
                    p.opacity[row] = o;
                    p.opacity[(row + 1) % 3] = 77;
                    // Seeded tops of any alpha over bottoms of every alpha in turn.
                    const auto run = [&](const CompositSet& s) {
                        return [&s, &m, p](R r, int n, int) {
                            const support::Rows rows[4] = {r[0], r[3], r[2], r[1]};
                            m.call(s, rows, n, p);
                        };
                    };
                    CheckPairsPrefix(Label(*set, m, p), 4 * 1024 + 13, run(*set),
                                     run(Kernels::kCompositScalar));
                }
        }
}

// Full opacities leave every pel as it is: the plain composites, whichever set.
TEST(CompositKernels, FullOpacitiesGiveThePlainComposite)
{
    for (const CompositSet* set : Variants()) {
        const auto plain = [set](R r, int n, int) {
            set->composit(r[0].base, r[2].base, r[1].base, n);
        };
        const auto faded = [set](R r, int n, int) {
            set->compositWithOpacity(r[0].base, r[2].base, r[1].base, n, 255, 255);
        };
        const auto scaled = [set](R r, int n, int) {
            set->compositWithScaledAlphas(r[0].base, r[2].base, r[1].base, n, 255, 255);
        };
        // Three rows at full opacity are two plain composites, top over middle first.
        const auto three = [set](R r, int n, int) {
            set->compositThree(r[0].base, r[2].base, r[3].base, r[1].base, n, 255, 255, 255);
        };
        const auto twice = [set](R r, int n, int) {
            set->composit(r[0].base, r[3].base, r[1].base, n);
            set->composit(r[0].base, r[2].base, r[0].base, n);
        };
        support::CheckAlphaPairs(std::string(set->name) + " faded", faded, plain);
        support::CheckAlphaPairs(std::string(set->name) + " scaled", scaled, plain);
        support::CheckAlphaPairs(std::string(set->name) + " three", three, twice);
    }
}

// A destination shifted a few pels against a source rewrites pels before they
// are read: the result is the pel-by-pel order of the scalar set, never a block's.
TEST(CompositKernels, PartlyOverlappingRowsTakeThePelByPelResult)
{
    support::Rng rng(7);
    for (int count = 1; count <= 40; ++count)
        for (int shift = -3; shift <= 3; ++shift)
            for (int which = 0; which < 2; ++which) {
                // [4 guard][dst, count][4 guard][other source, count]
                const std::vector<u32> start = support::RandomRow(rng, 2 * count + 8);
                std::vector<u32> want = start, got = start;
                const auto run = [&](std::vector<u32>& mem, auto composit) {
                    char* dst = reinterpret_cast<char*>(mem.data() + 4);
                    const char* moved = dst + shift * 4;
                    const char* other = reinterpret_cast<char*>(mem.data() + count + 8);
                    composit(dst, which ? moved : other, which ? other : moved, count);
                };
                run(want, Kernels::kCompositScalar.composit);
                run(got, Kernels::RunComposit);
                ASSERT_EQ(want, got) << "count " << count << " shift " << shift;
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

} // namespace
