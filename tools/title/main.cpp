// flower-title: renders crawling and rolling titles with libflower over video
// frames, pictures or colours, to PNG, YUV4MPEG2 or raw BGRA. Reading,
// rendering and writing run on three threads with bounded hand-overs, so a
// render takes about as long as its slowest stage.
#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <poll.h>
#include <thread>
#include <unistd.h>

#include "ImageIo.h"
#include "Items.h"
#include "Layout.h"
#include "Options.h"
#include "OutputFile.h"
#include "PixelRoutinesLite.h"
#include "Progress.h"
#include "Queue.h"
#include "Titler.h"
#include "ToolError.h"
#include "Video.h"
#include "florist.h"
#include "seed.h"
#include "version.h"

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

// Reads that give up (as the end of the input) once `stop` is set, so a
// stalled live input cannot hold up an interrupted render.
class FdSource : public ByteSource {
  public:
    FdSource(int f, std::string n, const std::atomic<bool>& s) : fd(f), name(std::move(n)), stop(s)
    {
    }
    std::size_t Read(void* dst, std::size_t count) override
    {
        for (;;) {
            if (stop)
                return 0;
            pollfd p{fd, POLLIN, 0};
            const int ready = poll(&p, 1, 100);
            if (ready == 0 || (ready < 0 && errno == EINTR))
                continue;
            const ssize_t n = read(fd, dst, count);
            if (n >= 0)
                return std::size_t(n);
            if (errno != EINTR && errno != EAGAIN)
                throw ToolError("cannot read " + name + ": " + std::strerror(errno));
        }
    }

  private:
    int fd;
    std::string name;
    const std::atomic<bool>& stop;
};

struct Input {
    int fd = -1;
    std::unique_ptr<FdSource> source;
    std::unique_ptr<VideoReader> reader;
    ~Input()
    {
        if (fd > STDERR_FILENO)
            close(fd);
    }
};

void Open(Input& in, const Options& o, const std::atomic<bool>& stop)
{
    const bool standard = o.inputPath == "-";
    const std::string name = standard ? "standard input" : "'" + o.inputPath + "'";
    in.fd = standard ? STDIN_FILENO : open(o.inputPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (in.fd < 0)
        throw ToolError("cannot open input " + name + ": " + std::strerror(errno));
    in.source = std::make_unique<FdSource>(in.fd, name, stop);
    if (o.input == InputKind::Y4m) {
        in.reader = std::make_unique<VideoReader>(*in.source);
        return;
    }
    VideoFormat raw;
    raw.width = o.width;
    raw.height = o.height;
    raw.rate = o.fps;
    raw.interlace = o.interlace;
    raw.bgra = true;
    in.reader = std::make_unique<VideoReader>(*in.source, raw);
}

// The input decides size, rate and field order; options may only agree.
void AdoptInputFormat(Options& o, const VideoFormat& f)
{
    if (o.sizeGiven && (o.width != f.width || o.height != f.height))
        throw UsageError("--size " + std::to_string(o.width) + "x" + std::to_string(o.height) +
                         " contradicts the input's " + std::to_string(f.width) + "x" +
                         std::to_string(f.height) + "; leave it out");
    if (o.fpsGiven && (long long)o.fps.numerator * f.rate.denominator !=
                          (long long)f.rate.numerator * o.fps.denominator)
        throw UsageError("--fps contradicts the input's " + std::to_string(f.rate.numerator) + "/" +
                         std::to_string(f.rate.denominator) + "; leave it out");
    if (o.interlaceGiven && o.interlace != f.interlace && !f.bgra)
        throw UsageError("--interlace contradicts the input's field order; leave it out");
    o.width = f.width;
    o.height = f.height;
    o.fps = f.rate;
    o.interlace = f.interlace;
    if (o.fade * 2 > o.width)
        throw UsageError("--fade must be at most half the frame width");
}

std::unique_ptr<ItemFeed> OpenItems(const Options& o)
{
    if (o.itemsPath.empty())
        return nullptr;
    if (o.itemsPath == "-")
        return std::make_unique<StreamItems>(STDIN_FILENO);
    return std::make_unique<ItemsFile>(o.itemsPath);
}

struct Slot {
    std::vector<std::uint8_t> frame;     // the working frame, in the input's format
    std::vector<std::uint8_t> converted; // the output's bytes, when they differ
    const std::uint8_t* bytes = nullptr;
    std::size_t count = 0;
};

// What the threads share. The first failure wins; `stop` ends every stage.
struct Shared {
    Queue<Slot*> free, filled, ready;
    std::atomic<bool> stop{false};
    std::mutex mutex;
    std::string error;
    bool inputCut = false;

    void Fail(const std::string& message)
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (error.empty())
                error = message;
        }
        stop = true;
        free.Close();
        filled.Close();
        ready.Close();
    }
    bool Failed()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return !error.empty();
    }
};

