// The numbers that transfer modes compute with, by pixel format.
//
// Unit: channel values of the format, W white. Notation of all transfer code: f and b are the
// straight colours of foreground and background, fa and ba their alphas, opacity included.
//
//            Value   mul(x, y)              W       middle
//   8 bits   int32   (x y + 128) >> 8       255     127
//   15 bits  int64   (x y + 16384) >> 15    32768   16384
//   float    float   x y                    1       0.5
//
// Integers are signed and shift arithmetically: x or y may be negative. 15 bits want 64: Color
// Dodge goes up to 2^30, times an alpha. The 8-bit product is over 256, so mul(W, W) is W - 1.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/SaturatingCast.h"

namespace blend_detail {

template <class Trait>
struct BlendArithmetic {
    static_assert(Trait::kIsFloat || Trait::kWhite == 255 || Trait::kWhite == 32768,
                  "no transfer mode is defined for this depth");
    using Channel = typename Trait::Channel;
    using Integer = std::conditional_t<Trait::kWhite == 255, std::int32_t, std::int64_t>;
    using Value = std::conditional_t<Trait::kIsFloat, float, Integer>;

    static constexpr Value kWhite = Trait::kWhite;
    /// Where Overlay and Hard Light change sides; 127 and not 128 in 8 bits.
    static constexpr Value kMiddle = kWhite / 2;

    static Value mul(Value x, Value y) {
        if constexpr (Trait::kIsFloat) {
            return x * y;
        } else {
            constexpr int kShift = Trait::kWhite == 255 ? 8 : 15;
            return (x * y + (1 << (kShift - 1))) >> kShift;
        }
    }

    /// Integers from 0 to W; float has no limits.
    static Value limited(Value x) {
        if constexpr (Trait::kIsFloat)
            return x;
        else
            return std::clamp(x, Value{0}, kWhite);
    }

    /// A colour channel as the modes read it: float from 0 on.
    static Value raised(Channel c) {
        if constexpr (Trait::kIsFloat)
            return c < 0 ? 0 : c;
        else
            return c;
    }

    /// Alpha times opacity, in single precision; integers truncate.
    static Value withOpacity(Channel alpha, float opacity) {
        float const product = static_cast<float>(alpha) * opacity;
        if constexpr (Trait::kIsFloat)
            return product;
        else
            return saturatingInt(product);
    }

    /// ra = fa + ba - mul(fa, ba), limited.
    static Value unionAlpha(Value fa, Value ba) { return limited(fa + ba - mul(fa, ba)); }

    /// A layer of this alpha lets something of the other one through: fa < W, in float fa != 1.
    static bool seeThrough(Value alpha) {
        return Trait::kIsFloat ? alpha != kWhite : alpha < kWhite;
    }
};

}  // namespace blend_detail
