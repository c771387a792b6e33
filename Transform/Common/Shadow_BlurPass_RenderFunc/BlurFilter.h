// The tent blur of an image in place: a horizontal pass into a scratch image and a vertical pass
// back; twice that, mixed, for a radius with a fraction.
//
// Radii are in pixels. The horizontal radius is the whole part of `radius`, the vertical one that
// of radius * verticalFactor; with a ramp the horizontal one falls from the first row to the last
// (see TentBlurPass.h), and the vertical one is constant and half as large.
#pragma once

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"

struct BlurFilterOptions {
    double radius;          ///< pixels
    double verticalFactor;  ///< vertical over horizontal radius
    bool ramp;
    int kind;  ///< see TentBlurPass.h
};

/// Blurs `Count` channels of every pixel, from `firstChannel` on, with the whole part of the
/// radius. Radii up to 1e-5 and images without pixels stay. The result is 0, or why there is no
/// scratch image: the host's code, or 1; the image then stays. Instances: Count 4 and 1 of each
/// channel type.
template <class T, int Count>
int wholeRadiusBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, int firstChannel,
                    BlurFilterOptions const& options);

/// The same with the fraction of the radius; it takes up to three scratch images, two at a time.
template <class T, int Count>
int fractionalRadiusBlur(PluginHost_API* host, PluginHost_API::RasterInfo& raster, int firstChannel,
                         BlurFilterOptions const& options);

/// Blurs with the whole part of the radius; `alphaOnly` leaves the colours as they are.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int Internal_BlurFilter_RGBA(PluginHost_API* host, PluginHost_API::RasterInfo& raster,
                             double radius, double verticalFactor, bool ramp, int kind,
                             bool alphaOnly) {
    const BlurFilterOptions options{radius, verticalFactor, ramp, kind};
    return alphaOnly ? wholeRadiusBlur<Channel, 1>(host, raster, Trait::kAlpha, options)
                     : wholeRadiusBlur<Channel, kChannelsPerPixel>(host, raster, 0, options);
}

/// Blurs with a fractional radius; `alphaOnly` leaves the colours as they are.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int BlurFilter_RGBA(PluginHost_API* host, PluginHost_API::RasterInfo& raster, double radius,
                    double verticalFactor, bool ramp, int kind, bool alphaOnly) {
    const BlurFilterOptions options{radius, verticalFactor, ramp, kind};
    return alphaOnly ? fractionalRadiusBlur<Channel, 1>(host, raster, Trait::kAlpha, options)
                     : fractionalRadiusBlur<Channel, kChannelsPerPixel>(host, raster, 0, options);
}

/// Blurs the alpha channel with a fractional radius; the colours stay.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int BlurFilter_A(PluginHost_API* host, PluginHost_API::RasterInfo& raster, double radius,
                 double verticalFactor, bool ramp, int kind) {
    return fractionalRadiusBlur<Channel, 1>(host, raster, Trait::kAlpha,
                                            {radius, verticalFactor, ramp, kind});
}
