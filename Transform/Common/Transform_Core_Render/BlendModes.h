// One functor per transfer mode: from the two pixels of a place to the pixel of the result.
//
// Each is a template over the five arguments that all pixel functions take, and a skeleton with its
// formula; the arithmetic is in BlendSkeletons.h, BlendFormulas.h and BlendHue.h.
#pragma once

#include <algorithm>

#include "Transform/Common/Transform_Core_Render/BlendFormulas.h"
#include "Transform/Common/Transform_Core_Render/BlendHue.h"
#include "Transform/Common/Transform_Core_Render/BlendSkeletons.h"

namespace blend_detail {

/// The standard skeleton with a formula of colours.
template <class Trait, class Mode>
struct Standard {
    static constexpr auto kVector = Mode::kVector;
    BlendPixel<Trait> operator()(BlendPair<Trait> const& pair) const {
        return standardSkeleton(pair, Mode{});
    }
};

template <class Trait, class Formula>
using StandardOfChannels = Standard<Trait, OfChannels<Formula>>;

template <class Trait, class Take>
using StandardOfParts = Standard<Trait, OfParts<Trait, Take>>;

template <class Trait>
using Formulas = BlendFormulas<Trait>;

}  // namespace blend_detail

// clang-format off
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_NORMAL : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Normal> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_MULTIPLY : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Multiply> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_SCREEN : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Screen> {};
/// Screen under a mode number of its own.
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_SCREEN_SPECIAL : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Screen> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_OVERLAY : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Overlay> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_SOFTLIGHT : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::SoftLight> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_HARDLIGHT : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::HardLight> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_DARKEN : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Darken> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_LIGHTEN : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Lighten> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_EXCLUSION : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::Exclusion> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_COLORDODGE : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::ColorDodge> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_COLORBURN : blend_detail::StandardOfChannels<Trait, typename blend_detail::Formulas<Trait>::ColorBurn> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_HUE : blend_detail::StandardOfParts<Trait, blend_detail::TakeHue> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_SAT : blend_detail::StandardOfParts<Trait, blend_detail::TakeSaturation> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_COLOR : blend_detail::StandardOfParts<Trait, blend_detail::TakeColor> {};
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_LUMA : blend_detail::StandardOfParts<Trait, blend_detail::TakeLuminosity> {};
// clang-format on

template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_BEHIND {
    static constexpr auto kVector = VectorMode::kBehind;
    blend_detail::BlendPixel<Trait> operator()(blend_detail::BlendPair<Trait> const& pair) const {
        return blend_detail::behindSkeleton(pair);
    }
};

/// f' + b', integers up to the result's alpha.
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_ADD {
    static constexpr auto kVector = VectorMode::kAdd;
    blend_detail::BlendPixel<Trait> operator()(blend_detail::BlendPair<Trait> const& pair) const {
        return blend_detail::combiningSkeleton(pair, [](auto f, auto b, auto ra) {
            return Trait::kIsFloat ? f + b : std::min(ra, f + b);
        });
    }
};

/// |b' - f'|
template <class Trait, class Channel, class Wide, class Weight, class Format>
struct BLEND_DIFFERENCE {
    static constexpr auto kVector = VectorMode::kDifference;
    blend_detail::BlendPixel<Trait> operator()(blend_detail::BlendPair<Trait> const& pair) const {
        return blend_detail::combiningSkeleton(
            pair, [](auto f, auto b, auto) { return b < f ? f - b : b - f; });
    }
};
