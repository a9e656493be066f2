// Reciprocal table for dividing by an alpha value: x / a == (x * global_adt[a]) >> 16,
// truncating. Entry 0 is 0 so that dividing by a transparent alpha yields 0.
#ifndef FLOWER_ALPHADIVIDE_H
#define FLOWER_ALPHADIVIDE_H

#include "local_system.h"

#ifdef __cplusplus
extern "C" {
#endif

// Entry a is 65536 / a for a >= 1. Constant; safe to read from any thread.
FLOWER_API extern const u32 global_adt[256];

#ifdef __cplusplus
} // extern "C"

inline u32 AlphaDivide(u32 x, u32 alpha)
{
    return (x * global_adt[alpha]) >> 16;
}
#endif

#endif
