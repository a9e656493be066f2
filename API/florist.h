// Layer operations: scaling, stock backgrounds, geometry, interlacing and the
// built-in sample picture.
//
// Order. Two-layer operations take the destination first. Every operation
// works on the layers' valid regions through accesses (petal.h) and runs the
// row routines it fetches from the scanline table (stem.h) at each call.
// Operations that copy a source into a destination clear the destination
// pixels the source does not cover.
//
// Update flag. Every operation that writes takes a trailing `update`; when it
// is true and the work was done, the destination's update functions are told
// of the written access region before the access ends.
//
// Failures are false, 0 or null results; every access begun is ended on every
// path. Nothing here is locked: serialise work on any one layer.
#ifndef FLOWER_FLORIST_H
#define FLOWER_FLORIST_H

#include "LayerRegion.h"
#include "PartialScanline.h"
#include "inlinepelops.h"
#include "local_system.h"
#include "petal.h"

// ===========================================================================
// Scaling
// ===========================================================================
// A box filter when shrinking and a two-tap linear filter when enlarging, in
// double precision on alpha-weighted colour, summed in a fixed order per output
// pixel. The output alpha and colours truncate, then clamp: 255 from 255 up, 0
// below 1; a transparent result is four zero bytes.

// C99 has no anonymous unions; GCC and Clang accept one marked as an extension.
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L)
#  define FLOWER_ANONYMOUS_UNION union
#else
#  define FLOWER_ANONYMOUS_UNION __extension__ union
#endif

// One output pixel of one axis. Entry 0 of a list is a header whose only
// member in use is `ratio`, the weight of one whole middle source pixel (it
// shares its place with firstWeight).
typedef struct tagScaleList {
    i32 count;   // whole middle source pixels; -1: exactly one source pixel
    i32 advance; // source pixels to move on after this output pixel
    FLOWER_ANONYMOUS_UNION {
        double firstWeight;
        double ratio;
    };
    double lastWeight; // the pixel after the middle ones; 0 when there is none
} tagScaleList;

// The sizes of one scaling and its two lists (outWidth + 1 and outHeight + 1 entries).
typedef struct tagScaleIP_SCALE {
    i32 inWidth;
    i32 inHeight;
    i32 outWidth;
    i32 outHeight;
    tagScaleList* horizontal;
    tagScaleList* vertical;
} tagScaleIP_SCALE;

// A row-streaming scaler. The caller reads `needInput`, `outputReady`, `row`
// and `height` between calls; everything else is the scaler's own.
typedef struct ScanlineControl {
    u32 outputReady; // the last ScaleScanline wrote a destination row
    u32 needInput;   // the caller must supply the next source line
    u32 valid;
    i32 row;    // next destination row
    i32 height; // outHeight
    tagScaleIP_SCALE* scale;
    Pel** lines; // a ring of lineCount buffers of inWidth pixels
    const Pel** rowPointers;
    i32 lineCount;
    i32 lineBytes;
    i32 held; // newest line's place after `head` (lines held minus one)
    i32 firstColumn;
    i32 width;
    i32 runWidth;
    i32 head; // ring index of the oldest line still needed
} ScanlineControl;

#ifdef __cplusplus
// Fills `list` (room for out + 1 entries) for `in` source and `out` output
// pixels. False for a null list or a size below 1. C++ linkage.
FLOWER_API bool ScaleGenScaleList(tagScaleList* list, int in, int out);

// Regenerates both lists in place from the record's sizes; false only for
// null. C++ linkage.
FLOWER_API bool ScaleGenScale(tagScaleIP_SCALE* scale);
#endif

