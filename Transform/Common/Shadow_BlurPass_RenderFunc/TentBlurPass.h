// One pass of the tent blur along all rows or all columns of an image.
//
// With a ramp the radius falls from the full one at the first line to 0 at the last: with t from 1
// to 0, the line's radius is the whole part of t R; t^2 with kind 3, 1 / t^2 with kind 4, which
// grows instead of falling. Source and destination have one size and never share memory. Lines run
// in parallel, each writes its own line only.
#pragma once

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurLine.h"

/// Kinds that leave one direction out: its pass is a copy.
constexpr int kBlurKindNoHorizontal = -10;
constexpr int kBlurKindNoVertical = -11;
/// Kinds that bend the ramp.
constexpr int kBlurKindSquareRamp = 3;
constexpr int kBlurKindInverseSquareRamp = 4;

struct TentBlurPassOptions {
    int radius;  ///< pixels, of a line without ramp and of the first line with one
    bool vertical;
    bool ramp;
    int kind;
};

/// Blurs `Count` channels of every pixel. Instances: Count 4 and 1 of each channel type.
template <class T, int Count>
void tentBlurPass(ChannelPlane<T> const& source, ChannelPlane<T> const& dest,
                  TentBlurPassOptions const& options);

/// One pass over all four channels.
template <class Trait, class Channel, class Wide, class Weight, class Format>
void TentBlurPass_RGBA(PluginHost_API*, PluginHost_API::RasterInfo& source,
                       PluginHost_API::RasterInfo& dest, int radius, bool vertical, bool ramp,
                       int kind) {
    tentBlurPass<Channel, kChannelsPerPixel>(channelPlane<Channel>(source, 0),
                                             channelPlane<Channel>(dest, 0),
                                             {radius, vertical, ramp, kind});
}

/// One pass over the alpha channel; the others of `dest` stay.
template <class Trait, class Channel, class Wide, class Weight, class Format>
void TentBlurPass_A(PluginHost_API*, PluginHost_API::RasterInfo& source,
                    PluginHost_API::RasterInfo& dest, int radius, bool vertical, bool ramp,
                    int kind) {
    tentBlurPass<Channel, 1>(channelPlane<Channel>(source, Trait::kAlpha),
                             channelPlane<Channel>(dest, Trait::kAlpha),
                             {radius, vertical, ramp, kind});
}
