// The vector twin of PlateRows.h: whole vectors of pixels, and what is left of a row by the scalar.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/PlateRows_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/PlateRows.h"

HWY_BEFORE_NAMESPACE();
namespace plate_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

template <int Alpha>
HWY_INLINE int layVectors(float*, float const*, int) {
    return 0;
}

#else

/// Lays whole vectors of the row; returns how many channels those are. A plate that is hidden all
/// over a vector is not read.
template <int Alpha>
HWY_INLINE int layVectors(float* pixels, float const* plate, int channels) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    int const lanes = static_cast<int>(hn::Lanes(d));
    auto const place = hn::And(hn::Iota(di, 0), hn::Set(di, 3));
    auto const isAlpha = hn::RebindMask(d, hn::Eq(place, hn::Set(di, Alpha)));
    auto const one = hn::Set(d, 1.0f), least = hn::Set(d, kWeightRounding);
    int i = 0;
    for (; i + lanes <= channels; i += lanes) {
        auto const front = hn::LoadU(d, pixels + i);
        auto const rest = hn::Sub(one, hn::Broadcast<Alpha>(front));
        auto const isHidden = hn::Le(hn::Abs(rest), least);
        auto result = hn::IfThenElse(isAlpha, one, front);
        if (!hn::AllTrue(d, isHidden)) {
            auto const through = hn::Mul(hn::LoadU(d, plate + i), rest);
            result = hn::IfThenElse(isHidden, result, hn::Add(front, through));
        }
        hn::StoreU(result, d, pixels + i);
    }
    return i;
}

#endif  // scalar

template <int Alpha>
HWY_INLINE void layRow(float* pixels, float const* plate, int width) {
    int const done = layVectors<Alpha>(pixels, plate, 4 * width);
    layOverPlateNormallyScalar(pixels + done, plate + done, width - done / 4, Alpha);
}

void lay(float* pixels, float const* plate, int width, int alpha) {
    alpha == 0 ? layRow<0>(pixels, plate, width) : layRow<3>(pixels, plate, width);
}

}  // namespace HWY_NAMESPACE
}  // namespace plate_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace plate_simd {
HWY_EXPORT(lay);
}  // namespace plate_simd

void layOverPlateNormally(float* pixels, float const* plate, int width, int alpha) {
    HWY_DYNAMIC_DISPATCH(plate_simd::lay)(pixels, plate, width, alpha);
}
#endif  // HWY_ONCE
