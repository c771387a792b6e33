// The vector twin of sampleFootprints in Footprint.cpp: one or two texels of a row in a vector,
// four channels each. A column's lanes add in the scalar's order, and the columns are added as the
// scalar adds them: the first, third and fifth, the second, fourth and sixth, and both.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/Footprint_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/Footprint.h"
#include "Transform/Common/Transform_Core_Render/FootprintTaps.h"

HWY_BEFORE_NAMESPACE();
namespace footprint_simd {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_HAVE_SCALABLE

void sample(FootprintSource const& source, FootprintSamples const* samples, int count, float* out) {
    sampleFootprints(source, samples, count, out);
}

#else

namespace hn = hwy::HWY_NAMESPACE;
namespace taps = footprint_taps;

using DF = hn::CappedTag<float, 8>;
using D2 = hn::FixedTag<double, 2>;
using D4 = hn::FixedTag<float, 4>;
using VF = hn::Vec<DF>;
using V4 = hn::Vec<D4>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(DF()));
constexpr int kVectors = taps::kRowFloats / kLanes;  ///< of a row of texels

/// A polynomial in f with other coefficients in each lane.
template <int Powers>
HWY_INLINE VF polynomial(float const (&powers)[Powers][8], int lane, VF f) {
    const DF d;
    VF sum = hn::Load(d, powers[Powers - 1] + lane);
    for (int n = Powers - 2; n >= 0; --n)
        sum = hn::Add(hn::Mul(sum, f), hn::Load(d, powers[n] + lane));
    return sum;
}

/// The weights of a fraction; the last two are 0.
struct Weights {
    alignas(32) float w[8];

    HWY_INLINE Weights(float fraction, float spline) {
        const DF d;
        const VF f = hn::Set(d, fraction), share = hn::Set(d, spline);
        for (int lane = 0; lane < 8; lane += kLanes) {
            const VF sharp =
                hn::Mul(polynomial(taps::kSharp, lane, f), hn::Set(d, taps::kSharpUnit));
            const VF smooth =
                hn::Mul(polynomial(taps::kSpline, lane, f), hn::Set(d, taps::kSplineUnit));
            hn::Store(hn::Add(sharp, hn::Mul(hn::Sub(smooth, sharp), share)), d, w + lane);
        }
    }

    HWY_INLINE VF row(int j) const { return hn::Set(DF(), w[j]); }
    /// Each texel's lanes have the weight of its column.
    template <class D>
    HWY_INLINE hn::Vec<D> columns(D d, int vector) const {
        if constexpr (hn::MaxLanes(D()) == 8)
            return hn::Combine(d, hn::Set(D4(), w[2 * vector + 1]), hn::Set(D4(), w[2 * vector]));
        else
            return hn::Set(d, w[vector]);
    }
};

/// Both coordinates of a sample, as tapOf splits them.
struct Taps {
    alignas(16) std::int32_t whole[4];
    alignas(16) float fraction[4];
};

HWY_INLINE Taps tapsOf(hn::Vec<D2> at, hn::Vec<D2> limit) {
    const D2 d;
    auto const least = hn::Set(d, taps::kLeast);
    auto const limited = hn::IfThenElse(hn::Gt(at, least), hn::Min(at, limit), least);
    auto const whole = hn::Floor(limited);
    const hn::FixedTag<std::int32_t, 2> di;
    const hn::FixedTag<float, 2> df;
    Taps t;
    hn::Store(hn::DemoteTo(di, whole), di, t.whole);
    hn::Store(hn::DemoteTo(df, hn::Sub(limited, whole)), df, t.fraction);
    return t;
}

HWY_INLINE VF columnSum(taps::Block block, int vector, Weights const& wy) {
    const DF d;
    float const* const first = block.first + vector * kLanes;
    VF sum = hn::Mul(hn::LoadU(d, first), wy.row(0));
    for (int j = 1; j < taps::kTaps; ++j)
        sum = hn::Add(sum, hn::Mul(hn::LoadU(d, first + j * block.rowFloats), wy.row(j)));
    return sum;
}

/// The columns, by vectors.
struct Columns {
    VF v[kVectors];
};

/// Halves added, down to four lanes.
template <class D>
HWY_INLINE V4 folded(D d, hn::Vec<D> v) {
    if constexpr (hn::MaxLanes(D()) == 4) {
        return v;
    } else {
        const hn::Half<D> half;
        return hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v));
    }
}

HWY_INLINE V4 total(Columns const& c) {
    auto const everySecond = [&c](int first, int step) {
        return hn::Add(hn::Add(c.v[first], c.v[first + step]), c.v[first + 2 * step]);
    };
    if (kVectors == 3) return folded(DF(), everySecond(0, 1));
    return folded(DF(), hn::Add(everySecond(0, 2), everySecond(1, 2)));
}

/// x and y side by side.
HWY_INLINE hn::Vec<D2> pair(double x, double y) {
    alignas(16) double const values[2] = {x, y};
    return hn::Load(D2(), values);
}

HWY_INLINE V4 mean(FootprintSource const& source, FootprintSamples const& s) {
    const D2 d2;
    alignas(64) float copy[taps::kTaps * taps::kRowFloats];
    FootprintSource::Level const& level = source.levels()[static_cast<std::size_t>(s.level)];
    auto const limit = pair(level.width + taps::kBeyond, level.height + taps::kBeyond);
    auto const start = pair(s.x, s.y), column = pair(s.columnX, s.columnY);
    auto const row = pair(s.rowX, s.rowY);
    Columns columns;
    for (VF& v : columns.v) v = hn::Zero(DF());
    for (std::int32_t j = 0; j < s.rows; ++j) {
        auto const down = hn::Mul(hn::Set(d2, double(j)), row);
        for (std::int32_t i = 0; i < s.columns; ++i) {
            auto const across = hn::Add(start, hn::Mul(hn::Set(d2, double(i)), column));
            const Taps t = tapsOf(hn::Add(across, down), limit);
            auto const block =
                taps::blockAt(level, t.whole[0] - taps::kBefore, t.whole[1] - taps::kBefore, copy);
            const Weights wx(t.fraction[0], s.splineX), wy(t.fraction[1], s.splineY);
            for (int v = 0; v < kVectors; ++v)
                columns.v[v] =
                    hn::Add(columns.v[v], hn::Mul(columnSum(block, v, wy), wx.columns(DF(), v)));
        }
    }
    return hn::Mul(total(columns), hn::Set(D4(), s.scale));
}

void sample(FootprintSource const& source, FootprintSamples const* samples, int count, float* out) {
    for (int n = 0; n < count; ++n, out += 4) hn::StoreU(mean(source, samples[n]), D4(), out);
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace footprint_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace footprint_simd {
HWY_EXPORT(sample);
}

void sampleFootprintsSimd(FootprintSource const& source, FootprintSamples const* samples, int count,
                          float* out) {
    HWY_DYNAMIC_DISPATCH(footprint_simd::sample)(source, samples, count, out);
}

#endif  // HWY_ONCE
