// From a real number to an int, for every number.
//
// A plain cast of a number outside the range of an int, or of none, is undefined. Positions come
// from pins, and pins may be anything.
#pragma once

/// Truncation toward zero, limited to -2^30..2^30 so that sums with an offset still fit an int; not
/// a number gives 0.
template <class Real>
inline int saturatingInt(Real x) {
    constexpr Real kFar = 1073741824;  // 2^30
    if (!(x > -kFar)) return x <= -kFar ? -(1 << 30) : 0;
    if (x >= kFar) return 1 << 30;
    return static_cast<int>(x);
}
