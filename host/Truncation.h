// From double to the host's 32-bit numbers.
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
