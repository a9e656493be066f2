// The buffer routine table: its twenty slots, the no-op hooks of the portable
// set, and the functions that empty or fill the table.
#include "PixelRoutinesLite/BufferTable.h"
#include "PixelRoutinesLite.h"

using BufferTable::Unselected;

extern "C" {

void UninitializedFunctionPointer(void) {}

// Every slot starts on the marker. The initialisers are address constants, so
// the compilers emit them as static data: the slots hold the marker before any
// constructor of any library runs.
ScanlineBlitRoutine ScanlineBlit =
    reinterpret_cast<ScanlineBlitRoutine>(&UninitializedFunctionPointer);
ScanlineBlitColourRoutine ScanlineBlitColour =
    reinterpret_cast<ScanlineBlitColourRoutine>(&UninitializedFunctionPointer);
ScanlineCrossFadeRoutine ScanlineCrossFade =
    reinterpret_cast<ScanlineCrossFadeRoutine>(&UninitializedFunctionPointer);
ScanlineCompositRoutine ScanlineComposit =
    reinterpret_cast<ScanlineCompositRoutine>(&UninitializedFunctionPointer);
ScanlineCompositWithOpacityRoutine ScanlineCompositWithOpacity =
    reinterpret_cast<ScanlineCompositWithOpacityRoutine>(&UninitializedFunctionPointer);
ScanlineCrawlGradientBlitRoutine ScanlineCrawlGradientBlit =
    reinterpret_cast<ScanlineCrawlGradientBlitRoutine>(&UninitializedFunctionPointer);
ScanlineFadeRoutine ScanlineFade =
    reinterpret_cast<ScanlineFadeRoutine>(&UninitializedFunctionPointer);
ScanlinePreMultAlphaRoutine ScanlinePreMultAlpha =
    reinterpret_cast<ScanlinePreMultAlphaRoutine>(&UninitializedFunctionPointer);
ScanlineSubpixCrawlBlitRoutine ScanlineSubpixCrawlBlit =
    reinterpret_cast<ScanlineSubpixCrawlBlitRoutine>(&UninitializedFunctionPointer);
ScanlineSubpixCrawlGradientBlitRoutine ScanlineSubpixCrawlGradientBlit =
    reinterpret_cast<ScanlineSubpixCrawlGradientBlitRoutine>(&UninitializedFunctionPointer);
BufferOpHook PreOp = reinterpret_cast<BufferOpHook>(&UninitializedFunctionPointer);
BufferOpHook PostOp = reinterpret_cast<BufferOpHook>(&UninitializedFunctionPointer);
BufferOpHook CheckTimeSlice = reinterpret_cast<BufferOpHook>(&UninitializedFunctionPointer);
ScanlineCrossFadeRoutine ScanlineShapedCrossFade =
    reinterpret_cast<ScanlineCrossFadeRoutine>(&UninitializedFunctionPointer);
ScanlineCrawlGradientBlitRoutine ScanlineShapedCrawlGradientBlit =
    reinterpret_cast<ScanlineCrawlGradientBlitRoutine>(&UninitializedFunctionPointer);
ScanlineSubpixCrawlBlitRoutine ScanlineShapedSubpixCrawlBlit =
    reinterpret_cast<ScanlineSubpixCrawlBlitRoutine>(&UninitializedFunctionPointer);
ScanlineSubpixCrawlGradientBlitRoutine ScanlineShapedSubpixCrawlGradientBlit =
    reinterpret_cast<ScanlineSubpixCrawlGradientBlitRoutine>(&UninitializedFunctionPointer);
RollBlitDataSubPixRoutine RollBlastDataSubPix =
    reinterpret_cast<RollBlitDataSubPixRoutine>(&UninitializedFunctionPointer);
RollBlitDataSubPixNoFilterRoutine RollBlastDataSubPixNoFilter =
    reinterpret_cast<RollBlitDataSubPixNoFilterRoutine>(&UninitializedFunctionPointer);
RollCopyDataRoutine RollCopyData =
    reinterpret_cast<RollCopyDataRoutine>(&UninitializedFunctionPointer);

void CEE_PreOp(tagMMXState*) {}
void CEE_PostOp(tagMMXState*) {}
void CEE_CheckTimeSlice(tagMMXState*) {}

// ScanlineShapedCrawlGradientBlit is left alone here and below: nothing ever
// selects it.
void ResetFunctions(void)
{
    ScanlineBlit = Unselected<ScanlineBlitRoutine>();
    ScanlineBlitColour = Unselected<ScanlineBlitColourRoutine>();
    ScanlineCrossFade = Unselected<ScanlineCrossFadeRoutine>();
    ScanlineComposit = Unselected<ScanlineCompositRoutine>();
    ScanlineCompositWithOpacity = Unselected<ScanlineCompositWithOpacityRoutine>();
    ScanlineCrawlGradientBlit = Unselected<ScanlineCrawlGradientBlitRoutine>();
    ScanlineFade = Unselected<ScanlineFadeRoutine>();
    ScanlinePreMultAlpha = Unselected<ScanlinePreMultAlphaRoutine>();
    ScanlineSubpixCrawlBlit = Unselected<ScanlineSubpixCrawlBlitRoutine>();
    ScanlineSubpixCrawlGradientBlit = Unselected<ScanlineSubpixCrawlGradientBlitRoutine>();
    PreOp = Unselected<BufferOpHook>();
    PostOp = Unselected<BufferOpHook>();
    CheckTimeSlice = Unselected<BufferOpHook>();
    RollBlastDataSubPix = Unselected<RollBlitDataSubPixRoutine>();
    RollBlastDataSubPixNoFilter = Unselected<RollBlitDataSubPixNoFilterRoutine>();
    RollCopyData = Unselected<RollCopyDataRoutine>();
    ScanlineShapedCrossFade = Unselected<ScanlineCrossFadeRoutine>();
    ScanlineShapedSubpixCrawlBlit = Unselected<ScanlineSubpixCrawlBlitRoutine>();
    ScanlineShapedSubpixCrawlGradientBlit = Unselected<ScanlineSubpixCrawlGradientBlitRoutine>();
}

int SelectCEEFunctions(void)
{
    PreOp = CEE_PreOp;
    PostOp = CEE_PostOp;
    CheckTimeSlice = CEE_CheckTimeSlice;
    ScanlineBlit = CEE_ScanlineBlit;
    ScanlineBlitColour = CEE_ScanlineBlitColour;
    ScanlineCrossFade = CEE_ScanlineCrossFade;
    ScanlineComposit = CEE_ScanlineComposit;
    ScanlineCompositWithOpacity = CEE_ScanlineCompositWithOpacity;
    ScanlineCrawlGradientBlit = CEE_ScanlineCrawlGradientBlit;
    ScanlineFade = CEE_ScanlineFade;
    ScanlinePreMultAlpha = CEE_ScanlinePreMultAlpha;
    ScanlineSubpixCrawlBlit = CEE_ScanlineSubpixCrawlBlit;
    ScanlineSubpixCrawlGradientBlit = CEE_ScanlineSubpixCrawlGradientBlit;
    ScanlineShapedCrossFade = CEE_ScanlineShapedCrossFade;
    ScanlineShapedSubpixCrawlBlit = CEE_ScanlineShapedSubpixCrawlBlit;
    ScanlineShapedSubpixCrawlGradientBlit = CEE_ScanlineShapedSubpixCrawlGradientBlit;
    RollBlastDataSubPix = CEE_RollBlitDataSubPix;
    RollBlastDataSubPixNoFilter = CEE_RollBlitDataSubPixNoFilter;
    RollCopyData = CEE_RollCopyData;
    return 1;
}

// There is only the portable set, so the flag has nothing to choose.
int InitCPUSpecificFunctions(int)
{
    return SelectCEEFunctions();
}

} // extern "C"
