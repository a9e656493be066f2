/* A plain C host: checks the library's version, composites one layer over
 * another at an offset with an opacity, and prints the result.
 *
 *   cc -std=c99 host.c $(pkg-config --cflags --libs flower) -o host
 */
#include <flower.h>
#include <stdio.h>

static int Max(int a, int b) { return a > b ? a : b; }
static int Min(int a, int b) { return a < b ? a : b; }

/* Composites `top` over `dst` with its top-left corner at (x, y) and its alpha
 * scaled by `opacity` (0..255). The library has no layer-level composite: open
 * the overlap on both layers, hand it to the buffer routine, tell the
 * destination's update functions, and end the accesses in reverse order. */
static bool CompositeAt(FlowerLayer* dst, FlowerLayer* top, int x, int y, int opacity)
{
    LayerRegion bottomArea, topArea, area, source;
    LayerAccess bottom, over;
    bool done;
    if (!GetValidLayerRegion(dst, &bottomArea) || !GetValidLayerRegion(top, &topArea))
        return false;
    area.x = Max(bottomArea.x, topArea.x + x);
    area.y = Max(bottomArea.y, topArea.y + y);
    area.width = Min(bottomArea.x + bottomArea.width, topArea.x + x + topArea.width) - area.x;
    area.height = Min(bottomArea.y + bottomArea.height, topArea.y + y + topArea.height) - area.y;
    if (area.width < 1 || area.height < 1)
        return true; /* nothing overlaps */
    source = area;
    source.x -= x;
    source.y -= y;
    if (!BeginRegionAccessLayer(&bottom, dst, &area))
        return false;
    if (!BeginRegionAccessLayer(&over, top, &source)) {
        EndAccessLayer(&bottom);
        return false;
    }
    done = over.region.width == area.width && over.region.height == area.height;
    if (done) {
        CompositWithOpacity((char*)bottom.pixels, bottom.rowBytes, (const char*)bottom.pixels,
                            bottom.rowBytes, (const char*)over.pixels, over.rowBytes,
                            area.width, area.height, 255, opacity);
        UpdateLayer(dst, &bottom.region);
    }
    EndAccessLayer(&over);
    EndAccessLayer(&bottom);
    return done;
}

static void PrintLayer(FlowerLayer* layer)
{
    LayerAccess access;
    int x, y;
    if (!BeginAccessLayer(&access, layer))
        return;
    for (y = 0; y < access.region.height; ++y) {
        const Pel* row = (const Pel*)(const void*)(access.pixels + y * access.rowBytes);
        for (x = 0; x < access.region.width; ++x)
            printf("%s%08X", x ? " " : "", (unsigned)row[x]);
        printf("\n");
    }
    EndAccessLayer(&access);
}

int main(void)
{
    int major, minor, patch;
    const char* version = GetFlowerVersion(&major, &minor, &patch);
    FlowerLayer* background;
    FlowerLayer* box;
    bool ok;

    /* A library older than the headers may lack what they declare. */
    if (major != FLOWER_VERSION_MAJOR || minor < FLOWER_VERSION_MINOR) {
        fprintf(stderr, "libflower %s is older than the headers (%s)\n", version,
                FLOWER_VERSION_STRING);
        return 1;
    }
    printf("libflower %s\n", version);
    FlowerInit();

    background = CreateLayer(6, 3);
    box = CreateLayer(3, 2);
    ok = background && box && FillLayer(background, 0xFF0000FFu) && FillLayer(box, 0xFFFFFFFFu);
    /* Half-transparent white over opaque blue, hanging over the right edge. */
    ok = ok && CompositeAt(background, box, 4, 1, 128);
    if (ok)
        PrintLayer(background);
    DeleteLayer(box);
    DeleteLayer(background);
    return ok ? 0 : 1;
}
