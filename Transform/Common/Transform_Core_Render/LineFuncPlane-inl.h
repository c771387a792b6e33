// One channel in vector code, a pixel a lane: what LineFuncBilinear_simd.cpp and
// LineFuncKernel_simd.cpp share. Included once for each instruction set.
//
// Four values of each pixel are loaded as they stand, and sorted by a transposition of 4 by 4.
#include "Transform/Common/Transform_Core_Render/LineFuncRun-inl.h"

#if defined(ZELK_LINE_FUNC_PLANE_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef ZELK_LINE_FUNC_PLANE_INL
#undef ZELK_LINE_FUNC_PLANE_INL
#else
#define ZELK_LINE_FUNC_PLANE_INL
#endif

#if !ZELK_LINE_FUNC_SCALAR
HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

/// Four values from `p` on.
template <class T>
HWY_INLINE auto loadFour(T const* p) {
    return hn::LoadU(hn::FixedTag<T, 4>(), p);
}

/// Two values from `p` on, and above them two from `q` on.
template <class T>
HWY_INLINE auto loadTwoAndTwo(T const* p, T const* q) {
    const hn::FixedTag<T, 2> half;
    return hn::Combine(hn::FixedTag<T, 4>(), hn::LoadU(half, q), hn::LoadU(half, p));
}

/// `load(m)` has four values of pixel m, of kLanes pixels; vector n of `out` gets the n-th of each.
template <class T, class Load>
HWY_INLINE void valuesOfPixels(VF (&out)[4], Load load) {
    const DF d;
    VF row[4];  // pixels m and m + 4
#pragma GCC unroll 4
    for (int m = 0; m < 4; ++m) {
        auto const values = sideBySide(hn::Rebind<T, DF>(), load(m), load(m + kLanes - 4));
        if constexpr (std::is_floating_point_v<T>)
            row[m] = values;
        else
            row[m] = hn::ConvertTo(d, hn::PromoteTo(DI(), values));
    }
    const VF even0 = hn::InterleaveLower(d, row[0], row[2]);
    const VF odd0 = hn::InterleaveLower(d, row[1], row[3]);
    const VF even1 = hn::InterleaveUpper(d, row[0], row[2]);
    const VF odd1 = hn::InterleaveUpper(d, row[1], row[3]);
    out[0] = hn::InterleaveLower(d, even0, odd0), out[1] = hn::InterleaveUpper(d, even0, odd0);
    out[2] = hn::InterleaveLower(d, even1, odd1), out[3] = hn::InterleaveUpper(d, even1, odd1);
}

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();
#endif  // !ZELK_LINE_FUNC_SCALAR
#endif  // target toggle
