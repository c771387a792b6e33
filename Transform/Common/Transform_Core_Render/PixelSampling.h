// The arithmetic of one resampled pixel, written once for all line functions.
//
// Space: source pixels; pixel centres have whole-number coordinates. Channels are taken in stored
// order and alike: nothing here knows which one is alpha. `C` is the number of interleaved
// channels, 4, or 1 for a plane of single values; `T` the channel type.
//
// Bit exactness: a position is computed in double from the run's start, one division pair a pixel,
// and narrowed to float. Sums over taps start at the first tap and add in index order, in float.
// Nothing is fused and nothing re-ordered: any faster code has to give these bits.
//
// Positions may be anything, also not a number: every read stays within srcMinX..srcMaxX and
// srcMinY..srcMaxY.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/SaturatingCast.h"

namespace pixel_sampling {

struct SourcePosition {
    float u, v;
};

/// Source position of pixel i of a run.
inline SourcePosition positionAt(LineRenderStruct const& line, int i) {
    double const w = line.w + i * line.dw;
    return {static_cast<float>((line.x + i * line.dx) / w),
            static_cast<float>((line.y + i * line.dy) / w)};
}

/// A coordinate as whole part, truncated toward zero, and signed fraction.
struct SplitCoordinate {
    int whole;
    float fraction;
};

inline SplitCoordinate split(float c) {
    int const whole = saturatingInt(c);
    return {whole, c - static_cast<float>(whole)};
}

template <class T>
inline T const* sourceRow(RenderSettings const& s, int y) {
    return reinterpret_cast<T const*>(static_cast<unsigned char const*>(s.srcData) +
                                      static_cast<std::ptrdiff_t>(y) * s.srcRowBytes);
}

template <class T, int C>
inline T const* sourcePixel(RenderSettings const& s, int x, int y) {
    return sourceRow<T>(s, y) + static_cast<std::ptrdiff_t>(x) * C;
}

// ---- Bilinear -------------------------------------------------------------------------------

/// p (1 - f) + q f in float; the integer types truncate each lerp at once.
template <class T>
inline T lerp(T p, T q, float f) {
    return static_cast<T>(static_cast<float>(p) * (1.0f - f) + static_cast<float>(q) * f);
}

/// One axis of a bilinear sample: between two pixels, or on a border pixel when outside. A position
/// exactly on the last pixel counts as outside.
struct BilinearAxis {
    int first;
    bool between;
    float fraction;
};

inline BilinearAxis bilinearAxis(float c, int low, int high) {
    if (c < static_cast<float>(low)) return {low, false, 0.0f};
    if (!(c < static_cast<float>(high))) return {high, false, 0.0f};
    const SplitCoordinate at = split(c);
    return {at.whole, true, at.fraction};
}

template <class T, int C>
inline void sampleBilinear(RenderSettings const& s, SourcePosition at, T* out) {
    const BilinearAxis x = bilinearAxis(at.u, s.srcMinX, s.srcMaxX);
    const BilinearAxis y = bilinearAxis(at.v, s.srcMinY, s.srcMaxY);
    T const* p = sourcePixel<T, C>(s, x.first, y.first);
    if (x.between && y.between) {
        T const* q = sourcePixel<T, C>(s, x.first, y.first + 1);
        for (int c = 0; c < C; ++c)
            out[c] = lerp(lerp(p[c], p[c + C], x.fraction), lerp(q[c], q[c + C], x.fraction),
                          y.fraction);
    } else if (x.between) {
        for (int c = 0; c < C; ++c) out[c] = lerp(p[c], p[c + C], x.fraction);
    } else if (y.between) {
        T const* q = sourcePixel<T, C>(s, x.first, y.first + 1);
        for (int c = 0; c < C; ++c) out[c] = lerp(p[c], q[c], y.fraction);
    } else {
        for (int c = 0; c < C; ++c) out[c] = p[c];
    }
}

// ---- Weight table ---------------------------------------------------------------------------

/// The N weights of a signed fraction.
inline float const* weightRow(RenderSettings const& s, float fraction, int taps) {
    float const scaled = (fraction + 1.0f) * 255.0f * 0.5f;
    int const row = !(scaled > 0.0f) ? 0 : scaled >= 255.0f ? 255 : static_cast<int>(scaled);
    return s.lut + static_cast<std::ptrdiff_t>(row) * taps;
}

/// What a kernel reads outside the source.
enum class Outside { kRepeatBorder, kBlack };

/// Copies an N by N block with its corner at (x0, y0) into `block`, packed.
template <class T, int C, Outside Policy>
inline void copyBlock(RenderSettings const& s, int x0, int y0, int taps, T* block) {
    for (int j = 0; j < taps; ++j) {
        for (int i = 0; i < taps; ++i, block += C) {
            int x = x0 + i, y = y0 + j;
            bool const inside =
                x >= s.srcMinX && x <= s.srcMaxX && y >= s.srcMinY && y <= s.srcMaxY;
            if (Policy == Outside::kBlack && !inside) {
                for (int c = 0; c < C; ++c) block[c] = T(0);
                continue;
            }
            x = x < s.srcMinX ? s.srcMinX : x > s.srcMaxX ? s.srcMaxX : x;
            y = y < s.srcMinY ? s.srcMinY : y > s.srcMaxY ? s.srcMaxY : y;
            T const* p = sourcePixel<T, C>(s, x, y);
            for (int c = 0; c < C; ++c) block[c] = p[c];
        }
    }
}

/// sum over j of wy(j) * (sum over i of wx(i) * pixel(i, j)), each sum from its first tap on.
template <class T, int C>
inline void sumTaps(T const* block, std::ptrdiff_t rowBytes, int taps, float const* wx,
                    float const* wy, float* out) {
    auto const* row = reinterpret_cast<unsigned char const*>(block);
    for (int j = 0; j < taps; ++j, row += rowBytes) {
        T const* p = reinterpret_cast<T const*>(row);
        for (int c = 0; c < C; ++c) {
            float r = wx[0] * static_cast<float>(p[c]);
            for (int i = 1; i < taps; ++i) r = r + wx[i] * static_cast<float>(p[i * C + c]);
            out[c] = j == 0 ? wy[0] * r : out[c] + wy[j] * r;
        }
    }
}

/// The whole kernel sample of N by N taps, in float and not yet rounded.
template <class T, int C, int MostTaps, Outside Policy>
inline void sumBlockAt(RenderSettings const& s, int x0, int y0, int taps, float const* wx,
                       float const* wy, float* out) {
    bool const inside = x0 >= s.srcMinX && x0 + taps - 1 <= s.srcMaxX && y0 >= s.srcMinY &&
                        y0 + taps - 1 <= s.srcMaxY;
    if (inside) {
        sumTaps<T, C>(sourcePixel<T, C>(s, x0, y0), s.srcRowBytes, taps, wx, wy, out);
        return;
    }
    T block[MostTaps * MostTaps * C];
    copyBlock<T, C, Policy>(s, x0, y0, taps, block);
    sumTaps<T, C>(block, static_cast<std::ptrdiff_t>(taps) * C * sizeof(T), taps, wx, wy, out);
}

/// 4 by 4 taps. A corner far to the left or above stands for one just outside.
template <class T, int C, Outside Policy>
inline void sample4x4(RenderSettings const& s, SourcePosition at, float* out) {
    const SplitCoordinate u = split(at.u), v = split(at.v);
    int x0 = u.whole - 1, y0 = v.whole - 1;
    if (x0 < -2) x0 = -3;
    if (y0 < -2) y0 = -3;
    sumBlockAt<T, C, 4, Policy>(s, x0, y0, 4, weightRow(s, u.fraction, 4),
                                weightRow(s, v.fraction, 4), out);
}

/// `taps` by `taps` taps; outside black, or the border where the settings say so.
template <class T, int C>
inline void sampleTaps(RenderSettings const& s, SourcePosition at, float* out) {
    int const taps = std::min(s.taps, kMaxTaps);
    const SplitCoordinate u = split(at.u), v = split(at.v);
    auto* const sum = s.hasChosenKernel ? sumBlockAt<T, C, kMaxTaps, Outside::kRepeatBorder>
                                        : sumBlockAt<T, C, kMaxTaps, Outside::kBlack>;
    sum(s, u.whole - (taps / 2 - 1), v.whole - (taps / 2 - 1), taps, weightRow(s, u.fraction, taps),
        weightRow(s, v.fraction, taps), out);
}

/// Nine 4 by 4 samples around the position, at the offsets and with the weights of the settings:
/// each product in float, added up in double.
template <class T, int C>
inline void sampleSuperSampled(RenderSettings const& s, SourcePosition at, double* sums) {
    for (int c = 0; c < C; ++c) sums[c] = 0.0;
    for (int k = 0; k < kSuperSamples; ++k) {
        const SourcePosition moved = {static_cast<float>(at.u + s.ssOffsetX[k]),
                                      static_cast<float>(at.v + s.ssOffsetY[k])};
        auto const weight = static_cast<float>(s.ssWeight[k]);
        float sample[C];
        sample4x4<T, C, Outside::kRepeatBorder>(s, moved, sample);
        for (int c = 0; c < C; ++c) sums[c] += static_cast<double>(sample[c] * weight);
    }
}

// ---- From a sum to a channel ----------------------------------------------------------------

/// Rounds a 4 by 4 sum: plus 0.5, truncated, then limited. Float stays as it is, unlimited.
/// `Sum` is float, or double for the super sampled functions.
template <class T, class Sum>
inline T roundThenLimit(RenderSettings const& s, Sum sum) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(sum);
    } else {
        // Limited before the cast, which is undefined beyond an int: kernels of no use may give
        // any sum. Not a number counts as the least value.
        const Sum n = sum + Sum(0.5);
        if (!(n > static_cast<Sum>(s.minValue))) return static_cast<T>(s.minValue);
        if (n >= static_cast<Sum>(s.maxValue)) return static_cast<T>(s.maxValue);
        return static_cast<T>(static_cast<std::int32_t>(n));
    }
}

