// A world as a picture file, in the world's depth where the format holds it.
//
// Formats that keep straight colour get a straight world's values unchanged (16 bits: white 32768
// becomes 65535), but a TIFF is associated where the file that it inherits from is. Between
// straight and associated colour values go in float and are rounded once; where alpha is 0 they
// pass as they are. Formats without alpha, and WebP, GIF and FITS, get the picture over black, with
// a warning when there was transparency. What the inputs' file has beside colours and alpha goes
// along from OpenEXR to OpenEXR, and its compression within a format. A file takes its place only
// after it was read back.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/world.h"
#include "zelk/pictures/output_channels.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/pictures/png_data.h"
#include "zelk/pictures/reader.h"

namespace zelk {

/// Throws an output error when `target` names no format that can be written, its place refuses a
/// file, or it exists and `noClobber` is set. Writes nothing.
void checkTarget(std::filesystem::path const& target, bool noClobber);

/// Whether a name is of the format that holds a data window beside the display window, and
/// channels and parts beside the picture's: OpenEXR.
bool isOpenExrName(std::filesystem::path const& target);

/// What a world is and how its file is to be.
struct WriteRequest {
    Depth depth = Depth::k8;                ///< of the file's samples, where the format has them
    AlphaForm form = AlphaForm::kStraight;  ///< of the world's colour
    PictureTraits traits;  ///< what the file inherits; half samples, windows, metadata
    /// Pixels around the display window, of a data window that the format may keep apart.
    PixelMargins margins;
    bool opaque = false;  ///< alpha is white everywhere, and left out unless it is asked for
    OutputChannels channels = OutputChannels::kAsInputs;
    bool keepMetadata = true;
    int pngLevel = kFastPngLevel;  ///< of compression, to kMostPngLevel; changes no pixel
    bool noClobber = false;        ///< fail when the target has come up meanwhile
    bool isStrict = false;         ///< what there is to warn of is an error, before the target
    std::string history;           ///< the command line, as image history
    OIIO::ParamValueList color;    ///< what the colours are, beside the metadata that it inherits
};

/// OpenImageIO's name for the format that a name's extension means; empty for none.
std::string formatOf(std::filesystem::path const& target);
/// Whether files of that format are written in float when they are asked to.
bool writesFloat(std::string_view format);

/// What there is to report of a written file.
struct WriteReport {
    std::vector<std::string> warnings;  ///< a sentence each
    std::string sampleType;             ///< as OpenImageIO names it: "uint8", "half"
    int sampleBits = 0;                 ///< in use of each sample
};

/// What writePicture would refuse of a picture of that size, in the same words, and what it may
/// warn of: the format's own writer is asked, with no file at the target. Throws as checkTarget.
std::vector<std::string> checkPicture(PixelSize size, std::filesystem::path const& target,
                                      WriteRequest const& request);

/// Writes beside `target`, checks that all is there, and renames into place. Throws an output
/// error; the target is then as it was before.
WriteReport writePicture(World const& world, std::filesystem::path const& target,
                         WriteRequest const& request);

}  // namespace zelk
