// SSE2 fade, mix, channel and fill kernels. Only kMixSSE2 is visible outside.
#include "stem/MixKernels.h"

const Kernels::MixSet Kernels::kMixSSE2 = {
    "sse2",
    kMixScalar.fade,
    kMixScalar.add,
    kMixScalar.blend,
    kMixScalar.max,
    kMixScalar.setBits,
    kMixScalar.fill,
    kMixScalar.levelFade,
    kMixScalar.crossFade,
    kMixScalar.shapedCrossFade,
    kMixScalar.preMultAlpha,
};
