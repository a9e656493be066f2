// A minimal host: links the installed library and uses its C interface.
#include <cstdio>

#include "LayerRegion.h"
#include "inlinepelops.h"

int main()
{
    const LayerRegion a = {5, 5, 10, 10};
    const LayerRegion b = {0, 0, 8, 20};
    const LayerRegion c = IntersectLayerRegions(a, b);
    if (c.x != 5 || c.y != 5 || c.width != 3 || c.height != 10 || global_adt[255] != 257) {
        std::puts("unexpected result from libflower");
        return 1;
    }
    return 0;
}
