// flower-title end to end: each test runs the program as a user would and
// checks what it leaves behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct Result {
    int status = -1;
    std::string out; // stdout bytes
    std::string err;
};

std::string Slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class TitleTool : public ::testing::Test {
  protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/flower-title-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override { std::system(("rm -rf '" + dir + "'").c_str()); }

    // Runs the tool with `args` (shell words) inside the test's directory.
    Result Run(const std::string& args) const
    {
        const std::string cmd = "cd '" + dir + "' && '" FLOWER_TITLE_EXE "' " + args + " > '" +
                                dir + "/.stdout' 2> '" + dir + "/.stderr' < /dev/null";
        Result r;
        const int raw = std::system(cmd.c_str());
        r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        r.out = Slurp(dir + "/.stdout");
        r.err = Slurp(dir + "/.stderr");
        unlink((dir + "/.stdout").c_str());
        unlink((dir + "/.stderr").c_str());
        return r;
    }

    std::vector<std::string> Files() const
    {
        std::vector<std::string> names;
        if (DIR* d = opendir(dir.c_str())) {
            while (dirent* e = readdir(d))
                if (e->d_name[0] != '.')
                    names.push_back(e->d_name);
            closedir(d);
        }
        return names;
    }

    std::string dir;
};

// Small frames keep every render quick.
const char kSmall[] = "--size 160x96 --fps 25 --quiet";
// Crawl on a transparent frame with no band: the output is the crawl itself.
const std::string kClearCrawl = "crawl --size 160x96 --fps 25 --quiet --background '#00000000' "
                                "--band '#00000000' --font-size 24 ";
const std::string kBareCrawl = kClearCrawl + "--fade 0 --text 'Flower IIMW'";

using Frame = std::vector<std::uint32_t>;

std::vector<Frame> RawFrames(const std::string& bytes, int width, int height)
{
    const std::size_t size = std::size_t(width) * height * 4;
    std::vector<Frame> frames;
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
        frames.emplace_back(std::size_t(width) * height);
        std::memcpy(frames.back().data(), bytes.data() + at, size);
    }
    return frames;
}

std::size_t Inked(const Frame& f)
{
    std::size_t n = 0;
    for (std::uint32_t p : f)
        n += (p >> 24) != 0;
    return n;
}

} // namespace

TEST_F(TitleTool, HelpShowsUsageAndExamples)
{
    const Result r = Run("--help");
    EXPECT_EQ(r.status, 0);
    for (const char* word : {"crawl", "roll", "still", "--interlace", "examples", "ffmpeg"})
        EXPECT_NE(r.out.find(word), std::string::npos) << word;
}

TEST_F(TitleTool, BadInputExitsTwoWithOneMessageAndNoFile)
{
    std::ofstream(dir + "/broken.png") << "not a picture";
    mkdir((dir + "/locked").c_str(), 0500);
    mkdir((dir + "/taken.png").c_str(), 0700);
    const char* cases[] = {
        "",
        "dance -o a.png",
        "crawl --size 10x10 -o a.png",
        "crawl --colour red -o a.png",
        "crawl --fps 0 -o a.y4m",
        "crawl --interlace sideways -o a.y4m",
        "crawl --bogus 1 -o a.png",
        "crawl --text",
        "crawl -o a.gif",
        "crawl --font /nonexistent/font.ttf -o a.png",
        "crawl --text-file /nonexistent/credits.txt -o a.png",
        "crawl --background broken.png -o a.png",
        "crawl --text \"$(printf '\\377\\376')\" -o a.png",
        "still -o /nonexistent/dir/a.png",
        "crawl -o taken.png",
    };
    for (const char* args : cases) {
        const Result r = Run(std::string(args) + " " + kSmall);
        EXPECT_EQ(r.status, 2) << args;
        EXPECT_EQ(r.err.rfind("flower-title: ", 0), 0u) << args << ": " << r.err;
        EXPECT_LE(std::count(r.err.begin(), r.err.end(), '\n'), 2) << args << ": " << r.err;
        EXPECT_EQ(r.out, "") << args;
    }
    if (geteuid() != 0) { // root writes anywhere
        const Result r = Run(std::string("still -o locked/a.png ") + kSmall);
        EXPECT_EQ(r.status, 2);
    }
    std::vector<std::string> left = Files();
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"broken.png", "locked", "taken.png"}));
}

