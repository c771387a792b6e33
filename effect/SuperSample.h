// Super Sample: how much a shrunk picture is softened before it is resampled, and after.
//
// Space: To Pins as fractions of the layer, lengths and reciprocals of them:
//
//   top = |upper left, upper right| k        k = 1 / Softness
//   1 / top > 1 where the edge is shorter than the layer's; the rows there are blurred by half of
//   it
//
// Rows are blurred by a radius that runs from the upper edge's to the lower edge's, columns from
// the left edge's to the right edge's.
#pragma once

#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"

/// Two radii in pixels, from the first row or column to the last; 0 where nothing is blurred.
struct RampedRadius {
    double first = 0, last = 0;
    bool isVisible() const { return first >= 1e-05 || last >= 1e-05; }
};

struct SuperSamplePlan {
    RampedRadius rows, columns;
    int fadeExtent = 0;       ///< pixels from the border, at least 2; 0 for no fade
    bool softensEnd = false;  ///< the finished frame is blurred too
    double endRadius = 0;     ///< by this
};

/// What the plan depends on. Layer and frame, pixels, are the same but on hosts where a frame has a
/// size of its own.
struct SuperSampleScene {
    int layerWidth, layerHeight;
    int frameWidth, frameHeight;
    double scale;  ///< the lesser downsample factor
};

SuperSamplePlan planSuperSample(RenderArguments const& args, SuperSampleScene const& scene);

/// Blurs `source`, a copy of the layer, as planned. 0, or why memory was refused.
int blurSource(PluginHost_API* host, SuperSamplePlan const& plan,
               PluginHost_API::RasterInfo& source);

/// Blurs the finished frame as planned. 0, or why memory was refused.
int blurEnd(PluginHost_API* host, SuperSamplePlan const& plan, PluginHost_API::RasterInfo& out);
