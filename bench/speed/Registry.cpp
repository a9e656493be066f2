// The row loop every kernel benchmark runs.
#include "Registry.h"

namespace speed {

namespace {

Frame& Destination()
{
    static Frame frame;
    return frame;
}

} // namespace

void RunRows(benchmark::State& state, Content content, Mode mode,
             void (*run)(const void* set, const void* member, const Rows& rows), const void* set,
             const void* member)
{
    const Frame& a = First(content);
    const Frame& b = Second(content);
    const Frame& picture = Picture();
    Frame& dst = Destination();
    const int rows = RowsOf(mode);
    for (auto _ : state) {
        for (int y = 0; y < rows; ++y) {
            const Rows r{dst.Row(y), a.Row(y), b.Row(y), picture.Row(y), kWidth, y, rows, &a};
            run(set, member, r);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * rows * kWidth);
}

} // namespace speed
