// The scalar form; see screen_rows.h.
#include "zelk/render/screen_rows.h"

#include <algorithm>
#include <bit>

namespace zelk {

namespace {

std::uint8_t byteOf(float value) {
    return static_cast<std::uint8_t>(std::max(0.0f, std::min(value, 1.0f)) * 255.0f + 0.5f);
}

std::uint8_t byteOf(ByteTable const& table, float value) {
    if (!(value >= table.least)) return 0;
    auto const bits = std::bit_cast<std::int32_t>(std::min(value, 1.0f));
    std::int32_t const cell = (bits >> table.shift) - table.firstCell + 1;
    std::int32_t const low = bits & ((1 << table.shift) - 1);
    return static_cast<std::uint8_t>((table.words[static_cast<std::size_t>(cell)] + low) >>
                                     table.shift);
}

void toBytes(float const* argb, int count, ScreenRowWay const& way, std::uint8_t* to) {
    int const turn = way.isBgra ? 3 : 0;
    for (int x = 0; x < count; ++x, argb += 4, to += 4) {
        float const divisor = way.isAssociated && argb[0] != 0 ? argb[0] : 1;
        to[turn] = byteOf(argb[0]);
        for (int c = 1; c < 4; ++c) {
            float const value = argb[c] / divisor;
            to[c ^ turn] = way.table ? byteOf(*way.table, value) : byteOf(value);
        }
    }
}

void toBytes16(std::uint16_t const* argb, int count, bool isBgra, std::uint8_t* to) {
    int const turn = isBgra ? 3 : 0;
    for (int i = 0; i < 4 * count; ++i)
        to[i ^ turn] = byteOf(static_cast<float>(argb[i]) / 32768.0f);
}

}  // namespace

ScreenRowFunctions const& scalarScreenRows() {
    static constexpr ScreenRowFunctions kRows = {toBytes, toBytes16};
    return kRows;
}

}  // namespace zelk
