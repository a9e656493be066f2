// Area-averaging (shrink) and two-tap linear (enlarge) scaling: the per-axis
// scale lists, the row-streaming scaler and the layer front end. The sums of
// each output pixel are the scale kernel family's.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "florist.h"
#include "florist/LayerRows.h"
#include "kernels/scale/ScaleKernels.h"
#include "stem.h"

using Florist::i64;

// ===========================================================================
// Scale lists
// ===========================================================================

namespace {

void ShrinkList(tagScaleList* list, i64 in, i64 out)
{
    list[0].ratio = double(out) / double(in);
    i64 r = 0; // in units where a source pixel is `out` long and an output pixel `in`
    for (i64 k = 1; k <= out; ++k) {
        const i64 e = r + in;
        const i64 count = (e - out) / out;
        tagScaleList& entry = list[k];
        entry.count = i32(count);
        entry.firstWeight = double(out - r) / double(in);
        entry.lastWeight = double(e - (count + 1) * out) / double(in);
        entry.advance = i32(count + 1);
        r = e - (count + 1) * out;
    }
}

// The edges clamp: leading pixels repeat source pixel 0, trailing ones the last.
void EnlargeList(tagScaleList* list, i64 in, i64 out)
{
    list[0].ratio = 0.0;
    i64 p = (in - out) / 2;
    i64 s = 0;
    for (i64 k = 1; k <= out; ++k) {
        tagScaleList& entry = list[k];
        if (p < 1 || s == in - 1) {
            entry.firstWeight = 1.0;
            entry.lastWeight = 0.0;
            entry.count = -1;
        } else {
            entry.firstWeight = double(out - p) / double(out);
            entry.lastWeight = double(p) / double(out);
            entry.count = entry.lastWeight > 0 ? 0 : -1;
        }
        p += in;
        if (p >= out) {
            p -= out;
            entry.advance = 1;
            ++s;
        } else {
            entry.advance = 0;
        }
    }
}

} // namespace

bool ScaleGenScaleList(tagScaleList* list, int in, int out)
{
    if (!list || in < 1 || out < 1)
        return false;
    if (in >= out)
        ShrinkList(list, in, out);
    else
        EnlargeList(list, in, out);
    return true;
}

bool ScaleGenScale(tagScaleIP_SCALE* scale)
{
    if (!scale)
        return false;
    ScaleGenScaleList(scale->horizontal, scale->inWidth, scale->outWidth);
    ScaleGenScaleList(scale->vertical, scale->inHeight, scale->outHeight);
    return true;
}

// ===========================================================================
// The row-streaming scaler
// ===========================================================================

