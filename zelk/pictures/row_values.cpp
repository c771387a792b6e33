// The scalar truth; see row_values.h.
#include "zelk/pictures/row_values.h"

#include <half.h>

#include "zelk/pictures/channel_values.h"

namespace zelk {

namespace {

template <class T>
void turn(T const* from, std::size_t count, Turn way, T* to) {
    std::size_t const step = way == Turn::kToAlphaFirst ? 3 : 1;
    for (std::size_t i = 0; i < 4 * count; ++i) to[i] = from[i / 4 * 4 + (i + step) % 4];
}

void fromFile16(std::uint16_t const* from, std::size_t count, std::uint16_t* to) {
    for (std::size_t i = 0; i < count; ++i) to[i] = fromFile<std::uint16_t>(from[i]);
}

void toFile16(std::uint16_t const* from, std::size_t count, std::uint16_t* to) {
    for (std::size_t i = 0; i < count; ++i) to[i] = toFile(from[i]);
}

/// By the library of the format's inventors, which picture libraries use too.
void fromHalf(std::uint16_t const* from, std::size_t count, float* to) {
    for (std::size_t i = 0; i < count; ++i) to[i] = imath_half_to_float(from[i]);
}

void toHalf(float const* from, std::size_t count, std::uint16_t* to) {
    for (std::size_t i = 0; i < count; ++i) to[i] = imath_float_to_half(from[i]);
}

void fromStraightBytes(std::uint8_t const* from, std::size_t count, float* to) {
    for (std::size_t i = 0; i < count; ++i, from += 4, to += 4) {
        to[3] = fromFile<float>(from[3]);
        for (int c = 0; c < 3; ++c) to[c] = fromFile<float>(from[c]) * to[3];
    }
}

std::uint8_t toByte(float value) {
    float const scaled = value * 255.0f + 0.5f;
    if (!(scaled > 0)) return 0;
    return scaled >= 255 ? 255 : static_cast<std::uint8_t>(scaled);
}

void toStraightBytes(float const* from, std::size_t count, std::uint8_t* to) {
    for (std::size_t i = 0; i < count; ++i, from += 4, to += 4) {
        for (int c = 0; c < 3; ++c) to[c] = toByte(from[3] == 0 ? from[c] : from[c] / from[3]);
        to[3] = toByte(from[3]);
    }
}

void byAlpha(float* rgba, std::size_t count, AlphaChange change) {
    for (std::size_t i = 0; i < count; ++i, rgba += 4) {
        if (change.keepsUncovered && rgba[3] == 0) continue;
        for (int c = 0; c < 3; ++c)
            rgba[c] = change.divides ? rgba[c] / rgba[3] : rgba[c] * rgba[3];
    }
}

}  // namespace

RowFunctions const& scalarRows() {
    static constexpr RowFunctions kRows = {turn<std::uint8_t>,
                                           turn<std::uint16_t>,
                                           turn<float>,
                                           fromFile16,
                                           toFile16,
                                           fromHalf,
                                           toHalf,
                                           fromStraightBytes,
                                           toStraightBytes,
                                           byAlpha};
    return kRows;
}

}  // namespace zelk
