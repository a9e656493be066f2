// The scanline routine table: one replaceable pointer per row routine.
#include "stem.h"

// Every slot, by the name of its Stem default; the routine type is <name>Routine.
#define FLOWER_SCANLINE_SLOTS(X)                                                                   \
    X(ClearScanline)                                                                               \
    X(SetScanline)                                                                                 \
    X(CopyScanline)                                                                                \
    X(MoveScanline)                                                                                \
    X(SetAlphaScanline)                                                                            \
    X(SetRedScanline)                                                                              \
    X(SetGreenScanline)                                                                            \
    X(SetBlueScanline)                                                                             \
    X(FadeScanline)                                                                                \
    X(FadeCopyScanline)                                                                            \
    X(CompositScanline)                                                                            \
    X(CompositOnOpaqueScanline)                                                                    \
    X(CompositOnColourScanline)                                                                    \
    X(CompositColourOnScanline)                                                                    \
    X(CompositColourOnOpaqueScanline)                                                              \
    X(ReverseCompositScanline)                                                                     \
    X(AddScanline)                                                                                 \
    X(BlendScanline)                                                                               \
    X(CompositWithTopOpacityScanline)                                                              \
    X(CompositWithBottomOpacityScanline)                                                           \
    X(CompositWithOpacityScanline)                                                                 \
    X(CompositThreeScanlines)                                                                      \
    X(CompositThreeScanlinesWithTopOpacity)                                                        \
    X(CompositThreeScanlinesWithMiddleOpacity)                                                     \
    X(CompositThreeScanlinesWithBottomOpacity)                                                     \
    X(CompositThreeScanlinesWithOpacity)                                                           \
    X(SwapScanline)                                                                                \
    X(HorizontalFlipScanline)                                                                      \
    X(MaxScanline)

namespace {

// Constant-initialised: the load-time initialisers of other areas run row
// routines through these slots before any code of ours has run.
struct ScanlineTable {
#define FLOWER_SCANLINE_MEMBER(name) name##Routine name = Stem::name;
    FLOWER_SCANLINE_SLOTS(FLOWER_SCANLINE_MEMBER)
#undef FLOWER_SCANLINE_MEMBER
};

constexpr ScanlineTable kDefaultRoutines{};
ScanlineTable routines;

} // namespace

// Get<name> / Set<name> over one slot; null restores the default.
#define FLOWER_SCANLINE_ACCESSORS(name)                                                            \
    name##Routine Get##name(void)                                                                  \
    {                                                                                              \
        return routines.name;                                                                      \
    }                                                                                              \
    name##Routine Set##name(name##Routine routine)                                                 \
    {                                                                                              \
        routines.name = routine != nullptr ? routine : kDefaultRoutines.name;                      \
        return routines.name;                                                                      \
    }

FLOWER_SCANLINE_SLOTS(FLOWER_SCANLINE_ACCESSORS)

#undef FLOWER_SCANLINE_ACCESSORS
#undef FLOWER_SCANLINE_SLOTS
