// The scanline routine table: one replaceable pointer per row routine.
#include "stem.h"

namespace {

// Constant-initialised: the load-time initialisers of other areas run row
// routines through these slots before any code of ours has run.
struct ScanlineTable {
    ClearScanlineRoutine ClearLine = Stem::ClearScanline;
    SetScanlineRoutine SetLine = Stem::SetScanline;
    CopyScanlineRoutine CopyLine = Stem::CopyScanline;
    MoveScanlineRoutine MoveLine = Stem::MoveScanline;
    SetAlphaScanlineRoutine SetAlphaLine = Stem::SetAlphaScanline;
    SetRedScanlineRoutine SetRedLine = Stem::SetRedScanline;
    SetGreenScanlineRoutine SetGreenLine = Stem::SetGreenScanline;
    SetBlueScanlineRoutine SetBlueLine = Stem::SetBlueScanline;
    FadeScanlineRoutine FadeLine = Stem::FadeScanline;
    FadeCopyScanlineRoutine FadeCopyLine = Stem::FadeCopyScanline;
    CompositScanlineRoutine CompositLine = Stem::CompositScanline;
    CompositOnOpaqueScanlineRoutine CompositOnOpaqueLine = Stem::CompositOnOpaqueScanline;
    CompositOnColourScanlineRoutine CompositOnColourLine = Stem::CompositOnColourScanline;
    CompositColourOnScanlineRoutine CompositColourOnLine = Stem::CompositColourOnScanline;
    CompositColourOnOpaqueScanlineRoutine CompositColourOnOpaqueLine =
        Stem::CompositColourOnOpaqueScanline;
    ReverseCompositScanlineRoutine ReverseCompositLine = Stem::ReverseCompositScanline;
    AddScanlineRoutine AddLine = Stem::AddScanline;
    BlendScanlineRoutine BlendLine = Stem::BlendScanline;
    CompositWithTopOpacityScanlineRoutine CompositWithTopOpacityLine =
        Stem::CompositWithTopOpacityScanline;
    CompositWithBottomOpacityScanlineRoutine CompositWithBottomOpacityLine =
        Stem::CompositWithBottomOpacityScanline;
    CompositWithOpacityScanlineRoutine CompositWithOpacityLine = Stem::CompositWithOpacityScanline;
    CompositThreeScanlinesRoutine CompositThreeLines = Stem::CompositThreeScanlines;
    CompositThreeScanlinesWithTopOpacityRoutine CompositThreeLinesWithTopOpacity =
        Stem::CompositThreeScanlinesWithTopOpacity;
    CompositThreeScanlinesWithMiddleOpacityRoutine CompositThreeLinesWithMiddleOpacity =
        Stem::CompositThreeScanlinesWithMiddleOpacity;
    CompositThreeScanlinesWithBottomOpacityRoutine CompositThreeLinesWithBottomOpacity =
        Stem::CompositThreeScanlinesWithBottomOpacity;
    CompositThreeScanlinesWithOpacityRoutine CompositThreeLinesWithOpacity =
        Stem::CompositThreeScanlinesWithOpacity;
    SwapScanlineRoutine SwapLine = Stem::SwapScanline;
    HorizontalFlipScanlineRoutine HorizontalFlipLine = Stem::HorizontalFlipScanline;
    MaxScanlineRoutine MaxLine = Stem::MaxScanline;
};

constexpr ScanlineTable kDefaultRoutines{};
ScanlineTable routines;

} // namespace

// Get<name> / Set<name> over one slot; the routine type is <name>Routine.
#define FLOWER_SCANLINE_SLOT(name, slot)                                                           \
    name##Routine Get##name(void)                                                                  \
    {                                                                                              \
        return routines.slot;                                                                      \
    }                                                                                              \
    name##Routine Set##name(name##Routine routine)                                                 \
    {                                                                                              \
        routines.slot = routine != nullptr ? routine : kDefaultRoutines.slot;                      \
        return routines.slot;                                                                      \
    }

FLOWER_SCANLINE_SLOT(ClearScanline, ClearLine)
FLOWER_SCANLINE_SLOT(SetScanline, SetLine)
FLOWER_SCANLINE_SLOT(CopyScanline, CopyLine)
FLOWER_SCANLINE_SLOT(MoveScanline, MoveLine)
FLOWER_SCANLINE_SLOT(SetAlphaScanline, SetAlphaLine)
FLOWER_SCANLINE_SLOT(SetRedScanline, SetRedLine)
FLOWER_SCANLINE_SLOT(SetGreenScanline, SetGreenLine)
FLOWER_SCANLINE_SLOT(SetBlueScanline, SetBlueLine)
FLOWER_SCANLINE_SLOT(FadeScanline, FadeLine)
FLOWER_SCANLINE_SLOT(FadeCopyScanline, FadeCopyLine)
FLOWER_SCANLINE_SLOT(CompositScanline, CompositLine)
FLOWER_SCANLINE_SLOT(CompositOnOpaqueScanline, CompositOnOpaqueLine)
FLOWER_SCANLINE_SLOT(CompositOnColourScanline, CompositOnColourLine)
FLOWER_SCANLINE_SLOT(CompositColourOnScanline, CompositColourOnLine)
FLOWER_SCANLINE_SLOT(CompositColourOnOpaqueScanline, CompositColourOnOpaqueLine)
FLOWER_SCANLINE_SLOT(ReverseCompositScanline, ReverseCompositLine)
FLOWER_SCANLINE_SLOT(AddScanline, AddLine)
FLOWER_SCANLINE_SLOT(BlendScanline, BlendLine)
FLOWER_SCANLINE_SLOT(CompositWithTopOpacityScanline, CompositWithTopOpacityLine)
FLOWER_SCANLINE_SLOT(CompositWithBottomOpacityScanline, CompositWithBottomOpacityLine)
FLOWER_SCANLINE_SLOT(CompositWithOpacityScanline, CompositWithOpacityLine)
FLOWER_SCANLINE_SLOT(CompositThreeScanlines, CompositThreeLines)
FLOWER_SCANLINE_SLOT(CompositThreeScanlinesWithTopOpacity, CompositThreeLinesWithTopOpacity)
FLOWER_SCANLINE_SLOT(CompositThreeScanlinesWithMiddleOpacity, CompositThreeLinesWithMiddleOpacity)
FLOWER_SCANLINE_SLOT(CompositThreeScanlinesWithBottomOpacity, CompositThreeLinesWithBottomOpacity)
FLOWER_SCANLINE_SLOT(CompositThreeScanlinesWithOpacity, CompositThreeLinesWithOpacity)
FLOWER_SCANLINE_SLOT(SwapScanline, SwapLine)
FLOWER_SCANLINE_SLOT(HorizontalFlipScanline, HorizontalFlipLine)
FLOWER_SCANLINE_SLOT(MaxScanline, MaxLine)

#undef FLOWER_SCANLINE_SLOT
