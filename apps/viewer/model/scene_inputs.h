// The files of a scene as a user exchanges them: setting one, and finding those that are missing.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "zelk/scene/scene.h"

namespace zelk {

enum class InputKind { kLayer, kPlate, kMatte, kHoldout, kStMap, kTrackTo, kTrackFrom };
inline constexpr InputKind kInputKinds[] = {
    InputKind::kLayer, InputKind::kPlate,   InputKind::kMatte,    InputKind::kHoldout,
    InputKind::kStMap, InputKind::kTrackTo, InputKind::kTrackFrom};

/// "layer", "lens map", "track of the To Pins"
char const* wordOf(InputKind kind);
/// Of a track.
bool isTrack(InputKind kind);

/// The file as it would be written in the scene's project: relative to its folder where it can be.
ScenePath pathIn(Scene const& scene, std::filesystem::path const& file);

/// Empty for a picture in memory.
std::filesystem::path fullPath(ScenePath const& path);
/// A name that is typed starts at the project's folder, as those that are shown do; of a scene
/// that was made of no project and never saved, at the working folder.
std::filesystem::path typedPath(Scene const& scene, std::string const& text);

/// Makes a file one of the scene's inputs; a matte keeps its channel, a track how it is read. A
/// plate gives its size to a composition that has the frame's, and its frames to one of a single
/// frame; `frame` is the frame's size before. Throws what edits refuse.
void setInput(Scene& scene, InputKind kind, std::filesystem::path const& file, PixelSize frame);

struct MissingFile {
    InputKind kind;
    std::filesystem::path file;
    std::string why;  ///< a sentence that names it
};

/// Numbered pictures are missing where there is none of them at all.
std::vector<MissingFile> missingFiles(Scene const& scene);

/// Where a missing file may be in a folder: below it by as much of its own path as leads to a file;
/// empty for nowhere.
std::filesystem::path foundIn(std::filesystem::path const& folder, MissingFile const& missing);

/// Exchanges a missing file; the composition stays. False where the scene has none of that kind.
/// Throws an input error of a track that can't be read.
bool relink(Scene& scene, InputKind kind, std::filesystem::path const& file);
/// All that are found in a folder. Tracks of it that can't be read stay missing: their sentences.
std::vector<std::string> relinkAll(Scene& scene, std::filesystem::path const& folder);

}  // namespace zelk
