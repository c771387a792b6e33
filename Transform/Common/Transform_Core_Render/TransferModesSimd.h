// Rows of the transfer modes in vector code, with the bits of BlendModes.h's arithmetic.
#pragma once

/// What is said to a transfer beside its pixels.
struct BlendOptions {
    float foregroundOpacity = 1;  ///< 0 to 1, times the foreground's alpha
    float backgroundOpacity = 1;
    bool whiteAlpha = false;  ///< the result's alpha is white, whatever the mode gave
};

/// The modes by what they compute.
enum class VectorMode {
    kBehind,
    kNormal,
    kAdd,
    kMultiply,
    kScreen,
    kOverlay,
    kSoftLight,
    kHardLight,
    kDarken,
    kLighten,
    kDifference,
    kExclusion,
    kColorDodge,
    kColorBurn,
    kHue,
    kSaturation,
    kColor,
    kLuminosity,
};

/// Rows of `width` pixels; they may coincide. T is unsigned char, unsigned short or float.
template <class T>
struct BlendRows {
    T const *foreground, *background;
    T* destination;
    int width;
    int alpha;  ///< 0 or 3: its channel of four
    BlendOptions const& options;
};

/// Blends the first pixels of the rows, as many as fill vectors, and returns how many those are;
/// the others are the caller's. 0 on instruction sets without vectors for the format, and at an
/// opacity outside 0..1. White is 255, 32768 or 1. Safe on any thread.
template <class T>
int blendVectors(VectorMode mode, BlendRows<T> const& rows);
