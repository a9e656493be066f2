// The markdown report: machine, targets, whole frames, baselines, and one
// table per kernel family, every ratio taken within the same run.
#include "Report.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "Content.h"
#include "Registry.h"

namespace speed {

void CollectingReporter::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0)
            continue;
        // Options such as min_time append to the name: the first five parts are ours.
        std::string name = run.benchmark_name();
        std::size_t cut = 0;
        for (int parts = 0; parts < 5 && cut != std::string::npos; ++parts)
            cut = name.find('/', cut == 0 ? 0 : cut + 1);
        if (cut != std::string::npos)
            name.resize(cut);
        const double seconds = run.cpu_accumulated_time / double(run.iterations);
        const auto [it, fresh] = rounds_.back().emplace(name, seconds);
        if (!fresh)
            it->second = std::min(it->second, seconds);
    }
    ConsoleReporter::ReportRuns(runs);
}

namespace {

const char kBegin[] =
    "<!-- speed:begin: written by `make bench`; edits between these markers are lost -->";
const char kEnd[] = "<!-- speed:end -->";
const char kReasons[] = "<!-- reasons -->";

struct Key {
    std::string family, member, set, content, mode;
};

Key Split(const std::string& name)
{
    std::string parts[5];
    std::istringstream in(name);
    for (std::string& part : parts)
        std::getline(in, part, '/');
    return {parts[0], parts[1], parts[2], parts[3], parts[4]};
}

std::string Join(const Key& k)
{
    return k.family + "/" + k.member + "/" + k.set + "/" + k.content + "/" + k.mode;
}

// Seconds, or a negative value when the run did not take place.
double Find(const Results& results, const Key& key)
{
    const auto it = results.find(Join(key));
    return it == results.end() ? -1.0 : it->second;
}

std::string Format(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string Micros(double seconds)
{
    return seconds < 0 ? "—" : Format(seconds * 1e6 < 10 ? "%.2f" : "%.1f", seconds * 1e6);
}

std::string Millis(double seconds)
{
    return seconds < 0 ? "—" : Format("%.2f", seconds * 1e3);
}

// numerator / denominator, as "2.40×"; a dash when either is missing.
double Ratio(double numerator, double denominator)
{
    return numerator < 0 || denominator <= 0 ? -1.0 : numerator / denominator;
}

std::string Times(double ratio)
{
    return ratio < 0 ? "—" : Format("%.2f×", ratio);
}

// --- rounds ----------------------------------------------------------------------

// One figure over the rounds that measured it: the median, and the lowest and
// highest round.
struct Spread {
    double median = -1.0, low = -1.0, high = -1.0;
    int runs = 0;
};

using Figure = std::function<double(const Results&)>;

Spread Over(const Rounds& rounds, const Figure& figure)
{
    std::vector<double> values;
    for (const Results& round : rounds) {
        const double value = figure(round);
        if (value >= 0)
            values.push_back(value);
    }
    Spread s;
    const std::size_t n = values.size();
    if (n == 0)
        return s;
    std::sort(values.begin(), values.end());
    s.median = n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
    s.low = values.front();
    s.high = values.back();
    s.runs = int(n);
    return s;
}

// "1.10× (0.95-1.28×)": the median, then the spread when there are several.
std::string Shown(const Spread& s)
{
    if (s.runs < 2)
        return Times(s.median);
    return Times(s.median) + " (" + Format("%.2f", s.low) + "–" + Times(s.high) + ")";
}

int RowsOf(const std::string& mode)
{
    return mode == "warm" ? kHeight : kCachedRows;
}

// --- machine -----------------------------------------------------------------

std::string CpuModel()
{
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);)
        if (line.rfind("model name", 0) == 0) {
            const std::size_t colon = line.find(':');
            if (colon != std::string::npos)
                return line.substr(line.find_first_not_of(' ', colon + 1));
        }
    return "unknown";
}

