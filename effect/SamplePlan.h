// SamplePlan: at which moments of the host's clock a frame is sampled.
//
//   start = (int)(now + frame length * shutter phase)      phase and angle in frames
//   sample i is taken at (int)(step i) + start             step = angle * frame length / samples
#pragma once

#include <cmath>
#include <cstdint>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/SaturatingCast.h"
#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"

/// The moments of one frame; times in host time units.
struct SamplePlan {
    int samples = 1;      ///< at least 1
    bool blurOn = false;  ///< the samples are merged
    /// Animated values are read at the samples' times; otherwise those of the render's own moment
    /// hold, which start then is.
    bool readsAtTime = false;
    std::int32_t start = 0;  ///< moment of sample 0
    double step = 0;         ///< from one sample to the next

    std::int32_t timeOf(int sample) const {
        return truncatedToInt32(std::trunc(step * sample) + start);
    }
};

/// `motionBlur` is a MotionBlurEntry. In After Effects "Comp Settings" takes the composition's
/// shutter, everywhere else the controls'. Without an angle, or with fewer than 2 samples, one
/// sample still honours the phase.
SamplePlan planSamples(PluginHost_API* host, RenderArguments const& args, std::int32_t motionBlur);
