// Command-line parsing: every value is checked here, so the renderer can
// trust what it is given.
#include "Options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <numeric>
#include <sstream>

#include "ToolError.h"

namespace title {
namespace {

const char kDefaultCrawl[] =
    "Flower titles \u2014 sub-pixel crawls and rolls composited bit for bit \u2022 "
    "Straight alpha, exact to the last bit, at any speed \u2022 "
    "Interlaced or progressive, from one command line";

const char* const kDefaultRoll[] = {
    "FLOWER",
    "a title renderer",
    "",
    "Crawls and rolls",
    "Sub-pixel motion, faded edges",
    "",
    "Pictures",
    "Sample photograph: \u201Ccoffee\u201D (CC0)",
    "",
    "Text",
    "DejaVu Sans",
    "",
    "Made with libflower",
};

bool EndsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

int ParseInt(const std::string& text, const std::string& what, long low, long high)
{
    errno = 0;
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || v < low || v > high)
        throw UsageError(what + " must be a whole number from " + std::to_string(low) + " to " +
                         std::to_string(high) + ", not '" + text + "'");
    return int(v);
}

// Shortest form of a limit for a message: 0.001, 300, not 0.001000, 300.000000.
std::string Shortest(double v)
{
    std::ostringstream out;
    out << v;
    return out.str();
}

double ParseNumber(const std::string& text, const std::string& what, double low, double high)
{
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno != 0 || !std::isfinite(v) || v < low || v > high)
        throw UsageError(what + " must be a number from " + Shortest(low) + " to " +
                         Shortest(high) + ", not '" + text + "'");
    return v;
}

void ParseDimensions(const std::string& text, const std::string& what, int& width, int& height)
{
    const auto x = text.find('x');
    if (x == std::string::npos)
        throw UsageError(what + " must look like 1280x720, not '" + text + "'");
    width = ParseInt(text.substr(0, x), what + " width", 16, 8192);
    height = ParseInt(text.substr(x + 1), what + " height", 16, 8192);
}

// "N" is N pixels right and down; "DX,DY" any direction.
void ParseShadow(Options& o, const std::string& text)
{
    const auto comma = text.find(',');
    if (comma == std::string::npos) {
        o.shadowX = o.shadowY = ParseInt(text, "--shadow", 0, 64);
        return;
    }
    o.shadowX = ParseInt(text.substr(0, comma), "--shadow DX", -64, 64);
    o.shadowY = ParseInt(text.substr(comma + 1), "--shadow DY", -64, 64);
}

// NTSC-family rates are written as decimals but mean n * 1000 / 1001.
FrameRate ParseFrameRate(const std::string& text)
{
    FrameRate r;
    const auto slash = text.find('/');
    if (slash != std::string::npos) {
        r.numerator = ParseInt(text.substr(0, slash), "--fps numerator", 1, 1000000);
        r.denominator = ParseInt(text.substr(slash + 1), "--fps denominator", 1, 1000000);
    } else {
        const double v = ParseNumber(text, "--fps", 1, 300);
        for (int base : {24, 30, 48, 60, 120}) {
            if (std::fabs(v - base * 1000.0 / 1001.0) < 0.006)
                return FrameRate{base * 1000, 1001};
        }
        r.numerator = int(std::lround(v * 1000));
        r.denominator = 1000;
    }
    const int g = std::gcd(r.numerator, r.denominator);
    r.numerator /= g;
    r.denominator /= g;
    if (r.PerSecond() < 1 || r.PerSecond() > 300)
        throw UsageError("--fps must lie between 1 and 300 frames per second");
    return r;
}

std::vector<std::string> ReadLines(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw ToolError("cannot read text file '" + path + "'");
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    if (in.bad())
        throw ToolError("cannot read text file '" + path + "'");
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    if (lines.empty())
        throw UsageError("text file '" + path + "' holds no text");
    return lines;
}

