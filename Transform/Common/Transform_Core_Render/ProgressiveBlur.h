// The driver of the blurs: one entry that blurs an image in place, by kind.
//
//   -11, -10   rows (columns) by a radius that runs from `radius` to `aspect`
//   -1, -2     tent blur by `radius`, vertically by radius * aspect; -2 alpha only
//   1          fade, then a blur that grows from `line`, `radius` levels a pixel
//   others     fade, then a tent blur whose horizontal radius falls from the first row to the last
//
// Radii are in pixels of the image, but for the last row's, which is relative to its size.
#pragma once

#include <algorithm>
#include <cmath>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/BlurFilter.h"
#include "Transform/Common/Transform_Core_Render/ProgressiveBlurFade.h"
#include "Transform/Common/Transform_Core_Render/ProgressiveBlurKind.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurGrowing.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"

/// Radius of the ramped tent blur in pixels of the call's resolution, a whole number. A `radius` of
/// 2000 over the shorter side is the image's height; the shorter side is the limit.
inline double relativeBlurRadius(PluginHost_API* host, float radius,
                                 PluginHost_API::RasterInfo const& raster) {
    double const shorter = std::min(raster.width, raster.height);
    double pixels = static_cast<double>(radius) * raster.height * 0.5 / 1000.0 * shorter;
    pixels = std::min(pixels, shorter) * std::min(host->getScaleX(), host->getScaleY());
    return std::trunc(pixels);
}

/// Blurs `raster` in place.
/// @param alphaPlane            the alpha channel only, but for kinds -11 and -10: always all four
/// @param fadeStart, fadeLength percent of the height, counted from the bottom
/// @param curve                 of the fade: 1 squared, 2 square root, else straight
/// @param line                  read by kind 1 alone; see blurFromLine
/// @return 0, or why memory was refused: the host's code, or 1
template <class Trait, class Channel, class Wide, class Weight, class Format>
int progressiveBlur(PluginHost_API* host, QV_Line2D& line, float radius, float aspect,
                    float fadeStart, float fadeLength, int curve,
                    PluginHost_API::RasterInfo* raster, bool alphaPlane, int kind) {
#define ZELK_CALL(FUNCTION) FUNCTION<Trait, Channel, Wide, Weight, Format>
    if (kind == kBlurKindRows || kind == kBlurKindColumns)
        return ZELK_CALL(InterpBlurFilter_RGBA)(host, *raster, radius, aspect,
                                                kind == kBlurKindColumns);

    auto const tentBlur = [=](double pixels, bool ramp) {
        return alphaPlane ? ZELK_CALL(BlurFilter_A)(host, *raster, pixels, aspect, ramp, kind)
                          : ZELK_CALL(BlurFilter_RGBA)(host, *raster, pixels, aspect, ramp, kind,
                                                       kind == kBlurKindAlphaOnly);
    };
    if (kind == kBlurKindPlain || kind == kBlurKindAlphaOnly) return tentBlur(radius, false);

    auto const fade = alphaPlane ? ZELK_CALL(fade_A) : ZELK_CALL(fade_RGBA);
    double const start = fadeStart, length = fadeLength;
    fade(static_cast<float>(start * 0.01), static_cast<float>((start + length) * 0.01), curve,
         raster);
    if (kind != kBlurKindFromLine) return tentBlur(relativeBlurRadius(host, radius, *raster), true);
    auto const fromLine =
        alphaPlane ? ZELK_CALL(progressiveBlur_A) : ZELK_CALL(progressiveBlur_RGBA);
    return fromLine(host, line, radius, raster);
#undef ZELK_CALL
}
