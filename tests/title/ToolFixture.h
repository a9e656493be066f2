// The fixture of the end-to-end tests: a scratch directory per test and the
// tool run in it the way a user runs it.
#ifndef FLOWER_TITLE_TEST_TOOLFIXTURE_H
#define FLOWER_TITLE_TEST_TOOLFIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace title_test {

using Frame = std::vector<std::uint32_t>;
using Names = std::vector<std::string>;

inline std::string Slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Small frames keep every render quick; a clear frame with no band shows the crawl alone.
inline const std::string kSmall = " --size 160x96 --fps 25 --quiet";
inline const std::string kBareCrawl =
    "crawl --background '#00000000' --band '#00000000' --font-size 24 "
    "--fade 0 --text 'Flower IIMW'" +
    kSmall;

struct Result {
    int status;
    std::string out, err;
    std::vector<Frame> Frames() const // raw 160x96 BGRA frames
    {
        std::vector<Frame> frames;
        for (std::size_t at = 0; at + 160 * 96 * 4 <= out.size(); at += 160 * 96 * 4) {
            frames.emplace_back(160 * 96);
            std::memcpy(frames.back().data(), out.data() + at, 160 * 96 * 4);
        }
        return frames;
    }
};

class TitleTool : public ::testing::Test {
  protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/flower-title-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override { std::system(("rm -rf '" + dir + "'").c_str()); }

    // Runs the tool (or `program`) with `args` (shell words) inside the test's directory.
    Result Run(const std::string& args, const std::string& program = FLOWER_TITLE_EXE) const
    {
        const std::string out = dir + "/.stdout", err = dir + "/.stderr";
        const int raw = std::system(("cd '" + dir + "' && '" + program + "' " + args + " > '" +
                                     out + "' 2> '" + err + "' < /dev/null")
                                        .c_str());
        Result r = {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
        unlink(out.c_str());
        unlink(err.c_str());
        return r;
    }

    Names Files() const
    {
        Names names;
        if (DIR* d = opendir(dir.c_str())) {
            while (dirent* e = readdir(d))
                if (e->d_name[0] != '.')
                    names.push_back(e->d_name);
            closedir(d);
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    // ffmpeg and ffprobe come from Debian's ffmpeg; installed when this machine may.
    static bool HaveFfmpeg()
    {
        if (std::system("command -v ffprobe > /dev/null 2>&1") != 0)
            std::system("(apt-get install -y --no-install-recommends ffmpeg || sudo -n apt-get "
                        "install -y --no-install-recommends ffmpeg) > /dev/null 2>&1");
        return std::system("command -v ffmpeg > /dev/null 2>&1 && command -v ffprobe > /dev/null "
                           "2>&1") == 0;
    }

    // ffprobe's reading of the video stream of a file in the test's directory.
    std::string Probe(const std::string& name) const
    {
        return Run("-v error -count_frames -select_streams v:0 -show_entries "
                   "stream=width,height,r_frame_rate,nb_read_frames,field_order "
                   "-of default=nw=1 " +
                       name,
                   "ffprobe")
            .out;
    }

    // A clip of ffmpeg's testsrc2 in the test's directory; `args` picks the
    // pixel format and anything else.
    void MakeClip(const std::string& name, const std::string& size, int frames,
                  const std::string& args) const
    {
        const Result r =
            Run("-v error -f lavfi -i testsrc2=size=" + size + ":rate=25 -frames:v " +
                    std::to_string(frames) + " " + args + " -f yuv4mpegpipe -y " + name,
                "ffmpeg");
        ASSERT_EQ(r.status, 0) << r.err;
    }

    std::string dir;
};

// A YUV4MPEG2 stream split into its header line and its frames' bytes.
struct Y4m {
    std::string header;
    std::vector<std::string> frames;
    bool whole = true; // no bytes after the last whole frame

    Y4m(const std::string& bytes, std::size_t frameBytes)
    {
        std::size_t at = bytes.find('\n');
        header = bytes.substr(0, at);
        while (at != std::string::npos && at + 1 < bytes.size()) {
            const std::size_t eol = bytes.find('\n', at + 1);
            if (eol == std::string::npos || bytes.compare(at + 1, 5, "FRAME") != 0 ||
                eol + 1 + frameBytes > bytes.size()) {
                whole = false;
                break;
            }
            frames.push_back(bytes.substr(eol + 1, frameBytes));
            at = eol + frameBytes;
        }
    }
};

} // namespace title_test

#endif