TEST_F(TitleTool, StillWritesAPngOfTheFrameSize)
{
    const Result r = Run(std::string("still -o still.png --outline 2 --shadow 2 ") + kSmall);
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string png = Slurp(dir + "/still.png");
    ASSERT_GT(png.size(), 33u);
    EXPECT_EQ(png.compare(0, 8, "\x89PNG\r\n\x1a\n"), 0);
    auto be32 = [&](std::size_t at) {
        return std::uint32_t(std::uint8_t(png[at])) << 24 |
               std::uint32_t(std::uint8_t(png[at + 1])) << 16 |
               std::uint32_t(std::uint8_t(png[at + 2])) << 8 | std::uint8_t(png[at + 3]);
    };
    EXPECT_EQ(be32(16), 160u);
    EXPECT_EQ(be32(20), 96u);
    EXPECT_EQ(Files(), std::vector<std::string>{"still.png"});
}

TEST_F(TitleTool, Y4mHasHeaderFrameCountAndFrameSize)
{
    const Result r = Run(std::string("roll --with-crawl --seconds 0.2 -o roll.y4m ") + kSmall);
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string y4m = Slurp(dir + "/roll.y4m");
    const std::size_t eol = y4m.find('\n');
    ASSERT_NE(eol, std::string::npos);
    std::istringstream header(y4m.substr(0, eol));
    std::vector<std::string> tags{std::istream_iterator<std::string>(header), {}};
    ASSERT_GE(tags.size(), 5u);
    EXPECT_EQ(tags[0], "YUV4MPEG2");
    EXPECT_EQ(tags[1], "W160");
    EXPECT_EQ(tags[2], "H96");
    EXPECT_EQ(tags[3], "F25:1");
    EXPECT_EQ(tags[4], "Ip");
    const std::size_t frameBytes = 6 + 160 * 96 * 3 / 2;
    ASSERT_EQ(y4m.size(), eol + 1 + 5 * frameBytes);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(y4m.compare(eol + 1 + i * frameBytes, 6, "FRAME\n"), 0) << "frame " << i;
}

TEST_F(TitleTool, RawFramesGoToStdout)
{
    const Result r = Run(std::string("crawl --seconds 0.12 -o - ") + kSmall);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.size(), 3u * 160 * 96 * 4);
    EXPECT_TRUE(Files().empty());
}

// At 3 * fps pixels per second the strip moves exactly 3 pixels a frame.
TEST_F(TitleTool, CrawlAtIntegerSpeedMovesWholePixelsPerFrame)
{
    const Result r = Run(kBareCrawl + " --speed 75 --time 1 --seconds 0.2 -o -");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<Frame> frames = RawFrames(r.out, 160, 96);
    ASSERT_EQ(frames.size(), 5u);
    for (std::size_t n = 0; n + 1 < frames.size(); ++n) {
        ASSERT_GT(Inked(frames[n]), 100u) << "frame " << n << " shows no text";
        for (int y = 0; y < 96; ++y)
            for (int x = 0; x + 3 < 160; ++x)
                ASSERT_EQ(frames[n + 1][y * 160 + x], frames[n][y * 160 + x + 3])
                    << "frame " << n << " x " << x << " y " << y;
    }
}

// With no blur and no fades a roll at 2 * fps lines per second moves its rows
// up by exactly two lines a frame.
TEST_F(TitleTool, RollAtIntegerSpeedMovesWholeLinesPerFrame)
{
    const Result r = Run("roll --size 160x96 --fps 25 --quiet --background '#00000000' "
                         "--band '#00000000' --fade 0 --filter 0 --font-size 14 --speed 50 "
                         "--time 1 --seconds 0.16 -o -");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<Frame> frames = RawFrames(r.out, 160, 96);
    ASSERT_EQ(frames.size(), 4u);
    for (std::size_t n = 0; n + 1 < frames.size(); ++n) {
        ASSERT_GT(Inked(frames[n]), 100u) << "frame " << n << " shows no text";
        // Rows 2 .. 93 of the next frame are rows 4 .. 95 of this one, except
        // where the roll region ends (its rows are all inside 8 .. 88).
        for (int y = 8; y + 2 < 88; ++y)
            for (int x = 0; x < 160; ++x)
                ASSERT_EQ(frames[n + 1][y * 160 + x], frames[n][(y + 2) * 160 + x])
                    << "frame " << n << " x " << x << " y " << y;
    }
}

