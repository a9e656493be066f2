// The routine table's states and the calling frame of the buffer operations.
// CTest runs every test in a process of its own, so each starts on the table
// as the library loaded it.
#include <gtest/gtest.h>

#include "support/BufferSlots.h"

#include <dlfcn.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using support::AnySlot;
using support::BufferSlots;

// A 4x4 Blit and Composit that must leave their destination alone.
void ExpectUnselectedOperationsWriteNothing()
{
    std::vector<char> dst(64, 'd'), src(64, 's');
    EXPECT_EQ(1, Blit(dst.data(), 16, src.data(), 16, 4, 4));
    EXPECT_EQ(1, Composit(dst.data(), 16, src.data(), 16, src.data(), 16, 4, 4));
    EXPECT_EQ(1,
              CompositWithOpacity(dst.data(), 16, src.data(), 16, src.data(), 16, 4, 4, 255, 255));
    EXPECT_EQ(std::vector<char>(64, 'd'), dst);
}

void ExpectAllUnselected()
{
    for (AnySlot slot : BufferSlots())
        EXPECT_EQ(support::Unselected(), slot);
}

std::string trace;
tagMMXState* traceState = nullptr;

void TracePre(tagMMXState* s)
{
    trace += 'P';
    traceState = s;
}
void TracePost(tagMMXState* s)
{
    trace += s == traceState ? 'Q' : '?';
}
void TraceSlice(tagMMXState* s)
{
    trace += s == traceState ? 'S' : '?';
}
template <char kMark> int TraceRow(char*, const char*, const char*, int)
{
    trace += kMark;
    return 1;
}

struct Tracing {
    Tracing()
    {
        SelectCEEFunctions();
        PreOp = TracePre;
        PostOp = TracePost;
        CheckTimeSlice = TraceSlice;
        trace.clear();
    }
    ~Tracing() { SelectCEEFunctions(); }
};

} // namespace

// Selection fills every slot but one; ResetFunctions empties them again.
TEST(BufferTable, SelectionFillsAllButOneSlotAndResetEmptiesThem)
{
    EXPECT_EQ(1, InitCPUSpecificFunctions(0));
    const auto selected = BufferSlots();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(i == support::kNeverSelectedSlot,
                  selected[std::size_t(i)] == support::Unselected())
            << "slot " << i;
    ResetFunctions();
    ExpectAllUnselected();
    ExpectUnselectedOperationsWriteNothing();
    EXPECT_EQ(1, InitCPUSpecificFunctions(1));
    EXPECT_EQ(selected, BufferSlots());
    ResetFunctions();
    EXPECT_EQ(1, SelectCEEFunctions());
    EXPECT_EQ(selected, BufferSlots());

    // A host's own routine in the never-selected slot survives both.
    ScanlineShapedCrawlGradientBlit = ScanlineCrawlGradientBlit;
    ResetFunctions();
    SelectCEEFunctions();
    EXPECT_EQ(ScanlineCrawlGradientBlit, ScanlineShapedCrawlGradientBlit);
}

// Hooks bracket the rows with one state record; the row slot is read afresh
// for every row, and full opacities go to whatever the Composit slot holds.
TEST(BufferTable, FrameOrderAndRowSlotReadEveryRow)
{
    Tracing tracing;
    std::vector<char> dst(64), src(64);
    ScanlineComposit = TraceRow<'a'>;
    CheckTimeSlice = [](tagMMXState* s) {
        TraceSlice(s);
        ScanlineComposit = TraceRow<'b'>;
    };
    Composit(dst.data(), 16, src.data(), 16, src.data(), 16, 4, 3);
    EXPECT_EQ("PaSbSbSQ", trace);

    CheckTimeSlice = TraceSlice;
    ScanlineComposit = TraceRow<'a'>;
    trace.clear();
    CompositWithOpacity(dst.data(), 16, src.data(), 16, src.data(), 16, 4, 2, 255, 255);
    CompositWithOpacity(dst.data(), 16, src.data(), 16, src.data(), 16, 4, 2, 255, 254);
    EXPECT_EQ("PaSaSQPSSQ", trace);
}

TEST(BufferTable, HooksRunAsOftenAsEachOperationSays)
{
    Tracing tracing;
    static char d[4096], s[4096], t[4096];
    struct Case {
        int (*run)(int width, int height);
        bool slicesRows;
    };
    const Case cases[] = {
        {[](int w, int h) { return Blit(d, 64, s, 64, w, h); }, false},
        {[](int w, int h) { return BlitColour(d, 64, w, h, 7); }, false},
        {[](int w, int h) { return Composit(d, 64, s, 64, t, 64, w, h); }, true},
        {[](int w, int h) { return CompositWithOpacity(d, 64, s, 64, t, 64, w, h, 9, 9); }, true},
        {[](int w, int h) { return CrossFade(d, 64, s, 64, t, 64, w, h, 9, 9); }, true},
        {[](int w, int h) { return ShapedCrossFade(d, 64, s, 64, t, 64, w, h, 9, 9); }, true},
        {[](int w, int h) { return Fade(d, 64, s, 64, w, h, 9); }, false},
        {[](int w, int h) { return PreMultAlpha(d, 64, s, 64, w, h); }, false},
        {[](int w, int h) { return RollCopyData(d, s, w, h, 64, 64, 0, 1, 4, 2, 2, 1, 2); }, false},
        {[](int w, int h) {
             return RollBlastDataSubPix(d, s, w, h, 64, 64, 0, 1, 9, 4, 9, 2, 2, 1, 2);
         },
         false},
        {[](int w, int h) {
             return RollBlastDataSubPixNoFilter(d, s, w, h, 64, 256, 0, 1, 9, 4, 2, 2, 1, 2);
         },
         false}};
    for (const Case& c : cases)
        for (auto [w, h] : {std::pair{4, 0}, {0, 3}, {4, 1}, {4, 3}, {1, -2}}) {
            trace.clear();
            EXPECT_EQ(1, c.run(w, h));
            const int rows = w >= 1 && h >= 1 && c.slicesRows ? h : 0;
            EXPECT_EQ("P" + std::string(std::size_t(rows), 'S') + "Q", trace)
                << "operation " << &c - cases << " " << w << "x" << h;
        }
    trace.clear();
    EXPECT_EQ(0, RollCopyData(nullptr, s, 4, 4, 64, 64, 0, 1, 4, 0, 0, 4, 0));
    EXPECT_EQ("", trace);
}

// The slots must hold the marker before any constructor runs (other
// libraries' load-time code may already use the table), so their initialisers
// have to be static data rather than code: the library may carry no
// load-time initialiser for the file that defines them.
TEST(BufferTable, SlotsAreStaticDataNotLoadTimeCode)
{
    // A portable routine's address is inside the library whatever relocation
    // the program used for the slot itself.
    SelectCEEFunctions();
    Dl_info info{};
    ASSERT_NE(0, dladdr(reinterpret_cast<void*>(ScanlineBlit), &info));
    const std::string command = std::string("nm '") + info.dli_fname + "' 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(nullptr, pipe);
    std::string symbols;
    char chunk[4096];
    for (std::size_t n; (n = fread(chunk, 1, sizeof chunk, pipe)) > 0;)
        symbols.append(chunk, n);
    const int status = pclose(pipe);
    if (status != 0 || symbols.find("ScanlineBlit") == std::string::npos)
        GTEST_SKIP() << "nm cannot list " << info.dli_fname;
    EXPECT_EQ(std::string::npos, symbols.find("_GLOBAL__sub_I_BufferTable"));
}
