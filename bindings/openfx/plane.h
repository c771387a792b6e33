// From the host's plane to the engine's: y points up there and down here, and this is the only
// place that turns it round.
//
//   x pixel = x canonical * scale x / pixel aspect        (scale and aspect of the render)
//   y pixel = -y canonical * scale y                      y = 0 is the same line in both
//
// A row j of the host lies between y = j and j + 1, so the engine's row is -1 - j. Offsets,
// Translate Y and Rotate count upwards and to the left there.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Transform/Common/SaturatingCast.h"
#include "bindings/common/host_picture.h"
#include "bindings/openfx/ofx_types.h"

namespace zelk::bindings {

/// Infinite sides, and whatever is as far away, end here: far beyond any image, and safe to negate
/// and to subtract.
constexpr int kFarPx = 1 << 29;

/// Pixels of a render to a canonical unit, on both axes; above 0.
struct PlaneScale {
    double x = 1, y = 1;

    OfxPointD toPixels(OfxPointD const& canonical) const {
        return {canonical.x * x, -canonical.y * y};
    }
    /// The pixels that the rectangle touches, but for the rounding of a scale such as 1/3.
    PixelRect toPixels(OfxRectD const& r) const {
        constexpr double kSlackPx = 1e-6;
        auto const down = [](double v) {
            return truncatedToInt32(std::clamp<double>(std::floor(v + kSlackPx), -kFarPx, kFarPx));
        };
        return {down(r.x1 * x), down(-r.y2 * y), -down(-r.x2 * x), -down(r.y1 * y)};
    }
};

inline PixelRect downwards(OfxRectI const& r) {
    auto const near = [](int side) { return std::clamp(side, -kFarPx, kFarPx); };
    return {near(r.x1), -near(r.y2), near(r.x2), -near(r.y1)};
}

/// Hosts round regions in ways of their own: theirs, where it is ours but for a pixel on a side.
inline PixelRect settled(PixelRect const& ours, PixelRect const& hosts) {
    auto const isNear = [](int a, int b) { return std::abs(a - b) <= 1; };
    bool const isOurs = isNear(ours.left, hosts.left) && isNear(ours.top, hosts.top) &&
                        isNear(ours.right, hosts.right) && isNear(ours.bottom, hosts.bottom);
    return isOurs ? hosts : ours;
}

/// Distances upwards and turns to the left, as hosts count them, are downwards and to the right in
/// the effect.
constexpr double turnedRound(double upwards) { return -upwards; }

/// Whole canonical pixels from the upper left corner of a rectangle, y down: the plane in which the
/// effect's own interaction works.
struct CornerPlane {
    double left, top;

    OfxPointD fromCanonical(OfxPointD const& p) const { return {p.x - left, top - p.y}; }
    OfxPointD toCanonical(OfxPointD const& p) const { return {p.x + left, top - p.y}; }
};

/// A point of a file, as fractions of a rectangle from its upper left corner.
inline OfxPointD placeWithin(OfxRectD const& r, double xFraction, double yFraction) {
    return {r.x1 + xFraction * (r.x2 - r.x1), r.y2 - yFraction * (r.y2 - r.y1)};
}

inline bool isEmpty(OfxRectD const& r) { return !(r.x2 > r.x1) || !(r.y2 > r.y1); }

inline OfxRectD united(OfxRectD const& a, OfxRectD const& b) {
    if (isEmpty(a)) return b;
    if (isEmpty(b)) return a;
    return {std::min(a.x1, b.x1), std::min(a.y1, b.y1), std::max(a.x2, b.x2), std::max(a.y2, b.y2)};
}

inline OfxRectD grown(OfxRectD const& r, double byX, double byY) {
    return {r.x1 - byX, r.y1 - byY, r.x2 + byX, r.y2 + byY};
}

inline OfxRectD shared(OfxRectD const& a, OfxRectD const& b) {
    return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

}  // namespace zelk::bindings