namespace {

// Ring arithmetic. Indices stay below 2 x lineCount, so this is one subtraction.
i32 Wrap(i64 index, i32 lineCount)
{
    while (index >= lineCount)
        index -= lineCount;
    return i32(index);
}

// The ring position of the line the caller fills next.
i32 NextLine(const ScanlineControl& ctl)
{
    return Wrap(i64(ctl.head) + ctl.held, ctl.lineCount);
}

// The active set's working memory for the current run, kept after the row
// pointers: the horizontal taps it holds are the same for every row of a run.
// The key covers everything they derive from (lists follow from their sizes).
struct ColumnCache {
    std::size_t capacity; // layout bytes held; 0 when there was no room
    const tagScaleList* horizontal;
    i32 inWidth, outWidth, runWidth;
    bool ready;
};

constexpr std::size_t kLayoutAlign = 64;

std::size_t RowPointerBytes(i32 lineCount)
{
    const std::size_t bytes = (std::size_t(lineCount) + 1) * sizeof(Pel*);
    return (bytes + alignof(ColumnCache) - 1) / alignof(ColumnCache) * alignof(ColumnCache);
}

ColumnCache& CacheOf(const ScanlineControl& ctl)
{
    return *reinterpret_cast<ColumnCache*>(reinterpret_cast<char*>(ctl.rowPointers) +
                                           RowPointerBytes(ctl.lineCount));
}

void* LayoutOf(ColumnCache& cache)
{
    const auto at = reinterpret_cast<std::uintptr_t>(&cache + 1);
    return reinterpret_cast<void*>((at + kLayoutAlign - 1) / kLayoutAlign * kLayoutAlign);
}

// Room for the row pointers, the cache record and the layout of a whole row.
const Pel** AllocateRowPointers(i32 lineCount, i32 outWidth, i32 inWidth)
{
    const Kernels::ScaleSet& set = Kernels::Active(Kernels::kScaleSets);
    const std::size_t layout = set.columnBytes ? set.columnBytes(outWidth, inWidth) : 0;
    const std::size_t head = RowPointerBytes(lineCount) + sizeof(ColumnCache);
    void* block = layout ? std::calloc(1, head + kLayoutAlign + layout) : nullptr;
    const bool roomy = block != nullptr;
    if (!block)
        block = std::calloc(1, head);
    if (!block)
        return nullptr;
    new (static_cast<char*>(block) + RowPointerBytes(lineCount))
        ColumnCache{roomy ? layout : 0, nullptr, 0, 0, 0, false};
    return static_cast<const Pel**>(block);
}

void* PreparedColumns(const ScanlineControl& ctl, const Kernels::ScaleSet& set,
                      const Kernels::ScaleRowJob& job)
{
    ColumnCache& cache = CacheOf(ctl);
    if (!set.prepareColumns || set.columnBytes(job.count, ctl.scale->inWidth) > cache.capacity)
        return nullptr;
    const tagScaleIP_SCALE& scale = *ctl.scale;
    if (!cache.ready || cache.horizontal != job.horizontal || cache.runWidth != job.count ||
        cache.inWidth != scale.inWidth || cache.outWidth != scale.outWidth) {
        set.prepareColumns(LayoutOf(cache), job);
        cache.horizontal = job.horizontal;
        cache.runWidth = job.count;
        cache.inWidth = scale.inWidth;
        cache.outWidth = scale.outWidth;
        cache.ready = true;
    }
    return LayoutOf(cache);
}

void ProduceRow(Pel* dst, const ScanlineControl& ctl, const tagScaleList& vEntry)
{
    const tagScaleIP_SCALE& scale = *ctl.scale;
    Kernels::ScaleRowJob job{ctl.rowPointers,
                             &vEntry,
                             scale.vertical[0].ratio,
                             scale.horizontal + ctl.firstColumn + 1,
                             scale.horizontal[0].ratio,
                             ctl.runWidth,
                             nullptr};
    const Kernels::ScaleSet& set = Kernels::Active(Kernels::kScaleSets);
    job.columns = PreparedColumns(ctl, set, job);
    set.produceRow(dst, job);
}

// Zero-copy intake: the caller wrote the newest line into the ring already.
bool TakeRingLine(ScanlineControl& ctl, const tagScaleList& v)
{
    if (ctl.held + 1 < v.count + (v.lastWeight != 0 ? 1 : 0) + 1) {
        ctl.needInput = 1;
        ++ctl.held;
        return false;
    }
    for (i32 i = 0; i <= ctl.held; ++i)
        ctl.rowPointers[i] = ctl.lines[Wrap(i64(ctl.head) + i, ctl.lineCount)];
    ctl.head = Wrap(i64(ctl.head) + v.advance, ctl.lineCount);
    return true;
}

// Copy intake: lines are kept at ring positions 0.. and the completing line is
// read where it lies.
bool TakeCopiedLine(ScanlineControl& ctl, const Pel* src, const tagScaleList& v)
{
    const i32 c = v.count;
    if (ctl.held < c + 1 && !(ctl.row + 1 == ctl.height && ctl.held == c)) {
        ctl.needInput = 1;
        Pel* line = ctl.lines[ctl.held];
        if (line != src)
            std::memcpy(line, src, size_t(ctl.lineBytes));
        ++ctl.held;
        return false;
    }
    for (i32 i = 0; i < ctl.held; ++i)
        ctl.rowPointers[i] = ctl.lines[i];
    const i32 at = std::max(ctl.held, 0);
    // Rows past the newest one (the last row of the picture) read the newest.
    for (i32 i = at; i <= std::max(at, c + 1) && i <= ctl.lineCount; ++i)
        ctl.rowPointers[i] = src;
    return true;
}

} // namespace

