// The project file *.zelk.json: a scene's text. docs/project-file.md describes it for users,
// docs/project.schema.json for tools.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "zelk/scene/scene.h"

namespace zelk {

/// Throws an input error that names the file, the place in it ("parameters.rotate.keys[2].frame")
/// or line:column, and what was expected.
Scene readScene(std::filesystem::path const& file);
/// The same for a text that is told to come from `file`.
Scene sceneFromText(std::filesystem::path const& file, std::string_view text);

/// A start and a duration that the file leaves out are those of the scene's `frames`.
void fitToFrames(Scene& scene);

/// Writes the scene whole or not at all: what was there stays until then. Relative paths are
/// written to lead to the same files from `file`'s folder; what files have no place for (road,
/// host, module, plain, missing) stays out. Throws an output error, also for a file that is there
/// already when it may not be replaced, and a usage error for a picture in memory, a track or a
/// value as it was typed, which sceneOf settles.
void writeScene(Scene const& scene, std::filesystem::path const& file, bool mayReplace = true);

/// What writeScene would write to the scene's own file.
std::string sceneText(Scene const& scene);

/// "linear", "hold" or "bezier".
std::string_view interpolationWord(Interpolation interpolation);
/// As the file has it: true, 12.5, "Super Sample", [12, 40].
std::string valueText(SceneValue const& value);

/// A key of one of the file's objects.
struct FileKey {
    std::string_view name;
    bool isRequired = false;
};
/// An object of the file with all keys that it may have, in the order in which they are written.
struct FileObject {
    std::string_view
        name;  ///< "project", "comp", "motionBlur", "render", "parameter", "key", "ease"
    std::span<FileKey const> keys;
};
std::span<FileObject const> fileObjects();
/// The words that `render.mode` may have.
std::span<std::string_view const> modeWords();

}  // namespace zelk
