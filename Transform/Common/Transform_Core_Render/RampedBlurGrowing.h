// A blur that grows with the distance from a line: each pixel is read from the two levels of a
// pyramid that its distance lies between, and masked by the alpha it had before.
//
//   d = d0 + x dX + y dY   a plane, from QV_Line2D::distance at three corners of a pixel
//   v = d amount           level 0 to 1 for v in 0..1, then L to L + 1 for v in 2^(L-1)..2^L
//
// Pixels with d < 0 and transparent pixels stay. Past the last level pixels become 0; within it
// the image fades out. As QV_Line2D::distance has no sign, the side of the line with pixel (0, 0)
// is the one that is blurred.
#pragma once

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/ChannelPlane.h"

/// What the blur has to know of a pixel format, beyond its channel type.
struct AlphaScale {
    int channel;      ///< position of alpha in a pixel
    float toOpacity;  ///< 1 over white

    template <class Trait>
    static AlphaScale of() {
        return {Trait::kAlpha, 1.0f / static_cast<float>(Trait::kWhite)};
    }
};

/// Blurs `Count` channels of every pixel from `firstChannel` on. `line` is in pixels and is moved
/// by the lineShiftX, lineShiftY of the host's RenderSettings, if it has any. `amount` is in levels
/// a pixel of distance; up to 1e-5 nothing changes. The result is 0, or 1 when memory is refused:
/// the image then stays. Instances: Count 4 and 1 of each channel type.
template <class T, int Count>
int blurFromLine(PluginHost_API* host, QV_Line2D& line, float amount,
                 PluginHost_API::RasterInfo const& raster, int firstChannel,
                 AlphaScale const& alpha);

template <class Trait, class Channel, class Wide, class Weight, class Format>
int progressiveBlur_RGBA(PluginHost_API* host, QV_Line2D& line, float amount,
                         PluginHost_API::RasterInfo* raster) {
    return blurFromLine<Channel, kChannelsPerPixel>(host, line, amount, *raster, 0,
                                                    AlphaScale::of<Trait>());
}

/// The alpha channel alone; the colours stay.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int progressiveBlur_A(PluginHost_API* host, QV_Line2D& line, float amount,
                      PluginHost_API::RasterInfo* raster) {
    return blurFromLine<Channel, 1>(host, line, amount, *raster, Trait::kAlpha,
                                    AlphaScale::of<Trait>());
}
