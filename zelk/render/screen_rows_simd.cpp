// The vector twin of screen_rows.h: whole vectors of pixels, and the rest of a row by the scalar.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "zelk/render/screen_rows_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "zelk/render/screen_rows.h"

HWY_BEFORE_NAMESPACE();
namespace screen_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using zelk::ByteTable;
using zelk::scalarScreenRows;
using zelk::ScreenRowFunctions;
using zelk::ScreenRowWay;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

ScreenRowFunctions const& rows() { return scalarScreenRows(); }

#else

using DF = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<DF>;
using D8 = hn::Rebind<std::uint8_t, DF>;
using D16 = hn::Rebind<std::uint16_t, DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;

/// Transparent and opaque pixels stay; mostly all of them are.
template <class Mask>
HWY_INLINE VF straightened(VF c, Mask isAlpha) {
    DF const d;
    VF const a = hn::Broadcast<0>(c);
    auto const isClear = hn::Eq(a, hn::Zero(d));
    if (hn::AllTrue(d, hn::Or(isClear, hn::Eq(a, hn::Set(d, 1))))) return c;
    return hn::IfThenElse(hn::Or(isClear, isAlpha), c, hn::Div(c, a));
}

HWY_INLINE VI rounded(VF c) {
    DF const d;
    VF const limited = hn::Min(hn::IfThenElseZero(hn::Gt(c, hn::Zero(d)), c), hn::Set(d, 1));
    return hn::ConvertTo(DI(), hn::Add(hn::Mul(limited, hn::Set(d, 255.0f)), hn::Set(d, 0.5f)));
}

HWY_INLINE VI looked(ByteTable const& table, VF c) {
    DF const d;
    DI const di;
    VF const known = hn::IfThenElseZero(hn::Ge(c, hn::Set(d, table.least)), c);
    VI const bits = hn::BitCast(di, hn::Min(known, hn::Set(d, 1)));
    VI const before = hn::Set(di, table.firstCell - 1);
    VI const cell = hn::Sub(hn::Max(hn::ShiftRightSame(bits, table.shift), before), before);
    VI const low = hn::And(bits, hn::Set(di, (1 << table.shift) - 1));
    return hn::ShiftRightSame(hn::Add(hn::GatherIndex(di, table.words.data(), cell), low),
                              table.shift);
}

template <bool HasTable>
HWY_INLINE int vectorsToBytes(float const* argb, int channels, ScreenRowWay const& way,
                              std::uint8_t* to) {
    DF const d;
    DI const di;
    D8 const d8;
    int const lanes = static_cast<int>(hn::Lanes(d));
    auto const isAlpha =
        hn::RebindMask(d, hn::Eq(hn::And(hn::Iota(di, 0), hn::Set(di, 3)), hn::Zero(di)));
    int i = 0;
    for (; i + lanes <= channels; i += lanes) {
        VF c = hn::LoadU(d, argb + i);
        if (way.isAssociated) c = straightened(c, isAlpha);
        VI byte = rounded(c);
        if constexpr (HasTable)
            byte = hn::IfThenElse(hn::RebindMask(di, isAlpha), byte, looked(*way.table, c));
        if (way.isBgra) byte = hn::Shuffle0123(byte);
        hn::StoreU(hn::DemoteTo(d8, byte), d8, to + i);
    }
    return i;
}

void toBytes(float const* argb, int count, ScreenRowWay const& way, std::uint8_t* to) {
    int const done = way.table ? vectorsToBytes<true>(argb, 4 * count, way, to)
                               : vectorsToBytes<false>(argb, 4 * count, way, to);
    scalarScreenRows().toBytes(argb + done, count - done / 4, way, to + done);
}

/// Over 32768 is times its reciprocal, exactly.
void toBytes16(std::uint16_t const* argb, int count, bool isBgra, std::uint8_t* to) {
    DF const d;
    D16 const d16;
    D8 const d8;
    int const lanes = static_cast<int>(hn::Lanes(d));
    int i = 0;
    for (; i + lanes <= 4 * count; i += lanes) {
        VI const value = hn::PromoteTo(DI(), hn::LoadU(d16, argb + i));
        VI byte = rounded(hn::Mul(hn::ConvertTo(d, value), hn::Set(d, 1.0f / 32768)));
        if (isBgra) byte = hn::Shuffle0123(byte);
        hn::StoreU(hn::DemoteTo(d8, byte), d8, to + i);
    }
    scalarScreenRows().toBytes16(argb + i, count - i / 4, isBgra, to + i);
}

ScreenRowFunctions const& rows() {
    static constexpr ScreenRowFunctions kRows = {toBytes, toBytes16};
    return kRows;
}

#endif  // scalar

}  // namespace HWY_NAMESPACE
}  // namespace screen_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace screen_simd {
HWY_EXPORT(rows);
}  // namespace screen_simd

namespace zelk {

ScreenRowFunctions const& vectorScreenRows() { return HWY_DYNAMIC_DISPATCH(screen_simd::rows)(); }

}  // namespace zelk
#endif  // HWY_ONCE
