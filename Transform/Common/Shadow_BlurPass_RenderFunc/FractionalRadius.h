// A radius between two whole ones: the picture of the smaller and that of the larger are mixed.
//
//   radius = R + f,  g = 1 - f,  result = blurred(R) g + blurred(R + 1) f
//
// f is the difference in double, narrowed; the mix is single precision throughout. Integer channels
// round to nearest: 0.5 is added after the first product, and the sum is truncated. Float channels
// add nothing and truncate nothing.
#pragma once

#include <cmath>
#include <type_traits>

/// Radii up to this magnitude, in pixels, blur nothing.
constexpr double kNoRadius = 1e-5;

/// False also for what is not a finite number.
inline bool isRadius(double radius) {
    return std::isfinite(radius) && std::fabs(radius) > kNoRadius;
}

struct FractionalRadius {
    double whole;  ///< R, the floor
    float f;       ///< weight of radius R + 1
    float g;       ///< weight of radius R

    explicit FractionalRadius(double radius)
        : whole(std::floor(radius)), f(static_cast<float>(radius - whole)), g(1.0f - f) {}

    /// f is so near to 1 that the radius is taken for a whole one, which truncates to R.
    bool isWhole() const { return std::fabs(g) <= 1e-5f; }

    template <class T>
    T mix(T smaller, T larger) const {
        float const a = static_cast<float>(smaller) * g, b = static_cast<float>(larger) * f;
        if constexpr (std::is_floating_point_v<T>)
            return a + b;
        else
            return static_cast<T>(a + 0.5f + b);
    }
};

/// The whole part of a radius as the passes take it: toward zero, negative ones 0, and large ones
/// cut to more than any line's length.
inline int wholeRadius(double radius) {
    constexpr double kMost = 1 << 28;
    if (!(radius >= 1.0)) return 0;
    return static_cast<int>(radius < kMost ? radius : kMost);
}
