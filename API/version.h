// The library's version, for the compiler and at run time. These numbers are
// the only place the version is set: the build reads them for the SONAME, the
// CMake package version and the pkg-config file.
#ifndef FLOWER_VERSION_H
#define FLOWER_VERSION_H

#include "local_system.h"

#define FLOWER_VERSION_MAJOR 1
#define FLOWER_VERSION_MINOR 1
#define FLOWER_VERSION_PATCH 0
#define FLOWER_VERSION_STRING "1.1.0"

#ifdef __cplusplus
extern "C" {
#endif

// The version of the library actually loaded, which may be newer than the
// headers a host was built with: stores the three numbers through whichever
// pointers are not null and returns "MAJOR.MINOR.PATCH" (static storage).
FLOWER_API const char* GetFlowerVersion(int* major, int* minor, int* patch);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
