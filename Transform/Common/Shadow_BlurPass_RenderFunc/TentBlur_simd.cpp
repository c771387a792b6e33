// The vector twin of TentBlurLine.cpp: each lane keeps the two running sums of one channel, in the
// scalar's order. Columns go sixteen at a time, so that memory is read in rows.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlur_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurLine.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurSimd.h"

HWY_BEFORE_NAMESPACE();
namespace tent_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_HAVE_SCALABLE || !HWY_HAVE_FLOAT64

template <class T>
HWY_INLINE void blur(ChannelLine<T> source, ChannelLine<T> dest, int count, int length,
                     int radius) {
    for (int i = 0; i < count; ++i)
        tentBlurLine<T, 4>({source.first + 4 * i, source.step}, {dest.first + 4 * i, dest.step},
                           length, radius);
}
template <class T>
HWY_INLINE int mixVectors(T const*, T*, int, FractionalRadius const&) {
    return 0;
}

#else

/// Sums as the scalar code keeps them.
template <class T, int Lanes>
struct RealSums {
    using D = hn::CappedTag < double, Lanes<4 ? Lanes : 4>;
    using V = hn::Vec<D>;

    static HWY_INLINE V load(T const* p) {
        const hn::Rebind<T, D> d;
        if constexpr (sizeof(T) == 4)
            return hn::PromoteTo(D(), hn::LoadU(d, p));
        else
            return hn::PromoteTo(D(),
                                 hn::PromoteTo(hn::Rebind<std::int32_t, D>(), hn::LoadU(d, p)));
    }
    /// Whole numbers truncate; what is stored lies within the channel type.
    static HWY_INLINE void store(V sum, double scale, T* p) {
        const hn::Rebind<T, D> d;
        auto const v = hn::Mul(sum, hn::Set(D(), scale));
        if constexpr (sizeof(T) == 4)
            hn::StoreU(hn::DemoteTo(d, v), d, p);
        else
            hn::StoreU(hn::DemoteTo(d, hn::DemoteTo(hn::Rebind<std::int32_t, D>(), v)), d, p);
    }
};

/// The same sums where they are whole numbers of 32 bits: twice as many to a vector.
template <class T, int Lanes>
struct WholeSums {
    using D = hn::CappedTag<std::int32_t, Lanes>;
    using V = hn::Vec<D>;

    static HWY_INLINE V load(T const* p) {
        return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<T, D>(), p));
    }
    template <class DI, class VI>
    static HWY_INLINE VI scaled(DI d, VI sum, double scale) {
        if constexpr (hn::MaxLanes(d) * sizeof(double) <= HWY_MAX_BYTES) {
            const hn::Rebind<double, DI> dd;
            return hn::DemoteTo(d, hn::Mul(hn::PromoteTo(dd, sum), hn::Set(dd, scale)));
        } else {
            const hn::Half<DI> half;
            return hn::Combine(d, scaled(half, hn::UpperHalf(half, sum), scale),
                               scaled(half, hn::LowerHalf(half, sum), scale));
        }
    }
    static HWY_INLINE void store(V sum, double scale, T* p) {
        const hn::Rebind<T, D> d;
        hn::StoreU(hn::DemoteTo(d, scaled(D(), sum, scale)), d, p);
    }
};

/// The sums of `Channels` channels side by side, as RunningTent keeps them.
template <class T, class Sums, int Channels>
class RunningTents {
    using D = typename Sums::D;
    using V = typename Sums::V;
    using Lane = hn::TFromD<D>;
    static constexpr int kLanes = static_cast<int>(hn::MaxLanes(D()));
    static constexpr int kVectors = Channels / kLanes;

public:
    HWY_INLINE RunningTents(ChannelLine<T> line, int radius)
        : m_scale(1.0 / (double(radius + 1) * (radius + 1))) {
        auto const times = [](int n, V v)
                               HWY_ATTR { return hn::Mul(hn::Set(D(), static_cast<Lane>(n)), v); };
        for (int i = 0; i < kVectors; ++i) {
            const V p0 = Sums::load(line.pixel(0) + i * kLanes);
            m_sum[i] = times(radius + 1, p0);
            m_slope[i] = hn::Sub(Sums::load(line.pixel(radius + 1) + i * kLanes), p0);
        }
        for (int k = 0; k < radius; ++k)
            for (int i = 0; i < kVectors; ++i) {
                const V p0 = Sums::load(line.pixel(0) + i * kLanes);
                const V p = Sums::load(line.pixel(k + 1) + i * kLanes);
                m_sum[i] = hn::Add(m_sum[i], hn::Add(times(k + 1, p0), times(radius - k, p)));
                m_slope[i] = hn::Add(m_slope[i], hn::Sub(p, p0));
            }
    }

    HWY_INLINE void step(T* out, T const* right, T const* middle, T const* left) {
        for (int i = 0, c = 0; i < kVectors; ++i, c += kLanes) {
            Sums::store(m_sum[i], m_scale, out + c);
            m_sum[i] = hn::Add(m_sum[i], m_slope[i]);
            const V m = Sums::load(middle + c);
            const V bend =
                hn::Add(hn::Sub(Sums::load(right + c), hn::Add(m, m)), Sums::load(left + c));
            m_slope[i] = hn::Add(m_slope[i], bend);
        }
    }

private:
    double m_scale;
    V m_sum[kVectors], m_slope[kVectors];
};

