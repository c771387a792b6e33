// What a host asks of an effect for one frame of a composition.
//
// The layer starts with the composition: layer time and comp time are one clock, which starts at
// the first frame shown.
#pragma once

#include "hostkit/comp.h"
#include "hostkit/reduction.h"
#include "platform/effect_api/effect_types.h"

namespace zelk {

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
    Reduction downsample;  ///< of the input: 1 for full resolution, 2 for half
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
