// The pyramid of reduced images that the growing blur reads, and the 3 by 3 smoothing between its
// levels.
//
// Level 0 is the image itself. Level 1 is a copy of its size, shift 0. Level k from 2 on has
// (w + 1) >> 1 by (h + 1) >> 1 pixels of the level before, each the mean of a 2 by 2 block, and
// shift k - 1: one of its cells spans 2^shift image pixels. Levels with both sides above 2 are
// smoothed after they are made. Levels are packed at four channels a pixel; of an alpha pyramid
// only the alpha channel is kept up.
#pragma once

#include <array>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/ChannelPlane.h"

/// A locked piece of the host's handle memory, given back when it goes.
class HostBuffer {
public:
    HostBuffer() = default;
    ~HostBuffer();
    HostBuffer(HostBuffer const&) = delete;
    HostBuffer& operator=(HostBuffer const&) = delete;

    /// Room for a packed image of four-channel pixels; called once. False when the host refuses
    /// the memory or its lock, or can't be asked for so much.
    bool allocate(PluginHost_API* host, int width, int height, int channelBytes);
    void* data() const { return m_data; }

private:
    PluginHost_API* m_host = nullptr;
    void* m_handle = nullptr;
    void* m_data = nullptr;
};

/// Smooths `Count` channels of a plane in place with the weights 1 2 1, 2 4 2, 1 2 1 over 16,
/// neighbours limited to the plane; integer channels are cut down. False when there is no memory
/// for a copy; the plane then stays. Instances: Count 4 and 1 of each channel type.
template <class T, int Count>
bool gauss1(PluginHost_API* host, ChannelPlane<T> const& plane);

template <class T, int Count>
class BlurPyramid {
public:
    static constexpr int kMostLevels = 10;

    /// `image` becomes level 0 and is only read.
    BlurPyramid(PluginHost_API* host, ChannelPlane<T> const& image);

    /// Makes the levels from 1 on. False when memory is refused.
    bool build();
    int levels() const { return m_levels; }

    /// The level at image pixel (x, y): the pixel itself at shift 0, else a bilinear read between
    /// cell centres, in float and cut down to the channel type.
    void sample(int level, int x, int y, T* out) const;

private:
    bool makeLevel(int level);

    PluginHost_API* m_host;
    int m_levels;
    std::array<HostBuffer, kMostLevels> m_buffers;
    std::array<ChannelPlane<T>, kMostLevels> m_planes;
    std::array<int, kMostLevels> m_shifts;
};

/// Levels of an image whose longer side is `longerSide`: 1 + ceil(log2(longerSide - 1)), from 1 to
/// 10.
int pyramidLevels(int longerSide);

/// Smooths a packed buffer of four-channel pixels. The result is 0, or 1 without memory.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int gauss1_RGBA(PluginHost_API* host, Channel* pixels, int width, int height) {
    ChannelPlane<Channel> const plane{pixels, std::ptrdiff_t{width} * kChannelsPerPixel, width,
                                      height};
    return gauss1<Channel, kChannelsPerPixel>(host, plane) ? 0 : 1;
}

/// The same for the alpha channel alone; the buffer still has four channels a pixel.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int gauss1_A(PluginHost_API* host, Channel* pixels, int width, int height) {
    ChannelPlane<Channel> const plane{pixels + Trait::kAlpha,
                                      std::ptrdiff_t{width} * kChannelsPerPixel, width, height};
    return gauss1<Channel, 1>(host, plane) ? 0 : 1;
}
