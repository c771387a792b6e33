// A blur along rows (or columns) whose radius runs straight from the first line to the last.
//
// Line i of c lines has the radius (1 - t) radiusFirst + t radiusLast pixels, t = i / (c - 1), in
// double; a fractional radius mixes the two whole ones. Lines with radii up to 1e-5 stay.
// Lines run in parallel, each thread over scratch lines of its own.
#pragma once

#include "Transform/Common/Shadow_BlurPass_RenderFunc/ChannelPlane.h"

/// Blurs the lines of `raster` in place, all four channels; `columns` takes columns, blurred
/// vertically, in place of rows, blurred horizontally. An image of one line has the first radius.
/// The result is 0, or why there is no scratch image: the host's code, or 1; the image then stays.
/// Instances: each channel type.
template <class T>
int interpolatedBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, double radiusFirst,
                     double radiusLast, bool columns);

template <class Trait, class Channel, class Wide, class Weight, class Format>
int InterpBlurFilter_RGBA(PluginHost_API* host, PluginHost_API::RasterInfo& raster,
                          double radiusFirst, double radiusLast, bool columns) {
    return interpolatedBlur<Channel>(host, raster, radiusFirst, radiusLast, columns);
}
