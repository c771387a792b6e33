// The host's clock. Rates are expressed so that a frame has at least 1000 units, which gives the
// shutter sub-frame times.
#pragma once

#include "platform/effect_api/effect_types.h"

namespace zelk {

/// A frame lasts `step` units of 1 / `scale` seconds.
struct TimeBase {
    A_u_long scale = 24000;
    A_long step = 1000;
};

/// 23.976 is 24000 by 1001, 29.97 is 30000 by 1001 (each within 0.001 of the rate); any other rate
/// r is round(r * 1000) by 1000. Throws HostError for a rate that is not above 0 or is beyond
/// 1000000.
TimeBase timeBaseOfRate(double framesPerSecond);

}  // namespace zelk
