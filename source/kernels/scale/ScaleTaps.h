// The taps of one scale-list entry along its axis and the clamp of a sum,
// shared by the scaler's reference set and its vector sets' schedule.
// Its own internal copy in every file that includes it: the sets built with
// wider instructions must not lend their copy of an inline function to the rest.
#ifndef FLOWER_SOURCE_SCALETAPS_H
#define FLOWER_SOURCE_SCALETAPS_H

#include "florist.h"

namespace {

// The first tap, `middle` whole ones, and a last one when its weight is
// positive.
struct Taps {
    i32 middle;
    bool hasLast;
    double first, last;

    explicit Taps(const tagScaleList& e)
        : middle(e.count != -1 ? e.count : 0), hasLast(e.count != -1 && e.lastWeight > 0),
          first(e.firstWeight), last(e.lastWeight)
    {
    }
    i32 Total() const { return 1 + middle + (hasLast ? 1 : 0); }
};

// A sum's channel value: at least 255 gives 255, below 1 gives 0, else the
// whole part.
inline u32 ClampChannel(double v)
{
    if (v >= 255.0)
        return 255;
    if (v < 1.0)
        return 0;
    return u32(v);
}

} // namespace

#endif
