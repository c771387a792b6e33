// From double to the host's whole numbers and fractions, defined for every double.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// Truncated toward zero; beyond 32 bits the nearest, and 0 for what is no number.
inline std::int32_t truncatedToInt32(double value) {
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    if (std::isnan(value)) return 0;
    if (value <= kLeast) return kLeast;
    return value >= kMost ? kMost : static_cast<std::int32_t>(value);
}

/// A fraction of full opacity, limited to 0..1; 0 for what is no number.
inline double limitedOpacity(double value) { return value > 0 ? (value < 1 ? value : 1) : 0; }
