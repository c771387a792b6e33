// The vector twin of LineFuncKernel.cpp: interior runs of four channels and of one, 4 by 4 taps and
// 6, 8 or 10 a side. Any other number of taps goes to the scalar function.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/LineFuncKernel_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncPlane-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSlots.h"
#include "Transform/Common/Transform_Core_Render/LineFuncTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if ZELK_LINE_FUNC_SCALAR

template <class T>
void kernel4x4(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_4x4(settings, line);
}
template <class T>
void kernel4x4Plane(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_4x4_1(settings, line);
}
template <class T>
void kernelTaps(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc(settings, line);
}
template <class T>
void kernelTapsPlane(void* settings, LineRenderStruct* line) {
    LineFuncCP<T>::biCubicFunc_1(settings, line);
}

#else

/// The weights of kLanes pixels, from their places in the table: vector n has the n-th of each.
template <int Taps>
HWY_INLINE void weightsOf(RenderSettings const& s, std::int32_t const* places,
                          VF (&weights)[Taps]) {
#pragma GCC unroll 3
    for (int i = 0; i < Taps; i += 4) {
        int const from = std::min(i, Taps - 4);
        VF four[4];
        valuesOfPixels<float>(four, [&](int m) { return loadFour(s.lut + places[m] + from); });
        for (int n = i; n < std::min(i + 4, Taps); ++n) weights[n] = four[n - from];
    }
}

/// The sums of kLanes pixels of one channel, a pixel a lane.
template <class T, int Taps>
HWY_INLINE VF sumPlaneTaps(RenderSettings const& s, TapPlaces const& at, int i) {
    VF wx[Taps], wy[Taps];
    weightsOf(s, at.wx + i, wx);
    weightsOf(s, at.wy + i, wy);
    VF total = hn::Zero(DF());
    for (int j = 0; j < Taps; ++j) {
        VF r = hn::Zero(DF()), four[4];
#pragma GCC unroll 10
        for (int n = 0; n < Taps; ++n) {
            int const from = std::min(n / 4 * 4, Taps - 4);
            if (n % 4 == 0)
                valuesOfPixels<T>(four, [&](int m) {
                    return loadFour(ps::sourcePixel<T, 1>(s, at.x[i + m] + from, at.y[i + m] + j));
                });
            const VF weighted = hn::Mul(wx[n], four[n - from]);
            r = n == 0 ? weighted : hn::Add(r, weighted);
        }
        const VF row = hn::Mul(wy[j], r);
        total = j == 0 ? row : hn::Add(total, row);
    }
    return total;
}

/// 4 taps a side have their own rule for rounding, and for what is outside; see LineFuncCP.h.
template <class T, int C, int Taps>
struct Kernel {
    using Block = BlockOf<TapBlockPlaces<T> >;
    static constexpr int kChannels = C, kTaps = Taps;
    static constexpr Rounding kRounding =
        Taps == 4 ? Rounding::kRoundThenLimit : Rounding::kLimitThenRound;
    static constexpr bool kPrefetches = false, kHasInside = C == 4;
    static constexpr int kPrefetchStep = sizeof(T) == 4 ? 2 : 4;  ///< pixels

    static HWY_INLINE void split(RenderSettings const& s, int count, Block& b) {
        splitTaps(s, Taps, count, b.u, b.v, b, b.outside);
    }
    static HWY_INLINE VF sample(RenderSettings const& s, Block const& b, int i) {
        if constexpr (C == 4)
            return sumTaps<T, Taps>(s, b, i);
        else
            return sumPlaneTaps<T, Taps>(s, b, i);
    }

    static HWY_INLINE void splitInside(RenderSettings const& s, int count, Block& b) {
        splitTapsInside<T, Taps>(s, count, b.u, b.v, b);
    }
    static HWY_INLINE void sampleInside(RenderSettings const& s, Block const& b, int i, T* out) {
        if constexpr (std::is_floating_point_v<T>) {
            for (int k = 0; k < kGroup; k += kSide)
                hn::StoreU(sumTapsInside<T, Taps>(s, b, i + k), DF(), out + 4 * k);
        } else {
            alignas(64) float sums[4 * kGroup];
            if (b.isTiled)
                for (int k = 0; k < kGroup; k += kSide)
                    hn::Store(sumTapsTiled<T, Taps>(s, b, i + k), DF(), sums + 4 * k);
            else
                for (int k = 0; k < kGroup; k += kSide)
                    hn::Store(sumTapsInside<T, Taps>(s, b, i + k), DF(), sums + 4 * k);
            storeGroup<T, kRounding>(s, sums, out);
        }
    }

    static HWY_INLINE void scalar(RenderSettings const& s, ps::SourcePosition at, T* out) {
        using ps::Outside;
        float sum[C];
        if constexpr (Taps == 4)
            ps::sample4x4<T, C, C == 4 ? Outside::kRepeatBorder : Outside::kBlack>(s, at, sum);
        else
            ps::sampleTaps<T, C>(s, at, sum);
        for (int c = 0; c < C; ++c)
            out[c] =
                Taps == 4 ? ps::roundThenLimit<T>(s, sum[c]) : ps::limitThenRound<T>(s, sum[c]);
    }
};

template <class T, int C>
HWY_INLINE void runTaps(void* settings, LineRenderStruct* line, QV_LineFunc otherwise) {
    switch (static_cast<RenderSettings const*>(settings)->taps) {
        case 6:
            return run<T, Kernel<T, C, 6> >(settings, line);
        case 8:
            return run<T, Kernel<T, C, 8> >(settings, line);
        case 10:
            return run<T, Kernel<T, C, 10> >(settings, line);
        default:
            otherwise(settings, line);
    }
}

template <class T>
void kernel4x4(void* settings, LineRenderStruct* line) {
    run<T, Kernel<T, 4, 4> >(settings, line);
}
template <class T>
void kernel4x4Plane(void* settings, LineRenderStruct* line) {
    run<T, Kernel<T, 1, 4> >(settings, line);
}
template <class T>
void kernelTaps(void* settings, LineRenderStruct* line) {
    runTaps<T, 4>(settings, line, LineFuncCP<T>::biCubicFunc);
}
template <class T>
void kernelTapsPlane(void* settings, LineRenderStruct* line) {
    runTaps<T, 1>(settings, line, LineFuncCP<T>::biCubicFunc_1);
}

#endif  // ZELK_LINE_FUNC_SCALAR

ZELK_PLAIN_FUNCTIONS(kernel4x4)
ZELK_PLAIN_FUNCTIONS(kernel4x4Plane)
ZELK_PLAIN_FUNCTIONS(kernelTaps)
ZELK_PLAIN_FUNCTIONS(kernelTapsPlane)
char const* targetName() { return hwy::TargetName(HWY_TARGET); }

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace line_simd {
HWY_EXPORT(targetName);
}  // namespace line_simd

#define ZELK_SETTINGS_TAPS static_cast<RenderSettings const*>(settings)->taps
ZELK_SLOT(biCubicFunc_4x4, 4, kernel4x4)
ZELK_SLOT(biCubicFunc_4x4_1, 4, kernel4x4Plane)
ZELK_SLOT(biCubicFunc, ZELK_SETTINGS_TAPS, kernelTaps)
ZELK_SLOT(biCubicFunc_1, ZELK_SETTINGS_TAPS, kernelTapsPlane)
#undef ZELK_SETTINGS_TAPS

char const* lineFuncSimdTarget() { return HWY_DYNAMIC_DISPATCH(line_simd::targetName)(); }
#endif  // HWY_ONCE
