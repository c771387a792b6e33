// The two pixels that meet at one place, and the pixel that comes of them.
//
// Unit: channel values of the format, straight colour. A mode's functor takes a BlendPair and
// returns a BlendPixel, so a pixel is read whole before it is written and rasters may coincide.
#pragma once

#include "Transform/Common/Transform_Core_Render/BlendArithmetic.h"

namespace blend_detail {

/// Three colour channels of any number type.
template <class Value>
struct BlendColour {
    Value red, green, blue;
};

/// Applies `formula(f, b)` to each colour channel.
template <class Value, class Formula>
BlendColour<Value> perChannel(BlendColour<Value> const& f, BlendColour<Value> const& b,
                              Formula formula) {
    return {formula(f.red, b.red), formula(f.green, b.green), formula(f.blue, b.blue)};
}

template <class Trait>
struct BlendPixel {
    using Value = typename BlendArithmetic<Trait>::Value;

    BlendColour<Value> colour;
    Value alpha;

    /// A pixel as it stands: nothing raised, nothing limited.
    static BlendPixel at(typename Trait::Channel const* pixel) {
        return {{pixel[Trait::kRed], pixel[Trait::kGreen], pixel[Trait::kBlue]},
                pixel[Trait::kAlpha]};
    }
    void storeAt(typename Trait::Channel* pixel) const {
        using Channel = typename Trait::Channel;
        pixel[Trait::kAlpha] = static_cast<Channel>(alpha);
        pixel[Trait::kRed] = static_cast<Channel>(colour.red);
        pixel[Trait::kGreen] = static_cast<Channel>(colour.green);
        pixel[Trait::kBlue] = static_cast<Channel>(colour.blue);
    }
};

template <class Trait>
struct BlendPair {
    using Arithmetic = BlendArithmetic<Trait>;
    using Channel = typename Trait::Channel;
    using Value = typename Arithmetic::Value;
    using Colour = BlendColour<Value>;

    Channel const* foreground;  ///< the pixels as they stand
    Channel const* background;
    Colour f, b;  ///< colours as the modes read them
    Value fa, ba;
    Value ra;  ///< alpha of both together

    BlendPair(Channel const* foregroundPixel, Channel const* backgroundPixel,
              float foregroundOpacity, float backgroundOpacity)
        : foreground(foregroundPixel),
          background(backgroundPixel),
          f(colourAt(foregroundPixel)),
          b(colourAt(backgroundPixel)),
          fa(Arithmetic::withOpacity(foregroundPixel[Trait::kAlpha], foregroundOpacity)),
          ba(Arithmetic::withOpacity(backgroundPixel[Trait::kAlpha], backgroundOpacity)),
          ra(Arithmetic::unionAlpha(fa, ba)) {}

    static Colour colourAt(Channel const* pixel) {
        return {Arithmetic::raised(pixel[Trait::kRed]), Arithmetic::raised(pixel[Trait::kGreen]),
                Arithmetic::raised(pixel[Trait::kBlue])};
    }
};

}  // namespace blend_detail
