// The engine by run-time pixel format: one entry, and one thin wrapper for each format, each in a
// translation unit of its own that names types and computes nothing.
#pragma once

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/RenderRecords.h"
#include "host/PluginHost_API.h"

/// Paints `src`, mapped by `core`, into `dst`. The format is that of the host's output raster, and
/// both rasters are taken to have it.
///
/// @param clearOutput   zero every byte of the destination's pixels first
/// @param singleChannel the rasters are planes of one value a pixel
/// @param settings      rectangles and Reposition, rewritten by the call; null stands for the whole
///                      rasters and no Reposition
/// @param edgeCoverage  single channel only: soften edges by their coverage
/// @param fillMode      write white into the alpha channel (single channel: every value) instead of
///                      sampling the source
/// @return 0, also when the pins are unusable and nothing is drawn; 1 for a format without instance
int CommonRender_CoreTransformRender(PluginHost_API* host, CoreRenderArguments& core,
                                     PluginHost_API::RasterInfo const& src,
                                     PluginHost_API::RasterInfo const& dst, bool clearOutput,
                                     bool singleChannel, RenderSettings* settings,
                                     bool edgeCoverage, bool fillMode);

#define ZELK_CORE_WRAPPER(NAME)                                                                 \
    int CommonRender_##NAME##_CoreTransformRender(                                              \
        PluginHost_API* host, CoreRenderArguments& core, PluginHost_API::RasterInfo const& src, \
        PluginHost_API::RasterInfo const& dst, bool clearOutput, bool singleChannel,            \
        RenderSettings* settings, bool edgeCoverage, bool fillMode)

#define ZELK_DECLARE(NAME, ...) ZELK_CORE_WRAPPER(NAME);
ZELK_PIXEL_FORMATS(ZELK_DECLARE)
#undef ZELK_DECLARE
