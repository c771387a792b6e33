// From a real number to a whole one or a fraction, for every number.
//
// A plain cast of a number outside the range of an integer, or of none, is undefined. Positions
// come from pins, times and sizes from controls, and both may be anything.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// Truncation toward zero, limited to -2^30..2^30 so that sums with an offset still fit an int; not
/// a number gives 0.
template <class Real>
inline int saturatingInt(Real x) {
    constexpr Real kFar = 1073741824;  // 2^30
    if (!(x > -kFar)) return x <= -kFar ? -(1 << 30) : 0;
    if (x >= kFar) return 1 << 30;
    return static_cast<int>(x);
}

/// Truncated toward zero; beyond 32 bits the nearest, and `ofNoNumber` for what is no number.
constexpr std::int32_t truncatedToInt32(double value, std::int32_t ofNoNumber = 0) {
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    if (value != value) return ofNoNumber;
    if (value <= kLeast) return kLeast;
    return value >= kMost ? kMost : static_cast<std::int32_t>(value);
}

/// To the nearest, half away from zero; beyond 32 bits the nearest, and 0 for what is no number.
inline std::int32_t roundedToInt32(double value) { return truncatedToInt32(std::round(value)); }

/// A whole number of pixels within the 16 bits of a host's coordinates.
constexpr std::int16_t saturatingInt16(int value) {
    constexpr int kLeast = std::numeric_limits<std::int16_t>::min();
    constexpr int kMost = std::numeric_limits<std::int16_t>::max();
    return static_cast<std::int16_t>(value < kLeast ? kLeast : value > kMost ? kMost : value);
}

/// A fraction of full opacity, limited to 0..1; 0 for what is no number.
constexpr double limitedOpacity(double value) { return value > 0 ? (value < 1 ? value : 1) : 0; }
