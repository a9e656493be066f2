// One run's results, collected as they arrive and written as the markdown
// section of docs/benchmarks.md.
#ifndef FLOWER_BENCH_SPEED_REPORT_H
#define FLOWER_BENCH_SPEED_REPORT_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace speed {

// family/member/set/content/mode -> CPU seconds per iteration.
using Results = std::map<std::string, double>;

// Prints as the console reporter does and keeps every successful run.
class CollectingReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override;
    const Results& results() const { return results_; }

  private:
    Results results_;
};

// The generated text between the markers, from one run.
std::string Markdown(const Results& results);

// Rewrites the generated part of `path`, keeping everything outside the
// markers; false when the file cannot be written.
bool WriteMarkdown(const std::string& path, const Results& results);

} // namespace speed

#endif
