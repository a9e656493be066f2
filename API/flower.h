// Everything the library exports, for C and C++ hosts alike:
//
//   #include <flower.h>     (with -I<prefix>/include/flower, as pkg-config says)
//
// Call FlowerInit() once before the first pixel routine.
#ifndef FLOWER_FLOWER_H
#define FLOWER_FLOWER_H

#include "local_system.h"
#include "version.h"
#include "seed.h"
#include "LayerRegion.h"
#include "AlphaDivide.h"
#include "inlinepelops.h"
#include "PartialScanline.h"
#include "petal.h"
#include "stem.h"
#include "PixelRoutinesLite.h"
#include "florist.h"
#include "channel.h"

#endif
