// The vector twin of Premult.h: whole vectors of pixels, and what is left of a row by the scalar
// arithmetic. A pixel of 8 bits is a lane of 32; of the other types a channel is.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/Premult_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>
#include <type_traits>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "Transform/Common/Transform_Core_Render/PremultSimd.h"

HWY_BEFORE_NAMESPACE();
namespace premult_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Any trait of the channel type: the arithmetic depends on its white alone.
template <class T>
using TraitOf = std::conditional_t<sizeof(T) == 1, PIXEL_ARGB8,
                                   std::conditional_t<sizeof(T) == 2, PIXEL_ARGB15, PIXEL_ARGB32>>;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

template <class T, int Alpha, bool Divides>
HWY_INLINE int changeVectors(T*, int) {
    return 0;
}
template <int Alpha, bool Divides>
HWY_INLINE int changePixels8(std::uint8_t*, int) {
    return 0;
}

#else

using DF = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<DF>;
using DU = hn::RebindToUnsigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
using VU = hn::Vec<DU>;

/// c a, rounded as the scalar's: no product of 32 bits overflows.
template <class T>
HWY_INLINE VI multiplied(VI c, VI a) {
    constexpr int kShift = premult_detail::kShift<TraitOf<T>>;
    const DU d;
    auto const product = hn::Mul(hn::BitCast(d, c), hn::BitCast(d, a));
    auto const sum = hn::Add(product, hn::Set(d, 1u << (kShift - 1)));
    return hn::Min(hn::BitCast(DI(), hn::ShiftRight<kShift>(sum)),
                   hn::Set(DI(), int{TraitOf<T>::kWhite}));
}

/// min(c white / a, white), or c where a is 0. Numerator and alpha are exact floats. Their
/// quotient, once limited to 15 bits, rounds by less than 1 and never below a whole number that it
/// has reached, so truncation is right or one too high, which the remainder tells.
template <class T>
HWY_INLINE VI divided(VI c, VI a) {
    const DF d;
    const DI di;
    static_assert(TraitOf<T>::kWhite == 1 << 15);
    auto const white = hn::Set(di, 1 << 15);
    const VI numerator = hn::ShiftLeft<15>(c), divisor = hn::Max(a, hn::Set(di, 1));
    auto const quotient = hn::Div(hn::ConvertTo(d, numerator), hn::ConvertTo(d, divisor));
    const VI q = hn::ConvertTo(di, hn::Min(quotient, hn::ConvertTo(d, white)));
    const VI remainder = hn::Sub(numerator, hn::Mul(q, divisor));
    const VI exact = hn::Add(q, hn::VecFromMask(di, hn::Lt(remainder, hn::Zero(di))));
    return hn::IfThenElse(hn::Eq(a, hn::Zero(di)), c, exact);
}

/// Lanes of zero bits. -0 is none: it changes the sign of a product.
template <class D, class V>
HWY_INLINE auto hasNoBits(D d, V v) {
    const hn::RebindToSigned<D> di;
    return hn::RebindMask(d, hn::Eq(hn::BitCast(di, v), hn::Zero(di)));
}

/// Whether pixels stay as they are: transparent black, white alpha, and transparent ones that are
/// divided. Most of a picture is one of these. Whole numbers above white would be limited.
template <class T, bool Divides, class D, class V>
HWY_INLINE bool stay(D d, V c, V a) {
    constexpr int kWhite = TraitOf<T>::kWhite;
    using Lane = hn::TFromD<D>;
    auto const isClear = Divides ? hn::Eq(a, hn::Zero(d)) : hasNoBits(d, hn::Or(a, c));
    auto const white = hn::Set(d, static_cast<Lane>(std::is_floating_point_v<T> ? 1 : kWhite));
    auto isWhite = hn::Eq(a, white);
    if constexpr (sizeof(T) == 2)
        isWhite = hn::And(isWhite, hn::Lt(c, hn::Set(d, Lane{kWhite + 1})));
    return hn::AllTrue(d, hn::Or(isClear, isWhite));
}

/// Changes whole vectors of the row; returns how many channels those are.
template <class T, int Alpha, bool Divides>
HWY_INLINE int changeVectors(T* pixels, int channels) {
    const DF d;
    const DI di;
    const hn::Rebind<T, DF> dt;
    int const lanes = static_cast<int>(hn::Lanes(d));
    auto const place = hn::And(hn::Iota(di, 0), hn::Set(di, 3));
    auto const isAlpha = hn::Eq(place, hn::Set(di, Alpha));
    int i = 0;
    for (; i + lanes <= channels; i += lanes) {
        if constexpr (std::is_floating_point_v<T>) {
            const VF c = hn::LoadU(d, pixels + i), a = hn::Broadcast<Alpha>(c);
            if (stay<T, Divides>(d, c, a)) continue;
            const VF changed =
                Divides ? hn::IfThenElse(hn::Gt(a, hn::Zero(d)), hn::Div(c, a), c) : hn::Mul(a, c);
            hn::StoreU(hn::IfThenElse(hn::RebindMask(d, isAlpha), c, changed), d, pixels + i);
        } else {
            const VI c = hn::PromoteTo(di, hn::LoadU(dt, pixels + i)), a = hn::Broadcast<Alpha>(c);
            if (stay<T, Divides>(di, c, a)) continue;
            const VI changed = Divides ? divided<T>(c, a) : multiplied<T>(c, a);
            hn::StoreU(hn::DemoteTo(dt, hn::IfThenElse(isAlpha, c, changed)), dt, pixels + i);
        }
    }
    return i;
}

