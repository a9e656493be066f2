// Video frames in: YUV4MPEG2 (8-bit 4:2:0, 4:2:2, 4:4:4) or raw BGRA, read
// from any byte source. Nothing here touches stdio, so the fuzz target runs it
// over memory.
#ifndef FLOWER_TITLE_VIDEO_H
#define FLOWER_TITLE_VIDEO_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Options.h"
#include "Yuv.h"

namespace title {

struct VideoFormat {
    int width = 0;
    int height = 0;
    FrameRate rate;
    Interlace interlace = Interlace::None;
    bool bgra = false;    // raw 0xAARRGGBB frames rather than Y'CbCr planes
    int chromaShiftX = 1; // 4:2:0 is 1, 1; 4:2:2 is 1, 0; 4:4:4 is 0, 0
    int chromaShiftY = 1;

    int ChromaWidth() const { return (width + (1 << chromaShiftX) - 1) >> chromaShiftX; }
    int ChromaHeight() const { return (height + (1 << chromaShiftY) - 1) >> chromaShiftY; }
    std::size_t LumaBytes() const { return std::size_t(width) * std::size_t(height); }
    std::size_t ChromaBytes() const { return std::size_t(ChromaWidth()) * ChromaHeight(); }
    std::size_t FrameBytes() const
    {
        return bgra ? LumaBytes() * 4 : LumaBytes() + 2 * ChromaBytes();
    }
};

// BT.709 for frames taller than 576 lines, BT.601 otherwise, unless chosen.
Matrix MatrixFor(MatrixChoice choice, int height);

// How the planes of a Y'CbCr format lie; interlaced 4:2:0 chroma pairs rows
// of one field.
PlanarLayout LayoutOf(const VideoFormat& format);

// The stream header line (without its newline) parsed; throws ToolError for a
// header this tool cannot read, naming what is wrong.
VideoFormat ParseY4mHeader(const std::string& line);

// A stream header this tool writes for `format` (4:2:0 with centre-sited
// chroma, as its converter averages 2x2 blocks).
std::string Y4mHeaderFor(const VideoFormat& format);

class ByteSource {
  public:
    virtual ~ByteSource() = default;
    // Up to `count` bytes into `dst`; 0 only at the end. Throws ToolError on
    // a read error.
    virtual std::size_t Read(void* dst, std::size_t count) = 0;
};

class VideoReader {
  public:
    enum class Result { Frame, End, Short };

    // Reads and checks the YUV4MPEG2 stream header now.
    explicit VideoReader(ByteSource& source);
    // Raw frames of a format given on the command line.
    VideoReader(ByteSource& source, const VideoFormat& raw);

    const VideoFormat& Format() const { return format; }
    const std::string& HeaderLine() const { return header; }

    // One frame into `dst` (Format().FrameBytes()). End: the input ended
    // between frames; Short: inside one (its bytes are not a frame).
    Result ReadFrame(std::uint8_t* dst);

  private:
    bool Fill();
    std::size_t Take(std::uint8_t* dst, std::size_t count);
    bool ReadLine(std::string& line, std::size_t limit, bool& cut);

    ByteSource& source;
    VideoFormat format;
    std::string header;
    bool y4m;
    std::vector<std::uint8_t> buffer;
    std::size_t begin = 0, end = 0;
};

} // namespace title

#endif
