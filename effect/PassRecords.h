// The two records that a pass of the transform engine reads, filled from the pipeline's values.
//
// Spaces: pins as fractions of the frame (pin order), quads in pixels of the image (polygon order:
// upper left, lower left, lower right, upper right), rectangles inclusive.
#pragma once

#include "Transform/Common/RenderRecords.h"
#include "effect/SamplePose.h"
#include "host/PluginHost_API.h"

/// The engine's arguments that hold for every sample: the filter by Quality, a QualityEntry, or the
/// kernel that a binding asks for; all else at rest. `resample` may be null.
CoreRenderArguments coreArguments(int quality, ResampleOptions const* resample);

/// A record for an image of this size, read and written as a whole.
RenderSettings wholeImageSettings(int width, int height);

/// Both rectangles as whole images: the source's and the destination's.
void setRectangles(RenderSettings& settings, PluginHost_API::RasterInfo const& source,
                   PluginHost_API::RasterInfo const& destination);

/// Writes a sample's Reposition, its quads in pixels of the source rectangle, and the alpha
/// channel's place. The rectangles are read, not changed.
void setSample(RenderSettings& settings, CoreRenderArguments const& core, SamplePose const& pose,
               QV_RasterFormat format);

/// Writes a sample's pins.
void setSample(CoreRenderArguments& core, SamplePose const& pose);
