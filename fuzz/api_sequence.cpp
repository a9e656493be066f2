// API-sequence target: each input decodes into a bounded sequence of calls
// over every exported family, on handles and buffers the harness owns. At the
// end of the input everything is released, and every block the library took
// from the harness's allocators or buffers must have been freed exactly once.
//
// The harness stays inside the documented contract: buffers handed to buffer
// operations are sized for their parameters, accesses end in reverse order,
// clipped channels die before their parents, stock layers are written only
// under ids the harness removes again.
#include "FuzzSupport.h"

#include "PixelRoutinesLite.h"
#include "channel.h"
#include "florist.h"
#include "petal.h"
#include "seed.h"
#include "stem.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using Layer = Marrow::StubLayer;
using Bytes = std::vector<std::uint8_t>;

constexpr int kMaxSteps = 32;
constexpr int kMaxLayers = 12;
constexpr int kMaxPels = 1 << 16; // harness buffers stay small
constexpr unsigned kFirstHarnessStockId = 9;
constexpr unsigned kHarnessStockIds = 4;

// --- Allocators that count -----------------------------------------------------
// Every block handed out carries a header counting its frees; a second free of
// one block, or a block never freed, is a finding. One request per input may be
// made to fail, to walk the fallbacks.

struct Accounting {
    long live = 0;
    long requests = 0;
    long failAt = 0; // 0: never
} gAccounts;

bool FailThisRequest()
{
    ++gAccounts.requests;
    return gAccounts.requests == gAccounts.failAt;
}

constexpr std::size_t kHeader = 16;
constexpr std::uint32_t kLiveMark = 0x4C495645u, kDeadMark = 0x44454144u;

u8* CountedBlock(std::size_t bytes, bool zero)
{
    auto* raw =
        static_cast<u8*>(zero ? std::calloc(1, bytes + kHeader) : std::malloc(bytes + kHeader));
    if (raw == nullptr)
        return nullptr;
    std::memcpy(raw, &kLiveMark, 4);
    ++gAccounts.live;
    return raw + kHeader;
}

void CountedFree(u8* block, void*)
{
    if (block == nullptr)
        return;
    u8* raw = block - kHeader;
    std::uint32_t mark;
    std::memcpy(&mark, raw, 4);
    if (mark != kLiveMark)
        Fuzz::Fail("block freed twice or not ours");
    std::memcpy(raw, &kDeadMark, 4);
    --gAccounts.live;
    std::free(raw);
}

u8* BufferHook(i32 size, FreeFunction* outFree, void** outFreeData, bool zero)
{
    if (FailThisRequest() || size < 1)
        return nullptr;
    u8* block = CountedBlock(std::size_t(size), zero);
    if (block != nullptr) {
        *outFree = CountedFree;
        *outFreeData = nullptr;
    }
    return block;
}

u8* AllocHook(i32 size, FreeFunction* outFree, void** outFreeData, void*)
{
    return BufferHook(size, outFree, outFreeData, false);
}

u8* AllocZeroHook(i32 size, FreeFunction* outFree, void** outFreeData, void*)
{
    return BufferHook(size, outFree, outFreeData, true);
}

u8* PelHook(u32 width, u32 height, u32* outRowBytes, FreeFunction* outFree, void** outFreeData,
            bool zero)
{
    const std::uint64_t bytes = std::uint64_t(width) * height * 4;
    if (FailThisRequest() || bytes == 0 || bytes > std::uint64_t(INT_MAX))
        return nullptr;
    u8* block = CountedBlock(std::size_t(bytes), zero);
    if (block != nullptr) {
        *outRowBytes = width * 4;
        *outFree = CountedFree;
        *outFreeData = nullptr;
    }
    return block;
}

u8* PelAllocHook(u32 w, u32 h, u32* rb, FreeFunction* f, void** fd, void*)
{
    return PelHook(w, h, rb, f, fd, false);
}

u8* PelZeroHook(u32 w, u32 h, u32* rb, FreeFunction* f, void** fd, void*)
{
    return PelHook(w, h, rb, f, fd, true);
}

// --- Buffers handed to the library -------------------------------------------

// A pixel buffer of `height` rows of `width` pels with a padded, possibly
// negative pitch; `first` is row 0.
struct PelBuffer {
    Bytes bytes;
    char* first = nullptr;
    int pitch = 0;
    int width = 0;
    int height = 0;
};

PelBuffer MakeBuffer(Fuzz::Input& in, int width, int height)
{
    PelBuffer b;
    b.width = width;
    b.height = height;
    const int rowPels = width + in.Range(0, 3);
    b.pitch = rowPels * 4;
    b.bytes.resize(std::size_t(std::max(rowPels, 1)) * std::size_t(std::max(height, 1)) * 4);
    for (std::size_t i = 0; i < b.bytes.size(); ++i)
        b.bytes[i] = std::uint8_t(i * 37 + in.Byte());
    b.first = reinterpret_cast<char*>(b.bytes.data());
    if (in.Bool() && height > 1) { // bottom-up
        b.first += std::ptrdiff_t(height - 1) * b.pitch;
        b.pitch = -b.pitch;
    }
    return b;
}

