// A fade down the rows of an image: rows above the ramp go to 0, rows below it stay.
//
// A row's height t runs from 1 at the top to 0 at the bottom, in float. With t at or above `end`
// the row becomes 0, at or below `start` it stays, and between them it is multiplied by
// k = 1 - (t - start) / (end - start), bent by the curve. Large images go in bands on the team.
#pragma once

#include "Transform/Common/Shadow_BlurPass_RenderFunc/ChannelPlane.h"

constexpr int kFadeCurveSquare = 1;
constexpr int kFadeCurveRoot = 2;

struct FadeRamp {
    float start, end;  ///< fractions of the height, counted from the bottom
    int curve;         ///< kFadeCurveSquare, kFadeCurveRoot, else straight
};

/// Fades `Count` channels of every pixel; integer channels truncate. The one row of a one-row
/// image is at the top. Instances: Count 4 and 1 of each channel type.
template <class T, int Count>
void fadeRows(ChannelPlane<T> const& plane, FadeRamp const& ramp);

/// Fades all four channels. The result is 0.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int fade_RGBA(float start, float end, int curve, PluginHost_API::RasterInfo* raster) {
    fadeRows<Channel, kChannelsPerPixel>(channelPlane<Channel>(*raster, 0), {start, end, curve});
    return 0;
}

/// Fades the alpha channel; the colours stay. The result is 0.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int fade_A(float start, float end, int curve, PluginHost_API::RasterInfo* raster) {
    fadeRows<Channel, 1>(channelPlane<Channel>(*raster, Trait::kAlpha), {start, end, curve});
    return 0;
}
