// The vector twins of row_values.h: whole vectors, and the rest of a row by the scalar.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "zelk/pictures/row_values_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "zelk/pictures/row_values.h"

HWY_BEFORE_NAMESPACE();
namespace row_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using zelk::AlphaChange;
using zelk::scalarRows;
using zelk::Turn;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

zelk::RowFunctions const& rows() { return scalarRows(); }

#else

using DU = hn::ScalableTag<std::uint32_t>;
using DI = hn::RebindToSigned<DU>;
using DF = hn::RebindToFloat<DU>;
using D16 = hn::Rebind<std::uint16_t, DU>;
using D8 = hn::Rebind<std::uint8_t, DU>;
using VU = hn::Vec<DU>;

/// A pixel as one number of its size, turned by a channel; the lowest byte is the first.
template <int Bits, class Number, class T>
HWY_INLINE std::size_t turnVectors(T const* from, std::size_t count, Turn way, T* to) {
    hn::ScalableTag<Number> const d;
    constexpr int kRest = static_cast<int>(sizeof(Number)) * 8 - Bits;
    auto const* const pixels = reinterpret_cast<Number const*>(from);
    auto* const turned = reinterpret_cast<Number*>(to);
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        auto const v = hn::LoadU(d, pixels + i);
        hn::StoreU(way == Turn::kToAlphaFirst
                       ? hn::Or(hn::ShiftLeft<Bits>(v), hn::ShiftRight<kRest>(v))
                       : hn::Or(hn::ShiftRight<Bits>(v), hn::ShiftLeft<kRest>(v)),
                   d, turned + i);
    }
    return i;
}

void turn8(std::uint8_t const* from, std::size_t count, Turn way, std::uint8_t* to) {
    std::size_t const done = turnVectors<8, std::uint32_t>(from, count, way, to);
    scalarRows().turn8(from + 4 * done, count - done, way, to + 4 * done);
}

void turn16(std::uint16_t const* from, std::size_t count, Turn way, std::uint16_t* to) {
    std::size_t const done = turnVectors<16, std::uint64_t>(from, count, way, to);
    scalarRows().turn16(from + 4 * done, count - done, way, to + 4 * done);
}

void turnFloat(float const* from, std::size_t count, Turn way, float* to) {
    DF const d;
    std::size_t const values = 4 * count;
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= values; i += hn::Lanes(d)) {
        auto const v = hn::LoadU(d, from + i);
        hn::StoreU(way == Turn::kToAlphaFirst ? hn::Shuffle2103(v) : hn::Shuffle0321(v), d, to + i);
    }
    scalarRows().turnFloat(from + i, (values - i) / 4, way, to + i);
}

/// Sets `to` from whole vectors of `from` by `change` of 32 bits; returns how many values.
template <class Change>
HWY_INLINE std::size_t change16(std::uint16_t const* from, std::size_t count, std::uint16_t* to,
                                Change change) {
    std::size_t i = 0;
    for (; i + hn::Lanes(DU()) <= count; i += hn::Lanes(DU())) {
        VU const changed = change(hn::PromoteTo(DU(), hn::LoadU(D16(), from + i)));
        hn::StoreU(hn::DemoteTo(D16(), hn::BitCast(DI(), changed)), D16(), to + i);
    }
    return i;
}

/// x = 32768 v + 32767 over 65535: (x + x / 65536 + 1) / 65536, for all 65536 values.
void fromFile16(std::uint16_t const* from, std::size_t count, std::uint16_t* to) {
    std::size_t const done = change16(from, count, to, [](VU v) HWY_ATTR {
        VU const x = hn::Add(hn::ShiftLeft<15>(v), hn::Set(DU(), 32767));
        return hn::ShiftRight<16>(hn::Add(hn::Add(x, hn::ShiftRight<16>(x)), hn::Set(DU(), 1)));
    });
    scalarRows().fromFile16(from + done, count - done, to + done);
}