int SmallDim(Fuzz::Input& in, int hi = 24)
{
    return in.Range(0, hi);
}

// --- Handles owned by the harness ----------------------------------------------

// A host buffer given to CreateCompatibleLayer, and how often it was freed.
struct HostBlock {
    u8* block; // as allocated
    u8* first; // as handed to the layer
    int frees;
};

void HostFree(u8* block, void* data)
{
    auto* host = static_cast<HostBlock*>(data);
    if (host->first != block)
        Fuzz::Fail("host free called with a foreign block");
    if (++host->frees == 1)
        std::free(host->block);
}

int gUpdateCalls = 0;

bool UpdateTrue(Layer*, const LayerRegion* changed, void*)
{
    if (changed == nullptr)
        Fuzz::Fail("update without a region");
    ++gUpdateCalls;
    return true;
}

bool UpdateFalse(Layer*, const LayerRegion*, void*)
{
    ++gUpdateCalls;
    return false;
}

struct Session {
    explicit Session(Fuzz::Input& input) : in(input) {}

    Fuzz::Input& in;
    std::vector<Layer*> layers; // each entry is one reference we hold
    std::vector<HostBlock*> hostBlocks;
    std::vector<LayerAccess> accesses;
    std::vector<LayerIntersectAccess> intersects;
    std::vector<bool> accessIsIntersect; // open order, across both kinds
    std::vector<Channel*> channels;      // parents before their clipped views
    std::vector<Contour*> contours;
    std::vector<BackgroundScanlineState*> backgrounds;
    bool stockSet[kHarnessStockIds] = {};

    Layer* AnyLayer()
    {
        const std::uint8_t b = in.Byte();
        if (b % 16 == 15)
            return nullptr;
        if (b % 16 == 14)
            return GetStockLayer(in.Range(0, 12)); // read-only uses below
        if (layers.empty())
            return nullptr;
        return layers[b % layers.size()];
    }

    // A layer the harness may write: never a stock layer.
    Layer* OwnLayer()
    {
        const std::uint8_t b = in.Byte();
        if (layers.empty() || b % 16 == 15)
            return nullptr;
        return layers[b % layers.size()];
    }

    void Keep(Layer* layer)
    {
        if (layer == nullptr)
            return;
        if (layers.size() >= kMaxLayers) {
            DeleteLayer(layer);
            return;
        }
        layers.push_back(layer);
    }

    LayerRegion AnyRegion()
    {
        return LayerRegion{in.Coordinate(), in.Coordinate(), in.Size(), in.Size()};
    }

    Channel* AnyChannel()
    {
        if (channels.empty() || in.Byte() % 16 == 15)
            return nullptr;
        return channels[in.Byte() % channels.size()];
    }

    void Step();
    void Finish();

    void MakeLayer();
    void LayerLifetime();
    void Access();
    void Updates();
    void LayerOperation();
    void Stock();
    void Backgrounds();
    void Channels();
    void BufferOperation();
    void Crawl();
    void Roll();
    void RowRoutines();
    void Scaler();
};

void Session::MakeLayer()
{
    switch (in.Range(0, 4)) {
    case 0:
        Keep(CreateLayer(in.Size(), in.Size()));
        break;
    case 1:
        Keep(CreateLayerRaw(in.Size(), in.Size()));
        break;
    case 2: {
        const int w = SmallDim(in), h = SmallDim(in);
        const int padPels = in.Range(0, 2);
        const std::size_t bytes =
            std::max<std::size_t>(std::size_t(w + padPels) * std::size_t(h) * 4, 1);
        auto* block = static_cast<u8*>(std::malloc(bytes));
        if (block == nullptr)
            return;
        std::memset(block, 0x5A, bytes);
        int pitch = (w + padPels) * 4;
        u8* first = block;
        if (in.Bool() && h > 1) { // bottom-up: row 0 is the block's last row
            first += std::ptrdiff_t(h - 1) * pitch;
            pitch = -pitch;
        }
        auto* host = new HostBlock{block, first, 0};
        hostBlocks.push_back(host);
        Layer* layer = CreateCompatibleLayer(first, w, h, pitch, HostFree, host);
        if (layer == nullptr) { // the buffer stays ours
            std::free(block);
            ++host->frees;
        }
        Keep(layer);
        break;
    }
    case 3:
        Keep(in.Bool() ? CreateSimilarLayer(AnyLayer()) : DuplicateLayer(AnyLayer()));
        break;
    default:
        // The 768 x 512 sample picture is slow to work on: rarely.
        if (in.Byte() == 0x5F)
            Keep(CreateFlower());
        break;
    }
}

