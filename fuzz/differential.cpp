// Differential target: every runnable kernel set of each row-routine family
// runs on the same rows and parameters as the family's scalar set, and the
// first difference aborts with the inputs and both outputs. A new set joins
// through its family's table (Kernels::Runnable); a new family is one line in kFamilies.
#include "FuzzSupport.h"

#include "florist.h"
#include "kernels/channel/ChannelKernels.h"
#include "kernels/composite/CompositKernels.h"
#include "kernels/crawl/CrawlKernels.h"
#include "kernels/mix/MixKernels.h"
#include "kernels/roll/RollKernels.h"
#include "kernels/scale/ScaleKernels.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr int kMaxSets = Kernels::kTargetCount;
constexpr int kMaxCount = 80;

// Pels for `count` pels plus `extra`, decoded from the input, exact size so that
// any read past the end is caught.
Bytes Row(Fuzz::Input& in, int count, int extra = 0)
{
    Bytes row(std::size_t(count + extra) * 4);
    for (std::size_t i = 0; i < row.size(); i += 4) {
        const std::uint32_t p = in.Pel();
        std::memcpy(&row[i], &p, 4);
    }
    return row;
}

// Runs `run` for the reference and for one set on copies of the same
// destination, and aborts on the first difference.
void Compare(const char* family, const char* routine, const char* setName, const Bytes& expected,
             const Bytes& actual, const char* params, const std::vector<const Bytes*>& sources)
{
    if (expected == actual)
        return;
    std::fprintf(stderr, "%s.%s: set %s differs from scalar; %s\n", family, routine, setName,
                 params);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        char label[32];
        std::snprintf(label, sizeof label, "source %zu", i);
        Fuzz::DumpBytes(label, sources[i]->data(), sources[i]->size());
    }
    Fuzz::DumpBytes("scalar output", expected.data(), expected.size());
    Fuzz::DumpBytes("set output", actual.data(), actual.size());
    Fuzz::Fail("difference found");
}

// Applies `body(set, dst)` with the scalar set and then every other set, each
// on its own copy of `initial`. With `inPlace`, body is expected to use dst as
// its first source (the caller arranges that).
template <class Set, class Body>
void EverySet(const char* family, const char* routine, const Set* const* sets, int n,
              const Bytes& initial, const char* params, const std::vector<const Bytes*>& sources,
              Body body)
{
    Bytes expected = initial;
    body(*sets[0], expected);
    for (int i = 1; i < n; ++i) {
        Bytes actual = initial;
        body(*sets[i], actual);
        Compare(family, routine, sets[i]->name, expected, actual, params, sources);
    }
}

char* C(Bytes& b)
{
    return reinterpret_cast<char*>(b.data());
}
const char* C(const Bytes& b)
{
    return reinterpret_cast<const char*>(b.data());
}

// A row of mixed pels, or, when the input asks, of one kind throughout:
// whole blocks of opaque, clear or translucent pels take paths of their own.
Bytes KindRow(Fuzz::Input& in, int count)
{
    const int kind = in.Range(0, 3);
    Bytes row = Row(in, count);
    for (std::size_t i = 3; kind > 0 && i < row.size(); i += 4)
        row[i] = kind == 1 ? 0xFF : kind == 2 ? 0 : std::uint8_t(1 + row[i] % 254);
    return row;
}

