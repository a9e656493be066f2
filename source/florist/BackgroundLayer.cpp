// Stock backgrounds: the checkerboard, the registry of stock layers, and the
// generator that tiles a background under a picture row by row.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <new>

#include "florist.h"
#include "florist/LayerRows.h"
#include "stem.h"

using Florist::i64;
using Florist::RowAt;
using Florist::ScopedAccess;

// ===========================================================================
// The registry
// ===========================================================================

namespace {

// A type of this file as the mapped value keeps the map's code out of the
// library's exports (a bare layer pointer would give it default visibility).
struct Stock {
    Marrow::StubLayer* layer;
};
typedef std::map<unsigned, Stock> StockMap;

const Pel kLightGrey = 0xFF7C7C7Cu;
const Pel kDarkGrey = 0xFF6C6C6Cu;

// 16 x 16, packed rows; filled before any stock layer is made from it.
Pel checkerboard[16 * 16];

void FillCheckerboard()
{
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            checkerboard[y * 16 + x] = (x < 8) == (y < 8) ? kLightGrey : kDarkGrey;
}

void FillWithColour(Marrow::StubLayer* layer, Pel colour)
{
    ScopedAccess access;
    if (!access.Begin(layer) || Florist::IsEmpty(*access))
        return;
    const SetScanlineRoutine set = GetSetScanline();
    for (i32 i = 0; i < access->region.height; ++i)
        set(RowAt(*access, access->region.y + i), access->region.width, colour);
}

// True when `stored` can take `layer`'s pixels in place: same accessible size
// and row pitch.
bool SameShape(Marrow::StubLayer* stored, Marrow::StubLayer* layer)
{
    ScopedAccess a, b;
    if (!a.Begin(stored) || !b.Begin(layer))
        return false;
    return a->region.width == b->region.width && a->region.height == b->region.height &&
           a->rowBytes == b->rowBytes;
}

void OverwriteInPlace(Marrow::StubLayer* stored, Marrow::StubLayer* layer)
{
    LayerRegion storedRegion, layerRegion;
    if (!GetLayerRegion(stored, &storedRegion) || !GetLayerRegion(layer, &layerRegion))
        return;
    const LayerRegion common = IntersectLayerRegions(storedRegion, layerRegion);
    ScopedAccess dst, src;
    if (!dst.Begin(stored, common))
        return;
    if (!src.Begin(layer, common))
        Florist::ClearAccessRows(*dst);
    else
        Florist::CopyAccessRows(*dst, *src);
    src.End();
    dst.Notify();
}

// Stores a private copy of `layer` under `id`; a null layer removes the id.
void MapBackground(unsigned id, Marrow::StubLayer* layer, StockMap& stock)
{
    const StockMap::iterator found = stock.find(id);
    if (!layer) {
        if (found != stock.end()) {
            DeleteLayer(found->second.layer);
            stock.erase(found);
        }
        return;
    }
    if (found != stock.end() && found->second.layer && SameShape(found->second.layer, layer)) {
        if (found->second.layer != layer)
            OverwriteInPlace(found->second.layer, layer);
        else
            UpdateLayerEx(layer);
        return;
    }
    if (found != stock.end()) {
        DeleteLayer(found->second.layer);
        stock.erase(found);
    }
    Marrow::StubLayer* copy = DuplicateLayer(layer);
    if (!copy)
        return;
    try {
        stock.insert(StockMap::value_type(id, Stock{copy}));
    } catch (...) {
        DeleteLayer(copy);
    }
}

class Globals {
  public:
    Globals();
    virtual ~Globals();
    Globals(const Globals&) = delete;
    Globals& operator=(const Globals&) = delete;

    Marrow::StubLayer* defaultBackground;
    StockMap stock;