void ParseBackground(Options& o, const std::string& text)
{
    if (text == "sample") {
        o.background = BackgroundKind::Sample;
    } else if (text == "checker") {
        o.background = BackgroundKind::Checker;
    } else if (!text.empty() && text[0] == '#') {
        o.background = BackgroundKind::Colour;
        o.backgroundColour = ParseColour(text, "--background");
    } else if (EndsWith(text, ".png") && text.size() > 4) {
        o.background = BackgroundKind::Picture;
        o.backgroundPath = text;
    } else {
        throw UsageError("--background must be sample, checker, #RRGGBB[AA] or a .png file, not '" +
                         text + "'");
    }
}

OutputKind ParseFormat(const std::string& text)
{
    if (text == "y4m")
        return OutputKind::Y4m;
    if (text == "bgra")
        return OutputKind::Bgra;
    if (text == "png")
        return OutputKind::Png;
    throw UsageError("--format must be y4m, bgra or png, not '" + text + "'");
}

// An explicit --format wins; otherwise the name tells, and "-" means raw BGRA.
void ResolveOutputFormat(Options& o)
{
    if (o.outputPath.empty() || o.formatGiven)
        return;
    if (o.outputPath == "-")
        o.output = OutputKind::Bgra;
    else if (EndsWith(o.outputPath, ".png") && o.outputPath.size() > 4)
        o.output = OutputKind::Png;
    else if (EndsWith(o.outputPath, ".y4m") && o.outputPath.size() > 4)
        o.output = OutputKind::Y4m;
    else
        throw UsageError("cannot tell the format of '" + o.outputPath +
                         "': name it .png or .y4m, or add --format y4m|bgra");
}

BackgroundFit ParseFit(const std::string& text)
{
    if (text == "stretch")
        return BackgroundFit::Stretch;
    if (text == "fit")
        return BackgroundFit::Fit;
    if (text == "fill")
        return BackgroundFit::Fill;
    throw UsageError("--background-fit must be stretch, fit or fill, not '" + text + "'");
}

MatrixChoice ParseMatrix(const std::string& text)
{
    if (text == "bt709")
        return MatrixChoice::Bt709;
    if (text == "bt601")
        return MatrixChoice::Bt601;
    throw UsageError("--matrix must be bt709 or bt601, not '" + text + "'");
}

Interlace ParseInterlace(const std::string& text)
{
    if (text == "tff")
        return Interlace::TopFieldFirst;
    if (text == "bff")
        return Interlace::BottomFieldFirst;
    if (text == "none" || text == "progressive")
        return Interlace::None;
    throw UsageError("--interlace must be tff, bff or none, not '" + text + "'");
}

TextDirection ParseDirection(const std::string& text)
{
    if (text == "auto")
        return TextDirection::Auto;
    if (text == "ltr")
        return TextDirection::LeftToRight;
    if (text == "rtl")
        return TextDirection::RightToLeft;
    throw UsageError("--direction must be auto, ltr or rtl, not '" + text + "'");
}

bool ParseOnOff(const std::string& text, const std::string& what)
{
    if (text == "on")
        return true;
    if (text == "off")
        return false;
    throw UsageError(what + " must be on or off, not '" + text + "'");
}

using Setter = std::function<void(Options&, const std::string&)>;

