// What a file's colour space is, and which one a written file keeps.
//
// In this order: what was said of it; a file rule of the configuration; what the file declares (an
// ICC profile; a named curve, with chromaticities if it has them); what its kind means:
//   integer pictures  sRGB         float pictures  linear light of BT.709
//   DPX, movies       Rec709       Cineon          KodakLog
#pragma once

#include <OpenImageIO/paramlist.h>

#include <filesystem>
#include <string>
#include <vector>

#include "zelk/color/color_config.h"
#include "zelk/pictures/reader.h"

namespace zelk {

/// What a file's kind is for.
enum class ColorKind {
    kLight,    ///< float pictures
    kDisplay,  ///< integer pictures
    kFilm,     ///< DPX and Cineon
    kMovie
};
/// `format` is OpenImageIO's name for it.
ColorKind colorKindOf(std::string_view format, Depth depth);

struct FileColor {
    ColorSpace space;
    ColorKind kind = ColorKind::kDisplay;
    bool isOwn = true;  ///< declared by the file or meant by its kind, and so what a copy inherits
};

/// Without what was said of it. A declared space of no known name is told in `warnings`.
FileColor fileColorOf(ColorConfig const& config, std::filesystem::path const& file,
                      PictureTraits const& traits, std::vector<std::string>& warnings);

/// The space that a file of that kind and format keeps when its colours come from `source`: the
/// same where the file can hold it, else what the kind means.
ColorSpace keptBy(ColorConfig const& config, FileColor const& source, ColorKind kind,
                  std::string_view format);

/// Whether a file of that format keeps an ICC profile.
bool holdsProfile(std::string_view format);

/// The attributes that tell the space in a file of that format; those of former spaces go by
/// eraseColorAttributes.
OIIO::ParamValueList colorAttributes(ColorConfig const& config, ColorSpace const& space,
                                     std::string_view format);
void eraseColorAttributes(OIIO::ParamValueList& attributes);

}  // namespace zelk