std::string Compiler()
{
#if defined(__clang__)
    return std::string("clang ") + __clang_version__;
#elif defined(__GNUC__)
    return std::string("g++ ") + __VERSION__;
#else
    return "unknown";
#endif
}

std::string Today()
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", &utc);
    return text;
}

void Machine(std::ostream& out, int rounds)
{
    out << "Measured " << Today() << " on " << CpuModel() << ", "
        << std::thread::hardware_concurrency() << " cores (one used), built by " << Compiler()
        << " (Release"
#if defined(FLOWER_SCALAR_KERNELS_ONLY)
        << ", vector kernels left out"
#endif
        << "). CPU time per iteration, the fastest of " << kFrameRepetitions << " repetitions of "
        << Format("%.2f", kFrameMinTime) << " s for whole frames (" << kBaselineRepetitions
        << " for the baselines) and of " << kRowRepetitions << " of " << Format("%.2f", kRowMinTime)
        << " s for kernel rows, all in one run: the machine may be shared, and other work "
           "only ever adds time. "
        << (rounds > 1 ? "Whole frames and baselines ran in " + std::to_string(rounds) +
                             " rounds; their figures are medians over the rounds, each "
                             "ratio taken within its round, and targets give the lowest and "
                             "highest round in brackets.\n\n"
                       : std::string("\n\n"))
        << "Modes: *warm* processes one 1920x1080 frame (rows of " << kWidth
        << " pels, 8 MB per buffer, from the last-level cache at best); *cached* cycles "
        << kCachedRows
        << " distinct rows that stay in the core's cache. Contents: *translucent* (alpha 1-254 "
           "on every pel), *title* (lines of text: clear pels, opaque glyphs, anti-aliased "
           "edges; about four fifths clear), *opaque*. Composites take the content as the top "
           "over an opaque picture unless named otherwise.\n\n";
}

// --- targets ---------------------------------------------------------------------

struct Target {
    std::string what;
    double measured; // the ratio the bar applies to; negative: not measured
    std::string shown;
    bool met;
};

void Line(std::ostream& out, const Target& t)
{
    out << "| " << t.what << " | " << (t.measured < 0 ? "not measured" : t.shown) << " | "
        << (t.measured >= 0 && t.met ? "met" : "not met") << " |\n";
}

double Frame(const Results& r, const std::string& op, const std::string& variant,
             const std::string& content)
{
    return Find(r, {"frame", op, variant, content, "warm"});
}

double TwoBuffer(const Results& r)
{
    return Find(r, {"baseline", "two-buffer", "-", "any", "warm"});
}

// Flower's speed over another variant's: the variant's time over Flower's.
double VersusFlower(const Results& r, const std::string& op, const std::string& variant,
                    const std::string& content)
{
    return Ratio(Frame(r, op, variant, content), Frame(r, op, "flower", content));
}

// Flower's time over the two-buffer pass's.
double OfTwoBuffer(const Results& r, const std::string& op, const std::string& content)
{
    return Ratio(Frame(r, op, "flower", content), TwoBuffer(r));
}

void CompositTargets(std::ostream& out, const Rounds& rounds)
{
    struct Case {
        const char* op;
        const char* content;
        const char* what;
    };
    const Case cases[] = {
        {"Composit", "translucent", "translucent top over an opaque bottom"},
        {"CompositOnTranslucent", "translucent", "translucent top over a translucent bottom"},
        {"Composit", "title", "title-like top over an opaque bottom"},
        {"Composit", "opaque", "opaque top over an opaque bottom"},
    };
    for (const Case& c : cases) {
        const Spread pixman = Over(
            rounds, [&](const Results& r) { return VersusFlower(r, c.op, "pixman", c.content); });
        Line(out,
             {std::string("`Composit` in place, ") + c.what + ": at least as fast as pixman's OVER",
              pixman.median, Shown(pixman) + " pixman's speed", pixman.median >= 1.0});
        const Spread bar =
            Over(rounds, [&](const Results& r) { return OfTwoBuffer(r, c.op, c.content); });
        Line(out, {std::string("`Composit` in place, ") + c.what +
                       ": within 1.5 times the two-buffer pass (warm)",
                   bar.median, Shown(bar) + " its time", bar.median >= 0 && bar.median <= 1.5});
    }
}

