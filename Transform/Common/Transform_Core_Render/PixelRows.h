// Walking the pixels of a raster, for passes that treat each pixel by itself.
//
// Space: rows from the top, pixels from the left; rows are stepped by rowBytes, and what lies
// between the last pixel of a row and the next row is never touched.
#pragma once

#include <cstddef>

#include "host/PluginHost_API.h"

/// First channel of row `y`.
template <class Channel>
Channel* pixelRow(QV_RasterInfo const& info, int y) {
    auto* bytes = static_cast<unsigned char*>(info.data);
    return reinterpret_cast<Channel*>(bytes + static_cast<std::ptrdiff_t>(y) * info.rowBytes);
}

/// Calls `change(pixel)` for every pixel, `pixel` being the address of its four channels.
template <class Channel, class Change>
void forEachPixel(QV_RasterInfo const& info, Change change) {
    for (int y = 0; y < info.height; ++y) {
        Channel* pixel = pixelRow<Channel>(info, y);
        for (int x = 0; x < info.width; ++x, pixel += 4) change(pixel);
    }
}
