// Kernel table samples of an N by N block in vector code, four channels or one. Included once for
// each instruction set, by their line functions and by what measures them.
#include "Transform/Common/Transform_Core_Render/LineFuncPlane-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncTaps-inl.h"

#if defined(ZELK_LINE_FUNC_KERNEL_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef ZELK_LINE_FUNC_KERNEL_INL
#undef ZELK_LINE_FUNC_KERNEL_INL
#else
#define ZELK_LINE_FUNC_KERNEL_INL
#endif

#if !ZELK_LINE_FUNC_SCALAR
HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

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

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();
#endif  // !ZELK_LINE_FUNC_SCALAR
#endif  // target toggle
