// Roll data routines (being written).
#include "PixelRoutinesLite/CEE.h"

extern "C" {

int CEE_RollCopyData(char*, const char*, int, int, int, int, int, int, int, int, int, int, int)
{
    return 1;
}
int CEE_RollBlitDataSubPix(char*, const char*, int, int, int, int, int, int, int, int, int, int,
                           int, int, int)
{
    return 1;
}
int CEE_RollBlitDataSubPixNoFilter(char*, const char*, int, int, int, int, int, int, int, int, int,
                                   int, int, int)
{
    return 1;
}

} // extern "C"
