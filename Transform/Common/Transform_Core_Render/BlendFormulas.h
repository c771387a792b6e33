// The transfer modes that treat each colour channel by itself: Mode(f, b).
//
//   Normal       f
//   Multiply     mul(b, f)
//   Screen       W - mul(W - b, W - f)
//   Overlay      b < middle: mul(2b, f)    else mul(W - b, 2f - W) + b
//   Soft Light   mul(W - 2f, mul(b, b) - b) + b
//   Hard Light   f < middle: mul(2f, b)    else W - mul(2 (W - f), W - b)
//   Darken       min(f, b)
//   Lighten      max(f, b)
//   Exclusion    mul(W - 2b, f) + b
//   Color Dodge  f >= W: f                 else b W / (W - f)
//   Color Burn   f = 0: 0                  else W - (W - b) W / f, integers from 0 on
//
// Notation of BlendArithmetic.h; results may leave 0 to W, the skeleton limits them.
#pragma once

#include <algorithm>

#include "Transform/Common/Transform_Core_Render/BlendPair.h"
#include "Transform/Common/Transform_Core_Render/TransferModesSimd.h"

namespace blend_detail {

template <class Trait>
struct BlendFormulas {
    using A = BlendArithmetic<Trait>;
    using Value = typename A::Value;
    static constexpr Value W = A::kWhite;

    struct Normal {
        static constexpr auto kVector = VectorMode::kNormal;
        Value operator()(Value f, Value) const { return f; }
    };
    struct Multiply {
        static constexpr auto kVector = VectorMode::kMultiply;
        Value operator()(Value f, Value b) const { return A::mul(b, f); }
    };
    struct Screen {
        static constexpr auto kVector = VectorMode::kScreen;
        Value operator()(Value f, Value b) const { return W - A::mul(W - b, W - f); }
    };
    struct Overlay {
        static constexpr auto kVector = VectorMode::kOverlay;
        Value operator()(Value f, Value b) const {
            return b < A::kMiddle ? A::mul(2 * b, f) : A::mul(W - b, 2 * f - W) + b;
        }
    };
    struct SoftLight {
        static constexpr auto kVector = VectorMode::kSoftLight;
        Value operator()(Value f, Value b) const { return A::mul(W - 2 * f, A::mul(b, b) - b) + b; }
    };
    struct HardLight {
        static constexpr auto kVector = VectorMode::kHardLight;
        Value operator()(Value f, Value b) const {
            return f < A::kMiddle ? A::mul(2 * f, b) : W - A::mul(2 * (W - f), W - b);
        }
    };
    struct Darken {
        static constexpr auto kVector = VectorMode::kDarken;
        Value operator()(Value f, Value b) const { return std::min(f, b); }
    };
    struct Lighten {
        static constexpr auto kVector = VectorMode::kLighten;
        Value operator()(Value f, Value b) const { return std::max(f, b); }
    };
    struct Exclusion {
        static constexpr auto kVector = VectorMode::kExclusion;
        Value operator()(Value f, Value b) const { return A::mul(W - 2 * b, f) + b; }
    };
    struct ColorDodge {
        static constexpr auto kVector = VectorMode::kColorDodge;
        Value operator()(Value f, Value b) const { return f >= W ? f : b * W / (W - f); }
    };
    struct ColorBurn {
        static constexpr auto kVector = VectorMode::kColorBurn;
        Value operator()(Value f, Value b) const {
            if (f == 0) return 0;
            const Value burnt = W - (W - b) * W / f;
            return Trait::kIsFloat ? burnt : std::max(burnt, Value{0});
        }
    };
};

/// A channel formula as a formula of colours.
template <class Formula>
struct OfChannels {
    static constexpr auto kVector = Formula::kVector;
    template <class Value>
    BlendColour<Value> operator()(BlendColour<Value> const& f, BlendColour<Value> const& b) const {
        return perChannel(f, b, Formula{});
    }
};

}  // namespace blend_detail