// The two-row composites and a colour over a row, written into a new row,
// over the bottom or over the top.
void CompositFamily(Fuzz::Input& in)
{
    const Kernels::CompositSet* sets[kMaxSets];
    const int n = Kernels::Runnable(Kernels::kCompositSets, sets);
    const int count = in.Range(0, kMaxCount);
    const int routine = in.Range(0, 2), into = in.Range(0, 2);
    const std::uint32_t colour = in.Pel();
    const Bytes bottom = KindRow(in, count), top = KindRow(in, count);
    const char* names[] = {"composit", "compositOnOpaque", "compositColourOn"};
    char params[80];
    std::snprintf(params, sizeof params, "count %d into %d colour %08x", count, into, colour);
    const Bytes& initial = into == 1 ? bottom : into == 2 ? top : Bytes(bottom.size());
    EverySet("composit", names[routine], sets, n, initial, params, {&bottom, &top},
             [&](const Kernels::CompositSet& s, Bytes& dst) {
                 const char* b = into == 1 ? C(dst) : C(bottom);
                 const char* t = into == 2 ? C(dst) : C(top);
                 if (routine == 0)
                     s.composit(C(dst), b, t, count);
                 else if (routine == 1)
                     s.compositOnOpaque(C(dst), b, t, count);
                 else
                     s.compositColourOn(C(dst), b, count, colour);
             });
}

void CrawlFamily(Fuzz::Input& in)
{
    const Kernels::CrawlSet* sets[kMaxSets];
    const int n = Kernels::Runnable(Kernels::kCrawlSets, sets);
    const int count = in.Range(0, kMaxCount);
    // Any fraction: the formulas are defined in wrapping weights for all of them.
    const int fraction = in.Bool() ? in.Range(0, 256) : int(in.U32());
    Bytes src = Row(in, count, 1);
    // Text of one colour: the colours of the translucent and opaque pels are masked down to
    // a few values, so that whole blocks keep one colour across their edges.
    const std::uint32_t palette = in.Bool() ? in.U32() & 0x010101u : 0xFFFFFFu;
    for (std::size_t i = 0; i < src.size(); i += 4)
        if (src[i + 3] != 0)
            for (std::size_t c = 0; c < 3; ++c)
                src[i + c] &= std::uint8_t(palette >> (8 * c));
    char params[64];
    std::snprintf(params, sizeof params, "count %d fraction %d", count, fraction);
    EverySet(
        "crawl", "subpix", sets, n, Bytes(std::size_t(count) * 4), params, {&src},
        [&](const Kernels::CrawlSet& s, Bytes& dst) { s.subpix(C(dst), C(src), count, fraction); });
    EverySet("crawl", "shapedSubpix", sets, n, Bytes(std::size_t(count) * 4), params, {&src},
             [&](const Kernels::CrawlSet& s, Bytes& dst) {
                 s.shapedSubpix(C(dst), C(src), count, fraction);
             });
}

void RollFamily(Fuzz::Input& in)
{
    const Kernels::RollSet* sets[kMaxSets];
    const int n = Kernels::Runnable(Kernels::kRollSets, sets);
    const int width = in.Range(0, kMaxCount);
    const u32 scale = in.Bool() ? u32(in.Range(0, 256)) : in.U32();
    int w[3];
    for (int& weight : w)
        weight = in.Bool() ? in.Range(0, 256) : int(in.U32());
    const Bytes a = Row(in, width), b = Row(in, width), c = Row(in, width);
    const char* const lines[3] = {C(a), C(b), C(c)};
    char params[96];
    std::snprintf(params, sizeof params, "width %d scale %u weights %d %d %d", width, scale, w[0],
                  w[1], w[2]);
    const Bytes fresh(std::size_t(width) * 4);
    EverySet("roll", "copyScaledAlpha", sets, n, fresh, params, {&a},
             [&](const Kernels::RollSet& s, Bytes& dst) {
                 s.copyScaledAlpha(C(dst), C(a), width, scale);
             });
    EverySet("roll", "mix2", sets, n, fresh, params, {&a, &b},
             [&](const Kernels::RollSet& s, Bytes& dst) { s.mix2(C(dst), lines, w, width); });
    EverySet("roll", "mix3", sets, n, fresh, params, {&a, &b, &c},
             [&](const Kernels::RollSet& s, Bytes& dst) { s.mix3(C(dst), lines, w, width); });
}

