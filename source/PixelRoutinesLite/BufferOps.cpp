// The buffer operations: blit, colour fill, composites, fades, premultiply
// and cross-fades over rectangles of raw buffers. Each is a frame around the
// row routine in its table slot, read afresh for every row so that a slot
// replaced between two rows takes effect at the next one.
#include "PixelRoutinesLite/BufferTable.h"

#include <cstddef>

namespace {

using BufferTable::CallSlot;

// Rows are addressed from the base rather than stepped, so no pointer is ever
// formed past the last row; the pitch is widened before the product, so a
// negative pitch walks upwards.
template <class Byte> Byte* RowAt(Byte* base, int pitch, int row)
{
    return base + static_cast<std::ptrdiff_t>(row) * static_cast<std::ptrdiff_t>(pitch);
}

enum class TimeSlice { Skip, AfterEachRow };

// PreOp, then `runRow(row)` for every row of a non-empty rectangle, then
// PostOp (also when no row ran).
template <class RunRow> int ForEachRow(int width, int height, TimeSlice timeSlice, RunRow runRow)
{
    BufferTable::BetweenOpHooks([&](tagMMXState& state) {
        if (width < 1 || height < 1)
            return;
        for (int row = 0; row < height; ++row) {
            runRow(row);
            if (timeSlice == TimeSlice::AfterEachRow)
                CallSlot(CheckTimeSlice, &state);
        }
    });
    return 1;
}

} // namespace

extern "C" {

int Blit(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height)
{
    return ForEachRow(width, height, TimeSlice::Skip, [&](int row) {
        CallSlot(ScanlineBlit, RowAt(dst, dstPitch, row), RowAt(src, srcPitch, row), width);
    });
}

int BlitColour(char* dst, int dstPitch, int width, int height, int colour)
{
    return ForEachRow(width, height, TimeSlice::Skip, [&](int row) {
        CallSlot(ScanlineBlitColour, RowAt(dst, dstPitch, row), width, colour);
    });
}

int Composit(char* dst, int dstPitch, const char* bottom, int bottomPitch, const char* top,
             int topPitch, int width, int height)
{
    return ForEachRow(width, height, TimeSlice::AfterEachRow, [&](int row) {
        CallSlot(ScanlineComposit, RowAt(dst, dstPitch, row), RowAt(bottom, bottomPitch, row),
                 RowAt(top, topPitch, row), width);
    });
}

int CompositWithOpacity(char* dst, int dstPitch, const char* bottom, int bottomPitch,
                        const char* top, int topPitch, int width, int height, int bottomOpacity,
                        int topOpacity)
{
    return ForEachRow(width, height, TimeSlice::AfterEachRow, [&](int row) {
        CallSlot(ScanlineCompositWithOpacity, RowAt(dst, dstPitch, row),
                 RowAt(bottom, bottomPitch, row), RowAt(top, topPitch, row), width, bottomOpacity,
                 topOpacity);
    });
}

int CrossFade(char* dst, int dstPitch, const char* srcA, int srcAPitch, const char* srcB,
              int srcBPitch, int width, int height, int weightA, int weightB)
{
    return ForEachRow(width, height, TimeSlice::AfterEachRow, [&](int row) {
        CallSlot(ScanlineCrossFade, RowAt(dst, dstPitch, row), RowAt(srcA, srcAPitch, row),
                 RowAt(srcB, srcBPitch, row), width, weightA, weightB);
    });
}

int ShapedCrossFade(char* dst, int dstPitch, const char* srcA, int srcAPitch, const char* srcB,
                    int srcBPitch, int width, int height, int weightA, int weightB)
{
    return ForEachRow(width, height, TimeSlice::AfterEachRow, [&](int row) {
        CallSlot(ScanlineShapedCrossFade, RowAt(dst, dstPitch, row), RowAt(srcA, srcAPitch, row),
                 RowAt(srcB, srcBPitch, row), width, weightA, weightB);
    });
}

int Fade(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height, int level)
{
    return ForEachRow(width, height, TimeSlice::Skip, [&](int row) {
        CallSlot(ScanlineFade, RowAt(dst, dstPitch, row), RowAt(src, srcPitch, row), width, level);
    });
}

int PreMultAlpha(char* dst, int dstPitch, const char* src, int srcPitch, int width, int height)
{
    return ForEachRow(width, height, TimeSlice::Skip, [&](int row) {
        CallSlot(ScanlinePreMultAlpha, RowAt(dst, dstPitch, row), RowAt(src, srcPitch, row), width);
    });
}

} // extern "C"