#ifdef __cplusplus
extern "C" {
#endif

// A scaler for inWidth x inHeight -> outWidth x outHeight, or null (a size below
// 1, a source row, an axis' scale list or the ring of source rows one output
// row spans past 2^31 - 1 bytes, or no memory). Release it with EndScaleScanline.
FLOWER_API ScanlineControl* BeginScaleScanline(int inWidth, int inHeight, int outWidth,
                                               int outHeight);

// Produces only destination columns x .. x + width - 1, from destination row y
// on, and restarts the ring. 0 (nothing changed) when out of range.
FLOWER_API int OffsetScaleScanline(ScanlineControl* control, int x, int y, int width);

// Turns a destination region into the source region it needs, in place; false
// only for a null control. Read positions start at buffer column 0 whatever the
// first column: place source columns accordingly.
FLOWER_API bool ConvertRegionScaleScanline(ScanlineControl* control, LayerRegion* region);

// The ring buffer to write the next source line into; null for a null or
// invalid control.
FLOWER_API Pel* GetBufferScaleScanline(ScanlineControl* control);

// Takes one source line and writes one destination row when enough are held.
// With src null the line is the one written into GetBufferScaleScanline's
// buffer; otherwise src is copied in, or used in place for the row it completes.
// Returns 0 for bad arguments or once `row` reaches `height`, else 1.
FLOWER_API int ScaleScanline(Pel* dst, const Pel* src, ScanlineControl* control);

// Frees the control and everything it owns; false only for null.
FLOWER_API bool EndScaleScanline(ScanlineControl* control);

// Scales the whole picture of `src` into `dst`. Identical valid regions are
// copied (uncovered pixels cleared), never filtered.
FLOWER_API bool ResizeLayer(FlowerLayer* dst, FlowerLayer* src, bool update);

#ifdef __cplusplus
} // extern "C"
#endif

// ===========================================================================
// Backgrounds and stock layers
// ===========================================================================
// Stock layers are tiles numbered by id, made when the library loads and owned
// by the library until it unloads: 0 (and anything unmapped) the 16 x 16 grey
// checkerboard, 1 the same at 8 x 8, 3..7 opaque black, red, green, blue and
// white rows of 256, 8 a 16 x 16 black tile. Id 2 is unassigned on purpose.
// Background pixels are always opaque, whatever the tile's alpha.

// A background row generator over one stock or host layer, with room for
// `capacity` pixels; the line being built follows the record in memory.
typedef struct BackgroundScanlineState {
    u32 outputReady;    // set after each produced row
    u32 needInput;      // set after each produced row
    LayerAccess access; // open on the background layer until EndBackgroundScanline
    i32 capacity;
    i32 row;
    i32 column; // column of the line's first pixel
    i32 tileX;  // tile offset, stored negated
    i32 tileY;
    i32 runWidth; // pixels per line, at most capacity
} BackgroundScanlineState;

