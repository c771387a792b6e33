// Premult and UnPremult: colour times alpha and back, in place over one raster.
//
//   8 bits   c' = (a c + 128) >> 8        c' = min(c 255 / a, 255)        if a != 0
//   15 bits  c' = min((a c + 16384) >> 15, 32768)
//                                         c' = min((c << 15) / a, 32768)  if a != 0
//   float    c' = a c                     c' = c / a                      if a > 0
//
// Alpha stays. Multiplying rounds to nearest, dividing truncates; the 8-bit product is over 256, so
// opaque white becomes 254 and the two are no exact inverses. No 15-bit product is above white,
// though 16-bit channels of the host can hold more. A pixel that fails the test keeps its colour.
#pragma once

#include <algorithm>
#include <cstdint>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "Transform/Common/Transform_Core_Render/PremultSimd.h"

namespace premult_detail {

template <class Trait>
constexpr int kShift = Trait::kWhite == 255 ? 8 : 15;

template <class Trait, class Channel>
Channel multiplied(Channel a, Channel c) {
    if constexpr (Trait::kIsFloat) {
        return a * c;
    } else {
        constexpr std::uint32_t kHalf = 1u << (kShift<Trait> - 1);
        const std::uint32_t product = std::uint32_t{a} * std::uint32_t{c};
        constexpr std::uint32_t kWhite = Trait::kWhite;
        return static_cast<Channel>(std::min((product + kHalf) >> kShift<Trait>, kWhite));
    }
}

/// `a` is above 0.
template <class Trait, class Channel>
Channel divided(Channel a, Channel c) {
    if constexpr (Trait::kIsFloat) {
        return c / a;
    } else {
        constexpr std::uint32_t kWhite = Trait::kWhite;
        return static_cast<Channel>(std::min(std::uint32_t{c} * kWhite / a, kWhite));
    }
}

/// One pixel, with alpha at channel `alpha` of four: the truth of Premult_simd.cpp.
template <class Trait, class Channel, bool Divides>
void changePixel(Channel* pixel, int alpha) {
    const Channel a = pixel[alpha];
    if (Divides && !(a > Channel{0})) return;
    for (int c = 0; c < 4; ++c)
        if (c != alpha)
            pixel[c] = Divides ? divided<Trait>(a, pixel[c]) : multiplied<Trait>(a, pixel[c]);
}

/// Nothing where the host could not describe the raster.
template <class Trait, class Channel>
void changeColour(QV_RasterInfo const& info, bool divides) {
    static_assert(Trait::kIsFloat || Trait::kWhite == 255 || Trait::kWhite == 32768,
                  "no premultiplication is defined for this depth");
    static_assert(Trait::kAlpha == 0 || Trait::kAlpha == 3);
    if (!info.data) return;
    forEachRow(info.height, std::int64_t{info.width} * Trait::kPixelBytes, [&](int y) {
        premultRowSimd(pixelRow<Channel>(info, y), info.width, Trait::kAlpha, divides);
    });
}

template <class Trait, class Channel>
void changeColour(PluginHost_API* host, PluginRaster_API* raster, bool divides) {
    QV_RasterInfo info{};
    host->getRasterInfo(raster, &info);
    changeColour<Trait, Channel>(info, divides);
}

}  // namespace premult_detail

/// Multiplies the colour of every pixel of `raster` by its alpha. The result is 0.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int Premult(Trait, PluginHost_API* host, PluginRaster_API* raster) {
    premult_detail::changeColour<Trait, Channel>(host, raster, false);
    return 0;
}

/// Divides the colour of every pixel of `raster` by its alpha. The result is 0.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int UnPremult(Trait, PluginHost_API* host, PluginRaster_API* raster) {
    premult_detail::changeColour<Trait, Channel>(host, raster, true);
    return 0;
}