void Session::LayerLifetime()
{
    switch (in.Range(0, 3)) {
    case 0:
        Keep(AddRefCountLayer(OwnLayer()));
        break;
    case 1:
        if (!layers.empty()) {
            const std::size_t i = in.Byte() % layers.size();
            DeleteLayer(layers[i]);
            layers.erase(layers.begin() + std::ptrdiff_t(i));
        }
        break;
    case 2:
        Keep(CreateClippedLayer(OwnLayer()));
        break;
    default: {
        const LayerRegion clip = AnyRegion();
        ClipLayer(OwnLayer(), in.Bool() ? &clip : nullptr);
        break;
    }
    }
}

// Writes a pattern over exactly the accessed rectangle.
void Scribble(const LayerAccess& a, std::uint8_t value)
{
    for (i32 y = 0; y < a.region.height; ++y)
        std::memset(a.pixels + std::ptrdiff_t(y) * a.rowBytes, value,
                    std::size_t(a.region.width) * 4);
}

void Session::Access()
{
    switch (in.Range(0, 4)) {
    case 0:
    case 1: {
        LayerAccess a{};
        const LayerRegion region = AnyRegion();
        Layer* layer = OwnLayer();
        const bool ok =
            in.Bool() ? BeginAccessLayer(&a, layer) : BeginRegionAccessLayer(&a, layer, &region);
        if (ok) {
            Scribble(a, in.Byte());
            accesses.push_back(a);
            accessIsIntersect.push_back(false);
        }
        break;
    }
    case 2: {
        LayerIntersectAccess a{};
        const LayerRegion region = AnyRegion();
        Layer* first = OwnLayer();
        Layer* second = OwnLayer();
        const bool ok = in.Bool() ? BeginIntersectAccessLayer(&a, first, second)
                                  : BeginRegionIntersectAccessLayer(&a, first, second, &region);
        if (ok) {
            if (a.width != a.first.region.width || a.height != a.second.region.height)
                Fuzz::Fail("intersect access sizes disagree");
            Scribble(a.first, in.Byte());
            Scribble(a.second, in.Byte());
            intersects.push_back(a);
            accessIsIntersect.push_back(true);
        }
        break;
    }
    case 3: {
        // Ends the newest access.
        if (accessIsIntersect.empty())
            break;
        const bool intersect = accessIsIntersect.back();
        accessIsIntersect.pop_back();
        if (intersect) {
            if (!EndIntersectAccessLayer(&intersects.back()))
                Fuzz::Fail("intersect access did not end");
            intersects.pop_back();
        } else {
            if (!EndAccessLayer(&accesses.back()))
                Fuzz::Fail("access did not end");
            accesses.pop_back();
        }
        break;
    }
    default: {
        Layer* layer = AnyLayer();
        i32 w = 0, h = 0;
        LayerRegion r{};
        GetLayerWidthAndHeight(layer, &w, &h);
        GetLayerWidth(layer);
        GetLayerHeight(layer);
        GetLayerRegion(layer, &r);
        GetValidLayerRegion(layer, &r);
        break;
    }
    }
}

void Session::Updates()
{
    const UpdateFunction fn = in.Bool() ? UpdateTrue : UpdateFalse;
    static int data[3];
    void* datum = &data[in.Range(0, 2)];
    const LayerRegion region = AnyRegion();
    switch (in.Range(0, 3)) {
    case 0:
        AttachUpdateFunction(OwnLayer(), fn, datum);
        break;
    case 1:
        DetachUpdateFunction(OwnLayer(), fn, datum);
        break;
    case 2:
        UpdateLayer(OwnLayer(), in.Bool() ? &region : nullptr);
        break;
    default:
        UpdateLayerEx(OwnLayer());
        break;
    }
}

