// Walking the pixels of a raster, for passes that treat each pixel by itself.
//
// Space: rows from the top, pixels from the left; rows are stepped by rowBytes, and what lies
// between the last pixel of a row and the next row is never touched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "host/PluginHost_API.h"

/// First channel of row `y`.
template <class Channel>
Channel* pixelRow(QV_RasterInfo const& info, int y) {
    auto* bytes = static_cast<unsigned char*>(info.data);
    return reinterpret_cast<Channel*>(bytes + static_cast<std::ptrdiff_t>(y) * info.rowBytes);
}

/// Two images of one buffer, such as a picture and its part, or its rows upside down.
inline bool mayOverlap(QV_RasterInfo const& a, QV_RasterInfo const& b) {
    auto const bounds = [](QV_RasterInfo const& info) {
        auto const first = reinterpret_cast<std::intptr_t>(info.data);
        auto const last = first + std::intptr_t{info.height - 1} * info.rowBytes;
        return std::pair(std::min(first, last),
                         std::max(first, last) + std::intptr_t{info.width} * info.pixelBytes);
    };
    auto const [aBegin, aEnd] = bounds(a);
    auto const [bBegin, bEnd] = bounds(b);
    return aBegin < bEnd && bBegin < aEnd;
}

/// Calls `change(pixel)` for every pixel, `pixel` being the address of its four channels.
template <class Channel, class Change>
void forEachPixel(QV_RasterInfo const& info, Change change) {
    for (int y = 0; y < info.height; ++y) {
        Channel* pixel = pixelRow<Channel>(info, y);
        for (int x = 0; x < info.width; ++x, pixel += 4) change(pixel);
    }
}
