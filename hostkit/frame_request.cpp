// Compositions as a host's integer clock can hold them.
#include "hostkit/frame_request.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "hostkit/error.h"

namespace zelk {
namespace {

/// Frames in units of the clock; HostError when they don't fit.
A_long clockUnits(std::int64_t frames, TimeBase const& timeBase) {
    std::int64_t const units = frames * timeBase.step;
    if (units < std::numeric_limits<A_long>::min() || units > std::numeric_limits<A_long>::max())
        throw HostError(
            fmt::format("{} frames of {} / {} seconds are beyond the host's clock, "
                        "expected at most {}",
                        frames, timeBase.step, timeBase.scale,
                        std::numeric_limits<A_long>::max() / timeBase.step));
    return static_cast<A_long>(units);
}

}  // namespace

void requireSound(Comp const& comp) {
    auto const require = [](bool holds, char const* what) {
        if (!holds) throw HostError(std::string("a composition needs ") + what);
    };
    require(comp.width >= 1 && comp.height >= 1, "a width and a height of at least 1 pixel");
    require(std::isfinite(comp.pixelAspect) && comp.pixelAspect > 0, "a pixel aspect above 0");
    require(comp.timeBase.scale >= 1 && comp.timeBase.step >= 1,
            "a clock with a scale and a step of at least 1");
    require(comp.durationFrames >= 1, "a duration of at least 1 frame");
    require(std::isfinite(comp.shutterAngleDeg) && std::isfinite(comp.shutterPhaseDeg),
            "numbers as shutter angle and phase");
    clockUnits(comp.durationFrames, comp.timeBase);
}

FrameRequest frameRequest(Comp const& comp, int frameNumber) {
    requireSound(comp);
    FrameRequest frame;
    frame.timeBase = comp.timeBase;
    frame.time = clockUnits(std::int64_t{frameNumber} - comp.startFrame, comp.timeBase);
    frame.totalTime = clockUnits(comp.durationFrames, comp.timeBase);
    frame.pixelAspect = comp.pixelAspect;
    if (comp.motionBlur) frame.shutter = {comp.shutterAngleDeg, comp.shutterPhaseDeg};
    return frame;
}

}  // namespace zelk
