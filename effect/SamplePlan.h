// SamplePlan: at which moments of the host's clock a frame is sampled.
#pragma once

#include <cstdint>

#include "host/PluginHost_API.h"

/// The moments of one frame; times in host time units.
struct SamplePlan {
    int samples = 1;         ///< at least 1
    bool blurOn = false;     ///< the samples are merged, and values are read at each one's time
    std::int32_t start = 0;  ///< moment of sample 0
    double step = 0;         ///< from one sample to the next
};

/// One sample at the host's current time.
inline SamplePlan planSamples(PluginHost_API* host) {
    SamplePlan plan;
    plan.start = host->getCurrentTime();
    return plan;
}
