// What the scalar and the vector samplers of footprints share: the kernel's coefficients, and the
// 36 texels under a sample. See Footprint.h.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Transform/Common/Transform_Core_Render/Footprint.h"

namespace footprint_taps {

constexpr int kTaps = 6;

/// Weights of the taps around a fraction f from 0 to 1, at the distances 2 + f, 1 + f, f, 1 - f,
/// 2 - f and 3 - f, by powers of f. Two more keep whole vectors.
///
/// The interpolation: of all weights that keep constants and straight lines, those with the least
/// mean error for pictures whose power falls with the square of the frequency, as photographs'
/// does, up to the finest that texels hold; least squares, f by f, then a polynomial of degree five
/// that meets the texels at 0 and 1. In units of 2^-20.
alignas(32) constexpr float kSharp[6][8] = {{0, 0, 1048576, 0, 0, 0},
                                            {273097, -989797, -18255, 1043514, -487136, 178577},
                                            {-139932, 988350, -1688875, 1037629, -262373, 65201},
                                            {-439277, 762816, -97922, -650105, 739097, -314609},
                                            {384539, -1018629, 1136122, -762109, 267673, -7596},
                                            {-78427, 257260, -379645, 379645, -257260, 78427}};
constexpr float kSharpUnit = 1.0f / 1048576;
/// The cubic B-spline, in sixths.
alignas(32) constexpr float kSpline[4][8] = {
    {0, 1, 4, 1}, {0, -3, 0, 3}, {0, 3, -6, 3}, {0, -1, 3, -3, 1}};
constexpr float kSplineUnit = 1.0f / 6;

constexpr int kBefore = 2;  ///< taps before the fraction's own
/// Where every tap is beyond the border.
constexpr double kLeast = -4, kBeyond = 3;

/// A texel coordinate, split; far positions stand for ones just beyond the border.
struct Tap {
    std::int32_t first;  ///< of the taps
    float fraction;
};

inline Tap tapOf(double coordinate, std::int32_t size) {
    // A position that is not a number is the border's.
    double const limited = coordinate > kLeast ? std::min(coordinate, size + kBeyond) : kLeast;
    double const whole = std::floor(limited);
    return {static_cast<std::int32_t>(whole) - kBefore, static_cast<float>(limited - whole)};
}

/// The texels under a sample: rows of six of them.
struct Block {
    float const* first;
    std::ptrdiff_t rowFloats;
};
constexpr int kRowFloats = 4 * kTaps;

/// `copy` has room for six by six texels, for a sample that reaches over the border.
inline Block blockAt(FootprintSource::Level const& level, std::int32_t x, std::int32_t y,
                     float* copy) {
    if (x >= 0 && y >= 0 && x + kTaps <= level.width && y + kTaps <= level.height)
        return {level.pixels + y * level.rowFloats + std::ptrdiff_t{4} * x, level.rowFloats};
    for (std::int32_t j = 0; j < kTaps; ++j) {
        float const* const row =
            level.pixels + std::clamp(y + j, 0, level.height - 1) * level.rowFloats;
        for (std::int32_t i = 0; i < kTaps; ++i)
            std::memcpy(copy + kRowFloats * j + 4 * i,
                        row + std::ptrdiff_t{4} * std::clamp(x + i, 0, level.width - 1),
                        4 * sizeof(float));
    }
    return {copy, kRowFloats};
}

/// Calls sample(block, fractionX, fractionY) for each sample of a footprint.
template <class Sample>
inline void forEachSample(FootprintSource const& source, FootprintSamples const& s, Sample sample) {
    alignas(64) float copy[kTaps * kRowFloats];
    FootprintSource::Level const& level = source.levels()[static_cast<std::size_t>(s.level)];
    for (std::int32_t j = 0; j < s.rows; ++j) {
        for (std::int32_t i = 0; i < s.columns; ++i) {
            const Tap x = tapOf(s.x + i * s.columnX + j * s.rowX, level.width);
            const Tap y = tapOf(s.y + i * s.columnY + j * s.rowY, level.height);
            sample(blockAt(level, x.first, y.first, copy), x.fraction, y.fraction);
        }
    }
}

}  // namespace footprint_taps
