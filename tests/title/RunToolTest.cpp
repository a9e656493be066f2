// flower-title end to end: each test runs the program as a user would and
// checks what it leaves behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "ToolFixture.h"

namespace {

using namespace title_test;

// Bad options, files and streams: status 2, one message naming the problem,
// nothing on standard output and no file left behind.
TEST_F(TitleTool, BadInputExitsTwoWithOneMessageAndNoFile)
{
    std::ofstream(dir + "/broken.png") << "not a picture";
    std::ofstream(dir + "/broken.ttf") << "\0\1\0\0 not a font either";
    mkdir((dir + "/locked").c_str(), 0500);
    mkdir((dir + "/taken.png").c_str(), 0700);
    ASSERT_EQ(Run("crawl --seconds 0.12 -o good.y4m" + kSmall).status, 0);
    const std::string good = Slurp(dir + "/good.y4m");
    std::ofstream(dir + "/header.y4m") << good.substr(0, 20);
    std::ofstream(dir + "/cut.y4m") << good.substr(0, good.size() - 1000);
    std::ofstream(dir + "/deep.y4m") << "YUV4MPEG2 W160 H96 F25:1 Ip C420p10\nFRAME\n"
                                     << std::string(160 * 96 * 3, '\0');
    std::vector<std::pair<std::string, std::string>> cases; // the arguments, what the message names
    for (const char* args : {"",
                             "dance -o a.png",
                             "crawl --size 10x10 -o a.png",
                             "crawl --colour red -o a.png",
                             "crawl --fps 0 -o a.y4m",
                             "crawl --interlace sideways -o a.y4m",
                             "crawl --bogus 1 -o a.png",
                             "crawl --text",
                             "crawl -o a.gif",
                             "crawl --font '' -o a.png",
                             "crawl --direction up -o a.png",
                             "crawl --wrap maybe -o a.png",
                             "crawl --tab-width 0 -o a.png",
                             "crawl --text-file /nonexistent/credits.txt -o a.png",
                             "crawl --background broken.png -o a.png",
                             "crawl --text \"$(printf '\\377\\376')\" -o a.png",
                             "still -o /nonexistent/dir/a.png",
                             "crawl -o taken.png"})
        cases.push_back({args + kSmall, ""});
    if (geteuid() != 0) // root writes anywhere
        cases.push_back({"still -o locked/a.png" + kSmall, ""});
    for (const auto& [args, says] :
         {std::pair{"crawl --font /nonexistent/font.ttf -o a.png", "/nonexistent/font.ttf"},
          {"crawl --font broken.ttf -o a.png", "broken.ttf"},
          {"crawl --font 'No Such Family At All' -o a.png", "No Such Family At All"},
          {"crawl --font 'Sans:size=abc' -o a.png", "'Sans:size=abc'"},
          {"crawl --text '' -o a.y4m", "--text is empty"},
                                     {"crawl --input header.y4m -o a.y4m", "header"},
                                     {"crawl --input deep.y4m -o a.y4m", "C420p10"},
                                     {"crawl --input good.y4m --size 320x240 -o a.y4m", "contradicts"},
                                     {"crawl --input good.y4m --interlace tff -o a.y4m", "contradicts"},
                                     {"crawl --input good.y4m --background checker -o a.y4m",
                                      "--background"},
                                     {"crawl --input - --items - -o a.y4m", "standard input"},
                                     {"crawl --input nothere.y4m -o a.y4m", "nothere.y4m"},
                                     {"crawl --input good.y4m --input-format bgra -o a.y4m",
                                      "--input-size"}})
        cases.push_back({std::string(args) + " --quiet", says});
    for (const auto& [args, says] : cases) {
        const Result r = Run(args);
        EXPECT_EQ(r.status, 2) << args;
        EXPECT_EQ(r.err.rfind("flower-title: ", 0), 0u) << args << ": " << r.err;
        EXPECT_NE(r.err.find(says), std::string::npos) << args << ": " << r.err;
        EXPECT_LE(std::count(r.err.begin(), r.err.end(), '\n'), 2) << args << ": " << r.err;
        EXPECT_EQ(r.out, "") << args;
    }
    const Names inputs = {"broken.png", "broken.ttf", "cut.y4m",  "deep.y4m",
                          "good.y4m",   "header.y4m", "locked", "taken.png"};
    EXPECT_EQ(Files(), inputs);

    // A frame cut short: the whole frames before it, a warning, status 2.
    const Result cut = Run("crawl --input cut.y4m -o a.y4m --quiet");
    EXPECT_EQ(cut.status, 2);
    EXPECT_NE(cut.err.find("inside frame 3"), std::string::npos) << cut.err;
    EXPECT_EQ(std::count(cut.err.begin(), cut.err.end(), '\n'), 1) << cut.err;
    const Y4m kept(Slurp(dir + "/a.y4m"), 160 * 96 * 3 / 2);
    EXPECT_TRUE(kept.whole);
    EXPECT_EQ(kept.frames.size(), 2u);
}

// A PNG of the frame size, a Y4M of whole frames after its header, raw frames on stdout.
TEST_F(TitleTool, EachOutputKindHoldsFramesOfTheRequestedSize)
{
    ASSERT_EQ(Run("still -o still.png --outline 2 --shadow 2" + kSmall).status, 0);
    const std::string png = Slurp(dir + "/still.png");
    ASSERT_GT(png.size(), 33u);
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(png.substr(16, 8), std::string("\0\0\0\xA0\0\0\0\x60", 8)); // 160 x 96

    ASSERT_EQ(Run("roll --with-crawl --seconds 0.2 -o roll.y4m" + kSmall).status, 0);
    const std::string y4m = Slurp(dir + "/roll.y4m");
    const std::size_t eol = y4m.find('\n'), frameBytes = 6 + 160 * 96 * 3 / 2;
    EXPECT_EQ(y4m.substr(0, eol).rfind("YUV4MPEG2 W160 H96 F25:1 Ip ", 0), 0u)
        << y4m.substr(0, eol);
    ASSERT_EQ(y4m.size(), eol + 1 + 5 * frameBytes);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(y4m.substr(eol + 1 + i * frameBytes, 6), "FRAME\n") << "frame " << i;

    const Result raw = Run("crawl --seconds 0.12 -o -" + kSmall);
    EXPECT_EQ(raw.Frames().size() * 160 * 96 * 4, raw.out.size());
    EXPECT_EQ(raw.Frames().size(), 3u);
    EXPECT_EQ(Files(), (Names{"roll.y4m", "still.png"}));
}

// At 3 * fps pixels per second the strip moves exactly 3 pixels a frame:
// left for left-to-right text, right for right-to-left text.
TEST_F(TitleTool, CrawlAtIntegerSpeedMovesWholePixelsPerFrame)
{
    for (const char* text : {"", " --text '\u05e9\u05dc\u05d5\u05dd \u05e2\u05d5\u05dc\u05dd'"}) {
        const int step = *text ? -3 : 3;
        const std::vector<Frame> frames =
            Run(kBareCrawl + text + " --speed 75 --time 1 --seconds 0.2 -o -").Frames();
        ASSERT_EQ(frames.size(), 5u);
        for (std::size_t n = 0; n + 1 < frames.size(); ++n) {
            ASSERT_GT(
                std::count_if(frames[n].begin(), frames[n].end(), [](auto p) { return p >> 24; }),
                100)
                << "frame " << n << " shows no text";
            for (int y = 0; y < 96; ++y)
                for (int x = std::max(0, -step); x + std::max(0, step) < 160; ++x)
                    ASSERT_EQ(frames[n + 1][y * 160 + x], frames[n][y * 160 + x + step])
                        << text << " frame " << n << " x " << x << " y " << y;
        }
    }
}

// Each field is rendered at its own time: tff takes even rows from the
// frame's time and odd rows from half a frame later; bff the other way round.
TEST_F(TitleTool, InterlacedRowsComeFromTheirFieldsTimes)
{
    const std::string crawl = kBareCrawl + " --speed 137 --seconds 0.04 -o -";
    const Frame early = Run(crawl + " --time 1").Frames().at(0);
    const Frame late = Run(crawl + " --time 1.02").Frames().at(0);
    ASSERT_NE(early, late);
    for (const char* order : {"tff", "bff"}) {
        const Frame woven = Run(crawl + " --time 1 --interlace " + order).Frames().at(0);
        for (int y = 0; y < 96; ++y) {
            const Frame& want = (y % 2 == 0) == (order[0] == 't') ? early : late;
            for (int x = 0; x < 160; ++x)
                ASSERT_EQ(woven[y * 160 + x], want[y * 160 + x]) << order << " row " << y;
        }
    }
}

// A roll given --text alone rolls it, a newline starting a new line.
TEST_F(TitleTool, NewlineInRollTextStartsALine)
{
    std::ofstream(dir + "/lines.txt") << "Alpha\nOmega\n";
    const std::string roll = "roll --time 2 --seconds 0.04 -o -" + kSmall;
    const Result fromText = Run(roll + " --text \"$(printf 'Alpha\\nOmega')\"");
    ASSERT_EQ(fromText.status, 0) << fromText.err;
    EXPECT_EQ(fromText.out, Run(roll + " --text-file lines.txt").out);
    EXPECT_NE(fromText.out, Run(roll + " --text 'Alpha Omega'").out);
}

// 100,000 characters render, or fail stating the limit, never anything else.
TEST_F(TitleTool, HundredThousandCharactersRenderOrStateTheLimit)
{
    std::string text;
    for (int i = 0; text.size() < 100000; ++i)
        text += i % 7 == 6 ? ' ' : char('a' + i % 26);
    std::ofstream(dir + "/long.txt") << text;
    for (const char* args : {"crawl --text \"$(cat long.txt)\" --seconds 0.04 -o -",
                             "roll --text-file long.txt --seconds 0.04 -o -",
                             "crawl --text \"$(cat long.txt)\" --font-size 60 -o a.png"}) {
        const Result r = Run(std::string(args) + kSmall);
        if (r.status == 0)
            EXPECT_EQ(r.err, "") << args;
        else
            EXPECT_NE(r.err.find("67108864"), std::string::npos) << args << ": " << r.err;
        EXPECT_TRUE(r.status == 0 || r.status == 2) << args;
    }
}

TEST_F(TitleTool, FfprobeReadsTheY4mAsWritten)
{
    if (!HaveFfmpeg())
        GTEST_SKIP() << "ffmpeg is not installed and could not be installed";
    const Result r = Run("crawl --with-roll --fps 30000/1001 --interlace tff --seconds 0.3 "
                         "-o v.y4m --size 192x108 --quiet");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string probe = Probe("v.y4m");
    for (const char* line : {"width=192", "height=108", "r_frame_rate=30000/1001",
                             "nb_read_frames=9", "field_order=tt"})
        EXPECT_NE(probe.find(line), std::string::npos) << line << " not in:\n" << probe;
}

} // namespace