const std::map<std::string, Setter>& ValueOptions()
{
    static const std::map<std::string, Setter> table = {
        {"--text",
         [](Options& o, const std::string& v) {
             if (v.empty())
                 throw UsageError("--text is empty");
             o.crawlText = v;
             o.textGiven = true;
         }},
        {"--items",
         [](Options& o, const std::string& v) {
             if (v.empty())
                 throw UsageError("--items needs a file name, or - for standard input");
             o.itemsPath = v;
             o.crawl = true;
         }},
        {"--separator", [](Options& o, const std::string& v) { o.separator = v; }},
        {"--text-file",
         [](Options& o, const std::string& v) {
             o.rollLines = ReadLines(v);
             o.roll = true;
         }},
        {"--font", [](Options& o, const std::string& v) { o.fontPath = v; }},
        {"--direction", [](Options& o, const std::string& v) { o.direction = ParseDirection(v); }},
        {"--wrap", [](Options& o, const std::string& v) { o.wrap = ParseOnOff(v, "--wrap"); }},
        {"--tab-width",
         [](Options& o, const std::string& v) { o.tabWidth = ParseInt(v, "--tab-width", 1, 64); }},
        {"--font-size",
         [](Options& o, const std::string& v) {
             o.fontSize = ParseInt(v, "--font-size", 4, 1000);
         }},
        {"--colour",
         [](Options& o, const std::string& v) { o.colour = ParseColour(v, "--colour"); }},
        {"--outline",
         [](Options& o, const std::string& v) { o.outline = ParseInt(v, "--outline", 0, 32); }},
        {"--outline-colour",
         [](Options& o, const std::string& v) {
             o.outlineColour = ParseColour(v, "--outline-colour");
         }},
        {"--shadow", ParseShadow},
        {"--shadow-colour",
         [](Options& o, const std::string& v) {
             o.shadowColour = ParseColour(v, "--shadow-colour");
         }},
        {"--background",
         [](Options& o, const std::string& v) {
             ParseBackground(o, v);
             o.backgroundGiven = true;
         }},
        {"--background-fit",
         [](Options& o, const std::string& v) { o.backgroundFit = ParseFit(v); }},
        {"--crawl-y",
         [](Options& o, const std::string& v) { o.crawlY = ParseInt(v, "--crawl-y", 0, 8191); }},
        {"--band-height",
         [](Options& o, const std::string& v) {
             o.bandHeight = ParseInt(v, "--band-height", 1, 8192);
         }},
        {"--band", [](Options& o, const std::string& v) { o.band = ParseColour(v, "--band"); }},
        {"--speed",
         [](Options& o, const std::string& v) {
             o.crawlSpeed = o.rollSpeed = ParseNumber(v, "--speed", -100000, 100000);
         }},
        {"--crawl-speed",
         [](Options& o, const std::string& v) {
             o.crawlSpeed = ParseNumber(v, "--crawl-speed", -100000, 100000);
         }},
        {"--roll-speed",
         [](Options& o, const std::string& v) {
             o.rollSpeed = ParseNumber(v, "--roll-speed", -100000, 100000);
         }},
        {"--fade",
         [](Options& o, const std::string& v) { o.fade = ParseInt(v, "--fade", 0, 4096); }},
        {"--filter",
         [](Options& o, const std::string& v) { o.filter = ParseInt(v, "--filter", 0, 128); }},
        {"--interlace",
         [](Options& o, const std::string& v) {
             o.interlace = ParseInterlace(v);
             o.interlaceGiven = true;
         }},
        {"--size",
         [](Options& o, const std::string& v) {
             ParseDimensions(v, "--size", o.width, o.height);
             o.sizeGiven = true;
         }},
        {"--fps",
         [](Options& o, const std::string& v) {
             o.fps = ParseFrameRate(v);
             o.fpsGiven = true;
         }},
        {"--seconds",
         [](Options& o, const std::string& v) {
             o.seconds = ParseNumber(v, "--seconds", 0, 1e6);
             if (o.seconds > 0 && o.seconds < 0.001)
                 throw UsageError("--seconds must be 0 (no end) or at least 0.001");
             o.secondsGiven = true;
         }},
        {"--time",
         [](Options& o, const std::string& v) {
             o.time = ParseNumber(v, "--time", 0, 1e6);
             o.timeGiven = true;
         }},
        {"--output",
         [](Options& o, const std::string& v) {
             if (v.empty())
                 throw UsageError("--output is empty");
             o.outputPath = v;
         }},
        {"--format",
         [](Options& o, const std::string& v) {
             o.output = ParseFormat(v);
             o.formatGiven = true;
         }},
        {"--input",
         [](Options& o, const std::string& v) {
             if (v.empty())
                 throw UsageError("--input needs a file name, or - for standard input");
             o.inputPath = v;
             if (o.input == InputKind::None)
                 o.input = InputKind::Y4m;
         }},
        {"--input-format",
         [](Options& o, const std::string& v) {
             if (v != "y4m" && v != "bgra")
                 throw UsageError("--input-format must be y4m or bgra, not '" + v + "'");
             o.input = v == "y4m" ? InputKind::Y4m : InputKind::Bgra;
         }},
        {"--input-size",
         [](Options& o,
            const std::string&
                v) { ParseDimensions(v, "--input-size", o.inputWidth, o.inputHeight); }},
        {"--matrix", [](Options& o, const std::string& v) { o.matrix = ParseMatrix(v); }},
    };
    return table;
}