// Flower's speed over another variant's, by content: the worst content's
// median decides; every content is shown.
Target WorstOverContents(const std::string& what, double bar, const char* op, const char* variant,
                         const Rounds& rounds)
{
    double worst = -1.0;
    std::string shown;
    bool all = true;
    for (Content content : kContents) {
        const Spread s = Over(
            rounds, [&](const Results& r) { return VersusFlower(r, op, variant, Name(content)); });
        all = all && s.median >= 0;
        if (s.median >= 0 && (worst < 0 || s.median < worst))
            worst = s.median;
        shown += (shown.empty() ? "" : ", ") + std::string(Name(content)) + " " + Shown(s);
    }
    return {what, all ? worst : -1.0, shown, worst >= bar};
}

std::vector<std::string> SetsOf(const Results& r, const std::string& family)
{
    static const char* const kOrder[] = {"scalar", "sse2", "avx2", "avx512"};
    std::set<std::string> found;
    for (const auto& entry : r) {
        const Key k = Split(entry.first);
        if (k.family == family)
            found.insert(k.set);
    }
    std::vector<std::string> sets;
    for (const char* name : kOrder)
        if (found.count(name))
            sets.push_back(name);
    for (const std::string& name : found)
        if (std::find(sets.begin(), sets.end(), name) == sets.end())
            sets.push_back(name);
    return sets;
}

// Families and members in the order they ran.
std::vector<std::pair<std::string, std::vector<std::string>>> Families(const Results& r)
{
    std::vector<std::pair<std::string, std::vector<std::string>>> families;
    for (const auto& entry : r) {
        const Key k = Split(entry.first);
        if (k.family == "frame" || k.family == "baseline")
            continue;
        auto it = std::find_if(families.begin(), families.end(),
                               [&](const auto& f) { return f.first == k.family; });
        if (it == families.end()) {
            families.push_back({k.family, {}});
            it = families.end() - 1;
        }
        if (std::find(it->second.begin(), it->second.end(), k.member) == it->second.end())
            it->second.push_back(k.member);
    }
    return families;
}

bool HasOwnTarget(const std::string& family, const std::string& member)
{
    return (family == "composit" && member == "composit") ||
           (family == "crawl" && member == "subpix") ||
           (family == "scale" && member == "produceRow");
}

void RoutineTargets(std::ostream& out, const Results& r)
{
    for (const auto& family : Families(r))
        for (const std::string& member : family.second) {
            if (HasOwnTarget(family.first, member))
                continue;
            double worst = -1.0;
            std::string shown;
            for (Content content : kContents) {
                const double scalar =
                    Find(r, {family.first, member, "scalar", Name(content), "cached"});
                const double avx2 =
                    Find(r, {family.first, member, "avx2", Name(content), "cached"});
                const double ratio = Ratio(scalar, avx2);
                if (ratio >= 0 && (worst < 0 || ratio < worst))
                    worst = ratio;
                shown +=
                    (shown.empty() ? "" : ", ") + std::string(Name(content)) + " " + Times(ratio);
            }
            if (worst < 0)
                shown = "no AVX2 set";
            Line(out, {"`" + family.first + "." + member +
                           "` on AVX2 (cached rows): at least 4 times the portable routine",
                       worst < 0 ? 0.0 : worst, shown, worst >= 4.0});
        }
}

