// The pipeline's passes over whole rasters that resample nothing: alpha, fades, merging of samples.
//
// Units: channel values of the format, white at Trait::kWhite; opacities from 0 to 1.
#pragma once

#include <algorithm>
#include <cstring>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "Transform/Common/Transform_Core_Render/RowPasses.h"

/// Alpha of every pixel becomes `alpha`.
template <class Trait>
void setAlpha(QV_RasterInfo const& info, typename Trait::Channel alpha) {
    using Channel = typename Trait::Channel;
    forEachRow(info.height, std::int64_t{info.width} * Trait::kPixelBytes, [&](int y) {
        Channel* pixel = pixelRow<Channel>(info, y);
        for (int x = 0; x < info.width; ++x, pixel += 4) pixel[Trait::kAlpha] = alpha;
    });
}

/// Alpha of `count` pixels times `opacity`, colour as it is.
///   8 bits   i = (int)((float)opacity 255)     a' = (a i + 128) >> 8
///   15 bits  i = (int)((float)opacity 32768)   a' = (a i + 16384) >> 15
///   float    a' = a (float)opacity
/// In integers an opacity outside 0..1 counts as the nearer end, what is no number as 0.
template <class Trait>
void multiplyAlphaRow(typename Trait::Channel* pixels, int count, double opacity) {
    auto factor = static_cast<float>(opacity);
    if constexpr (!Trait::kIsFloat)
        factor = static_cast<float>(limitedOpacity(factor)) * Trait::kWhite;
    multiplyAlphaRowSimd(pixels, count, Trait::kAlpha,
                         static_cast<row_pass::AlphaFactor<typename Trait::Channel>>(factor));
}

/// The same of a whole image.
template <class Trait>
void multiplyAlpha(QV_RasterInfo const& info, double opacity) {
    forEachRow(info.height, std::int64_t{info.width} * Trait::kPixelBytes, [&](int y) {
        multiplyAlphaRow<Trait>(pixelRow<typename Trait::Channel>(info, y), info.width, opacity);
    });
}

/// Fades all channels towards the border, over `extent` pixels, by f = 0.8 i / (extent - 1) + 0.1
/// at the i-th from it: upper rows, then both ends of every row, then lower rows. Corners get both
/// factors. Integers are truncated after each. `extent` is at least 2 and may exceed the raster.
template <class Trait>
void fadeBorder(QV_RasterInfo const& info, int extent) {
    using Channel = typename Trait::Channel;
    auto const last = static_cast<float>(extent - 1);
    auto const inwards = [last](int i) { return static_cast<float>(i) / last * 0.8f + 0.1f; };
    forEachRow(info.height, std::int64_t{info.width} * Trait::kPixelBytes, [&](int y) {
        Channel* row = pixelRow<Channel>(info, y);
        if (y < extent) scaleRowSimd(row, 4 * info.width, inwards(y));
        for (int j = 0; j < std::min(extent, info.width); ++j) {
            row_pass::scale(row + 4 * j, 4, inwards(j));
            row_pass::scale(row + 4 * (info.width - 1 - j), 4, inwards(j));
        }
        int const i = y - (info.height - extent);
        if (i < 0) return;
        scaleRowSimd(row, 4 * info.width, (1.0f - static_cast<float>(i) / last) * 0.8f + 0.1f);
    });
}

/// Makes `mean`, the mean of samples 0 to `index` - 1, that of `index` + 1 samples, where both have
/// pixels.
///   w = (float)(1 / (index + 1))    mean' = mean (1 - w) + sample w, in single precision;
/// integers add 0.5 and truncate. The first sample is copied.
template <class Trait>
void mergeSample(QV_RasterInfo const& mean, QV_RasterInfo const& sample, int index) {
    using Channel = typename Trait::Channel;
    auto const weight = static_cast<float>(1.0 / (index + 1));
    int const width = std::min(mean.width, sample.width);
    if (width <= 0) return;
    std::int64_t const rowBytes = std::int64_t{width} * Trait::kPixelBytes;
    forEachRow(std::min(mean.height, sample.height), 2 * rowBytes, [&](int y) {
        Channel* to = pixelRow<Channel>(mean, y);
        Channel const* from = pixelRow<Channel>(sample, y);
        if (index == 0)
            std::memcpy(to, from, static_cast<std::size_t>(rowBytes));
        else
            mergeRowSimd(to, from, 4 * width, weight);
    });
}