void Session::LayerOperation()
{
    const bool update = in.Bool();
    switch (in.Range(0, 14)) {
    case 0:
        ResizeLayer(OwnLayer(), AnyLayer(), update);
        break;
    case 1:
        BackgroundLayer(OwnLayer(), AnyLayer(), AnyLayer(), update);
        break;
    case 2:
        CenterLayer(OwnLayer(), AnyLayer(), update);
        break;
    case 3:
        HorizontalFlipLayer(OwnLayer(), update);
        break;
    case 4:
        VerticalFlipLayer(OwnLayer(), update);
        break;
    case 5:
        VerticalShiftLayer(OwnLayer(), in.Coordinate(), update);
        break;
    case 6:
        HorizontalShiftLayer(OwnLayer(), in.Coordinate(), update);
        break;
    case 7: {
        Layer* dst = OwnLayer();
        Layer* tile = AnyLayer();
        TileLayer(dst, tile, in.Coordinate(), in.Coordinate(), update);
        break;
    }
    case 8: {
        LayerRegion r{};
        VisibleRegionLayer(AnyLayer(), in.Bool() ? &r : nullptr);
        break;
    }
    case 9:
        InterlaceFrameLayers(OwnLayer(), AnyLayer(), AnyLayer(), update);
        break;
    case 10:
        InterlaceFieldLayers(OwnLayer(), AnyLayer(), AnyLayer(), update);
        break;
    case 11:
        FillLayer(OwnLayer(), in.Pel());
        break;
    case 12:
        // Checks the whole picture on every call: rarely.
        if (in.Byte() == 0x5F && GetFlowerData() == nullptr)
            Fuzz::Fail("no sample picture");
        break;
    default:
        GetDefaultBackground();
        break;
    }
}

void Session::Stock()
{
    const unsigned id = kFirstHarnessStockId + unsigned(in.Range(0, kHarnessStockIds - 1));
    switch (in.Range(0, 2)) {
    case 0:
        ExistsStockLayer(unsigned(in.Range(0, 15)));
        break;
    case 1: {
        Layer* layer = in.Bool() ? OwnLayer() : nullptr;
        SetStockLayer(id, layer);
        stockSet[id - kFirstHarnessStockId] = true;
        break;
    }
    default:
        GetStockLayer(id);
        break;
    }
}

void Session::Backgrounds()
{
    switch (in.Range(0, 4)) {
    case 0: {
        if (backgrounds.size() >= 4)
            break;
        const int width = in.Size();
        BackgroundScanlineState* s = nullptr;
        switch (in.Range(0, 2)) {
        case 0:
            s = BeginBackgroundScanline(width);
            break;
        case 1:
            s = BeginBackgroundScanlineID(width, unsigned(in.Range(0, 12)));
            break;
        default:
            s = BeginBackgroundScanlineLayer(width, AnyLayer());
            break;
        }
        if (s != nullptr) {
            if (s->capacity > kMaxPels) {
                EndBackgroundScanline(s);
                break;
            }
            backgrounds.push_back(s);
        }
        break;
    }
    case 1:
        if (!backgrounds.empty()) {
            BackgroundScanlineState* s = backgrounds[in.Byte() % backgrounds.size()];
            OffsetBackgroundScanline(in.Coordinate(), in.Coordinate(), in.Range(0, s->capacity), s);
            SetTileOffsetBackgroundScanline(in.Coordinate(), in.Coordinate(), s);
        }
        break;
    case 2:
        if (!backgrounds.empty()) {
            BackgroundScanlineState* s = backgrounds[in.Byte() % backgrounds.size()];
            std::vector<Pel> dst(static_cast<std::size_t>(s->capacity)),
                src(static_cast<std::size_t>(s->capacity));
            for (Pel& p : src)
                p = in.Pel();
            BackgroundScanline(dst.data(), in.Bool() ? src.data() : nullptr, s);
        }
        break;
    case 3:
        if (!backgrounds.empty()) {
            BackgroundScanlineState* s = backgrounds[in.Byte() % backgrounds.size()];
            const int cap = s->capacity;
            std::vector<Pel> dstRow(static_cast<std::size_t>(cap)),
                srcRow(static_cast<std::size_t>(cap));
            for (Pel& p : srcRow)
                p = in.Pel();
            const int sx = in.Range(0, cap), sw = in.Range(0, cap - sx);
            const PartialScanline dst{dstRow.data(), 0, cap, in.Range(0, cap)};
            const PartialScanline src{srcRow.data() + sx, sx, sw, in.Range(sx + sw, cap)};
            BackgroundPartialScanline(&dst, in.Bool() ? &src : nullptr, s);
        }
        break;
    default:
        if (!backgrounds.empty()) {
            const std::size_t i = in.Byte() % backgrounds.size();
            EndBackgroundScanline(backgrounds[i]);
            backgrounds.erase(backgrounds.begin() + std::ptrdiff_t(i));
        }
        break;
    }
}