// Fades cover exactly their zones: column 0 is transparent, the right zone
// dims, and the columns between are as without fades.
TEST_F(TitleTool, CrawlFadesOnlyItsEdgeZones)
{
    const std::string crawl =
        kClearCrawl + "--text 'Flower IIMW Flower IIMW' --speed 90 --time 2 --seconds 0.04 -o - ";
    const Result plain = Run(crawl + "--fade 0");
    const Result faded = Run(crawl + "--fade 20");
    ASSERT_EQ(plain.status, 0) << plain.err;
    ASSERT_EQ(faded.status, 0) << faded.err;
    const Frame a = RawFrames(plain.out, 160, 96).at(0), b = RawFrames(faded.out, 160, 96).at(0);
    std::size_t dimmedLeft = 0, dimmedRight = 0;
    for (int y = 0; y < 96; ++y) {
        EXPECT_EQ(b[y * 160] >> 24, 0u) << "row " << y;
        for (int x = 0; x < 160; ++x) {
            const bool dimmer = (b[y * 160 + x] >> 24) < (a[y * 160 + x] >> 24);
            if (x >= 20 && x < 140)
                ASSERT_EQ(b[y * 160 + x], a[y * 160 + x]) << x << "," << y;
            else
                (x < 20 ? dimmedLeft : dimmedRight) += dimmer;
        }
    }
    EXPECT_GT(dimmedLeft, 20u);
    EXPECT_GT(dimmedRight, 20u);
}

// Each field is rendered at its own time: tff takes even rows from the
// frame's time and odd rows from half a frame later; bff the other way round.
TEST_F(TitleTool, InterlacedRowsComeFromTheirFieldsTimes)
{
    const std::string crawl = kBareCrawl + " --speed 137 --seconds 0.04 -o -";
    const Frame early = RawFrames(Run(crawl + " --time 1").out, 160, 96).at(0);
    const Frame late = RawFrames(Run(crawl + " --time 1.02").out, 160, 96).at(0);
    ASSERT_NE(early, late);
    for (const char* order : {"tff", "bff"}) {
        const Result r = Run(crawl + " --time 1 --interlace " + order);
        ASSERT_EQ(r.status, 0) << r.err;
        const Frame woven = RawFrames(r.out, 160, 96).at(0);
        const bool tff = order[0] == 't';
        for (int y = 0; y < 96; ++y) {
            const Frame& want = (y % 2 == 0) == tff ? early : late;
            for (int x = 0; x < 160; ++x)
                ASSERT_EQ(woven[y * 160 + x], want[y * 160 + x]) << order << " row " << y;
        }
    }
}

TEST_F(TitleTool, FfprobeReadsTheY4mAsWritten)
{
    // ffprobe comes from Debian's ffmpeg; install it when this machine may.
    if (std::system("command -v ffprobe > /dev/null 2>&1") != 0)
        std::system("(apt-get install -y --no-install-recommends ffmpeg || sudo -n apt-get "
                    "install -y --no-install-recommends ffmpeg) > /dev/null 2>&1");
    if (std::system("command -v ffprobe > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ffprobe is not installed and could not be installed; check skipped";
    const Result r = Run(
        std::string("crawl --with-roll --fps 30000/1001 --interlace tff --seconds 0.3 -o v.y4m ") +
        "--size 192x108 --quiet");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string cmd =
        "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
        "stream=width,height,r_frame_rate,nb_read_frames,field_order -of default=nw=1 '" +
        dir + "/v.y4m'";
    std::string probe;
    if (std::FILE* p = popen(cmd.c_str(), "r")) {
        char buf[256];
        while (std::fgets(buf, sizeof buf, p))
            probe += buf;
        pclose(p);
    }
    for (const char* line : {"width=192", "height=108", "r_frame_rate=30000/1001",
                             "nb_read_frames=9", "field_order=tt"})
        EXPECT_NE(probe.find(line), std::string::npos) << line << " not in:\n" << probe;
}
