// Passes over rows that treat each channel by itself: opacity, merging, fading. One pixel loop a
// pass, scalar, and its vector twin of the same bits.
//
// Unit: channel values, white at 255, 32768 or 1. Integers stay within their type by the caller's
// factors, which lie between 0 and 1; float channels and factors may be anything.
#pragma once

#include <cstdint>
#include <type_traits>

namespace row_pass {

template <class T>
constexpr bool kIsFloat = std::is_floating_point_v<T>;

/// What alpha is multiplied with: a whole number from 0 to white, or the opacity itself.
template <class T>
using AlphaFactor = std::conditional_t<kIsFloat<T>, float, std::uint32_t>;

/// Bits that a product of integers has too many; those of 8 bits are over 256.
template <class T>
constexpr int kShift = sizeof(T) == 1 ? 8 : 15;

/// Alpha, channel 0 or 3 of each pixel: (a factor + half) >> shift, in float a factor.
template <class T>
void multiplyAlpha(T* pixels, int count, int alpha, AlphaFactor<T> factor) {
    for (T* a = pixels + alpha; count > 0; --count, a += 4) {
        if constexpr (kIsFloat<T>)
            *a *= factor;
        else
            *a = static_cast<T>((*a * factor + (1u << (kShift<T> - 1))) >> kShift<T>);
    }
}

/// mean (1 - weight) + sample weight, in single precision; integers add 0.5 and truncate.
template <class T>
void merge(T* mean, T const* sample, int channels, float weight) {
    constexpr float kRounding = kIsFloat<T> ? 0.0f : 0.5f;
    for (int c = 0; c < channels; ++c)
        mean[c] = static_cast<T>(static_cast<float>(mean[c]) * (1.0f - weight) +
                                 static_cast<float>(sample[c]) * weight + kRounding);
}

/// c factor in single precision; integers truncate.
template <class T>
void scale(T* values, int channels, float factor) {
    for (int c = 0; c < channels; ++c)
        values[c] = static_cast<T>(static_cast<float>(values[c]) * factor);
}

}  // namespace row_pass

// The vector twins. T is unsigned char, unsigned short or float. Safe on any thread.
template <class T>
void multiplyAlphaRowSimd(T* pixels, int count, int alpha, row_pass::AlphaFactor<T> factor);
template <class T>
void mergeRowSimd(T* mean, T const* sample, int channels, float weight);
template <class T>
void scaleRowSimd(T* values, int channels, float factor);
