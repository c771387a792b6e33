// The composition that holds the layer, its camera, and the frames that it asks for.
//
// The layer starts with the composition: layer time and comp time are one clock, which starts at
// the first frame shown. Lengths in pixels of the composition, angles in degrees.
#pragma once

#include "hostkit/time_base.h"
#include "platform/effect_api/aegp_suites.h"

namespace zelk {

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

/// The camera that looks at the layer, the same at all times.
struct Camera {
    QV_Matrix4 matrix{};
    double planeDistance = 0;  ///< to the image plane
    A_short planeWidth = 0;    ///< of the image plane
    A_short planeHeight = 0;
    double zoom = 0;
};

/// The shutter of a frame. Off (angle 0, phase 0) unless motion blur is on.
struct Shutter {
    double angleDeg = 0;
    double phaseDeg = 0;
};

/// The frame that a render is asked for.
struct FrameRequest {
    TimeBase timeBase;
    A_long time = 0;       ///< host time units
    A_long totalTime = 0;  ///< length of the layer; 0 stands for one frame
    int downsample = 1;    ///< 1 for full resolution, 2 for half
    int layerWidth = 0;    ///< at full resolution; 0 stands for the input's times downsample
    int layerHeight = 0;
    double pixelAspect = 1.0;  ///< width over height
    PF_Field field = PF_Field_FRAME;
    PF_Quality quality = PF_Quality_HI;
    Shutter shutter;
};

/// Throws HostError for a composition without area, length, pixel aspect or clock, with numbers
/// that are not finite, or longer than the clock's 32 bits reach.
void requireSound(Comp const& comp);

/// The request for the frame of that number, which may lie outside the composition's duration:
/// time, total time, clock, pixel aspect and, with motion blur on, the shutter. HostError as
/// requireSound, and for a frame that the clock's 32 bits do not reach.
FrameRequest frameRequest(Comp const& comp, int frameNumber);

}  // namespace zelk
