// One harness for every row routine and buffer operation: a routine and its
// reference run on identical copies of seeded memory, and every byte must
// agree afterwards, the random bytes around the rows included.
#ifndef FLOWER_TESTS_SUPPORT_ROWHARNESS_H
#define FLOWER_TESTS_SUPPORT_ROWHARNESS_H

#include "support/Rng.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace support {

// Storage on a 64-byte line, so that a row's offset within the line is the
// test's choice: copies keep the alignment.
template <class T> struct LineAligned {
    using value_type = T;
    static constexpr std::size_t kLine = 64;
    LineAligned() = default;
    template <class U> LineAligned(const LineAligned<U>&) {}
    T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n, std::align_val_t(kLine))); }
    void deallocate(T* p, std::size_t) { ::operator delete(p, std::align_val_t(kLine)); }
    template <class U> bool operator==(const LineAligned<U>&) const { return true; }
    template <class U> bool operator!=(const LineAligned<U>&) const { return false; }
};

// Rows of pels anywhere in memory: a first pel and a signed byte pitch.
struct Rows {
    char* base;
    int pitch;
    u32* Pels() const { return reinterpret_cast<u32*>(base); }
    char* At(int x, int y) const
    {
        return base + std::ptrdiff_t(y) * pitch + std::ptrdiff_t(x) * 4;
    }
    u32 Get(int x, int y) const
    {
        u32 p;
        std::memcpy(&p, At(x, y), 4);
        return p;
    }
    void Set(int x, int y, u32 p) const { std::memcpy(At(x, y), &p, 4); }
};

// A width x height block of seeded pels amid random bytes. The pitch has some
// slack and, when allowed, is negative one time in four; the first pel sits
// at any byte unless pelAligned, at pel `pelOffset` of a 64-byte line when
// that is 0..15. Alphas come in runs half the time, as inside glyphs and
// between them.
struct Buffer {
    std::vector<char, LineAligned<char>> bytes;
    std::size_t origin = 0;
    int pitch = 0;

    Buffer(Rng& rng, int width, int height, bool pelAligned = false, bool mayFlip = true,
           int pelOffset = -1)
    {
        const int lines = std::max(height, 1),
                  span = std::max(width, 0) * 4 + int(rng.Below(3)) * 4;
        const std::size_t pel = pelOffset >= 0 ? std::size_t(pelOffset) : rng.Below(8);
        const std::size_t misalign = 4 * pel + (pelAligned ? 0 : rng.Below(4));
        bytes.resize(std::size_t(span) * std::size_t(lines) + misalign + 16);
        for (char& c : bytes)
            c = char(rng.Next());
        pitch = mayFlip && rng.Below(4) == 0 ? -span : span;
        origin = misalign + (pitch < 0 ? std::size_t(lines - 1) * std::size_t(span) : 0);
        u32 last = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const u32 p = rng.Pel();
                Set(x, y, last = rng.Below(2) ? p : (p & 0xFFFFFF) | (last & 0xFF000000));
            }
    }
    char* Base() { return bytes.data() + origin; }
    Rows View() const { return {const_cast<char*>(bytes.data()) + origin, pitch}; }
    u32 Get(int x, int y) const { return View().Get(x, y); }
    void Set(int x, int y, u32 p) { View().Set(x, y, p); }
};

struct RowChecks {
    int maxLines = 1;          // above 1: blocks of -1 .. maxLines rows, pitches of either sign
    bool alias = true;         // also write over each source in turn
    bool negativeCount = true; // a count of -1 must write nothing
    bool pelAligned = false;   // rows start on a pel (the scanline routines take Pel*)
    int rounds = 2;
    bool everyPelOffset = false; // 16 rounds, round r putting every row at pel r of a line
};