/// Rounds an N by N sum: limited in float first, then plus 0.5 and truncated.
template <class T>
inline T limitThenRound(RenderSettings const& s, float sum) {
    if constexpr (std::is_floating_point_v<T>) {
        return sum;
    } else {
        auto const low = static_cast<float>(s.minValue), high = static_cast<float>(s.maxValue);
        float const limited = !(sum > low) ? low : sum > high ? high : sum;
        return static_cast<T>(limited + 0.5f);
    }
}

/// value * coverage, truncated in the integer types.
template <class T>
inline T coverTruncating(T value, float coverage) {
    return static_cast<T>(static_cast<float>(value) * coverage);
}

/// value * coverage, rounded in the integer types.
template <class T>
inline T coverRounding(T value, float coverage) {
    if constexpr (std::is_floating_point_v<T>)
        return value * coverage;
    else
        return static_cast<T>(static_cast<float>(value) * coverage + 0.5f);
}

// ---- Runs -----------------------------------------------------------------------------------

/// What a run leaves behind for the next one of the same row.
inline void advance(LineRenderStruct& line) {
    line.x += line.count * line.dx;
    line.y += line.count * line.dy;
    line.w += line.count * line.dw;
}

/// Calls pixel(position, out, i) for each pixel of the run, then advances. A run of no pixels is
/// left untouched.
template <class T, int C, class PixelFunction>
inline void forEachPixel(LineRenderStruct& line, PixelFunction pixel) {
    if (line.count < 1) return;
    T* out = static_cast<T*>(line.dest);
    for (int i = 0; i < line.count; ++i, out += C) pixel(positionAt(line, i), out, i);
    advance(line);
}

}  // namespace pixel_sampling
