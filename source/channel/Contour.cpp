// Contour tracing: the outlines of a channel's inside samples as closed loops
// of turning corners, by crack following on the corner lattice.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "channel.h"

// The flat buffer, on the C heap: the library exports no container code.
struct Contour {
    int* data;
    int length;
};

namespace {

// A growable run of ints that stops growing, and says so, when memory runs out
// or the length would pass what an int can count.
class IntBuffer {
  public:
    IntBuffer() = default;
    IntBuffer(const IntBuffer&) = delete;
    IntBuffer& operator=(const IntBuffer&) = delete;
    ~IntBuffer() { std::free(data); }

    void Push(int value)
    {
        if (size == capacity && !Grow())
            return;
        data[size++] = value;
    }
    std::size_t Size() const { return size; }
    int& operator[](std::size_t i) { return data[i]; }
    bool Failed() const { return failed; }
    // Hands the block over; the buffer is empty afterwards.
    int* Release()
    {
        int* block = data;
        data = nullptr;
        size = capacity = 0;
        return block;
    }

  private:
    bool Grow()
    {
        const std::size_t limit = std::size_t(std::numeric_limits<int>::max());
        const std::size_t wanted = capacity == 0 ? 256 : capacity * 2;
        const std::size_t next = wanted < limit ? wanted : limit;
        void* block = failed || next <= capacity ? nullptr : std::realloc(data, next * sizeof(int));
        if (block == nullptr) {
            failed = true;
            return false;
        }
        data = static_cast<int*>(block);
        capacity = next;
        return true;
    }

    int* data = nullptr;
    std::size_t size = 0;
    std::size_t capacity = 0;
    bool failed = false;
};

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
void TraceLoop(Grid& grid, int x0, int y0, IntBuffer& out)
{
    u8* const c = grid.cells.get();
    const std::size_t stride = grid.stride;
    const std::size_t start = std::size_t(y0) * stride + std::size_t(x0);
    const std::size_t countSlot = out.Size();
    out.Push(0);
    int points = 0;

    std::size_t p = start;
    int x = x0, y = y0;
    // Both edges of a loop's smallest corner lead to larger corners: right and
    // down. The horizontal one leaves when the sample below it is inside (an
    // outer boundary); otherwise it arrives and the loop leaves downwards (a
    // hole, whose smallest corner may be a saddle shared with another loop).
    Heading heading = (c[p + stride + 1] & kInside) != 0 ? kRight : kDown;
    out.Push(x);
    out.Push(y);
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
            out.Push(x);
            out.Push(y);
            ++points;
        }
        heading = next;
    }
    if (!out.Failed())
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
void TraceAll(Grid& grid, int width, int height, IntBuffer& out)
{
    const u8* const c = grid.cells.get();
    const std::size_t stride = grid.stride;
    out.Push(0);
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
            if (out.Failed())
                return;
            ++loops;
        }
    }
    if (!out.Failed())
        out[0] = loops;
}

u8 ClampThreshold(int threshold)
{
    return threshold < 1 ? 1 : threshold > 255 ? 255 : u8(threshold);
}

Contour* Trace(const u8* samples, int width, int height, std::ptrdiff_t rowBytes, int threshold)
{
    Grid grid;
    if (!BuildGrid(samples, width, height, rowBytes, ClampThreshold(threshold), &grid))
        return nullptr;
    IntBuffer out;
    TraceAll(grid, width, height, out);
    if (out.Failed())
        return nullptr;
    Contour* contour = static_cast<Contour*>(std::malloc(sizeof(Contour)));
    if (contour == nullptr)
        return nullptr;
    contour->length = int(out.Size());
    contour->data = out.Release();
    return contour;
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
        *length = contour->length;
    return contour->data;
}

void DeleteContour(Contour* contour)
{
    if (contour == nullptr)
        return;
    std::free(contour->data);
    std::free(contour);
}
