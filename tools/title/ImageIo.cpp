// libpng reports errors by longjmp; the setjmp frames stay in small functions
// that own no C++ objects, so nothing with a destructor is jumped over.
#include "ImageIo.h"

#include <csetjmp>
#include <memory>
#include <png.h>
#include <vector>

#include "ToolError.h"

namespace title {
namespace {

constexpr png_uint_32 kMaxSide = 16384;

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

struct Reader {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~Reader() { png_destroy_read_struct(&png, info ? &info : nullptr, nullptr); }
};

void SilentWarning(png_structp, png_const_charp) {}

// The tool prints its own one-line message; libpng's would be a second one.
[[noreturn]] void SilentError(png_structp png, png_const_charp)
{
    png_longjmp(png, 1);
}

// Reads the header and sets up 8-bit RGBA output. False on any libpng error.
bool ReadHeader(Reader& r, std::FILE* file, png_uint_32& width, png_uint_32& height)
{
    if (setjmp(png_jmpbuf(r.png)))
        return false;
    png_init_io(r.png, file);
    png_read_info(r.png, r.info);
    width = png_get_image_width(r.png, r.info);
    height = png_get_image_height(r.png, r.info);
    png_set_expand(r.png);
    png_set_strip_16(r.png);
    png_set_gray_to_rgb(r.png);
    png_set_add_alpha(r.png, 0xFF, PNG_FILLER_AFTER);
    png_set_bgr(r.png); // bytes B, G, R, A: the library's order in memory
    png_set_interlace_handling(r.png);
    png_read_update_info(r.png, r.info);
    return png_get_rowbytes(r.png, r.info) == std::size_t(width) * 4;
}

bool ReadRows(Reader& r, png_bytep* rows)
{
    if (setjmp(png_jmpbuf(r.png)))
        return false;
    png_read_image(r.png, rows);
    png_read_end(r.png, nullptr);
    return true;
}

struct Writer {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~Writer() { png_destroy_write_struct(&png, info ? &info : nullptr); }
};

extern "C" void AppendBytes(png_structp png, png_bytep data, png_size_t count)
{
    auto* bytes = static_cast<std::vector<unsigned char>*>(png_get_io_ptr(png));
    bytes->insert(bytes->end(), data, data + count);
}

extern "C" void NoFlush(png_structp) {}

bool WriteRows(Writer& w, std::vector<unsigned char>* bytes, png_uint_32 width, png_uint_32 height,
               png_bytep* rows)
{
    if (setjmp(png_jmpbuf(w.png)))
        return false;
    png_set_write_fn(w.png, bytes, AppendBytes, NoFlush);
    png_set_IHDR(w.png, w.info, width, height, 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(w.png, 6);
    png_write_info(w.png, w.info);
    png_set_bgr(w.png);
    png_write_image(w.png, rows);
    png_write_end(w.png, nullptr);
    return true;
}

} // namespace

Image ReadPng(const std::string& path)
{
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file)
        throw ToolError("cannot open picture '" + path + "'");
    unsigned char signature[8];
    if (std::fread(signature, 1, 8, file.get()) != 8 || png_sig_cmp(signature, 0, 8) != 0)
        throw ToolError("'" + path + "' is not a PNG picture");
    Reader r;
    r.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, SilentError, SilentWarning);
    if (r.png)
        r.info = png_create_info_struct(r.png);
    if (!r.info)
        throw ToolError("out of memory reading '" + path + "'");
    png_set_sig_bytes(r.png, 8);
    png_set_user_limits(r.png, kMaxSide, kMaxSide);
    png_uint_32 width = 0, height = 0;
    if (!ReadHeader(r, file.get(), width, height) || width == 0 || height == 0)
        throw ToolError("cannot decode picture '" + path + "'");
    Image image;
    image.width = int(width);
    image.height = int(height);
    image.pels.assign(std::size_t(width) * height, 0);
    std::vector<png_bytep> rows(height);
    for (png_uint_32 y = 0; y < height; ++y)
        rows[y] = reinterpret_cast<png_bytep>(image.Row(int(y)));
    if (!ReadRows(r, rows.data()))
        throw ToolError("cannot decode picture '" + path + "'");
    return image;
}

bool EncodePng(const Image& image, std::vector<unsigned char>& bytes)
{
    if (image.width < 1 || image.height < 1)
        return false;
    Writer w;
    w.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, SilentError, SilentWarning);
    if (w.png)
        w.info = png_create_info_struct(w.png);
    if (!w.info)
        return false;
    std::vector<png_bytep> rows(std::size_t(image.height));
    for (int y = 0; y < image.height; ++y)
        rows[std::size_t(y)] =
            reinterpret_cast<png_bytep>(const_cast<std::uint32_t*>(image.Row(y)));
    bytes.clear();
    return WriteRows(w, &bytes, png_uint_32(image.width), png_uint_32(image.height), rows.data());
}

} // namespace title
