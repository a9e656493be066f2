/* Build-time host tool: decodes the sample picture PNG into raw B, G, R, A
 * bytes (768 x 512, rows top to bottom, no padding) for Soil.cpp to embed.
 * Usage: DecodePicture input.png output.bgra */
#include <png.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kWidth = 768, kHeight = 512 };

static int Fail(const char* what, const char* path)
{
    fprintf(stderr, "DecodePicture: %s: %s\n", what, path);
    return 1;
}

int main(int argc, char** argv)
{
    if (argc != 3)
        return Fail("usage", "DecodePicture input.png output.bgra");

    png_image image;
    memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, argv[1]))
        return Fail(image.message, argv[1]);
    if (image.width != kWidth || image.height != kHeight) {
        png_image_free(&image);
        return Fail("not 768 x 512", argv[1]);
    }
    /* Straight (not premultiplied) alpha, bytes B, G, R, A. */
    image.format = PNG_FORMAT_BGRA;
    const size_t bytes = PNG_IMAGE_SIZE(image);
    png_bytep pixels = malloc(bytes);
    if (!pixels) {
        png_image_free(&image);
        return Fail("out of memory", argv[1]);
    }
    if (!png_image_finish_read(&image, NULL, pixels, 0, NULL)) {
        free(pixels);
        return Fail(image.message, argv[1]);
    }
    for (size_t i = 3; i < bytes; i += 4) {
        if (pixels[i] != 255) {
            free(pixels);
            return Fail("not opaque", argv[1]);
        }
    }

    FILE* out = fopen(argv[2], "wb");
    if (!out) {
        free(pixels);
        return Fail("cannot write", argv[2]);
    }
    const int ok = fwrite(pixels, 1, bytes, out) == bytes;
    free(pixels);
    if (fclose(out) != 0 || !ok) {
        remove(argv[2]);
        return Fail("cannot write", argv[2]);
    }
    return 0;
}
