// The colour spaces of a scene's frames: what its files are in, where pixels are worked on, what is
// written, and the conversions between them.
//
// Layer and plate are converted once each, before they meet, to the working space: the scene's,
// else the plate's, else the layer's. The result is converted once, before it is written. Where two
// spaces are the same nothing is touched.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zelk/color/color_transform.h"
#include "zelk/color/file_color.h"
#include "zelk/pictures/writer.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Stands for a configuration's default view.
inline constexpr char const* kDefaultView = "default";

/// What a screen can be taken for, by name: sRGB first; then the views of a configuration or,
/// without one, the built-in spaces of displays.
std::vector<std::string> displayNames(ColorConfig const& config);

using SharedTransform =
    std::shared_ptr<ColorTransform const>;  ///< null where nothing is to be done

/// Of one frame. Names are for people, empty in a raw scene.
struct FrameColors {
    ColorSpace layer, work, output;
    std::optional<ColorSpace> plate;
    SharedTransform layerToWork, plateToWork, workToOutput;
    /// To what pixels in memory hold: as OpenEXR keeps floats, and TIFF integers of that depth.
    SharedTransform workToStored;
    CurveSpace movie{TransferCurve::kRec709};  ///< what a movie is tagged as
    std::vector<std::string> conversions;      ///< "layer sRGB to linear", one each
    std::vector<std::string> warnings;
};

/// May be asked by several threads.
class SceneColors {
public:
    /// Throws about a name that is none, and a configuration that can't be read.
    explicit SceneColors(Scene const& scene);

    /// `plate` may be null. `file` is how the frame's file will be; it gets the tags.
    FrameColors settle(PictureTraits const& layer, PictureTraits const* plate, WriteRequest& file);
    /// From a space to the screen: through a view of the configuration (kDefaultView for its
    /// default one, one of the default display by its own name), else to the built-in space of that
    /// name; without any to sRGB.
    SharedTransform toDisplay(ColorSpace const& space, std::optional<std::string> const& view,
                              std::string const& thing);

private:
    FileColor colorOf(SceneInput const& input, std::optional<std::string> const& said,
                      PictureTraits const& traits, std::vector<std::string>& warnings);
    SharedTransform between(ColorSpace const& from, ColorSpace const& to);
    void settleOutput(FileColor const& source, WriteRequest& file, FrameColors& colors);

    Scene const m_scene;
    ColorConfig m_config;
    std::string m_format;  ///< of the output; empty for none
    bool m_isMovie;
    std::mutex m_mutex;
    // What frame after frame would ask for again.
    std::map<std::string, std::pair<FileColor, std::vector<std::string>>> m_files;
    std::vector<std::pair<std::pair<ColorSpace, ColorSpace>, SharedTransform>> m_transforms;
};

}  // namespace zelk
