// The host's 16.16 numbers, signed 32-bit words in units of 1/65536, and its ratios.
#pragma once

#include <cstdint>
#include <limits>

#include "Transform/Common/SaturatingCast.h"
#include "platform/effect_api/effect_types.h"

namespace QVS {

constexpr double kFixedUnit = 1.0 / 65536.0;  ///< exact in binary

/// Exact.
constexpr double fixedToDouble(PF_Fixed fixed) { return fixed * kFixedUnit; }

/// Truncates toward zero; beyond the word's range, the range's nearest end, and the lower end for
/// what is no number.
constexpr PF_Fixed truncateToWord(double units) {
    return truncatedToInt32(units, std::numeric_limits<std::int32_t>::min());
}

/// Rounds half away from zero.
constexpr PF_Fixed doubleToFixed(double value) {
    return truncateToWord(value * 65536.0 + (value < 0.0 ? -0.5 : 0.5));
}

/// Truncates toward zero.
constexpr PF_Fixed truncateToFixed(double value) { return truncateToWord(value * 65536.0); }

constexpr double ratio(PF_RationalScale const& scale) {
    return static_cast<double>(scale.num) / static_cast<double>(scale.den);
}

}  // namespace QVS
