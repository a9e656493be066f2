// Every roll kernel set this CPU runs against the scalar set, bit for bit, with
// scales and weights in range, faded, zero and out of range (where 32-bit sums wrap).
#include "kernels/roll/RollKernels.h"
#include "support/RowHarness.h"

#include <climits>
#include <string>

namespace {

using R = const support::Rows*;
using Kernels::RollSet;

const support::RowChecks kRows = {1, true, true, false, 16, true};

std::vector<const RollSet*> Sets()
{
    const RollSet* sets[Kernels::kTargetCount];
    return {sets, sets + Kernels::Runnable(Kernels::kRollSets, sets)};
}

TEST(RollKernels, ScaledAlphaCopiesMatchScalarAtEveryScale)
{
    const std::vector<const RollSet*> sets = Sets();
    for (std::size_t i = 1; i < sets.size(); ++i)
        for (u32 scale : {0u, 1u, 112u, 192u, 240u, 255u, 256u, 257u, 0x1000003u, 0xFFFFFFFFu}) {
            auto runner = [scale](const RollSet* set) {
                return [set, scale](R r, int n, int) {
                    set->copyScaledAlpha(r[0].base, r[1].base, n, scale);
                };
            };
            support::CheckRows(std::string(sets[i]->name) + " scale " + std::to_string(scale), 1,
                               runner(sets[i]), runner(sets[0]), kRows);
        }
}

// Weights of the filter at strengths 0..128, faded ones (smaller, summing below 256),
// zero, and out of range ones that leave the floats' exact domain.
TEST(RollKernels, LineMixesMatchScalarForEveryKindOfWeight)
{
    const int two[][2] = {{256, 0},  {0, 256}, {128, 128},   {179, 77}, {0, 0},     {50, 30},
                          {-1, 257}, {300, 0}, {INT_MIN, 5}, {255, 2},  {256, 256}, {255, 200}};
    const int three[][3] = {{0, 256, 0},   {64, 128, 64},  {128, 0, 128},   {10, 20, 30},
                            {0, 0, 0},     {-5, 200, 61},  {100, 100, 100}, {200, -100, 156},
                            {1, 255, 0},   {0, 0, 256},    {INT_MAX, 1, 1}, {85, 85, 86},
                            {256, 256, 0}, {200, 200, 112}};
    const std::vector<const RollSet*> sets = Sets();
    for (std::size_t i = 1; i < sets.size(); ++i) {
        const std::string name = sets[i]->name;
        for (const auto& w : two) {
            auto runner = [&w](const RollSet* set) {
                return [set, &w](R r, int n, int) {
                    const char* lines[2] = {r[1].base, r[2].base};
                    set->mix2(r[0].base, lines, w, n);
                };
            };
            support::CheckRows(name + " two " + std::to_string(w[0]) + "," + std::to_string(w[1]),
                               2, runner(sets[i]), runner(sets[0]), kRows);
        }
        for (const auto& w : three) {
            auto runner = [&w](const RollSet* set) {
                return [set, &w](R r, int n, int) {
                    const char* lines[3] = {r[1].base, r[2].base, r[3].base};
                    set->mix3(r[0].base, lines, w, n);
                };
            };
            support::CheckRows(name + " three " + std::to_string(w[0]) + "," +
                                   std::to_string(w[1]) + "," + std::to_string(w[2]),
                               3, runner(sets[i]), runner(sets[0]), kRows);
        }
    }
}

} // namespace
