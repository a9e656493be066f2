// flower_bench_speed: every row kernel set, the whole-frame operations, pixman
// and the bandwidth baselines in one run. --markdown=PATH also writes the
// report (docs/benchmarks.md in `make bench`); --rounds=N runs the whole frames
// and baselines of the first round N - 1 times more, for medians and spreads.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Registry.h"
#include "Report.h"

int main(int argc, char** argv)
{
    std::string markdown;
    int rounds = 1;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (i > 0 && std::strncmp(argv[i], "--markdown=", 11) == 0) {
            markdown = argv[i] + 11;
        } else if (i > 0 && std::strncmp(argv[i], "--rounds=", 9) == 0) {
            char* end = nullptr;
            const long n = std::strtol(argv[i] + 9, &end, 10);
            if (end == argv[i] + 9 || *end != '\0' || n < 1 || n > 100) {
                std::fprintf(stderr, "--rounds takes a whole number from 1 to 100, not '%s'\n",
                             argv[i] + 9);
                return 2;
            }
            rounds = int(n);
        } else {
            args.push_back(argv[i]);
        }
    }
    int count = int(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;
    speed::RegisterFrameOperations();
    speed::RegisterKernelFamilies();

    speed::CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const std::string again = speed::FramesToRepeat(reporter.rounds().front());
    for (int round = 2; round <= rounds && !again.empty(); ++round) {
        std::fprintf(stderr, "round %d of %d: whole frames and baselines\n", round, rounds);
        reporter.NextRound();
        benchmark::RunSpecifiedBenchmarks(&reporter, again);
    }
    benchmark::Shutdown();
    if (!markdown.empty() && !speed::WriteMarkdown(markdown, reporter.rounds())) {
        std::fprintf(stderr, "cannot write %s\n", markdown.c_str());
        return 1;
    }
    return 0;
}
