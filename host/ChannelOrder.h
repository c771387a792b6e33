// The order of a format's channels within a pixel: one table for all that asks at run time.
#pragma once

#include <array>

#include "host/PluginHost_API.h"

enum ChannelOrder { kOrderARGB, kOrderBGRA, kOrderRGBA };

/// BGRA for a code that names no order.
inline ChannelOrder channelOrderOf(QV_RasterFormat format) {
    switch (format) {
        case kFormatARGB8:
        case kFormatARGB15:
        case kFormatARGB14:
        case kFormatARGB16:
        case kFormatARGB32:
        case kFormat19:
        case kFormat20:
            return kOrderARGB;
        case kFormatRGBA8:
        case kFormatRGBA16:
        case kFormatRGBA32:
            return kOrderRGBA;
        default:
            return kOrderBGRA;
    }
}

/// Positions of red, green, blue, alpha within a pixel.
using ChannelPositions = std::array<int, 4>;

inline ChannelPositions channelPositionsOf(QV_RasterFormat format) {
    constexpr ChannelPositions kPositions[] = {{1, 2, 3, 0}, {2, 1, 0, 3}, {0, 1, 2, 3}};
    return kPositions[channelOrderOf(format)];
}
