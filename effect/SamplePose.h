// SamplePose: the values of the controls that can move from one temporal sample to the next, and
// what happens to the pins before the matrix is built from them.
//
// Space: fractions of the frame, y down, (0, 0) the upper left corner. Corner order of every array:
// upper left, lower left, upper right, lower right (pin order).
#pragma once

#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"

struct SamplePose {
    QV_UnitPoint from[4], to[4];
    QV_UnitPoint fromOffsets[4], toOffsets[4];  ///< hundredths of the frame
    double translateX, translateY;              ///< Reposition: percent of the unit square
    double scaleX, scaleY;                      ///< ratios
    double rotate;                              ///< degrees

    Reposition reposition() const { return {translateX, translateY, scaleX, scaleY, rotate}; }
};

/// The values of the render's own moment.
SamplePose samplePose(RenderArguments const& args);

/// The values of a host time, from the host. 0, or the first code that the host answered.
int samplePoseAt(PluginHost_API* host, std::int32_t time, SamplePose& pose);

/// Moves each pin by its offset: 100 is one frame width or height.
void addOffsets(SamplePose& pose);

/// How a frame lies inside a larger image; pixels.
struct GrownFrame {
    int frameWidth, frameHeight;
    int marginX, marginY;  ///< of the frame's upper left corner
    int width, height;     ///< of the image
};

/// Turns pins that are fractions of the frame into fractions of the image around it.
void remapToGrownFrame(SamplePose& pose, GrownFrame const& grown);
