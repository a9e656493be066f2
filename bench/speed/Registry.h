// Registration of row kernel families: every runnable set of a family, every
// member, every content, in the cached mode (and the warm one where asked),
// named family/member/set/content/mode. A member is one table line.
#ifndef FLOWER_BENCH_SPEED_REGISTRY_H
#define FLOWER_BENCH_SPEED_REGISTRY_H

#include <benchmark/benchmark.h>

#include <initializer_list>
#include <string>

#include "Content.h"
#include "kernels/KernelSets.h"

namespace speed {

// Seconds of measuring per repetition, and repetitions, of which the report
// keeps the fastest: other work on a shared machine only ever adds time. Rows
// take many iterations in little time; whole frames, which the targets name,
// get more of both.
constexpr double kRowMinTime = 0.03;
constexpr int kRowRepetitions = 2;
constexpr double kFrameMinTime = 0.05;
constexpr int kFrameRepetitions = 3;
// The bandwidth passes are the bars of the targets, and cheap: more of them.
constexpr int kBaselineRepetitions = 5;

// One row of work: a member picks the rows its routine takes.
struct Rows {
    char* dst;
    const char* a;       // a row of the content
    const char* b;       // the same row of a second frame of the content
    const char* picture; // an opaque row, the usual bottom
    int count;           // kWidth; every source row holds kStride pels
    int y;               // row within the frame
    int rows;            // rows the mode cycles
    const Frame* aFrame;

    // Row y + k of a, wrapping within the rows the mode cycles.
    const char* ANeighbour(int k) const { return aFrame->Row((y + k) % rows); }
};

enum Modes { kCachedOnly, kAlsoWarm };

template <class Set> struct Member {
    const char* label;
    void (*run)(const Set& set, const Rows& rows);
    Modes modes = kCachedOnly;
};

void RunRows(benchmark::State& state, Content content, Mode mode,
             void (*run)(const void* set, const void* member, const Rows& rows), const void* set,
             const void* member);

template <class Set>
void RegisterFamily(const char* family, const Kernels::SetTable<Set>& table,
                    std::initializer_list<Member<Set>> members)
{
    const Set* sets[Kernels::kTargetCount] = {};
    const int count = Kernels::Runnable(table, sets);
    for (const Member<Set>& member : members)
        for (int s = 0; s < count; ++s)
            for (Content content : kContents)
                for (Mode mode : {Mode::kCached, Mode::kWarm}) {
                    if (mode == Mode::kWarm && member.modes == kCachedOnly)
                        continue;
                    const std::string name = std::string(family) + "/" + member.label + "/" +
                                             sets[s]->name + "/" + Name(content) + "/" + Name(mode);
                    const Set* set = sets[s];
                    // Each benchmark keeps its own copy: the list is gone when they run.
                    const Member<Set> m = member;
                    benchmark::RegisterBenchmark(
                        name.c_str(),
                        [=](benchmark::State& state) {
                            RunRows(
                                state, content, mode,
                                [](const void* st, const void* mb, const Rows& rows) {
                                    static_cast<const Member<Set>*>(mb)->run(
                                        *static_cast<const Set*>(st), rows);
                                },
                                set, &m);
                        })
                        ->MinTime(kRowMinTime)
                        ->Repetitions(kRowRepetitions);
                }
}

// The whole suite, registered by main before running.
void RegisterKernelFamilies();
void RegisterFrameOperations();

// The pixman this program links, or null when built without it.
const char* PixmanVersion();

} // namespace speed

#endif
