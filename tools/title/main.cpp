// flower-title: renders crawling and rolling titles over video frames with
// libflower, to PNG, YUV4MPEG2 or raw BGRA on stdout.
#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <new>

#include "ImageIo.h"
#include "Layout.h"
#include "Options.h"
#include "OutputFile.h"
#include "PixelRoutinesLite.h"
#include "Progress.h"
#include "ToolError.h"
#include "Y4m.h"
#include "florist.h"
#include "seed.h"

namespace title {
namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void OnInterrupt(int)
{
    interrupted = 1;
}

void CheckLibrary()
{
    if (!FlowerInit())
        throw ToolError("libflower failed to initialise");
    // Slots hold this marker, cast to their own type, until a routine set is chosen.
    const auto unselected =
        reinterpret_cast<RollBlitDataSubPixRoutine>(&UninitializedFunctionPointer);
    if (RollBlastDataSubPix == nullptr || RollBlastDataSubPix == unselected)
        throw ToolError("libflower has no roll routine installed");
}

int FrameCount(const Options& o)
{
    if (o.command == Command::Still || o.output == OutputKind::Png)
        return 1;
    return int(std::max(1.0, std::round(o.seconds * o.fps.PerSecond())));
}

// The frame's pixels live in an Image the writers read directly; the layer
// over them only borrows them.
struct FrameBuffer {
    Image image;
    Layer layer;
    FrameBuffer(int width, int height)
    {
        image.width = width;
        image.height = height;
        image.pels.assign(std::size_t(width) * height, 0);
        layer = Layer(CreateCompatibleLayer(reinterpret_cast<u8*>(image.pels.data()), width, height,
                                            width * 4, nullptr, nullptr));
        if (!layer)
            throw ToolError("out of memory for the frame");
    }
};

// Interlaced frames weave two renders half a frame apart; the field shown
// first (top for tff, bottom for bff) is the earlier one.
class FrameMaker {
  public:
    FrameMaker(Scene& s, const Options& o) : scene(s), interlace(o.interlace)
    {
        if (interlace != Interlace::None) {
            early = NewLayer(s.Width(), s.Height(), "field");
            late = NewLayer(s.Width(), s.Height(), "field");
        }
    }

    void Make(Marrow::StubLayer* frame, double seconds, double frameSeconds)
    {
        if (interlace == Interlace::None) {
            scene.Render(frame, seconds);
            return;
        }
        scene.Render(early.get(), seconds);
        scene.Render(late.get(), seconds + frameSeconds / 2);
        const bool topFirst = interlace == Interlace::TopFieldFirst;
        if (!InterlaceFrameLayers(frame, topFirst ? early.get() : late.get(),
                                  topFirst ? late.get() : early.get(), false))
            throw ToolError("cannot interlace the fields");
    }

  private:
    Scene& scene;
    Interlace interlace;
    Layer early, late;
};

void WriteFrame(const Options& o, const Image& frame, std::FILE* out, Y4mWriter* y4m)
{
    bool ok = true;
    switch (o.output) {
    case OutputKind::Png:
        ok = WritePng(frame, out);
        break;
    case OutputKind::Y4m:
        ok = y4m->WriteFrame(frame, out);
        break;
    case OutputKind::RawStdout:
        ok = std::fwrite(frame.pels.data(), 4, frame.pels.size(), out) == frame.pels.size();
        break;
    case OutputKind::None:
        break;
    }
    if (!ok)
        throw ToolError(o.output == OutputKind::RawStdout
                            ? std::string("cannot write to standard output")
                            : "cannot write '" + o.outputPath + "'");
}

void Run(const Options& o)
{
    CheckLibrary();
    // Opened first so that an unwritable target fails before any rendering.
    std::unique_ptr<OutputFile> out;
    if (o.output != OutputKind::None)
        out = std::make_unique<OutputFile>(o.outputPath);
    Production production = Produce(o);
    const double start =
        o.timeGiven || o.command != Command::Still ? o.time : production.showcaseTime;
    const int frames = FrameCount(o);
    const double frameSeconds = double(o.fps.denominator) / o.fps.numerator;

    FrameBuffer frame(o.width, o.height);
    FrameMaker maker(*production.scene, o);
    std::unique_ptr<Y4mWriter> y4m;
    if (o.output == OutputKind::Y4m) {
        y4m = std::make_unique<Y4mWriter>(o.width, o.height, o.fps, o.interlace);
        const std::string header = y4m->Header();
        if (std::fwrite(header.data(), 1, header.size(), out->Stream()) != header.size())
            throw ToolError("cannot write '" + o.outputPath + "'");
    }
    Progress progress(frames, !o.quiet);
    try {
        for (int n = 0; n < frames; ++n) {
            if (interrupted)
                throw ToolError("interrupted; nothing written");
            maker.Make(frame.layer.get(), start + n * frameSeconds, frameSeconds);
            WriteFrame(o, frame.image, out ? out->Stream() : nullptr, y4m.get());
            progress.Update(n + 1);
        }
        if (out)
            out->Commit();
    } catch (...) {
        progress.Abandon();
        throw;
    }
    const std::string where = o.benchmark                         ? " (benchmark, nothing written)"
                              : o.output == OutputKind::RawStdout ? " to standard output"
                                                                  : " -> " + o.outputPath;
    progress.Finish(frames, o.command == Command::Still ? 0 : frames * frameSeconds, where);
}

} // namespace
} // namespace title

int main(int argc, char** argv)
{
    std::signal(SIGINT, title::OnInterrupt);
    std::signal(SIGTERM, title::OnInterrupt);
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe becomes a write error
    try {
        const title::Options options = title::ParseOptions(argc, argv);
        if (options.showHelp) {
            std::fputs(title::HelpText(), stdout);
            return 0;
        }
        title::Run(options);
        return 0;
    } catch (const title::ToolError& e) {
        std::fprintf(stderr, "flower-title: %s\n", e.what());
        if (e.usageHint)
            std::fprintf(stderr, "Try 'flower-title --help'.\n");
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "flower-title: out of memory\n");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "flower-title: %s\n", e.what());
    }
    return 2;
}