void Session::Channels()
{
    switch (in.Range(0, 10)) {
    case 0:
        if (channels.size() < 8) {
            // Sizes the library refuses, or small ones; never a gigabyte it would take.
            const int w = in.Size(), h = in.Size();
            if (std::int64_t(w) * h > kMaxPels * 64 && std::int64_t(w) * h <= INT_MAX)
                break;
            if (Channel* c = CreateChannel(w, h))
                channels.push_back(c);
        }
        break;
    case 1:
        if (channels.size() < 8)
            if (Channel* c =
                    in.Bool() ? CreateSimilarChannel(AnyChannel()) : CreateSizedChannel(AnyLayer()))
                channels.push_back(c);
        break;
    case 2:
        if (channels.size() < 8)
            if (Channel* c = CreateCompatibleChannel(in.Size(), in.Size(), nullptr))
                channels.push_back(c);
        break;
    case 3:
        if (channels.size() < 8)
            if (Channel* c = CreateClippedChannel(AnyChannel()))
                channels.push_back(c);
        break;
    case 4:
        ClipChannel(AnyChannel(), in.Coordinate(), in.Coordinate(), in.Coordinate(),
                    in.Coordinate());
        break;
    case 5:
        FillChannel(AnyChannel(), int(in.U32()));
        break;
    case 6: {
        Channel* dst = AnyChannel();
        Channel* src = AnyChannel();
        TileChannel(dst, src, in.Coordinate(), in.Coordinate());
        break;
    }
    case 7: {
        Channel* c = AnyChannel();
        Layer* layer = AnyLayer();
        switch (in.Range(0, 4)) {
        case 0:
            GetChannel(c, layer, in.Range(-1, 6));
            break;
        case 1:
            GetBlueChannel(c, layer);
            break;
        case 2:
            GetGreenChannel(c, layer);
            break;
        case 3:
            GetRedChannel(c, layer);
            break;
        default:
            GetAlphaChannel(c, layer);
            break;
        }
        break;
    }
    case 8:
        if (contours.size() < 4)
            if (Contour* c = CreateContourFromChannel(AnyChannel(), in.Range(-1, 256)))
                contours.push_back(c);
        break;
    case 9: {
        if (contours.size() >= 4)
            break;
        const int w = SmallDim(in), h = SmallDim(in);
        const int pad = in.Range(0, 3);
        Bytes samples(std::size_t(std::max(w + pad, 1)) * std::size_t(std::max(h, 1)));
        for (std::uint8_t& s : samples)
            s = in.Bool() ? 255 : in.Byte();
        const bool bottomUp = in.Bool() && h > 1;
        const int pitch = w + pad;
        const std::uint8_t* first =
            bottomUp ? samples.data() + std::ptrdiff_t(h - 1) * pitch : samples.data();
        if (Contour* c = CreateContourFromChannelAccess(first, w, h, bottomUp ? -pitch : pitch,
                                                        in.Range(-1, 256)))
            contours.push_back(c);
        break;
    }
    default:
        if (!contours.empty()) {
            const std::size_t i = in.Byte() % contours.size();
            int length = -1;
            const int* data = GetContourData(contours[i], &length);
            if (data == nullptr || length < 1 || data[0] < 0)
                Fuzz::Fail("contour without data");
            // Walk the flat buffer: its counts must fit its length.
            long at = 1;
            for (int loop = 0; loop < data[0]; ++loop) {
                if (at >= length)
                    Fuzz::Fail("contour loop count beyond its data");
                at += 1 + 2L * data[at];
            }
            if (at != length)
                Fuzz::Fail("contour length %d, counts cover %ld", length, at);
            if (in.Bool()) {
                DeleteContour(contours[i]);
                contours.erase(contours.begin() + std::ptrdiff_t(i));
            }
        }
        break;
    }
}

void Session::BufferOperation()
{
    const int w = SmallDim(in), h = SmallDim(in, 8);
    PelBuffer d = MakeBuffer(in, w, h), a = MakeBuffer(in, w, h), b = MakeBuffer(in, w, h);
    const bool self = in.Bool(); // a destination may be its own source with the same pitch
    const char* srcA = self ? d.first : a.first;
    const int pitchA = self ? d.pitch : a.pitch;
    const int x = int(in.U32());
    const int weight = in.Range(0, 256); // weights and levels as documented
    switch (in.Range(0, 7)) {
    case 0:
        Blit(d.first, d.pitch, a.first, a.pitch, w, h);
        break;
    case 1:
        BlitColour(d.first, d.pitch, w, h, x);
        break;
    case 2:
        Composit(d.first, d.pitch, srcA, pitchA, b.first, b.pitch, w, h);
        break;
    case 3:
        CompositWithOpacity(d.first, d.pitch, srcA, pitchA, b.first, b.pitch, w, h,
                            in.Range(0, 255), in.Range(0, 255));
        break;
    case 4:
        CrossFade(d.first, d.pitch, srcA, pitchA, b.first, b.pitch, w, h, weight, 256 - weight);
        break;
    case 5:
        ShapedCrossFade(d.first, d.pitch, srcA, pitchA, b.first, b.pitch, w, h, weight,
                        256 - weight);
        break;
    case 6:
        Fade(d.first, d.pitch, srcA, pitchA, w, h, weight);
        break;
    default:
        PreMultAlpha(d.first, d.pitch, srcA, pitchA, w, h);
        break;
    }
}

