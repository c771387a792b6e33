// Clocks of rates. A frame has at least 1000 units, which gives the shutter sub-frame times.
#pragma once

#include "hostkit/comp.h"

namespace zelk {

/// 23.976 is 24000 by 1001, 29.97 is 30000 by 1001 (each within 0.001 of the rate); any other rate
/// r is round(r * 1000) by 1000. Throws HostError for a rate that is not above 0 or is beyond
/// 1000000.
TimeBase timeBaseOfRate(double framesPerSecond);

}  // namespace zelk
