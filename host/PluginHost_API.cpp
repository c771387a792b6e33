// The few behaviours that every binding of the host seam shares.
#include "host/PluginHost_API.h"

#include <array>
#include <cstddef>
#include <cstring>

PluginRaster_API::PixelType convertToPixelType(QV_RasterFormat format) {
    constexpr std::array<std::uint8_t, 21> kDepthClass = {
        0, 0, 0,        // 0 to 2: ARGB8, BGRA8, RGBA8
        1, 1,           // 3, 4: ARGB15 and its sibling
        2, 2,           // 5, 6: 14 bits
        3, 3,           // 7, 8: 16 bits
        4, 4, 4,        // 9 to 11: float
        0, 1, 4, 0, 0,  // 12 to 16
        2, 2, 0, 4,     // 17 to 20
    };
    auto const code = static_cast<std::uint32_t>(format);
    return static_cast<PluginRaster_API::PixelType>(code < kDepthClass.size() ? kDepthClass[code]
                                                                              : 0);
}

int PluginHost_API::fill(PluginRaster_API* raster, QV_Rect* rect) {
    if (!rect) return fill(raster);
    if (rect->top > rect->bottom) return 0;

    RasterInfo info{};
    getRasterInfo(raster, &info);
    const std::ptrdiff_t runBytes =
        static_cast<std::ptrdiff_t>(rect->right - rect->left) * info.pixelBytes;
    if (runBytes <= 0) return 0;
    auto* row = static_cast<unsigned char*>(info.data) +
                static_cast<std::ptrdiff_t>(rect->top) * info.rowBytes +
                static_cast<std::ptrdiff_t>(rect->left) * info.pixelBytes;
    for (int y = rect->top; y <= rect->bottom; ++y, row += info.rowBytes)
        std::memset(row, 0, static_cast<std::size_t>(runBytes));
    return 0;
}
