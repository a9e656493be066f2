// Portable buffer row routines (being written).
#include "PixelRoutinesLite/CEE.h"

extern "C" {

int CEE_ScanlineBlit(char*, const char*, int) { return 1; }
int CEE_ScanlineBlitColour(char*, int, int) { return 1; }
int CEE_ScanlineCrossFade(char*, const char*, const char*, int, int, int) { return 1; }
int CEE_ScanlineShapedCrossFade(char*, const char*, const char*, int, int, int) { return 1; }
int CEE_ScanlineComposit(char*, const char*, const char*, int) { return 1; }
int CEE_ScanlineCompositWithOpacity(char*, const char*, const char*, int, int, int) { return 1; }
int CEE_ScanlineFade(char*, const char*, int, int) { return 1; }
int CEE_ScanlinePreMultAlpha(char*, const char*, int) { return 1; }

} // extern "C"
