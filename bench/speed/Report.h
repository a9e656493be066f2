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

// The first round runs the whole suite; any further ones the whole frames and
// the baselines again, so that their ratios can be told from a busy minute.
using Rounds = std::vector<Results>;

// Prints as the console reporter does and keeps every successful run, by round.
class CollectingReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override;
    void NextRound() { rounds_.emplace_back(); }
    const Rounds& rounds() const { return rounds_; }

  private:
    Rounds rounds_ = Rounds(1);
};

// A filter for the whole frames and baselines of a round, or "" when it has none.
std::string FramesToRepeat(const Results& round);

// The generated text between the markers.
std::string Markdown(const Rounds& rounds);

// Rewrites the generated part of `path`, keeping everything outside the
// markers; false when the file cannot be written.
bool WriteMarkdown(const std::string& path, const Rounds& rounds);

} // namespace speed

#endif
