// Channels and contours.
//
// A Channel is a plain rectangle of 8-bit samples, one byte per pixel, for masks
// and outline tracing. Channels are not layers: no reference count, no update
// list; the record and its samples come from the C library's heap. A clipped
// channel views part of a parent, shares its samples and keeps its row pitch;
// the parent must outlive it. A width or height below 1 (clipping can produce
// negative sizes) is empty to every operation.
//
// A Contour holds the outlines of the inside samples of a channel (value at
// least a threshold clamped to 1..255) as closed loops on the lattice of pixel
// corners: corner (x, y) is the top-left corner of sample (x, y). Inside samples
// are 8-connected, outside samples 4-connected; everything beyond the channel's
// edges is outside. Each loop lists only its turning corners, so consecutive
// points differ in exactly one coordinate and the last joins the first. With x
// right and y down, outer boundaries have a positive shoelace area and holes a
// negative one, so the areas add up to the inside count. Where two inside
// samples touch only diagonally, the loop passes through their shared corner
// (which then appears twice). Each loop starts at its smallest corner in
// (y, x) order, and loops are listed by their start corners, y first.
//
// Failures are null or false results; nothing is logged or thrown. Nothing is
// locked: serialise work on any one channel or contour.
#ifndef FLOWER_CHANNEL_H
#define FLOWER_CHANNEL_H

#include "inlinepelops.h"
#include "local_system.h"

typedef struct Channel Channel;

struct Channel {
    u8* data;        // sample 0 of row 0
    i32 width;       // samples per row
    i32 height;      // rows
    i32 rowBytes;    // bytes from one row to the next
    Channel* parent; // the channel a clipped channel views; null otherwise
    bool ownsData;   // DeleteChannel frees data
};

// Opaque outline set; see GetContourData for its contents.
typedef struct Contour Contour;

#ifdef __cplusplus
extern "C" {
#endif

// ===========================================================================
// Making and releasing channels
// ===========================================================================

// A new zero-filled channel with rowBytes = width; null when a size is below 1 or
// the record cannot be allocated. If only the samples cannot be allocated, the
// channel comes back with null data and every operation on it fails.
FLOWER_API Channel* CreateChannel(i32 width, i32 height);

// CreateChannel of the channel's size; null for a null or empty channel.
FLOWER_API Channel* CreateSimilarChannel(Channel* channel);

// A channel over the caller's samples (null accepted), not owned and not touched;
// rowBytes = width. Null when a size is below 1.
FLOWER_API Channel* CreateCompatibleChannel(i32 width, i32 height, u8* data);

// A view of the whole parent; null for a null parent. Takes no ownership.
FLOWER_API Channel* CreateClippedChannel(Channel* parent);

// Moves a clipped channel's view to the rectangle between two corners in the
// parent's coordinates; the corners are sorted per axis, clamped to the parent,
// and the far one is exclusive. A view beyond the parent's right or bottom edge
// gets a negative size. Ignored for a null channel or one without a parent.
FLOWER_API void ClipChannel(Channel* channel, i32 x1, i32 y1, i32 x2, i32 y2);

// A zero-filled channel of the layer's accessible size; null for a null layer,
// an inaccessible or empty one, or on failure.
FLOWER_API Channel* CreateSizedChannel(FlowerLayer* layer);

// Frees the record, and the samples when the channel owns them. Null is ignored.
FLOWER_API void DeleteChannel(Channel* channel);

// ===========================================================================
// Filling and tiling
// ===========================================================================

// Sets every sample to the low byte of `value`. False for a null channel or data.
FLOWER_API bool FillChannel(Channel* channel, i32 value);

// Fills `destination` with `source` repeated in both directions, the source's
// origin landing at (x, y). False for null channels or data, a zero size, or a
// source of no samples; true with nothing written for a destination of negative
// size (a view beyond its parent's edge).
FLOWER_API bool TileChannel(Channel* destination, Channel* source, i32 x, i32 y);

// Sets every accessible pixel of the layer to `value`. False for a null layer;
// true, with nothing written, when the layer cannot be accessed.
FLOWER_API bool FillLayer(FlowerLayer* layer, Pel value);

// ===========================================================================
// Extracting channels from layers
// ===========================================================================

// Fills the channel from the layer's pixels, top-left aligned; samples beyond the
// layer's size are set to 0. `which`: 0 blue, 1 green, 2 red, 3 alpha,
// 4 luminance (B*29 + G*149 + R*77) times alpha / 65025, 5 that luminance / 255,
// anything else 0; all truncating. False for a null channel or data; true, with
// the channel untouched, for a null or inaccessible layer.
FLOWER_API bool GetChannel(Channel* channel, FlowerLayer* layer, i32 which);

// GetChannel with which = 0, 1, 2 and 3.
FLOWER_API bool GetBlueChannel(Channel* channel, FlowerLayer* layer);
FLOWER_API bool GetGreenChannel(Channel* channel, FlowerLayer* layer);
FLOWER_API bool GetRedChannel(Channel* channel, FlowerLayer* layer);
FLOWER_API bool GetAlphaChannel(Channel* channel, FlowerLayer* layer);

// ===========================================================================
// Contours
// ===========================================================================

// Traces the channel's own view (its width, height and rowBytes). Null for a null
// channel, null data, a size below 1, or when memory runs out; a channel with no
// inside sample gives a contour with no loops.
FLOWER_API Contour* CreateContourFromChannel(const Channel* channel, int threshold);

// As CreateContourFromChannel over the caller's samples, with any row pitch
// (negative included).
FLOWER_API Contour* CreateContourFromChannelAccess(const unsigned char* samples, int width,
                                                   int height, int rowBytes, int threshold);

// The outlines as one flat buffer owned by the contour, valid until it is
// deleted: loopCount, then for each loop pointCount and pointCount pairs x, y.
// *length (when non-null) receives the number of ints. Null and 0 for a null contour.
FLOWER_API const int* GetContourData(const Contour* contour, int* length);

// Releases the contour. Null is ignored.
FLOWER_API void DeleteContour(Contour* contour);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