void MixFamily(Fuzz::Input& in)
{
    const Kernels::MixSet* sets[kMaxSets];
    const int n = Kernels::Runnable(Kernels::kMixSets, sets);
    const int count = in.Range(0, kMaxCount);
    const bool inPlace = in.Bool();
    const std::uint32_t level = in.Bool() ? std::uint32_t(in.Range(0, 256)) : in.U32();
    const int weightA = in.Bool() ? in.Range(0, 256) : int(in.U32());
    // Weights that sum to 256, or anything at all; the sum wraps as the row's does.
    const int weightB = in.Bool() ? int(256u - std::uint32_t(weightA)) : int(in.U32());
    const std::uint32_t keep = in.U32(), bits = in.U32() & ~keep;
    const Bytes s1 = Row(in, count), s2 = Row(in, count);
    // In place, the destination is the very row of the first source.
    const Bytes initial = inPlace ? s1 : Row(in, count);
    const auto first = [&](Bytes& dst) { return inPlace ? C(dst) : C(s1); };
    char params[160];
    std::snprintf(params, sizeof params,
                  "count %d in place %d level %u weights %d %d keep %08x bits %08x", count,
                  int(inPlace), level, weightA, weightB, keep, bits);
    using S = Kernels::MixSet;
    EverySet("mix", "fade", sets, n, initial, params, {&s1},
             [&](const S& s, Bytes& d) { s.fade(C(d), first(d), count, level & 0xFF); });
    EverySet("mix", "add", sets, n, initial, params, {&s1, &s2},
             [&](const S& s, Bytes& d) { s.add(C(d), first(d), C(s2), count); });
    EverySet("mix", "blend", sets, n, initial, params, {&s1, &s2},
             [&](const S& s, Bytes& d) { s.blend(C(d), first(d), C(s2), count, level & 0xFF); });
    EverySet("mix", "max", sets, n, initial, params, {&s1, &s2},
             [&](const S& s, Bytes& d) { s.max(C(d), first(d), C(s2), count); });
    EverySet("mix", "setBits", sets, n, initial, params, {},
             [&](const S& s, Bytes& d) { s.setBits(C(d), count, keep, bits); });
    EverySet("mix", "fill", sets, n, initial, params, {},
             [&](const S& s, Bytes& d) { s.fill(C(d), count, keep); });
    EverySet("mix", "levelFade", sets, n, initial, params, {&s1},
             [&](const S& s, Bytes& d) { s.levelFade(C(d), first(d), count, int(level)); });
    EverySet("mix", "crossFade", sets, n, initial, params, {&s1, &s2}, [&](const S& s, Bytes& d) {
        s.crossFade(C(d), first(d), C(s2), count, weightA, weightB);
    });
    EverySet("mix", "shapedCrossFade", sets, n, initial, params, {&s1, &s2},
             [&](const S& s, Bytes& d) {
                 s.shapedCrossFade(C(d), first(d), C(s2), count, weightA, weightB);
             });
    EverySet("mix", "preMultAlpha", sets, n, initial, params, {&s1},
             [&](const S& s, Bytes& d) { s.preMultAlpha(C(d), first(d), count); });
}

void ChannelFamily(Fuzz::Input& in)
{
    const Kernels::ChannelSet* sets[kMaxSets];
    const int n = Kernels::Runnable(Kernels::kChannelSets, sets);
    const int count = in.Range(0, kMaxCount);
    const int byte = in.Range(0, 3);
    // Pels at any byte alignment: start 0..3 bytes into the block.
    const int skew = in.Range(0, 3);
    const Bytes block = Row(in, count, 1);
    const u8* pels = block.data() + skew;
    char params[64];
    std::snprintf(params, sizeof params, "count %d byte %d skew %d", count, byte, skew);
    const Bytes fresh(static_cast<std::size_t>(count));
    using S = Kernels::ChannelSet;
    EverySet("channel", "byteRow", sets, n, fresh, params, {&block},
             [&](const S& s, Bytes& d) { s.byteRow(d.data(), pels, count, byte); });
    EverySet("channel", "coveredLuminance", sets, n, fresh, params, {&block},
             [&](const S& s, Bytes& d) { s.coveredLuminance(d.data(), pels, count); });
    EverySet("channel", "luminance", sets, n, fresh, params, {&block},
             [&](const S& s, Bytes& d) { s.luminance(d.data(), pels, count); });
}

