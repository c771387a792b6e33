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
/// The formats, a row each: name, channel order, channel, Wide, Weight, white. All that exists once a
/// format is made from these rows; the build reads their names, too.
#define ZELK_PIXEL_FORMATS(X)                           \
    X(ARGB8,  Argb, unsigned char,  int,    int,   255)   \
    X(BGRA8,  Bgra, unsigned char,  int,    int,   255)   \
    X(RGBA8,  Rgba, unsigned char,  int,    int,   255)   \
    X(ARGB15, Argb, unsigned short, double, int,   32768) \
    X(ARGB14, Argb, unsigned short, double, int,   16384) \
    X(BGRA14, Bgra, unsigned short, double, int,   16384) \
    X(ARGB16, Argb, unsigned short, double, float, 65535) \
    X(RGBA16, Rgba, unsigned short, double, float, 65535) \
    X(ARGB32, Argb, float,          double, float, 1)     \
    X(RGBA32, Rgba, float,          double, float, 1)     \
    X(BGRA32, Bgra, float,          double, float, 1)

/// The formats of frames: those that the render pipeline and the transfer modes know.
#define ZELK_FRAME_FORMATS(X) X(ARGB8) X(BGRA8) X(ARGB15) X(ARGB32) X(BGRA32)
// clang-format on

#define ZELK_PIXEL_TRAIT(NAME, ORDER, CHANNEL, WIDE, WEIGHT, WHITE)                                \
    struct PIXEL_##NAME : pixel_trait_detail::ORDER<kFormat##NAME, CHANNEL, WIDE, WEIGHT, WHITE> { \
        struct FORMAT {};                                                                          \
    };
ZELK_PIXEL_FORMATS(ZELK_PIXEL_TRAIT)
#undef ZELK_PIXEL_TRAIT