const std::map<std::string, std::function<void(Options&)>>& FlagOptions()
{
    static const std::map<std::string, std::function<void(Options&)>> table = {
        {"--help", [](Options& o) { o.showHelp = true; }},
        {"--version", [](Options& o) { o.showVersion = true; }},
        {"--with-roll", [](Options& o) { o.roll = true; }},
        {"--with-crawl", [](Options& o) { o.crawl = true; }},
        {"--benchmark", [](Options& o) { o.benchmark = true; }},
        {"--quiet", [](Options& o) { o.quiet = true; }},
    };
    return table;
}

std::string CanonicalName(std::string name)
{
    if (name == "-o")
        return "--output";
    if (name == "-h")
        return "--help";
    if (name == "--color")
        return "--colour";
    if (name == "--outline-color")
        return "--outline-colour";
    if (name == "--shadow-color")
        return "--shadow-colour";
    return name;
}

void ParseArgument(const char* const* argv, int argc, int& i, Options& o)
{
    std::string name = argv[i];
    std::string value;
    bool hasValue = false;
    const auto eq = name.find('=');
    if (name.rfind("--", 0) == 0 && eq != std::string::npos) {
        value = name.substr(eq + 1);
        name = name.substr(0, eq);
        hasValue = true;
    }
    name = CanonicalName(name);
    if (auto flag = FlagOptions().find(name); flag != FlagOptions().end()) {
        if (hasValue)
            throw UsageError(name + " takes no value");
        flag->second(o);
        return;
    }
    auto option = ValueOptions().find(name);
    if (option == ValueOptions().end())
        throw UsageError("unknown option '" + name + "'");
    if (!hasValue) {
        if (i + 1 >= argc)
            throw UsageError(name + " needs a value");
        value = argv[++i];
    }
    option->second(o, value);
}

void CheckInput(Options& o)
{
    if (o.inputPath.empty()) {
        if (o.input != InputKind::None || o.inputWidth > 0)
            throw UsageError("--input-format and --input-size describe an --input; none given");
        return;
    }
    if (o.backgroundGiven)
        throw UsageError("--background and --input both give the picture under the titles");
    if (o.input == InputKind::Bgra) {
        if (o.inputWidth == 0 || !o.fpsGiven)
            throw UsageError("raw BGRA input needs --input-size WxH and --fps R");
        if (o.sizeGiven && (o.width != o.inputWidth || o.height != o.inputHeight))
            throw UsageError("--size contradicts --input-size");
        o.width = o.inputWidth;
        o.height = o.inputHeight;
    } else if (o.inputWidth > 0) {
        throw UsageError("--input-size is for raw BGRA input; a YUV4MPEG2 header states its size");
    }
    if (o.inputPath == "-" && o.itemsPath == "-")
        throw UsageError("--input and --items cannot both read standard input");
    // An input ends the render; --seconds only cuts it shorter.
    if (!o.secondsGiven)
        o.seconds = 0;
}

