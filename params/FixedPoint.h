// The host's 16.16 numbers: a signed 32-bit word in units of 1/65536.
#pragma once

#include "platform/effect_api/effect_types.h"

namespace QVS {

constexpr double kFixedUnit = 1.0 / 65536.0;  ///< exact in binary

/// Exact.
constexpr double fixedToDouble(PF_Fixed fixed) { return fixed * kFixedUnit; }

/// Truncates toward zero; beyond the word's range, the range's nearest end.
constexpr PF_Fixed truncateToWord(double units) {
    if (!(units > -2147483648.0)) return -2147483647 - 1;
    if (units >= 2147483647.0) return 2147483647;
    return static_cast<PF_Fixed>(units);
}

/// Rounds half away from zero.
constexpr PF_Fixed doubleToFixed(double value) {
    return truncateToWord(value * 65536.0 + (value < 0.0 ? -0.5 : 0.5));
}

/// Truncates toward zero.
constexpr PF_Fixed truncateToFixed(double value) { return truncateToWord(value * 65536.0); }

}  // namespace QVS
