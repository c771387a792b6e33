// Rows of channel values between files and worlds; channel_values.h has one value's way.
//
// Each function has a scalar form, the truth, and a vector twin with the same bits.
//
//   turn         red, green, blue, alpha to alpha, red, green, blue, or back
//   fromFile16   white 65535 to 32768; toFile16 the way back, what is above white as white
//   half         to float exactly; from float to the nearest, halfway to even, beyond 65519
//   infinite;
//                not-a-numbers keep the upper bits of their mantissa and stay not-a-numbers
//   fromBytes    255 to 1; toBytes the way back, rounded once, to nearest, limited to 0 and 255;
//   what
//                is no number becomes 0
//   byAlpha      colour times or over alpha, of red, green, blue, alpha in float
#pragma once

#include <cstddef>
#include <cstdint>

namespace zelk {

enum class Turn { kToAlphaFirst, kToAlphaLast };

/// `keepsUncovered` leaves pixels whose alpha is 0; a division must.
struct AlphaChange {
    bool divides = false;
    bool keepsUncovered = true;
};

/// `count` is of values, but of pixels where alpha is named. Halves are their bits. `from` and `to`
/// may not overlap.
struct RowFunctions {
    void (*turn8)(std::uint8_t const* from, std::size_t count, Turn turn, std::uint8_t* to);
    void (*turn16)(std::uint16_t const* from, std::size_t count, Turn turn, std::uint16_t* to);
    void (*turnFloat)(float const* from, std::size_t count, Turn turn, float* to);
    void (*fromFile16)(std::uint16_t const* from, std::size_t count, std::uint16_t* to);
    void (*toFile16)(std::uint16_t const* from, std::size_t count, std::uint16_t* to);
    void (*fromHalf)(std::uint16_t const* from, std::size_t count, float* to);
    void (*toHalf)(float const* from, std::size_t count, std::uint16_t* to);
    void (*fromStraightBytes)(std::uint8_t const* from, std::size_t count, float* to);
    void (*toStraightBytes)(float const* from, std::size_t count, std::uint8_t* to);
    void (*byAlpha)(float* rgba, std::size_t count, AlphaChange change);
};

RowFunctions const& scalarRows();
/// Of the best instruction set that the machine has.
RowFunctions const& vectorRows();

inline void turnRow(std::uint8_t const* from, std::size_t n, Turn turn, std::uint8_t* to) {
    vectorRows().turn8(from, n, turn, to);
}
inline void turnRow(std::uint16_t const* from, std::size_t n, Turn turn, std::uint16_t* to) {
    vectorRows().turn16(from, n, turn, to);
}
inline void turnRow(float const* from, std::size_t n, Turn turn, float* to) {
    vectorRows().turnFloat(from, n, turn, to);
}

}  // namespace zelk
