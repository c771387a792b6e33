// Laying one image over another by a transfer mode: a row of pixels, whole images, and rasters of a
// host.
//
// Space: straight colour, pixels of one format; the modes' functors are in BlendModes.h. The mode
// is a type, so its arithmetic stands in the pixel loop. Each pixel is read whole before it is
// written: the destination may be the foreground or the background. What lies between the last
// pixel of a row and the next row is never touched.
#pragma once

#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/BlendModes.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "Transform/Common/Transform_Core_Render/TransferModesSimd.h"

/// Blends `width` pixels of four channels in the trait's order: the truth of the vector code.
template <class Trait, class Mode>
void blendPixels(typename Trait::Channel const* foreground,
                 typename Trait::Channel const* background, typename Trait::Channel* destination,
                 int width, BlendOptions const& options) {
    using namespace blend_detail;
    for (int x = 0; x < width; ++x, foreground += 4, background += 4, destination += 4) {
        BlendPair<Trait> const pair(foreground, background, options.foregroundOpacity,
                                    options.backgroundOpacity);
        BlendPixel<Trait> result = Mode{}(pair);
        if (options.whiteAlpha) result.alpha = BlendArithmetic<Trait>::kWhite;
        result.storeAt(destination);
    }
}

/// The same by vector code, as far as that goes.
template <class Trait, class Mode>
void blendRow(typename Trait::Channel const* foreground, typename Trait::Channel const* background,
              typename Trait::Channel* destination, int width, BlendOptions const& options) {
    int const done = blendVectors<typename Trait::Channel>(
        Mode::kVector, {foreground, background, destination, width, Trait::kAlpha, options});
    std::ptrdiff_t const c = 4 * std::ptrdiff_t{done};
    blendPixels<Trait, Mode>(foreground + c, background + c, destination + c, width - done,
                             options);
}

/// Calls `row(foreground, background, destination, width, options)` for each row of the
/// destination, which neither of the others may be smaller than. Rows may be on several threads.
template <class Trait, class Row>
void blendRasters(QV_RasterInfo const& foreground, QV_RasterInfo const& background,
                  QV_RasterInfo const& destination, BlendOptions const& options, Row row) {
    using Channel = typename Trait::Channel;
    std::int64_t const bytesARow = std::int64_t{3} * destination.width * Trait::kPixelBytes;
    forEachRow(destination.height, bytesARow, [&](int y) {
        row(pixelRow<Channel>(foreground, y), pixelRow<Channel>(background, y),
            pixelRow<Channel>(destination, y), destination.width, options);
    });
}

/// Lays `foreground` over `background` by the mode, into `destination`; opacities from 0 to 1.
/// All are of the trait's format and at least the destination's size, and may be one object.
/// `whiteAlpha` makes the result opaque. The result is 0.
template <class Trait, class Channel, class Wide, class Weight, class Format, class Mode>
int Blend(Trait, Channel, Wide, Weight, Format, Mode, PluginHost_API* host, float foregroundOpacity,
          float backgroundOpacity, PluginRaster_API* foreground, PluginRaster_API* background,
          PluginRaster_API* destination, bool /*unused*/, bool whiteAlpha) {
    QV_RasterInfo front{}, back{}, result{};
    host->getRasterInfo(foreground, &front);
    host->getRasterInfo(background, &back);
    host->getRasterInfo(destination, &result);
    blendRasters<Trait>(front, back, result, {foregroundOpacity, backgroundOpacity, whiteAlpha},
                        blendRow<Trait, Mode>);
    return 0;
}
