// The eleven pixel formats that the render code is instantiated for.
//
// A trait is an empty tag that chooses an instance. It knows the channel order in
// memory, the channel type, white, and the types in which sums (Wide) and filter weights (Weight)
// are kept. Every pixel template takes <Trait, Channel, Wide, Weight, Trait::FORMAT>.
//
// White is the channel value of full intensity and of full opacity. The 15-bit format's white is
// 32768, not 32767: channels may hold more, and results are limited to it. Float has no limit.
#pragma once

#include <cstdint>
#include <type_traits>

#include "host/PluginHost_API.h"

namespace pixel_trait_detail {

/// What all traits share. Channel positions are indices into a pixel's four channels.
template <QV_RasterFormat Code, class ChannelT, class WideT, class WeightT, std::int32_t White,
          int Alpha, int Red, int Green, int Blue>
struct Trait {
    using Channel = ChannelT;
    using Wide = WideT;
    using Weight = WeightT;
    static constexpr QV_RasterFormat kFormat = Code;
    static constexpr std::int32_t kWhite = White;  ///< in channel units; 1 for float
    static constexpr int kAlpha = Alpha, kRed = Red, kGreen = Green, kBlue = Blue;
    static constexpr int kPixelBytes = 4 * static_cast<int>(sizeof(ChannelT));
    static constexpr bool kIsFloat = std::is_floating_point_v<ChannelT>;
};

template <QV_RasterFormat Code, class C, class W, class G, std::int32_t White>
using Argb = Trait<Code, C, W, G, White, 0, 1, 2, 3>;
template <QV_RasterFormat Code, class C, class W, class G, std::int32_t White>
using Bgra = Trait<Code, C, W, G, White, 3, 2, 1, 0>;
template <QV_RasterFormat Code, class C, class W, class G, std::int32_t White>
using Rgba = Trait<Code, C, W, G, White, 3, 0, 1, 2>;

}  // namespace pixel_trait_detail

// clang-format off
struct PIXEL_ARGB8  : pixel_trait_detail::Argb<kFormatARGB8,  unsigned char,  int,    int,   255>   { struct FORMAT {}; };
struct PIXEL_BGRA8  : pixel_trait_detail::Bgra<kFormatBGRA8,  unsigned char,  int,    int,   255>   { struct FORMAT {}; };
struct PIXEL_RGBA8  : pixel_trait_detail::Rgba<kFormatRGBA8,  unsigned char,  int,    int,   255>   { struct FORMAT {}; };
struct PIXEL_ARGB15 : pixel_trait_detail::Argb<kFormatARGB15, unsigned short, double, int,   32768> { struct FORMAT {}; };
struct PIXEL_ARGB14 : pixel_trait_detail::Argb<kFormatARGB14, unsigned short, double, int,   16384> { struct FORMAT {}; };
struct PIXEL_BGRA14 : pixel_trait_detail::Bgra<kFormatBGRA14, unsigned short, double, int,   16384> { struct FORMAT {}; };
struct PIXEL_ARGB16 : pixel_trait_detail::Argb<kFormatARGB16, unsigned short, double, float, 65535> { struct FORMAT {}; };
struct PIXEL_RGBA16 : pixel_trait_detail::Rgba<kFormatRGBA16, unsigned short, double, float, 65535> { struct FORMAT {}; };
struct PIXEL_ARGB32 : pixel_trait_detail::Argb<kFormatARGB32, float,          double, float, 1>     { struct FORMAT {}; };
struct PIXEL_RGBA32 : pixel_trait_detail::Rgba<kFormatRGBA32, float,          double, float, 1>     { struct FORMAT {}; };
struct PIXEL_BGRA32 : pixel_trait_detail::Bgra<kFormatBGRA32, float,          double, float, 1>     { struct FORMAT {}; };
// clang-format on
