// Every kernel set this CPU runs against the scalar set, bit for bit, including
// the bytes around the row and rows that alias their sources.
#include "PixelRoutinesLite/CompositKernels.h"
#include "PixelRoutinesLite/CrawlKernels.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Kernels::CompositSet;
using Kernels::CrawlSet;

std::vector<const CompositSet*> CompositVariants()
{
    const CompositSet* sets[3];
    const int n = Kernels::RunnableCompositSets(sets);
    return std::vector<const CompositSet*>(sets + 1, sets + n);
}

std::vector<const CrawlSet*> CrawlVariants()
{
    const CrawlSet* sets[2];
    const int n = Kernels::RunnableCrawlSets(sets);
    return std::vector<const CrawlSet*>(sets + 1, sets + n);
}

// A third of the alphas 0, a third 255, the rest anything: every branch, mixed within blocks.
std::uint32_t RandomPel(std::mt19937& rng)
{
    const std::uint32_t pick = rng() % 3;
    const std::uint32_t alpha = pick == 0 ? 0u : pick == 1 ? 255u : rng() & 255u;
    return (rng() & 0xFFFFFFu) | alpha << 24;
}

// Runs of one alpha, as inside glyphs and between them, where the crawl blocks take the lerp.
std::vector<std::uint32_t> RunsOfOneAlpha(std::size_t n, std::mt19937& rng)
{
    std::vector<std::uint32_t> pels(n);
    std::uint32_t alpha = 0;
    for (std::uint32_t& p : pels) {
        if (rng() % 6 == 0)
            alpha = RandomPel(rng) >> 24;
        p = alpha << 24 | (rng() & 0xFFFFFFu);
    }
    return pels;
}

std::vector<char> RandomBytes(std::size_t n, std::mt19937& rng)
{
    std::vector<char> bytes(n);
    for (char& b : bytes)
        b = char(rng());
    return bytes;
}

void PutPels(char* row, const std::vector<std::uint32_t>& pels)
{
    std::memcpy(row, pels.data(), pels.size() * 4);
}

const char* Bytes(const std::uint32_t* pels)
{
    return reinterpret_cast<const char*>(pels);
}

constexpr int kMaxCount = 67; // every tail of 4- and 8-pel bodies, several bodies long
constexpr int kOffsets = 16;  // every pel position in 64 bytes
constexpr std::size_t kBufferBytes = (kOffsets + kMaxCount + 8) * 4 + 4;

enum class Alias { None, Top, Bottom };

} // namespace

// The variants this machine can run are built: an x86-64 build missing them is misconfigured.
TEST(KernelSets, BestRunnableSetIsActive)
{
    const CompositSet* composit[3];
    const int nComposit = Kernels::RunnableCompositSets(composit);
    EXPECT_EQ(composit[0], &Kernels::kCompositScalar);
    EXPECT_EQ(&Kernels::ActiveCompositSet(), composit[nComposit - 1]);
    const CrawlSet* crawl[2];
    const int nCrawl = Kernels::RunnableCrawlSets(crawl);
    EXPECT_EQ(crawl[0], &Kernels::kCrawlScalar);
    EXPECT_EQ(&Kernels::ActiveCrawlSet(), crawl[nCrawl - 1]);
#if defined(__x86_64__) && !defined(FLOWER_SCALAR_KERNELS_ONLY)
    __builtin_cpu_init();
    EXPECT_EQ(nComposit, __builtin_cpu_supports("avx2") ? 3 : 2);
    EXPECT_EQ(nCrawl, 2);
#endif
}

// Every (top alpha, bottom alpha) pair over a 256-pel row: top channels run 0..255, the
// bottom's are a permutation that changes with the pair. 2^24 pels per set.
TEST(CompositKernels, EveryAlphaPairMatchesScalar)
{
    const auto variants = CompositVariants();
    std::vector<std::uint32_t> top(256), bottom(256), want(256), got(256);
    for (std::uint32_t ta = 0; ta < 256; ++ta)
        for (std::uint32_t ba = 0; ba < 256; ++ba) {
            const std::uint32_t pair = ta << 8 | ba;
            for (std::uint32_t i = 0; i < 256; ++i) {
                top[i] = ta << 24 | i << 16 | (255 - i) << 8 | ((i * 77 + 5) & 255);
                bottom[i] = ba << 24 | ((i * 167 + pair) & 255) << 16 |
                            ((i * 73 + 3 * pair) & 255) << 8 | ((pair * 7 - i) & 255);
            }
            Kernels::kCompositScalar.composit(reinterpret_cast<char*>(want.data()),
                                              Bytes(bottom.data()), Bytes(top.data()), 256);
            for (const CompositSet* set : variants) {
                set->composit(reinterpret_cast<char*>(got.data()), Bytes(bottom.data()),
                              Bytes(top.data()), 256);
                for (int i = 0; i < 256; ++i)
                    ASSERT_EQ(got[i], want[i])
                        << set->name << " ta " << ta << " ba " << ba << " top " << std::hex
                        << top[i] << " bottom " << bottom[i];
            }
        }
}

