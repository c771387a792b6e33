// The blurs by run-time pixel format: one entry, and one thin wrapper for each format, each in a
// translation unit of its own that names types and computes nothing.
#pragma once

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "host/PluginHost_API.h"

/// Blurs `raster` in place, as `kind` says; ProgressiveBlur.h has the kinds and the arguments. The
/// format is that of the host's output raster, and `raster` is taken to have it.
///
/// @param extended the raster is ARGB32, whatever the output is
/// @return 0; 1 for a format without instance; or why memory was refused: the host's code, or 1
int CommonRender_progressiveBlur(PluginHost_API* host, QV_Line2D& line, float radius, float aspect,
                                 float fadeStart, float fadeLength, int curve,
                                 PluginHost_API::RasterInfo* raster, bool alphaPlane, int kind,
                                 bool extended);

#define ZELK_BLUR_WRAPPER(NAME)                                                                    \
    int CommonRender_##NAME##_progressiveBlur(PluginHost_API* host, QV_Line2D& line, float radius, \
                                              float aspect, float fadeStart, float fadeLength,     \
                                              int curve, PluginHost_API::RasterInfo* raster,       \
                                              bool alphaPlane, int kind)

/// The named blurs of a format that the wrapper does not reach by itself.
#define ZELK_BLUR_FAMILY(P)                                                                        \
    template void LineTentBlurPass_RGBA<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(             \
        P::Channel*, P::Channel*, int, int);                                                       \
    template void TentBlurPass_RGBA<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(                 \
        PluginHost_API*, QV_RasterInfo&, QV_RasterInfo&, int, bool, bool, int);                    \
    template void TentBlurPass_A<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(                    \
        PluginHost_API*, QV_RasterInfo&, QV_RasterInfo&, int, bool, bool, int);                    \
    template int Internal_BlurFilter_RGBA<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(           \
        PluginHost_API*, QV_RasterInfo&, double, double, bool, int, bool);                         \
    template int gauss1_RGBA<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(PluginHost_API*,        \
                                                                           P::Channel*, int, int); \
    template int gauss1_A<P, P::Channel, P::Wide, P::Weight, P::FORMAT>(PluginHost_API*,           \
                                                                        P::Channel*, int, int);

#define ZELK_DECLARE(NAME, ...) ZELK_BLUR_WRAPPER(NAME);
ZELK_PIXEL_FORMATS(ZELK_DECLARE)
#undef ZELK_DECLARE
