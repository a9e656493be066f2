// AVX512 fade, mix, channel and fill kernels. Only kMixAVX512 is visible outside.
#include "stem/MixKernels.h"

const Kernels::MixSet Kernels::kMixAVX512 = {
    "avx512",
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
