// Out-of-contract arguments that would hang or read outside the buffers are
// refused whole: the call returns what a working call returns and writes
// nothing. In-contract neighbours of each case still do their work.
#include <gtest/gtest.h>

#include "PixelRoutinesLite.h"

#include <climits>
#include <cstdint>
#include <vector>

namespace {

constexpr std::uint32_t kUntouched = 0x12345678u;

struct Frame {
    std::vector<std::uint32_t> src, dst;
    Frame(int lines, int rows, int width)
        : src(std::size_t(lines) * width, 0xFF808080u), dst(std::size_t(rows) * width, kUntouched)
    {
    }
    bool Untouched() const
    {
        for (const std::uint32_t p : dst)
            if (p != kUntouched)
                return false;
        return true;
    }
    char* D() { return reinterpret_cast<char*>(dst.data()); }
    const char* S() const { return reinterpret_cast<const char*>(src.data()); }
};

constexpr int kWidth = 3, kRows = 4, kPitch = kWidth * 4;

TEST(Hardening, SubLineRollsReadingBeforeTheSourceAreRefused)
{
    // Start at line 1 of 4 and step up two lines a row: row 1 would read line -1.
    Frame f(4, kRows, kWidth);
    EXPECT_EQ(CEE_RollBlitDataSubPix(f.D(), f.S(), kWidth, kRows, kPitch, kPitch, 1, -2, 0, 4, 0, 0,
                                     0, kRows, 0),
              1);
    EXPECT_TRUE(f.Untouched());
    EXPECT_EQ(CEE_RollBlitDataSubPixNoFilter(f.D(), f.S(), kWidth, kRows, kPitch, kPitch * 4, 1, -2,
                                             0, 4, 0, 0, kRows, 0),
              1);
    EXPECT_TRUE(f.Untouched());
}

TEST(Hardening, NegativeStepsThatStayInsideTheSourceStillRoll)
{
    // From line 3 one line up a row reaches line 0 on the last row: all inside.
    Frame f(4, kRows, kWidth);
    EXPECT_EQ(CEE_RollBlitDataSubPixNoFilter(f.D(), f.S(), kWidth, kRows, kPitch, kPitch * 4, 3, -1,
                                             0, 4, 0, 0, kRows, 0),
              1);
    EXPECT_EQ(f.dst[0], 0xFF808080u);
    EXPECT_EQ(f.dst.back(), 0xFF808080u);
    // A period of 1 brings every line back to line 0, whatever the step.
    Frame g(1, kRows, kWidth);
    EXPECT_EQ(CEE_RollBlitDataSubPixNoFilter(g.D(), g.S(), kWidth, kRows, kPitch, kPitch * 4, 0, -3,
                                             0, 1, 0, 0, kRows, 0),
              1);
    EXPECT_EQ(g.dst.back(), 0xFF808080u);
}

TEST(Hardening, PeriodsBelowOneReturnAtOnce)
{
    for (const int period : {0, -1, INT_MIN}) {
        Frame f(2, kRows, kWidth);
        EXPECT_EQ(CEE_RollCopyData(f.D(), f.S(), kWidth, kRows, kPitch, kPitch, 0, 1, period, 0, 0,
                                   kRows, 0),
                  1);
        EXPECT_EQ(CEE_RollBlitDataSubPix(f.D(), f.S(), kWidth, kRows, kPitch, kPitch, 0, 1, 0,
                                         period, 0, 0, 0, kRows, 0),
                  1);
        EXPECT_EQ(CEE_RollBlitDataSubPixNoFilter(f.D(), f.S(), kWidth, kRows, kPitch, kPitch * 4, 0,
                                                 1, 0, period, 0, 0, kRows, 0),
                  1);
        SelectCEEFunctions();
        EXPECT_EQ(CrawlBlit(f.D(), kPitch, f.S(), kPitch, kWidth, kRows, 0, period, 1, 0, 2, 0), 1);
        EXPECT_TRUE(f.Untouched()) << "period " << period;
    }
}

} // namespace