void Session::Crawl()
{
    const int w = SmallDim(in), h = SmallDim(in, 6);
    // Periods below 1 are refused by the crawl; any period reduces the position
    // into 0..period-1, so the strip holds period + width + 1 pels per row.
    const int period = in.Bool() ? in.Range(-2, 40) : in.Range(1, 40);
    const int stripWidth = std::max(period, 1) + w + 1;
    PelBuffer d = MakeBuffer(in, w, h), s = MakeBuffer(in, stripWidth, h);
    const int position = in.Coordinate();
    const int fraction = in.Bool() ? in.Range(0, 256) : int(in.U32());
    const int leftEdge = in.Coordinate(), leftFade = in.Coordinate();
    const int rightEdge = in.Coordinate(), rightFade = in.Coordinate();
    const char* src = in.Byte() == 0 ? nullptr : s.first;
    int r = 0;
    switch (in.Range(0, 2)) {
    case 0:
        r = CrawlBlit(d.first, d.pitch, src, s.pitch, w, h, position, period, leftEdge, leftFade,
                      rightEdge, rightFade);
        break;
    case 1:
        r = SubpixCrawlBlit(d.first, d.pitch, src, s.pitch, w, h, position, fraction, period,
                            leftEdge, leftFade, rightEdge, rightFade);
        break;
    default:
        r = ShapedSubpixCrawlBlit(d.first, d.pitch, src, s.pitch, w, h, position, fraction, period,
                                  leftEdge, leftFade, rightEdge, rightFade);
        break;
    }
    if (r != 1)
        Fuzz::Fail("crawl returned %d", r);
}

void Session::Roll()
{
    const int w = SmallDim(in), h = SmallDim(in, 12);
    const int period = in.Bool() ? in.Range(-2, 16) : in.Range(1, 16);
    // Sub-line rolls read up to period + 1 lines (a fraction past half a line
    // moves the centre down one); the strip holds period + 2 to be safe.
    const int lines = std::max(period, 1) + 2;
    PelBuffer d = MakeBuffer(in, w, h), s = MakeBuffer(in, w, lines);
    const int startLine = in.Coordinate();
    const int lineStep = in.Range(-3, 3);
    const int fraction = in.Range(0, 255), strength = in.Range(0, 128);
    const int topEnd = in.Range(-4, 16), topWidth = in.Range(-2, 16);
    const int bottomStart = in.Range(-4, 16), bottomWidth = in.Range(-2, 16);
    int r = 0;
    switch (in.Range(0, 3)) {
    case 0:
        r = RollCopyData(d.first, s.first, w, h, d.pitch, s.pitch, startLine, lineStep, period,
                         topEnd, topWidth, bottomStart, bottomWidth);
        break;
    case 1:
        r = RollBlastDataSubPix(d.first, s.first, w, h, d.pitch, s.pitch, startLine, lineStep,
                                fraction, period, strength, topEnd, topWidth, bottomStart,
                                bottomWidth);
        break;
    case 2:
        // This routine's source pitch is four times the byte pitch.
        r = RollBlastDataSubPixNoFilter(d.first, s.first, w, h, d.pitch, s.pitch * 4, startLine,
                                        lineStep, fraction, period, topEnd, topWidth, bottomStart,
                                        bottomWidth);
        break;
    default:
        r = CEE_RollCopyData(nullptr, s.first, w, h, d.pitch, s.pitch, startLine, lineStep, period,
                             topEnd, topWidth, bottomStart, bottomWidth);
        if (r != 0)
            Fuzz::Fail("roll into null returned %d", r);
        return;
    }
    if (r != 1)
        Fuzz::Fail("roll returned %d", r);
}