extern "C" {

ScanlineControl* BeginScaleScanline(int inWidth, int inHeight, int outWidth, int outHeight)
{
    if (inWidth < 1 || inHeight < 1 || outWidth < 1 || outHeight < 1)
        return nullptr;
    // The scaler's memory stays within 2^31 - 1 bytes per part, the limit the
    // pixel allocators keep: a source row, each axis' list, the ring of rows.
    const auto listFits = [](int out) {
        return (size_t(out) + 1) * sizeof(tagScaleList) <= size_t(INT_MAX);
    };
    if (inWidth > INT_MAX / 4 || !listFits(outWidth) || !listFits(outHeight))
        return nullptr;
    auto* ctl = static_cast<ScanlineControl*>(std::calloc(1, sizeof(ScanlineControl)));
    if (!ctl)
        return nullptr;
    ctl->height = outHeight;
    ctl->width = ctl->runWidth = outWidth;
    ctl->scale = static_cast<tagScaleIP_SCALE*>(std::calloc(1, sizeof(tagScaleIP_SCALE)));
    if (!ctl->scale) {
        EndScaleScanline(ctl);
        return nullptr;
    }
    tagScaleIP_SCALE& scale = *ctl->scale;
    scale.inWidth = inWidth;
    scale.inHeight = inHeight;
    scale.outWidth = outWidth;
    scale.outHeight = outHeight;
    scale.horizontal =
        static_cast<tagScaleList*>(std::calloc(size_t(outWidth) + 1, sizeof(tagScaleList)));
    scale.vertical =
        static_cast<tagScaleList*>(std::calloc(size_t(outHeight) + 1, sizeof(tagScaleList)));
    if (!scale.horizontal || !scale.vertical) {
        EndScaleScanline(ctl);
        return nullptr;
    }
    ScaleGenScale(&scale);
    i32 largest = 0;
    for (i64 k = 1; k <= outHeight; ++k)
        largest = std::max(largest, scale.vertical[k].count);
    ctl->lineCount = largest + 2;
    // The ring holds every source row one output row spans: a tall source
    // squeezed into few rows would take gigabytes, so it keeps the same limit.
    const std::uint64_t ringBytes =
        std::uint64_t(ctl->lineCount) * (2 * sizeof(Pel*) + std::uint64_t(inWidth) * 4);
    if (ringBytes > std::uint64_t(INT_MAX)) {
        EndScaleScanline(ctl);
        return nullptr;
    }
    ctl->lines = static_cast<Pel**>(std::calloc(size_t(ctl->lineCount), sizeof(Pel*)));
    ctl->rowPointers = AllocateRowPointers(ctl->lineCount, outWidth, inWidth);
    if (!ctl->lines || !ctl->rowPointers) {
        EndScaleScanline(ctl);
        return nullptr;
    }
    // One block for the whole ring: a tall source squeezed into few rows has
    // millions of short lines, and one allocation each would take seconds.
    Pel* const ring =
        static_cast<Pel*>(std::calloc(size_t(ctl->lineCount) * size_t(inWidth), sizeof(Pel)));
    if (!ring) {
        EndScaleScanline(ctl);
        return nullptr;
    }
    for (i32 i = 0; i < ctl->lineCount; ++i)
        ctl->lines[i] = ring + std::ptrdiff_t(i) * inWidth;
    ctl->lineBytes = inWidth * 4;
    ctl->valid = 1;
    return ctl;
}

int OffsetScaleScanline(ScanlineControl* control, int x, int y, int width)
{
    if (!control || x < 0 || y < 0 || x > control->width || i64(x) + width > control->width ||
        y > control->height)
        return 0;
    control->firstColumn = x;
    control->row = y;
    control->runWidth = width;
    control->held = 0;
    control->head = 0;
    return 1;
}

} // extern "C"

namespace {

// The source pixels that the first k output pixels of an axis move past.
i64 AdvanceSum(const tagScaleList* list, i64 size, i64 k)
{
    i64 sum = 0;
    for (i64 i = 1; i <= std::min(k, size); ++i)
        sum += list[i].advance;
    return sum;
}

} // namespace

