// Curves, primaries and the table of names; see color_space.h.
#include "zelk/color/color_space.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "zelk/text/numbers.h"

namespace zelk {

namespace {

constexpr Chromaticities kDisplayP3 = {0.680f, 0.320f, 0.265f,  0.690f,
                                       0.150f, 0.060f, 0.3127f, 0.3290f};
constexpr Chromaticities kRec2020 = {0.708f, 0.292f, 0.170f,  0.797f,
                                     0.131f, 0.046f, 0.3127f, 0.3290f};
constexpr Chromaticities kAdobe = {0.64f, 0.33f, 0.21f, 0.71f, 0.15f, 0.06f, 0.3127f, 0.3290f};
constexpr Chromaticities kAp0 = {0.7347f, 0.2653f, 0.0f,     1.0f,
                                 0.0001f, -0.077f, 0.32168f, 0.33767f};
constexpr Chromaticities kAp1 = {0.713f, 0.293f, 0.165f,   0.830f,
                                 0.128f, 0.044f, 0.32168f, 0.33767f};

constexpr NamedSpace kBuiltIn[] = {
    {"linear", {TransferCurve::kLinear}},
    {"sRGB", {TransferCurve::kSrgb}},
    {"Rec709", {TransferCurve::kRec709}},
    {"KodakLog", {TransferCurve::kFilm}},
    {"Display P3", {TransferCurve::kSrgb, 1, kDisplayP3}},
    {"AdobeRGB", {TransferCurve::kGamma, 563.0 / 256, kAdobe}},
    {"Rec2020", {TransferCurve::kRec709, 1, kRec2020}},
    {"ACEScg", {TransferCurve::kLinear, 1, kAp1}},
    {"ACES2065-1", {TransferCurve::kLinear, 1, kAp0}},
};

constexpr double kLeastGamma = 0.1, kMostGamma = 10;

/// "Gamma2.2", also as a reader writes it: "GammaCorrected2.2"
std::optional<CurveSpace> gammaSpace(std::string_view small) {
    for (std::string_view const prefix : {"gammacorrected", "gamma"}) {
        if (!small.starts_with(prefix)) continue;
        auto const gamma = parseNumber(small.substr(prefix.size()));
        if (!gamma || *gamma < kLeastGamma || *gamma > kMostGamma) return std::nullopt;
        if (*gamma == 1) return CurveSpace{};
        return CurveSpace{TransferCurve::kGamma, *gamma};
    }
    return std::nullopt;
}

// light = (10^((code - 685) * 0.002 / 0.6) - offset) / (1 - offset), code = 1023 * value, with the
// offset that takes code 95 to 0.
constexpr double kFilmWhite = 685.0 / 1023, kFilmBlack = 95.0 / 1023,
                 kFilmScale = 1023 * 0.002 / 0.6;
double filmOffset() {
    static double const offset = std::pow(10.0, (kFilmBlack - kFilmWhite) * kFilmScale);
    return offset;
}

float filmDecoded(float value) {
    double const offset = filmOffset();
    return static_cast<float>((std::pow(10.0, (value - kFilmWhite) * kFilmScale) - offset) /
                              (1 - offset));
}

/// Light at or below what stands for the value 0 becomes 0.
float filmEncoded(float light) {
    double const offset = filmOffset();
    double const density = light * (1 - offset) + offset;
    double const least = std::pow(10.0, -kFilmWhite * kFilmScale);
    return static_cast<float>(std::log10(std::max(density, least)) / kFilmScale + kFilmWhite);
}

// sRGB      value <= 0.04045: light = value / 12.92, else ((value + 0.055) / 1.055)^2.4
// BT.709    value < 0.081:    light = value / 4.5,   else ((value + 0.099) / 1.099)^(1 / 0.45)
float positiveDecoded(CurveSpace const& space, float value) {
    switch (space.curve) {
        case TransferCurve::kSrgb:
            return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
        case TransferCurve::kRec709:
            return value < 0.081f ? value / 4.5f : std::pow((value + 0.099f) / 1.099f, 1 / 0.45f);
        case TransferCurve::kGamma:
            return std::pow(value, static_cast<float>(space.gamma));
        default:
            return value;
    }
}

float positiveEncoded(CurveSpace const& space, float light) {
    switch (space.curve) {
        case TransferCurve::kSrgb:
            return light <= 0.0031308f ? light * 12.92f
                                       : 1.055f * std::pow(light, 1 / 2.4f) - 0.055f;
        case TransferCurve::kRec709:
            return light < 0.018f ? light * 4.5f : 1.099f * std::pow(light, 0.45f) - 0.099f;
        case TransferCurve::kGamma:
            return std::pow(light, static_cast<float>(1 / space.gamma));
        default:
            return light;
    }
}

std::array<double, 3> times(Matrix3 const& m, std::array<double, 3> const& v) {
    return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
            m[6] * v[0] + m[7] * v[1] + m[8] * v[2]};
}

std::array<double, 3> xyzOf(float x, float y) {
    return {double(x) / y, 1, (1 - double(x) - y) / y};
}

constexpr Matrix3 kBradford = {0.8951, 0.2664, -0.1614, -0.7502, 1.7135,
                               0.0367, 0.0389, -0.0685, 1.0296};

Matrix3 adaptation(Chromaticities const& from, Chromaticities const& to) {
    auto const a = times(kBradford, xyzOf(from[6], from[7]));
    auto const b = times(kBradford, xyzOf(to[6], to[7]));
    Matrix3 const scale = {b[0] / a[0], 0, 0, 0, b[1] / a[1], 0, 0, 0, b[2] / a[2]};
    return inverse(kBradford) * (scale * kBradford);
}

}  // namespace

