// The host's own 16.16 numbers: a signed 32-bit word in units of 1/65536.
#pragma once

#include "Transform/Common/SaturatingCast.h"
#include "platform/effect_api/effect_types.h"

namespace zelk {

/// Exact.
constexpr double fixedToReal(PF_Fixed value) { return value / 65536.0; }
/// Nearest, half away from zero, kept within 32 bits; 0 for what is no number.
inline PF_Fixed realToFixed(double value) { return roundedToInt32(value * 65536.0); }

}  // namespace zelk