template <class Tents, class T>
HWY_INLINE void blurLines(ChannelLine<T> source, ChannelLine<T> dest, int length, int r) {
    Tents tents(source, r);
    T const* const first = source.pixel(0);
    T const* const last = source.pixel(length - 1);
    int i = 0;
    for (; i <= r; ++i)
        tents.step(dest.pixel(i), source.pixel(i + r + 2), source.pixel(i + 1), first);
    for (; i <= length - r - 3; ++i)
        tents.step(dest.pixel(i), source.pixel(i + r + 2), source.pixel(i + 1),
                   source.pixel(i - r));
    for (; i < length; ++i)
        tents.step(dest.pixel(i), last, source.pixel(std::min(i + 1, length - 1)),
                   source.pixel(i - r));
}

/// Sixteen lines at a time, then one after the other.
template <template <class, int> class Sums, class T>
HWY_INLINE void blurGroups(ChannelLine<T> source, ChannelLine<T> dest, int count, int length,
                           int radius) {
    constexpr int kWide = 16;
    for (int i = 0; i < count;) {
        ChannelLine<T> const from{source.first + 4 * i, source.step};
        ChannelLine<T> const to{dest.first + 4 * i, dest.step};
        bool const isWide = i + kWide <= count;
        if (isWide)
            blurLines<RunningTents<T, Sums<T, 8>, 4 * kWide> >(from, to, length, radius);
        else
            blurLines<RunningTents<T, Sums<T, 4>, 4> >(from, to, length, radius);
        i += isWide ? kWide : 1;
    }
}

template <class T>
HWY_INLINE void blur(ChannelLine<T> source, ChannelLine<T> dest, int count, int length,
                     int radius) {
    if constexpr (std::is_integral_v<T>) {
        double const mostSum = double{std::numeric_limits<T>::max()} * (radius + 1) * (radius + 1);
        if (mostSum <= std::numeric_limits<std::int32_t>::max())
            return blurGroups<WholeSums>(source, dest, count, length, radius);
    }
    blurGroups<RealSums>(source, dest, count, length, radius);
}

/// Mixes whole vectors of the row; returns how many channels those are.
template <class T>
HWY_INLINE int mixVectors(T const* smaller, T* larger, int channels,
                          FractionalRadius const& radius) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<T, decltype(d)> dt;
    auto const f = hn::Set(d, radius.f), g = hn::Set(d, radius.g), half = hn::Set(d, 0.5f);
    int const lanes = static_cast<int>(hn::Lanes(d));
    int c = 0;
    for (; c + lanes <= channels; c += lanes) {
        auto const a = hn::LoadU(dt, smaller + c), b = hn::LoadU(dt, larger + c);
        if constexpr (sizeof(T) == 4) {
            hn::StoreU(hn::Add(hn::Mul(a, g), hn::Mul(b, f)), d, larger + c);
        } else {
            auto const x = hn::ConvertTo(d, hn::PromoteTo(di, a));
            auto const y = hn::ConvertTo(d, hn::PromoteTo(di, b));
            auto const mixed = hn::Add(hn::Add(hn::Mul(x, g), half), hn::Mul(y, f));
            hn::StoreU(hn::DemoteTo(dt, hn::ConvertTo(di, mixed)), dt, larger + c);
        }
    }
    return c;
}

#endif  // scalar

template <class T>
HWY_INLINE void mix(T const* smaller, T* larger, int channels, FractionalRadius const& radius) {
    for (int c = mixVectors(smaller, larger, channels, radius); c < channels; ++c)
        larger[c] = radius.mix(smaller[c], larger[c]);
}

#define ZELK_ROWS(T, NAME)                                                              \
    void blur##NAME(ChannelLine<T> from, ChannelLine<T> to, int n, int length, int r) { \
        blur(from, to, n, length, r);                                                   \
    }                                                                                   \
    void mix##NAME(T const* a, T* b, int n, FractionalRadius const& r) { mix(a, b, n, r); }
ZELK_ROWS(unsigned char, 8)
ZELK_ROWS(unsigned short, 16)
ZELK_ROWS(float, Float)
#undef ZELK_ROWS

}  // namespace HWY_NAMESPACE
}  // namespace tent_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define ZELK_TENT(T, NAME)                                                                       \
    namespace tent_simd {                                                                        \
    HWY_EXPORT(blur##NAME);                                                                      \
    HWY_EXPORT(mix##NAME);                                                                       \
    }                                                                                            \
    template <>                                                                                  \
    void tentBlurLinesSimd(ChannelLine<T> source, ChannelLine<T> dest, int count, int length,    \
                           int radius) {                                                         \
        int const r = limitedTentRadius(radius, length);                                         \
        if (r > 0)                                                                               \
            return HWY_DYNAMIC_DISPATCH(tent_simd::blur##NAME)(source, dest, count, length, r);  \
        for (int i = 0; i < count; ++i)                                                          \
            copyLine<T, 4>({source.first + 4 * i, source.step}, {dest.first + 4 * i, dest.step}, \
                           length);                                                              \
    }                                                                                            \
    template <>                                                                                  \
    void mixRowSimd(T const* smaller, T* larger, int channels, FractionalRadius const& radius) { \
        HWY_DYNAMIC_DISPATCH(tent_simd::mix##NAME)(smaller, larger, channels, radius);           \
    }
ZELK_TENT(unsigned char, 8)
ZELK_TENT(unsigned short, 16)
ZELK_TENT(float, Float)
#endif  // HWY_ONCE
