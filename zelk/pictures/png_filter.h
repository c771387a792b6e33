// The predictors of PNG: what is stored of a byte is its difference from a guess.
//
//   c b     1 Sub: a    2 Up: b    3 Average: (a + b) / 2, truncated
//   a x     4 Paeth: of a, b and c the nearest to a + b - c, the first of them at a tie
//
// a is the byte a whole pixel before x, b the one above it; outside the picture both are 0. Of a
// row that predictor is taken whose differences, as signed bytes, have the least sum of sizes, the
// first at a tie. Predictor 0, no guess, is never better by that measure where it matters.
// Source of the predictors: ISO/IEC 15948, "Filtering".
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zelk {

/// A row of `bytes` bytes and the one above it, before both of which `pixelBytes` bytes are 0.
struct PngRow {
    std::uint8_t const* row;
    std::uint8_t const* above;
    std::size_t bytes, pixelBytes;
};

/// Sums of sizes of the differences from predictors 1 to 4.
using PngSums = std::array<std::uint64_t, 4>;

/// The chosen predictor and the row's differences from it: 1 + bytes bytes.
void filterPngRow(PngRow const& row, std::uint8_t* filtered);

/// The scalar truth, and its vector twin with the same results.
PngSums pngSums(PngRow const& row);
PngSums pngSumsSimd(PngRow const& row);
void pngDifferences(PngRow const& row, int predictor, std::uint8_t* differences);
void pngDifferencesSimd(PngRow const& row, int predictor, std::uint8_t* differences);

namespace png_detail {

template <int Predictor>
std::uint8_t guess(int a, int b, int c) {
    if constexpr (Predictor == 1) return static_cast<std::uint8_t>(a);
    if constexpr (Predictor == 2) return static_cast<std::uint8_t>(b);
    if constexpr (Predictor == 3) return static_cast<std::uint8_t>((a + b) / 2);
    auto const size = [](int x) { return x < 0 ? -x : x; };
    int const pa = size(b - c), pb = size(a - c), pc = size(a + b - 2 * c);
    return static_cast<std::uint8_t>(pa <= pb && pa <= pc ? a : pb <= pc ? b : c);
}

/// The byte's difference from its guess.
template <int Predictor>
std::uint8_t difference(PngRow const& r, std::size_t i) {
    std::uint8_t const *const left = r.row - r.pixelBytes, *const corner = r.above - r.pixelBytes;
    return static_cast<std::uint8_t>(r.row[i] - guess<Predictor>(left[i], r.above[i], corner[i]));
}

/// Of a difference as a signed byte.
inline unsigned sizeOf(std::uint8_t difference) {
    return difference < 128 ? difference : 256u - difference;
}

/// Adds the sizes from byte `i` on.
inline void addSums(PngRow const& row, std::size_t i, PngSums& sums) {
    for (; i < row.bytes; ++i) {
        sums[0] += sizeOf(difference<1>(row, i));
        sums[1] += sizeOf(difference<2>(row, i));
        sums[2] += sizeOf(difference<3>(row, i));
        sums[3] += sizeOf(difference<4>(row, i));
    }
}

template <int Predictor>
void addDifferences(PngRow const& row, std::size_t i, std::uint8_t* differences) {
    for (; i < row.bytes; ++i) differences[i] = difference<Predictor>(row, i);
}

}  // namespace png_detail

}  // namespace zelk
