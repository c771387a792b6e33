// What a blur sees of an image: neighbouring channels of every pixel, by rows or by columns.
//
// Space: rows from the top, pixels from the left. A plane points at the first of its channels, so
// that all four channels (first channel 0) and the alpha channel alone (first channel: alpha's
// position) are walked by the same code with a channel count of 4 or 1. Steps are in channels, not
// in bytes; rows may be padded or run upwards, and padding is never touched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "Transform/Common/RowBands.h"
#include "host/PluginHost_API.h"

/// Channels from one pixel to the next, in images and in packed lines alike.
constexpr int kChannelsPerPixel = 4;

/// The pixels of a row or a column.
template <class T>
struct ChannelLine {
    T* first;
    std::ptrdiff_t step;  ///< from one pixel to the next, in channels

    T* pixel(int i) const { return first + i * step; }
};

template <class T>
struct ChannelPlane {
    T* first;
    std::ptrdiff_t rowStep;  ///< from one row to the next, in channels
    int width, height;

    ChannelLine<T> row(int y) const { return {first + y * rowStep, kChannelsPerPixel}; }
    ChannelLine<T> column(int x) const {
        return {first + static_cast<std::ptrdiff_t>(x) * kChannelsPerPixel, rowStep};
    }
    ChannelLine<T> line(int i, bool vertical) const { return vertical ? column(i) : row(i); }
};

/// The plane of `image` that starts at channel `firstChannel` of each pixel.
template <class T>
ChannelPlane<T> channelPlane(QV_RasterInfo const& image, int firstChannel) {
    return {static_cast<T*>(image.data) + firstChannel,
            image.rowBytes / static_cast<std::ptrdiff_t>(sizeof(T)), image.width, image.height};
}

/// Copies `Count` channels of `length` pixels.
template <class T, int Count>
void copyLine(ChannelLine<T> from, ChannelLine<T> to, int length) {
    if (Count == 4 && from.step == 4 && to.step == 4) {
        std::copy_n(from.first, std::ptrdiff_t{4} * length, to.first);
        return;
    }
    for (int i = 0; i < length; ++i)
        for (int c = 0; c < Count; ++c) to.pixel(i)[c] = from.pixel(i)[c];
}

/// Copies `Count` channels of every pixel; both planes have one size.
template <class T, int Count>
void copyPlane(ChannelPlane<T> const& from, ChannelPlane<T> const& to) {
    forEachRow(from.height, std::int64_t{8} * sizeof(T) * from.width,
               [&](int y) { copyLine<T, Count>(from.row(y), to.row(y), from.width); });
}

/// A computed value as a channel: integer channels truncate, float channels are narrowed only.
/// `value` lies within the channel type.
template <class T, class Real>
T toChannel(Real value) {
    return static_cast<T>(value);
}
