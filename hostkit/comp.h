// A composition in plain data: its clock and shutter, the depth of its pixels, and how keys are
// joined. Programs include it for a scene (zelk/scene/scene.h).
//
// Lengths in pixels of the composition, angles in degrees, y down.
#pragma once

#include <cstdint>

namespace zelk {

/// The clock: a frame lasts `step` units of 1 / `scale` seconds. Both are at least 1; a step of
/// 1000 or more gives the shutter its moments within a frame.
struct TimeBase {
    std::uint32_t scale = 24000;
    std::int32_t step = 1000;
};

/// A composition. Its shutter works only with motion blur on.
struct Comp {
    int width = 1920;
    int height = 1080;
    double pixelAspect = 1.0;  ///< width over height
    TimeBase timeBase;
    int startFrame = 0;  ///< number of the first frame shown, which lies at time 0
    int durationFrames = 1;
    bool motionBlur = false;
    double shutterAngleDeg = 180;  ///< 360 is a whole frame
    double shutterPhaseDeg = -90;  ///< where the shutter opens, from the frame's time
};

/// Of a channel: 8 bits up to 255, 16 bits up to 32768, or float with white at 1.
enum class Depth { k8, k16, kFloat };

/// How a value goes on from a key to the next.
enum class Interpolation { kHold, kLinear, kBezier };

/// One handle of a bezier interpolation.
struct Ease {
    double influencePercent = 100.0 / 3;  ///< 0.1 to 100, of the interval between the two keys
    /// Value units a second at the key. For several numbers: units of distance a second along the
    /// segment (pixels for a point), and never beyond the segment's ends.
    double speed = 0;
    bool operator==(Ease const&) const = default;
};

}  // namespace zelk