/// (a c + 128) >> 8 of each byte, alpha's own too: no sum passes 16 bits.
HWY_INLINE VU multiplied8(VU pixels, VU a) {
    const hn::Repartition<std::uint16_t, DU> d;
    auto const factor = hn::BitCast(d, hn::Or(a, hn::ShiftLeft<16>(a)));
    auto const times = [&](auto c) {
        return hn::ShiftRight<8>(hn::Add(hn::Mul(c, factor), hn::Set(d, 128)));
    };
    auto const pairs = hn::BitCast(d, pixels);
    auto const low = times(hn::And(pairs, hn::Set(d, 255))), high = times(hn::ShiftRight<8>(pairs));
    return hn::BitCast(DU(), hn::Or(low, hn::ShiftLeft<8>(high)));
}

/// min(c 255 / a, 255) of the byte at `Shift`; `share` is 255 / a. Below the limit share and
/// product are off by less than 2^-14 together, and a quotient is a whole number or 1 / 255 and
/// more away from the next one: with 2^-10 more it truncates to the right one.
template <int Shift>
HWY_INLINE VU divided8(VU pixels, VF share) {
    const DF d;
    auto const c = hn::ConvertTo(
        d, hn::BitCast(DI(), hn::And(hn::ShiftRight<Shift>(pixels), hn::Set(DU(), 255))));
    auto const quotient = hn::Add(hn::Mul(c, share), hn::Set(d, 0x1p-10f));
    auto const whole = hn::ConvertTo(DI(), hn::Min(quotient, hn::Set(d, 255.0f)));
    return hn::ShiftLeft<Shift>(hn::BitCast(DU(), whole));
}

/// As changeVectors. Pixels that are divided stay where alpha is 0 or white throughout; those that
/// are multiplied where they are transparent black, as white itself becomes 254.
template <int Alpha, bool Divides>
HWY_INLINE int changePixels8(std::uint8_t* row, int channels) {
    const DU d;
    const hn::Repartition<std::uint8_t, DU> bytes;
    int const size = static_cast<int>(hn::Lanes(bytes));
    constexpr int kAlphaShift = 8 * Alpha, kFirst = Alpha == 0 ? 8 : 0;
    auto const zero = hn::Zero(d), white = hn::Set(d, 255);
    auto const alphaBits = hn::Set(d, 255u << kAlphaShift);
    int i = 0;
    for (; i + size <= channels; i += size) {
        const VU pixels = hn::BitCast(d, hn::LoadU(bytes, row + i));
        const VU a = hn::And(hn::ShiftRight<kAlphaShift>(pixels), white);
        VU colour;
        if constexpr (Divides) {
            auto const isClear = hn::Eq(a, zero);
            if (hn::AllTrue(d, hn::Or(isClear, hn::Eq(a, white)))) continue;
            auto const divisor = hn::ConvertTo(DF(), hn::BitCast(DI(), hn::Max(a, hn::Set(d, 1))));
            const VF share = hn::Div(hn::Set(DF(), 255.0f), divisor);
            colour =
                hn::Or(hn::Or(divided8<kFirst>(pixels, share), divided8<kFirst + 8>(pixels, share)),
                       divided8<kFirst + 16>(pixels, share));
            colour = hn::IfThenElse(isClear, pixels, colour);
        } else {
            if (hn::AllTrue(d, hn::Eq(pixels, zero))) continue;
            colour = multiplied8(pixels, a);
        }
        const VU changed = hn::Or(hn::AndNot(alphaBits, colour), hn::And(alphaBits, pixels));
        hn::StoreU(hn::BitCast(bytes, changed), bytes, row + i);
    }
    return i;
}

#endif  // scalar

template <class T, int Alpha, bool Divides>
HWY_INLINE void changeRow(T* pixels, int count) {
    int i = 0;
    if constexpr (sizeof(T) == 1)
        i = changePixels8<Alpha, Divides>(pixels, 4 * count);
    else
        i = changeVectors<T, Alpha, Divides>(pixels, 4 * count);
    for (; i < 4 * count; i += 4)
        premult_detail::changePixel<TraitOf<T>, T, Divides>(pixels + i, Alpha);
}

template <class T>
HWY_INLINE void chooseRow(T* pixels, int count, int alpha, bool divides) {
    if (alpha == 0)
        divides ? changeRow<T, 0, true>(pixels, count) : changeRow<T, 0, false>(pixels, count);
    else
        divides ? changeRow<T, 3, true>(pixels, count) : changeRow<T, 3, false>(pixels, count);
}

void row8(std::uint8_t* p, int n, int alpha, bool divides) { chooseRow(p, n, alpha, divides); }
void row16(std::uint16_t* p, int n, int alpha, bool divides) { chooseRow(p, n, alpha, divides); }
void rowFloat(float* p, int n, int alpha, bool divides) { chooseRow(p, n, alpha, divides); }

}  // namespace HWY_NAMESPACE
}  // namespace premult_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace premult_simd {
HWY_EXPORT(row8);
HWY_EXPORT(row16);
HWY_EXPORT(rowFloat);
}  // namespace premult_simd

template <>
void premultRowSimd(unsigned char* pixels, int count, int alpha, bool divides) {
    HWY_DYNAMIC_DISPATCH(premult_simd::row8)(pixels, count, alpha, divides);
}
template <>
void premultRowSimd(unsigned short* pixels, int count, int alpha, bool divides) {
    HWY_DYNAMIC_DISPATCH(premult_simd::row16)(pixels, count, alpha, divides);
}
template <>
void premultRowSimd(float* pixels, int count, int alpha, bool divides) {
    HWY_DYNAMIC_DISPATCH(premult_simd::rowFloat)(pixels, count, alpha, divides);
}
#endif  // HWY_ONCE
