// Kinds of files, their spaces and their attributes; see file_color.h.
#include "zelk/color/file_color.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "zelk/color/icc_profile.h"
#include "zelk/color/movie_tags.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

bool isOneOf(auto const& names, std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// Formats whose readers name a space that the file says nothing of.
constexpr std::string_view kSaysNothing[] = {"pnm"};
/// Formats whose writers put an ICC profile into the file.
constexpr std::string_view kHoldsProfile[] = {"png", "jpeg", "tiff"};

ColorSpace meaningOf(ColorConfig const& config, ColorKind kind, std::string_view format) {
    char const* const name = kind == ColorKind::kLight     ? "linear"
                             : kind == ColorKind::kDisplay ? "sRGB"
                             : format == "cineon"          ? "KodakLog"
                                                           : "Rec709";
    return config.ownOf(*builtInSpace(name));
}

std::optional<ColorSpace> spaceOfProfile(ColorConfig const& config, OIIO::ParamValue const& value) {
    auto const* const bytes = static_cast<unsigned char const*>(value.data());
    ProfileSpace profile{{bytes, bytes + value.type().size()}};
    ColorSpace space{descriptionOf(profile), std::move(profile)};
    if (space.name.empty()) space.name = "of a profile";
    if (auto const twin = config.builtInTwin(space)) return config.ownOf(named(*twin));
    bool const isUsable = profileStep(*space.profile(), ProfileWay::kToLight) &&
                          profileStep(*space.profile(), ProfileWay::kFromLight);
    return isUsable ? std::optional(space) : std::nullopt;
}

std::optional<Chromaticities> chromaticitiesOf(OIIO::ParamValueList const& attributes) {
    auto const found = attributes.find("chromaticities");
    if (found == attributes.end() || found->type().basetype != OIIO::TypeDesc::FLOAT ||
        found->type().basevalues() != 8)
        return std::nullopt;
    Chromaticities given{};
    std::copy_n(static_cast<float const*>(found->data()), given.size(), given.begin());
    return isUsable(given) ? std::optional(given) : std::nullopt;
}

/// Nothing where the file declares nothing that can be used.
std::optional<ColorSpace> declaredBy(ColorConfig const& config, std::filesystem::path const& file,
                                     PictureTraits const& traits,
                                     std::vector<std::string>& warnings) {
    auto const profile = traits.metadata.find("ICCProfile");
    if (profile != traits.metadata.end())
        if (auto const space = spaceOfProfile(config, *profile)) return space;
    if (profile != traits.metadata.end())
        warnings.push_back(file.string() + ": its colour profile can't be used");
    std::string const name = traits.metadata.get_string("oiio:ColorSpace");
    if (name.empty() || isOneOf(kSaysNothing, traits.format)) return std::nullopt;
    auto builtIn = builtInSpace(name);
    if (!builtIn) {
        auto const own = config.find(name);
        if (!own)
            warnings.push_back(
                fmt::format("{}: declares the unknown colour space \"{}\"", file.string(), name));
        return own;
    }
    auto const primaries = chromaticitiesOf(traits.metadata);
    if (!primaries) return config.ownOf(*builtIn);
    CurveSpace curve = *builtIn->curve();
    curve.primaries = *primaries;
    // A configuration's linear light need not have the primaries that this file names.
    if (!config.isBuiltIn() && config.builtInTwin(config.linear()) == curve) return config.linear();
    return named(curve);
}

bool isDisplayCurve(TransferCurve curve) {
    return curve != TransferCurve::kLinear && curve != TransferCurve::kFilm;
}

/// Whether a file of that kind and format holds a curve over primaries.
bool holds(CurveSpace const& space, bool isSameKind, ColorKind kind, std::string_view format) {
    bool const isRec709 = space.primaries == kRec709Primaries;
    switch (kind) {
        case ColorKind::kLight:
            return space.curve == TransferCurve::kLinear && (isRec709 || format == "openexr");
        case ColorKind::kDisplay:
            if (isRec709 && space.curve == TransferCurve::kSrgb) return true;
            return holdsProfile(format) && (isSameKind || isDisplayCurve(space.curve));
        case ColorKind::kFilm:
            return isRec709 &&
                   (space.curve == TransferCurve::kLinear ||
                    space.curve == TransferCurve::kRec709 || space.curve == TransferCurve::kFilm);
        default:
            return hasMovieTags(space) && space.curve == TransferCurve::kRec709;
    }
}

}  // namespace

bool holdsProfile(std::string_view format) { return isOneOf(kHoldsProfile, format); }

ColorKind colorKindOf(std::string_view format, Depth depth) {
    if (format == "movie" || format == "FFmpeg movie") return ColorKind::kMovie;
    if (format == "dpx" || format == "cineon") return ColorKind::kFilm;
    bool const isLight = format == "openexr" || format == "hdr" || depth == Depth::kFloat;
    return isLight ? ColorKind::kLight : ColorKind::kDisplay;
}

FileColor fileColorOf(ColorConfig const& config, std::filesystem::path const& file,
                      PictureTraits const& traits, std::vector<std::string>& warnings) {
    ColorKind const kind = colorKindOf(traits.format, traits.depth);
    if (auto const ruled = config.ofFile(file)) return {*ruled, kind, false};
    if (auto const own = declaredBy(config, file, traits, warnings)) return {*own, kind, true};
    return {meaningOf(config, kind, traits.format), kind, true};
}

ColorSpace keptBy(ColorConfig const& config, FileColor const& source, ColorKind kind,
                  std::string_view format) {
    ColorSpace const fallback = meaningOf(config, kind, format);
    bool const isSameKind = source.kind == kind;
    if (source.space == fallback) return fallback;
    if (source.space.profile())
        return kind == ColorKind::kDisplay && holdsProfile(format) ? source.space : fallback;
    if (source.space.config() && isSameKind) return source.space;
    auto const twin = config.builtInTwin(source.space);
    return twin && holds(*twin, isSameKind, kind, format) ? source.space : fallback;
}

OIIO::ParamValueList colorAttributes(ColorConfig const& config, ColorSpace const& space,
                                     std::string_view format) {
    OIIO::ParamValueList attributes;
    bool const takesProfile = holdsProfile(format);
    auto const addProfile = [&](ProfileSpace const& profile) {
        attributes.attribute(
            "ICCProfile",
            OIIO::TypeDesc(OIIO::TypeDesc::UINT8, static_cast<int>(profile.bytes.size())),
            profile.bytes.data());
    };
    if (auto const* profile = space.profile(); profile && takesProfile) addProfile(*profile);
    auto const twin = config.builtInTwin(space);
    if (!twin) {
        if (space.config()) attributes.attribute("oiio:ColorSpace", space.name);
        return attributes;
    }
    if (space.profile()) return attributes;
    attributes.attribute("oiio:ColorSpace", curveName(*twin));
    if (twin->curve == TransferCurve::kGamma)
        attributes.attribute("oiio:Gamma", static_cast<float>(twin->gamma));
    bool const isRec709 = twin->primaries == kRec709Primaries;
    if (format == "openexr")
        attributes.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8),
                             twin->primaries.data());
    bool const isSrgb = isRec709 && twin->curve == TransferCurve::kSrgb;
    if (takesProfile && !isSrgb) addProfile(profileOf(*twin, named(*twin).name));
    return attributes;
}

void eraseColorAttributes(OIIO::ParamValueList& attributes) {
    for (char const* name : {"oiio:ColorSpace", "oiio:Gamma", "ICCProfile", "chromaticities",
                             "Exif:ColorSpace", "dpx:Transfer"})
        attributes.remove(name);
}

}  // namespace zelk
