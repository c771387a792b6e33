// See moved_scene.h.
#include "apps/viewer/model/moved_scene.h"

#include "zelk/files/relative_paths.h"

namespace zelk {
namespace {

namespace fs = std::filesystem;

/// Absolute names stay as they are.
void startAt(ScenePath& path, fs::path const& folder) {
    if (path.written.empty() || fs::path(path.written).is_absolute()) return;
    if (!isSameFolder(folder, path.folder)) path.written = pathFrom(folder, path.path(), true);
    path.folder = folder;
}

void startAt(SceneInput& input, fs::path const& folder) {
    if (!input.buffer) startAt(input.file, folder);
}

void startAt(SceneMatte& matte, fs::path const& folder) { startAt(matte.file, folder); }

template <class File>
void startAt(std::optional<File>& file, fs::path const& folder) {
    if (file) startAt(*file, folder);
}

}  // namespace

std::shared_ptr<Scene const> MovedScenes::of(std::shared_ptr<Scene const> const& scene) {
    auto& known = m_scenes[scene];
    if (known) return known;
    Scene own = *scene;
    fs::path const folder = m_project.parent_path();
    own.file = m_project;
    startAt(own.layer, folder);
    startAt(own.plate, folder);
    startAt(own.matte, folder);
    startAt(own.holdout, folder);
    startAt(own.stMap, folder);
    startAt(own.sound, folder);
    startAt(own.output, folder);
    startAt(own.color.config, folder);
    for (TrackUse& use : own.tracks) startAt(use.file, folder);
    return known = std::make_shared<Scene const>(std::move(own));
}

}  // namespace zelk