template <typename T> bool PopUntilStopped(Queue<T>& q, T& item, const std::atomic<bool>& stop)
{
    for (;;) {
        switch (q.Pop(item)) {
        case Queue<T>::Status::Ok:
            return true;
        case Queue<T>::Status::Closed:
            return false;
        case Queue<T>::Status::Timeout:
            if (stop || interrupted)
                return false;
        }
    }
}

void ReadFrames(VideoReader& reader, Shared& s)
{
    try {
        Slot* slot = nullptr;
        while (PopUntilStopped(s.free, slot, s.stop)) {
            const VideoReader::Result r = reader.ReadFrame(slot->frame.data());
            if (r != VideoReader::Result::Frame) {
                s.inputCut = r == VideoReader::Result::Short && !s.stop;
                break;
            }
            s.filled.Push(slot);
        }
    } catch (const ToolError& e) {
        return s.Fail(e.what());
    }
    s.filled.Close();
}

void WriteFrames(OutputFile& out, OutputKind kind, const std::string& header, Shared& s)
{
    try {
        if (!header.empty())
            out.Write(header.data(), header.size());
        Slot* slot = nullptr;
        while (s.ready.Pop(slot, std::chrono::hours(1)) == Queue<Slot*>::Status::Ok) {
            if (kind == OutputKind::Y4m)
                out.Write("FRAME\n", 6);
            out.Write(slot->bytes, slot->count);
            s.free.Push(slot);
        }
    } catch (const ToolError& e) {
        s.Fail(e.what());
    }
}

class Render {
  public:
    Render(Options& options) : o(options) {}
    void Run();

  private:
    void Prepare(Slot& slot, long index);
    void Convert(Slot& slot);
    long FrameLimit() const;

    Options& o;
    Shared shared;
    Input input;
    VideoFormat format;
    Matrix matrix = Matrix::Bt709;
    std::unique_ptr<FrameTitler> titler;
    Production production;
    double start = 0, frameSeconds = 0;
};

long Render::FrameLimit() const
{
    if (o.output == OutputKind::Png || (o.command == Command::Still && o.input == InputKind::None))
        return 1;
    if (o.seconds == 0)
        return -1;
    return std::max(1L, long(std::llround(o.seconds * o.fps.PerSecond())));
}

void Render::Prepare(Slot& slot, long index)
{
    if (input.reader == nullptr) {
        Pixels b(production.background.get());
        for (int y = 0; y < format.height; ++y)
            std::memcpy(slot.frame.data() + std::size_t(y) * format.width * 4, b.At(0, y),
                        std::size_t(format.width) * 4);
    }
    const double t = o.command == Command::Still ? start : start + index * frameSeconds;
    titler->Title(slot.frame.data(), t, frameSeconds);
    Convert(slot);
}

void Render::Convert(Slot& slot)
{
    slot.bytes = slot.frame.data();
    slot.count = slot.frame.size();
    if (o.output == OutputKind::None)
        return;
    const PlanarLayout layout = LayoutOf(format);
    const YuvConverter yuv(matrix);
    if (o.output == OutputKind::Y4m && format.bgra) {
        PlanarLayout out = layout;
        out.shiftX = out.shiftY = 1;
        slot.converted.resize(std::size_t(format.width) * format.height +
                              2 * std::size_t(out.ChromaWidth()) * out.ChromaHeight());
        BgraToPlanar(reinterpret_cast<const std::uint32_t*>(slot.frame.data()), out, yuv,
                     slot.converted.data());
    } else if (o.output != OutputKind::Y4m && !format.bgra) {
        slot.converted.resize(format.LumaBytes() * 4);
        PlanarToBgra(slot.frame.data(), layout, yuv,
                     reinterpret_cast<std::uint32_t*>(slot.converted.data()));
    } else if (o.output != OutputKind::Png) {
        return;
    }
    if (o.output == OutputKind::Png) {
        Image image;
        image.width = format.width;
        image.height = format.height;
        const std::uint8_t* pels = format.bgra ? slot.frame.data() : slot.converted.data();
        image.pels.assign(reinterpret_cast<const std::uint32_t*>(pels),
                          reinterpret_cast<const std::uint32_t*>(pels) + format.LumaBytes());
        std::vector<unsigned char> png;
        if (!EncodePng(image, png))
            throw ToolError("cannot encode the PNG picture");
        slot.converted.assign(png.begin(), png.end());
    }
    slot.bytes = slot.converted.data();
    slot.count = slot.converted.size();
}

