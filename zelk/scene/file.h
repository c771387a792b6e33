// The project file *.zelk.json: a scene's text. docs/project-file.md describes it for users,
// docs/project.schema.json for tools.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "zelk/scene/scene.h"

namespace zelk {

/// Throws UserError (text/errors.h), an input error that names the file, the place in it
/// ("parameters.rotate.keys[2].frame") or line:column, and what was expected.
Scene readScene(std::filesystem::path const& file);
/// The same for a text that is told to come from `file`.
Scene sceneFromText(std::filesystem::path const& file, std::string_view text);

/// The same for who edits the scene and may not have its tracks: one whose file can't be read stays
/// by its name (TrackUse::fault).
Scene readSceneToEdit(std::filesystem::path const& file);
Scene sceneToEditFromText(std::filesystem::path const& file, std::string_view text);

/// Writes the scene whole or not at all: what was there stays until then. Relative paths are
/// written to lead to the same files from `file`'s folder; what files have no place for (road,
/// host, module, plain, missing) stays out. Throws an output error, also for a file that is there
/// already when it may not be replaced, and a usage error for a picture in memory, a track or a
/// value as it was typed, which FrameRenderer::settledScene settles.
void writeScene(Scene const& scene, std::filesystem::path const& file, bool mayReplace = true);

/// What writeScene would write to the scene's own file.
std::string sceneText(Scene const& scene);

}  // namespace zelk