  private:
    void MakeHalfSizeCheckerboard();
    void MakeFlatColours();
    void MakeBlackTile();
};

Globals::Globals() : defaultBackground(nullptr)
{
    FillCheckerboard();
    defaultBackground =
        CreateCompatibleLayer(reinterpret_cast<u8*>(checkerboard), 16, 16, 64, nullptr, nullptr);
    try {
        MakeHalfSizeCheckerboard();
        MakeFlatColours();
        MakeBlackTile();
    } catch (...) {
        // A registry short of some ids still serves the checkerboard.
    }
}

Globals::~Globals()
{
    DeleteLayer(defaultBackground);
    defaultBackground = nullptr;
    for (StockMap::value_type& entry : stock)
        DeleteLayer(entry.second.layer);
    stock.clear();
}

void Globals::MakeHalfSizeCheckerboard()
{
    Marrow::StubLayer* small = CreateLayer(8, 8);
    if (small && ResizeLayer(small, defaultBackground, false))
        MapBackground(1, small, stock);
    DeleteLayer(small);
}

void Globals::MakeFlatColours()
{
    static const Pel kColours[] = {0xFF000000u, 0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
    Marrow::StubLayer* work = CreateLayer(256, 1);
    if (!work)
        return;
    unsigned id = 3;
    for (Pel colour : kColours) {
        FillWithColour(work, colour);
        MapBackground(id++, work, stock);
    }
    DeleteLayer(work);
}

void Globals::MakeBlackTile()
{
    Marrow::StubLayer* tile = CreateLayer(16, 16);
    if (!tile)
        return;
    FillWithColour(tile, 0xFF000000u);
    MapBackground(8, tile, stock);
    DeleteLayer(tile);
}

// Built before the sample picture's wrapper (a higher priority number runs
// later) and so destroyed after it; both run before any unprioritised
// initialiser, so no client code can see the registry unbuilt.
Globals g __attribute__((init_priority(65000)));

Marrow::StubLayer* Mapped(unsigned id)
{
    const StockMap::const_iterator found = g.stock.find(id);
    return found != g.stock.end() ? found->second.layer : nullptr;
}

} // namespace

extern "C" {

Marrow::StubLayer* GetDefaultBackground(void)
{
    return g.defaultBackground;
}

Marrow::StubLayer* GetStockLayer(unsigned id)
{
    if (Marrow::StubLayer* layer = Mapped(id))
        return layer;
    if (Marrow::StubLayer* layer = Mapped(0))
        return layer;
    return g.defaultBackground;
}

bool ExistsStockLayer(unsigned id)
{
    try {
        // Enters a missing id with no layer, as a subscript would.
        return g.stock.insert(StockMap::value_type(id, Stock{nullptr})).first->second.layer !=
               nullptr;
    } catch (...) {
        return false;
    }
}

void SetStockLayer(unsigned id, Marrow::StubLayer* layer)
{
    MapBackground(id, layer, g.stock);
}

} // extern "C"

// ===========================================================================
// Background lines
// ===========================================================================

namespace {

Pel* LineOf(BackgroundScanlineState* state)
{
    return reinterpret_cast<Pel*>(state + 1);
}

i32 Modulo(i64 value, i32 n)
{
    i64 m = value % n;
    if (m < 0)
        m += n;
    return i32(m);
}

// Builds `count` pixels of the current row, starting at the tile column of
// `column`: one tile period read with alpha forced opaque, then repeated.
void BuildLine(BackgroundScanlineState* state, i32 count)
{
    const LayerAccess& bg = state->access;
    const i32 w = bg.region.width;
    const i32 h = bg.region.height;
    if (count <= 0 || w <= 0 || h <= 0)
        return;
    const i32 tileRow = Modulo(i64(state->row) + state->tileY, h);
    const i32 tileColumn = Modulo(i64(state->column) + state->tileX, w);
    const Pel* tile = RowAt(bg, bg.region.y + tileRow);
    Pel* line = LineOf(state);
    i32 filled = 0;
    i32 at = tileColumn;
    do {
        line[filled++] = tile[at] | 0xFF000000u;
        if (++at == w)
            at = 0;
    } while (filled < count && at != tileColumn);
    const CopyScanlineRoutine copy = GetCopyScanline();
    while (filled < count) {
        const i32 chunk = std::min(count - filled, w);
        copy(line + filled, line, chunk);
        filled += chunk;
    }
}

void NextRow(BackgroundScanlineState* state)
{
    state->row = i32(u32(state->row) + 1u); // wraps past INT32_MAX, as tileX and tileY do
    state->outputReady = 1;
    state->needInput = 1;
}

BackgroundScanlineState* BeginOver(int width, Marrow::StubLayer* background)
{
    // Like the pixel allocators, refuse blocks past 2^31 - 1 bytes.
    constexpr size_t kMaxWidth =
        (size_t(INT32_MAX) - sizeof(BackgroundScanlineState)) / sizeof(Pel);
    if (width < 1 || size_t(width) > kMaxWidth || !background)
        return nullptr;
    void* block = std::calloc(1, sizeof(BackgroundScanlineState) + size_t(width) * sizeof(Pel));
    if (!block)
        return nullptr;
    auto* state = new (block) BackgroundScanlineState();
    if (!BeginAccessLayer(&state->access, background)) {
        std::free(block);
        return nullptr;
    }
    state->outputReady = state->needInput = 1;
    state->capacity = state->runWidth = width;
    state->row = 0;
    return state;
}

} // namespace

extern "C" {

BackgroundScanlineState* BeginBackgroundScanline(int width)
{
    return BeginOver(width, GetStockLayer(0));
}

BackgroundScanlineState* BeginBackgroundScanlineID(int width, unsigned id)
{
    Marrow::StubLayer* layer = GetStockLayer(id);
    return BeginOver(width, layer ? layer : GetStockLayer(0));
}

BackgroundScanlineState* BeginBackgroundScanlineLayer(int width, Marrow::StubLayer* layer)
{
    return BeginOver(width, layer ? layer : GetStockLayer(0));
}

void OffsetBackgroundScanline(int x, int y, int width, BackgroundScanlineState* state)
{
    if (!state)
        return;
    state->row = y;
    state->column = x;
    state->runWidth = std::min(width != 0 ? width : state->capacity, state->capacity);
}

void SetTileOffsetBackgroundScanline(int x, int y, BackgroundScanlineState* state)
{
    if (!state)
        return;
    // Negated unsigned, so that INT_MIN wraps instead of overflowing.
    state->tileX = i32(u32(0) - u32(x));
    state->tileY = i32(u32(0) - u32(y));
}

void BackgroundScanline(Pel* dst, const Pel* src, BackgroundScanlineState* state)
{
    if (!state || !dst)
        return;
    BuildLine(state, state->runWidth);
    if (state->runWidth > 0)
        GetCompositScanline()(dst, src ? src : dst, LineOf(state), state->runWidth);
    NextRow(state);
}

void BackgroundPartialScanline(const PartialScanline* dst, const PartialScanline* src,
                               BackgroundScanlineState* state)
{
    if (!state || !dst || !dst->pels)
        return;
    const PartialScanline& s = src ? *src : *dst;
    const i32 count = std::min(dst->end, state->runWidth);
    BuildLine(state, count);
    const Pel* line = LineOf(state);
    const i64 end = std::min<i64>(count, i64(dst->x) + dst->width);
    const i64 begin = std::max<i64>(dst->x, 0);
    const i64 sourceEnd = i64(s.x) + s.width;
    auto at = [&](i64 column) { return dst->pels + (column - dst->x); };

    const CopyScanlineRoutine copy = GetCopyScanline();
    i64 from = begin;
    i64 to = std::min<i64>(s.x, end);
    if (to > from)
        copy(at(from), line + from, int(to - from));
    from = std::max<i64>(begin, s.x);
    to = std::min(sourceEnd, end);
    if (to > from && s.pels)
        GetCompositScanline()(at(from), s.pels + (from - s.x), line + from, int(to - from));
    from = std::max(begin, sourceEnd);
    to = std::min<i64>(s.end, end);
    if (to > from)
        copy(at(from), line + from, int(to - from));
    NextRow(state);
}

void EndBackgroundScanline(BackgroundScanlineState* state)
{
    if (!state)
        return;
    EndAccessLayer(&state->access);
    state->~BackgroundScanlineState();
    std::free(state);
}

// ===========================================================================
// Whole layers
// ===========================================================================

void BackgroundLayer(Marrow::StubLayer* dst, Marrow::StubLayer* src, Marrow::StubLayer* background,
                     bool update)
{
    const i32 width = GetLayerWidth(dst);
    if (!dst || width < 1)
        return;
    BackgroundScanlineState* state = BeginBackgroundScanlineLayer(width, background);
    if (!state)
        return;
    {
        ScopedAccess d, s;
        if (d.Begin(dst)) {
            state->row = d->region.y;
            state->column = 0;
            const bool haveSource = s.Begin(src ? src : dst, d->region);
            const ClearScanlineRoutine clear = GetClearScanline();
            const i32 right = d->region.x + d->region.width;
            for (i32 i = 0; i < d->region.height; ++i) {
                const i32 y = d->region.y + i;
                const PartialScanline line = {RowAt(*d, y), d->region.x, d->region.width, right};
                if (haveSource && Florist::HoldsRow(*s, y)) {
                    const PartialScanline covered = {RowAt(*s, y), s->region.x, s->region.width,
                                                     right};
                    BackgroundPartialScanline(&line, &covered, state);
                } else {
                    clear(line.pels, line.width);
                    BackgroundPartialScanline(&line, nullptr, state);
                }
            }
            s.End();
            if (update)
                d.Notify();
        }
    }
    EndBackgroundScanline(state);
}

} // extern "C"
