// The pipeline's passes over whole rasters that resample nothing: alpha, fades, merging of samples.
//
// Units: channel values of the format, white at Trait::kWhite; opacities from 0 to 1.
#pragma once

#include <algorithm>
#include <cstring>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/SaturatingCast.h"
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
/// In integers an opacity outside 0..1 counts as the nearer end, what is no number as 0.
template <class Trait>
void multiplyAlpha(QV_RasterInfo const& info, double opacity) {
    using Channel = typename Trait::Channel;
    auto const factor = static_cast<float>(opacity);
    if constexpr (Trait::kIsFloat) {
        forEachPixel<Channel>(info, [factor](Channel* pixel) { pixel[Trait::kAlpha] *= factor; });
    } else {
        constexpr int kShift = Trait::kWhite == 255 ? 8 : 15;
        constexpr unsigned kHalf = 1u << (kShift - 1);
        auto const whole =
            static_cast<unsigned>(static_cast<float>(limitedOpacity(factor)) * Trait::kWhite);
        forEachPixel<Channel>(info, [whole](Channel* pixel) {
            Channel& a = pixel[Trait::kAlpha];
            a = static_cast<Channel>((a * whole + kHalf) >> kShift);
        });
    }
}

/// Fades all channels towards the border, over `extent` pixels, by f = 0.8 i / (extent - 1) + 0.1
/// at the i-th from it: upper rows, then both ends of every row, then lower rows. Corners get both
/// factors. Integers are truncated after each. `extent` is at least 2 and may exceed the raster.
template <class Trait>
void fadeBorder(QV_RasterInfo const& info, int extent) {
    using Channel = typename Trait::Channel;
    auto const last = static_cast<float>(extent - 1);
    auto const fadePixels = [](Channel* channel, int pixels, float f) {
        for (int c = 0; c < 4 * pixels; ++c)
            channel[c] = static_cast<Channel>(static_cast<float>(channel[c]) * f);
    };
    for (int i = 0; i < std::min(extent, info.height); ++i)
        fadePixels(pixelRow<Channel>(info, i), info.width,
                   static_cast<float>(i) / last * 0.8f + 0.1f);
    for (int y = 0; y < info.height; ++y) {
        Channel* row = pixelRow<Channel>(info, y);
        for (int j = 0; j < std::min(extent, info.width); ++j) {
            float const f = static_cast<float>(j) / last * 0.8f + 0.1f;
            fadePixels(row + 4 * j, 1, f);
            fadePixels(row + 4 * (info.width - 1 - j), 1, f);
        }
    }
    for (int i = 0; i < extent; ++i) {
        int const y = info.height - extent + i;
        if (y < 0) continue;
        fadePixels(pixelRow<Channel>(info, y), info.width,
                   (1.0f - static_cast<float>(i) / last) * 0.8f + 0.1f);
    }
}

/// Makes `mean`, the mean of samples 0 to `index` - 1, that of `index` + 1 samples, where both have
/// pixels.
///   w = (float)(1 / (index + 1))    mean' = mean (1 - w) + sample w, in single precision;
/// integers add 0.5 and truncate. The first sample is copied.
template <class Trait>
void mergeSample(QV_RasterInfo const& mean, QV_RasterInfo const& sample, int index) {
    using Channel = typename Trait::Channel;
    auto const weight = static_cast<float>(1.0 / (index + 1));
    constexpr float kRounding = Trait::kIsFloat ? 0.0f : 0.5f;
    int const width = std::min(mean.width, sample.width);
    if (width <= 0) return;
    for (int y = 0; y < std::min(mean.height, sample.height); ++y) {
        Channel* to = pixelRow<Channel>(mean, y);
        Channel const* from = pixelRow<Channel>(sample, y);
        if (index == 0) {
            std::memcpy(to, from, static_cast<std::size_t>(width) * 4 * sizeof(Channel));
            continue;
        }
        for (int c = 0; c < 4 * width; ++c)
            to[c] = static_cast<Channel>(static_cast<float>(to[c]) * (1.0f - weight) +
                                         static_cast<float>(from[c]) * weight + kRounding);
    }
}
