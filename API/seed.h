// The library frame: the rectangle type and the once-only initialisation.
#ifndef FLOWER_SEED_H
#define FLOWER_SEED_H

#include "LayerRegion.h"
#include "local_system.h"

#ifdef __cplusplus
extern "C" {
#endif

// Installs the platform routine set (ThornInit, stem.h) on the first call and
// returns its result; later calls return the same value without running it
// again. Safe to call from several threads at once. Layers and the scanline
// table work before it too, on their portable defaults.
FLOWER_API bool FlowerInit(void);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