extern "C" {

bool ConvertRegionScaleScanline(ScanlineControl* control, LayerRegion* region)
{
    if (!control)
        return false;
    if (!region || !control->scale)
        return true;
    const tagScaleIP_SCALE& s = *control->scale;
    const i64 x = AdvanceSum(s.horizontal, s.outWidth, region->x);
    const i64 y = AdvanceSum(s.vertical, s.outHeight, region->y);
    const i64 right = AdvanceSum(s.horizontal, s.outWidth, i64(region->x) + region->width);
    const i64 bottom = AdvanceSum(s.vertical, s.outHeight, i64(region->y) + region->height);
    region->x = i32(x);
    region->y = i32(y);
    region->width = i32(right - x + 1);
    region->height = i32(bottom - y + 1);
    return true;
}

Pel* GetBufferScaleScanline(ScanlineControl* control)
{
    if (!control || !control->valid)
        return nullptr;
    return control->lines[NextLine(*control)];
}

int ScaleScanline(Pel* dst, const Pel* src, ScanlineControl* control)
{
    if (!dst || !control || !control->valid)
        return 0;
    ScanlineControl& ctl = *control;
    ctl.outputReady = 0;
    ctl.needInput = 0;
    if (ctl.row >= ctl.height || ctl.row < 0)
        return 0;
    const tagScaleList& v = ctl.scale->vertical[i64(ctl.row) + 1];
    const bool complete = src ? TakeCopiedLine(ctl, src, v) : TakeRingLine(ctl, v);
    if (!complete)
        return 1;

    ctl.outputReady = 1;
    ctl.held -= v.advance;
    if (ctl.held < 0) {
        ctl.needInput = 1;
        ++ctl.held;
    }
    ++ctl.row;
    if (ctl.row >= ctl.height)
        ctl.needInput = 0;
    ProduceRow(dst, ctl, v);
    return 1;
}

bool EndScaleScanline(ScanlineControl* control)
{
    if (!control)
        return false;
    if (control->lines) {
        std::free(control->lines[0]); // the ring's one block, or null
        std::free(control->lines);
    }
    std::free(control->rowPointers);
    if (control->scale) {
        std::free(control->scale->horizontal);
        std::free(control->scale->vertical);
        std::free(control->scale);
    }
    std::free(control);
    return true;
}

} // extern "C"

// ===========================================================================
// The layer front end
// ===========================================================================

namespace {

using Florist::HoldsRow;
using Florist::RowAt;
using Florist::ScopedAccess;

// Places source row k at its own column of the ring buffer; rows the source
// does not hold become transparent.
void FillLine(Pel* line, i32 lineWidth, const LayerAccess& src, i32 k)
{
    const i32 x = src.region.x;
    if (!HoldsRow(src, k)) {
        GetClearScanline()(line, std::clamp(src.region.width, 0, lineWidth));
        return;
    }
    const i32 at = std::clamp(x, 0, lineWidth);
    if (x > 0)
        GetClearScanline()(line, at);
    const i32 count = std::min(src.region.width, lineWidth - at);
    if (count > 0)
        GetCopyScanline()(line + at, RowAt(src, k), count);
}

// The bytes an access spans, first row to last.
std::pair<std::uintptr_t, std::uintptr_t> BytesOf(const LayerAccess& a)
{
    const auto first = reinterpret_cast<std::uintptr_t>(RowAt(a, a.region.y));
    const auto last = reinterpret_cast<std::uintptr_t>(RowAt(a, a.region.y + a.region.height - 1));
    return {std::min(first, last), std::max(first, last) + std::uintptr_t(a.region.width) * 4};
}

bool Disjoint(const LayerAccess& a, const LayerAccess& b)
{
    const auto x = BytesOf(a), y = BytesOf(b);
    return x.second <= y.first || y.second <= x.first;
}

// Source rows that would fill a whole line buffer from its column 0 are handed
// to the scaler where they lie instead of being copied into the ring: the
// scaler only reads its lines, and a whole line holds nothing of a line before.
// Not where the destination shares memory with the source, whose rows must be
// read as they were when fed. The ring's own buffers are put back however the
// pump ends, as the control frees them with the ring's one block.
class RingFeed {
  public:
    RingFeed(ScanlineControl& ctl, const LayerAccess& dst, const LayerAccess& src)
        : ctl_(ctl), src_(src), ring_(ctl.lines[0]), lineWidth_(ctl.lineBytes / 4),
          borrow_(src.region.x <= 0 && src.region.width >= lineWidth_ && !Florist::IsEmpty(src) &&
                  Disjoint(dst, src))
    {
    }
    ~RingFeed()
    {
        for (i32 i = 0; i < ctl_.lineCount; ++i)
            ctl_.lines[i] = Own(i);
    }
    RingFeed(const RingFeed&) = delete;
    RingFeed& operator=(const RingFeed&) = delete;