#ifdef __cplusplus
extern "C" {
#endif

// The checkerboard layer. Owned by the library: do not delete it.
FLOWER_API FlowerLayer* GetDefaultBackground(void);

// The layer mapped to `id`, else the one mapped to 0, else the checkerboard.
// Owned by the library.
FLOWER_API FlowerLayer* GetStockLayer(unsigned id);

// True when `id` holds a layer. A missing id is entered with no layer as a side
// effect (which changes nothing GetStockLayer returns).
FLOWER_API bool ExistsStockLayer(unsigned id);

// Stores a private copy of `layer` under `id` (an equal-sized stored layer is
// overwritten in place and its update functions told); null removes the id.
FLOWER_API void SetStockLayer(unsigned id, FlowerLayer* layer);

// A background record of `width` pixels over stock layer 0, stock layer `id`,
// or `layer` (stock 0 when null). Null for a width below 1, a record past
// 2^31 - 1 bytes, or on failure.
FLOWER_API BackgroundScanlineState* BeginBackgroundScanline(int width);
FLOWER_API BackgroundScanlineState* BeginBackgroundScanlineID(int width, unsigned id);
FLOWER_API BackgroundScanlineState* BeginBackgroundScanlineLayer(int width,
                                                                 FlowerLayer* layer);

// Next row `y`, first column `x`, `width` pixels per line (0: the capacity;
// never above it). Ignores a null record.
FLOWER_API void OffsetBackgroundScanline(int x, int y, int width, BackgroundScanlineState* state);

// Shifts the tiling so that tile pixel (0, 0) lands on (x, y).
FLOWER_API void SetTileOffsetBackgroundScanline(int x, int y, BackgroundScanlineState* state);

// dst = src (dst itself when null) composited over one background line of
// runWidth pixels; moves to the next row.
FLOWER_API void BackgroundScanline(Pel* dst, const Pel* src, BackgroundScanlineState* state);

// As BackgroundScanline for a row that a source covers only in part: columns
// left and right of the source take the background, the covered ones the
// source over it. A null `src` stands for `dst` itself.
FLOWER_API void BackgroundPartialScanline(const PartialScanline* dst, const PartialScanline* src,
                                          BackgroundScanlineState* state);

// Ends the record's access and frees it; ignores null.
FLOWER_API void EndBackgroundScanline(BackgroundScanlineState* state);

// dst = src (dst itself when null) over `background` (stock 0 when null),
// tiled from dst's column 0. Rows src does not cover become pure background.
FLOWER_API void BackgroundLayer(FlowerLayer* dst, FlowerLayer* src,
                                FlowerLayer* background, bool update);

// ===========================================================================
// Geometry
// ===========================================================================

// Copies `src` into the rectangle of its size centred in `dst` (offsets
// truncate toward zero); dst pixels outside it are never touched. 1 or 0.
FLOWER_API int CenterLayer(FlowerLayer* dst, FlowerLayer* src, bool update);

// Mirror every row left to right / the rows top to bottom, in place.
FLOWER_API bool HorizontalFlipLayer(FlowerLayer* layer, bool update);
FLOWER_API bool VerticalFlipLayer(FlowerLayer* layer, bool update);

// Move the picture dy rows down / dx columns right (negative: up / left),
// clearing what is vacated. False for a shift of 0.
FLOWER_API bool VerticalShiftLayer(FlowerLayer* layer, int dy, bool update);
FLOWER_API bool HorizontalShiftLayer(FlowerLayer* layer, int dx, bool update);

// Fills `dst` with copies of `tile`: destination pixel (x, y) takes tile pixel
// ((x + offsetX) mod width, (y + offsetY) mod height), so the tile's (0, 0)
// lands on (-offsetX, -offsetY) modulo the tile size. False for a tile of
// zero size.
FLOWER_API bool TileLayer(FlowerLayer* dst, FlowerLayer* tile, int offsetX, int offsetY,
                          bool update);

// The bounding box of the pixels whose alpha is not 0, or {0, 0, 0, 0}. The
// last column of each row is never examined.
FLOWER_API bool VisibleRegionLayer(FlowerLayer* layer, LayerRegion* region);

// ===========================================================================
// Interlacing
// ===========================================================================
// Even destination rows come from `even`, odd ones (y & 1) from `odd`, in layer
// coordinates. Frames read row y of the source, fields row y / 2. Columns and
// rows a source does not hold are cleared. False, with nothing written, when
// a layer is null or cannot be accessed.

FLOWER_API bool InterlaceFrameLayers(FlowerLayer* dst, FlowerLayer* even,
                                     FlowerLayer* odd, bool update);
FLOWER_API bool InterlaceFieldLayers(FlowerLayer* dst, FlowerLayer* even,
                                     FlowerLayer* odd, bool update);

// ===========================================================================
// The sample picture
// ===========================================================================
// A 768 x 512 opaque photograph compiled into the library.

// The picture's 1,572,864 bytes, B, G, R, A per pixel, 3072 per row. Writable,
// but shared by every caller: copy it rather than change it.
FLOWER_API u8* GetFlowerData(void);

// A new 768 x 512 layer holding a copy of the picture, owned by the caller; null
// on failure.
FLOWER_API FlowerLayer* CreateFlower(void);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
