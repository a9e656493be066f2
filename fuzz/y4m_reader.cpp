// Video reader target: the input is a YUV4MPEG2 stream (or, after a first
// byte of 'R', raw BGRA frames of a size the next bytes choose) read frame by
// frame until it ends, and every whole frame gets a title patch composited
// over it, so headers, frame lines, short frames, odd sizes, every chroma
// layout and field order reach the reader and the compositor. Readable
// streams must be read without a crash, a leak or a hang; unreadable ones
// must be refused with a ToolError.
#include "FuzzSupport.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Overlay.h"
#include "ToolError.h"
#include "Video.h"
#include "seed.h"

namespace {

constexpr std::size_t kMaxFrameBytes = 1 << 20;

class MemorySource : public title::ByteSource {
  public:
    MemorySource(const std::uint8_t* d, std::size_t n) : data(d), size(n) {}
    // Short reads of varying length, as pipes give.
    std::size_t Read(void* dst, std::size_t count) override
    {
        const std::size_t n = std::min({count, size - at, std::size_t(1 + (at * 7919) % 4096)});
        std::memcpy(dst, data + at, n);
        at += n;
        return n;
    }

  private:
    const std::uint8_t* data;
    std::size_t size;
    std::size_t at = 0;
};

// A patch of translucent and opaque pels around the frame, partly outside it.
void TitleFrame(std::uint8_t* frame, const title::VideoFormat& f, Fuzz::Input& shape)
{
    const int width = shape.Range(1, 40), height = shape.Range(1, 40);
    std::vector<std::uint32_t> pels(std::size_t(width) * height);
    for (std::uint32_t& p : pels)
        p = shape.Pel();
    title::OverlayPatch patch;
    patch.x = shape.Range(-20, f.width);
    patch.y = shape.Range(-20, f.height);
    patch.width = width;
    patch.height = height;
    patch.pels = pels.data();
    patch.pitch = width;
    if (f.bgra) {
        title::CompositOverlay(reinterpret_cast<std::uint32_t*>(frame), f.width, f.height, patch);
        return;
    }
    const title::Matrix m = shape.Bool() ? title::Matrix::Bt709 : title::Matrix::Bt601;
    title::PlanarCompositor(title::LayoutOf(f), m).Composit(frame, patch);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool ready = FlowerInit();
    if (!ready)
        Fuzz::Fail("FlowerInit failed");
    Fuzz::Input shape(data, std::min<std::size_t>(size, 64));
    const bool bgra = size > 3 && data[0] == 'R';
    MemorySource source(data + (bgra ? 3 : 0), size - (bgra ? 3 : 0));
    try {
        std::vector<std::uint8_t> frame;
        title::VideoFormat raw;
        if (bgra) {
            raw.width = 16 + data[1] % 32;
            raw.height = 16 + data[2] % 32;
            raw.bgra = true;
        }
        title::VideoReader reader =
            bgra ? title::VideoReader(source, raw) : title::VideoReader(source);
        const title::VideoFormat& f = reader.Format();
        if (f.FrameBytes() > kMaxFrameBytes)
            return 0;
        frame.resize(f.FrameBytes());
        for (int n = 0; n < 64; ++n) {
            if (reader.ReadFrame(frame.data()) != title::VideoReader::Result::Frame)
                break;
            TitleFrame(frame.data(), f, shape);
        }
    } catch (const title::ToolError&) {
        // A refused stream is a correct outcome.
    }
    return 0;
}