    // Source row k into the line that GetBufferScaleScanline names.
    void Line(i32 k)
    {
        const i32 slot = NextLine(ctl_);
        if (borrow_ && HoldsRow(src_, k)) {
            ctl_.lines[slot] = RowAt(src_, k);
            return;
        }
        ctl_.lines[slot] = Own(slot);
        FillLine(ctl_.lines[slot], lineWidth_, src_, k);
    }

  private:
    Pel* Own(i32 slot) const { return ring_ + std::ptrdiff_t(slot) * lineWidth_; }

    ScanlineControl& ctl_;
    const LayerAccess& src_;
    Pel* const ring_;
    const i32 lineWidth_;
    const bool borrow_;
};

// Feeds source rows into the scaler and writes one destination row per
// completed output; true when every row of the destination access is written.
bool PumpRows(ScanlineControl& ctl, const LayerAccess& d, const LayerAccess& src)
{
    const i32 end = d.region.y + d.region.height;
    i32 y = d.region.y;
    i32 k = 0;
    RingFeed feed(ctl, d, src);
    feed.Line(k++);
    ScaleScanline(RowAt(d, y), nullptr, &ctl);
    while (y < end) {
        if (ctl.needInput) {
            feed.Line(k++);
            if (!ctl.outputReady) {
                ScaleScanline(RowAt(d, y), nullptr, &ctl);
                continue;
            }
        }
        if (!ctl.outputReady)
            break; // the scaler has finished short of the access
        if (++y >= end)
            break;
        ScaleScanline(RowAt(d, y), nullptr, &ctl);
    }
    return y >= end;
}

// Scales the source layer's access into the destination's; true when every
// destination row was written.
bool DoSimpleScale(Marrow::StubLayer* dst, Marrow::StubLayer* src, ScanlineControl* ctl,
                   bool update)
{
    ScopedAccess dstAccess, srcAccess;
    if (!dstAccess.Begin(dst))
        return false;
    if (!srcAccess.Begin(src))
        return false;
    const LayerAccess& d = *dstAccess;
    if (Florist::IsEmpty(d)) {
        srcAccess.End();
        if (update)
            dstAccess.Notify();
        return true; // no row to produce
    }
    // The scaler writes runWidth pixels per row: never more than the row holds.
    if (ctl->runWidth > d.region.width)
        return false;

    const bool produced = PumpRows(*ctl, d, *srcAccess);
    srcAccess.End();
    if (produced && update)
        dstAccess.Notify();
    return produced;
}

bool CopyIdentical(Marrow::StubLayer* dst, Marrow::StubLayer* src, const LayerRegion& dstRegion,
                   const LayerRegion& srcRegion, bool update)
{
    const LayerRegion common = IntersectLayerRegions(dstRegion, srcRegion);
    ScopedAccess dstAccess, srcAccess;
    if (!dstAccess.Begin(dst, common))
        return false;
    if (!srcAccess.Begin(src, common))
        Florist::ClearAccessRows(*dstAccess);
    else
        Florist::CopyAccessRows(*dstAccess, *srcAccess);
    srcAccess.End();
    if (update)
        dstAccess.Notify();
    return true;
}

} // namespace

extern "C" bool ResizeLayer(Marrow::StubLayer* dst, Marrow::StubLayer* src, bool update)
{
    LayerRegion dstRegion, srcRegion, dstValid, srcValid;
    if (!GetLayerRegion(dst, &dstRegion) || !GetLayerRegion(src, &srcRegion) ||
        !GetValidLayerRegion(dst, &dstValid) || !GetValidLayerRegion(src, &srcValid))
        return false;
    if (dstValid == srcValid)
        return CopyIdentical(dst, src, dstRegion, srcRegion, update);

    ScanlineControl* ctl =
        BeginScaleScanline(srcRegion.width, srcRegion.height, dstRegion.width, dstRegion.height);
    if (!ctl)
        return false;
    OffsetScaleScanline(ctl, dstValid.x, dstValid.y, dstValid.width);
    LayerRegion needed = dstValid;
    ConvertRegionScaleScanline(ctl, &needed);
    bool done = false;
    {
        Florist::ScopedLayer clipped(CreateClippedLayer(src));
        if (clipped.get() && ClipLayer(clipped.get(), &needed))
            done = DoSimpleScale(dst, clipped.get(), ctl, update);
    }
    EndScaleScanline(ctl);
    return done;
}
