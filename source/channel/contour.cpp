// Contour tracing: the outlines of a channel's inside samples as closed loops
// of turning corners, by crack following on the corner lattice.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "channel.h"

struct Contour {
    std::vector<int> data;
};

namespace {

// The samples as a grid with a one-sample outside margin, so every corner of
// the (width + 1) x (height + 1) lattice sees four cells. Corner (x, y) sits at
// cell index y * stride + x; its four samples are cells p, p + 1, p + stride
// and p + stride + 1. Bit 0 of a cell: inside. Bit 1: the horizontal edge along
// the cell's top has been traced.
constexpr u8 kInside = 1;
constexpr u8 kTraced = 2;

struct FreeDeleter {
    void operator()(u8* p) const { std::free(p); }
};

struct Grid {
    std::unique_ptr<u8, FreeDeleter> cells;
    std::size_t stride = 0;
    std::size_t rows = 0;
};

// Headings run clockwise on screen (y down), so a left turn is heading + 3.
enum Heading : int { kRight, kDown, kLeft, kUp, kNone };

// The one outgoing edge of a corner, by its four samples (bit 0 top-left,
// 1 top-right, 2 bottom-left, 3 bottom-right). Edges keep the inside on their
// right. The two diagonal "saddles" (6 and 9) have two ways out and get kNone:
// there the tracer turns left, which keeps the two inside samples joined.
constexpr Heading kOutgoing[16] = {
    kNone,  // ....
    kLeft,  // TL
    kUp,    // TR
    kLeft,  // TL TR
    kDown,  // BL
    kDown,  // TL BL
    kNone,  // TR BL saddle
    kDown,  // TL TR BL
    kRight, // BR
    kNone,  // TL BR saddle
    kUp,    // TR BR
    kLeft,  // TL TR BR
    kRight, // BL BR
    kRight, // TL BL BR
    kUp,    // TR BL BR
    kNone,  // all inside
};

bool CheckedSize(std::size_t a, std::size_t b, std::size_t* product)
{
    if (a != 0 && b > std::numeric_limits<std::size_t>::max() / a)
        return false;
    *product = a * b;
    return true;
}

bool BuildGrid(const u8* samples, int width, int height, std::ptrdiff_t rowBytes, u8 threshold,
               Grid* grid)
{
    const std::size_t stride = std::size_t(width) + 2;
    const std::size_t rows = std::size_t(height) + 2;
    std::size_t bytes = 0;
    if (!CheckedSize(stride, rows, &bytes))
        return false;
    grid->cells.reset(static_cast<u8*>(std::calloc(bytes, 1)));
    if (!grid->cells)
        return false;
    grid->stride = stride;
    grid->rows = rows;
    u8* cell = grid->cells.get() + stride + 1;
    for (int y = 0; y < height; ++y, cell += stride) {
        const u8* row = samples + std::ptrdiff_t(y) * rowBytes;
        for (int x = 0; x < width; ++x)
            cell[x] = row[x] >= threshold ? kInside : 0;
    }
    return true;
}

inline unsigned CornerCode(const u8* c, std::size_t p, std::size_t stride)
{
    return (c[p] & kInside) | (c[p + 1] & kInside) << 1 | (c[p + stride] & kInside) << 2 |
           (c[p + stride + 1] & kInside) << 3;
}

// Follows one loop from its smallest corner (x0, y0), appending its turning
// corners, and marks every horizontal edge on the way as traced.
void TraceLoop(Grid& grid, int x0, int y0, std::vector<int>& out)
{
    u8* const c = grid.cells.get();
    const std::size_t stride = grid.stride;
    const std::size_t start = std::size_t(y0) * stride + std::size_t(x0);
    const std::size_t countSlot = out.size();
    out.push_back(0);
    int points = 0;

    std::size_t p = start;
    int x = x0, y = y0;
    // Both edges of a loop's smallest corner lead to larger corners: right and
    // down. The horizontal one leaves when the sample below it is inside (an
    // outer boundary); otherwise it arrives and the loop leaves downwards (a
    // hole, whose smallest corner may be a saddle shared with another loop).
    Heading heading = (c[p + stride + 1] & kInside) != 0 ? kRight : kDown;
    out.push_back(x);
    out.push_back(y);
    ++points;
    for (;;) {
        switch (heading) {
        case kRight:
            c[p + stride + 1] |= kTraced;
            ++p, ++x;
            break;
        case kDown:
            p += stride, ++y;
            break;
        case kLeft:
            c[p + stride] |= kTraced;
            --p, --x;
            break;
        default:
            p -= stride, --y;
            break;
        }
        if (p == start) // the other way through a saddle start is another loop's
            break;
        Heading next = kOutgoing[CornerCode(c, p, stride)];
        if (next == kNone)
            next = Heading((heading + 3) & 3);
        if (next != heading) {
            out.push_back(x);
            out.push_back(y);
            ++points;
        }
        heading = next;
    }
    out[countSlot] = points;
}

// Traced bits are only ever set where the inside bits differ, so equal words
// mean no boundary edge at all.
inline std::uint64_t Load8(const u8* p)
{
    std::uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// Scans the horizontal edges in (y, x) order: the first untraced boundary edge
// met belongs to an untraced loop, and its left end is that loop's smallest
// corner, so loops come out ordered by their start corners.
void TraceAll(Grid& grid, int width, int height, std::vector<int>& out)
{
    const u8* const c = grid.cells.get();
    const std::size_t stride = grid.stride;
    out.push_back(0);
    int loops = 0;
    for (int y = 0; y <= height; ++y) {
        const u8* above = c + std::size_t(y) * stride + 1;
        const u8* below = above + stride;
        for (int x = 0; x < width; ++x) {
            // Most rows of a title match the row above for long runs: skip
            // eight cells at a time while no inside bit differs.
            while (x + 8 <= width && (Load8(above + x) ^ Load8(below + x)) == 0)
                x += 8;
            if (x >= width)
                break;
            if (((above[x] ^ below[x]) & kInside) == 0 || (below[x] & kTraced) != 0)
                continue;
            TraceLoop(grid, x, y, out);
            ++loops;
        }
    }
    out[0] = loops;
}

u8 ClampThreshold(int threshold)
{
    return threshold < 1 ? 1 : threshold > 255 ? 255 : u8(threshold);
}

Contour* Trace(const u8* samples, int width, int height, std::ptrdiff_t rowBytes, int threshold)
{
    try {
        Grid grid;
        if (!BuildGrid(samples, width, height, rowBytes, ClampThreshold(threshold), &grid))
            return nullptr;
        std::unique_ptr<Contour> contour(new Contour);
        TraceAll(grid, width, height, contour->data);
        if (contour->data.size() > std::size_t(std::numeric_limits<int>::max()))
            return nullptr;
        return contour.release();
    } catch (...) {
        return nullptr;
    }
}

} // namespace

Contour* CreateContourFromChannel(const Channel* channel, int threshold)
{
    if (channel == nullptr || channel->data == nullptr)
        return nullptr;
    if (channel->width < 1 || channel->height < 1)
        return nullptr;
    return Trace(channel->data, channel->width, channel->height, channel->rowBytes, threshold);
}

Contour* CreateContourFromChannelAccess(const unsigned char* samples, int width, int height,
                                        int rowBytes, int threshold)
{
    if (samples == nullptr || width < 1 || height < 1)
        return nullptr;
    return Trace(samples, width, height, rowBytes, threshold);
}

const int* GetContourData(const Contour* contour, int* length)
{
    if (contour == nullptr) {
        if (length != nullptr)
            *length = 0;
        return nullptr;
    }
    if (length != nullptr)
        *length = int(contour->data.size());
    return contour->data.data();
}

void DeleteContour(Contour* contour)
{
    delete contour;
}
