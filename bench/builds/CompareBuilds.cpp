// Times ResizeLayer in two builds of the library loaded side by side, call for
// call in turn, so that both see the same moments of a busy machine: on a
// shared host the load of the other tenants moves whole-frame timings by tens
// of percent within a minute, which separate runs cannot tell from a change.
//
//   flower_compare_builds OLD.so NEW.so [--calls N] [--size WIDTHxHEIGHT]
//
// Each build is loaded into its own link-map namespace (dlmopen), as two
// copies of one soname would otherwise be one library. The source frames are
// the speed suite's three 1920x1080 contents.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "../speed/Content.h"

namespace {

typedef unsigned char u8;
typedef void Layer;

struct Build {
    const char* path;
    bool (*init)();
    Layer* (*compatible)(u8*, int, int, int, void*, void*);
    Layer* (*create)(int, int);
    void (*destroy)(Layer*);
    bool (*resize)(Layer*, Layer*, bool);
};

template <class F> bool Bind(void* library, F& f, const char* name, const char* path)
{
    f = reinterpret_cast<F>(dlsym(library, name));
    if (!f)
        std::fprintf(stderr, "%s: no symbol %s\n", path, name);
    return f != nullptr;
}

bool Load(const char* path, Build& build)
{
    // A bare file name would send the loader to the system's directories.
    const std::string file = std::strchr(path, '/') ? path : std::string("./") + path;
    void* library = dlmopen(LM_ID_NEWLM, file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
        return false;
    }
    build.path = path;
    return Bind(library, build.init, "FlowerInit", path) &&
           Bind(library, build.compatible, "CreateCompatibleLayer", path) &&
           Bind(library, build.create, "CreateLayer", path) &&
           Bind(library, build.destroy, "DeleteLayer", path) &&
           Bind(library, build.resize, "ResizeLayer", path);
}

struct Options {
    const char* builds[2] = {nullptr, nullptr};
    int calls = 40;
    int width = 1280, height = 720;
};

bool Parse(int argc, char** argv, Options& o)
{
    int given = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--calls" && i + 1 < argc) {
            o.calls = std::atoi(argv[++i]);
            if (o.calls < 1 || o.calls > 100000)
                return false;
        } else if (arg == "--size" && i + 1 < argc) {
            if (std::sscanf(argv[++i], "%dx%d", &o.width, &o.height) != 2 || o.width < 1 ||
                o.height < 1 || o.width > 16384 || o.height > 16384)
                return false;
        } else if (given < 2 && arg.compare(0, 1, "-") != 0) {
            o.builds[given++] = argv[i];
        } else {
            return false;
        }
    }
    return given == 2;
}

double Quantile(std::vector<double> v, double q)
{
    std::sort(v.begin(), v.end());
    return v[std::size_t(q * double(v.size() - 1) + 0.5)];
}

// Milliseconds of each call of each build, the builds taking turns to go first.
void Time(const Build (&builds)[2], speed::Frame& frame, const Options& o,
          std::vector<double> (&times)[2])
{
    Layer *src[2], *dst[2];
    for (int k = 0; k < 2; ++k) {
        times[k].clear();
        src[k] = builds[k].compatible(reinterpret_cast<u8*>(frame.Bytes()), speed::kWidth,
                                      speed::kHeight, speed::kPitch, nullptr, nullptr);
        dst[k] = builds[k].create(o.width, o.height);
    }
    for (int call = 0; call < o.calls; ++call)
        for (int turn = 0; turn < 2; ++turn) {
            const int k = call % 2 ? 1 - turn : turn;
            const auto start = std::chrono::steady_clock::now();
            builds[k].resize(dst[k], src[k], false);
            const std::chrono::duration<double, std::milli> took =
                std::chrono::steady_clock::now() - start;
            times[k].push_back(took.count());
        }
    for (int k = 0; k < 2; ++k) {
        builds[k].destroy(dst[k]);
        builds[k].destroy(src[k]);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Options o;
    if (!Parse(argc, argv, o)) {
        std::fprintf(stderr, "usage: %s OLD.so NEW.so [--calls N] [--size WIDTHxHEIGHT]\n",
                     argv[0]);
        return 2;
    }
    Build builds[2];
    for (int k = 0; k < 2; ++k)
        if (!Load(o.builds[k], builds[k]) || !builds[k].init())
            return 1;
    std::printf("ResizeLayer 1920x1080 -> %dx%d, %d calls of each build in turn (ms)\n", o.width,
                o.height, o.calls);
    std::printf("%-12s %9s %9s %9s %9s %9s %9s %9s %9s\n", "content", "old min", "old p25",
                "old med", "new min", "new p25", "new med", "new/old", "(p25)");
    for (speed::Content content : speed::kContents) {
        speed::Frame frame = speed::First(content);
        std::vector<double> times[2];
        Time(builds, frame, o, times);
        const double oldMin = Quantile(times[0], 0), newMin = Quantile(times[1], 0);
        const double oldQ = Quantile(times[0], 0.25), newQ = Quantile(times[1], 0.25);
        std::printf("%-12s %9.3f %9.3f %9.3f %9.3f %9.3f %9.3f %9.3f %9.3f\n", speed::Name(content),
                    oldMin, oldQ, Quantile(times[0], 0.5), newMin, newQ, Quantile(times[1], 0.5),
                    newMin / oldMin, newQ / oldQ);
    }
    return 0;
}