// Every slot of the scanline table, fetched through its accessor, on distinct
// rows (or the one aliasing each routine allows).
void Session::RowRoutines()
{
    const int count = in.Range(-2, 40);
    const int n = std::max(count, 0) + 1;
    std::vector<Pel> dst(static_cast<std::size_t>(n)), a(static_cast<std::size_t>(n)),
        b(static_cast<std::size_t>(n)), c(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < std::size_t(n); ++i) {
        dst[i] = in.Pel();
        a[i] = in.Pel();
        b[i] = in.Pel();
        c[i] = in.Pel();
    }
    const Pel colour = in.Pel();
    const unsigned char l1 = in.Byte(), l2 = in.Byte(), l3 = in.Byte();
    // Clear, Copy and Move pass count * 4 to the C library: keep it non-negative.
    const int bytesCount = std::max(count, 0);
    Pel* d = dst.data();
    const Pel* top = in.Bool() ? d : a.data(); // dst may be either source where documented
    switch (in.Range(0, 31)) {
    case 0:
        GetClearScanline()(d, bytesCount);
        break;
    case 1:
        GetSetScanline()(d, count, colour);
        break;
    case 2:
        GetCopyScanline()(d, a.data(), bytesCount);
        break;
    case 3:
        GetMoveScanline()(d + (n > 1 ? 1 : 0), d, std::min(bytesCount, n - 1));
        break;
    case 4:
        GetSetAlphaScanline()(d, count, l1);
        break;
    case 5:
        GetSetRedScanline()(d, count, l1);
        break;
    case 6:
        GetSetGreenScanline()(d, count, l1);
        break;
    case 7:
        GetSetBlueScanline()(d, count, l1);
        break;
    case 8:
        GetFadeScanline()(d, count, l1);
        break;
    case 9:
        GetFadeCopyScanline()(d, top, count, l1);
        break;
    case 10:
        GetCompositScanline()(d, top, b.data(), count);
        break;
    case 11:
        GetCompositOnOpaqueScanline()(d, a.data(), b.data(), count);
        break;
    case 12:
        GetCompositOnColourScanline()(d, a.data(), count, colour);
        break;
    case 13:
        GetCompositColourOnScanline()(d, a.data(), count, colour);
        break;
    case 14:
        GetCompositColourOnOpaqueScanline()(d, a.data(), count, colour);
        break;
    case 15:
        GetReverseCompositScanline()(d, a.data(), b.data(), count);
        break;
    case 16:
        GetAddScanline()(d, a.data(), b.data(), count);
        break;
    case 17:
        GetBlendScanline()(d, a.data(), b.data(), count, l1);
        break;
    case 18:
        GetCompositWithTopOpacityScanline()(d, a.data(), b.data(), count, l1);
        break;
    case 19:
        GetCompositWithBottomOpacityScanline()(d, a.data(), b.data(), count, l1);
        break;
    case 20:
        GetCompositWithOpacityScanline()(d, a.data(), b.data(), count, l1, l2);
        break;
    case 21:
        GetCompositThreeScanlines()(d, a.data(), b.data(), c.data(), count);
        break;
    case 22:
        GetCompositThreeScanlinesWithTopOpacity()(d, a.data(), b.data(), c.data(), count, l1);
        break;
    case 23:
        GetCompositThreeScanlinesWithMiddleOpacity()(d, a.data(), b.data(), c.data(), count, l1);
        break;
    case 24:
        GetCompositThreeScanlinesWithBottomOpacity()(d, a.data(), b.data(), c.data(), count, l1);
        break;
    case 25:
        GetCompositThreeScanlinesWithOpacity()(d, a.data(), b.data(), c.data(), count, l1, l2, l3);
        break;
    case 26:
        GetSwapScanline()(d, a.data(), count);
        break;
    case 27:
        GetHorizontalFlipScanline()(d, count);
        break;
    case 28:
        GetMaxScanline()(d, a.data(), b.data(), count);
        break;
    case 29:
        // The platform routines over the buffer table, called directly.
        switch (in.Range(0, 9)) {
        case 0:
            PixelRoutines::ClearScanline(d, count);
            break;
        case 1:
            PixelRoutines::SetScanline(d, count, colour);
            break;
        case 2:
            PixelRoutines::CopyScanline(d, a.data(), count);
            break;
        case 3:
            PixelRoutines::CompositScanline(d, top, b.data(), count);
            break;
        case 4:
            PixelRoutines::FadeScanline(d, count, l1);
            break;
        case 5:
            PixelRoutines::FadeCopyScanline(d, a.data(), count, l1);
            break;
        case 6:
            PixelRoutines::BlendScanline(d, a.data(), b.data(), count, l1);
            break;
        case 7:
            PixelRoutines::CompositWithTopOpacityScanline(d, a.data(), b.data(), count, l1);
            break;
        case 8:
            PixelRoutines::CompositWithBottomOpacityScanline(d, a.data(), b.data(), count, l1);
            break;
        default:
            PixelRoutines::CompositWithOpacityScanline(d, a.data(), b.data(), count, l1, l2);
            break;
        }
        break;
    case 30: {
        // Swap slots for a while: the platform composite, or the portable ones.
        const CompositScanlineRoutine was = GetCompositScanline();
        SetCompositScanline(in.Bool() ? PixelRoutines::CompositScanline : nullptr);
        GetCompositScanline()(d, a.data(), b.data(), count);
        SetCompositScanline(was);
        const FadeScanlineRoutine fadeWas = GetFadeScanline();
        SetFadeScanline(PixelRoutines::FadeScanline);
        GetFadeScanline()(d, count, l1);
        SetFadeScanline(fadeWas);
        break;
    }
    default: {
        // An unselected buffer table leaves rows untouched; restore it after.
        const ScanlineBlitRoutine blit = ScanlineBlit;
        const ScanlineBlitColourRoutine colourSlot = ScanlineBlitColour;
        const ScanlineCompositRoutine composit = ScanlineComposit;
        const ScanlineFadeRoutine fade = ScanlineFade;
        ResetFunctions();
        const std::vector<Pel> before = dst;
        PixelRoutines::CopyScanline(d, a.data(), count);
        PixelRoutines::CompositScanline(d, a.data(), b.data(), count);
        if (dst != before)
            Fuzz::Fail("an unselected table wrote a row");
        SelectCEEFunctions();
        ScanlineBlit = blit;
        ScanlineBlitColour = colourSlot;
        ScanlineComposit = composit;
        ScanlineFade = fade;
        break;
    }
    }
}