void Targets(std::ostream& out, const Rounds& rounds)
{
    out << "### Targets\n\n| target | measured | result |\n|---|---|---|\n";
    CompositTargets(out, rounds);
    Line(out, WorstOverContents(
                  "`SubpixCrawlBlit` of a full-HD frame: at least 8 times the portable routine",
                  8.0, "SubpixCrawlBlit", "portable", rounds));
    Line(out, WorstOverContents("`ResizeLayer` 1920x1080 to 1280x720: at least half the speed "
                                "of pixman's bilinear scaling",
                                0.5, "ResizeLayer", "pixman", rounds));
    const Spread toFourK = Over(rounds, [](const Results& r) {
        return VersusFlower(r, "ResizeLayerTo4K", "pixman", "opaque");
    });
    Line(out, {"`ResizeLayer` 1920x1080 to 3840x2160: at least half the speed of pixman's "
               "bilinear scaling",
               toFourK.median, "opaque " + Shown(toFourK), toFourK.median >= 0.5});
    RoutineTargets(out, rounds.front());
    out << "\nRatios are speeds: the portable routine's or pixman's time over Flower's; for "
           "the two-buffer bar, Flower's time over the pass's. Where a target spans contents "
           "the worst one decides.\n\n";
}

// --- whole frames and baselines ---------------------------------------------------

void Frames(std::ostream& out, const Rounds& rounds)
{
    const Results& r = rounds.front();
    out << "### Whole frames, 1920x1080, warm\n\n"
           "*flower*: the public operation with the vector sets this CPU runs; *portable*: "
           "the same call with the scalar set's row in the table slot; *pixman*: pixman "
        << (PixmanVersion() ? PixmanVersion() : "(not built in)")
        << " on the same frames premultiplied (OVER in place, or SRC with the "
           "bilinear filter and a scale transform, or SRC copy and fill). In-place "
           "composites restore their bottom off the clock before every frame.\n\n"
           "| operation | content | portable ms | flower ms | × portable | pixman ms | "
           "× pixman | ÷ two-buffer |\n|---|---|---|---|---|---|---|---|\n";
    std::vector<std::pair<std::string, std::string>> seen;
    for (const auto& entry : r) {
        const Key k = Split(entry.first);
        if (k.family != "frame" ||
            std::find(seen.begin(), seen.end(), std::make_pair(k.member, k.content)) != seen.end())
            continue;
        seen.push_back({k.member, k.content});
    }
    for (const auto& [o, c] : seen) {
        const std::string op = o, content = c;
        const auto millis = [&](const char* variant) {
            return Millis(Over(rounds, [&](const Results& x) {
                              return Frame(x, op, variant, content);
                          }).median);
        };
        const auto times = [&](const char* variant) {
            return Times(Over(rounds, [&](const Results& x) {
                             return VersusFlower(x, op, variant, content);
                         }).median);
        };
        const double ofTwoBuffer =
            Over(rounds, [&](const Results& x) { return OfTwoBuffer(x, op, content); }).median;
        out << "| " << op << " | " << content << " | " << millis("portable") << " | "
            << millis("flower") << " | " << times("portable") << " | " << millis("pixman") << " | "
            << times("pixman") << " | " << Times(ofTwoBuffer) << " |\n";
    }
    out << "\n`ResizeLayer` is 1920x1080 to 1280x720, `ResizeLayerUp` 768x512 (the top "
           "left of the frame) to 1920x1080, `ResizeLayerTo4K` 1920x1080 to 3840x2160. Composites "
           "are the same visual operation as "
           "pixman's, not the same arithmetic (straight against premultiplied alpha; the "
           "program checks they agree within 4 per premultiplied channel); the scalers are "
           "different filters (Flower's exact double-precision one against pixman's 7-bit "
           "bilinear one).\n\n";

    out << "### Baselines\n\n| pass | mode | µs per row | GB/s moved |\n|---|---|---|---|\n";
    for (const char* pass : {"memcpy", "two-buffer"})
        for (const char* mode : {"warm", "cached"}) {
            const double s = Over(rounds, [&](const Results& x) {
                                 return Find(x, {"baseline", pass, "-", "any", mode});
                             }).median;
            const int rows = RowsOf(mode);
            const double bytes = 2.0 * rows * kWidth * 4;
            out << "| " << pass << " | " << mode << " | " << (s < 0 ? "—" : Micros(s / rows))
                << " | " << (s <= 0 ? "—" : Format("%.1f", bytes / s / 1e9)) << " |\n";
        }
    out << "\nBytes moved count each pel read once and written once.\n\n";
}

