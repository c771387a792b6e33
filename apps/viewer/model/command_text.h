// The `zelk` line that renders what the viewer shows, for a shell in any folder.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "apps/viewer/model/document.h"

namespace zelk {

/// A command, or in one sentence why there is none: exactly one of them.
struct CommandText {
    std::string line, refusal;
};

/// The frame that is looked at. A project that is saved is named; any other scene is made by its
/// options, where there are options for all of it.
CommandText renderCommandOf(Document const& document);

/// What an export asks for beside the scene.
struct ExportEdits {
    std::string output;  ///< empty: the scene's
    std::string frames;  ///< "1001-1100"; empty: the scene's
    std::optional<std::string> codec, quality, channels, depth;
    bool skipsExisting = false, isShared = false;
};
/// Its output's full path, by typedPath; empty where there is none.
std::filesystem::path exportedFile(Scene const& scene, ExportEdits const& edits);
CommandText exportCommandOf(Document const& document, ExportEdits const& edits);
/// The scene that it renders. Throws what edits refuse.
Scene exportedScene(Document const& document, ExportEdits const& edits);

}  // namespace zelk
