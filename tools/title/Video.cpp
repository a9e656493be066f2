#include "Video.h"

#include <cstring>
#include <numeric>

#include "ToolError.h"

namespace title {
namespace {

constexpr std::size_t kHeaderLimit = 4096; // a real header is under 100 bytes
constexpr std::size_t kBufferBytes = 1 << 16;
constexpr int kMaxSide = 8192; // as --size allows

int HeaderNumber(const std::string& text, const char* what)
{
    if (text.empty() || text.size() > 9 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        throw ToolError(std::string("YUV4MPEG2 header: bad ") + what + " '" + text + "'");
    return std::stoi(text);
}

FrameRate HeaderRate(const std::string& text)
{
    const auto colon = text.find(':');
    if (colon == std::string::npos)
        throw ToolError("YUV4MPEG2 header: bad frame rate '" + text + "'");
    FrameRate r{HeaderNumber(text.substr(0, colon), "frame rate"),
                HeaderNumber(text.substr(colon + 1), "frame rate")};
    if (r.numerator < 1 || r.denominator < 1)
        throw ToolError("YUV4MPEG2 header: frame rate " + text + " is not a rate");
    const int g = std::gcd(r.numerator, r.denominator);
    r.numerator /= g;
    r.denominator /= g;
    if (r.PerSecond() < 1 || r.PerSecond() > 300)
        throw ToolError("YUV4MPEG2 header: frame rate " + text + " is outside 1 to 300 per second");
    return r;
}

Interlace HeaderInterlace(const std::string& text)
{
    if (text == "p" || text == "?")
        return Interlace::None;
    if (text == "t")
        return Interlace::TopFieldFirst;
    if (text == "b")
        return Interlace::BottomFieldFirst;
    throw ToolError("YUV4MPEG2 header: field order 'I" + text +
                    "' is not supported (progressive, t or b only)");
}

void HeaderChroma(const std::string& text, VideoFormat& f)
{
    if (text == "420jpeg" || text == "420paldv" || text == "420mpeg2" || text == "420") {
        f.chromaShiftX = f.chromaShiftY = 1;
    } else if (text == "422") {
        f.chromaShiftX = 1;
        f.chromaShiftY = 0;
    } else if (text == "444") {
        f.chromaShiftX = f.chromaShiftY = 0;
    } else {
        throw ToolError("YUV4MPEG2 colour space 'C" + text +
                        "' is not supported: 8-bit 4:2:0, 4:2:2 or 4:4:4 only");
    }
}

} // namespace

Matrix MatrixFor(MatrixChoice choice, int height)
{
    if (choice == MatrixChoice::Auto)
        return height > 576 ? Matrix::Bt709 : Matrix::Bt601;
    return choice == MatrixChoice::Bt709 ? Matrix::Bt709 : Matrix::Bt601;
}

PlanarLayout LayoutOf(const VideoFormat& f)
{
    return {f.width, f.height, f.chromaShiftX, f.chromaShiftY, f.interlace != Interlace::None};
}

VideoFormat ParseY4mHeader(const std::string& line)
{
    static const char kMagic[] = "YUV4MPEG2";
    if (line.compare(0, 9, kMagic) != 0 || (line.size() > 9 && line[9] != ' '))
        throw ToolError("input is not a YUV4MPEG2 stream");
    VideoFormat f;
    bool sized[2] = {false, false}, rated = false;
    std::size_t at = 9;
    while (at < line.size()) {
        if (line[at] == ' ') {
            ++at;
            continue;
        }
        std::size_t stop = line.find(' ', at);
        if (stop == std::string::npos)
            stop = line.size();
        const char tag = line[at];
        const std::string value = line.substr(at + 1, stop - at - 1);
        at = stop;
        switch (tag) {
        case 'W':
            f.width = HeaderNumber(value, "width");
            sized[0] = true;
            break;
        case 'H':
            f.height = HeaderNumber(value, "height");
            sized[1] = true;
            break;
        case 'F':
            f.rate = HeaderRate(value);
            rated = true;
            break;
        case 'I':
            f.interlace = HeaderInterlace(value);
            break;
        case 'C':
            HeaderChroma(value, f);
            break;
        default: // A (aspect), X (extensions) and tags to come carry nothing we need
            break;
        }
    }
    if (!sized[0] || !sized[1] || !rated)
        throw ToolError("YUV4MPEG2 header lacks its size (W, H) or frame rate (F)");
    if (f.width < 16 || f.height < 16 || f.width > kMaxSide || f.height > kMaxSide)
        throw ToolError("YUV4MPEG2 frames of " + std::to_string(f.width) + "x" +
                        std::to_string(f.height) + " are outside 16x16 to 8192x8192");
    return f;
}

std::string Y4mHeaderFor(const VideoFormat& f)
{
    const char* tag = f.interlace == Interlace::TopFieldFirst      ? "It"
                      : f.interlace == Interlace::BottomFieldFirst ? "Ib"
                                                                   : "Ip";
    return "YUV4MPEG2 W" + std::to_string(f.width) + " H" + std::to_string(f.height) + " F" +
           std::to_string(f.rate.numerator) + ":" + std::to_string(f.rate.denominator) + " " + tag +
           " A1:1 C420jpeg XYSCSS=420JPEG XCOLORRANGE=LIMITED";
}

VideoReader::VideoReader(ByteSource& s) : source(s), y4m(true), buffer(kBufferBytes)
{
    bool cut = false;
    if (!ReadLine(header, kHeaderLimit, cut) || cut)
        throw ToolError(cut ? "YUV4MPEG2 header is too long"
                            : "input ends before its YUV4MPEG2 header does");
    format = ParseY4mHeader(header);
}

VideoReader::VideoReader(ByteSource& s, const VideoFormat& raw)
    : source(s), format(raw), y4m(false), buffer(kBufferBytes)
{
}

bool VideoReader::Fill()
{
    begin = 0;
    end = source.Read(buffer.data(), buffer.size());
    return end > 0;
}

// Buffered bytes first, then large reads straight into `dst`.
std::size_t VideoReader::Take(std::uint8_t* dst, std::size_t count)
{
    std::size_t got = std::min(count, end - begin);
    std::memcpy(dst, buffer.data() + begin, got);
    begin += got;
    while (got < count) {
        const std::size_t n = source.Read(dst + got, count - got);
        if (n == 0)
            break;
        got += n;
    }
    return got;
}

// False when the input ends before a newline; `cut` when the line passed `limit`.
bool VideoReader::ReadLine(std::string& line, std::size_t limit, bool& cut)
{
    line.clear();
    cut = false;
    for (;;) {
        if (begin == end && !Fill())
            return false;
        const std::uint8_t* first = buffer.data() + begin;
        const void* newline = std::memchr(first, '\n', end - begin);
        const std::size_t n =
            newline ? std::size_t(static_cast<const std::uint8_t*>(newline) - first) : end - begin;
        line.append(reinterpret_cast<const char*>(first), std::min(n, limit + 1 - line.size()));
        begin += n;
        if (line.size() > limit) {
            cut = true;
            return true;
        }
        if (newline) {
            ++begin;
            return true;
        }
    }
}

VideoReader::Result VideoReader::ReadFrame(std::uint8_t* dst)
{
    if (y4m) {
        if (begin == end && !Fill())
            return Result::End;
        std::string line;
        bool cut = false;
        if (!ReadLine(line, kHeaderLimit, cut))
            return Result::Short;
        if (cut || line.compare(0, 5, "FRAME") != 0 || (line.size() > 5 && line[5] != ' '))
            throw ToolError("YUV4MPEG2 input: a frame does not start with FRAME");
    }
    const std::size_t got = Take(dst, format.FrameBytes());
    if (got == format.FrameBytes())
        return Result::Frame;
    return got == 0 && !y4m ? Result::End : Result::Short;
}

} // namespace title
