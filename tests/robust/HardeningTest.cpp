// Out-of-contract arguments that would hang or read outside the buffers are
// refused whole: the call returns what a working call returns and writes
// nothing. In-contract neighbours of each case still do their work.
#include <gtest/gtest.h>

#include "PixelRoutinesLite.h"

#include <climits>
#include <cstdint>
#include <vector>

namespace {

constexpr std::uint32_t kUntouched = 0x12345678u, kGrey = 0xFF808080u;
constexpr int kWidth = 3, kRows = 4, kPitch = kWidth * 4;

enum class Roll { Copy, SubLine, NoFilter };

// Rolls a strip of `lines` grey lines into kRows rows from `start`, `step` lines a row.
std::vector<std::uint32_t> Rolled(Roll roll, int lines, int start, int step, int period)
{
    const std::vector<std::uint32_t> src(std::size_t(lines) * kWidth, kGrey);
    std::vector<std::uint32_t> dst(std::size_t(kRows) * kWidth, kUntouched);
    char* d = reinterpret_cast<char*>(dst.data());
    const char* s = reinterpret_cast<const char*>(src.data());
    const int done = roll == Roll::Copy ? CEE_RollCopyData(d, s, kWidth, kRows, kPitch, kPitch,
                                                           start, step, period, 0, 0, kRows, 0)
                     : roll == Roll::SubLine
                         ? CEE_RollBlitDataSubPix(d, s, kWidth, kRows, kPitch, kPitch, start, step,
                                                  0, period, 0, 0, 0, kRows, 0)
                         : CEE_RollBlitDataSubPixNoFilter(d, s, kWidth, kRows, kPitch, kPitch * 4,
                                                          start, step, 0, period, 0, 0, kRows, 0);
    EXPECT_EQ(done, 1);
    return dst;
}

TEST(Hardening, RollsReadingBeforeTheSourceOrWithoutAPeriodWriteNothing)
{
    const std::vector<std::uint32_t> untouched(kRows * kWidth, kUntouched),
        grey(kRows * kWidth, kGrey);
    const struct {
        Roll roll;
        int lines, start, step, period;
        bool refused;
    } cases[] = {
        // From line 1 two lines up a row: row 1 would read line -1.
        {Roll::SubLine, 4, 1, -2, 4, true},
        {Roll::NoFilter, 4, 1, -2, 4, true},
        {Roll::NoFilter, 4, 0, -1, 4, true},
        // From line 3 one line up a row stays inside; a period of 1 always does.
        {Roll::NoFilter, 4, 3, -1, 4, false},
        {Roll::NoFilter, 1, 0, -3, 1, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Rolled(c.roll, c.lines, c.start, c.step, c.period), c.refused ? untouched : grey)
            << int(c.roll) << " from " << c.start << " step " << c.step;
    for (const int period : {0, -1, INT_MIN})
        for (const Roll roll : {Roll::Copy, Roll::SubLine, Roll::NoFilter})
            EXPECT_EQ(Rolled(roll, 2, 0, 1, period), untouched)
                << int(roll) << " period " << period;

    SelectCEEFunctions();
    std::vector<std::uint32_t> src(8, kGrey), dst(8, kUntouched);
    for (const int period : {0, -1, INT_MIN})
        EXPECT_EQ(CrawlBlit(reinterpret_cast<char*>(dst.data()), kPitch,
                            reinterpret_cast<char*>(src.data()), kPitch, kWidth, 2, 0, period, 1, 0,
                            2, 0),
                  1);
    EXPECT_EQ(dst, std::vector<std::uint32_t>(8, kUntouched));
}

} // namespace