void toFile16(std::uint16_t const* from, std::size_t count, std::uint16_t* to) {
    std::size_t const done = change16(from, count, to, [](VU v) HWY_ATTR {
        VU const clamped = hn::Min(v, hn::Set(DU(), 32768));
        VU const scaled = hn::Sub(hn::ShiftLeft<16>(clamped), clamped);
        return hn::ShiftRight<15>(hn::Add(scaled, hn::Set(DU(), 16384)));
    });
    scalarRows().toFile16(from + done, count - done, to + done);
}

/// Sign, 5 bits of exponent with bias 15 and 10 of mantissa, to 8 with bias 127 and 23.
void fromHalf(std::uint16_t const* from, std::size_t count, float* to) {
    DU const d;
    VU const sizeBits = hn::Set(d, 0x7fff), infinity = hn::Set(d, 0x7c00);
    auto const step = hn::Set(DF(), 0x1p-24f);  // between halves below the least normal one
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        VU const bits = hn::PromoteTo(d, hn::LoadU(D16(), from + i));
        VU const size = hn::And(bits, sizeBits), moved = hn::ShiftLeft<13>(size);
        VU const sign = hn::ShiftLeft<16>(hn::Xor(bits, size));
        VU const small =
            hn::BitCast(d, hn::Mul(hn::ConvertTo(DF(), hn::BitCast(DI(), size)), step));
        VU const normal = hn::Add(moved, hn::Set(d, (127u - 15u) << 23));
        VU const special = hn::Or(moved, hn::Set(d, 0x7f800000));
        VU const upper = hn::IfThenElse(hn::Lt(size, infinity), normal, special);
        VU const all = hn::IfThenElse(hn::Lt(size, hn::Set(d, 0x0400)), small, upper);
        hn::StoreU(hn::BitCast(DF(), hn::Or(sign, all)), DF(), to + i);
    }
    scalarRows().fromHalf(from + i, count - i, to + i);
}

/// Below the least normal half the sum with 0.5 rounds to steps of 2^-24; above, half a step less
/// one, and one where the last bit kept is odd, is added to what is cut off.
void toHalf(float const* from, std::size_t count, std::uint16_t* to) {
    DU const d;
    VU const infinity = hn::Set(d, 0x7f800000), one = hn::Set(d, 1);
    VU const tooLarge = hn::Set(d, (127u + 16u) << 23),
             leastNormal = hn::Set(d, (127u - 14u) << 23);
    auto const half = hn::Set(DF(), 0.5f);
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        VU const bits = hn::BitCast(d, hn::LoadU(DF(), from + i));
        VU const size = hn::And(bits, hn::Set(d, 0x7fffffff));
        VU const sign = hn::ShiftRight<16>(hn::Xor(bits, size));
        VU const small =
            hn::Sub(hn::BitCast(d, hn::Add(hn::BitCast(DF(), size), half)), hn::BitCast(d, half));
        VU const odd = hn::And(hn::ShiftRight<13>(size), one);
        VU const shifted = hn::Sub(size, hn::Set(d, ((127u - 15u) << 23) - 0xfff));
        VU const normal = hn::ShiftRight<13>(hn::Add(shifted, odd));
        VU const mantissa = hn::ShiftRight<13>(hn::And(size, hn::Set(d, 0x7fffff)));
        VU const number = hn::Max(mantissa, one);
        VU const special =
            hn::Or(hn::Set(d, 0x7c00), hn::IfThenElseZero(hn::Gt(size, infinity), number));
        VU const upper = hn::IfThenElse(hn::Lt(size, tooLarge), normal, special);
        VU const all = hn::Or(sign, hn::IfThenElse(hn::Lt(size, leastNormal), small, upper));
        hn::StoreU(hn::DemoteTo(D16(), hn::BitCast(DI(), all)), D16(), to + i);
    }
    scalarRows().toHalf(from + i, count - i, to + i);
}

/// Lanes of a pixel's last channel.
HWY_INLINE hn::Mask<DF> isLastChannel() {
    return hn::RebindMask(DF(),
                          hn::Eq(hn::And(hn::Iota(DI(), 0), hn::Set(DI(), 3)), hn::Set(DI(), 3)));
}

