// Frame rates as the host's integer clock holds them.
#include "hostkit/time_base.h"

#include <fmt/format.h>

#include <cmath>

#include "hostkit/error.h"

namespace zelk {
namespace {

struct BroadcastRate {
    double framesPerSecond;
    TimeBase timeBase;
};

constexpr BroadcastRate kBroadcastRates[] = {
    {23.976, {24000, 1001}},
    {29.97, {30000, 1001}},
};
constexpr double kBroadcastTolerance = 0.001;
constexpr double kMaxRate = 1e6;
constexpr A_long kUnitsPerFrame = 1000;

}  // namespace

TimeBase timeBaseOfRate(double framesPerSecond) {
    for (BroadcastRate const& known : kBroadcastRates)
        if (std::fabs(framesPerSecond - known.framesPerSecond) <= kBroadcastTolerance)
            return known.timeBase;
    // A rate that rounds to no unit a second has no clock either.
    double const scale = std::floor(framesPerSecond * kUnitsPerFrame + 0.5);
    if (!(scale >= 1.0 && framesPerSecond <= kMaxRate))
        throw HostError(
            fmt::format("frame rate \"{}\" cannot be kept, expected a number above 0 and up to {}",
                        framesPerSecond, static_cast<long>(kMaxRate)));
    return {static_cast<A_u_long>(scale), kUnitsPerFrame};
}

}  // namespace zelk
