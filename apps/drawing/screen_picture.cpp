// The file's space and the way to sRGB; see screen_picture.h.
#include "apps/drawing/screen_picture.h"

#include "zelk/color/color_transform.h"
#include "zelk/color/file_color.h"
#include "zelk/inputs/input_files.h"
#include "zelk/scene/color_names.h"

namespace zelk {

World screenPicture(std::filesystem::path const& file) {
    PictureReader reader = openPicture(file);
    World picture = readStraightWorld(reader);
    ColorConfig const config = colorConfigOf(Scene{});
    std::vector<std::string> unknown;  // a space that nobody knows: its kind's is as good as any
    FileColor const color = fileColorOf(config, file, reader.traits(), unknown);
    auto steps = config.steps(color.space, config.ownOf(*builtInSpace("sRGB")));
    if (!steps.empty()) ColorTransform(std::move(steps)).apply(picture, AlphaForm::kStraight);
    return picture;
}

}  // namespace zelk