void CheckConsistency(Options& o)
{
    if (o.command == Command::Still)
        o.crawl = o.roll = true;
    if (o.command == Command::Crawl)
        o.crawl = true;
    if (o.command == Command::Roll)
        o.roll = true;
    if (!o.itemsPath.empty() && o.textGiven)
        throw UsageError("--text and --items both give the crawl; use one");
    if (!o.itemsPath.empty() && o.crawlSpeed < 0)
        throw UsageError("an --items crawl moves left: give a positive --crawl-speed");
    // A roll given only --text rolls that text; otherwise --text is the crawl's.
    if (o.textGiven && o.command == Command::Roll && o.rollLines.empty()) {
        o.rollLines.push_back(o.crawlText);
        o.crawlText.clear();
    } else if (o.textGiven) {
        o.crawl = true;
    }
    if (o.crawlText.empty() && o.itemsPath.empty())
        o.crawlText = kDefaultCrawl;
    if (o.rollLines.empty())
        o.rollLines.assign(std::begin(kDefaultRoll), std::end(kDefaultRoll));
    CheckInput(o);
    ResolveOutputFormat(o);
    if (o.output == OutputKind::None && !o.benchmark)
        throw UsageError("no output given: use --output PATH.png, PATH.y4m or -");
    if (o.benchmark && !o.outputPath.empty())
        throw UsageError("--benchmark renders without writing; leave out --output");
    if (o.output != OutputKind::None && o.outputPath.empty())
        throw UsageError("--format needs an --output");
    if (o.seconds == 0 && o.input == InputKind::None && o.output == OutputKind::Png)
        throw UsageError("a .png output is one frame; --seconds 0 has no use there");
    if (o.fade * 2 > o.width)
        throw UsageError("--fade must be at most half the frame width");
}

} // namespace

std::uint32_t ParseColour(const std::string& text, const std::string& what)
{
    const bool shapeOk = (text.size() == 7 || text.size() == 9) && text[0] == '#' &&
                         text.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (!shapeOk)
        throw UsageError(what + " must be #RRGGBB or #RRGGBBAA, not '" + text + "'");
    const std::uint32_t v = std::uint32_t(std::strtoul(text.c_str() + 1, nullptr, 16));
    if (text.size() == 7)
        return 0xFF000000u | v;
    return (v >> 8) | (v & 0xFFu) << 24; // RRGGBBAA to AARRGGBB
}

Options ParseOptions(int argc, const char* const* argv)
{
    Options o;
    if (argc < 2)
        throw UsageError("no command given");
    const std::string command = argv[1];
    if (command == "--help" || command == "-h" || command == "help") {
        o.showHelp = true;
        return o;
    }
    if (command == "--version") {
        o.showVersion = true;
        return o;
    }
    if (command == "crawl")
        o.command = Command::Crawl;
    else if (command == "roll")
        o.command = Command::Roll;
    else if (command == "still")
        o.command = Command::Still;
    else
        throw UsageError("unknown command '" + command + "': use crawl, roll or still");
    for (int i = 2; i < argc; ++i) {
        ParseArgument(argv, argc, i, o);
        if (o.showHelp || o.showVersion)
            return o;
    }
    CheckConsistency(o);
    return o;
}