void Session::Scaler()
{
    const int inW = in.Range(-1, 24), inH = in.Range(-1, 24);
    const int outW = in.Range(-1, 24), outH = in.Range(-1, 24);
    ScanlineControl* control = BeginScaleScanline(inW, inH, outW, outH);
    if (control == nullptr)
        return;
    if (in.Bool())
        OffsetScaleScanline(control, in.Coordinate(), in.Coordinate(), in.Coordinate());
    LayerRegion region = AnyRegion();
    ConvertRegionScaleScanline(control, &region);
    std::vector<Pel> out(static_cast<std::size_t>(outW)), line(static_cast<std::size_t>(inW));
    const bool zeroCopy = in.Bool();
    // A scaler needs at most every source line once per destination row.
    const long limit = long(inH + 2) * (outH + 2);
    for (long calls = 0; calls < limit && control->row < control->height; ++calls) {
        const Pel* src = nullptr;
        if (zeroCopy) {
            Pel* buffer = GetBufferScaleScanline(control);
            if (buffer == nullptr)
                break;
            std::fill(buffer, buffer + inW, in.Pel());
        } else {
            std::fill(line.begin(), line.end(), in.Pel());
            src = line.data();
        }
        if (ScaleScanline(out.data(), src, control) == 0)
            break;
    }
    if (!EndScaleScanline(control))
        Fuzz::Fail("scaler did not end");
}

void Session::Step()
{
    switch (in.Range(0, 13)) {
    case 0:
        MakeLayer();
        break;
    case 1:
        LayerLifetime();
        break;
    case 2:
        Access();
        break;
    case 3:
        Updates();
        break;
    case 4:
    case 5:
        LayerOperation();
        break;
    case 6:
        Stock();
        break;
    case 7:
        Backgrounds();
        break;
    case 8:
        Channels();
        break;
    case 9:
        BufferOperation();
        break;
    case 10:
        Crawl();
        break;
    case 11:
        Roll();
        break;
    case 12:
        RowRoutines();
        break;
    default:
        Scaler();
        break;
    }
}

void Session::Finish()
{
    while (!accessIsIntersect.empty()) {
        if (accessIsIntersect.back()) {
            if (!EndIntersectAccessLayer(&intersects.back()))
                Fuzz::Fail("intersect access did not end");
            intersects.pop_back();
        } else {
            if (!EndAccessLayer(&accesses.back()))
                Fuzz::Fail("access did not end");
            accesses.pop_back();
        }
        accessIsIntersect.pop_back();
    }
    for (BackgroundScanlineState* s : backgrounds)
        EndBackgroundScanline(s);
    for (Contour* c : contours)
        DeleteContour(c);
    // Clipped channels were made after their parents: delete newest first.
    for (auto it = channels.rbegin(); it != channels.rend(); ++it)
        DeleteChannel(*it);
    for (Layer* layer : layers)
        DeleteLayer(layer);
    for (unsigned i = 0; i < kHarnessStockIds; ++i)
        if (stockSet[i])
            SetStockLayer(kFirstHarnessStockId + i, nullptr);
    for (HostBlock* host : hostBlocks) {
        if (host->frees != 1)
            Fuzz::Fail("a host buffer was freed %d times", host->frees);
        delete host;
    }
    if (gAccounts.live != 0)
        Fuzz::Fail("%ld library blocks outlived their layers", gAccounts.live);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool initialised = FlowerInit();
    (void)initialised;
    Fuzz::Input in(data, size);
    gAccounts = Accounting{};
    gAccounts.failAt = in.Byte(); // 0: no failure; else the request that fails
    SetAllocator(AllocHook, nullptr, AllocZeroHook);
    SetPelAllocator(PelAllocHook, nullptr, PelZeroHook, nullptr);
    Session session(in);
    for (int step = 0; step < kMaxSteps && !in.Empty(); ++step)
        session.Step();
    session.Finish();
    // Back to the defaults, so that nothing of this input reaches the next.
    SetAllocator(nullptr, nullptr, nullptr);
    SetPelAllocator(nullptr, nullptr, nullptr, nullptr);
    return 0;
}
