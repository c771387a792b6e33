// The vector twin of LineFuncSuperSampled.cpp: interior runs, two pixels at once. A pixel with any
// of its nine samples not wholly inside the source is done over by the scalar function.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/LineFuncSuperSampled_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSlots.h"
#include "Transform/Common/Transform_Core_Render/LineFuncTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if ZELK_LINE_FUNC_SCALAR

template <class T>
void superSampled(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_4x4_ss(settings, line);
}

#else

/// Half a vector of floats as a vector of doubles.
using DHalf = hn::Half<DF>;
using DD = hn::Rebind<double, DHalf>;
using VD = hn::Vec<DD>;

/// Coordinates moved by `offset`: added in double, narrowed to float.
HWY_INLINE void moveBy(double offset, int count, float const* from, float* to) {
    for (int k = 0; k < count; k += kLanes / 2) {
        const VD moved =
            hn::Add(hn::PromoteTo(DD(), hn::Load(DHalf(), from + k)), hn::Set(DD(), offset));
        hn::Store(hn::DemoteTo(DHalf(), moved), DHalf(), to + k);
    }
}

/// Sums to channels, as roundThenLimit of PixelSampling.h does it, as floats.
template <class T>
HWY_INLINE hn::Vec<DHalf> rounded(RenderSettings const& s, VD sums) {
    const DD d;
    if constexpr (std::is_floating_point_v<T>) {
        return hn::DemoteTo(DHalf(), sums);
    } else {
        auto const low = hn::Set(d, double{s.minValue}), high = hn::Set(d, double{s.maxValue});
        const VD n = hn::Add(sums, hn::Set(d, 0.5));
        const VD limited = hn::Min(hn::IfThenElse(hn::Gt(n, low), n, low), high);
        return hn::ConvertTo(DHalf(), hn::DemoteTo(hn::RebindToSigned<DHalf>(), limited));
    }
}

template <class T>
struct SuperSampled {
    struct Places {
        TapPlaces samples[kSuperSamples];
    };
    using Block = BlockOf<Places>;
    static constexpr int kChannels = 4, kTaps = 4;
    static constexpr Rounding kRounding = Rounding::kTruncate;  // `sample` has rounded
    static constexpr bool kPrefetches = false, kHasInside = false;

    static HWY_INLINE void split(RenderSettings const& s, int count, Block& b) {
        alignas(64) float u[kBlock], v[kBlock];
        for (int k = 0; k < kSuperSamples; ++k) {
            moveBy(s.ssOffsetX[k], count, b.u, u);
            moveBy(s.ssOffsetY[k], count, b.v, v);
            splitTaps(s, 4, count, u, v, b.samples[k], b.outside);
        }
    }

    static HWY_INLINE VF sample(RenderSettings const& s, Block const& b, int i) {
        VD lower = hn::Zero(DD()), upper = hn::Zero(DD());
        for (int k = 0; k < kSuperSamples; ++k) {
            auto const weight = hn::Set(DF(), static_cast<float>(s.ssWeight[k]));
            const VF weighted = hn::Mul(sumTaps<T, 4>(s, b.samples[k], i), weight);
            lower = hn::Add(lower, hn::PromoteTo(DD(), hn::LowerHalf(DHalf(), weighted)));
            upper = hn::Add(upper, hn::PromoteTo(DD(), hn::UpperHalf(DHalf(), weighted)));
        }
        return hn::Combine(DF(), rounded<T>(s, upper), rounded<T>(s, lower));
    }

    static HWY_INLINE void scalar(RenderSettings const& s, ps::SourcePosition at, T* out) {
        double sums[4];
        ps::sampleSuperSampled<T, 4>(s, at, sums);
        for (int c = 0; c < 4; ++c) out[c] = ps::roundThenLimit<T>(s, sums[c]);
    }
};

template <class T>
void superSampled(void* settings, LineRenderStruct* line) {
    run<T, SuperSampled<T> >(settings, line);
}

#endif  // ZELK_LINE_FUNC_SCALAR

ZELK_PLAIN_FUNCTIONS(superSampled)

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
ZELK_SLOT(biCubicFunc_4x4_ss, 4, superSampled)
#endif  // HWY_ONCE
