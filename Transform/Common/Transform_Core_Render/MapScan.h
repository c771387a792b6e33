// The map scan: a frame whose pixels look at a layer through a lens map and the pins at once.
//
//   frame pixel --FrameMap--> undistorted frame --ScreenPlane--> source position
//
// A pixel's corners go the same way. What they span in the source is the pixel's footprint; the
// part of it that lies inside the picture is the pixel's coverage. So a layer behind a lens is
// resampled once, and its edges are as soft as those of a layer without one.
//
// Space: as PixelSampling.h; the picture reaches half a pixel beyond its outer pixel centres.
// Corners lie between the map's positions: their mean, beyond the frame's border continued. A pixel
// whose position is not finite, or with a corner behind the viewer, is not covered.
#pragma once

#include "Transform/Common/FrameMap.h"
#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/ScreenPlane.h"
#include "host/PluginHost_API.h"

/// The frame and all finite positions, in pixels, not more than `mostPx` beyond the frame;
/// inclusive.
QV_IRect boundsOf(FrameMap const& map, int mostPx);

/// Draws every pixel of `frame`, a float image of four channels as large as the map; what is not
/// covered becomes transparent. Settings: rasters, source rectangle, and the interior function of a
/// filtered quality, which samples single pixels unless they integrate their footprints. Rows go to
/// the team. False without memory: 16 bytes a pixel for corners, and the footprints' pyramid.
bool mapScan(FrameMap const& map, ScreenPlane const& plane, bool integrates,
             RenderSettings& settings, PluginHost_API::RasterInfo const& frame);
