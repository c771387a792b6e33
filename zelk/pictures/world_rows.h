// Rows of straight red, green, blue, alpha into a world and out of it, whatever its channel order.
#pragma once

#include <algorithm>

#include "hostkit/world.h"
#include "zelk/pictures/row_values.h"

namespace zelk {

/// How many rows a file is read or written at a time: a multiple of 16, which most tiles divide, of
/// about 2^18 pixels.
inline int stripRowsOf(int widthPx) { return std::clamp((1 << 18) / widthPx, 16, 256) / 16 * 16; }

/// Where a world keeps a channel within its pixel.
struct ChannelOrder {
    int red, green, blue, alpha;
};

constexpr ChannelOrder channelOrder(WorldSpec const& spec) {
    return spec.bgra ? ChannelOrder{2, 1, 0, 3} : ChannelOrder{1, 2, 3, 0};
}

/// `rgba` holds world.width() pixels; Channel is that of the world's depth.
template <class Channel>
void putRow(World& world, int y, Channel const* rgba) {
    if (!world.spec().bgra)
        return turnRow(rgba, static_cast<std::size_t>(world.width()), Turn::kToAlphaFirst,
                       world.rowAs<Channel>(y));
    ChannelOrder const order = channelOrder(world.spec());
    Channel* pixel = world.rowAs<Channel>(y);
    for (int x = 0; x < world.width(); ++x, pixel += 4, rgba += 4) {
        pixel[order.red] = rgba[0];
        pixel[order.green] = rgba[1];
        pixel[order.blue] = rgba[2];
        pixel[order.alpha] = rgba[3];
    }
}

/// The way back.
template <class Channel>
void getRow(World const& world, int y, Channel* rgba) {
    if (!world.spec().bgra)
        return turnRow(world.rowAs<Channel>(y), static_cast<std::size_t>(world.width()),
                       Turn::kToAlphaLast, rgba);
    ChannelOrder const order = channelOrder(world.spec());
    Channel const* pixel = world.rowAs<Channel>(y);
    for (int x = 0; x < world.width(); ++x, pixel += 4, rgba += 4) {
        rgba[0] = pixel[order.red];
        rgba[1] = pixel[order.green];
        rgba[2] = pixel[order.blue];
        rgba[3] = pixel[order.alpha];
    }
}

}  // namespace zelk
