// See file_stamps.h.
#include "apps/viewer/model/file_stamps.h"

#include <fmt/format.h>

#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

fs::path pictureAt(fs::path const& name, int frame) {
    try {
        return isPattern(name) ? SequenceName(name.string()).pathOf(frame) : name;
    } catch (UserError const&) {
        return name;
    }
}

}  // namespace

std::string stampOf(fs::path const& file) {
    std::error_code fault;
    std::string const name = file.lexically_normal().string();  // one, wherever the project lies
    auto const changed = fs::last_write_time(file, fault).time_since_epoch().count();
    if (fault) return name + " -\n";
    return fmt::format("{} {} {}\n", name, changed, fs::file_size(file, fault));
}

std::string fileStamps(Scene const& scene, int frame) {
    SceneInput const* const inputs[] = {&scene.layer, scene.plate ? &*scene.plate : nullptr,
                                        scene.matte ? &scene.matte->file : nullptr,
                                        scene.holdout ? &scene.holdout->file : nullptr,
                                        scene.stMap ? &*scene.stMap : nullptr};
    std::string all;
    for (SceneInput const* const input : inputs)
        if (input && !input->buffer) all += stampOf(pictureAt(input->file.path(), frame));
    for (TrackUse const& use : scene.tracks) all += stampOf(use.file.path());
    if (scene.color.config) all += stampOf(scene.color.config->path());
    return all;
}

}  // namespace zelk
