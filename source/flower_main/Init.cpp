// Once-only library initialisation.
#include "seed.h"
#include "stem.h"

// A function-local static gives the once-only guard: concurrent first calls
// wait for one ThornInit, and an exception out of it leaves the guard open
// for the next call to retry.
bool FlowerInit(void)
{
    static const bool thorn = ThornInit();
    return thorn;
}