/// v / 255 as v times 1 / 255 in two parts: the upper has 16 bits, so that its product is exact,
/// and the sum is rounded once, for none of the 256 values near halfway.
void fromStraightBytes(std::uint8_t const* from, std::size_t count, float* to) {
    constexpr float kUpper = 0x1.0101p-8f, kLower = 0x1.010102p-32f;
    auto const upper = hn::Set(DF(), kUpper), lower = hn::Set(DF(), kLower);
    auto const isAlpha = isLastChannel();
    std::size_t i = 0;
    for (; i + hn::Lanes(DU()) <= 4 * count; i += hn::Lanes(DU())) {
        auto const byte = hn::ConvertTo(DF(), hn::PromoteTo(DI(), hn::LoadU(D8(), from + i)));
        auto const v = hn::Add(hn::Mul(byte, upper), hn::Mul(byte, lower));
        auto const weighed = hn::IfThenElse(isAlpha, v, hn::Mul(v, hn::Broadcast<3>(v)));
        hn::StoreU(weighed, DF(), to + i);
    }
    scalarRows().fromStraightBytes(from + i, count - i / 4, to + i);
}

/// Limits as the scalar's comparisons: what is no number is not above 0.
void toStraightBytes(float const* from, std::size_t count, std::uint8_t* to) {
    auto const white = hn::Set(DF(), 255.0f), half = hn::Set(DF(), 0.5f), zero = hn::Zero(DF());
    auto const one = hn::Set(DF(), 1.0f);
    auto const isAlpha = isLastChannel();
    std::size_t i = 0;
    for (; i + hn::Lanes(DU()) <= 4 * count; i += hn::Lanes(DU())) {
        auto const v = hn::LoadU(DF(), from + i), alpha = hn::Broadcast<3>(v);
        auto const isKept = hn::Or(isAlpha, hn::Eq(alpha, zero));
        bool const isOpaque = hn::AllTrue(DF(), hn::Eq(alpha, one));  // v over 1 is v
        auto const straight = isOpaque ? v : hn::IfThenElse(isKept, v, hn::Div(v, alpha));
        auto const scaled = hn::Add(hn::Mul(straight, white), half);
        auto const positive = hn::IfThenElseZero(hn::Gt(scaled, zero), scaled);
        auto const limited = hn::IfThenElse(hn::Ge(positive, white), white, positive);
        hn::StoreU(hn::DemoteTo(D8(), hn::ConvertTo(DI(), limited)), D8(), to + i);
    }
    scalarRows().toStraightBytes(from + i, count - i / 4, to + i);
}

void byAlpha(float* rgba, std::size_t count, AlphaChange change) {
    DF const d;
    auto const zero = hn::Zero(d);
    auto const isAlpha = isLastChannel();
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= 4 * count; i += hn::Lanes(d)) {
        auto const v = hn::LoadU(d, rgba + i), alpha = hn::Broadcast<3>(v);
        auto const changed = change.divides ? hn::Div(v, alpha) : hn::Mul(v, alpha);
        auto const isKept = change.keepsUncovered ? hn::Or(isAlpha, hn::Eq(alpha, zero)) : isAlpha;
        hn::StoreU(hn::IfThenElse(isKept, v, changed), d, rgba + i);
    }
    scalarRows().byAlpha(rgba + i, count - i / 4, change);
}

zelk::RowFunctions const& rows() {
    static constexpr zelk::RowFunctions kRows = {
        turn8,    turn16, turnFloat,         fromFile16,      toFile16,
        fromHalf, toHalf, fromStraightBytes, toStraightBytes, byAlpha};
    return kRows;
}

#endif  // scalar

}  // namespace HWY_NAMESPACE
}  // namespace row_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace row_simd {
HWY_EXPORT(rows);
}  // namespace row_simd

namespace zelk {

RowFunctions const& vectorRows() { return HWY_DYNAMIC_DISPATCH(row_simd::rows)(); }

}  // namespace zelk
#endif  // HWY_ONCE
