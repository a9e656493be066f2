// BGRA to Y'CbCr. Coefficients are BT.709's, scaled for 16..235 luma and
// 16..240 chroma, in 20-bit fixed point: close enough to the exact values that
// only results within 1/2000 of a rounding boundary can differ.
#include "Y4m.h"

namespace title {
namespace {

constexpr int kShift = 20;
constexpr long long kHalf = 1LL << (kShift - 1);

// 219/255 and 224/255 folded into Kr = 0.2126, Kb = 0.0722.
constexpr int Fixed(double v)
{
    return int(v * (1 << kShift) + (v < 0 ? -0.5 : 0.5));
}
constexpr int kYr = Fixed(0.2126 * 219 / 255), kYg = Fixed(0.7152 * 219 / 255),
              kYb = Fixed(0.0722 * 219 / 255);
constexpr int kCbR = Fixed(-0.2126 / 1.8556 * 224 / 255),
              kCbG = Fixed(-0.7152 / 1.8556 * 224 / 255), kCbB = Fixed(0.5 * 224 / 255);
constexpr int kCrR = Fixed(0.5 * 224 / 255), kCrG = Fixed(-0.7152 / 1.5748 * 224 / 255),
              kCrB = Fixed(-0.0722 / 1.5748 * 224 / 255);

int Red(std::uint32_t p)
{
    return int(p >> 16 & 0xFF);
}
int Green(std::uint32_t p)
{
    return int(p >> 8 & 0xFF);
}
int Blue(std::uint32_t p)
{
    return int(p & 0xFF);
}

// Arithmetic shift of a possibly negative sum is floor; the bias makes it round.
std::uint8_t Luma(int r, int g, int b)
{
    return std::uint8_t(16 + int((kYr * r + kYg * g + kYb * b + kHalf) >> kShift));
}

// r, g, b may be sums of `1 << extraShift` pixels.
std::uint8_t Chroma(long long k0, long long k1, long long k2, int r, int g, int b,
                    int extraShift = 0)
{
    const int shift = kShift + extraShift;
    return std::uint8_t(128 + ((k0 * r + k1 * g + k2 * b + (1LL << (shift - 1))) >> shift));
}

} // namespace

YuvPixel Bt709Limited(std::uint32_t pel)
{
    const int r = Red(pel), g = Green(pel), b = Blue(pel);
    return {Luma(r, g, b), Chroma(kCbR, kCbG, kCbB, r, g, b), Chroma(kCrR, kCrG, kCrB, r, g, b)};
}

Y4mWriter::Y4mWriter(int w, int h, FrameRate r, Interlace i)
    : width(w), height(h), rate(r), interlace(i)
{
}

std::string Y4mWriter::Header() const
{
    const char* tag = interlace == Interlace::TopFieldFirst      ? "It"
                      : interlace == Interlace::BottomFieldFirst ? "Ib"
                                                                 : "Ip";
    // Chroma is averaged over 2x2 blocks: centre-sited, which is 420jpeg.
    return "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" +
           std::to_string(rate.numerator) + ":" + std::to_string(rate.denominator) + " " + tag +
           " A1:1 C420jpeg XYSCSS=420JPEG XCOLORRANGE=LIMITED\n";
}

bool Y4mWriter::WriteFrame(const Image& frame, std::FILE* file)
{
    const int cw = (width + 1) / 2, ch = (height + 1) / 2;
    const std::size_t lumaSize = std::size_t(width) * height;
    const std::size_t chromaSize = std::size_t(cw) * ch;
    planes.resize(lumaSize + 2 * chromaSize);
    std::uint8_t* yPlane = planes.data();
    std::uint8_t* cbPlane = yPlane + lumaSize;
    std::uint8_t* crPlane = cbPlane + chromaSize;
    for (int y = 0; y < height; ++y) {
        const std::uint32_t* row = frame.Row(y);
        std::uint8_t* out = yPlane + std::size_t(y) * width;
        for (int x = 0; x < width; ++x)
            out[x] = Luma(Red(row[x]), Green(row[x]), Blue(row[x]));
    }
    const bool fields = interlace != Interlace::None;
    for (int j = 0; j < ch; ++j) {
        // Progressive: rows 2j, 2j+1. Interlaced: two rows of one field,
        // chroma rows alternating between the fields.
        int r0 = fields ? (j / 2) * 4 + (j & 1) : 2 * j;
        int r1 = r0 + (fields ? 2 : 1);
        if (r0 >= height)
            r0 = height - 1;
        if (r1 >= height)
            r1 = r0;
        const std::uint32_t* a = frame.Row(r0);
        const std::uint32_t* b = frame.Row(r1);
        for (int i = 0; i < cw; ++i) {
            const int x0 = 2 * i, x1 = 2 * i + 1 < width ? 2 * i + 1 : 2 * i;
            const std::uint32_t px[4] = {a[x0], a[x1], b[x0], b[x1]};
            int r = 0, g = 0, bl = 0;
            for (std::uint32_t p : px)
                r += Red(p), g += Green(p), bl += Blue(p);
            // Sums of four: the mean's division rides in the fixed-point shift.
            const std::size_t at = std::size_t(j) * cw + i;
            cbPlane[at] = Chroma(kCbR, kCbG, kCbB, r, g, bl, 2);
            crPlane[at] = Chroma(kCrR, kCrG, kCrB, r, g, bl, 2);
        }
    }
    static const char kFrame[] = "FRAME\n";
    return std::fwrite(kFrame, 1, 6, file) == 6 &&
           std::fwrite(planes.data(), 1, planes.size(), file) == planes.size();
}

} // namespace title
