// The command line of flower-title, parsed into one plain record.
#ifndef FLOWER_TITLE_OPTIONS_H
#define FLOWER_TITLE_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "TextDirection.h"

namespace title {

enum class Command { Crawl, Roll, Still };
enum class Interlace { None, TopFieldFirst, BottomFieldFirst };
enum class OutputKind { Png, Y4m, Bgra, None };
enum class InputKind { None, Y4m, Bgra };
enum class BackgroundKind { Sample, Checker, Colour, Picture };
enum class BackgroundFit { Stretch, Fit, Fill };
// Auto: BT.709 for frames taller than 576 lines, BT.601 otherwise.
enum class MatrixChoice { Auto, Bt601, Bt709 };

struct FrameRate {
    int numerator = 25;
    int denominator = 1;
    double PerSecond() const { return double(numerator) / denominator; }
};

struct Options {
    Command command = Command::Still;
    bool showHelp = false;
    bool showVersion = false;

    bool crawl = false; // which elements the frames carry
    bool roll = false;
    std::string crawlText; // a newline separates items
    std::vector<std::string> rollLines;
    std::string itemsPath;              // crawl items, one per line; "-" is stdin
    bool textGiven = false;             // --text: the crawl's, or a lone roll's lines
    std::string separator = " \u2022 "; // between a crawl's items

    std::string fontPath =
        "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"; // or a fontconfig pattern
    TextDirection direction = TextDirection::Auto;
    bool wrap = true; // roll lines wider than the frame break
    int tabWidth = 8; // in spaces
    int fontSize = 0; // 0: chosen from the frame height
    std::uint32_t colour = 0xFFFFFFFFu;
    int outline = 0;
    std::uint32_t outlineColour = 0xFF000000u;
    int shadowX = 0; // offset in pixels, any direction
    int shadowY = 0;
    std::uint32_t shadowColour = 0xA0000000u;

    BackgroundKind background = BackgroundKind::Sample;
    std::uint32_t backgroundColour = 0;
    std::string backgroundPath;
    BackgroundFit backgroundFit = BackgroundFit::Stretch;
    bool backgroundGiven = false;
    std::uint32_t band = 0xA0102040u;
    int crawlY = -1;    // top of the crawl band; -1: near the bottom
    int bandHeight = 0; // 0: from the font

    double crawlSpeed = 0; // 0: the command's default
    double rollSpeed = 0;
    int fade = -1; // -1: chosen from the frame size
    int filter = 32;
    Interlace interlace = Interlace::None;

    bool interlaceGiven = false;

    int width = 1280;
    int height = 720;
    bool sizeGiven = false;
    FrameRate fps;
    bool fpsGiven = false;
    double seconds = 6; // 0: until the input ends or the tool is interrupted
    bool secondsGiven = false;
    double time = 0;
    bool timeGiven = false;

    InputKind input = InputKind::None;
    std::string inputPath; // "-" is stdin
    int inputWidth = 0;    // raw BGRA input only
    int inputHeight = 0;
    MatrixChoice matrix = MatrixChoice::Auto;

    OutputKind output = OutputKind::None;
    std::string outputPath;
    bool formatGiven = false;
    bool benchmark = false;
    bool quiet = false;
};

// Throws ToolError (with the usage hint) on any bad argument.
Options ParseOptions(int argc, const char* const* argv);

const char* HelpText();

// "#RRGGBB" or "#RRGGBBAA" to 0xAARRGGBB; throws ToolError naming `what`.
std::uint32_t ParseColour(const std::string& text, const std::string& what);

} // namespace title

#endif