std::span<NamedSpace const> builtInSpaces() { return kBuiltIn; }

std::optional<ColorSpace> builtInSpace(std::string_view name) {
    std::string const small = lowered(trimmed(name));
    for (NamedSpace const& entry : kBuiltIn)
        if (lowered(entry.name) == small) return ColorSpace{std::string(entry.name), entry.space};
    if (auto const gamma = gammaSpace(small)) return named(*gamma);
    return std::nullopt;
}

std::string curveName(CurveSpace const& space) {
    switch (space.curve) {
        case TransferCurve::kSrgb:
            return "sRGB";
        case TransferCurve::kRec709:
            return "Rec709";
        case TransferCurve::kGamma:
            return fmt::format("Gamma{:.4g}", space.gamma);
        case TransferCurve::kFilm:
            return "KodakLog";
        default:
            return "linear";
    }
}

ColorSpace named(CurveSpace const& space) {
    for (NamedSpace const& entry : kBuiltIn)
        if (entry.space == space) return {std::string(entry.name), space};
    bool const isOwn = space.primaries != kRec709Primaries;
    return {curveName(space) + (isOwn ? " of its own primaries" : ""), space};
}

float decoded(CurveSpace const& space, float value) {
    if (space.curve == TransferCurve::kFilm) return filmDecoded(value);
    return std::copysign(positiveDecoded(space, std::abs(value)), value);
}

float encoded(CurveSpace const& space, float light) {
    if (space.curve == TransferCurve::kFilm) return filmEncoded(light);
    return std::copysign(positiveEncoded(space, std::abs(light)), light);
}

Matrix3 operator*(Matrix3 const& a, Matrix3 const& b) {
    Matrix3 product{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            for (std::size_t k = 0; k < 3; ++k) product[3 * r + c] += a[3 * r + k] * b[3 * k + c];
    return product;
}

Matrix3 inverse(Matrix3 const& m) {
    Matrix3 const adjugate = {
        m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
        m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
        m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
    double const determinant = m[0] * adjugate[0] + m[1] * adjugate[3] + m[2] * adjugate[6];
    if (!(std::abs(determinant) > 1e-12)) throw std::domain_error("a matrix without inverse");
    Matrix3 result = adjugate;
    for (double& e : result) e /= determinant;
    return result;
}

Matrix3 toXyz(Chromaticities const& p) {
    auto const r = xyzOf(p[0], p[1]), g = xyzOf(p[2], p[3]), b = xyzOf(p[4], p[5]);
    Matrix3 const columns = {r[0], g[0], b[0], r[1], g[1], b[1], r[2], g[2], b[2]};
    auto const s = times(inverse(columns), xyzOf(p[6], p[7]));
    return columns * Matrix3{s[0], 0, 0, 0, s[1], 0, 0, 0, s[2]};
}

Matrix3 betweenPrimaries(Chromaticities const& from, Chromaticities const& to) {
    bool const isOneWhite = from[6] == to[6] && from[7] == to[7];
    Matrix3 const xyz = isOneWhite ? toXyz(from) : adaptation(from, to) * toXyz(from);
    return inverse(toXyz(to)) * xyz;
}

bool isUsable(Chromaticities const& p) {
    for (std::size_t i = 0; i < p.size(); ++i)
        if (!std::isfinite(p[i]) || (i % 2 == 1 && p[i] == 0)) return false;
    try {
        Matrix3 const both = betweenPrimaries(p, kRec709Primaries);
        inverse(both);
        return std::all_of(both.begin(), both.end(), [](double e) { return std::isfinite(e); });
    } catch (std::domain_error const&) {
        return false;
    }
}

}  // namespace zelk