// --- kernel families ---------------------------------------------------------------

void Family(std::ostream& out, const Results& r, const std::string& family,
            const std::vector<std::string>& members)
{
    const std::vector<std::string> sets = SetsOf(r, family);
    out << "### Family `" << family << "`\n\nµs per 1920-pel row; × is the speed over the "
        << "scalar set (the portable twin) in the same run. "
        << (family == "scale" ? "produceRow writes the 1280 pels of one row of a 1920x1080 to "
                                "1280x720 downscale. "
                              : "")
        << "\n\n| member | content | mode | scalar "
           "|";
    std::string rule = "|---|---|---|---|";
    for (std::size_t s = 1; s < sets.size(); ++s) {
        out << " " << sets[s] << " | × |";
        rule += "---|---|";
    }
    out << "\n" << rule << "\n";
    for (const std::string& member : members)
        for (const char* mode : {"warm", "cached"})
            for (Content content : kContents) {
                const double scalar = Find(r, {family, member, "scalar", Name(content), mode});
                if (scalar < 0)
                    continue;
                const int rows = RowsOf(mode);
                out << "| " << member << " | " << Name(content) << " | " << mode << " | "
                    << Micros(scalar / rows) << " |";
                for (std::size_t s = 1; s < sets.size(); ++s) {
                    const double t = Find(r, {family, member, sets[s], Name(content), mode});
                    out << " " << (t < 0 ? "—" : Micros(t / rows)) << " | "
                        << Times(Ratio(scalar, t)) << " |";
                }
                out << "\n";
            }
    out << "\n";
}

} // namespace

std::string FramesToRepeat(const Results& round)
{
    std::string names;
    for (const auto& entry : round) {
        const Key k = Split(entry.first);
        if (k.family == "frame" || k.family == "baseline")
            names += (names.empty() ? "" : "|") + entry.first;
    }
    return names.empty() ? "" : "^(" + names + ")/";
}

std::string Markdown(const Rounds& rounds)
{
    std::ostringstream out;
    out << kBegin << "\n## Speed suite (`make bench`)\n\n";
    Machine(out, int(rounds.size()));
    Targets(out, rounds);
    Frames(out, rounds);
    for (const auto& family : Families(rounds.front()))
        Family(out, rounds.front(), family.first, family.second);
    out << kEnd << "\n";
    return out.str();
}

bool WriteMarkdown(const std::string& path, const Rounds& rounds)
{
    std::string before = "# Benchmarks\n\n", after;
    std::ifstream in(path);
    if (in) {
        std::stringstream whole;
        whole << in.rdbuf();
        const std::string text = whole.str();
        const std::size_t begin = text.find(kBegin), end = text.find(kEnd);
        if (begin != std::string::npos && end != std::string::npos && end > begin) {
            before = text.substr(0, begin);
            after = text.substr(end + sizeof kEnd - 1);
            if (!after.empty() && after[0] == '\n')
                after.erase(0, 1);
        } else {
            before = text + (text.empty() || text.back() == '\n' ? "\n" : "\n\n");
        }
    }
    if (after.find(kReasons) == std::string::npos && before.find(kReasons) == std::string::npos)
        after = std::string("\n") + kReasons +
                "\nWhy each target not met is missed: (written by hand after a run).\n" + after;
    std::ofstream file(path, std::ios::trunc);
    file << before << Markdown(rounds) << after;
    return bool(file);
}

} // namespace speed