// Random rows at every count and offset, unaligned half the time, written to a separate
// row and over the top and the bottom themselves; bytes around the row must survive.
TEST(CompositKernels, EveryCountOffsetAndAliasMatchesScalar)
{
    std::mt19937 rng(2024);
    for (const CompositSet* set : CompositVariants())
        for (Alias alias : {Alias::None, Alias::Top, Alias::Bottom})
            for (int count = 0; count <= kMaxCount; ++count)
                for (int offset = 0; offset < kOffsets; ++offset) {
                    std::vector<std::uint32_t> top(std::size_t(count) + 8),
                        bottom(std::size_t(count) + 8);
                    for (std::size_t i = 0; i < top.size(); ++i) {
                        top[i] = RandomPel(rng);
                        bottom[i] = RandomPel(rng);
                    }
                    const std::size_t at = std::size_t(offset) * 4 + std::size_t(count % 2);
                    const std::vector<char> start = RandomBytes(kBufferBytes, rng);
                    std::vector<char> want = start, got = start;
                    auto run = [&](const CompositSet& s, std::vector<char>& buffer) {
                        char* row = buffer.data() + at;
                        const char* t = Bytes(top.data());
                        const char* b = Bytes(bottom.data());
                        if (alias != Alias::None) {
                            PutPels(row, alias == Alias::Top ? top : bottom);
                            (alias == Alias::Top ? t : b) = row;
                        }
                        s.composit(row, b, t, count);
                    };
                    run(Kernels::kCompositScalar, want);
                    run(*set, got);
                    ASSERT_TRUE(got == want) << set->name << " alias " << int(alias) << " count "
                                             << count << " offset " << offset;
                }
}

namespace {

using CrawlRow = void (*)(char*, const char*, int, int);

struct CrawlRoutine {
    const char* name;
    CrawlRow CrawlSet::*row;
};
const CrawlRoutine kCrawlRoutines[] = {{"subpix", &CrawlSet::subpix},
                                       {"shaped", &CrawlSet::shapedSubpix}};

// Runs one crawl row of `set` into a copy of `start`, out of place or over the source.
std::vector<char> RunCrawl(const CrawlSet& set, CrawlRow CrawlSet::*row, std::vector<char> buffer,
                           std::size_t at, const std::vector<std::uint32_t>& src, int count,
                           int fraction, bool inPlace)
{
    char* dst = buffer.data() + at;
    if (inPlace)
        PutPels(dst, src);
    (set.*row)(dst, inPlace ? dst : Bytes(src.data()), count, fraction);
    return buffer;
}

} // namespace

// Every fraction 0..256 on long rows, and fractions beyond the range, where a block could wrap.
TEST(CrawlKernels, EveryFractionMatchesScalar)
{
    std::mt19937 rng(256);
    const int count = 203;
    const std::vector<std::uint32_t> src = RunsOfOneAlpha(count + 1, rng);
    const std::vector<char> start = RandomBytes(std::size_t(count + 8) * 4, rng);
    std::vector<int> fractions;
    for (int f = 0; f <= 256; ++f)
        fractions.push_back(f);
    fractions.insert(fractions.end(), {-1, 257, 300, -256, INT_MIN, INT_MAX});
    for (const CrawlSet* set : CrawlVariants())
        for (const CrawlRoutine& r : kCrawlRoutines)
            for (int f : fractions)
                for (bool inPlace : {false, true}) {
                    const auto want =
                        RunCrawl(Kernels::kCrawlScalar, r.row, start, 4, src, count, f, inPlace);
                    const auto got = RunCrawl(*set, r.row, start, 4, src, count, f, inPlace);
                    ASSERT_TRUE(got == want) << set->name << " " << r.name << " fraction " << f
                                             << " in place " << inPlace;
                }
}

TEST(CrawlKernels, EveryCountAndOffsetMatchesScalar)
{
    std::mt19937 rng(67);
    for (const CrawlSet* set : CrawlVariants())
        for (const CrawlRoutine& r : kCrawlRoutines)
            for (int f : {0, 1, 128, 255, 256, 257})
                for (int count = 0; count <= kMaxCount; ++count)
                    for (int offset = 0; offset < kOffsets; ++offset)
                        for (bool inPlace : {false, true}) {
                            const auto src = RunsOfOneAlpha(std::size_t(count) + 1, rng);
                            const std::vector<char> start = RandomBytes(kBufferBytes, rng);
                            const std::size_t at = std::size_t(offset) * 4 + std::size_t(f % 2);
                            const auto want = RunCrawl(Kernels::kCrawlScalar, r.row, start, at, src,
                                                       count, f, inPlace);
                            const auto got =
                                RunCrawl(*set, r.row, start, at, src, count, f, inPlace);
                            ASSERT_TRUE(got == want)
                                << set->name << " " << r.name << " fraction " << f << " count "
                                << count << " offset " << offset << " in place " << inPlace;
                        }
}
