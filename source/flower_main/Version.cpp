// The version the loaded library reports, fixed when it was built.
#include "version.h"

const char* GetFlowerVersion(int* major, int* minor, int* patch)
{
    if (major)
        *major = FLOWER_VERSION_MAJOR;
    if (minor)
        *minor = FLOWER_VERSION_MINOR;
    if (patch)
        *patch = FLOWER_VERSION_PATCH;
    return FLOWER_VERSION_STRING;
}
