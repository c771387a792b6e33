// What the scalar and the vector samplers of footprints share: the kernel's coefficients, and the
// sixteen texels under a sample. See Footprint.h.
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
/// 2 - f and 3 - f, by powers of f from 0 to 3, in twelfths: Keys' six-point kernel, and the cubic
/// B-spline less that. Two more keep whole vectors.
alignas(32) constexpr float kKeys[4][8] = {
    {0, 0, 12, 0, 0, 0}, {1, -8, 0, 8, -1, 0}, {-2, 15, -28, 20, -6, 1}, {1, -7, 16, -16, 7, -1}};
alignas(32) constexpr float kToSpline[4][8] = {
    {0, 2, -4, 2, 0, 0}, {-1, 2, 0, -2, 1, 0}, {2, -9, 16, -14, 6, -1}, {-1, 5, -10, 10, -5, 1}};
constexpr float kTwelfth = 1.0f / 12;

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
