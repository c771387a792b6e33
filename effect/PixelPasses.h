// The pipeline's passes over one raster that change alpha and nothing else.
//
// Units: channel values of the format, white at Trait::kWhite; opacities from 0 to 1.
#pragma once

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"

/// Alpha of every pixel becomes `alpha`.
template <class Trait>
void setAlpha(QV_RasterInfo const& info, typename Trait::Channel alpha) {
    using Channel = typename Trait::Channel;
    forEachPixel<Channel>(info, [alpha](Channel* pixel) { pixel[Trait::kAlpha] = alpha; });
}

/// Alpha of every pixel times `opacity`, colour as it is.
///   8 bits   i = (int)((float)opacity 255)     a' = (a i + 128) >> 8
///   15 bits  i = (int)((float)opacity 32768)   a' = (a i + 16384) >> 15
///   float    a' = a (float)opacity
template <class Trait>
void multiplyAlpha(QV_RasterInfo const& info, double opacity) {
    using Channel = typename Trait::Channel;
    const auto factor = static_cast<float>(opacity);
    if constexpr (Trait::kIsFloat) {
        forEachPixel<Channel>(info, [factor](Channel* pixel) { pixel[Trait::kAlpha] *= factor; });
    } else {
        constexpr int kShift = Trait::kWhite == 255 ? 8 : 15;
        constexpr unsigned kHalf = 1u << (kShift - 1);
        const auto whole = static_cast<unsigned>(static_cast<int>(factor * Trait::kWhite));
        forEachPixel<Channel>(info, [whole](Channel* pixel) {
            Channel& a = pixel[Trait::kAlpha];
            a = static_cast<Channel>((a * whole + kHalf) >> kShift);
        });
    }
}
