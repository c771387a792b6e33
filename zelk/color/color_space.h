// Colour spaces: what a file's red, green and blue stand for.
//
// A space is one of three: a transfer curve over primaries, whose formulas stand in this room; a
// name of an OpenColorIO configuration (color_config.h); an ICC profile (icc_profile.h). Values are
// floats, black 0, white 1. All spaces meet in linear light of BT.709's primaries and white, D65;
// values below 0 and above 1 are kept there.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelk {

/// x and y of red, green, blue, white, as OpenEXR has them.
using Chromaticities = std::array<float, 8>;
inline constexpr Chromaticities kRec709Primaries = {0.64f, 0.33f, 0.30f,   0.60f,
                                                    0.15f, 0.06f, 0.3127f, 0.3290f};

enum class TransferCurve {
    kLinear,
    kSrgb,    ///< IEC 61966-2-1
    kRec709,  ///< the camera's curve of BT.709 and its inverse
    kGamma,   ///< a power
    kFilm     ///< printing density of 10 bits: black 95, white 685, 0.002 a step, gamma 0.6
};

struct CurveSpace {
    TransferCurve curve = TransferCurve::kLinear;
    double gamma = 1;  ///< of kGamma
    Chromaticities primaries = kRec709Primaries;
    bool operator==(CurveSpace const&) const = default;
};
struct ConfigSpace {
    std::string name;  ///< the configuration's own, no alias and no role
    bool operator==(ConfigSpace const&) const = default;
};
struct ProfileSpace {
    std::vector<unsigned char> bytes;
    bool operator==(ProfileSpace const&) const = default;
};

struct ColorSpace {
    std::string name;  ///< for people
    std::variant<CurveSpace, ConfigSpace, ProfileSpace> form;
    /// Two names may stand for one space.
    bool operator==(ColorSpace const& other) const { return form == other.form; }
    CurveSpace const* curve() const { return std::get_if<CurveSpace>(&form); }
    ConfigSpace const* config() const { return std::get_if<ConfigSpace>(&form); }
    ProfileSpace const* profile() const { return std::get_if<ProfileSpace>(&form); }
};

struct NamedSpace {
    std::string_view name;
    CurveSpace space;
};
/// What counts without a configuration; beside these "GammaN" for any power, as "Gamma2.2".
std::span<NamedSpace const> builtInSpaces();
/// In letters of any case.
std::optional<ColorSpace> builtInSpace(std::string_view name);
/// With the name that the table has for it, else one of its curve.
ColorSpace named(CurveSpace const& space);
/// "sRGB", "Gamma2.2": the curve alone, as OpenImageIO names it.
std::string curveName(CurveSpace const& space);

/// Stored value to light, and back. Odd functions, but for kFilm, whose light ends just below
/// black.
float decoded(CurveSpace const& space, float value);
float encoded(CurveSpace const& space, float light);

using Matrix3 = std::array<double, 9>;  ///< by rows, for column vectors
Matrix3 operator*(Matrix3 const& a, Matrix3 const& b);
/// Throws std::domain_error for one without inverse, as primaries on one line give.
Matrix3 inverse(Matrix3 const& m);
/// Light of these primaries to CIE XYZ, white at Y 1.
Matrix3 toXyz(Chromaticities const& primaries);
/// From light of `from` to light of `to`; white goes to white, by Bradford's adaptation.
Matrix3 betweenPrimaries(Chromaticities const& from, Chromaticities const& to);
/// Whether primaries span a space.
bool isUsable(Chromaticities const& primaries);

}  // namespace zelk
