// flower_bench_speed: every row kernel set, the whole-frame operations, pixman
// and the bandwidth baselines in one run. --markdown=PATH also writes the
// report (docs/benchmarks.md in `make bench`).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Registry.h"
#include "Report.h"

int main(int argc, char** argv)
{
    std::string markdown;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (i > 0 && std::strncmp(argv[i], "--markdown=", 11) == 0)
            markdown = argv[i] + 11;
        else
            args.push_back(argv[i]);
    }
    int count = int(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;
    speed::RegisterFrameOperations();
    speed::RegisterKernelFamilies();

    speed::CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    if (!markdown.empty() && !speed::WriteMarkdown(markdown, reporter.results())) {
        std::fprintf(stderr, "cannot write %s\n", markdown.c_str());
        return 1;
    }
    return 0;
}