// One destination row of a scaling, its footprint rows read as the scaler
// would hand them over.
void ScaleFamily(Fuzz::Input& in)
{
    const Kernels::ScaleSet* sets[kMaxSets];
    const int n = Kernels::Runnable(Kernels::kScaleSets, sets);
    const int inW = in.Range(1, 64), outW = in.Range(1, 64);
    const int inH = in.Range(1, 24), outH = in.Range(1, 24);
    std::vector<tagScaleList> horizontal(std::size_t(outW) + 1), vertical(std::size_t(outH) + 1);
    if (!ScaleGenScaleList(horizontal.data(), inW, outW) ||
        !ScaleGenScaleList(vertical.data(), inH, outH))
        Fuzz::Fail("scale lists refused %dx%d -> %dx%d", inW, inH, outW, outH);
    const int row = in.Range(0, outH - 1);
    const int firstColumn = in.Range(0, outW - 1);
    const tagScaleList& v = vertical[std::size_t(row) + 1];
    const int footprint =
        1 + (v.count != -1 ? v.count : 0) + (v.count != -1 && v.lastWeight > 0 ? 1 : 0);
    std::vector<Bytes> rows;
    std::vector<const Pel*> rowPointers;
    std::vector<const Bytes*> sources;
    rows.reserve(std::size_t(footprint));
    for (int i = 0; i < footprint; ++i) {
        rows.push_back(Row(in, inW));
        rowPointers.push_back(reinterpret_cast<const Pel*>(rows.back().data()));
    }
    for (const Bytes& r : rows)
        sources.push_back(&r);
    const int count = outW - firstColumn;
    const Kernels::ScaleRowJob job{rowPointers.data(),
                                   &v,
                                   vertical[0].ratio,
                                   horizontal.data() + firstColumn + 1,
                                   horizontal[0].ratio,
                                   count,
                                   nullptr};
    char params[128];
    std::snprintf(params, sizeof params, "%dx%d -> %dx%d row %d first column %d", inW, inH, outW,
                  outH, row, firstColumn);
    // Each set without a column layout, and with its own when it has one.
    for (const bool prepared : {false, true}) {
        EverySet("scale", prepared ? "produceRow (prepared columns)" : "produceRow", sets, n,
                 Bytes(std::size_t(count) * 4), params, sources,
                 [&](const Kernels::ScaleSet& s, Bytes& d) {
                     Kernels::ScaleRowJob own = job;
                     const std::size_t bytes =
                         prepared && s.columnBytes != nullptr ? s.columnBytes(count, inW) : 0;
                     std::vector<std::uint8_t> layout(bytes + 64);
                     if (bytes > 0) {
                         void* aligned =
                             layout.data() +
                             (64 - reinterpret_cast<std::uintptr_t>(layout.data()) % 64) % 64;
                         s.prepareColumns(aligned, own);
                         own.columns = aligned;
                     }
                     s.produceRow(reinterpret_cast<Pel*>(d.data()), own);
                 });
    }
}

struct Family {
    const char* name;
    void (*run)(Fuzz::Input&);
};

const Family kFamilies[] = {
    {"composit", CompositFamily}, {"crawl", CrawlFamily},     {"roll", RollFamily},
    {"mix", MixFamily},           {"channel", ChannelFamily}, {"scale", ScaleFamily},
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::Input in(data, size);
    const std::size_t families = sizeof kFamilies / sizeof kFamilies[0];
    // Several rounds per input, each naming its family.
    for (int round = 0; round < 8 && !in.Empty(); ++round)
        kFamilies[in.Byte() % families].run(in);
    return 0;
}
