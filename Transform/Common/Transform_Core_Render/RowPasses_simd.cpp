// The vector twins of RowPasses.h: whole vectors of channels, and what is left of a row by the
// scalar loops.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/RowPasses_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>

#include "Transform/Common/Transform_Core_Render/RowPasses.h"

HWY_BEFORE_NAMESPACE();
namespace row_pass_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using row_pass::kIsFloat;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

template <class T>
HWY_INLINE int multiplyAlpha(T*, int, int, std::uint32_t) {
    return 0;
}
template <class T, class Change>
HWY_INLINE int changeFloats(T*, T const*, int, Change) {
    return 0;
}

#else

using DF = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<DF>;
using DU = hn::RebindToUnsigned<DF>;
using VF = hn::Vec<DF>;

/// A pixel is sizeof(T) lanes of 32 bits, alpha the upper or lower end of one of them. Returns how
/// many pixels were done. Floats have none of this: memory takes longer than their products.
template <class T>
HWY_INLINE int multiplyAlpha(T* pixels, int count, int alpha, std::uint32_t factor) {
    const DU d;
    const hn::Repartition<T, DU> dt;
    constexpr int kChannelBits = 8 * sizeof(T), kPixelLanes = sizeof(T);
    int const step = static_cast<int>(hn::Lanes(d)) / kPixelLanes;
    auto const place = hn::And(hn::Iota(d, 0), hn::Set(d, kPixelLanes - 1));
    auto const isAlpha = hn::Eq(place, hn::Set(d, alpha == 0 ? 0 : kPixelLanes - 1));
    int x = 0;
    for (; x + step <= count; x += step) {
        T* const at = pixels + 4 * x;
        auto const old = hn::LoadU(dt, at);
        int const shift = alpha == 0 ? 0 : 32 - kChannelBits;
        constexpr std::uint32_t kChannel = (1u << kChannelBits) - 1;
        auto const v = hn::BitCast(d, old);
        auto const a = hn::And(hn::ShiftRightSame(v, shift), hn::Set(d, kChannel));
        auto const half = hn::Set(d, 1u << (row_pass::kShift<T> - 1));
        auto const changed =
            hn::ShiftRight<row_pass::kShift<T> >(hn::Add(hn::Mul(a, hn::Set(d, factor)), half));
        auto const rest = hn::AndNot(hn::Set(d, kChannel << shift), v);
        auto const merged = hn::Or(rest, hn::ShiftLeftSame(changed, shift));
        hn::StoreU(hn::BitCast(dt, hn::IfThenElse(isAlpha, merged, v)), dt, at);
    }
    return x;
}

template <class T>
HWY_INLINE VF loadFloats(T const* from) {
    if constexpr (kIsFloat<T>)
        return hn::LoadU(DF(), from);
    else
        return hn::ConvertTo(DF(), hn::PromoteTo(DI(), hn::LoadU(hn::Rebind<T, DF>(), from)));
}

/// Integers truncate; `v` lies within the channel type.
template <class T>
HWY_INLINE void storeFloats(VF v, T* to) {
    const hn::Rebind<T, DF> d;
    if constexpr (kIsFloat<T>)
        hn::StoreU(v, d, to);
    else
        hn::StoreU(hn::DemoteTo(d, hn::ConvertTo(DI(), v)), d, to);
}

/// to = change(to, from) on whole vectors. Returns how many channels those are.
template <class T, class Change>
HWY_INLINE int changeFloats(T* to, T const* from, int channels, Change change) {
    int const lanes = static_cast<int>(hn::Lanes(DF()));
    int c = 0;
    for (; c + lanes <= channels; c += lanes)
        storeFloats(change(loadFloats(to + c), loadFloats(from + c)), to + c);
    return c;
}

#endif  // scalar

template <class T>
HWY_INLINE void mergeRow(T* mean, T const* sample, int channels, float weight) {
    int const done = changeFloats(mean, sample, channels, [weight](auto m, auto s) HWY_ATTR {
        const hn::ScalableTag<float> d;
        auto const sum =
            hn::Add(hn::Mul(m, hn::Set(d, 1.0f - weight)), hn::Mul(s, hn::Set(d, weight)));
        return hn::Add(sum, hn::Set(d, kIsFloat<T> ? 0.0f : 0.5f));
    });
    row_pass::merge(mean + done, sample + done, channels - done, weight);
}

template <class T>
HWY_INLINE void scaleRow(T* values, int channels, float factor) {
    int const done = changeFloats(values, values, channels, [factor](auto v, auto) HWY_ATTR {
        return hn::Mul(v, hn::Set(hn::ScalableTag<float>(), factor));
    });
    row_pass::scale(values + done, channels - done, factor);
}

template <class T>
HWY_INLINE void alphaRow(T* pixels, int count, int alpha, row_pass::AlphaFactor<T> factor) {
    int done = 0;
    if constexpr (!kIsFloat<T>) done = multiplyAlpha(pixels, count, alpha, factor);
    row_pass::multiplyAlpha(pixels + 4 * done, count - done, alpha, factor);
}

void alpha8(std::uint8_t* p, int n, int alpha, std::uint32_t f) { alphaRow(p, n, alpha, f); }
void alpha16(std::uint16_t* p, int n, int alpha, std::uint32_t f) { alphaRow(p, n, alpha, f); }
void alphaFloat(float* p, int n, int alpha, float f) { alphaRow(p, n, alpha, f); }
void merge8(std::uint8_t* m, std::uint8_t const* s, int n, float w) { mergeRow(m, s, n, w); }
void merge16(std::uint16_t* m, std::uint16_t const* s, int n, float w) { mergeRow(m, s, n, w); }
void mergeFloat(float* m, float const* s, int n, float w) { mergeRow(m, s, n, w); }
void scale8(std::uint8_t* v, int n, float f) { scaleRow(v, n, f); }
void scale16(std::uint16_t* v, int n, float f) { scaleRow(v, n, f); }
void scaleFloat(float* v, int n, float f) { scaleRow(v, n, f); }

}  // namespace HWY_NAMESPACE
}  // namespace row_pass_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define ZELK_ROWS(T, NAME)                                                                   \
    namespace row_pass_simd {                                                                \
    HWY_EXPORT(alpha##NAME);                                                                 \
    HWY_EXPORT(merge##NAME);                                                                 \
    HWY_EXPORT(scale##NAME);                                                                 \
    }                                                                                        \
    template <>                                                                              \
    void multiplyAlphaRowSimd(T* pixels, int count, int alpha, row_pass::AlphaFactor<T> f) { \
        HWY_DYNAMIC_DISPATCH(row_pass_simd::alpha##NAME)(pixels, count, alpha, f);           \
    }                                                                                        \
    template <>                                                                              \
    void mergeRowSimd(T* mean, T const* sample, int channels, float weight) {                \
        HWY_DYNAMIC_DISPATCH(row_pass_simd::merge##NAME)(mean, sample, channels, weight);    \
    }                                                                                        \
    template <>                                                                              \
    void scaleRowSimd(T* values, int channels, float factor) {                               \
        HWY_DYNAMIC_DISPATCH(row_pass_simd::scale##NAME)(values, channels, factor);          \
    }
ZELK_ROWS(unsigned char, 8)
ZELK_ROWS(unsigned short, 16)
ZELK_ROWS(float, Float)
#endif  // HWY_ONCE
