// One row, or part of one, handed to a partial scanline routine: its pixels
// and where they sit along the layer's columns.
#ifndef FLOWER_PARTIALSCANLINE_H
#define FLOWER_PARTIALSCANLINE_H

#include "inlinepelops.h"
#include "local_system.h"

// `pels` is the pixel at column `x`; the row holds `width` pixels from there.
// `end` is an exclusive column bound: for a destination row the number of
// columns that may be produced at all, for a source row the column up to which
// the stretch right of the source still takes the background.
typedef struct PartialScanline {
    Pel* pels;
    i32 x;
    i32 width;
    i32 end;
} PartialScanline;

#endif
