// The three ways in which coverage enters a transfer mode: one pixel of each, given its pair.
//
//   standard   the mode weighted by the background's coverage, laid over the background
//   behind     the background laid over the foreground; no mode
//   combining  both colours weighted by their coverage, then added or subtracted
//
// Notation of BlendArithmetic.h. One text serves integers and float: with W = 1 the factors W
// vanish without a rounding. Quotients of integers truncate toward zero.
#pragma once

#include <algorithm>

#include "Transform/Common/Transform_Core_Render/BlendPair.h"

namespace blend_detail {

template <class Trait>
using BlendValue = typename BlendArithmetic<Trait>::Value;

/// A finished colour with the alpha of both layers.
template <class Trait>
BlendPixel<Trait> finished(BlendPair<Trait> const& pair, BlendColour<BlendValue<Trait>> const& m) {
    using A = BlendArithmetic<Trait>;
    return {{A::limited(m.red), A::limited(m.green), A::limited(m.blue)}, pair.ra};
}

/// The colour of `pixel` as it stands with the alpha of both layers.
template <class Trait>
BlendPixel<Trait> untouched(BlendPair<Trait> const& pair, typename Trait::Channel const* pixel) {
    return {BlendPixel<Trait>::at(pixel).colour, pair.ra};
}

/// mul(below, W - alpha) + mul(above, alpha)
template <class Trait>
BlendColour<BlendValue<Trait>> crossFaded(BlendColour<BlendValue<Trait>> const& below,
                                          BlendColour<BlendValue<Trait>> const& above,
                                          BlendValue<Trait> alpha) {
    using A = BlendArithmetic<Trait>;
    return perChannel(below, above, [rest = A::kWhite - alpha, alpha](auto lower, auto upper) {
        return A::mul(lower, rest) + A::mul(upper, alpha);
    });
}

/// m, which covers fa, over what the background shows beside it:
///   w = mul(ba, W - fa)   t = w + fa   (mul(m, fa) + mul(b, w)) W / t, 0 when t is 0
template <class Trait>
BlendColour<BlendValue<Trait>> overBackground(BlendPair<Trait> const& pair,
                                              BlendColour<BlendValue<Trait>> const& m) {
    using A = BlendArithmetic<Trait>;
    using Value = BlendValue<Trait>;
    const Value fa = pair.fa;
    const Value w = A::mul(pair.ba, A::kWhite - fa);
    const Value t = w + fa;
    if (t == 0) return {0, 0, 0};
    return perChannel(m, pair.b, [=](Value over, Value under) -> Value {
        return (A::mul(over, fa) + A::mul(under, w)) * A::kWhite / t;
    });
}

/// m = f, or mode(f, b) as far as the background covers; then over the background where the
/// foreground is see-through. A foreground without alpha leaves the background as it stands.
template <class Trait, class Mode>
BlendPixel<Trait> standardSkeleton(BlendPair<Trait> const& pair, Mode mode) {
    using A = BlendArithmetic<Trait>;
    if (pair.fa == 0) return untouched(pair, pair.background);
    auto m = pair.f;
    if (pair.ba > 0) {
        m = mode(pair.f, pair.b);
        if (pair.ba < A::kWhite) m = crossFaded<Trait>(pair.f, m, pair.ba);
    }
    bool const hasBackground = Trait::kIsFloat ? pair.ba != 0 : pair.ba > 0;
    if (A::seeThrough(pair.fa) && hasBackground) m = overBackground(pair, m);
    return finished(pair, m);
}

/// A background without alpha leaves the foreground's colour as it stands, an opaque one is the
/// result, its own alpha included.
template <class Trait>
BlendPixel<Trait> behindSkeleton(BlendPair<Trait> const& pair) {
    using A = BlendArithmetic<Trait>;
    if (pair.ba == 0) return untouched(pair, pair.foreground);
    if (pair.ba == A::kWhite) return BlendPixel<Trait>::at(pair.background);
    auto m = crossFaded<Trait>(pair.f, pair.b, pair.ba);
    if (A::seeThrough(pair.fa)) m = overBackground(pair, m);
    return finished(pair, m);
}

/// f' = mul(f, fa), b' = mul(b, ba), neither at white alpha;  combine(f', b', ra) W / ra, 0 when
/// ra is 0. One layer without alpha leaves the other's colour.
template <class Trait, class Combine>
BlendPixel<Trait> combiningSkeleton(BlendPair<Trait> const& pair, Combine combine) {
    using A = BlendArithmetic<Trait>;
    using Value = BlendValue<Trait>;
    if (pair.fa == 0) return untouched(pair, pair.background);
    if (!(pair.ba > 0)) return finished(pair, pair.f);
    if (pair.ra == 0) return finished(pair, {0, 0, 0});
    auto const weighted = [](Value c, Value alpha) {
        return alpha == A::kWhite ? c : A::mul(c, alpha);
    };
    return finished(pair, perChannel(pair.f, pair.b, [&](Value f, Value b) -> Value {
                        return combine(weighted(f, pair.fa), weighted(b, pair.ba), pair.ra) *
                               A::kWhite / pair.ra;
                    }));
}

}  // namespace blend_detail
