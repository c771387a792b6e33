// The transfer modes that exchange hue, saturation and luminosity.
//
// A colour is taken apart by Analyse, put together from parts of both layers by Synthesise. Space:
// channels from 0 to 1 in single precision, from which integers are truncated. The hue circle has
// six sectors from red over green and blue back to red, each with a fraction from 0 to 1.
// Saturation runs from 0 to 0.5. Black has no parts at all, grey no hue: it counts as red.
//
// Beyond white the formulas run on as they stand. A colour whose span is exactly 2, such as
// (2, 0, 0), has no finite saturation; in float the result then isn't a number.
#pragma once

#include <algorithm>

#include "Transform/Common/Transform_Core_Render/BlendPair.h"
#include "Transform/Common/Transform_Core_Render/TransferModesSimd.h"

namespace blend_detail {

constexpr float _kRWeight = 0.299f;  ///< luminance of red, green and blue
constexpr float _kGWeight = 0.587f;
constexpr float _kBWeight = 0.114f;

using UnitColour = BlendColour<float>;

struct HueParts {
    int sector;        ///< 0 to 5; 6 counts as 5
    float fraction;    ///< within the sector
    float saturation;  ///< 0 to 0.5
    float luma;        ///< 0 to 1
};

inline float lumaOf(UnitColour const& c) {
    return _kRWeight * c.red + _kGWeight * c.green + _kBWeight * c.blue;
}

/// Place on the hue circle, from 0 to below 6. `d` is the largest channel `mx` less the smallest.
/// A red too near to the circle's end for a float to tell becomes 6, the last sector's start.
inline float hueOf(UnitColour const& c, float mx, float d) {
    float const hue = mx == c.red     ? (c.green - c.blue) / d
                      : mx == c.green ? (c.blue - c.red) / d + 2
                                      : (c.red - c.green) / d + 4;
    return hue < 0 ? hue + 6 : hue;
}

/// s = mx + mn, from 1 on 2 - d;  saturation = d / s / 2
inline HueParts Analyse(float r, float g, float b) {
    constexpr float kNothing = 0.0001f;
    const UnitColour c{r, g, b};
    float const mx = std::max({r, g, b});
    float const mn = std::min({r, g, b});
    if (mx < kNothing) return {0, 0, 0, 0};
    float const luma = lumaOf(c);
    float const d = mx - mn;
    if (d < kNothing) return {0, 0, 0, luma};
    float const sum = mx + mn;
    float const s = sum >= 1.0f ? 2.0f - d : sum;
    float const hue = hueOf(c, mx, d);
    int const sector = saturatingInt(hue);
    return {sector, hue - static_cast<float>(sector), d / s * 0.5f, luma};
}

/// The purest colour of a sector: two channels at `hi` and `lo`, the third between.
inline UnitColour sectorColour(int sector, float fraction, float hi, float lo) {
    float const rising = lo + fraction * (hi - lo);
    float const falling = (hi - lo) * (1 - fraction) + lo;
    switch (sector) {
        case 0:
            return {hi, rising, lo};
        case 1:
            return {falling, hi, lo};
        case 2:
            return {lo, hi, rising};
        case 3:
            return {lo, falling, hi};
        case 4:
            return {rising, lo, hi};
        default:
            return {hi, lo, falling};
    }
}

/// hi = saturation + 1/2, lo = 1 - hi; then brought from its own luma l to `luma`:
///   l < luma: 1 - (1 - c) (1 - luma) / (1 - l)    else c luma / l
inline UnitColour Synthesise(int sector, float fraction, float saturation, float luma) {
    float const hi = saturation + 0.5f;
    const UnitColour c = sectorColour(sector, fraction, hi, 1 - hi);
    float const l = lumaOf(c);
    if (l < luma) {
        float const k = (1 - luma) / (1 - l);
        return {1 - (1 - c.red) * k, 1 - (1 - c.green) * k, 1 - (1 - c.blue) * k};
    }
    float const k = luma / l;
    return {c.red * k, c.green * k, c.blue * k};
}

/// What each mode takes from the foreground's parts f and the background's b.
struct TakeHue {
    static constexpr auto kVector = VectorMode::kHue;
    HueParts operator()(HueParts const& f, HueParts const& b) const {
        return {f.sector, f.fraction, b.saturation, b.luma};
    }
};
struct TakeSaturation {
    static constexpr auto kVector = VectorMode::kSaturation;
    HueParts operator()(HueParts const& f, HueParts const& b) const {
        return {b.sector, b.fraction, f.saturation, b.luma};
    }
};
struct TakeColor {
    static constexpr auto kVector = VectorMode::kColor;
    HueParts operator()(HueParts const& f, HueParts const& b) const {
        return {f.sector, f.fraction, f.saturation, b.luma};
    }
};
struct TakeLuminosity {
    static constexpr auto kVector = VectorMode::kLuminosity;
    HueParts operator()(HueParts const& f, HueParts const& b) const {
        return {b.sector, b.fraction, b.saturation, f.luma};
    }
};

/// A choice of parts as a formula of colours in channel units.
template <class Trait, class Take>
struct OfParts {
    static constexpr auto kVector = Take::kVector;
    using A = BlendArithmetic<Trait>;
    using Value = typename A::Value;
    using Colour = BlendColour<Value>;
    static constexpr auto kUnits = static_cast<float>(A::kWhite);

    Colour operator()(Colour const& f, Colour const& b) const {
        const HueParts parts = Take{}(analysed(f), analysed(b));
        const UnitColour c = Synthesise(parts.sector, parts.fraction, parts.saturation, parts.luma);
        return {inUnits(c.red), inUnits(c.green), inUnits(c.blue)};
    }

private:
    static float scaled(Value c) { return static_cast<float>(c) / kUnits; }
    static HueParts analysed(Colour const& c) {
        return Analyse(scaled(c.red), scaled(c.green), scaled(c.blue));
    }
    static Value inUnits(float c) {
        if constexpr (Trait::kIsFloat)
            return c;
        else
            return saturatingInt(c * kUnits);
    }
};

}  // namespace blend_detail