const char* HelpText()
{
    return R"help(flower-title: crawls and rolls real text over video with libflower

usage: flower-title crawl|roll|still [options]
       flower-title --help | --version

commands
  crawl   one line of text moving horizontally (add a roll with --with-roll or --text-file)
  roll    a block of centred lines moving vertically (add a crawl with --with-crawl, or
          --text next to --text-file)
  still   the titles held at --time (one frame, or every frame of an --input)

text
  --text TEXT             crawl text (UTF-8, not empty); newlines separate its items, which
                          read in their own directions, joined by --separator. For roll
                          without --text-file: the roll's text, a newline starting a new line
  --items FILE            crawl items, one per line, looping without a gap; a change
                          to FILE shows at the next item; - reads lines from standard
                          input as they arrive (a blank line starts a new list)
  --separator S           between a crawl's items (default " • ")
  --text-file PATH        roll text, one line per line (UTF-8)
  --font FONT             font file, or fontconfig name or pattern: "DejaVu Serif",
                          "Noto Sans:bold" (default DejaVu Sans). Characters it lacks
                          come from the installed font that has them; colour emoji in colour
  --direction D           auto | ltr | rtl: each paragraph's base direction (default auto:
                          its first strong letter). A right-to-left crawl moves right
  --wrap on|off           break roll lines wider than the frame (default on)
  --tab-width N           tab stops every N spaces (default 8)
  --font-size PX          pixel size (default: frame height / 15)
  --colour #RRGGBB[AA]    text colour (default #FFFFFF)
  --outline PX            outline width, 0 for none (default 0)
  --outline-colour C      outline colour (default #000000)
  --shadow DX,DY          drop shadow offset in any direction; N means N,N (default none)
  --shadow-colour C       shadow colour (default #000000A0)

layout
  --crawl-y Y             top row of the crawl band (default: near the bottom)
  --band-height PX        height of the crawl band (default: the text's line height
                          and a margin)
  --band #RRGGBBAA        band and roll panel colour, #00000000 for none
                          (default #102040A0)
  --background B          sample | checker | #RRGGBB[AA] | PATH.png (default sample;
                          not with --input)
  --background-fit F      stretch | fit | fill: how a PATH.png meets the frame (default
                          stretch; fit keeps the aspect ratio on black, fill crops)

motion
  --speed PX              pixels per second for crawl and roll, in the reading direction
                          (defaults: width / 6, height / 8; --items crawls move left)
  --crawl-speed, --roll-speed PX   the same for one of them
  --fade PX               fade zone at both ends (default: width / 24 for a crawl,
                          height / 16 for a roll)
  --filter K              vertical roll filter strength 0..128 (default 32)
  --seconds S             length (default 6; with --input, until the input ends);
                          0: until the input ends or the tool is interrupted
  --time T                time of the still, of the first frame, or of the input frame
                          a .png output shows

video in
  --input PATH            YUV4MPEG2 (8-bit 4:2:0, 4:2:2 or 4:4:4), - for standard input;
                          its size, rate and field order are the output's, and every
                          sample the titles do not cover passes through unchanged
  --input-format bgra     raw BGRA frames instead; needs --input-size WxH and --fps R
  --matrix bt709|bt601    Y'CbCr colour matrix (default: bt709 above 576 lines,
                          bt601 otherwise)

frames (without --input)
  --size WxH              frame size (default 1280x720)
  --fps R                 frame rate: 25, 50, 29.97, 30000/1001 ... (default 25)
  --interlace tff|bff     render each field at its own time and weave them

output
  -o, --output PATH       PATH.png (one frame), PATH.y4m, - (standard output) or a
                          pipe or device; regular files appear only when complete
  --format y4m|bgra|png   what to write (default: from the name; - is raw BGRA)
  --benchmark             render every frame without writing and report the speed
  --quiet                 no progress bar and no closing line

examples
  flower-title still -o title.png
  flower-title crawl --text "Breaking news" --speed 200 --outline 2 -o crawl.y4m
  flower-title roll --text-file credits.txt --interlace tff --fps 25 -o roll.y4m
  flower-title crawl --font "Noto Sans" --text "$(printf 'Hello\nمرحبا\nשלום\n你好')" -o crawl.y4m
  ffmpeg -i in.mp4 -pix_fmt yuv420p -f yuv4mpegpipe - |
      flower-title crawl --input - --items news.txt -o - --format y4m |
      ffmpeg -i - -i in.mp4 -map 0:v -map 1:a? -c:v libx264 -pix_fmt yuv420p \
             -colorspace bt709 -color_primaries bt709 -color_trc bt709 -c:a copy out.mp4
  flower-title crawl --with-roll --size 1920x1080 -o - |
      ffmpeg -f rawvideo -pixel_format bgra -video_size 1920x1080 -framerate 25 -i - \
             -pix_fmt yuv420p out.mp4

Bad arguments, inputs, missing or broken fonts, unreadable pictures, text too large to
set and unwritable outputs exit with status 2 and one message, leaving no file behind.
An interrupted render without an end closes its output at the last whole frame.
)help";
}

} // namespace title
