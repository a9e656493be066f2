// flower-title over video: clips made by ffmpeg go in, and what comes out is
// checked sample by sample against them.
#include <csignal>
#include <functional>
#include <spawn.h>
#include <thread>

#include "ToolFixture.h"

extern char** environ;

namespace {

using namespace title_test;

// The crawl band lies on rows 176..215 of a 320x240 frame; the text (24 px
// font, no outline) stays inside it.
const std::string kBand = " --crawl-y 176 --band-height 40 --font-size 20 --quiet";
constexpr int kBandTop = 176, kBandBottom = 216;

bool InBand(int row)
{
    return row >= kBandTop && row < kBandBottom;
}

// Which luma rows share chroma row j: consecutive rows, or for interlaced
// 4:2:0 two rows of one field.
std::vector<int> RowsOfChromaRow(int j, int shiftY, bool interlaced)
{
    if (shiftY == 0)
        return {j};
    if (interlaced)
        return {(j / 2) * 4 + (j & 1), (j / 2) * 4 + (j & 1) + 2};
    return {2 * j, 2 * j + 1};
}

// Every sample whose pixels all lie outside the band is the input's.
void ExpectOutsideBandUntouched(const Y4m& in, const Y4m& out, int width, int height, int shiftX,
                                int shiftY, bool interlaced)
{
    const int cw = width >> shiftX, ch = height >> shiftY;
    ASSERT_EQ(in.frames.size(), out.frames.size());
    for (std::size_t n = 0; n < in.frames.size(); ++n) {
        const std::string &a = in.frames[n], &b = out.frames[n];
        ASSERT_NE(a, b) << "frame " << n << " got no title";
        for (int y = 0; y < height; ++y) {
            if (InBand(y))
                continue;
            ASSERT_EQ(a.compare(std::size_t(y) * width, width, b, std::size_t(y) * width, width), 0)
                << "luma row " << y << " of frame " << n;
        }
        for (int plane = 0; plane < 2; ++plane)
            for (int j = 0; j < ch; ++j) {
                const std::vector<int> rows = RowsOfChromaRow(j, shiftY, interlaced);
                if (std::any_of(rows.begin(), rows.end(), InBand))
                    continue;
                const std::size_t at = std::size_t(width) * height + std::size_t(plane) * cw * ch +
                                       std::size_t(j) * cw;
                ASSERT_EQ(a.compare(at, cw, b, at, cw), 0)
                    << "chroma plane " << plane << " row " << j << " of frame " << n;
            }
    }
}

TEST_F(TitleTool, Y4mInputKeepsItsFormatAndEverySampleOutsideTheBand)
{
    if (!HaveFfmpeg())
        GTEST_SKIP() << "ffmpeg is not installed and could not be installed";
    const struct {
        const char* args;
        int shiftX, shiftY;
        const char* chroma;
        bool interlaced;
    } cases[] = {
        {"-pix_fmt yuv420p", 1, 1, "C420jpeg", false},
        {"-pix_fmt yuv420p -field_order tt", 1, 1, "C420jpeg", true},
        {"-vf setfield=bff -pix_fmt yuv422p", 1, 0, "C422", true},
        {"-pix_fmt yuv444p", 0, 0, "C444", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        MakeClip("in.y4m", "320x240", 6, c.args);
        const Result r = Run("crawl --input in.y4m --outline 1 --shadow 2,-1 -o out.y4m" + kBand);
        ASSERT_EQ(r.status, 0) << r.err;
        const std::size_t frameBytes =
            320 * 240 + 2 * std::size_t(320 >> c.shiftX) * (240 >> c.shiftY);
        const Y4m in(Slurp(dir + "/in.y4m"), frameBytes), out(Slurp(dir + "/out.y4m"), frameBytes);
        EXPECT_EQ(out.header, in.header);
        EXPECT_NE(out.header.find(c.chroma), std::string::npos) << out.header;
        EXPECT_TRUE(out.whole);
        ASSERT_EQ(out.frames.size(), 6u);
        ExpectOutsideBandUntouched(in, out, 320, 240, c.shiftX, c.shiftY, c.interlaced);
        const std::string probe = Probe("out.y4m");
        for (const char* line :
             {"width=320", "height=240", "r_frame_rate=25/1", "nb_read_frames=6"})
            EXPECT_NE(probe.find(line), std::string::npos) << line << " in\n" << probe;
        EXPECT_NE(probe.find(c.interlaced
                                     ? (c.args[4] == 's' ? "field_order=bb" : "field_order=tt")
                                     : "field_order=progressive"),
                  std::string::npos)
            << probe;
    }
}

// Raw BGRA in, raw BGRA out: pixels off the band are the input's bytes.
TEST_F(TitleTool, RawBgraInputPassesUntitledPixelsThrough)
{
    std::string frames;
    for (int n = 0; n < 3; ++n)
        for (int i = 0; i < 160 * 96; ++i) {
            const std::uint32_t p = 0xFF000000u | std::uint32_t(i * 2654435761u + n) >> 8;
            frames.append(reinterpret_cast<const char*>(&p), 4);
        }
    std::ofstream(dir + "/in.bgra", std::ios::binary) << frames;
    const Result r = Run("crawl --input in.bgra --input-format bgra --input-size 160x96 --fps 25 "
                         "--crawl-y 50 --band-height 30 --font-size 16 --quiet -o -");
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(r.out.size(), frames.size());
    EXPECT_NE(r.out, frames);
    for (int n = 0; n < 3; ++n)
        for (int y = 0; y < 96; ++y) {
            const std::size_t at = (std::size_t(n) * 96 + y) * 160 * 4;
            if (y >= 50 && y < 80)
                continue;
            ASSERT_EQ(r.out.compare(at, 160 * 4, frames, at, 160 * 4), 0) << n << " row " << y;
        }
}

TEST_F(TitleTool, StreamsToPipesAndFifos)
{
    if (!HaveFfmpeg())
        GTEST_SKIP() << "ffmpeg is not installed and could not be installed";
    MakeClip("in.y4m", "320x240", 5, "-pix_fmt yuv420p");
    // Standard output as YUV4MPEG2, read by ffprobe.
    const Result viaShell = Run("-c \"'" FLOWER_TITLE_EXE
                                "' crawl --input - -o - --format y4m --quiet < in.y4m | ffprobe "
                                "-v error -count_frames -show_entries "
                                "stream=width,nb_read_frames -of default=nw=1 -\"",
                                "/bin/sh");
    EXPECT_NE(viaShell.out.find("width=320"), std::string::npos) << viaShell.out << viaShell.err;
    EXPECT_NE(viaShell.out.find("nb_read_frames=5"), std::string::npos) << viaShell.out;
    // A device path is written in place too.
    const Result device = Run("crawl --input in.y4m -o /dev/stdout --format y4m --quiet");
    EXPECT_EQ(device.status, 0) << device.err;
    EXPECT_EQ(Y4m(device.out, 320 * 240 * 3 / 2).frames.size(), 5u);

    // A FIFO is written in place while a reader drains it.
    ASSERT_EQ(mkfifo((dir + "/live").c_str(), 0600), 0);
    const Result fifo = Run("-c \"cat live > got.y4m & '" FLOWER_TITLE_EXE
                            "' crawl --input in.y4m -o live --format y4m --quiet; s=$?; wait; "
                            "exit $s\"",
                            "/bin/sh");
    ASSERT_EQ(fifo.status, 0) << fifo.err;
    struct stat st;
    ASSERT_EQ(stat((dir + "/live").c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
    const Y4m got(Slurp(dir + "/got.y4m"), 320 * 240 * 3 / 2);
    EXPECT_EQ(got.frames.size(), 5u);
    EXPECT_TRUE(got.whole);

    // A reader that goes away ends the render with one message.
    Run("-c \"('" FLOWER_TITLE_EXE
        "' crawl --seconds 0 --size 320x240 -o - --quiet 2> err.txt; echo \\$? > "
        "status.txt) | head -c 1000 > /dev/null\"",
        "/bin/sh");
    EXPECT_EQ(Slurp(dir + "/status.txt"), "2\n");
    const std::string err = Slurp(dir + "/err.txt");
    EXPECT_NE(err.find("went away"), std::string::npos) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
}

// SIGINT ends a render without an end: the file holds whole frames only.
TEST_F(TitleTool, InterruptedLiveRenderKeepsWholeFrames)
{
    const std::string out = dir + "/live.y4m";
    const char* argv[] = {FLOWER_TITLE_EXE, "crawl",   "--seconds", "0",         "--size",
                          "160x96",         "--quiet", "-o",        out.c_str(), nullptr};
    pid_t pid = 0;
    ASSERT_EQ(
        posix_spawn(&pid, FLOWER_TITLE_EXE, nullptr, nullptr, const_cast<char**>(argv), environ),
        0);
    // The temporary file appears once frames flow.
    for (int i = 0; i < 200 && Files().empty(); ++i)
        usleep(20000);
    usleep(200000);
    kill(pid, SIGINT);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(Files(), (Names{"live.y4m"}));
    const Y4m y4m(Slurp(out), 160 * 96 * 3 / 2);
    EXPECT_TRUE(y4m.whole);
    EXPECT_GE(y4m.frames.size(), 1u);
}

// Feeds `total` opaque black 160x96 BGRA frames to a crawl of the items file;
// `change` runs once the first `changeAfter` output frames have come out.
std::vector<Frame> TickerFrames(const std::string& dir, int total, int changeAfter,
                                const std::function<void()>& change)
{
    const std::string out = dir + "/ticker.raw";
    const std::string command = "cd '" + dir +
                                "' && '" FLOWER_TITLE_EXE
                                "' crawl --input - --input-format bgra --input-size 160x96 "
                                "--fps 25 --items items.txt --speed 75 --fade 0 --band "
                                "'#00000000' --font-size 24 --quiet -o - > ticker.raw";
    std::FILE* tool = popen(command.c_str(), "w");
    EXPECT_NE(tool, nullptr);
    if (!tool)
        return {};
    const std::vector<std::uint32_t> black(160 * 96, 0xFF000000u);
    for (int n = 0; n < total; ++n) {
        std::fwrite(black.data(), 4, black.size(), tool);
        if (n + 1 != changeAfter)
            continue;
        std::fflush(tool);
        struct stat st {};
        for (int i = 0; i < 1000; ++i) { // until the frames are out, 20 s at most
            if (stat(out.c_str(), &st) == 0 && st.st_size >= changeAfter * 160 * 96 * 4)
                break;
            usleep(20000);
        }
        change();
    }
    EXPECT_EQ(pclose(tool), 0);
    return Result{0, Slurp(out), ""}.Frames();
}

// At 3 pixels a frame every frame is the one before moved 3 pixels left,
// new items included: the change shows up at an item boundary, entering at
// the right edge, and never makes the crawl jump.
TEST_F(TitleTool, ItemsFileChangedMidRenderJoinsAtTheNextItem)
{
    const auto write = [this](const char* text) {
        std::ofstream(dir + "/items.new") << text;
        std::rename((dir + "/items.new").c_str(), (dir + "/items.txt").c_str());
    };
    write("IIII\nHH\n");
    const std::vector<Frame> same = TickerFrames(dir, 90, 0, [] {});
    const std::vector<Frame> changed =
        TickerFrames(dir, 90, 30, [&] { write("IIII\nHH\nWWWWWW\n"); });
    ASSERT_EQ(same.size(), 90u);
    ASSERT_EQ(changed.size(), 90u);
    for (std::size_t n = 0; n + 1 < changed.size(); ++n)
        for (int y = 0; y < 96; ++y)
            for (int x = 0; x + 3 < 160; ++x)
                ASSERT_EQ(changed[n + 1][y * 160 + x], changed[n][y * 160 + x + 3])
                    << "frame " << n << " x " << x << " y " << y;
    std::size_t first = 0;
    while (first < same.size() && same[first] == changed[first])
        ++first;
    ASSERT_LT(first, same.size()) << "the new item never showed";
    EXPECT_GE(first, 30u);
    for (int y = 0; y < 96; ++y)
        for (int x = 0; x < 150; ++x)
            ASSERT_EQ(same[first][y * 160 + x], changed[first][y * 160 + x])
                << "the first new frame differs away from the right edge at x " << x;
}

// Lines on standard input become the loop; what is there when the render
// starts is there from its first frame.
TEST_F(TitleTool, ItemsFromStandardInputCrawl)
{
    std::ofstream(dir + "/items.txt") << "IIII\nHH\n";
    const Result shown =
        Run("-c \"'" FLOWER_TITLE_EXE "' crawl --items - --background '#000000' --band '#00000000' "
            "--font-size 24 --speed 400 --time 0.6 --seconds 0.2 --size "
            "160x96 --fps 25 --quiet -o - < items.txt\"",
            "/bin/sh");
    ASSERT_EQ(shown.status, 0) << shown.err;
    const std::vector<Frame> frames = shown.Frames();
    ASSERT_EQ(frames.size(), 5u);
    EXPECT_NE(frames.back(), Frame(160 * 96, 0xFF000000u)) << "no item crawled in";
}

// A 2:1 picture on a 5:3 frame: fit leaves black bars above and below,
// fill and stretch cover the frame.
TEST_F(TitleTool, BackgroundFitKeepsOrFillsThePicture)
{
    if (!HaveFfmpeg())
        GTEST_SKIP() << "ffmpeg is not installed and could not be installed";
    ASSERT_EQ(
        Run("-v error -f lavfi -i color=red:size=200x100 -frames:v 1 -y red.png", "ffmpeg").status,
        0);
    const std::string still =
        "crawl --time 0 --seconds 0.04 --background red.png --band '#00000000' --size 160x96 "
        "--quiet -o - --format bgra --background-fit "; // the text has not come in yet
    const auto isRed = [](std::uint32_t p) {
        return p >> 24 == 0xFF && (p >> 16 & 0xFF) >= 0xF0 && (p >> 8 & 0xFF) <= 0x10 &&
               (p & 0xFF) <= 0x10;
    };
    const Frame fit = Run(still + "fit").Frames().at(0);
    EXPECT_EQ(fit[0], 0xFF000000u);
    EXPECT_TRUE(isRed(fit[48 * 160])) << std::hex << fit[48 * 160];
    for (const char* mode : {"fill", "stretch"}) {
        const Frame f = Run(still + mode).Frames().at(0);
        EXPECT_TRUE(isRed(f[0])) << mode << " " << std::hex << f[0];
    }
}

TEST_F(TitleTool, VersionIsTheLibrarys)
{
    const Result r = Run("--version");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("libflower 1."), std::string::npos) << r.out;
}

} // namespace
