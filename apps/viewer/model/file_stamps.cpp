// See file_stamps.h.
#include "apps/viewer/model/file_stamps.h"

#include <filesystem>
#include <vector>

#include "zelk/files/file_stamp.h"
#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/scene/color_names.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

fs::path pictureAt(fs::path const& pattern, int frame) {
    try {
        return SequenceName(pattern.string()).pathOf(frame);
    } catch (UserError const&) {
        return pattern;
    }
}

std::vector<fs::path> picturesOf(Scene const& scene, bool areNumbered) {
    SceneInput const* const inputs[] = {&scene.layer, scene.plate ? &*scene.plate : nullptr,
                                        scene.matte ? &scene.matte->file : nullptr,
                                        scene.holdout ? &scene.holdout->file : nullptr,
                                        scene.stMap ? &*scene.stMap : nullptr};
    std::vector<fs::path> names;
    for (SceneInput const* const input : inputs)
        if (input && !input->buffer && isPattern(input->file.path()) == areNumbered)
            names.push_back(input->file.path());
    return names;
}

std::string numberedStamps(Scene const& scene, int frame) {
    std::string all;
    for (fs::path const& name : picturesOf(scene, true)) all += stampOf(pictureAt(name, frame));
    return all;
}

}  // namespace

std::string openedStamps(Scene const& scene) {
    std::string all;
    for (fs::path const& name : picturesOf(scene, false)) all += stampOf(name);
    fs::path const config = colorConfigFile(scene);
    return config.empty() ? all : all + stampOf(config);
}

std::string usedStamps(Scene const& scene, int frame, std::string const& opened) {
    std::string all = opened;
    for (TrackUse const& use : scene.tracks) all += use.stamp;
    return all + numberedStamps(scene, frame);
}

std::string fileStamps(Scene const& scene, int frame) {
    std::string all = openedStamps(scene);
    for (TrackUse const& use : scene.tracks) all += stampOf(use.file.path());
    return all + numberedStamps(scene, frame);
}

}  // namespace zelk