// `run` and `want` take (const Rows* rows, int count, int lines), rows[0] the
// destination and rows[1 ..] the sources. Every count from 0 to 67 (every
// tail of 4- and 8-pel bodies); where two sources exist one pel in eight is
// equal in both.
template <class Run, class Want>
void CheckRows(const std::string& name, int sources, Run run, Want want, const RowChecks& opt = {})
{
    Rng rng(std::hash<std::string>()(name));
    const int rounds = opt.everyPelOffset ? 16 : opt.rounds;
    for (int round = 0; round < rounds; ++round)
        for (int n = opt.negativeCount ? -1 : 0; n <= 67; ++n) {
            const int lines =
                opt.maxLines > 1 ? rng.Pick({0, -1, opt.maxLines}, 1, opt.maxLines) : 1;
            std::vector<Buffer> start;
            for (int k = 0; k <= sources; ++k)
                start.emplace_back(rng, n, lines, opt.pelAligned, opt.maxLines > 1,
                                   opt.everyPelOffset ? round : -1);
            for (int y = 0; y < lines && sources >= 2; ++y)
                for (int x = 0; x < n; ++x)
                    if (rng.Below(8) == 0)
                        start[2].Set(x, y, start[1].Get(x, y));
            for (int into = 0; into <= (opt.alias ? sources : 0); ++into) {
                std::vector<Buffer> got = start, expected = start;
                auto layout = [&](const std::vector<Buffer>& b) {
                    std::vector<Rows> rows;
                    for (const Buffer& buffer : b)
                        rows.push_back(buffer.View());
                    rows[std::size_t(into)] = rows[0];
                    return rows;
                };
                run(layout(got).data(), n, lines);
                want(layout(expected).data(), n, lines);
                for (int k = 0; k <= sources; ++k)
                    if (got[std::size_t(k)].bytes != expected[std::size_t(k)].bytes) {
                        ADD_FAILURE() << name << ": count " << n << " round " << round
                                      << " lines " << lines
                                      << " into row " << into << " differs in row " << k;
                        return;
                    }
            }
        }
}

// A reference built from a per-pel model: model(in) with in[0] the
// destination pel before the call and in[1 ..] the source pels.
template <class Model> auto Pelwise(int sources, Model model)
{
    return [sources, model](const Rows* rows, int count, int lines) {
        for (int y = 0; y < lines; ++y)
            for (int x = 0; x < count; ++x) {
                u32 in[4] = {};
                for (int k = 0; k <= sources; ++k)
                    in[k] = rows[k].Get(x, y);
                rows[0].Set(x, y, model(in));
            }
    };
}

// Pel j of `upper` has alpha (j / 4) >> 8 and of `lower` (j / 4) & 255, with
// seeded colours: one row meets every alpha pair. `third` is seeded pels.
struct AlphaPairs {
    std::vector<u32> upper, lower, third;
    AlphaPairs()
    {
        Rng rng(4);
        for (u32 j = 0; j < 4 * 65536; ++j) {
            upper.push_back((j / 4) >> 8 << 24 | (rng.Next() & 0xFFFFFF));
            lower.push_back((j / 4 & 255) << 24 | (rng.Next() & 0xFFFFFF));
            third.push_back(rng.Pel());
        }
    }
};

inline const AlphaPairs& Pairs()
{
    static const AlphaPairs pairs;
    return pairs;
}

// `run` against `want` (as for CheckRows) on the pair rows: rows[1] the upper,
// rows[2] the lower, rows[3] the third.
template <class Run, class Want> void CheckAlphaPairs(const std::string& name, Run run, Want want)
{
    const AlphaPairs& p = Pairs();
    const std::vector<u32> start[4] = {p.third, p.upper, p.lower, p.third};
    std::vector<std::vector<u32>> got(start, start + 4), expected = got;
    Rows gotRows[4], wantRows[4];
    for (std::size_t k = 0; k < 4; ++k) {
        gotRows[k] = {reinterpret_cast<char*>(got[k].data()), 0};
        wantRows[k] = {reinterpret_cast<char*>(expected[k].data()), 0};
    }
    run(gotRows, int(p.upper.size()), 1);
    want(wantRows, int(p.upper.size()), 1);
    const auto miss = std::mismatch(got[0].begin(), got[0].end(), expected[0].begin());
    if (miss.first != got[0].end()) {
        const std::size_t i = std::size_t(miss.first - got[0].begin());
        ADD_FAILURE() << name << std::hex << ": upper 0x" << p.upper[i] << " lower 0x" << p.lower[i]
                      << " third 0x" << p.third[i] << " got 0x" << *miss.first << " want 0x"
                      << *miss.second;
    }
}

} // namespace support

#endif