void Render::Run()
{
    CheckLibrary();
    // Opened first so that an unwritable target fails before any rendering.
    std::unique_ptr<OutputFile> out;
    if (!o.benchmark)
        out = std::make_unique<OutputFile>(o.outputPath);
    if (o.input != InputKind::None) {
        Open(input, o, shared.stop);
        format = input.reader->Format();
        AdoptInputFormat(o, format);
    } else {
        format.width = o.width;
        format.height = o.height;
        format.rate = o.fps;
        format.interlace = o.interlace;
        format.bgra = true;
    }
    matrix = MatrixFor(o.matrix, format.height);
    std::unique_ptr<ItemFeed> items = OpenItems(o);
    production = Produce(o, items.get());
    titler = std::make_unique<FrameTitler>(*production.scene, format, matrix);
    start = o.timeGiven || o.command != Command::Still ? o.time : production.showcaseTime;
    frameSeconds = double(o.fps.denominator) / o.fps.numerator;
    const long limit = FrameLimit();
    // A .png of a video shows the input frame at --time.
    const long skip = o.output == OutputKind::Png && input.reader
                          ? long(std::llround(o.time * o.fps.PerSecond()))
                          : 0;

    constexpr int kSlots = 4;
    std::vector<Slot> slots(kSlots);
    for (Slot& slot : slots) {
        slot.frame.resize(format.FrameBytes());
        shared.free.Push(&slot);
    }
    // A Y4M input's own header goes out again: the frames keep its format.
    std::string header;
    if (o.output == OutputKind::Y4m)
        header =
            (input.reader && !format.bgra ? input.reader->HeaderLine() : Y4mHeaderFor(format)) +
            "\n";
    std::thread reader, writer;
    if (input.reader)
        reader = std::thread(ReadFrames, std::ref(*input.reader), std::ref(shared));
    if (out)
        writer = std::thread(WriteFrames, std::ref(*out), o.output, header, std::ref(shared));

    Progress progress(int(std::max(0L, limit)), !o.quiet);
    long done = 0, seen = 0;
    std::string renderError;
    bool stoppedByUser = false;
    try {
        Slot* slot = nullptr;
        while (limit < 0 || done < limit) {
            if (interrupted) {
                stoppedByUser = true;
                break;
            }
            Queue<Slot*>& source = input.reader ? shared.filled : shared.free;
            if (!PopUntilStopped(source, slot, shared.stop)) {
                stoppedByUser = interrupted && !shared.Failed();
                break;
            }
            if (seen++ < skip) {
                shared.free.Push(slot);
                continue;
            }
            Prepare(*slot, done);
            ++done;
            if (out)
                shared.ready.Push(slot);
            else
                shared.free.Push(slot);
            progress.Update(int(done));
        }
    } catch (const ToolError& e) {
        renderError = e.what();
    } catch (const std::bad_alloc&) {
        renderError = "out of memory";
    }
    shared.stop = true;
    shared.ready.Close();
    if (writer.joinable())
        writer.join();
    shared.free.Close();
    if (reader.joinable())
        reader.join();
    progress.Abandon();
    if (!renderError.empty())
        throw ToolError(renderError);
    if (shared.Failed())
        throw ToolError(shared.error);
    if (stoppedByUser && limit >= 0 && o.input == InputKind::None)
        throw ToolError("interrupted; nothing written");
    if (done == 0 && skip > 0)
        throw ToolError("the input ends before frame " + std::to_string(skip + 1) +
                        ", the one --time asks for");
    if (out)
        out->Commit();
    if (shared.inputCut)
        throw ToolError("warning: the input ends inside frame " + std::to_string(seen + 1) +
                        "; the output ends with frame " + std::to_string(done));
    const std::string where = o.benchmark      ? " (benchmark, nothing written)"
                              : out->InPlace() ? " to " + out->Name()
                                               : " -> " + out->Name();
    progress.Finish(int(done), o.command == Command::Still ? 0 : done * frameSeconds,
                    (stoppedByUser ? " (interrupted)" : "") + where);
}

} // namespace
} // namespace title

int main(int argc, char** argv)
{
    struct sigaction interrupt {};
    interrupt.sa_handler = title::OnInterrupt;
    sigemptyset(&interrupt.sa_mask);
    sigaction(SIGINT, &interrupt, nullptr);
    sigaction(SIGTERM, &interrupt, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe becomes a write error
    try {
        title::Options options = title::ParseOptions(argc, argv);
        if (options.showHelp) {
            std::fputs(title::HelpText(), stdout);
            return 0;
        }
        if (options.showVersion) {
            std::printf("flower-title %s (libflower %s)\n", FLOWER_VERSION_STRING,
                        GetFlowerVersion(nullptr, nullptr, nullptr));
            return 0;
        }
        title::Render(options).Run();
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
